#include "api/vocabulary/byte_transfer.h"
#include "api/vocabulary/checks.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <algorithm>

using namespace zelq;

namespace {

constexpr std::uint16_t kFlashCode = 0x1003;
constexpr std::uint16_t kCpuPeekCode = 0x1004;
constexpr std::uint16_t kCpuPokeCode = 0x1005;
constexpr std::uint16_t kEepromClearCode = 0x1006;

constexpr short kMaxFlashBytes = 1024;
constexpr int kWriteFrameRegisters = 116;

short CheckFlash(short zelNo, const std::uint8_t* data, short length)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (length % 2 != 0) return BadArgument(3);
    if (length > kMaxFlashBytes) return kOverflow;
    return length > 0 && data == nullptr ? BadArgument(3) : short{kOk};
}

std::size_t ByteCount(short length)
{
    return static_cast<std::size_t>(std::max<short>(length, 0));
}

/// Without data there is no frame, and the exchange itself refuses to send nothing.
short SendNothing(short zelNo)
{
    RequestBuffer nothing;
    return Transact(zelNo, nothing);
}

short WriteFlash(short zelNo, std::uint16_t mode, std::uint32_t address,
                 std::span<const std::uint8_t> data)
{
    // Each frame asks for as many registers back as it carries data.
    Command command(kFlashCode, Split{.items = RegistersFor(data.size()),
                                      .itemsPerFrame = kWriteFrameRegisters,
                                      .readQuantity = 0,
                                      .readPerItem = 1});
    command.Word(mode).Long(address);
    AppendBytes(command, data);
    return command.Run(zelNo);
}

/// At most 1024 bytes are read, so that one exchange brings them all.
short ReadFlash(short zelNo, std::uint16_t mode, std::uint32_t address, std::size_t bytes,
                ReplyData& reply)
{
    const LongReply expected{
        .dataRegisters = RegistersFor(bytes), .frameRegisters = 124, .extraRegisters = 1};
    Command command(kFlashCode, expected.FirstQuantity());
    command.Word(mode).Long(address).Word(bytes);
    expected.AddReads(command);
    return command.Run(zelNo, &reply);
}

} // namespace

short zelQ_FlashErase(short zelNo, short mode, short first, short second)
{
    if (const short error = CheckSession(zelNo)) return error;

    const short result = Command(kFlashCode).Word(mode).Word(first).Word(second).Run(zelNo);
    return Traced("%d=zelQ_FlashErase(%d,%d,%d,%d)", result, zelNo, mode, first, second);
}

short zelQ_FlashWrite(unsigned short zelNo, unsigned short mode, unsigned int address,
                      const unsigned char* data, short length)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckFlash(number, data, length)) return error;

    const std::span area(data, ByteCount(length));
    const short result =
        area.empty() ? SendNothing(number) : WriteFlash(number, mode, address, area);
    return Traced("%d=zelQ_FlashWrite(%d,%d,%d,%d)", result, zelNo, mode, address, length);
}

short zelQ_FlashRead(unsigned short zelNo, unsigned short mode, unsigned int address,
                     unsigned char* data, short length)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckFlash(number, data, length)) return error;

    const std::span area(data, ByteCount(length));
    ReplyData reply;
    const short result =
        area.empty() ? SendNothing(number) : ReadFlash(number, mode, address, area.size(), reply);
    if (result == kOk && DataOf(reply).ReadBytes(area) < area.size()) return kReplyDataMissing;
    return Traced("%d=zelQ_FlashRead(%d,%d,%d,%d)", result, zelNo, mode, address, length);
}

short zelQ_CPUPeek(short zelNo, short space, unsigned int address, unsigned int* value)
{
    if (const short error = CheckSession(zelNo)) return error;

    constexpr std::uint16_t kResultAndLong = 3;
    ReplyData reply;
    const short result =
        Command(kCpuPeekCode, kResultAndLong).Word(space).Long(address).Run(zelNo, &reply);
    std::uint32_t read = 0;
    if (result == kOk) {
        if (!ReadData(reply, read)) return kReplyDataMissing;
        if (value != nullptr) *value = read;
    }
    return Traced("%d=zelQ_CPUPeek(%d,%d,%d,%d)", result, zelNo, space, address, read);
}

short zelQ_CPUPoke(short zelNo, short space, unsigned int address, unsigned int value)
{
    if (const short error = CheckSession(zelNo)) return error;

    const short result = Command(kCpuPokeCode).Word(space).Long(address).Long(value).Run(zelNo);
    // The line has a place more than the call has values to show.
    return Traced("%d=zelQ_CPUPoke(%d,%d,%d,%d,%d)", result, zelNo, space, address, value, 0);
}

short zelQ_EepromClear(short zelNo, unsigned short area, unsigned char flag)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (flag > 1) return BadArgument(2);

    const short result = Command(kEepromClearCode).Word(area).Word(flag).Run(zelNo);
    return Traced("%d=zelQ_EepromClear(%d)", result, zelNo);
}
