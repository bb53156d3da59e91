// A controller that the program is connected to.
#pragma once

#include "frame/target.h"
#include "zelq.h"

#include <string>
#include <vector>

namespace zelq::tool {

/// Calls that fail throw a Failure with the exit code that they mean.
class Controller
{
  public:
    /// Connects, and gives the axes their units.
    explicit Controller(Target target);
    ~Controller();
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    [[nodiscard]] const Target& Where() const { return target_; }
    [[nodiscard]] short Number() const { return target_.number; }
    [[nodiscard]] const AxisSettings& Axis(int axis) const { return target_.Axis(axis); }
    /// What is shown from now on; the library has to be told by itself.
    void SetUnit(int axis, double unitPerPulse, const std::string& unit);
    /// "axis 2", or "axis 2 (X)".
    [[nodiscard]] std::string AxisText(int axis) const;

    [[nodiscard]] ControllerStatus Status() const;
    [[nodiscard]] ServoStatus Servo(unsigned short axis) const;
    [[nodiscard]] std::vector<unsigned short> ServoAxes() const;

    /// The axes that words such as "0", "2-5", "0,3", "X" or "all" mean, each once, in their order;
    /// all servo axes without any word. An axis that is no servo of the controller is a wrong
    /// argument.
    [[nodiscard]] std::vector<unsigned short>
    ParseAxes(const std::vector<std::string>& words) const;

  private:
    Target target_;
};

/// Digits behind the point that show one pulse of an axis.
int DigitsOf(const AxisSettings& axis);

} // namespace zelq::tool
