#pragma once

#include "platform/shared_lock.h"
#include "platform/tcp_socket.h"
#include "transport/interp_map.h"
#include "transport/slave_config.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>

namespace zelq {

/// The time-outs of one controller, in milliseconds.
struct TimeOuts
{
    std::atomic<std::uint16_t> connect = 100;
    std::atomic<std::uint16_t> send = 30;
    std::atomic<std::uint16_t> receive = 30;
};

/// Bounds every wait for a session's lock.
inline constexpr std::chrono::milliseconds kLockTimeOut{4000};

/// What the library knows of one controller, from the first connect until it is unloaded. The
/// lock guards the connection for one exchange at a time; all else is read and written by any
/// thread at any time.
class DeviceSession
{
  public:
    DeviceSession(std::uint32_t controllerNumber, const TimeOuts& timeOuts);
    DeviceSession(const DeviceSession&) = delete;
    DeviceSession& operator=(const DeviceSession&) = delete;

    /// Where the next Open connects to: ip1.ip2.ip3.controller number.
    void SetAddress(std::array<std::int32_t, 3> octets, std::uint32_t port);

    /// (Re)opens the connection to the stored address. The caller holds the lock.
    bool Open();
    /// Closes the connection; the session stays.
    void Close() { socket_.Close(); }
    /// In a forked child: the connection stays the parent's.
    void Abandon() { socket_.Abandon(); }
    /// Closes everything, as the library is unloaded.
    void ShutDown();

    [[nodiscard]] platform::TcpSocket& Socket() { return socket_; }
    [[nodiscard]] platform::SharedLock& Lock() { return lock_; }
    [[nodiscard]] const TimeOuts& Times() const { return timeOuts_; }

    [[nodiscard]] double UnitPerPulse(unsigned axis) const;
    void SetUnitPerPulse(unsigned axis, double unitPerPulse);

    /// A copy of the whole: a re-read that comes in between is seen entirely or not at all.
    [[nodiscard]] SlaveConfig Slaves() const;
    void SetSlaves(const SlaveConfig& slaves);

    /// A copy of one map. The table mirrors what the controller was told, so that interpolation
    /// calls know the factors of their axes; the index is below kMapCount.
    [[nodiscard]] InterpMap Map(std::size_t index) const;
    /// Mirrors a map that was set: its count and so many axes, each as its low byte. What stands
    /// behind them stays.
    void SetMapAxes(std::size_t index, std::span<const std::uint16_t> axes);
    void ClearMap(std::size_t index);

    std::atomic<std::uint16_t> servoOnTimeOut = 5000; ///< ms, also told to the controller
    std::atomic<std::uint16_t> configurationCounter = 0;

  private:
    const std::uint32_t controllerNumber_;
    const TimeOuts& timeOuts_;
    platform::TcpSocket socket_;
    platform::SharedLock lock_;
    std::array<std::atomic<std::int32_t>, 3> octets_{};
    std::atomic<std::uint32_t> port_ = 0;
    std::array<std::atomic<double>, kAxisCount> unitsPerPulse_{}; ///< 0 stands for 1.0
    mutable platform::UseLock slavesMutex_;
    SlaveConfig slaves_;
    mutable platform::UseLock mapsMutex_;
    InterpMapTable maps_;
};

/// Holds a session's lock while it lives. A wait that merely times out goes on without the lock,
/// and then nothing is released.
class SessionLock
{
  public:
    explicit SessionLock(DeviceSession& session);
    ~SessionLock();
    SessionLock(const SessionLock&) = delete;
    SessionLock& operator=(const SessionLock&) = delete;

    [[nodiscard]] bool Failed() const { return status_ == platform::LockStatus::kFailed; }

  private:
    platform::SharedLock& lock_;
    platform::LockStatus status_;
};

} // namespace zelq
