#include "api/vocabulary/identification.h"

#include <algorithm>

namespace zelq {

namespace {

constexpr std::size_t kYear = 3; ///< from 2000 on
constexpr std::size_t kMonth = 4;
constexpr std::size_t kDay = 5;
constexpr std::size_t kController = 12; ///< four bytes that no two controllers share
constexpr std::size_t kControllerBytes = 4;

/// Which byte of the block stands at which word of the device information.
constexpr std::array<std::uint8_t, Identification::kInfoWords> kByteOfWord = {
    12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 0, 1, 2, kYear, kMonth, kDay, 6};
constexpr std::size_t kYearWord = 15;
constexpr unsigned kCentury = 2000;

} // namespace

bool Identification::HasValidDate() const
{
    const auto within = [](unsigned value, unsigned low, unsigned high) {
        return value >= low && value <= high;
    };
    return within(bytes_[kYear], 18, 48) && within(bytes_[kMonth], 1, 12) &&
           within(bytes_[kDay], 1, 31);
}

void Identification::Fill(unsigned short* info) const
{
    for (std::size_t word = 0; word < kInfoWords; ++word) {
        info[word] = bytes_[kByteOfWord[word]];
    }
    info[kYearWord] = static_cast<unsigned short>(info[kYearWord] + kCentury);
}

bool Identification::SameController(const unsigned short* info) const
{
    return std::equal(info, info + kControllerBytes, bytes_.begin() + kController);
}

} // namespace zelq
