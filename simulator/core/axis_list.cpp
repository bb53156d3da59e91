#include "axis_list.h"

#include "controller.h"

namespace lumosim {

Axis* AxisListCheck::Take(Word number)
{
    Axis* axis = controller_.FindAxis(number);
    if (verdict_ != Result::kDone) return axis;
    if (axis == nullptr) {
        verdict_ = Result::kNoServo;
        return nullptr;
    }
    const std::uint32_t bit = 1U << number;
    if ((taken_ & bit) != 0) verdict_ = Result::kAxisTwice;
    taken_ |= bit;
    return axis;
}

Result ReadAxes(Controller& controller, CommandReader& reader, Word count, std::vector<Axis*>& axes)
{
    struct None
    {};
    std::vector<AxisEntry<None>> entries;
    const Result result = ReadAxisEntries(
        controller, reader, count, [](CommandReader&) { return None(); }, entries);
    for (const AxisEntry<None>& entry : entries) {
        axes.push_back(entry.axis);
    }
    return result;
}

} // namespace lumosim
