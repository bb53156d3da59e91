// The list of axes that most commands name, with the controller's checks on it.
#pragma once

#include "axis.h"
#include "command.h"
#include "types.h"

#include <functional>
#include <vector>

namespace lumosim {

class Controller;

// One entry of a command over axes: the axis and the fields that came with it.
template <typename Fields>
struct AxisEntry
{
    Axis* axis;
    Fields fields;
};

// Collects the axes of one command and keeps the first thing that is wrong with them.
class AxisListCheck
{
  public:
    explicit AxisListCheck(Controller& controller) : controller_(controller) {}

    // Null for what is no servo; an axis that was named before is refused as well.
    Axis* Take(Word number);
    [[nodiscard]] Result Verdict() const { return verdict_; }

  private:
    Controller& controller_;
    std::uint32_t taken_ = 0;
    Result verdict_ = Result::kDone;
};

// Reads `count` entries (axis number, then whatever `readFields` reads) up to the command's end. A
// command is refused as a whole: nothing has happened when the result is not kDone.
template <typename Fields, typename ReadFields>
Result ReadAxisEntries(Controller& controller, CommandReader& reader, Word count,
                       ReadFields readFields, std::vector<AxisEntry<Fields>>& entries)
{
    if (count < 1 || count > kMaxAxes) return Result::kMalformed;
    AxisListCheck check(controller);
    for (Word i = 0; i < count; ++i) {
        Axis* axis = check.Take(reader.NextWord());
        entries.push_back({axis, readFields(reader)});
    }
    return reader.Finished() ? check.Verdict() : Result::kMalformed;
}

// The same for entries that are the axis number alone.
Result ReadAxes(Controller& controller, CommandReader& reader, Word count,
                std::vector<Axis*>& axes);

} // namespace lumosim
