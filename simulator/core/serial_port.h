// The controller's serial port.
#pragma once

#include "family.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <vector>

namespace lumosim {

struct SerialFormat
{
    std::uint32_t baudRate = 115200;
    Word dataBits = 8; // with 7, the highest bit of every byte is lost
    Word stopBits = 1;
    Word parity = 0; // 0 none, 1 odd, 2 even

    friend bool operator==(const SerialFormat&, const SerialFormat&) = default;
};

// Bytes that the host writes go to the far end at once, whatever the baud rate; bytes from there
// wait until the host reads them. By default the far end is a plug that loops everything back.
class SerialPort : public Family
{
  public:
    // What takes the bytes that the port sends.
    using FarEnd = std::function<void(std::span<const std::uint8_t>)>;

    // Bytes that come when this many are waiting are lost.
    static constexpr std::size_t kReceiveBuffer = 16384;

    void AddCommands(CommandTable& table) override;
    void Describe(nlohmann::json& snapshot) const override;
    void PowerUp() override;

    void Connect(FarEnd farEnd) { farEnd_ = std::move(farEnd); }
    void ConnectLoopBack();

    // Bytes from the far end. A far end that can wait tries first, and comes again when there was
    // no room for all of them.
    void Receive(std::span<const std::uint8_t> bytes);
    [[nodiscard]] bool TryReceive(std::span<const std::uint8_t> bytes);

    [[nodiscard]] const SerialFormat& Format() const { return format_; }
    // With the bypass on, the port belongs to the controller's own service: the host cannot use it.
    [[nodiscard]] bool Bypassed() const { return bypassed_; }
    [[nodiscard]] std::size_t Waiting() const { return received_.size(); }

    SerialPort() { ConnectLoopBack(); }

  private:
    Result Write(std::size_t count, const std::vector<Entry<OneWord>>& pairs);
    Result Read(std::size_t wanted, Reply& reply);

    SerialFormat format_;
    bool bypassed_ = false;
    std::deque<std::uint8_t> received_;
    FarEnd farEnd_; // none: what is sent is lost
};

} // namespace lumosim
