#include "api/vocabulary/byte_transfer.h"
#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
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

/// The data stand directly behind the result register.
constexpr BatchLayout kReadLayout = {
    .batchRegisters = 697, .frameRegisters = 124, .extraRegisters = 1};

constexpr std::uint16_t Low(std::uint32_t value)
{
    return static_cast<std::uint16_t>(value);
}

constexpr std::uint16_t High(std::uint32_t value)
{
    return static_cast<std::uint16_t>(value >> 16U);
}

short CheckFlash(short zelNo, const std::uint8_t* data, short length)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (length % 2 != 0) return BadArgument(3);
    if (length > kMaxFlashBytes) return kOverflow;
    return static_cast<short>(length > 0 && data == nullptr ? BadArgument(3) : kOk);
}

std::size_t ByteCount(short length)
{
    return static_cast<std::size_t>(std::max<short>(length, 0));
}

/// The frames of a write. Each asks for as many registers back as it carries data.
void AddWriteFrames(RequestBuffer& request, std::uint16_t mode, std::uint32_t address,
                    std::span<const std::uint8_t> data)
{
    const int registers = RegistersFor(data.size());
    const int frames = (registers + kWriteFrameRegisters - 1) / kWriteFrameRegisters;
    for (int frame = 1; frame <= frames; ++frame) {
        const int first = (frame - 1) * kWriteFrameRegisters;
        const int end = std::min(registers, first + kWriteFrameRegisters);
        request.StartCommandFrame(static_cast<std::uint16_t>(end - first));
        request.AppendRegister(static_cast<std::uint16_t>(frames << 8 | frame));
        if (frame == 1) {
            request.AppendRegister(kFlashCode);
            request.AppendRegister(mode);
            request.AppendRegister32(address);
        }
        for (int i = first; i < end; ++i) {
            request.AppendRegister(PackedRegister(data, static_cast<std::size_t>(i)));
        }
    }
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

    // Without data there is no frame, and the exchange itself refuses to send nothing.
    RequestBuffer request;
    AddWriteFrames(request, mode, address, std::span(data, ByteCount(length)));
    const short result = Transact(number, request);
    return Traced("%d=zelQ_FlashWrite(%d,%d,%d,%d)", result, zelNo, mode, address, length);
}

short zelQ_FlashRead(unsigned short zelNo, unsigned short mode, unsigned int address,
                     unsigned char* data, short length)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckFlash(number, data, length)) return error;

    const std::span area(data, ByteCount(length));
    RequestBuffer nothing;
    short result = area.empty() ? Transact(number, nothing) : short{kOk};
    for (std::size_t done = 0; done < area.size();) {
        const std::span rest = area.subspan(done);
        const int registers = std::min(RegistersFor(rest.size()), kReadLayout.batchRegisters);
        const std::span batch = rest.first(2 * static_cast<std::size_t>(registers));
        const std::uint32_t from = address + static_cast<std::uint32_t>(done);
        ReplyData reply;
        result = RunBatchRead(
            number, kReadLayout, registers,
            {kFlashCode, mode, Low(from), High(from), static_cast<std::uint16_t>(batch.size())},
            reply);
        if (result != kOk) break;

        ReplyReader reader(reply);
        reader.SkipResult();
        if (reader.ReadBytes(batch) < batch.size()) return kReplyDataMissing;
        done += batch.size();
    }
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
        ReplyReader reader(reply);
        reader.SkipResult();
        if (!reader.Read(read)) return kReplyDataMissing;
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
