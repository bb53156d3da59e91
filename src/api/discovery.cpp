#include "transport/discovery.h"

#include "api/vocabulary/command.h"
#include "api/vocabulary/identification.h"
#include "api/zelq.h"
#include "common/result_codes.h"
#include "common/trace.h"

#include <algorithm>
#include <array>

using namespace zelq;

namespace {

constexpr std::size_t kEntryWords = 22; ///< the last three of them are not written
constexpr std::uint8_t kAnyUnit = 255;

/// Enters every controller once, however often it has answered; the number of entries. An answer
/// with an impossible date ends it all.
short EnterControllers(const ReplyData& reply, unsigned short* entries)
{
    short count = 0;
    ReplyReader reader(reply);
    Identification identification;
    while (identification.ReadFrom(reader)) {
        if (!identification.HasValidDate()) return kDeviceInfoOutOfRange;
        unsigned short* const end = entries + kEntryWords * static_cast<std::size_t>(count);
        bool known = false;
        for (const unsigned short* entry = entries; entry != end; entry += kEntryWords) {
            known = known || identification.SameController(entry);
        }
        if (known) continue;
        identification.Fill(end);
        ++count;
    }
    return count;
}

} // namespace

short zelQ_GetEnumList(const unsigned short* address, short /*unused*/, unsigned short* entries)
{
    if (address == nullptr) return BadArgument(0);

    RequestBuffer request;
    request.StartReadFrame(kIdentificationRegister, kIdentificationRegisters, kAnyUnit);
    ReplyData reply;
    short error = kOk;
    {
        DiscoveryContext discovery;
        if (!discovery.Open({address[0], address[1], address[2], address[3]})) return kNoSession;
        if (entries == nullptr) return BadArgument(2);
        error = Transact(kAllControllers, request, &reply);
    }
    // A discovery that failed has found nobody. The line shows how many answered, again and again.
    const short count = error == kOk ? EnterControllers(reply, entries) : short{0};
    if (count < 0) return count;
    const std::size_t answers = error == kOk ? reply.Bytes().size() / Identification::kBytes : 0;
    TraceCall("%d=zelQ_GetEnumList(%d,%d,%d,%d)", answers, address[0], address[1], address[2],
              address[3]);
    return count;
}
