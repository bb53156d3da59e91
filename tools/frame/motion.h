// Axes that a verb sets in motion: under the limits of the configuration, and never left running.
#pragma once

#include "frame/program.h"

#include <functional>
#include <vector>

namespace zelq::tool {

/// Throws a Failure where a limit of the configuration does not allow it.
void CheckDistance(const Controller& controller, unsigned short axis, double distance);
void CheckSpeed(const Controller& controller, unsigned short axis, double speed);
SpeedProfile ReadProfile(const Controller& controller, unsigned short axis);
/// The profile with which an axis will run, its drive speed checked.
SpeedProfile CheckedProfile(const Controller& controller, unsigned short axis);

/// The value that means the pulse nearest to `position`: the library truncates, so that 0.3 in
/// units of 0.1 could be 2 pulses. A Failure when the axis's counter has no such pulse.
double OnPulse(const Controller& controller, unsigned short axis, double position);

/// Whether none of the axes is in motion.
bool AreAtRest(const ControllerStatus& status, const std::vector<unsigned short>& axes);

/// "12.500 mm".
std::string WithUnit(const Controller& controller, unsigned short axis, double value);
/// "axis 0 (X), axis 2".
std::string AxesText(const Controller& controller, const std::vector<unsigned short>& axes);

/// Begins before the axes are started. Unless it has seen them come to rest it stops them, with
/// their deceleration, and waits until they stand: after an interrupt, a failure, a lost reply.
class Motion
{
  public:
    Motion(const Controller& controller, std::vector<unsigned short> axes);
    ~Motion();
    Motion(const Motion&) = delete;
    Motion& operator=(const Motion&) = delete;

    using Shower = std::function<void(const ControllerStatus&)>;

    /// Shows the axes until all of them are at rest. A Failure when it was interrupted, or when an
    /// axis has gone further than the configuration allows.
    ControllerStatus Follow(const Shower& show);
    /// One look at them with the same checks; whether all of them are at rest.
    bool Look(ControllerStatus& status);
    /// Stops them and waits until they stand; a result of the library.
    short Stop();

  private:
    const Controller& controller_;
    std::vector<unsigned short> axes_;
    ControllerStatus start_;
    bool atRest_ = false;
};

/// Shows moving axes in one line of progress.
Motion::Shower ProgressOf(Context& context, const std::vector<unsigned short>& axes);

/// Looks at the controller until `done`; a Failure when it was interrupted, or after 10 s.
ControllerStatus AwaitStatus(const Controller& controller,
                             const std::function<bool(const ControllerStatus&)>& done);

/// A Failure unless all axes have come to their targets.
void ExpectEnds(const Controller& controller, const std::vector<unsigned short>& axes,
                const ControllerStatus& status);

/// The state of the axes behind a motion: a table, or JSON.
void ShowResult(Context& context, const std::vector<unsigned short>& axes,
                const ControllerStatus& status);

/// --yes, as all verbs that move have it.
void AddYes(CLI::App& app, bool& yes);
/// The axes, required.
void AddAxes(CLI::App& app, std::vector<std::string>& axes);
/// A word for a code of the controller, such as {{"positive", 0}, {"negative", 1}}.
void AddChoice(CLI::App& app, const char* name, int& value, const char* text,
               const std::map<std::string, int>& choices);
void AddDirection(CLI::App& app, int& direction);

} // namespace zelq::tool
