#include "api/zelq.h"
#include "common/result_codes.h"
#include "fuzz/controller.h"

#include <memory>

// An input is the datagrams that answer a discovery: two bytes for the sends, then a datagram
// after the other as AnswerFrom() has replies.

namespace zelq::fuzz {

namespace {

constexpr std::size_t kEntryWords = 22;
constexpr std::size_t kMostEntries = 44;

} // namespace

void Check(Input input)
{
    constexpr unsigned short kAddress[] = {127, 255, 255, 255};
    AnswerFrom(input);
    // Allocated by itself, so that the address sanitizer sees one entry too many.
    const auto entries = std::make_unique<unsigned short[]>(kEntryWords * kMostEntries);
    const short result = zelQ_GetEnumList(kAddress, 0, entries.get());
    const Traffic traffic = TakeTraffic();
    Require(result == kDeviceInfoOutOfRange || (result >= 0 && result <= 44),
            "as many controllers as fit, or an impossible date");
    Require(result != 0 || std::count(entries.get(), entries.get() + kEntryWords * kMostEntries,
                                      0) == kEntryWords * kMostEntries,
            "nobody is entered where nobody was found");
    Require(traffic.lines.size() == (result >= 0 ? 1U : 0U), "traced, but for an impossible date");
    for (std::size_t i = 0; i + 1 < static_cast<std::size_t>(std::max<short>(result, 0)); ++i) {
        const unsigned short* entry = &entries[i * kEntryWords];
        Require(!std::equal(entry, entry + 4, entry + kEntryWords), "a controller is entered once");
    }
}

} // namespace zelq::fuzz
