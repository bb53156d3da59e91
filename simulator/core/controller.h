// A simulated controller: stations, command families, registers and its own clock. No sockets, no
// threads; the time moves only by Advance.
#pragma once

#include "axis.h"
#include "command_table.h"
#include "family.h"
#include "network_settings.h"
#include "observer.h"
#include "register_map.h"
#include "slave.h"
#include "types.h"

#include <array>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <vector>

namespace lumosim {

struct ControllerConfig
{
    int number = 1;                  // 1..254
    int axes = 4;                    // servos at the stations 0..axes-1 ...
    std::vector<SlaveConfig> slaves; // ... and these, in place of a servo where both would stand
    AxisMechanics mechanics;         // of every axis
    NetworkSettings network;         // as it was delivered
    bool ideal = false;              // drives and motors that follow whatever is asked of them
};

class Controller
{
  public:
    // std::invalid_argument for a number, axis count, station or place out of range, and for two
    // slaves at one station.
    explicit Controller(const ControllerConfig& config);
    ~Controller();
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    [[nodiscard]] const ControllerConfig& Config() const { return config_; }

    // --- Time since power-up of the simulation. A step may be as long as you like: everything that
    // happens inside it happens at its own moment.
    [[nodiscard]] Nanoseconds Now() const { return now_; }
    void Advance(Nanoseconds step) { AdvanceTo(now_ + step); }
    void AdvanceTo(Nanoseconds time); // an earlier time is no time at all
    // When something happens by itself next; kNever as long as nobody commands anything.
    [[nodiscard]] Nanoseconds NextEvent() const;

    // --- Everything about the controller at this moment, by name.
    [[nodiscard]] nlohmann::json Snapshot() const;

    // --- Observers, each told until it is taken away again.
    void Observe(Observer& observer) { observers_.push_back(&observer); }
    void Unobserve(const Observer& observer) { std::erase(observers_, &observer); }

    // --- The command interface. A block is a command's code and fields, its frames joined.
    Result Run(std::span<const Word> block, Reply& reply);
    // Executes a block that nobody may divert, as the controller's own programs do.
    Result Perform(std::span<const Word> block, Reply& reply);
    [[nodiscard]] bool ReadRegisters(Word first, std::span<Word> out) const;
    [[nodiscard]] bool Knows(Word code) const { return commands_.Find(code) != nullptr; }
    [[nodiscard]] const CommandTable& Commands() const { return commands_; }

    // Commands that are held back in pre-register `number`, whoever has it.
    [[nodiscard]] std::size_t PreRegistered(Word number) const;

    // --- Stations. Every change makes the configuration counter count.
    [[nodiscard]] const Slave& SlaveAt(int position) const;
    void SetSlave(const SlaveConfig& slave); // what stood there is gone; kNone takes it away
    void SetProperties(int position, const SlaveProperties& properties);
    [[nodiscard]] Word ConfigurationCounter() const { return configurationCounter_; } // 15 bits
    [[nodiscard]] bool ConfigurationStable() const { return configurationStable_; }
    void SetConfigurationStable(bool stable) { configurationStable_ = stable; }

    // A servo's axis; null where no servo stands or the number is none.
    [[nodiscard]] Axis* FindAxis(int number);
    [[nodiscard]] const Axis* FindAxis(int number) const;
    // The same where a servo is known to stand; std::out_of_range otherwise.
    [[nodiscard]] Axis& AxisAt(int number);

    // --- The network: who takes the controller off it or brings it back tells so here.
    void TellOnline(bool online) const;

    // --- Hosts. A controller that has had one and lost the last knows since when.
    void HostConnected();
    void HostDisconnected();
    [[nodiscard]] std::optional<Nanoseconds> HostLostAt() const { return hostLostAt_; }

    // --- Inputs and outputs: bit k is pin k.
    [[nodiscard]] Word MainInputs() const { return mainInputs_; }
    void SetMainInputs(Word inputs) { mainInputs_ = inputs & 0xFFU; }
    [[nodiscard]] Word MainOutputs() const { return mainOutputs_; }
    void SetMainOutputs(Word outputs) { mainOutputs_ = outputs & 0xFFU; }
    void SetSlaveInputs(int position, std::uint32_t inputs);
    void SetSlaveOutputs(int position, std::uint32_t outputs);

    // --- Off and on again: servos off, profiles at their defaults, outputs off, positions lost
    // where the encoder is not an absolute one.
    void PowerCycle();
    [[nodiscard]] std::uint32_t PowerResets() const { return powerResets_; }

    // --- Convenience for tests and demonstrations.
    Result Execute(std::initializer_list<Word> block); // Run, the reply dropped
    [[nodiscard]] Word ReadRegister(Word address) const;
    [[nodiscard]] std::int32_t ReadLong(Word address) const; // low word first

    // A family of somebody else's, which comes behind all others and stays.
    void AddFamily(std::unique_ptr<Family> family);

    // The family of this type, for what a family offers beyond commands and registers.
    template <typename FamilyType>
    [[nodiscard]] FamilyType& Get()
    {
        for (const auto& family : families_) {
            if (auto* found = dynamic_cast<FamilyType*>(family.get())) return *found;
        }
        throw std::logic_error("no such family");
    }

  private:
    [[nodiscard]] Slave& Station(int position);
    void Tell(std::span<const Word> block, Result result) const;
    void Install(const SlaveConfig& slave);
    void CountConfiguration();

    ControllerConfig config_;
    Nanoseconds now_{0};
    std::array<Slave, kMaxAxes> slaves_;
    std::vector<std::unique_ptr<Family>> families_;
    CommandTable commands_{*this};
    RegisterMap registers_;
    std::vector<Observer*> observers_;

    int hosts_ = 0;
    std::optional<Nanoseconds> hostLostAt_;
    Word configurationCounter_ = 1;
    bool configurationStable_ = true;
    Word mainInputs_ = 0;
    Word mainOutputs_ = 0;
    std::uint32_t powerResets_ = 0;
};

} // namespace lumosim
