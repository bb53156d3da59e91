// The words for what a status says.
#pragma once

#include "frame/controller.h"
#include "frame/output.h"

#include <string>
#include <vector>

namespace zelq::tool {

/// The flags of an axis that are on, by name.
std::vector<Text> FlagsOf(const ServoStatus& servo);
/// What an axis is doing, such as "jog"; empty: nothing.
std::string MotionText(unsigned short kind);
/// Why the last motion ended, such as "stop command".
std::string StopText(unsigned short cause);

/// How an axis is shown: in its own units, or in pulses.
struct AxisView
{
    AxisSettings settings;
    double factor = 1.0; ///< from what the library tells to what is shown

    [[nodiscard]] std::string Number(double value) const
    {
        return Fixed(value * factor, DigitsOf(settings));
    }
};
AxisView ViewOf(const AxisSettings& settings, bool inPulses);

/// One line an axis: position, speed, error, torque, flags, what it does or why it ended.
Table AxisTable(const Controller& controller, const ControllerStatus& status,
                const std::vector<unsigned short>& axes, bool inPulses);
Json AxisJson(const Controller& controller, const ServoStatus& servo);

} // namespace zelq::tool
