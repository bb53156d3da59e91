#pragma once

#include "platform/shared_lock.h"
#include "platform/use_lock.h"
#include "transport/connection.h"
#include "transport/interp_map.h"
#include "transport/slave_config.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <span>

namespace zelq {

/// The time-outs of one controller, in milliseconds.
struct TimeOuts
{
    std::atomic<std::uint16_t> connect = 100;
    std::atomic<std::uint16_t> send = 30;
    std::atomic<std::uint16_t> receive = 30;
};

/// What the library knows of one controller, from the first connect until it is unloaded. Whoever
/// has the turn leads the connection; all else is read and written by any thread at any time.
class DeviceSession
{
  public:
    DeviceSession(std::uint32_t controllerNumber, const TimeOuts& timeOuts);
    DeviceSession(const DeviceSession&) = delete;
    DeviceSession& operator=(const DeviceSession&) = delete;

    /// Where the next Open connects to: ip1.ip2.ip3.controller number.
    void SetAddress(std::array<std::int32_t, 3> octets, std::uint32_t port);

    /// Connects to the stored address, whatever was before. The caller has the turn.
    bool Open();
    /// Connects anew in the middle of an exchange; not once the application has disconnected.
    bool Reopen();
    /// What others share of the session is theirs from here on: nothing is sent or closed.
    void Abandon();

    [[nodiscard]] Connection& Link() { return connection_; }
    [[nodiscard]] platform::SharedLock& Lock() { return lock_; }
    [[nodiscard]] const TimeOuts& Times() const { return timeOuts_; }

    [[nodiscard]] double UnitPerPulse(unsigned axis) const
    {
        if (axis >= kAxisCount) return 1.0;
        const double stored = unitsPerPulse_[axis].load(std::memory_order_relaxed);
        return stored == 0.0 ? 1.0 : stored;
    }
    void SetUnitPerPulse(unsigned axis, double unitPerPulse)
    {
        unitsPerPulse_[axis].store(unitPerPulse, std::memory_order_relaxed);
    }

    /// A copy of the whole: a re-read that comes in between is seen entirely or not at all.
    [[nodiscard]] SlaveConfig Slaves() const;
    void SetSlaves(const SlaveConfig& slaves);
    /// Replaces all but the counter.
    void SetSlaveTypes(const SlaveConfig::TypeWords& words);
    void SetConfigurationCounter(std::uint16_t counter);

    /// A copy of one map. The table mirrors what the controller was told, so that interpolation
    /// calls know the factors of their axes; the index is below kMapCount.
    [[nodiscard]] InterpMap Map(std::size_t index) const;
    /// Mirrors a map that was set: its count and so many axes, each as its low byte. What stands
    /// behind them stays.
    void SetMapAxes(std::size_t index, std::span<const std::uint16_t> axes);
    void ClearMap(std::size_t index);

    std::atomic<std::uint16_t> servoOnTimeOut = 5000; ///< ms, also told to the controller

  private:
    /// The stored address as text.
    using Address = std::array<char, 64>;
    [[nodiscard]] Address AddressText() const;
    [[nodiscard]] std::chrono::milliseconds ConnectTime() const
    {
        return std::chrono::milliseconds(timeOuts_.connect);
    }

    const std::uint32_t controllerNumber_;
    const TimeOuts& timeOuts_;
    Connection connection_;
    platform::SharedLock lock_;
    std::array<std::atomic<std::int32_t>, 3> octets_{};
    std::atomic<std::uint32_t> port_ = 0;
    std::array<std::atomic<double>, kAxisCount> unitsPerPulse_{}; ///< 0 stands for 1.0
    mutable platform::UseLock slavesLock_;
    SlaveConfig slaves_;
    mutable platform::UseLock mapsLock_;
    InterpMapTable maps_;
};

} // namespace zelq
