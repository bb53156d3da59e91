// Software limits, and what stops an axis at a sensor or when the host is gone.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

namespace lumosim {

namespace {

constexpr Word kSetSoftwareLimits = 0x0120;
constexpr Word kSetSensorStop = 0x0121;
constexpr Word kSetHostLoss = 0x0122;

constexpr Word kSoftwareLimitRegisters = 0x3E;
constexpr Word kSoftwareLimitRegisterCount = 6;

struct LimitFields
{
    Word positiveMode;
    std::int32_t positive;
    Word negativeMode;
    std::int32_t negative;

    [[nodiscard]] bool Valid() const
    {
        if (positiveMode > kLastReaction || negativeMode > kLastReaction) return false;
        return positiveMode == 0 || negativeMode == 0 || negative <= positive;
    }
};

LimitFields ReadLimits(CommandReader& reader)
{
    LimitFields fields{};
    fields.positiveMode = reader.NextWord();
    fields.positive = reader.NextLong();
    fields.negativeMode = reader.NextWord();
    fields.negative = reader.NextLong();
    return fields;
}

struct SensorFields
{
    Word sensor;
    Word mode;
};

class StopModes : public Family
{
  public:
    explicit StopModes(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kSetSoftwareLimits, "software limits",
                  [this](auto& in, auto&) { return SetLimits(in); });
        table.Add(kSetSensorStop, "sensor stop", [this](auto& in, auto&) { return SetSensor(in); });
        table.Add(kSetHostLoss, "host loss", [this](auto& in, auto&) { return SetHostLoss(in); });
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kSoftwareLimitRegisters, kSoftwareLimitRegisterCount,
                         [this](int axis, std::span<Word> out) { ShowLimits(axis, out); });
    }

    [[nodiscard]] Nanoseconds NextEvent() const override
    {
        const auto lostAt = controller_.HostLostAt();
        if (patience_ == Nanoseconds(0) || !lostAt || lostAt == reactedTo_) return kNever;
        return *lostAt + patience_;
    }

    void AdvanceTo(Nanoseconds now) override
    {
        if (NextEvent() > now) return;
        reactedTo_ = controller_.HostLostAt();
        for (int number = 0; number < kMaxAxes; ++number) {
            Axis* axis = controller_.FindAxis(number);
            if (axis != nullptr) axis->Stop(hostLossStop_, StopCause::kConnectionLost);
        }
    }

    void PowerUp() override { patience_ = Nanoseconds(0); }

  private:
    Result SetLimits(CommandReader& in)
    {
        std::vector<AxisEntry<LimitFields>> entries;
        const Result result = ReadAxisEntries(controller_, in, in.NextWord(), ReadLimits, entries);
        if (result != Result::kDone) return result;
        for (const auto& entry : entries) {
            if (!entry.fields.Valid()) return Result::kOutOfRange;
        }
        for (const auto& [axis, fields] : entries) {
            AxisProtection protection = axis->Protection();
            protection.softPositive = {static_cast<Reaction>(fields.positiveMode), fields.positive};
            protection.softNegative = {static_cast<Reaction>(fields.negativeMode), fields.negative};
            axis->SetProtection(protection);
        }
        return Result::kDone;
    }

    Result SetSensor(CommandReader& in)
    {
        std::vector<AxisEntry<SensorFields>> entries;
        const Result result = ReadAxisEntries(
            controller_, in, in.NextWord(),
            [](CommandReader& r) {
                const Word sensor = r.NextWord();
                return SensorFields{sensor, r.NextWord()};
            },
            entries);
        if (result != Result::kDone) return result;
        for (const auto& entry : entries) {
            if (entry.fields.sensor >= kSensors || entry.fields.mode > kLastReaction) {
                return Result::kOutOfRange;
            }
        }
        for (const auto& [axis, fields] : entries) {
            AxisProtection protection = axis->Protection();
            protection.sensors.at(fields.sensor) = static_cast<Reaction>(fields.mode);
            axis->SetProtection(protection);
        }
        return Result::kDone;
    }

    Result SetHostLoss(CommandReader& in)
    {
        const std::uint32_t milliseconds = in.NextUnsignedLong();
        const Word mode = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (mode > 1) return Result::kOutOfRange;
        patience_ = std::chrono::milliseconds(milliseconds);
        hostLossStop_ = mode == 0 ? StopMode::kDecelerate : StopMode::kSudden;
        return Result::kDone;
    }

    void ShowLimits(int number, std::span<Word> out) const
    {
        const Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return;
        std::size_t next = 0;
        for (const int direction : {1, -1}) {
            const SoftwareLimit& limit = axis->Protection().Soft(direction);
            out[next++] = LowWord(limit.position);
            out[next++] = HighWord(limit.position);
            out[next++] = static_cast<Word>(limit.reaction);
        }
    }

    Controller& controller_;
    Nanoseconds patience_{0}; // 0: a lost host changes nothing
    StopMode hostLossStop_ = StopMode::kDecelerate;
    std::optional<Nanoseconds> reactedTo_; // the loss that has stopped the axes
};

} // namespace

std::unique_ptr<Family> MakeStopModes(Controller& controller)
{
    return std::make_unique<StopModes>(controller);
}

} // namespace lumosim
