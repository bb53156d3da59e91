#pragma once

#include "platform/use_lock.h"
#include "transport/device_session.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace zelq {

inline constexpr int kFirstController = 1;
inline constexpr int kLastController = 254;
inline constexpr std::size_t kTableEntries = 255;
inline constexpr std::uint32_t kDefaultPort = 502;

constexpr bool IsControllerNumber(short zelNo)
{
    return zelNo >= kFirstController && zelNo <= kLastController;
}

/// All controllers of the process, by their number. The port and the time-outs exist before any
/// session does; a session is made once, by the first connect, and lives until the library is
/// unloaded. Sessions stand in static memory: a thread that is still in a call while the process
/// ends finds a closed session, never a freed one.
class SessionTable
{
  public:
    SessionTable() = default;
    ~SessionTable();
    SessionTable(const SessionTable&) = delete;
    SessionTable& operator=(const SessionTable&) = delete;

    /// Null for a number out of range and for a controller that was never connected.
    [[nodiscard]] DeviceSession* Find(short zelNo) const
    {
        if (!IsControllerNumber(zelNo)) return nullptr;
        return sessions_[static_cast<std::size_t>(zelNo)].load(std::memory_order_acquire);
    }
    /// The number is a valid one.
    DeviceSession& FindOrCreate(short zelNo);

    [[nodiscard]] TimeOuts& TimeOutsOf(short zelNo)
    {
        return timeOuts_[static_cast<std::size_t>(zelNo)];
    }
    [[nodiscard]] std::atomic<std::uint32_t>& PortOf(short zelNo)
    {
        return ports_[static_cast<std::size_t>(zelNo)];
    }

    /// In a forked child: every session counts as not connected.
    void Abandon();

  private:
    /// All sessions that there are, in order.
    template <typename Action>
    void ForEach(Action action) const
    {
        for (const auto& entry : sessions_) {
            DeviceSession* session = entry.load(std::memory_order_acquire);
            if (session != nullptr) action(*session);
        }
    }

    struct Port : std::atomic<std::uint32_t>
    {
        Port() : std::atomic<std::uint32_t>(kDefaultPort) {}
    };
    struct alignas(DeviceSession) Room
    {
        std::array<std::byte, sizeof(DeviceSession)> bytes;
    };

    platform::UseLock creation_;
    std::array<std::atomic<DeviceSession*>, kTableEntries> sessions_{};
    std::array<Port, kTableEntries> ports_;
    std::array<TimeOuts, kTableEntries> timeOuts_;
    std::array<Room, kTableEntries> rooms_;
};

/// The process's one table.
SessionTable& Sessions();

} // namespace zelq
