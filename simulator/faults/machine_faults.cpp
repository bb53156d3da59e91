#include "machine_faults.h"

#include "core/axis_trouble.h"
#include "core/controller.h"
#include "core/remote_outputs.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace lumosim {

namespace {

const FaultParameter kAxis{"axis", "the axis", 0, kMaxAxes - 1, 0};
const FaultParameter kStation{"station", "the station", 0, kMaxAxes - 1, 0};
constexpr double kPercent = 10; // in 0.1 % of the rated torque

int Integer(const FaultValues& values, const char* name)
{
    return static_cast<int>(values.at(name));
}

// Faults of one axis. Where it is not the axis of the fault's former place any more, that one is
// well again.
class AxisFault
{
  public:
    using Change = void (*)(AxisTrouble& trouble, const FaultValues& values);

    AxisFault(Controller& controller, Change apply, Change clear)
        : controller_(controller), apply_(apply), clear_(clear)
    {}

    void Apply(const FaultValues& values)
    {
        const int axis = Integer(values, "axis");
        if (controller_.FindAxis(axis) == nullptr) {
            throw std::invalid_argument("No servo stands at station " + std::to_string(axis) + ".");
        }
        Clear();
        Set(axis, apply_, values);
        applied_ = values;
    }

    void Clear()
    {
        if (!applied_) return;
        const FaultValues values = *std::exchange(applied_, std::nullopt);
        Set(Integer(values, "axis"), clear_, values);
    }

  private:
    void Set(int number, Change change, const FaultValues& values)
    {
        Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return; // its drive has gone
        AxisTrouble trouble = axis->Trouble();
        change(trouble, values);
        axis->SetTrouble(trouble);
    }

    Controller& controller_;
    Change apply_;
    Change clear_;
    std::optional<FaultValues> applied_;
};

class Adder
{
  public:
    Adder(FaultRegistry& registry, Controller& controller)
        : registry_(registry), controller_(controller)
    {}

    void OfAxis(const char* name, const char* text, std::vector<FaultParameter> parameters,
                AxisFault::Change apply, AxisFault::Change clear)
    {
        parameters.insert(parameters.begin(), kAxis);
        auto fault = std::make_shared<AxisFault>(controller_, apply, clear);
        registry_.Add({name, text, std::move(parameters),
                       [fault](const FaultValues& values) { fault->Apply(values); },
                       [fault] { fault->Clear(); }});
    }

    // Alarms differ by their numbers; one that is there cannot be reset until the fault is cleared.
    template <typename AlarmOf>
    void Alarmed(const char* name, const char* text, std::vector<FaultParameter> parameters,
                 AlarmOf /*alarmOf*/)
    {
        OfAxis(
            name, text, std::move(parameters),
            [](AxisTrouble& trouble, const FaultValues& values) {
                trouble.alarm = AlarmOf()(values);
            },
            [](AxisTrouble& trouble, const FaultValues& values) {
                if (trouble.alarm == AlarmOf()(values)) trouble.alarm.reset();
            });
    }

  private:
    FaultRegistry& registry_;
    Controller& controller_;
};

void AddAlarms(Adder& add)
{
    add.Alarmed("over-current", "the drive sees too high a current", {},
                [](const FaultValues&) { return kOverCurrentAlarm; });
    add.Alarmed("following-error", "the drive sees its motor too far from the command", {},
                [](const FaultValues&) { return kFollowingErrorAlarm; });
    add.Alarmed("over-travel", "the drive sees its axis too far behind a limit switch",
                {{"direction", "0 positive, 1 negative", 0, 1, 0}}, [](const FaultValues& values) {
                    return Integer(values, "direction") == 0 ? kOverTravelPositiveAlarm
                                                             : kOverTravelNegativeAlarm;
                });
    add.Alarmed("encoder-failure", "the drive has lost its encoder; only the power ends the alarm",
                {}, [](const FaultValues&) { return kEncoderAlarm; });
    add.Alarmed("drive-alarm", "the drive raises an alarm of any number",
                {{"number", "of the alarm", 1, 255, 16}, {"sub-number", "of it", 0, 255, 0}},
                [](const FaultValues& values) {
                    return Alarm{static_cast<std::uint8_t>(Integer(values, "number")),
                                 static_cast<std::uint8_t>(Integer(values, "sub-number"))};
                });
}

void AddSensors(Adder& add)
{
    const FaultParameter input{
        "input", "0 positive limit, 1 negative limit, 2 home, 3 configurable, 4 probe", 0, 4, 2};
    static constexpr auto kInput = [](AxisTrouble& trouble,
                                      const FaultValues& values) -> std::optional<bool>& {
        return trouble.stuck.at(static_cast<std::size_t>(Integer(values, "input")));
    };
    static constexpr auto kFree = [](AxisTrouble& trouble, const FaultValues& values) {
        kInput(trouble, values).reset();
    };
    add.OfAxis(
        "sensor-stuck-on", "an input of the axis stays on", {input},
        [](AxisTrouble& trouble, const FaultValues& values) { kInput(trouble, values) = true; },
        kFree);
    add.OfAxis(
        "sensor-stuck-off", "an input of the axis never comes on", {input},
        [](AxisTrouble& trouble, const FaultValues& values) { kInput(trouble, values) = false; },
        kFree);
    add.OfAxis(
        "limit-pressed", "something holds a limit switch",
        {{"direction", "0 positive, 1 negative", 0, 1, 0}},
        [](AxisTrouble& trouble, const FaultValues& values) {
            trouble.pressed.at(static_cast<std::size_t>(Integer(values, "direction"))) = true;
        },
        [](AxisTrouble& trouble, const FaultValues&) { trouble.pressed = {}; });
    add.OfAxis(
        "emergency-stop", "the emergency stop of the axis is pressed", {},
        [](AxisTrouble& trouble, const FaultValues&) { trouble.emergencyStop = true; },
        [](AxisTrouble& trouble, const FaultValues&) { trouble.emergencyStop = false; });
}

void AddLoads(Adder& add)
{
    add.OfAxis(
        "heavy-load", "the axis moves more mass than its motor was made for",
        {{"factor", "of all that moves", 0.1, 100, 4}},
        [](AxisTrouble& trouble, const FaultValues& values) {
            trouble.massFactor = values.at("factor");
        },
        [](AxisTrouble& trouble, const FaultValues&) { trouble.massFactor = 1; });
    add.OfAxis(
        "weight", "a weight pulls at the axis while its servo is on",
        {{"torque", "% of the rated torque; negative: the servo pushes that way", -300, 300, 50}},
        [](AxisTrouble& trouble, const FaultValues& values) {
            trouble.weight = values.at("torque") * kPercent;
        },
        [](AxisTrouble& trouble, const FaultValues&) { trouble.weight = 0; });
    add.OfAxis(
        "jam", "the axis moves with difficulty, or not at all",
        {{"torque", "% of the rated torque that moving takes", 0, 1'000, 400}},
        [](AxisTrouble& trouble, const FaultValues& values) {
            trouble.friction = values.at("torque") * kPercent;
        },
        [](AxisTrouble& trouble, const FaultValues&) { trouble.friction = 0; });
    add.OfAxis(
        "brake-stuck", "the holding brake does not open", {},
        [](AxisTrouble& trouble, const FaultValues&) { trouble.brakeShut = true; },
        [](AxisTrouble& trouble, const FaultValues&) { trouble.brakeShut = false; });
    add.OfAxis(
        "eeprom-worn", "what is saved in the drive is not there after the next power-up", {},
        [](AxisTrouble& trouble, const FaultValues&) { trouble.eepromWorn = true; },
        [](AxisTrouble& trouble, const FaultValues&) { trouble.eepromWorn = false; });
}

// It happens once; there is nothing to clear.
void AddSlip(FaultRegistry& registry, Controller& controller)
{
    registry.Add({"encoder-slip",
                  "the encoder misses pulses, and the servo moves the machine by as many",
                  {kAxis, {"pulses", "that are missed", -100'000, 100'000, 100}},
                  [&controller](const FaultValues& values) {
                      Axis* axis = controller.FindAxis(Integer(values, "axis"));
                      if (axis == nullptr) {
                          throw std::invalid_argument("No servo stands at this station.");
                      }
                      axis->Slip(Integer(values, "pulses"));
                  },
                  [] {}});
}

// A slave that does not answer is no longer among the stations; when it is back, it is as it was
// configured, and its drive has just been switched on.
class LostSlave
{
  public:
    LostSlave(Controller& controller, SlaveType type) : controller_(controller), type_(type) {}

    void Lose(int station)
    {
        if (lost_ && lost_->position == station) return;
        const Slave& slave = controller_.SlaveAt(station);
        if (slave.type != type_) {
            throw std::invalid_argument("No such slave stands at station " +
                                        std::to_string(station) + ".");
        }
        const SlaveConfig lost{station, slave.type, slave.properties};
        Return();
        lost_ = lost;
        controller_.SetSlave({station, SlaveType::kNone, SlaveProperties()});
    }

    void Return()
    {
        if (lost_) controller_.SetSlave(*std::exchange(lost_, std::nullopt));
    }

  private:
    Controller& controller_;
    SlaveType type_;
    std::optional<SlaveConfig> lost_;
};

void AddLost(FaultRegistry& registry, Controller& controller, const char* name, const char* text,
             SlaveType type)
{
    auto slave = std::make_shared<LostSlave>(controller, type);
    const FaultParameter where = type == SlaveType::kServo ? kAxis : kStation;
    registry.Add({name,
                  text,
                  {where},
                  [slave, parameter = where.name](const FaultValues& values) {
                      slave->Lose(Integer(values, parameter.c_str()));
                  },
                  [slave] { slave->Return(); }});
}

void SetNetwork(Controller& controller, bool up)
{
    controller.Get<RemoteOutputs>().SetNetworkUp(up);
    for (int number = 0; number < kMaxAxes; ++number) {
        Axis* axis = controller.FindAxis(number);
        if (axis == nullptr) continue;
        AxisTrouble trouble = axis->Trouble();
        trouble.offNetwork = !up;
        axis->SetTrouble(trouble);
    }
}

void AddNetwork(FaultRegistry& registry, Controller& controller)
{
    AddLost(registry, controller, "drive-lost", "a drive is gone from the servo network",
            SlaveType::kServo);
    AddLost(registry, controller, "input-slave-lost", "an input slave is gone from it",
            SlaveType::kInput);
    AddLost(registry, controller, "output-slave-lost", "an output slave is gone from it",
            SlaveType::kOutput);
    registry.Add(
        {"network-down",
         "the servo network fails: every axis loses its servo, every output slave its pins",
         {},
         [&controller](const FaultValues&) { SetNetwork(controller, false); },
         [&controller] { SetNetwork(controller, true); }});
    registry.Add({"power-cycle",
                  "the power goes off and comes back at once",
                  {},
                  [&controller](const FaultValues&) { controller.PowerCycle(); },
                  [] {}});
}

} // namespace

void AddMachineFaults(FaultRegistry& registry, Controller& controller)
{
    Adder add(registry, controller);
    AddAlarms(add);
    AddSensors(add);
    AddLoads(add);
    AddSlip(registry, controller);
    AddNetwork(registry, controller);
}

} // namespace lumosim
