// Software limits, and what stops an axis at a sensor or when the host is gone.

#include "controller.h"
#include "families.h"
#include "names.h"
#include "snapshot.h"
#include "values.h"

namespace lumosim {

namespace {

constexpr Word kSetSoftwareLimits = 0x0120;
constexpr Word kSetSensorStop = 0x0121;
constexpr Word kSetHostLoss = 0x0122;

constexpr Word kSoftwareLimitRegisters = 0x3E;
constexpr Word kSoftwareLimitRegisterCount = 6;

struct LimitFields
{
    Word positiveMode = 0;
    std::int32_t positive = 0;
    Word negativeMode = 0;
    std::int32_t negative = 0;

    [[nodiscard]] bool Valid() const
    {
        return positiveMode == 0 || negativeMode == 0 || negative <= positive;
    }
};

struct SensorFields
{
    Word sensor = 0;
    Word mode = 0;
};

struct HostLoss
{
    std::uint32_t milliseconds = 0; // 0: a lost host changes nothing
    Word mode = 0;
};

class StopModes : public Family
{
  public:
    explicit StopModes(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<LimitFields>(kSetSoftwareLimits, "software limits",
                                   {kCount, kAxis, "mode 1", &LimitFields::positiveMode,
                                    UpTo(kLastReaction), "limit 1", &LimitFields::positive,
                                    "mode 2", &LimitFields::negativeMode, UpTo(kLastReaction),
                                    "limit 2", &LimitFields::negative},
                                   SetLimits);
        table.ForAxes<SensorFields>(kSetSensorStop, "sensor stop",
                                    {kCount, kAxis, "sensor", &SensorFields::sensor,
                                     UpTo(kSensors - 1), "mode", &SensorFields::mode,
                                     UpTo(kLastReaction)},
                                    SetSensor);
        table.Add<HostLoss>(kSetHostLoss, "host loss",
                            {"time", &HostLoss::milliseconds, "mode", &HostLoss::mode, UpTo(1)},
                            [this](const HostLoss& hostLoss) { hostLoss_ = hostLoss; });
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kSoftwareLimitRegisters, kSoftwareLimitRegisterCount,
                         [this](int axis, std::span<Word> out) { ShowLimits(axis, out); });
    }

    void Describe(Json& snapshot) const override
    {
        DescribeAxes(controller_, snapshot, [](Json& part, const Axis& axis, int) {
            const AxisProtection& protection = axis.Protection();
            const auto limit = [](const SoftwareLimit& soft) {
                return Json{{"reaction", NameOf(soft.reaction)}, {"position", soft.position}};
            };
            part["softwareLimits"] = {{"positive", limit(protection.softPositive)},
                                      {"negative", limit(protection.softNegative)}};
            part["sensorStops"] = {
                {"limitPositive", NameOf(protection.At(Sensor::kLimitPositive))},
                {"limitNegative", NameOf(protection.At(Sensor::kLimitNegative))},
                {"home", NameOf(protection.At(Sensor::kHome))},
                {"configurable", NameOf(protection.At(Sensor::kConfigurable))},
            };
        });
        snapshot["hosts"]["stopAfter"] = hostLoss_.milliseconds * 0.001;
        snapshot["hosts"]["suddenStop"] = hostLoss_.mode == 1;
    }

    [[nodiscard]] Nanoseconds NextEvent() const override
    {
        const auto lostAt = controller_.HostLostAt();
        if (hostLoss_.milliseconds == 0 || !lostAt || lostAt == reactedTo_) return kNever;
        return *lostAt + std::chrono::milliseconds(hostLoss_.milliseconds);
    }

    void AdvanceTo(Nanoseconds now) override
    {
        if (NextEvent() > now) return;
        reactedTo_ = controller_.HostLostAt();
        for (int number = 0; number < kMaxAxes; ++number) {
            Axis* axis = controller_.FindAxis(number);
            if (axis == nullptr) continue;
            axis->Stop(SuddenIf(hostLoss_.mode == 1), StopCause::kConnectionLost);
        }
    }

    void PowerUp() override { hostLoss_ = HostLoss(); }

  private:
    static void SetLimits(Axis& axis, const LimitFields& fields)
    {
        AxisProtection protection = axis.Protection();
        protection.softPositive = {static_cast<Reaction>(fields.positiveMode), fields.positive};
        protection.softNegative = {static_cast<Reaction>(fields.negativeMode), fields.negative};
        axis.SetProtection(protection);
    }

    static void SetSensor(Axis& axis, const SensorFields& fields)
    {
        AxisProtection protection = axis.Protection();
        protection.sensors.at(fields.sensor) = static_cast<Reaction>(fields.mode);
        axis.SetProtection(protection);
    }

    void ShowLimits(int number, std::span<Word> out) const
    {
        const Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return;
        std::size_t next = 0;
        for (const int direction : {1, -1}) {
            const SoftwareLimit& limit = axis->Protection().Soft(direction);
            PutLong(out, next, limit.position);
            next += 2;
            out[next++] = static_cast<Word>(limit.reaction);
        }
    }

    Controller& controller_;
    HostLoss hostLoss_;
    std::optional<Nanoseconds> reactedTo_; // the loss that has stopped the axes
};

} // namespace

std::unique_ptr<Family> MakeStopModes(Controller& controller)
{
    return std::make_unique<StopModes>(controller);
}

} // namespace lumosim
