#include "api/zelq.h"
#include "common/result_codes.h"
#include "fuzz/controller.h"
#include "fuzz/reading_calls.h"

// An input is the datagrams that answer a discovery: two bytes for the sends, then a datagram
// after the other as AnswerFrom() has replies.

namespace zelq::fuzz {

namespace {

constexpr std::size_t kEntryWords = 22;
constexpr std::size_t kMostEntries = 44;

void Check(Input input)
{
    constexpr unsigned short kAddress[] = {127, 255, 255, 255};
    AnswerFrom(input);
    Outputs outputs;
    auto* entries = outputs.Room<unsigned short>(kEntryWords * kMostEntries);
    const short result = zelQ_GetEnumList(kAddress, 0, entries);
    const Traffic traffic = TakeTraffic();
    Require(result == kDeviceInfoOutOfRange || (result >= 0 && result <= 44),
            "as many controllers as fit, or an impossible date");
    Require(result != 0 || outputs.Untouched(), "nobody is entered where nobody was found");
    Require(traffic.lines.size() == (result >= 0 ? 1U : 0U), "traced, but for an impossible date");
    for (std::size_t i = 0; i + 1 < static_cast<std::size_t>(std::max<short>(result, 0)); ++i) {
        Require(!std::equal(entries + i * kEntryWords, entries + i * kEntryWords + 4,
                            entries + (i + 1) * kEntryWords),
                "a controller is entered once");
    }
}

} // namespace

} // namespace zelq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zelq::fuzz::Check(zelq::fuzz::Input(data, size));
    return 0;
}
