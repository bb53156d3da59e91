// The layout of a command: its fields, and the members of a structure that they are read into.
#pragma once

#include "field_list.h"

#include <initializer_list>
#include <type_traits>
#include <variant>
#include <vector>

namespace lumosim {

// Of a command without fields, or whose entries are an axis alone.
struct NoFields
{};

// For commands, or entries, of one field.
struct OneWord
{
    Word value = 0;
};
struct OneLong
{
    std::int32_t value = 0;
};

// Where a field stands, and when it is there.
struct Rule
{
    Place place = Place::kOnce;
    Condition when = {};
};

inline constexpr Rule kEach{Place::kEach};
inline constexpr Rule kRest{Place::kRest};
inline constexpr Rule kBehind{Place::kBehind};
inline constexpr Rule kIfLeft{Place::kIfLeft};

constexpr Rule When(std::string_view field, std::initializer_list<unsigned> values)
{
    Rule rule{Place::kOnce, {field}};
    for (const unsigned value : values) {
        rule.when.values |= 1U << value;
    }
    return rule;
}

constexpr Rule Unless(std::string_view field, std::initializer_list<unsigned> values)
{
    Rule rule = When(field, values);
    rule.when.unless = true;
    return rule;
}

constexpr Bounds UpTo(std::int64_t most)
{
    return {0, most};
}

constexpr Field CountOf(Word fewest, Word most)
{
    return {"count", Width::kWord, Place::kCount, {}, Bounds{fewest, most}};
}

constexpr Field Times(Word times)
{
    return {"", Width::kWord, Place::kTimes, {}, Bounds{times, times}};
}

// A count of axes, and the axis that each of their entries begins with.
inline constexpr Field kCount = CountOf(1, kMaxAxes);
inline constexpr Field kAxis{"axis", Width::kWord, Place::kEach};
inline constexpr Field kStation{"station", Width::kWord, Place::kEach};

// An entry has the fields from before and behind the entries as well.
template <typename Fields>
struct Entry
{
    Word number = 0; // its first field: the axis, for most
    Fields fields;
    bool inRange = true; // all its values, as far as the layout tells ranges
};

template <typename Fields>
std::vector<Word> NumbersOf(const std::vector<Entry<Fields>>& entries)
{
    std::vector<Word> numbers;
    numbers.reserve(entries.size());
    for (const Entry<Fields>& entry : entries) {
        numbers.push_back(entry.number);
    }
    return numbers;
}

template <typename Fields>
struct Command
{
    Fields fields;
    std::vector<Entry<Fields>> entries;
    bool inRange = true; // all values outside the entries
};

template <typename Fields>
class Layout
{
  public:
    using Member = std::variant<std::monostate, Word Fields::*, std::int16_t Fields::*,
                                std::int32_t Fields::*, std::uint32_t Fields::*>;

    // For each field its name, then the member that it is read into, if anybody needs it, and the
    // rule and the range that it obeys, if any: Layout<F>(kCount, kAxis, "target", &F::target).
    template <typename... Parts>
    Layout(const Parts&... parts)
    {
        (Add(parts), ...);
        entries_ = EntriesOf(fields_);
    }

    // The same with more fields behind it.
    template <typename... Parts>
    [[nodiscard]] Layout With(const Parts&... parts) const
    {
        Layout longer = *this;
        (longer.Add(parts), ...);
        longer.entries_ = EntriesOf(longer.fields_);
        return longer;
    }

    [[nodiscard]] const FieldList& List() const { return fields_; }

    // False for a command that is not of this form.
    [[nodiscard]] bool Read(CommandReader& in, Command<Fields>& command) const
    {
        return ReadFields(fields_, in, [&](std::size_t field, std::int64_t value) {
            const Place place = fields_[field].place;
            if (place == Place::kEach || place == Place::kRest) {
                command.entries.push_back(
                    {static_cast<Word>(value), command.fields, command.inRange});
            }
            const bool inside = field >= entries_.from && field < entries_.to;
            if (!inside) Store(field, value, command);
            if (field >= entries_.to) {
                for (Entry<Fields>& entry : command.entries) {
                    Store(field, value, entry);
                }
            } else if (inside) {
                Store(field, value, command.entries.back());
            }
        });
    }

  private:
    template <typename Value>
    static constexpr Width WidthOf()
    {
        if constexpr (std::is_same_v<Value, Word>) return Width::kWord;
        if constexpr (std::is_same_v<Value, std::int16_t>) return Width::kShort;
        if constexpr (std::is_same_v<Value, std::int32_t>) return Width::kLong;
        if constexpr (std::is_same_v<Value, std::uint32_t>) return Width::kUnsignedLong;
    }

    void Add(const Field& field)
    {
        fields_.push_back(field);
        members_.emplace_back();
    }
    void Add(const char* name) { Add(Field{name}); }
    void Add(const Rule& rule)
    {
        fields_.back().place = rule.place;
        fields_.back().when = rule.when;
    }
    void Add(const Bounds& bounds) { fields_.back().bounds = bounds; }
    template <typename Value, typename Base>
    void Add(Value Base::*member)
    {
        fields_.back().width = WidthOf<Value>();
        members_.back() = static_cast<Value Fields::*>(member);
    }

    // Into a command's own fields, or an entry's.
    template <typename Owner>
    void Store(std::size_t field, std::int64_t value, Owner& owner) const
    {
        owner.inRange = owner.inRange && InRange(fields_[field], value);
        std::visit(
            [&](auto member) {
                if constexpr (!std::is_same_v<decltype(member), std::monostate>) {
                    using Value = std::remove_reference_t<decltype(owner.fields.*member)>;
                    owner.fields.*member = static_cast<Value>(value);
                }
            },
            members_[field]);
    }

    FieldList fields_;
    std::vector<Member> members_;
    EntryRange entries_{};
};

} // namespace lumosim
