#include "repeat.h"

#include "clients.h"

#include <functional>
#include <map>
#include <string>

namespace bench {

void Repeat(const char* what, int count)
{
    Clients clients(1);
    const Exchange move = MoveExchange();
    const std::map<std::string, std::function<void()>> calls = {
        {"raw-move", [&] { clients.raw.Run(move); }},
        {"move", [] { MoveAbs(1); }},
        {"snapshot", [] { Snapshot(1); }},
        {"raw-connect", [&] { ConnectAndLearn(clients.raw); }},
        {"connect", [] { ConnectAgain(1); }},
    };
    const auto& call = calls.at(what);
    for (int i = 0; i < count; ++i) {
        call();
    }
}

} // namespace bench
