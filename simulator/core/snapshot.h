// The state of a controller as one JSON value, to which every family adds its own part.
#pragma once

#include "controller.h"

#include <nlohmann/json.hpp>

namespace lumosim {

using Json = nlohmann::json;

// Calls describe(part, axis, number) for each servo; `part` is what the snapshot says of it.
template <typename Describe>
void DescribeAxes(const Controller& controller, Json& snapshot, Describe describe)
{
    Json& axes = snapshot["axes"];
    std::size_t index = 0;
    for (int number = 0; number < kMaxAxes; ++number) {
        const Axis* axis = controller.FindAxis(number);
        if (axis != nullptr) describe(axes[index++], *axis, number);
    }
}

inline double InSeconds(Nanoseconds time)
{
    return std::chrono::duration<double>(time).count();
}

} // namespace lumosim
