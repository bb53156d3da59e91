#include "transport/device_session.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <new>
#include <shared_mutex>

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

DeviceSession::Address DeviceSession::AddressText() const
{
    Address text{};
    std::snprintf(text.data(), text.size(), "%d.%d.%d.%u", octets_[0].load(), octets_[1].load(),
                  octets_[2].load(), controllerNumber_);
    return text;
}

bool DeviceSession::Open()
{
    return connection_.Open(AddressText().data(), port_, ConnectTime());
}

bool DeviceSession::Reopen()
{
    return connection_.Reopen(AddressText().data(), port_, ConnectTime());
}

void DeviceSession::Abandon()
{
    connection_.Abandon();
    // Threads that may have held these are not in this process.
    new (&slavesLock_) platform::UseLock;
    new (&mapsLock_) platform::UseLock;
}

SlaveConfig DeviceSession::Slaves() const
{
    const std::shared_lock guard(slavesLock_);
    return slaves_;
}

void DeviceSession::SetSlaves(const SlaveConfig& slaves)
{
    const std::lock_guard guard(slavesLock_);
    slaves_ = slaves;
}

void DeviceSession::SetSlaveTypes(const SlaveConfig::TypeWords& words)
{
    const std::lock_guard guard(slavesLock_);
    slaves_ = SlaveConfig(words, slaves_.counter);
}

void DeviceSession::SetConfigurationCounter(std::uint16_t counter)
{
    const std::lock_guard guard(slavesLock_);
    slaves_.counter = counter;
}

InterpMap DeviceSession::Map(std::size_t index) const
{
    const std::shared_lock guard(mapsLock_);
    return maps_[index];
}

void DeviceSession::SetMapAxes(std::size_t index, std::span<const std::uint16_t> axes)
{
    const std::lock_guard guard(mapsLock_);
    InterpMap& map = maps_[index];
    map.count = static_cast<std::uint8_t>(axes.size());
    std::ranges::transform(axes, map.axes.begin(),
                           [](std::uint16_t axis) { return static_cast<std::uint8_t>(axis); });
}

void DeviceSession::ClearMap(std::size_t index)
{
    const std::lock_guard guard(mapsLock_);
    maps_[index] = InterpMap();
}

} // namespace zelq
