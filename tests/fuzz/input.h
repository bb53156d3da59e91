#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

namespace zelq::fuzz {

using Bytes = std::vector<std::uint8_t>;

/// Reads an input from its front; 0 behind its end.
class Input
{
  public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}
    explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    [[nodiscard]] bool AtEnd() const { return rest_.empty(); }

    std::uint8_t Next()
    {
        if (rest_.empty()) return 0;
        const std::uint8_t value = rest_.front();
        rest_ = rest_.subspan(1);
        return value;
    }
    std::uint8_t Below(unsigned count) { return static_cast<std::uint8_t>(Next() % count); }

    /// High byte first, as a register travels.
    std::uint16_t NextWord()
    {
        const unsigned high = Next();
        return static_cast<std::uint16_t>(high << 8U | Next());
    }

    Bytes Rest(std::size_t most)
    {
        const auto taken = rest_.first(std::min(most, rest_.size()));
        rest_ = rest_.subspan(taken.size());
        return {taken.begin(), taken.end()};
    }

  private:
    std::span<const std::uint8_t> rest_;
};

/// What each target does with an input.
void Check(Input input);

inline void Require(bool holds, const char* what)
{
    if (holds) return;
    std::fprintf(stderr, "broken: %s\n", what);
    std::abort();
}

inline void Append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

inline void PutWord(Bytes& bytes, std::size_t value)
{
    Append(bytes, {static_cast<std::uint8_t>(value >> 8U), static_cast<std::uint8_t>(value)});
}

/// A request or reply frame as it travels.
inline Bytes Frame(std::size_t id, std::uint8_t unit, unsigned function, const Bytes& body)
{
    Bytes frame;
    for (const std::size_t word : {id, std::size_t{0}, body.size() + 2}) {
        PutWord(frame, word);
    }
    Append(frame, {unit, static_cast<std::uint8_t>(function)});
    Append(frame, body);
    return frame;
}

} // namespace zelq::fuzz
