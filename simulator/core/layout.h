// The layout of a command: its fields, and the members of a structure that they are read into.
#pragma once

#include "field_list.h"

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <type_traits>
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

// What the fields of a command, or of one of its entries, are.
struct FieldValues
{
    struct Given
    {
        std::size_t field;
        std::int64_t value;
    };

    Word number = 0; // an entry's first field: the axis, for most
    std::vector<Given> given;
    bool inRange = true; // all of them, as far as the layout tells ranges
};

struct CommandValues
{
    FieldValues own;
    // They have the fields from before and behind the entries as well.
    std::vector<FieldValues> entries;
};

// Fields, and where in a structure they belong. It knows members by their place there, and so is
// compiled once for all structures.
class FieldLayout
{
  public:
    [[nodiscard]] const FieldList& List() const { return fields_; }

    // False for a command that is not of this form.
    [[nodiscard]] bool Read(CommandReader& in, CommandValues& values) const;

    // The structure with these values, of which it must be the layout.
    template <typename Fields>
    [[nodiscard]] Fields FieldsOf(const FieldValues& values) const
    {
        Fields fields{};
        Store(values, &fields);
        return fields;
    }

  protected:
    void Add(const Field& field);
    void Add(const char* name) { Add(Field{name}); }
    void Add(const Rule& rule);
    void Add(const Bounds& bounds) { fields_.back().bounds = bounds; }
    void AddMember(Width width, std::size_t offset);
    void End() { entries_ = EntriesOf(fields_); }

  private:
    // Where GCC inlines it, it warns of the long that a structure of one word never gets.
    [[gnu::noinline]] void Store(const FieldValues& values, void* structure) const;

    FieldList fields_;
    std::vector<std::optional<std::size_t>> offsets_; // of the members, where anybody needs them
    EntryRange entries_{};
};

template <typename Fields>
struct Entry
{
    Word number = 0;
    Fields fields;
    bool inRange = true;
};

// The axes, for most: of values, or of entries.
template <typename Entries>
std::vector<Word> NumbersOf(const Entries& entries)
{
    std::vector<Word> numbers;
    numbers.reserve(entries.size());
    for (const auto& entry : entries) {
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
class Layout : public FieldLayout
{
    static_assert(std::is_trivially_copyable_v<Fields>);

  public:
    // For each field its name, then the member that it is read into, if anybody needs it, and the
    // rule and the range that it obeys, if any: Layout<F>(kCount, kAxis, "target", &F::target).
    template <typename... Parts>
    Layout(const Parts&... parts)
    {
        (Add(parts), ...);
        End();
    }

    // The same with more fields behind it.
    template <typename... Parts>
    [[nodiscard]] Layout With(const Parts&... parts) const
    {
        Layout longer = *this;
        (longer.Add(parts), ...);
        longer.End();
        return longer;
    }

    using FieldLayout::Read;
    [[nodiscard]] bool Read(CommandReader& in, Command<Fields>& command) const
    {
        CommandValues values;
        if (!Read(in, values)) return false;
        command.fields = FieldsOf<Fields>(values.own);
        command.inRange = values.own.inRange;
        for (const FieldValues& entry : values.entries) {
            command.entries.push_back({entry.number, FieldsOf<Fields>(entry), entry.inRange});
        }
        return true;
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

    using FieldLayout::Add;
    template <typename Value, typename Base>
    void Add(Value Base::*member)
    {
        const Fields any{};
        const auto* begin = reinterpret_cast<const std::byte*>(&any);
        const auto* place = reinterpret_cast<const std::byte*>(&(any.*member));
        AddMember(WidthOf<Value>(), static_cast<std::size_t>(place - begin));
    }
};

} // namespace lumosim
