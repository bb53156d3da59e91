#include "field_list.h"

#include <algorithm>

namespace lumosim {

namespace {

class FieldWalk
{
  public:
    FieldWalk(std::span<const Field> fields, CommandReader& in, const TakeField& take)
        : fields_(fields), in_(in), take_(take), values_(fields.size(), 0)
    {}

    bool Run()
    {
        const auto [from, to] = EntriesOf(fields_);
        if (!Read(0, from)) return false;
        if (from < to && fields_[from].place == Place::kRest) {
            count_ = IsThere(fields_[from]) ? in_.Rest().size() : 0;
        }
        for (std::size_t i = 0; i < count_; ++i) {
            if (!Read(from, to)) return false;
        }
        return Read(to, fields_.size()) && in_.Finished();
    }

  private:
    bool Read(std::size_t from, std::size_t to)
    {
        for (std::size_t i = from; i < to; ++i) {
            const Field& field = fields_[i];
            if (field.place == Place::kTimes) count_ = static_cast<std::size_t>(field.bounds->most);
            if (field.place == Place::kTimes || !IsThere(field)) continue;
            const std::int64_t value = Next(field.width);
            if (in_.Overrun()) return false;
            values_[i] = value;
            take_(i, value);
            if (field.place != Place::kCount) continue;
            if (!InRange(field, value)) return false;
            count_ = static_cast<std::size_t>(value);
        }
        return true;
    }

    [[nodiscard]] bool IsThere(const Field& field) const
    {
        if (field.place == Place::kIfLeft) return !in_.Rest().empty();
        const Condition& when = field.when;
        if (when.field.empty()) return true;
        const auto other = std::ranges::find(fields_, when.field, &Field::name);
        const std::int64_t value = values_[static_cast<std::size_t>(other - fields_.begin())];
        const bool listed = value >= 0 && value < 32 && (when.values >> value & 1U) != 0;
        return listed != when.unless;
    }

    std::int64_t Next(Width width)
    {
        switch (width) {
        case Width::kShort:
            return static_cast<std::int16_t>(in_.NextWord());
        case Width::kLong:
            return in_.NextLong();
        case Width::kUnsignedLong:
            return static_cast<std::uint32_t>(in_.NextLong());
        default:
            return in_.NextWord();
        }
    }

    std::span<const Field> fields_;
    CommandReader& in_;
    const TakeField& take_;
    std::vector<std::int64_t> values_; // as they came last
    std::size_t count_ = 1;
};

std::string ConditionAsText(const Condition& when)
{
    std::string values;
    for (unsigned value = 0; value < 32; ++value) {
        if ((when.values >> value & 1U) == 0) continue;
        values += (values.empty() ? "" : " or ") + std::to_string(value);
    }
    return (when.unless ? " unless " : " if ") + std::string(when.field) + " is " + values;
}

std::string FieldAsOrder(const Field& field)
{
    std::string text = field.name;
    if (field.width == Width::kShort) text += " (s16)";
    if (field.width == Width::kLong) text += " (s32)";
    if (field.width == Width::kUnsignedLong) text += " (u32)";
    if (field.bounds) {
        const auto [least, most] = *field.bounds;
        text += " " + std::to_string(least);
        if (most != least) text += ".." + std::to_string(most);
    }
    if (field.place == Place::kIfLeft) text += " if the command has it";
    return field.when.field.empty() ? text : text + ConditionAsText(field.when);
}

} // namespace

bool InRange(const Field& field, std::int64_t value)
{
    return !field.bounds || (value >= field.bounds->least && value <= field.bounds->most);
}

EntryRange EntriesOf(std::span<const Field> fields)
{
    const auto begins = [](const Field& field) {
        return field.place == Place::kEach || field.place == Place::kRest;
    };
    const auto ends = [](const Field& field) {
        return field.place == Place::kBehind || field.place == Place::kIfLeft;
    };
    const auto from = std::ranges::find_if(fields, begins);
    const auto to = std::find_if(from, fields.end(), ends);
    return {static_cast<std::size_t>(from - fields.begin()),
            static_cast<std::size_t>(to - fields.begin())};
}

bool ReadFields(std::span<const Field> fields, CommandReader& in, const TakeField& take)
{
    return FieldWalk(fields, in, take).Run();
}

std::string FieldsAsText(std::span<const Field> fields, std::span<const Word> words)
{
    std::string text;
    CommandReader in(words);
    ReadFields(fields, in, [&](std::size_t field, std::int64_t value) {
        if (!text.empty()) text += ", ";
        text += fields[field].name;
        text += " " + std::to_string(value);
    });
    for (const Word word : in.Rest()) {
        if (!text.empty()) text += " ";
        text += std::to_string(word);
    }
    return text;
}

std::string FieldsAsOrder(std::span<const Field> fields)
{
    std::string text;
    bool several = false;
    for (const Field& field : fields) {
        if (!text.empty()) text += field.place == Place::kBehind ? "; then " : ", ";
        if (field.place == Place::kTimes) text += std::to_string(field.bounds->most) + " times";
        if (field.place == Place::kRest) text += "up to the end: ";
        if (field.place == Place::kEach && several) text += "each: ";
        if (field.place != Place::kTimes) text += FieldAsOrder(field);
        several = several || field.place == Place::kCount || field.place == Place::kTimes;
    }
    return text.empty() ? "none" : text;
}

} // namespace lumosim
