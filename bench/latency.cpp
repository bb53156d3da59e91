#include "latency.h"

#include "clients.h"

#include <cstdio>
#include <fstream>

namespace bench {

namespace {

constexpr int kAxes = 32;
constexpr int kNumber = 1;
constexpr int kConnectNumber = 2;

enum Order : std::size_t {
    kRawMove,
    kBareMove,
    kMove,
    kRawSnapshot,
    kBareSnapshot,
    kFilledSnapshot,
    kSnapshot,
    kRawConnect,
    kBareConnect,
    kConnect,
    kMore,
};

void RunAndFill(BareClient& client, const Exchange& snapshot)
{
    client.Run(snapshot);
    FillRecord();
}

/// How the times of the moves are spread.
void WriteSpread(const std::vector<Subject>& subjects, const std::string& path)
{
    std::ofstream data(path);
    data << "percent raw bare library\n";
    for (int percent = 0; percent < 100; ++percent) {
        data << percent;
        for (const std::size_t subject : {kRawMove, kBareMove, kMove}) {
            data << ' ' << Percentile(subjects[subject].times, percent);
        }
        data << '\n';
    }
}

/// In the order of their numbers.
std::vector<Subject> CallSubjects(Clients& clients, Clients& connecting)
{
    const Exchange move = MoveExchange();
    const Exchange snapshot = SnapshotExchange(kAxes);
    constexpr int kConnects = 5; // each takes as long as ten exchanges
    return {
        {"raw exchange of a move's bytes", [&clients, move] { clients.raw.Run(move); }, kRawMove},
        {"a move's system calls, nothing else", [&clients, move] { clients.bare.Run(move); },
         kRawMove},
        {"**`zelQ_MoveAbs`**", [] { MoveAbs(kNumber); }, kRawMove},
        {"raw exchange of a snapshot's bytes", [&clients, snapshot] { clients.raw.Run(snapshot); },
         kRawSnapshot},
        {"a snapshot's system calls, nothing else",
         [&clients, snapshot] { clients.bare.Run(snapshot); }, kRawSnapshot},
        {"the same, and its record filled with zeros",
         [&clients, snapshot] { RunAndFill(clients.bare, snapshot); }, kRawSnapshot},
        {"**`zelQ_GetAllStatus`**, 32 axes", [] { Snapshot(kNumber); }, kRawSnapshot},
        {"raw connect with the same exchanges", [&connecting] { ConnectAndLearn(connecting.raw); },
         kRawConnect, kConnects},
        {"a connect's system calls, nothing else",
         [&connecting] { ConnectAndLearn(connecting.bare); }, kRawConnect, kConnects},
        {"**`zelQ_Connect`**", [] { ConnectAgain(kConnectNumber); }, kRawConnect, kConnects},
    };
}

} // namespace

void MeasureLatency(const char* title, Processors processors, int chunks, const MoreSubjects& more,
                    const std::string& spreadPath)
{
    Clients clients(kNumber, kAxes, processors.peer);
    Clients connecting(kConnectNumber, kAxes, processors.peer);
    const Peer morePeer(kNumber, kAxes, processors.peer);
    PinThisThread(processors.client);
    std::vector<Subject> subjects = CallSubjects(clients, connecting);
    if (more) {
        for (Subject& subject : more(morePeer)) {
            subject.base = kRawSnapshot;
            subjects.push_back(std::move(subject));
        }
    }
    Interleave(subjects, chunks);
    std::printf("\n### %s\n\n", title);
    PrintTable(subjects);
    if (more) {
        std::printf("\nIn the time of 33 reads with libmodbus: %.1f snapshots, %.1f times their "
                    "system calls alone.\n",
                    Ratio(subjects[kMore], subjects[kSnapshot], kUsual),
                    Ratio(subjects[kMore], subjects[kBareSnapshot], kUsual));
    }
    if (!spreadPath.empty()) WriteSpread(subjects, spreadPath);
}

} // namespace bench
