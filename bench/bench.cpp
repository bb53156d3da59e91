// What a call costs on loopback, beside a raw exchange of the same bytes and beside libmodbus.
//
//   zelq_bench           the measurements, on one processor and on two
//   zelq_bench --calls N connects and makes N calls, for counting system calls from outside

#include "allocations.h"
#include "api/zelq.h"
#include "peer.h"
#include "report.h"
#include "transport/device_session.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <modbus/modbus.h>
#include <stdexcept>
#include <string>

namespace {

using bench::Bytes;
using bench::Subject;

constexpr short kNumber = 1; // its address is 127.0.0.1
constexpr int kAxes = 32;

void Check(short result, const char* call)
{
    if (result != ZELQ_OK) {
        throw std::runtime_error(std::string(call) + " gives " + std::to_string(result));
    }
}

void Connect(int port)
{
    zelQ_SetNetPortNum(kNumber, port);
    Check(zelQ_Connect(kNumber, 127, 0, 0), "zelQ_Connect");
    Check(zelQ_TMOSet(kNumber, 1000, 1000, 1000), "zelQ_TMOSet");
}

void MoveAbs()
{
    Check(zelQ_MoveAbs(kNumber, 3, 1000.5), "zelQ_MoveAbs");
}

void Snapshot()
{
    static ControllerStatus status;
    Check(zelQ_GetAllStatus(kNumber, &status), "zelQ_GetAllStatus");
}

/// libmodbus as its user would read the same registers: one read after the other.
class ModbusReads
{
  public:
    explicit ModbusReads(int port) : context_(modbus_new_tcp("127.0.0.1", port))
    {
        if (modbus_connect(context_) != 0) throw std::runtime_error("libmodbus cannot connect");
    }
    ~ModbusReads()
    {
        modbus_close(context_);
        modbus_free(context_);
    }
    ModbusReads(const ModbusReads&) = delete;
    ModbusReads& operator=(const ModbusReads&) = delete;

    void Run()
    {
        std::uint16_t words[18];
        bool done = modbus_read_registers(context_, 0xF414, 3, words) == 3;
        for (int axis = 0; axis < kAxes; ++axis) {
            done = done && modbus_read_registers(context_, axis << 8, 18, words) == 18;
        }
        if (!done) throw std::runtime_error("libmodbus cannot read");
    }

  private:
    modbus_t* context_;
};

Bytes SnapshotRequest()
{
    Bytes request = bench::ReadFrame(0xF414, 3);
    for (int axis = 0; axis < kAxes; ++axis) {
        const Bytes frame = bench::ReadFrame(static_cast<std::uint16_t>(axis << 8), 18);
        request.insert(request.end(), frame.begin(), frame.end());
    }
    return request;
}

/// All measurements with client and peers on the given processors; -1: any.
void Measure(const char* title, int clientProcessor, int peerProcessor)
{
    const bench::Peer zelqPeer;
    const bench::Peer rawPeer;
    const bench::Peer modbusPeer;
    for (const bench::Peer* peer : {&zelqPeer, &rawPeer, &modbusPeer}) {
        peer->PinTo(peerProcessor);
    }
    bench::PinThisThread(clientProcessor);
    Connect(zelqPeer.Port());
    bench::RawClient raw(rawPeer.Port());
    ModbusReads modbus(modbusPeer.Port());

    const Bytes move = bench::CommandFrame({0x0101, 0x0011, 1, 3, 1000, 0});
    const Bytes snapshot = SnapshotRequest();
    const std::size_t moveReply = bench::ReplySize(move);
    const std::size_t snapshotReply = bench::ReplySize(snapshot);
    std::vector<Subject> subjects;
    subjects.push_back(
        {"raw exchange of the move's bytes", [&] { raw.Exchange(move, moveReply); }});
    subjects.push_back({"zelQ_MoveAbs", MoveAbs});
    subjects.push_back(
        {"raw exchange of the snapshot's bytes", [&] { raw.Exchange(snapshot, snapshotReply); }});
    subjects.push_back({"zelQ_GetAllStatus, 32 axes", Snapshot});
    subjects.push_back({"33 libmodbus reads", [&] { modbus.Run(); }});

    constexpr int kCalls = 50;
    bench::Interleave(subjects, 5, kCalls); // warms everything up
    for (Subject& subject : subjects) {
        subject.times.clear();
        subject.chunkMedians.clear();
    }
    bench::Interleave(subjects, 200, kCalls);

    std::printf("\n## %s\n\n", title);
    bench::PrintTable(subjects);
    std::printf("\n- one call to raw: %.2f\n- snapshot (%zu bytes out, %zu back) to raw: %.2f\n"
                "- libmodbus reads to snapshot: %.1f\n",
                bench::ChunkRatio(subjects[1], subjects[0]), snapshot.size(), snapshotReply,
                bench::ChunkRatio(subjects[3], subjects[2]),
                bench::ChunkRatio(subjects[4], subjects[3]));
    zelQ_Disconnect(kNumber);
}

/// Resident memory in KiB.
long Resident()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            long kib = 0;
            status >> kib;
            return kib;
        }
    }
    return 0;
}

void MeasureMemory()
{
    const bench::Peer peer;
    Connect(peer.Port());
    MoveAbs();
    Snapshot();
    const long residentBefore = Resident();
    const std::uint64_t before = bench::Allocations();
    constexpr int kCalls = 20000;
    for (int i = 0; i < kCalls; ++i) {
        MoveAbs();
        Snapshot();
    }
    const std::uint64_t allocations = bench::Allocations() - before;
    std::printf("\n## Memory\n\n- heap allocations in %d calls: %llu\n"
                "- resident memory, growth over them: %ld KiB\n- a session: %zu bytes\n",
                2 * kCalls, static_cast<unsigned long long>(allocations),
                Resident() - residentBefore, sizeof(zelq::DeviceSession));
    zelQ_Disconnect(kNumber);
}

void MakeCalls(int count)
{
    const bench::Peer peer;
    Connect(peer.Port());
    for (int i = 0; i < count; ++i) {
        MoveAbs();
    }
    zelQ_Disconnect(kNumber);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        if (argc == 3 && std::strcmp(argv[1], "--calls") == 0) {
            MakeCalls(std::atoi(argv[2]));
            return 0;
        }
        Measure("Both ends on one processor", 0, 0);
        Measure("On two processors", 0, 1);
        MeasureMemory();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zelq_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
