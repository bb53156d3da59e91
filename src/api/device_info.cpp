#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/identification.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

using namespace zelq;

namespace {

constexpr std::uint16_t kPowerResetRegister = 0xF410;

constexpr std::size_t kTypeWord = 12;
constexpr std::size_t kSizeWord = 18;
constexpr int kMainSeries = 0;
constexpr int kFpgaVariant = 255;

const char* TypeText(int type)
{
    if (type == kMainSeries) return "Lumo";
    return type == kFpgaVariant ? "Lumo-FPGA" : "";
}

/// Writes the text and its closing zero, and nothing behind them. One that does not fit leaves the
/// empty text.
short PutText(std::string_view value, char* text, short size)
{
    if (size <= 0) return kOverflow;
    *text = '\0';
    if (value.size() >= static_cast<std::size_t>(size)) return kOverflow;
    *std::ranges::copy(value, text).out = '\0';
    return kOk;
}

/// Reads the identification; `complete` tells whether it came whole.
short ReadIdentification(short zelNo, Identification& identification)
{
    ReplyData reply;
    const short error =
        ReadRegisters(zelNo, kIdentificationRegister, kIdentificationRegisters, reply);
    if (error != kOk) return error;
    ReplyReader reader(reply);
    const bool exact = identification.ReadFrom(reader) && reader.Rest().empty();
    return static_cast<short>(exact ? kOk : kReplyDataMissing);
}

} // namespace

short zelQ_GetDevInfo(short zelNo, unsigned short* info)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (info == nullptr) return BadArgument(1);

    Identification identification;
    const short result = ReadIdentification(zelNo, identification);
    if (result == kOk) {
        if (!identification.HasValidDate()) return kDeviceInfoOutOfRange;
        identification.Fill(info);
    }
    return Traced("%d=zelQ_GetDevInfo(%d)", result, zelNo);
}

short zelQ_GetDevTypeStr(short type, char* text, short size)
{
    if (text == nullptr) return BadArgument(1);

    return PutText(TypeText(type), text, size);
}

short zelQ_GetDevInfoToModelStr(const unsigned short* info, char* text, short size)
{
    if (const short error = CheckArrays(0, info, text)) return error;

    std::array<char, 32> model{};
    if (info[kTypeWord] == kMainSeries) {
        std::snprintf(model.data(), model.size(), "ZEL %s-%02d", TypeText(kMainSeries),
                      info[kSizeWord] * 4);
    }
    return PutText(model.data(), text, size);
}

short zelQ_GetPowerResetCount(short zelNo, unsigned int* count)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (count == nullptr) return BadArgument(1);

    ReplyData reply;
    const short result = ReadRegisters(zelNo, kPowerResetRegister, 2, reply);
    std::uint32_t resets = 0;
    if (result == kOk) {
        if (!ReplyReader(reply).Read(resets)) return kReplyDataMissing;
        *count = resets;
    }
    return Traced("%d=zelQ_GetPowerResetCount(%d,%d)", result, zelNo, resets);
}
