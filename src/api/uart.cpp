#include "api/vocabulary/byte_transfer.h"
#include "api/vocabulary/checks.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <algorithm>

using namespace zelq;

namespace {

constexpr std::uint16_t kUartBypassCode = 0x0170;
constexpr std::uint16_t kUartConfigCode = 0x0171;
constexpr std::uint16_t kUartWriteCode = 0x0172;
constexpr std::uint16_t kUartReadCode = 0x0173;

constexpr short kMaxWriteBytes = 1024;
constexpr int kUartFrameRegisters = 118;

/// The data registers of one exchange at most.
constexpr int kBatchRegisters = 691;

/// What the controller sends of what it has received, `registers` at most: behind the result
/// register how many bytes it has, then the bytes.
short ReadBatch(short zelNo, int registers, ReplyData& reply)
{
    const LongReply expected{
        .dataRegisters = registers, .frameRegisters = 123, .extraRegisters = 2};
    Command command(kUartReadCode, expected.FirstQuantity());
    command.Word(2 * registers);
    expected.AddReads(command);
    return command.Run(zelNo, &reply);
}

} // namespace

short zelQ_UARTSetBypass(short zelNo, unsigned short bypass)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (bypass > 1) return BadArgument(1);

    const short result = Command(kUartBypassCode).Word(bypass).Run(zelNo);
    return Traced("%d=zelQ_UARTSetBypass(%d,%d)", result, zelNo, bypass);
}

short zelQ_UARTSetCfg(short zelNo, unsigned int baudRate, short dataBits, short stopBits,
                      unsigned short parity)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (dataBits < 7 || dataBits > 9) return BadArgument(2);
    if (stopBits < 1 || stopBits > 2) return BadArgument(3);
    if (parity > 2) return BadArgument(4);

    Command command(kUartConfigCode);
    command.Long(baudRate).Word(dataBits).Word(stopBits).Word(parity);
    return Traced("%d=zelQ_UARTSetCfg(%d,%d,%d,%d,%d)", command.Run(zelNo), zelNo, baudRate,
                  dataBits, stopBits, parity);
}

short zelQ_UARTWrite(unsigned short zelNo, const void* data, short len)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckSession(number)) return error;
    if (len < 1 || len > kMaxWriteBytes) return BadArgument(2);
    if (const short error = CheckArrays(1, data)) return error;

    const std::span bytes(static_cast<const std::uint8_t*>(data), static_cast<std::size_t>(len));
    Command command(kUartWriteCode, Split{.items = RegistersFor(bytes.size()),
                                          .itemsPerFrame = kUartFrameRegisters});
    command.Word(len);
    AppendBytes(command, bytes);
    return Traced("%d=zelQ_UARTWrite(%d,%d)", command.Run(number), zelNo, len);
}

short zelQ_UARTRead(short zelNo, void* buf, short maxLen, unsigned short* readLen)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckArrays(3, readLen)) return error;
    if (maxLen > 0 && buf == nullptr) return BadArgument(1);

    const std::size_t room = static_cast<std::size_t>(std::max<short>(maxLen, 0));
    const std::span area(static_cast<std::uint8_t*>(buf), room);
    short result = kOk;
    for (std::size_t done = 0; done < room;) {
        const std::span rest = area.subspan(done);
        const int registers = std::min(RegistersFor(rest.size()), kBatchRegisters);
        const std::size_t batchBytes = 2 * static_cast<std::size_t>(registers);
        ReplyData reply;
        result = ReadBatch(zelNo, registers, reply);
        if (result != kOk) break;

        ReplyReader reader = DataOf(reply);
        std::uint16_t available = 0;
        if (!reader.Read(available)) return kReplyDataMissing;
        if (done == 0) *readLen = available;
        const std::size_t wanted = std::min({std::size_t{available}, batchBytes, rest.size()});
        if (reader.ReadBytes(rest.first(wanted)) < wanted) return kReplyDataMissing;
        // What the controller had did not fill the batch: there is no more.
        if (available < batchBytes) break;
        done += wanted;
    }
    return Traced("%d=zelQ_UARTRead(%d, %d)", result, zelNo, maxLen);
}
