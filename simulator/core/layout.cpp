#include "layout.h"

#include <cstring>

namespace lumosim {

void FieldLayout::Add(const Field& field)
{
    fields_.push_back(field);
    offsets_.emplace_back();
}

void FieldLayout::Add(const Rule& rule)
{
    fields_.back().place = rule.place;
    fields_.back().when = rule.when;
}

void FieldLayout::AddMember(Width width, std::size_t offset)
{
    fields_.back().width = width;
    offsets_.back() = offset;
}

bool FieldLayout::Read(CommandReader& in, CommandValues& values) const
{
    return ReadFields(fields_, in, [&](std::size_t field, std::int64_t value) {
        const auto give = [&](FieldValues& to) {
            to.given.push_back({field, value});
            to.inRange = to.inRange && InRange(fields_[field], value);
        };
        const Place place = fields_[field].place;
        if (place == Place::kEach || place == Place::kRest) {
            values.entries.push_back(values.own);
            values.entries.back().number = static_cast<Word>(value);
        }
        if (field >= entries_.from && field < entries_.to) {
            give(values.entries.back());
            return;
        }
        give(values.own);
        if (field < entries_.to) return;
        for (FieldValues& entry : values.entries) {
            give(entry);
        }
    });
}

void FieldLayout::Store(const FieldValues& values, void* structure) const
{
    for (const auto& [field, value] : values.given) {
        if (!offsets_[field]) continue;
        auto* member = static_cast<std::byte*>(structure) + *offsets_[field];
        const auto bits = static_cast<std::uint32_t>(value);
        const auto low = static_cast<Word>(bits);
        const Width width = fields_[field].width;
        if (width == Width::kWord || width == Width::kShort) {
            std::memcpy(member, &low, sizeof(low));
        } else {
            std::memcpy(member, &bits, sizeof(bits));
        }
    }
}

} // namespace lumosim
