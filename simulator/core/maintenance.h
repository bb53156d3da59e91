// The controller's settings, what it tells about itself, and its restart.
#pragma once

#include "family.h"
#include "network_settings.h"

#include <array>
#include <cstdint>

namespace lumosim {

class Controller;

// What stands in the controller's EEPROM.
struct StoredSettings
{
    NetworkSettings network;
    Word hardwareInformation = 0;
    Word useDefaultParameters = 0;
    Word cycle = 1;        // of the servo network
    Word commandCycle = 1; // of its commands
    std::int32_t cycleOption = 0;

    friend bool operator==(const StoredSettings&, const StoredSettings&) = default;
};

class Maintenance : public Family
{
  public:
    // The controller answers the command first; then it is away for a time.
    static constexpr Nanoseconds kResetDelay = std::chrono::milliseconds(10);
    static constexpr Nanoseconds kBootTime = std::chrono::milliseconds(500);

    explicit Maintenance(Controller& controller);

    void AddCommands(CommandTable& table) override;
    void Describe(nlohmann::json& snapshot) const override;
    void AddRegisters(RegisterMap& map) override;
    [[nodiscard]] Nanoseconds NextEvent() const override;
    void AdvanceTo(Nanoseconds now) override;
    void PowerUp() override; // what was stored takes effect

    [[nodiscard]] const StoredSettings& Stored() const { return stored_; }
    // The network settings that are in effect.
    [[nodiscard]] const NetworkSettings& Network() const { return network_; }

    // Whether the controller is on the network; observers are told when that changes.
    [[nodiscard]] bool Online() const { return online_; }

  private:
    void AddSettings(CommandTable& table);
    Result SetNetwork(const std::vector<Entry<OneWord>>& octets);
    void SetOnline(bool online);
    void Restart();
    void RestoreDefaults(Word area);
    void ShowIdentification(std::span<Word> out) const;

    Controller& controller_;
    StoredSettings stored_;
    NetworkSettings network_;
    std::array<bool, 4> clearAtRestart_{}; // by EEPROM area
    bool online_ = true;
    Word resetMode_ = 0;
    Nanoseconds offlineAt_ = kNever;
    Nanoseconds onlineAt_ = kNever;
};

} // namespace lumosim
