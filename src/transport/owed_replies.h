#pragma once

#include "transport/request.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zelq {

/// What an earlier exchange has left to come over a connection.
///
/// A call that ends before all its replies are there, such as one that a stray frame or a refused
/// command has ended, leaves the others owed. They are known by their ids, and dropped when they
/// come. Where the bytes are no row of frames any more, nobody can tell where the next one starts:
/// then the connection has lost its step, and another one is needed.
class OwedReplies
{
  public:
    /// Nothing is owed, and whatever comes next starts with a frame.
    [[nodiscard]] bool None() const { return inStep_ && count_ == 0; }
    [[nodiscard]] bool LostStep() const { return !inStep_; }
    void LoseStep() { inStep_ = false; }
    /// A new connection starts with nothing.
    void Forget() { *this = OwedReplies(); }

    /// An exchange begins whose replies bear these ids: they are its own.
    void Expect(const RequestBuffer& request);

    /// Bytes that came while nobody waited for any.
    void Discard(std::span<const std::uint8_t> bytes);

    /// Takes late replies out of what has come, from `from` on; how many bytes stay.
    std::size_t DropLate(std::span<std::uint8_t> received, std::size_t from);

    /// An exchange has ended with `matched` replies paired; `rest` came behind them.
    void Owe(const RequestBuffer& request, std::size_t matched, std::span<const std::uint8_t> rest);

  private:
    /// A request has at most 121 frames. Whoever owes more than one such has lost its step.
    static constexpr std::size_t kMost = 160;

    void Add(std::uint16_t id);
    bool Take(std::uint16_t id);

    std::array<std::uint16_t, kMost> ids_{};
    std::size_t count_ = 0;
    bool inStep_ = true;
};

} // namespace zelq
