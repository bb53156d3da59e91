#include "api/vocabulary/command.h"
#include "api/vocabulary/status_registers.h"
#include "api/vocabulary/units.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kConfigureCode = 0x0100;
constexpr std::uint16_t kAddNodesCode = 0x0101;
constexpr std::uint16_t kEndCode = 0x0102;
constexpr std::uint16_t kRunStopCode = 0x0103;

constexpr short kMaxNodes = 50;
constexpr int kNodesPerFrame = 9;

/// The arrays of added nodes, element k for node k.
struct NodeArrays
{
    std::array<const double*, 5> values; ///< in user units
    std::array<const short*, 2> codes;

    /// None may be null: the call's arguments 3 to 9.
    [[nodiscard]] short Check() const
    {
        const auto& [a, b, c, d, e] = values;
        const auto& [f, g] = codes;
        return CheckArrays(3, a, b, c, d, e, f, g);
    }
};

int SendNodes(short zelNo, std::uint16_t axis, short count, const NodeArrays& nodes,
              ReplyData& reply)
{
    // Each frame reads its result and two words.
    Command command(kAddNodesCode,
                    Split{.items = count, .itemsPerFrame = kNodesPerFrame, .readQuantity = 3});
    command.Word(axis).Word(count);
    for (int k = 0; k < count; ++k) {
        command.NextItem();
        for (const double* values : nodes.values) {
            command.Long(ToPulses(zelNo, axis, values[k]));
        }
        for (const short* codes : nodes.codes) {
            command.Word(codes[k]);
        }
    }
    return command.RunUncut(zelNo, &reply);
}

/// The two words behind each frame's result, those of the last frame staying. A null pointer takes
/// no word off the reply, so that later frames are then read from out of place; it counts as a
/// missing word, as does one that the reply has not.
bool ReadReplyWords(const ReplyData& reply, int frames, unsigned short* reply1,
                    unsigned short* reply2)
{
    ReplyReader reader(reply);
    bool complete = true;
    for (int frame = 0; frame < frames; ++frame) {
        std::uint16_t result = 0;
        complete = reader.Read(result) && complete;
        for (unsigned short* word : {reply1, reply2}) {
            complete = word != nullptr && reader.Read(*word) && complete;
        }
    }
    return complete;
}

constexpr unsigned kStatusRegister = 18;
constexpr std::uint16_t kStatusRegisters = 7;
using ListRegisters = RegisterBlock<kStatusRegisters>;

void FillStatus(LmStatus& status, std::uint16_t axis, const ListRegisters& registers)
{
    status.axis = axis;
    status.bit11 = registers.Bits(0, 11);
    status.bit12 = registers.Bits(0, 12);
    status.bit13 = registers.Bits(0, 13);
    status.low11 = registers.Bits(0, 0, 11);
    status.word1 = registers.words[1];
    status.word2 = registers.words[2];
    status.long3 = registers.UnsignedLong(3);
    status.long5 = registers.UnsignedLong(5);
}

} // namespace

short zelQ_LmSetCfg(short zelNo, unsigned short axis, unsigned short cfg1, unsigned short cfg2,
                    unsigned short cfg3)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (cfg1 > 1) return BadArgument(2);
    if (cfg2 > 255) return BadArgument(3);
    if (cfg3 > 255) return BadArgument(4);

    Command command(kConfigureCode);
    command.Word(axis).Word(cfg1).Word(cfg2).Word(cfg3);
    return Traced("%d=zelQ_LmSetCfg(%d,%d,%d,%d,%d)", command.Run(zelNo), zelNo, axis, cfg1, cfg2,
                  cfg3);
}

short zelQ_LmAddNode(unsigned short zelNo, unsigned short axis, short nodeCount,
                     const double* nodeA, const double* nodeB, const double* nodeC,
                     const double* nodeD, const double* nodeE, const short* nodeF,
                     const short* nodeG, unsigned short* reply1, unsigned short* reply2)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxis(number, axis)) return error;
    if (nodeCount < 1 || nodeCount > kMaxNodes) return BadArgument(2);
    const NodeArrays nodes{{nodeA, nodeB, nodeC, nodeD, nodeE}, {nodeF, nodeG}};
    if (const short error = nodes.Check()) return error;

    ReplyData reply;
    int result = SendNodes(number, axis, nodeCount, nodes, reply);
    // Replies that overflow can have brought the words all the same.
    if (result == kOk || result == kOverflow) {
        const int frames = (nodeCount + kNodesPerFrame - 1) / kNodesPerFrame;
        if (!ReadReplyWords(reply, frames, reply1, reply2)) result = kReplyDataMissing;
    }
    return Traced("%d=zelQ_LmAddNode(%d,%d,%d)", static_cast<short>(result), zelNo, axis,
                  nodeCount);
}

short zelQ_LmAddNodeEnd(short zelNo, short axis, double value)
{
    const auto index = static_cast<std::uint16_t>(axis);
    if (const short error = CheckAxis(zelNo, index)) return error;

    Command command(kEndCode);
    command.Word(axis).Long(ToPulses(zelNo, index, value));
    return Traced("%d=zelQ_LmAddNodeEnd(%d,%d,%g)", command.Run(zelNo), zelNo, axis, value);
}

short zelQ_LmRunStop(short zelNo, unsigned short axis, unsigned short run)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (run > 1) return BadArgument(2);

    const short result = Command(kRunStopCode).Word(axis).Word(run).Run(zelNo);
    // The line does not tell which of the two it was.
    return Traced("%d=zelQ_LmRunStop(%d,%d)", result, zelNo, axis);
}

short zelQ_LmGetStatus(short zelNo, short axis, LmStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckArrays(2, status)) return error;

    const auto index = static_cast<std::uint16_t>(axis);
    ReplyData reply;
    const short result =
        ReadRegisters(zelNo, AxisRegister(index, kStatusRegister), kStatusRegisters, reply);
    if (result == kOk) {
        ReplyReader reader(reply);
        ListRegisters registers;
        if (!registers.ReadFrom(reader)) return kReplyDataMissing;
        FillStatus(*status, index, registers);
    }
    return Traced("%d=zelQ_LmGetStatus(%d,%d)", result, zelNo, axis);
}

short zelQ_LmGetAllStatus(short zelNo, LmStatus* status)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckArrays(1, status)) return error;
    const SlaveList axes = SessionOf(zelNo).Slaves().servoAxes;
    // The code of a changed configuration stands for an empty one here.
    if (axes.count == 0) return kConfigurationChanged;

    RegisterRead read;
    for (const std::uint16_t axis : axes.Numbers()) {
        read.Block(AxisRegister(axis, kStatusRegister), kStatusRegisters);
    }
    ReplyData reply;
    if (const short error = read.Run(zelNo, reply)) return error;

    std::array<ListRegisters, kAxisCount> registers;
    ReplyReader reader(reply);
    for (const std::uint16_t axis : axes.Numbers()) {
        if (!registers[axis].ReadFrom(reader)) return kReplyDataMissing;
    }
    for (std::size_t i = 0; i < kAxisCount; ++i) {
        status[i].axis = kNoSlave;
    }
    for (const std::uint16_t axis : axes.Numbers()) {
        FillStatus(status[axis], axis, registers[axis]);
    }
    return Traced("%d=zelQ_LmGetAllStatus(%d,%d)", kOk, zelNo, axes.count);
}
