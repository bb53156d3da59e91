#include "serial_port.h"

#include "byte_registers.h"
#include "families.h"

#include <algorithm>

namespace lumosim {

namespace {

constexpr Word kSetBypass = 0x0170;
constexpr Word kSetFormat = 0x0171;
constexpr Word kWrite = 0x0172;
constexpr Word kRead = 0x0173;

} // namespace

void SerialPort::AddCommands(CommandTable& table)
{
    table.Add(kSetBypass, "serial bypass", [this](auto& in, auto&) { return SetBypass(in); });
    table.Add(kSetFormat, "serial format", [this](auto& in, auto&) { return SetFormat(in); });
    table.Add(kWrite, "serial write", [this](auto& in, auto&) { return Write(in); });
    table.Add(kRead, "serial read", [this](auto& in, auto& reply) { return Read(in, reply); });
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

Result SerialPort::SetBypass(CommandReader& in)
{
    const Word bypass = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (bypass > 1) return Result::kOutOfRange;
    bypassed_ = bypass == 1;
    return Result::kDone;
}

Result SerialPort::SetFormat(CommandReader& in)
{
    SerialFormat format;
    format.baudRate = in.NextUnsignedLong();
    format.dataBits = in.NextWord();
    format.stopBits = in.NextWord();
    format.parity = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    const bool valid = format.baudRate > 0 && format.dataBits >= 7 && format.dataBits <= 9 &&
                       format.stopBits >= 1 && format.stopBits <= 2 && format.parity <= 2;
    if (!valid) return Result::kOutOfRange;
    format_ = format;
    return Result::kDone;
}

Result SerialPort::Write(CommandReader& in)
{
    std::vector<std::uint8_t> bytes = NextBytes(in, in.NextWord());
    if (!in.Finished() || bytes.empty()) return Result::kMalformed;
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
Result SerialPort::Read(CommandReader& in, Reply& reply)
{
    constexpr std::size_t kMost = 2 * (Reply::kCapacity - 1);
    const std::size_t wanted = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
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
