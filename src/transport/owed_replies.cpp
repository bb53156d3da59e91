#include "transport/owed_replies.h"

#include <algorithm>

namespace zelq {

namespace {

/// The size of the whole frame at the start of `bytes`; 0 where its end has not come, or where no
/// frame can start like that.
std::size_t WholeFrame(std::span<const std::uint8_t> bytes, bool& isRubbish)
{
    constexpr std::size_t kShortest = field::kBeforeLength + 2;
    constexpr std::size_t kLongest = field::kBeforeLength + 254;
    isRubbish = false;
    if (bytes.size() < field::kBeforeLength) return 0;
    const std::size_t size = FrameSize(bytes.data());
    isRubbish = LoadWire16(&bytes[field::kProtocolId]) != 0 || size < kShortest || size > kLongest;
    return isRubbish || size > bytes.size() ? 0 : size;
}

std::uint16_t IdOf(std::span<const std::uint8_t> frame)
{
    return LoadWire16(&frame[field::kTransactionId]);
}

} // namespace

void OwedReplies::Add(std::uint16_t id)
{
    if (count_ == kMost) {
        inStep_ = false;
    } else {
        ids_[count_++] = id;
    }
}

bool OwedReplies::Take(std::uint16_t id)
{
    const auto end = ids_.begin() + static_cast<std::ptrdiff_t>(count_);
    const auto found = std::find(ids_.begin(), end, id);
    if (found == end) return false;
    *found = ids_[--count_];
    return true;
}

void OwedReplies::Expect(const RequestBuffer& request)
{
    // Ids come round: a reply that has been owed for so long will not come.
    for (std::size_t i = 0; i < request.Frames(); ++i) {
        Take(static_cast<std::uint16_t>(request.FirstId() + i));
    }
}

void OwedReplies::Discard(std::span<const std::uint8_t> bytes)
{
    bool isRubbish = false;
    while (const std::size_t size = WholeFrame(bytes, isRubbish)) {
        Take(IdOf(bytes));
        bytes = bytes.subspan(size);
    }
    if (!bytes.empty()) inStep_ = false;
}

std::size_t OwedReplies::DropLate(std::span<std::uint8_t> received, std::size_t from)
{
    std::size_t count = received.size();
    bool isRubbish = false;
    while (const std::size_t size = WholeFrame(received.subspan(from, count - from), isRubbish)) {
        if (Take(IdOf(received.subspan(from)))) {
            std::copy(received.begin() + static_cast<std::ptrdiff_t>(from + size),
                      received.begin() + static_cast<std::ptrdiff_t>(count),
                      received.begin() + static_cast<std::ptrdiff_t>(from));
            count -= size;
        } else {
            from += size;
        }
    }
    return count;
}

void OwedReplies::Owe(const RequestBuffer& request, std::size_t matched,
                      std::span<const std::uint8_t> rest)
{
    for (std::size_t i = matched; i < request.Frames(); ++i) {
        Add(static_cast<std::uint16_t>(request.FirstId() + i));
    }
    Discard(rest);
}

} // namespace zelq
