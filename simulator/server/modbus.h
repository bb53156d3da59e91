// The Modbus application protocol on a byte stream, without the stream: bytes in, bytes out.
#pragma once

#include "core/command_channel.h"

#include <cstdint>
#include <span>
#include <vector>

namespace lumosim {

class Controller;

constexpr std::uint8_t kReadFunction = 3;

// One connection's side of the protocol. Frames may come in any pieces; every complete one is
// answered in order.
class ModbusSession
{
  public:
    using Bytes = std::vector<std::uint8_t>;

    // Requests to another unit are refused.
    explicit ModbusSession(Controller& controller, std::uint8_t unit = 1)
        : channel_(controller), unit_(unit)
    {}

    // Takes what came and appends the answers. False when the bytes are no Modbus: the stream is
    // lost then, and the connection has to be closed after the answers so far.
    bool Receive(std::span<const std::uint8_t> bytes, Bytes& answers);

  private:
    class RequestReader;

    void Answer(std::span<const std::uint8_t> frame, Bytes& answers);
    void AnswerRequest(std::uint8_t function, RequestReader request, Bytes& pdu);
    void ReadRegisters(RequestReader request, Bytes& pdu);
    void WriteRegisters(RequestReader request, Bytes& pdu);
    void ReadWriteRegisters(RequestReader request, Bytes& pdu);
    void AppendRegisters(std::uint8_t function, std::uint16_t first, std::uint16_t quantity,
                         Bytes& pdu);

    CommandChannel channel_;
    std::uint8_t unit_;
    Bytes pending_; // the beginning of a frame that is not complete yet
};

} // namespace lumosim
