#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kDefaultParametersCode = 0x1007;
constexpr std::uint16_t kRtexCycleCode = 0x1008;

constexpr std::uint16_t kSetCycle = 0;
constexpr std::uint16_t kGetCycle = 1;

} // namespace

short zelQ_UseMaroDefParamSet(short zelNo, unsigned short use)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (use > 1) return BadArgument(1);

    const short result = Command(kDefaultParametersCode).Word(kSetCycle).Word(use).Run(zelNo);
    return Traced("%d=zelQ_UseMaroDefParamSet(%d,%d)", result, zelNo, use);
}

short zelQ_UseMaroDefParamGet(short zelNo, unsigned short* use)
{
    if (const short error = CheckSession(zelNo)) return error;

    constexpr std::uint16_t kResultAndWord = 2;
    ReplyData reply;
    const short result =
        Command(kDefaultParametersCode, kResultAndWord).Word(kGetCycle).Run(zelNo, &reply);
    std::uint16_t read = 0;
    if (result == kOk) {
        if (!ReadData(reply, read)) return kReplyDataMissing;
        if (use != nullptr) *use = read;
    }
    return Traced("%d=zelQ_UseMaroDefParamGet(%d,%d)", result, zelNo, read);
}

short zelQ_RtexCycleSet(short zelNo, short first, short second, int third)
{
    if (const short error = CheckSession(zelNo)) return error;

    Command command(kRtexCycleCode);
    command.Word(kSetCycle).Word(first).Word(second).Long(third);
    return Traced("%d=zelQ_RtexCycleSet(%d,%d,%d,%d)", command.Run(zelNo), zelNo, first, second,
                  third);
}

short zelQ_RtexCycleGet(short zelNo, unsigned short* first, unsigned short* second)
{
    if (const short error = CheckSession(zelNo)) return error;

    constexpr std::uint16_t kResultAndTwo = 3;
    ReplyData reply;
    const short result = Command(kRtexCycleCode, kResultAndTwo).Word(kGetCycle).Run(zelNo, &reply);
    std::uint16_t read1 = 0;
    std::uint16_t read2 = 0;
    if (result == kOk) {
        if (!ReadData(reply, read1, read2)) return kReplyDataMissing;
        if (first != nullptr) *first = read1;
        if (second != nullptr) *second = read2;
    }
    return Traced("%d=zelQ_RtexCycleGet(%d,%d,%d)", result, zelNo, read1, read2);
}
