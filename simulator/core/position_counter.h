// The position counter of an axis: 32 bits that run over, and a place where they are 0.
#pragma once

#include <cmath>
#include <cstdint>

namespace lumosim {

class PositionCounter
{
  public:
    static constexpr std::int32_t Wrap(std::int64_t value)
    {
        return static_cast<std::int32_t>(
            static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
    }

    [[nodiscard]] std::int32_t At(double place) const { return Wrap(std::llround(place) - zero_); }
    // The place of a counter value that lies nearest to `here`.
    [[nodiscard]] double PlaceOf(std::int32_t value, double here) const
    {
        const auto rounded = static_cast<double>(std::llround(here));
        return rounded + static_cast<double>(std::int64_t{value} - At(rounded));
    }
    void Set(double place, std::int32_t value) { zero_ = std::llround(place) - value; }

  private:
    std::int64_t zero_ = 0;
};

} // namespace lumosim
