#pragma once

#include "peer.h"

namespace bench {

// The library's calls, to the controller that a peer plays: its number is the host's. Each throws
// where the call fails.

void Connect(const Peer& peer);
void ConnectAgain(int number);
void Disconnect(int number);
void MoveAbs(int number);
void Snapshot(int number);
/// Fills the record of a snapshot with zeros: it cannot be filled in less time.
void FillRecord();

/// A connection for as long as it lives.
class Connection
{
  public:
    explicit Connection(const Peer& peer) : number_(peer.Host()) { Connect(peer); }
    ~Connection() { Disconnect(number_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

  private:
    const int number_;
};

} // namespace bench
