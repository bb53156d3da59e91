// Torque limits and their state.

#include "controller.h"
#include "families.h"
#include "snapshot.h"

#include <cmath>

namespace lumosim {

namespace {

constexpr Word kSetTorqueLimit = 0x0110;

constexpr Word kStateRegisters = 0x2F;
constexpr Word kStateRegisterCount = 8;

struct TorqueLimitFields
{
    Word on = 0;
    Word positive = 0;
    Word negative = 0;
    std::int16_t offset = 0;
    Word codes = 0;
    std::uint32_t value = 0;
};

class TorqueLimits : public Family
{
  public:
    explicit TorqueLimits(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<TorqueLimitFields>(
            kSetTorqueLimit, "torque limit",
            {kCount, kAxis, "on", &TorqueLimitFields::on, UpTo(1), "limit 1",
             &TorqueLimitFields::positive, UpTo(TorqueLimit::kMaxPercent), "limit 2",
             &TorqueLimitFields::negative, UpTo(TorqueLimit::kMaxPercent), "offset",
             &TorqueLimitFields::offset, "code", &TorqueLimitFields::codes, "value",
             &TorqueLimitFields::value},
            Set);
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kStateRegisters, kStateRegisterCount,
                         [this](int axis, std::span<Word> out) { ShowState(axis, out); });
    }

    void Describe(Json& snapshot) const override
    {
        DescribeAxes(controller_, snapshot, [](Json& part, const Axis& axis, int) {
            const TorqueLimit& limit = axis.Protection().torque;
            part["torqueLimit"] = {{"on", limit.on},
                                   {"positive", limit.positive},
                                   {"negative", limit.negative},
                                   {"offset", limit.offset}};
        });
    }

  private:
    static void Set(Axis& axis, const TorqueLimitFields& fields)
    {
        AxisProtection protection = axis.Protection();
        protection.torque = {fields.on == 1, fields.positive, fields.negative,
                             fields.offset,  fields.codes,    fields.value};
        axis.SetProtection(protection);
    }

    void ShowState(int number, std::span<Word> out) const
    {
        const Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return;
        const TorqueLimit& limit = axis->Protection().torque;
        out[0] = static_cast<Word>((limit.on ? 1U : 0U) | (axis->TorqueLimited(1) ? 2U : 0U) |
                                   (axis->TorqueLimited(-1) ? 4U : 0U));
        out[1] = limit.positive;
        out[2] = limit.negative;
        out[3] = static_cast<Word>(limit.offset);
        out[4] = limit.codes;
        out[5] = static_cast<Word>(std::abs(axis->Torque()));
        PutLong(out, 6, static_cast<std::int32_t>(limit.value));
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeTorqueLimits(Controller& controller)
{
    return std::make_unique<TorqueLimits>(controller);
}

} // namespace lumosim
