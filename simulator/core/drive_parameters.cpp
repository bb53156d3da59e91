#include "drive_parameters.h"

#include <array>
#include <cstddef>

namespace lumosim {

namespace {

enum class Effect { kAtOnce, kOnValidation, kReadOnly };

struct Parameter
{
    Word group;
    Word number;
    std::int32_t initial;
    std::int32_t least;
    std::int32_t most;
    Effect effect = Effect::kAtOnce;
};

constexpr std::int32_t kManyPulses = 1 << 30;

// Class, number, initial value, least, most, effect. docs/simulator.md names them.
constexpr std::array<Parameter, 25> kTable = {{
    {0, 0, 0, 0, 1, Effect::kOnValidation},
    {0, 1, 0, 0, 2, Effect::kOnValidation},
    {0, 2, 10'000, 1, 1 << 23, Effect::kOnValidation},
    {0, 3, 11, 0, 31},
    {0, 4, 250, 0, 10'000},
    {1, 0, 480, 0, 30'000},
    {1, 1, 270, 1, 32'767},
    {1, 2, 210, 1, 10'000},
    {1, 3, 0, 0, 5},
    {1, 4, 84, 0, 2'500},
    {2, 0, 1'000, 0, 4'000},
    {2, 1, 0, 0, 2'000},
    {2, 2, 0, -100, 100},
    {2, 3, 5'000, 50, 5'000},
    {2, 4, 5'000, 50, 5'000},
    {3, 0, 100'000, 0, kManyPulses},
    {3, 1, 1'000, 0, 10'000},
    {3, 2, 40'000, 0, kManyPulses},
    {3, 3, 0, 0, 20'000},
    {4, 0, 10, 0, 262'144},
    {4, 1, 0, 0, 30'000},
    {4, 2, 50, 10, 20'000},
    {5, 0, 10'203, 10'203, 10'203, Effect::kReadOnly},
    {5, 1, 127, 127, 127, Effect::kReadOnly},
    {5, 2, 3'000, 3'000, 3'000, Effect::kReadOnly},
}};

constexpr std::optional<std::size_t> Find(Word group, Word number)
{
    for (std::size_t i = 0; i < kTable.size(); ++i) {
        if (kTable[i].group == group && kTable[i].number == number) return i;
    }
    return std::nullopt;
}

// In the order of the settings.
constexpr std::array<std::size_t, 6> kSettings = {
    Find(0, 2).value(), Find(3, 0).value(), Find(3, 1).value(),
    Find(3, 2).value(), Find(4, 0).value(), Find(4, 1).value(),
};

constexpr std::size_t IndexOf(DriveSetting setting)
{
    return kSettings[static_cast<std::size_t>(setting)];
}

} // namespace

DriveParameters::DriveParameters(std::int32_t pulsesPerTurn)
{
    for (const Parameter& parameter : kTable) {
        values_.push_back({parameter.initial, parameter.initial, parameter.initial});
    }
    values_[IndexOf(DriveSetting::kPulsesPerTurn)] = {pulsesPerTurn, pulsesPerTurn, pulsesPerTurn};
}

Result DriveParameters::CheckWrite(Word group, Word number, std::int32_t value)
{
    const auto index = Find(group, number);
    if (!index) return Result::kNoParameter;
    const Parameter& parameter = kTable[*index];
    if (parameter.effect == Effect::kReadOnly) return Result::kReadOnlyParameter;
    const bool inRange = value >= parameter.least && value <= parameter.most;
    return inRange ? Result::kDone : Result::kOutOfRange;
}

Result DriveParameters::CheckWrite(DriveSetting setting, std::int32_t value)
{
    const Parameter& parameter = kTable[IndexOf(setting)];
    return CheckWrite(parameter.group, parameter.number, value);
}

void DriveParameters::Write(Word group, Word number, std::int32_t value)
{
    const std::size_t index = Find(group, number).value();
    values_[index].written = value;
    if (kTable[index].effect == Effect::kAtOnce) values_[index].inForce = value;
}

void DriveParameters::Set(DriveSetting setting, std::int32_t value)
{
    Value& parameter = values_[IndexOf(setting)];
    parameter.written = value;
    parameter.inForce = value;
}

std::optional<std::int32_t> DriveParameters::Written(Word group, Word number) const
{
    const auto index = Find(group, number);
    if (!index) return std::nullopt;
    return values_[*index].written;
}

std::int32_t DriveParameters::InForce(DriveSetting setting) const
{
    return values_[IndexOf(setting)].inForce;
}

void DriveParameters::Validate()
{
    for (Value& value : values_) {
        value.inForce = value.written;
    }
}

void DriveParameters::Save()
{
    for (Value& value : values_) {
        value.saved = value.written;
    }
}

void DriveParameters::PowerUp()
{
    for (Value& value : values_) {
        value.written = value.saved;
        value.inForce = value.saved;
    }
}

} // namespace lumosim
