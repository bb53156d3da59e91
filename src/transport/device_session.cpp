#include "transport/device_session.h"

#include <algorithm>
#include <cstdio>

namespace zelq {

DeviceSession::DeviceSession(std::uint32_t controllerNumber, const TimeOuts& timeOuts)
    : controllerNumber_(controllerNumber), timeOuts_(timeOuts), lock_(controllerNumber)
{}

void DeviceSession::SetAddress(std::array<std::int32_t, 3> octets, std::uint32_t port)
{
    for (std::size_t i = 0; i < octets.size(); ++i) {
        octets_[i] = octets[i];
    }
    port_ = port;
}

bool DeviceSession::Open()
{
    std::array<char, 64> address{};
    std::snprintf(address.data(), address.size(), "%d.%d.%d.%u", octets_[0].load(),
                  octets_[1].load(), octets_[2].load(), controllerNumber_);
    return socket_.Open(address.data(), port_, std::chrono::milliseconds(timeOuts_.connect));
}

void DeviceSession::ShutDown()
{
    {
        const SessionLock lock(*this);
        socket_.Close();
    }
    lock_.Close();
}

double DeviceSession::UnitPerPulse(unsigned axis) const
{
    if (axis >= kAxisCount) return 1.0;
    const double stored = unitsPerPulse_[axis].load(std::memory_order_relaxed);
    return stored == 0.0 ? 1.0 : stored;
}

void DeviceSession::SetUnitPerPulse(unsigned axis, double unitPerPulse)
{
    unitsPerPulse_[axis].store(unitPerPulse, std::memory_order_relaxed);
}

SlaveConfig DeviceSession::Slaves() const
{
    const std::lock_guard guard(slavesMutex_);
    return slaves_;
}

void DeviceSession::SetSlaves(const SlaveConfig& slaves)
{
    const std::lock_guard guard(slavesMutex_);
    slaves_ = slaves;
}

InterpMap DeviceSession::Map(std::size_t index) const
{
    const std::lock_guard guard(mapsMutex_);
    return maps_[index];
}

void DeviceSession::SetMapAxes(std::size_t index, std::span<const std::uint16_t> axes)
{
    const std::lock_guard guard(mapsMutex_);
    InterpMap& map = maps_[index];
    map.count = static_cast<std::uint8_t>(axes.size());
    std::ranges::transform(axes, map.axes.begin(),
                           [](std::uint16_t axis) { return static_cast<std::uint8_t>(axis); });
}

void DeviceSession::ClearMap(std::size_t index)
{
    const std::lock_guard guard(mapsMutex_);
    maps_[index] = InterpMap();
}

SessionLock::SessionLock(DeviceSession& session)
    : lock_(session.Lock()), status_(lock_.Wait(kLockTimeOut))
{}

SessionLock::~SessionLock()
{
    if (!Failed()) lock_.Release();
}

} // namespace zelq
