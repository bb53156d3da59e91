#include "serial_port.h"

#include "byte_registers.h"
#include "families.h"
#include "snapshot.h"

#include <algorithm>

namespace lumosim {

namespace {

constexpr Word kSetBypass = 0x0170;
constexpr Word kSetFormat = 0x0171;
constexpr Word kSerialWrite = 0x0172;
constexpr Word kSerialRead = 0x0173;

} // namespace

void SerialPort::AddCommands(CommandTable& table)
{
    table.Add<OneWord>(kSetBypass, "serial bypass", {"bypass", &OneWord::value, UpTo(1)},
                       [this](const OneWord& bypass) { bypassed_ = bypass.value == 1; });
    table.Add<SerialFormat>(kSetFormat, "serial format",
                            {"baud rate", &SerialFormat::baudRate, Bounds{1, UINT32_MAX},
                             "data bits", &SerialFormat::dataBits, Bounds{7, 9}, "stop bits",
                             &SerialFormat::stopBits, Bounds{1, 2}, "parity", &SerialFormat::parity,
                             UpTo(2)},
                            [this](const SerialFormat& format) { format_ = format; });
    table.AddList<OneWord>(
        kSerialWrite, "serial write",
        {"byte count", &OneWord::value, "two bytes", &OneWord::value, kRest},
        [this](const OneWord& count, const auto& pairs) { return Write(count.value, pairs); });
    table.Add<OneWord>(
        kSerialRead, "serial read", {"byte count", &OneWord::value},
        [this](const OneWord& count, Reply& reply) { return Read(count.value, reply); });
}

void SerialPort::Describe(Json& snapshot) const
{
    snapshot["serial"] = {{"baudRate", format_.baudRate}, {"dataBits", format_.dataBits},
                          {"stopBits", format_.stopBits}, {"parity", format_.parity},
                          {"bypassed", bypassed_},        {"waiting", received_.size()}};
}

void SerialPort::ConnectLoopBack()
{
    farEnd_ = [this](std::span<const std::uint8_t> bytes) { Receive(bytes); };
}

void SerialPort::Receive(std::span<const std::uint8_t> bytes)
{
    const std::size_t room = kReceiveBuffer - received_.size();
    const auto mask = static_cast<std::uint8_t>(format_.dataBits == 7 ? 0x7F : 0xFF);
    for (const std::uint8_t byte : bytes.first(std::min(room, bytes.size()))) {
        received_.push_back(byte & mask);
    }
}

bool SerialPort::TryReceive(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() > kReceiveBuffer - received_.size()) return false;
    Receive(bytes);
    return true;
}

// An odd count leaves the last register's high half unused.
Result SerialPort::Write(std::size_t count, const std::vector<Entry<OneWord>>& pairs)
{
    if (count == 0 || pairs.size() != (count + 1) / 2) return Result::kMalformed;
    std::vector<std::uint8_t> bytes = BytesOf(pairs);
    bytes.resize(count);
    if (bypassed_) return Result::kSerialPortTaken;
    if (format_.dataBits == 7) {
        for (std::uint8_t& byte : bytes) {
            byte &= 0x7F;
        }
    }
    if (farEnd_) farEnd_(bytes);
    return Result::kDone;
}

// The reply: how many bytes are waiting, then as many of them as were asked for. Those are gone
// from here.
Result SerialPort::Read(std::size_t wanted, Reply& reply)
{
    constexpr std::size_t kMost = 2 * (Reply::kCapacity - 1);
    if (wanted > kMost) return Result::kOutOfRange;
    if (bypassed_) return Result::kSerialPortTaken;
    reply.AddWord(static_cast<Word>(received_.size()));
    const auto count = static_cast<std::ptrdiff_t>(std::min(wanted, received_.size()));
    AddBytes(reply, std::vector<std::uint8_t>(received_.begin(), received_.begin() + count));
    received_.erase(received_.begin(), received_.begin() + count);
    return Result::kDone;
}

void SerialPort::PowerUp()
{
    format_ = SerialFormat();
    bypassed_ = false;
    received_.clear();
}

std::unique_ptr<Family> MakeSerialPort(Controller& /*controller*/)
{
    return std::make_unique<SerialPort>();
}

} // namespace lumosim
