// What the controller's serial port can be wired to outside the simulator.
#pragma once

#include "network.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace lumosim {

// Lives on the thread that runs the io_context it was opened with.
class SerialLine
{
  public:
    // Takes bytes that came over the line; false when there is no room now: they come again.
    using Taker = std::function<bool(std::span<const std::uint8_t>)>;

    SerialLine() = default;
    SerialLine(const SerialLine&) = delete;
    SerialLine& operator=(const SerialLine&) = delete;
    virtual ~SerialLine() = default;

    // What nobody takes at the other end is lost, sooner or later.
    virtual void Send(std::span<const std::uint8_t> bytes) = 0;
    [[nodiscard]] virtual std::uint16_t Port() const { return 0; }
};

// A program that connects to the TCP port is at the other end; one at a time. Port 0 takes a free
// one. NetworkError when it cannot be listened on.
std::unique_ptr<SerialLine> OpenTcpLine(asio::io_context& io, const asio::ip::tcp::endpoint& where,
                                        SerialLine::Taker taker);

// On Windows the named pipe \\.\pipe\PATH, open to one program at a time. Elsewhere two named
// pipes: what is written to PATH.in comes to the controller, what it sends can be read from
// PATH.out. std::system_error when they cannot be made.
std::unique_ptr<SerialLine> OpenPipeLine(asio::io_context& io, const std::string& path,
                                         SerialLine::Taker taker);

} // namespace lumosim
