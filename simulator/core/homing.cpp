// Homing runs, their speeds, and the homing-done state.

#include "controller.h"
#include "families.h"
#include "homing_run.h"
#include "motor.h"
#include "snapshot.h"
#include "values.h"

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

    [[nodiscard]] bool Valid() const
    {
        return static_cast<HomeKind>(kind) != HomeKind::kStopper || word <= kPeakTorque;
    }

    [[nodiscard]] HomingOrder Order() const
    {
        HomingOrder order;
        order.kind = static_cast<HomeKind>(kind);
        order.direction = DirectionOf(direction);
        order.suddenSearchEnd = option == 1;
        if (zSearch != kNoZSearch) order.zDirection = DirectionOf(zSearch);
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
        table.ForAxes<HomingFields>(
            kHomingMove, "homing", MoveLayout(), CheckMove,
            [this](Axis& axis, const HomingFields& fields) {
                runs_.at(fields.axis).emplace(fields.Order(), speeds_.at(fields.axis)).Start(axis);
            });
        table.AddList<HomingPhase>(kHomingSpeed, "homing speed", PhaseLayout(),
                                   [this](const HomingPhase& head, const auto& phases) {
                                       return SetSpeeds(head.axis, phases);
                                   });
        table.ForAxes(kHomingDoneCancel, "homing cancel", {kCount, kAxis},
                      [](Axis& axis) { axis.SetHomeDone(false); });
    }

    void Describe(Json& snapshot) const override
    {
        DescribeAxes(controller_, snapshot, [this](Json& part, const Axis&, int number) {
            const auto& run = runs_.at(static_cast<std::size_t>(number));
            part["homing"] = run ? run->StepName() : "none";
        });
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
    struct HomingPhase : SpeedProfile
    {
        Word axis = 0;
    };

    // The kind tells the two layouts apart.
    static Layout<HomingFields> MoveLayout()
    {
        return {"axis",
                &HomingFields::axis,
                kEach,
                "direction",
                &HomingFields::direction,
                UpTo(1),
                "kind",
                &HomingFields::kind,
                UpTo(3),
                "option",
                &HomingFields::option,
                UpTo(1),
                "Z search",
                &HomingFields::zSearch,
                UpTo(kNoZSearch),
                "extra",
                &HomingFields::extra,
                When("kind", {0, 3}),
                Bounds{kExtraRegister, kExtraRegister},
                "select",
                &HomingFields::select,
                UpTo(1),
                "word",
                &HomingFields::word,
                UpTo(INT16_MAX),
                "position",
                &HomingFields::position};
    }

    static Layout<HomingPhase> PhaseLayout()
    {
        return {"axis",
                &HomingPhase::axis,
                Times(4),
                "profile",
                &HomingPhase::shape,
                kEach,
                "start",
                &HomingPhase::start,
                "acceleration",
                &HomingPhase::acc,
                "drive",
                &HomingPhase::drive,
                "deceleration",
                &HomingPhase::dec};
    }

    // A limit switch that is on does not block the way here: the run knows how to leave it.
    static Result CheckMove(const Axis& axis) { return axis.CheckMode(MotionKind::kIdle, 0); }

    Result SetSpeeds(Word number, const std::vector<Entry<HomingPhase>>& phases)
    {
        HomingSpeeds speeds;
        for (std::size_t i = 0; i < speeds.size(); ++i) {
            speeds[i] = static_cast<const SpeedProfile&>(phases[i].fields);
            speeds[i].stop = speeds[i].start;
        }
        if (controller_.FindAxis(number) == nullptr) return Result::kNoServo;
        if (!std::ranges::all_of(speeds, &SpeedProfile::Valid)) return Result::kOutOfRange;
        speeds_.at(number) = speeds;
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
