#pragma once

#include "library.h"
#include "peer.h"

namespace bench {

/// The three kinds of clients, each with a controller of its own that has the same axes.
struct Clients
{
    explicit Clients(int controller, int axes = 32, int processor = -1)
        : number(controller),
          peer(number, axes, processor),
          rawPeer(number, axes, processor),
          barePeer(number, axes, processor),
          connection(peer),
          raw(rawPeer),
          bare(number, barePeer.Port())
    {}

    const int number; ///< of the library's connection
    const Peer peer;
    const Peer rawPeer;
    const Peer barePeer;
    const Connection connection;
    RawClient raw;
    BareClient bare;
};

/// Connects anew, and runs the two exchanges that a connect of the library's has.
template <typename Client>
void ConnectAndLearn(Client& client)
{
    static const Exchange kTypes = SlaveTypesExchange();
    static const Exchange kConfiguration = ConfigurationExchange();
    client.ConnectAgain();
    client.Run(kTypes);
    client.Run(kConfiguration);
}

} // namespace bench
