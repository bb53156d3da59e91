#include "discovery.h"

#include "modbus.h"

namespace lumosim {

namespace {

using asio::ip::udp;

// A read of registers, to whoever it reaches.
constexpr std::size_t kRequestSize = 12;
constexpr std::size_t kUnitAt = 6;
constexpr std::size_t kFunctionAt = 7;
constexpr std::uint8_t kAnyUnit = 255;

// Where broadcasts arrive for a controller at this address.
asio::ip::address BroadcastAddress(const asio::ip::address& address)
{
#ifdef _WIN32
    return address; // there a socket at an address hears the broadcasts to its network, too
#else
    // A socket at the broadcast address hears nothing but broadcasts.
    if (address.is_loopback() && address.is_v4()) return asio::ip::address_v4(0x7FFFFFFF);
    return address.is_v4() ? asio::ip::address_v4::any() : address;
#endif
}

} // namespace

void DiscoveryResponder::Open(const asio::ip::address& address, std::uint16_t port)
{
    ears_ = {OpenEar({address, port})};
    port_ = ears_.front()->socket.local_endpoint().port();
    const asio::ip::address broadcast = BroadcastAddress(address);
    if (broadcast != address) ears_.push_back(OpenEar({broadcast, port_}));
    for (const auto& ear : ears_) {
        Listen(ear);
    }
}

// Any number of controllers share the broadcasts to a port.
std::shared_ptr<DiscoveryResponder::Ear> DiscoveryResponder::OpenEar(const udp::endpoint& endpoint)
{
    auto ear = std::make_shared<Ear>(io_);
    ear->socket.open(endpoint.protocol());
    ear->socket.set_option(udp::socket::reuse_address(true));
    ear->socket.bind(endpoint);
    return ear;
}

void DiscoveryResponder::Close()
{
    for (const auto& ear : ears_) {
        ErrorCode ignored;
        ear->socket.close(ignored);
    }
    ears_.clear();
}

void DiscoveryResponder::Listen(const std::shared_ptr<Ear>& ear)
{
    ear->socket.async_receive_from(
        asio::buffer(ear->datagram), ear->sender,
        [this, ear](const ErrorCode& error, std::size_t size) {
            if (error == asio::error::operation_aborted || !ear->socket.is_open()) return;
            if (!error) Answer(std::span(ear->datagram).first(size), ear->sender);
            Listen(ear);
        });
}

void DiscoveryResponder::Answer(std::span<const std::uint8_t> request, const udp::endpoint& sender)
{
    const bool isRequest = request.size() == kRequestSize && request[kUnitAt] == kAnyUnit &&
                           request[kFunctionAt] == kReadFunction;
    if (!isRequest) return;
    ModbusSession::Bytes answer;
    {
        const Hold controller(controller_);
        ModbusSession(*controller, kAnyUnit).Receive(request, answer);
    }
    ErrorCode ignored;
    if (!answer.empty()) ears_.front()->socket.send_to(asio::buffer(answer), sender, 0, ignored);
}

} // namespace lumosim
