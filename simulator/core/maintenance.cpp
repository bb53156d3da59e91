#include "maintenance.h"

#include "controller.h"
#include "families.h"
#include "snapshot.h"
#include "values.h"

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

struct ClearOrder
{
    Word area = 0;
    Word flag = 0;
};

struct DefaultsFields
{
    Word function = 0;
    Word use = 0;
};

struct CycleFields
{
    Word function = 0;
    Word cycle = 0;
    Word commandCycle = 0;
    std::int32_t option = 0;
};

} // namespace

Maintenance::Maintenance(Controller& controller)
    : controller_(controller), network_(controller.Config().network)
{
    stored_.network = network_; // nothing else has been set yet
}

void Maintenance::AddCommands(CommandTable& table)
{
    // Three octets of the address, four of the net mask, four of the gateway.
    table.AddList<OneWord>(
        kSetNetwork, "network", {Times(11), "octet", &OneWord::value, kEach},
        [this](const OneWord&, const auto& octets) { return SetNetwork(octets); });
    table.Add<OneWord>(
        kSetHardwareInformation, "hardware information", {"value", &OneWord::value},
        [this](const OneWord& information) { stored_.hardwareInformation = information.value; });
    table.Add<OneWord>(kReset, "reset", {"mode", &OneWord::value, UpTo(kPowerResetAllNew)},
                       [this](const OneWord& order) {
                           resetMode_ = order.value;
                           offlineAt_ = controller_.Now() + kResetDelay;
                           onlineAt_ = offlineAt_ + kBootTime;
                       });
    table.Add<ClearOrder>(
        kClearEeprom, "EEPROM clear",
        {"area", &ClearOrder::area, UpTo(kServoNetworkArea), "now", &ClearOrder::flag, UpTo(1)},
        [this](const ClearOrder& order) {
            clearAtRestart_.at(order.area) |= order.flag == 0;
            if (order.flag == 1) RestoreDefaults(order.area);
        });
    AddSettings(table);
}

// Settings with a sub-function that tells whether they are set or read.
void Maintenance::AddSettings(CommandTable& table)
{
    const Rule set = When("function", {kSet});
    table.Add<DefaultsFields>(
        kDefaultParameters, "default parameters",
        {"function", &DefaultsFields::function, "use", &DefaultsFields::use, set, UpTo(1)},
        [this](const DefaultsFields& fields, Reply& reply) {
            if (fields.function > kGet) return Result::kMalformed;
            if (fields.function == kSet) stored_.useDefaultParameters = fields.use;
            if (fields.function == kGet) reply.AddWord(stored_.useDefaultParameters);
            return Result::kDone;
        });
    table.Add<CycleFields>(kCycle, "servo network cycle",
                           {"function", &CycleFields::function, "cycle", &CycleFields::cycle, set,
                            "command cycle", &CycleFields::commandCycle, set, "option",
                            &CycleFields::option, set},
                           [this](const CycleFields& fields, Reply& reply) {
                               if (fields.function > kGet) return Result::kMalformed;
                               if (fields.function == kGet) {
                                   reply.AddWord(stored_.cycle);
                                   reply.AddWord(stored_.commandCycle);
                                   return Result::kDone;
                               }
                               stored_.cycle = fields.cycle;
                               stored_.commandCycle = fields.commandCycle;
                               stored_.cycleOption = fields.option;
                               return Result::kDone;
                           });
}

void Maintenance::Describe(Json& snapshot) const
{
    const auto network = [](const NetworkSettings& settings) {
        return Json{
            {"address", settings.address}, {"mask", settings.mask}, {"gateway", settings.gateway}};
    };
    snapshot["controller"]["online"] = online_;
    snapshot["controller"]["network"] = network(network_);
    snapshot["stored"] = {{"network", network(stored_.network)},
                          {"hardwareInformation", stored_.hardwareInformation},
                          {"useDefaultParameters", stored_.useDefaultParameters},
                          {"cycle", stored_.cycle},
                          {"commandCycle", stored_.commandCycle},
                          {"cycleOption", stored_.cycleOption}};
}

void Maintenance::AddRegisters(RegisterMap& map)
{
    map.AddBlock(kIdentification, kIdentificationRegisters,
                 [this](std::span<Word> out) { ShowIdentification(out); });
}

Result Maintenance::SetNetwork(const std::vector<Entry<OneWord>>& octets)
{
    NetworkSettings settings;
    auto next = octets.begin();
    const auto take = [&next](auto& part) {
        for (std::uint8_t& octet : part) {
            octet = static_cast<std::uint8_t>((next++)->number);
        }
    };
    const auto tooLarge = [](const Entry<OneWord>& octet) { return octet.number > 255; };
    if (std::ranges::any_of(octets, tooLarge)) return Result::kOutOfRange;
    take(settings.address);
    take(settings.mask);
    take(settings.gateway);
    stored_.network = settings;
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
