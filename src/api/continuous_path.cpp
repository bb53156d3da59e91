#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <span>

using namespace zelq;

namespace {

constexpr std::uint16_t kUseCode = 0x01C1;
constexpr std::uint16_t kRemainCode = 0x01C2;
constexpr std::uint16_t kUseRegister = 0xF417;
constexpr std::uint16_t kCounts = 16;

} // namespace

short zelQ_CP_PreRegUseSet(short zelNo, unsigned short use)
{
    if (const short error = CheckSession(zelNo)) return error;

    const short result = Command(kUseCode).Word(use).Run(zelNo);
    return Traced("%d=zelQ_CP_PreRegUseSet(%d,%d)", result, zelNo, use);
}

short zelQ_CP_PreRegUseGet(unsigned short zelNo, unsigned short* use)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckSession(number)) return error;
    if (use == nullptr) return BadArgument(0);

    RequestBuffer request;
    if (!request.StartReadFrame(kUseRegister, 1)) return kOverflow;
    ReplyData reply;
    const short result = Transact(number, request, &reply);
    std::uint16_t value = 0;
    if (result == kOk) {
        ReplyReader reader(reply);
        if (!reader.Read(value)) return kReplyDataMissing;
        *use = value;
    }
    // "UsePreReg" in the line, "PreRegUse" in the name.
    return Traced("%d=zelQ_CP_UsePreRegGet(%d,%d,%d)", result, zelNo, value, 0);
}

short zelQ_CP_PreRegGetRemain(short zelNo, unsigned short* remain)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (remain == nullptr) return BadArgument(0);

    ReplyData reply;
    const short result = Command(kRemainCode, 1 + kCounts).Run(zelNo, &reply);
    if (result == kOk) {
        ReplyReader reader(reply);
        reader.SkipResult();
        // Counts that came before the data end are kept.
        for (unsigned short& count : std::span(remain, kCounts)) {
            if (!reader.Read(count)) return kReplyDataMissing;
        }
    }
    return Traced("%d=zelQ_CP_PreRegGetRemain(%d)", result, zelNo);
}
