#include "api/vocabulary/byte_transfer.h"

#include "common/result_codes.h"

#include <algorithm>

namespace zelq {

short RunBatchRead(short zelNo, const BatchLayout& layout, int registers,
                   std::initializer_list<std::uint16_t> fields, ReplyData& reply)
{
    constexpr std::uint16_t kOnlyFrame = 0x0101;
    int read = std::min(registers, layout.frameRegisters) + layout.extraRegisters;
    RequestBuffer request;
    request.StartCommandFrame(static_cast<std::uint16_t>(read));
    request.AppendRegister(kOnlyFrame);
    for (const std::uint16_t field : fields) {
        request.AppendRegister(field);
    }
    // The controller keeps the whole reply from the result register on, for as long as no other
    // command comes.
    const int all = registers + layout.extraRegisters;
    while (read < all) {
        const int quantity = std::min(all - read, layout.frameRegisters);
        const auto start = static_cast<std::uint16_t>(kResultRegister + read);
        if (!request.StartReadFrame(start, static_cast<std::uint16_t>(quantity))) return kOverflow;
        read += quantity;
    }
    return Transact(zelNo, request, &reply);
}

} // namespace zelq
