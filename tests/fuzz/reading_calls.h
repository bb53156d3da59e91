#pragma once

#include "fuzz/input.h"

#include <cstring>
#include <span>
#include <vector>

namespace zelq::fuzz {

/// The places that a call writes to, each an allocation of its own and exactly as large as
/// described, so that the address sanitizer sees one byte too many.
class Outputs
{
  public:
    template <typename T>
    T* Room(std::size_t count = 1)
    {
        areas_.emplace_back(count * sizeof(T), kUntouched);
        return reinterpret_cast<T*>(areas_.back().data());
    }

    [[nodiscard]] bool Untouched() const;

  private:
    static constexpr std::uint8_t kUntouched = 0x5A;

    std::vector<Bytes> areas_;
};

struct ReadingCall
{
    enum class OnFailure {
        kWritesNothing,
        kKeepsWhatCame, ///< described to write what came ahead of the failure
    };

    const char* name;
    short (*run)(Input& arguments, Outputs& outputs);
    OnFailure onFailure = OnFailure::kWritesNothing;
    bool readsSlaves = false; ///< by its only exchange: the session has others then
};

/// Every exported function that takes data from a connected controller's reply, and a command of
/// one frame and one of several, whose replies carry nothing but the result.
std::span<const ReadingCall> ReadingCalls();

} // namespace zelq::fuzz
