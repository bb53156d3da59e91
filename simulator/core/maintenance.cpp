#include "maintenance.h"

#include "controller.h"
#include "families.h"

#include <algorithm>
#include <cstdio>

namespace lumosim {

namespace {

constexpr Word kSetNetwork = 0x01B1;
constexpr Word kSetHardwareInformation = 0x1001;
constexpr Word kReset = 0x1002;
constexpr Word kClearEeprom = 0x1006;
constexpr Word kDefaultParameters = 0x1007;
constexpr Word kCycle = 0x1008;

constexpr Word kSet = 0;
constexpr Word kGet = 1;

// How a controller restarts.
constexpr Word kPowerReset = 0;           // as by switching it off and on
constexpr Word kNetworkReset = 1;         // its network alone
constexpr Word kPowerResetNewNetwork = 2; // with the network settings it was delivered with
constexpr Word kPowerResetAllNew = 3;     // with all settings it was delivered with

// Parts of the EEPROM.
constexpr Word kAllAreas = 0;
constexpr Word kNetworkArea = 1;
constexpr Word kHardwareArea = 2;
constexpr Word kServoNetworkArea = 3;

constexpr Word kIdentification = 0xF400;
constexpr Word kIdentificationRegisters = 12;

// False when one of the octets is too large.
template <std::size_t Count>
bool ReadOctets(CommandReader& in, std::array<std::uint8_t, Count>& octets)
{
    bool valid = true;
    for (std::uint8_t& octet : octets) {
        const Word word = in.NextWord();
        valid = valid && word <= 255;
        octet = static_cast<std::uint8_t>(word);
    }
    return valid;
}

} // namespace

Maintenance::Maintenance(Controller& controller)
    : controller_(controller), network_(controller.Config().network)
{
    stored_.network = network_; // nothing else has been set yet
}

void Maintenance::AddCommands(CommandTable& table)
{
    table.Add(kSetNetwork, "network", [this](auto& in, auto&) { return SetNetwork(in); });
    table.Add(kSetHardwareInformation, "hardware information",
              [this](auto& in, auto&) { return SetHardwareInformation(in); });
    table.Add(kReset, "reset", [this](auto& in, auto&) { return Reset(in); });
    table.Add(kClearEeprom, "EEPROM clear", [this](auto& in, auto&) { return ClearEeprom(in); });
    table.Add(kDefaultParameters, "default parameters",
              [this](auto& in, auto& reply) { return DefaultParameters(in, reply); });
    table.Add(kCycle, "servo network cycle",
              [this](auto& in, auto& reply) { return Cycle(in, reply); });
}

void Maintenance::AddRegisters(RegisterMap& map)
{
    map.AddBlock(kIdentification, kIdentificationRegisters,
                 [this](std::span<Word> out) { ShowIdentification(out); });
}

Result Maintenance::SetNetwork(CommandReader& in)
{
    NetworkSettings settings;
    bool valid = ReadOctets(in, settings.address);
    valid = ReadOctets(in, settings.mask) && valid;
    valid = ReadOctets(in, settings.gateway) && valid;
    if (!in.Finished()) return Result::kMalformed;
    if (!valid) return Result::kOutOfRange;
    stored_.network = settings;
    return Result::kDone;
}

Result Maintenance::SetHardwareInformation(CommandReader& in)
{
    const Word value = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    stored_.hardwareInformation = value;
    return Result::kDone;
}

Result Maintenance::Reset(CommandReader& in)
{
    const Word mode = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (mode > kPowerResetAllNew) return Result::kOutOfRange;
    resetMode_ = mode;
    offlineAt_ = controller_.Now() + kResetDelay;
    onlineAt_ = offlineAt_ + kBootTime;
    return Result::kDone;
}

Result Maintenance::ClearEeprom(CommandReader& in)
{
    const Word area = in.NextWord();
    const Word flag = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (area > kServoNetworkArea || flag > 1) return Result::kOutOfRange;
    if (flag == 1) {
        RestoreDefaults(area);
    } else {
        clearAtRestart_.at(area) = true;
    }
    return Result::kDone;
}

Result Maintenance::DefaultParameters(CommandReader& in, Reply& reply)
{
    const Word function = in.NextWord();
    if (function == kSet) {
        const Word use = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (use > 1) return Result::kOutOfRange;
        stored_.useDefaultParameters = use;
        return Result::kDone;
    }
    if (function != kGet || !in.Finished()) return Result::kMalformed;
    reply.AddWord(stored_.useDefaultParameters);
    return Result::kDone;
}

Result Maintenance::Cycle(CommandReader& in, Reply& reply)
{
    const Word function = in.NextWord();
    if (function == kSet) {
        const Word cycle = in.NextWord();
        const Word commandCycle = in.NextWord();
        const std::int32_t option = in.NextLong();
        if (!in.Finished()) return Result::kMalformed;
        stored_.cycle = cycle;
        stored_.commandCycle = commandCycle;
        stored_.cycleOption = option;
        return Result::kDone;
    }
    if (function != kGet || !in.Finished()) return Result::kMalformed;
    reply.AddWord(stored_.cycle);
    reply.AddWord(stored_.commandCycle);
    return Result::kDone;
}

Nanoseconds Maintenance::NextEvent() const
{
    return std::min(offlineAt_, onlineAt_);
}

void Maintenance::AdvanceTo(Nanoseconds now)
{
    if (offlineAt_ <= now) {
        offlineAt_ = kNever;
        SetOnline(false);
    }
    if (onlineAt_ <= now) {
        onlineAt_ = kNever;
        Restart();
        SetOnline(true);
    }
}

void Maintenance::SetOnline(bool online)
{
    online_ = online;
    controller_.TellOnline(online);
}

void Maintenance::Restart()
{
    if (resetMode_ == kPowerResetNewNetwork) RestoreDefaults(kNetworkArea);
    if (resetMode_ == kPowerResetAllNew) RestoreDefaults(kAllAreas);
    if (resetMode_ == kNetworkReset) {
        network_ = stored_.network;
    } else {
        controller_.PowerCycle();
    }
}

void Maintenance::PowerUp()
{
    for (std::size_t area = 0; area < clearAtRestart_.size(); ++area) {
        if (clearAtRestart_.at(area)) RestoreDefaults(static_cast<Word>(area));
    }
    clearAtRestart_.fill(false);
    network_ = stored_.network;
}

void Maintenance::RestoreDefaults(Word area)
{
    StoredSettings defaults;
    defaults.network = controller_.Config().network;
    const bool all = area == kAllAreas;
    if (all || area == kNetworkArea) stored_.network = defaults.network;
    if (all || area == kHardwareArea) stored_.hardwareInformation = defaults.hardwareInformation;
    if (all || area == kServoNetworkArea) {
        stored_.useDefaultParameters = defaults.useDefaultParameters;
        stored_.cycle = defaults.cycle;
        stored_.commandCycle = defaults.commandCycle;
        stored_.cycleOption = defaults.cycleOption;
    }
}

// 24 bytes, two in a register, the earlier one in the low half: type, version (two bytes), year,
// month, day, size code, five bytes of 0, the IPv4 address (four bytes), a byte of 0, and a serial
// number of seven characters.
void Maintenance::ShowIdentification(std::span<Word> out) const
{
    constexpr std::uint8_t kMainSeries = 0;
    constexpr std::uint8_t kModel32 = 32 / 4;
    const auto number = static_cast<std::uint8_t>(controller_.Config().number);
    std::array<char, 8> serial{};
    std::snprintf(serial.data(), serial.size(), "SIM%04u", static_cast<unsigned>(number));
    std::array<std::uint8_t, 24> bytes = {kMainSeries, 1, 0, 26, 1, 1, kModel32};
    std::ranges::copy(network_.address, bytes.begin() + 12);
    bytes[15] = number;
    std::copy_n(serial.begin(), 7, bytes.begin() + 17);
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i] = static_cast<Word>(bytes[2 * i + 1] << 8 | bytes[2 * i]);
    }
}

std::unique_ptr<Family> MakeMaintenance(Controller& controller)
{
    return std::make_unique<Maintenance>(controller);
}

} // namespace lumosim
