// Torque limits and their state.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

#include <cmath>

namespace lumosim {

namespace {

constexpr Word kSetTorqueLimit = 0x0110;

constexpr Word kStateRegisters = 0x2F;
constexpr Word kStateRegisterCount = 8;

struct Fields
{
    Word on = 0;
    TorqueLimit limit;
};

Fields ReadFields(CommandReader& reader)
{
    Fields fields;
    fields.on = reader.NextWord();
    fields.limit.on = fields.on != 0;
    fields.limit.positive = reader.NextWord();
    fields.limit.negative = reader.NextWord();
    fields.limit.offset = static_cast<std::int16_t>(reader.NextWord());
    fields.limit.codes = reader.NextWord();
    fields.limit.value = reader.NextUnsignedLong();
    return fields;
}

bool Valid(const Fields& fields)
{
    return fields.on <= 1 && fields.limit.positive <= TorqueLimit::kMaxPercent &&
           fields.limit.negative <= TorqueLimit::kMaxPercent;
}

class TorqueLimits : public Family
{
  public:
    explicit TorqueLimits(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kSetTorqueLimit, "torque limit", [this](auto& in, auto&) { return Set(in); });
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kStateRegisters, kStateRegisterCount,
                         [this](int axis, std::span<Word> out) { ShowState(axis, out); });
    }

  private:
    Result Set(CommandReader& in)
    {
        std::vector<AxisEntry<Fields>> entries;
        const Result result = ReadAxisEntries(controller_, in, in.NextWord(), ReadFields, entries);
        if (result != Result::kDone) return result;
        for (const auto& entry : entries) {
            if (!Valid(entry.fields)) return Result::kOutOfRange;
        }
        for (const auto& [axis, fields] : entries) {
            AxisProtection protection = axis->Protection();
            protection.torque = fields.limit;
            axis->SetProtection(protection);
        }
        return Result::kDone;
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
        out[6] = static_cast<Word>(limit.value & 0xFFFFU);
        out[7] = static_cast<Word>(limit.value >> 16U);
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeTorqueLimits(Controller& controller)
{
    return std::make_unique<TorqueLimits>(controller);
}

} // namespace lumosim
