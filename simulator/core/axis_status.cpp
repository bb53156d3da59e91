// The status registers of the stations, and their type words.

#include "controller.h"
#include "families.h"
#include "names.h"
#include "snapshot.h"

namespace lumosim {

namespace {

constexpr Word kStatusRegisters = 0x00;
constexpr Word kStatusRegisterCount = 18;
constexpr Word kTypeWordRegisters = 0x38;

// Bits of status register 10.
enum StatusBit : unsigned {
    kServoOnBit = 0,
    kServoReadyBit = 1,
    kCommandActiveBit = 2,
    kAlarmBit = 3,
    kWarningBit = 4,
    kTorqueLimitedBit = 5,
    kInMotionBit = 6,
    kInPositionBit = 7,
    kLimitPositiveBit = 8,
    kLimitNegativeBit = 9,
    kZPhaseBit = 10,
    kHomeSensorBit = 11,
    kHomeDoneBit = 12,
    kHomingBit = 13,
    kSoftwareLimitBit = 14,
    kConfigurableInputBit = 15,
};

Json Flags(const Axis& axis)
{
    return {
        {"servoOn", axis.ServoOn()},
        {"alarm", axis.ActiveAlarm().has_value()},
        {"warning", axis.Warning()},
        {"torqueLimited", axis.TorqueLimited(1) || axis.TorqueLimited(-1)},
        {"moving", axis.Moving()},
        {"inPosition", axis.InPosition()},
        {"limitPositive", axis.LimitActive(1)},
        {"limitNegative", axis.LimitActive(-1)},
        {"zPhase", axis.SignalOn(Signal::kZPhase)},
        {"homeSensor", axis.SignalOn(Signal::kHomeSensor)},
        {"probe", axis.SignalOn(Signal::kProbe)},
        {"configurableInput", axis.SignalOn(Signal::kConfigurableInput)},
        {"homeDone", axis.HomeDone()},
        {"homing", axis.Kind() == MotionKind::kHoming},
        {"softwareLimit", axis.AtSoftwareLimit(1) || axis.AtSoftwareLimit(-1)},
        {"emergencyStop", axis.EmergencyStop()},
    };
}

Word StatusBits(const Axis& axis)
{
    unsigned bits = 0;
    const auto put = [&bits](StatusBit bit, bool on) { bits |= (on ? 1U : 0U) << bit; };
    put(kServoOnBit, axis.ServoOn());
    put(kServoReadyBit, !axis.ActiveAlarm().has_value());
    put(kCommandActiveBit, axis.Moving());
    put(kAlarmBit, axis.ActiveAlarm().has_value());
    put(kWarningBit, axis.Warning());
    put(kTorqueLimitedBit, axis.TorqueLimited(1) || axis.TorqueLimited(-1));
    put(kInMotionBit, axis.Moving());
    put(kInPositionBit, axis.InPosition());
    put(kLimitPositiveBit, axis.LimitActive(1));
    put(kLimitNegativeBit, axis.LimitActive(-1));
    put(kZPhaseBit, axis.SignalOn(Signal::kZPhase));
    put(kHomeSensorBit, axis.SignalOn(Signal::kHomeSensor));
    put(kHomeDoneBit, axis.HomeDone());
    put(kHomingBit, axis.Kind() == MotionKind::kHoming);
    put(kSoftwareLimitBit, axis.AtSoftwareLimit(1) || axis.AtSoftwareLimit(-1));
    put(kConfigurableInputBit, axis.SignalOn(Signal::kConfigurableInput));
    return static_cast<Word>(bits);
}

class AxisStatus : public Family
{
  public:
    explicit AxisStatus(Controller& controller) : controller_(controller) {}

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kStatusRegisters, kStatusRegisterCount,
                         [this](int position, std::span<Word> out) {
                             ShowStatus(controller_.SlaveAt(position), out);
                         });
        map.AddAxisBlock(kTypeWordRegisters, 2, [this](int position, std::span<Word> out) {
            const Slave& slave = controller_.SlaveAt(position);
            const std::uint32_t word = TypeWord(slave.type, slave.properties);
            PutLong(out, 0, static_cast<std::int32_t>(word));
        });
    }

    void Describe(Json& snapshot) const override
    {
        snapshot["axes"] = Json::array();
        DescribeAxes(controller_, snapshot, [this](Json& part, const Axis& axis, int number) {
            part = {
                {"axis", number},
                {"command", axis.CommandPosition()},
                {"encoder", axis.EncoderPosition()},
                {"followingError", axis.FollowingError()},
                {"target", axis.TargetPosition()},
                {"speed", axis.Velocity()},
                {"torque", axis.Torque()},
                {"motion", NameOf(axis.Kind())},
                {"lastStop", NameOf(axis.LastStop())},
                {"flags", Flags(axis)},
                {"outputs", controller_.SlaveAt(number).outputs},
            };
        });
        Json& stations = snapshot["stations"] = Json::array();
        for (int position = 0; position < kMaxAxes; ++position) {
            const Slave& slave = controller_.SlaveAt(position);
            if (slave.type == SlaveType::kNone) continue;
            Json station = {{"station", position}, {"type", NameOf(slave.type)}};
            if (slave.type == SlaveType::kInput) station["inputs"] = slave.inputs;
            if (slave.type == SlaveType::kOutput) station["outputs"] = slave.outputs;
            stations.push_back(std::move(station));
        }
    }

  private:
    static void ShowStatus(const Slave& slave, std::span<Word> out)
    {
        switch (slave.type) {
        case SlaveType::kServo:
            ShowServo(slave, out);
            break;
        case SlaveType::kInput:
            PutLong(out, 0, static_cast<std::int32_t>(slave.inputs));
            break;
        case SlaveType::kOutput:
            PutLong(out, 2, static_cast<std::int32_t>(slave.outputs));
            break;
        case SlaveType::kNone:
            break;
        }
    }

    static void ShowServo(const Slave& slave, std::span<Word> out)
    {
        const Axis& axis = *slave.axis;
        PutLong(out, 0, axis.Velocity());
        PutLong(out, 2, axis.Torque());
        PutLong(out, 4, axis.FollowingError());
        PutLong(out, 6, axis.CommandPosition());
        PutLong(out, 8, axis.EncoderPosition());
        out[10] = StatusBits(axis);
        out[11] = static_cast<Word>(static_cast<unsigned>(axis.Kind()) |
                                    (static_cast<unsigned>(axis.LastStop()) << 5U));
        out[12] = static_cast<Word>((slave.outputs & 3U) << 8U);
        PutLong(out, 16, axis.TargetPosition());
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeAxisStatus(Controller& controller)
{
    return std::make_unique<AxisStatus>(controller);
}

} // namespace lumosim
