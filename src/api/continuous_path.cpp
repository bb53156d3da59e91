#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kUseCode = 0x01C1;
constexpr std::uint16_t kRemainCode = 0x01C2;
constexpr std::uint16_t kUseRegister = 0xF417;
constexpr int kCounts = 16;

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
    if (const short error = CheckArrays(0, use)) return error;

    ReplyData reply;
    const short result = ReadRegisters(number, kUseRegister, 1, reply);
    std::uint16_t value = 0;
    if (result == kOk) {
        if (!ReplyReader(reply).Read(value)) return kReplyDataMissing;
        *use = value;
    }
    // "UsePreReg" in the line, "PreRegUse" in the name.
    return Traced("%d=zelQ_CP_UsePreRegGet(%d,%d,%d)", result, zelNo, value, 0);
}

short zelQ_CP_PreRegGetRemain(short zelNo, unsigned short* remain)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (const short error = CheckArrays(0, remain)) return error;

    ReplyData reply;
    const short result = Command(kRemainCode, 1 + kCounts).Run(zelNo, &reply);
    if (result == kOk && !ReadValues(reply, remain, kCounts)) return kReplyDataMissing;
    return Traced("%d=zelQ_CP_PreRegGetRemain(%d)", result, zelNo);
}
