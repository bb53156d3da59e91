#include "repeat.h"

#include "library.h"

#include <functional>
#include <map>
#include <string>

namespace bench {

void Repeat(const char* what, int count)
{
    const Peer peer(1);
    const Peer rawPeer(1);
    const Connection connection(peer);
    RawClient raw(rawPeer);
    const Exchange move = MoveExchange();
    const Exchange snapshot = SnapshotExchange(32);
    const std::map<std::string, std::function<void()>> calls = {
        {"move", [] { MoveAbs(1); }},         {"raw-move", [&] { raw.Run(move); }},
        {"snapshot", [] { Snapshot(1); }},    {"raw-snapshot", [&] { raw.Run(snapshot); }},
        {"connect", [] { ConnectAgain(1); }},
    };
    const auto& call = calls.at(what);
    for (int i = 0; i < count; ++i) {
        call();
    }
}

} // namespace bench
