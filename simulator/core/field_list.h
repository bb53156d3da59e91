// How the fields of a command lie in its registers. The same list reads a command, makes its line
// in the log, and its row in the documentation.
#pragma once

#include "command.h"
#include "types.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lumosim {

enum class Width : std::uint8_t { kWord, kShort, kLong, kUnsignedLong };

enum class Place : std::uint8_t {
    kOnce,
    kCount,  // tells how many entries there are
    kTimes,  // no field at all: how many entries every such command has
    kEach,   // the first field of each entry; where nothing tells how many, there is one
    kRest,   // entries of one register, up to the command's end
    kBehind, // the first field behind the entries
    kIfLeft, // behind the entries, in commands that are long enough
};

// A field may be there or not, by the value of another one before it.
struct Condition
{
    std::string_view field;   // empty: it is always there
    std::uint32_t values = 0; // bit k: the other one is k
    bool unless = false;
};

struct Bounds
{
    std::int64_t least;
    std::int64_t most;
};

struct Field
{
    const char* name;
    Width width = Width::kWord;
    Place place = Place::kOnce;
    Condition when = {};
    // Of a count: any other makes the command a malformed one. Of a value: it is out of range.
    std::optional<Bounds> bounds = {};
};

using FieldList = std::vector<Field>;

bool InRange(const Field& field, std::int64_t value);

// The fields from..to-1 are those of an entry.
struct EntryRange
{
    std::size_t from;
    std::size_t to;
};
EntryRange EntriesOf(std::span<const Field> fields);

// Hands out every field of a command as it comes. False for a command that is not of this form: a
// count out of its bounds, something missing or left over.
using TakeField = std::function<void(std::size_t field, std::int64_t value)>;
bool ReadFields(std::span<const Field> fields, CommandReader& in, const TakeField& take);

// "count 1, axis 0, target 5000"; what does not belong to the command follows as plain numbers.
std::string FieldsAsText(std::span<const Field> fields, std::span<const Word> words);

// "count 1..32, each: axis, target (s32)"
std::string FieldsAsOrder(std::span<const Field> fields);

} // namespace lumosim
