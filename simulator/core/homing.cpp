// Homing runs, their speeds, and the homing-done state.

#include "axis_list.h"
#include "controller.h"
#include "families.h"
#include "homing_run.h"
#include "motor.h"

#include <algorithm>
#include <array>
#include <optional>

namespace lumosim {

namespace {

constexpr Word kHomingMove = 0x0060;
constexpr Word kHomingSpeed = 0x0061;
constexpr Word kHomingDoneCancel = 0x0062;

constexpr Word kNoZSearch = 2;
constexpr Word kExtraRegister = 2; // the constant in the blocks of limit and stopper
constexpr std::int16_t kUsualStopperTorque = 500;

int SignOf(Word direction)
{
    return direction == 0 ? 1 : -1;
}

// A homing move as it travels.
struct HomingFields
{
    Word axis = 0;
    Word direction = 0;
    Word kind = 0;
    Word option = 0;
    Word zSearch = 0;
    Word extra = kExtraRegister;
    Word select = 0;
    std::int16_t word = 0;
    std::int32_t position = 0;

    static HomingFields Read(CommandReader& in)
    {
        HomingFields fields;
        for (Word HomingFields::*field :
             {&HomingFields::axis, &HomingFields::direction, &HomingFields::kind,
              &HomingFields::option, &HomingFields::zSearch}) {
            fields.*field = in.NextWord();
        }
        // The kind tells the two layouts apart.
        const auto kind = static_cast<HomeKind>(fields.kind);
        if (kind == HomeKind::kLimitSwitch || kind == HomeKind::kStopper) {
            fields.extra = in.NextWord();
        }
        fields.select = in.NextWord();
        fields.word = static_cast<std::int16_t>(in.NextWord());
        fields.position = in.NextLong();
        return fields;
    }

    [[nodiscard]] bool Valid() const
    {
        const bool stopper = static_cast<HomeKind>(kind) == HomeKind::kStopper;
        return direction <= 1 && kind <= 3 && option <= 1 && zSearch <= kNoZSearch &&
               extra == kExtraRegister && select <= 1 && word >= 0 &&
               (!stopper || word <= kPeakTorque);
    }

    [[nodiscard]] HomingOrder Order() const
    {
        HomingOrder order;
        order.kind = static_cast<HomeKind>(kind);
        order.direction = SignOf(direction);
        order.suddenSearchEnd = option == 1;
        if (zSearch != kNoZSearch) order.zDirection = SignOf(zSearch);
        order.moveOn = select == 1;
        order.position = position;
        if (order.kind == HomeKind::kStopper) {
            order.stopperTorque = word != 0 ? word : kUsualStopperTorque;
        } else {
            order.pause = word / 1000.0;
        }
        return order;
    }
};

class Homing : public Family
{
  public:
    explicit Homing(Controller& controller) : controller_(controller)
    {
        speeds_.fill(DefaultHomingSpeeds());
    }

    void AddCommands(CommandTable& table) override
    {
        table.Add(kHomingMove, "homing", [this](auto& in, auto&) { return Move(in); });
        table.Add(kHomingSpeed, "homing speed", [this](auto& in, auto&) { return Speed(in); });
        table.Add(kHomingDoneCancel, "homing cancel",
                  [this](auto& in, auto&) { return Cancel(in); });
    }

    // The steps of a run end at events of its axis, so nothing but these is to be waited for.
    void AdvanceTo(Nanoseconds /*now*/) override
    {
        for (int number = 0; number < kMaxAxes; ++number) {
            auto& run = runs_.at(static_cast<std::size_t>(number));
            Axis* axis = run ? controller_.FindAxis(number) : nullptr;
            if (axis == nullptr || !run->Continue(*axis)) run.reset();
        }
    }

    void PowerUp() override
    {
        runs_ = {};
        speeds_.fill(DefaultHomingSpeeds());
    }

  private:
    Result Move(CommandReader& in)
    {
        const HomingFields fields = HomingFields::Read(in);
        if (!in.Finished()) return Result::kMalformed;
        Axis* axis = controller_.FindAxis(fields.axis);
        if (axis == nullptr) return Result::kNoServo;
        if (!fields.Valid()) return Result::kOutOfRange;
        // A limit switch that is on does not block the way here: the run knows how to leave it.
        const Result check = axis->CheckMode(MotionKind::kIdle, 0);
        if (check != Result::kDone) return check;

        runs_.at(fields.axis).emplace(fields.Order(), speeds_.at(fields.axis)).Start(*axis);
        return Result::kDone;
    }

    Result Speed(CommandReader& in)
    {
        const Word number = in.NextWord();
        HomingSpeeds speeds;
        for (SpeedProfile& phase : speeds) {
            phase.shape = in.NextWord();
            phase.start = in.NextLong();
            phase.acc = in.NextLong();
            phase.drive = in.NextLong();
            phase.dec = in.NextLong();
            phase.stop = phase.start;
        }
        if (!in.Finished()) return Result::kMalformed;
        if (controller_.FindAxis(number) == nullptr) return Result::kNoServo;
        if (!std::ranges::all_of(speeds, &SpeedProfile::Valid)) return Result::kOutOfRange;
        speeds_.at(number) = speeds;
        return Result::kDone;
    }

    Result Cancel(CommandReader& in)
    {
        std::vector<Axis*> axes;
        const Result result = ReadAxes(controller_, in, in.NextWord(), axes);
        if (result != Result::kDone) return result;
        for (Axis* axis : axes) {
            axis->SetHomeDone(false);
        }
        return Result::kDone;
    }

    Controller& controller_;
    std::array<HomingSpeeds, kMaxAxes> speeds_;
    std::array<std::optional<HomingRun>, kMaxAxes> runs_;
};

} // namespace

std::unique_ptr<Family> MakeHoming(Controller& controller)
{
    return std::make_unique<Homing>(controller);
}

} // namespace lumosim
