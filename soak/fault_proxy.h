#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <iterator>
#include <memory>

namespace soak {

/// What befalls a call on its way.
enum class Fault {
    kNone,
    kLate,    ///< the reply comes after the waits
    kDelay,   ///< the reply comes late, but within the waits
    kSlice,   ///< it comes in many pieces
    kDouble,  ///< it comes twice, the second time a little later
    kStray,   ///< a reply that nobody asked for comes ahead of it
    kTorn,    ///< half of it, the rest after the waits
    kCorrupt, ///< a bit of a frame's header is turned
    kCut,     ///< the connection is closed before the request, or in the middle of the reply
    kReset,   ///< the same with a reset
};

/// Its name, and how many calls in 10,000 it befalls.
struct FaultKind
{
    const char* name;
    int rate;
};

inline constexpr FaultKind kFaults[] = {
    {"none", 0},   {"late", 100}, {"delay", 50},   {"slice", 100}, {"double", 50},
    {"stray", 20}, {"torn", 20},  {"corrupt", 50}, {"cut", 20},    {"reset", 20}};
inline constexpr std::size_t kFaultKinds = std::size(kFaults);

/// Stands between a library and a controller, and lets faults befall what passes.
///
/// What the controller gets is whole and in order: all connections share one to the controller, and
/// a request is run to its end or not at all before the next one. So what a register holds can be
/// told from the calls that were made, whatever became of their replies. Bits are turned in headers
/// only; register data have no check of their own, on a wire that of TCP guards them.
class FaultProxy
{
  public:
    /// Listens on a free port of 127.0.0.`number`, in front of the controller at its port there.
    FaultProxy(short number, int controllerPort, unsigned seed);
    ~FaultProxy();

    std::atomic<bool> begun = false;                                ///< faults befall what passes
    std::array<std::atomic<std::uint64_t>, kFaultKinds> injected{}; ///< how often each fault

  private:
    class Line;
    std::unique_ptr<Line> line_;

  public:
    const int port; ///< where it listens
};

} // namespace soak
