// First motion: connect, set axes up, switch servos on, home, jog, and move two axes.
//
//   first_motion                                     a simulated controller inside the program
//   first_motion --network 192.168.0 --controller 3  the real one at 192.168.0.3
//
// On a real machine it turns axes 0 and 1 by some thousand pulses: see that nothing is in the way.

#include "support/console.h"
#include "support/target.h"
#include "support/trace_lines.h"
#include "zelq.h"
#include "zelq/stop.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <thread>

namespace {

constexpr double kUnitPerPulse = 0.001; // 1 pulse is 1 micrometre, user units are millimetres
constexpr std::array<unsigned short, 2> kAxes = {0, 1};

/// Where an axis of a running move comes from and goes to.
struct Way
{
    unsigned short axis;
    double from;
    double to;
};

class FirstMotion
{
  public:
    explicit FirstMotion(short zelNo) : zelNo_(zelNo) {}

    void SetUp()
    {
        std::printf("\nUnits and speed profiles\n");
        for (const unsigned short axis : kAxes) {
            const auto number = static_cast<short>(axis);
            Do(zelQ_UnitPerPulseSet(zelNo_, number, kUnitPerPulse));
            const double drive = axis == 0 ? 40.0 : 25.0;
            Do(zelQ_SpeedSet(zelNo_, number, 0, 0.5, 80.0, drive, 80.0));
        }
    }

    void SwitchOn()
    {
        std::printf("\nServos on\n");
        const std::array<short, 2> axes = {0, 1};
        Do(zelQ_mServoOn(zelNo_, 2, axes.data(), 1));
        Await("the servos to be on",
              [this] { return Status(kAxes[0]).servoOn == 1 && Status(kAxes[1]).servoOn == 1; });
    }

    void Home()
    {
        std::printf("\nHome axis 0 on its home sensor\n");
        Do(zelQ_HomeSetDriveSpeed(zelNo_, 0, 0, 20.0, 5.0, 2.0, 20.0));
        Do(zelQ_HomeMoveHome(zelNo_, 0, 1, 0, 2, 0, 0, 0.0));
        example::LiveLines live;
        Await("the home sensor", [&] {
            const ServoStatus status = Status(0);
            const bool homing = status.homing != 0;
            std::array<char, 128> line{};
            std::snprintf(line.data(), line.size(),
                          "  axis 0  %9.3f mm  %8.3f mm/s  sensor %-3s  %s",
                          double{status.commandPosition}, double{status.velocity},
                          status.homeSensor != 0 ? "on" : "off", homing ? "homing" : "homed");
            live.Show({line.data()}, !homing);
            return !homing;
        });
        if (Status(0).homeDone == 0) throw std::runtime_error("axis 0 did not find its home");
    }

    void Jog()
    {
        std::printf("\nJog axis 0 for 10 mm, stop, and move back\n");
        const double start = Status(0).commandPosition;
        Do(zelQ_MoveVel(zelNo_, 0, 0));
        Await("10 mm of jogging",
              [&] { return std::abs(Status(0).commandPosition - start) >= 10.0; });
        Do(zelQ_StopDec(zelNo_, 0));
        Await("the axis to stop", [this] { return Status(0).inMotion == 0; });
        Move({{0, Status(0).commandPosition, start}},
             [&] { return zelQ_MoveAbs(zelNo_, 0, start); });
    }

    void MoveBoth()
    {
        std::printf("\nMove both axes to absolute positions\n");
        const std::array<short, 2> axes = {0, 1};
        const std::array<double, 2> targets = {60.0, -30.0};
        Move({{0, Status(0).commandPosition, targets[0]},
              {1, Status(1).commandPosition, targets[1]}},
             [&] { return zelQ_mMoveAbs(zelNo_, 2, axes.data(), targets.data()); });

        std::printf("\nMove both axes by a distance\n");
        const std::array<double, 2> distances = {-20.0, 42.5};
        Move({{0, targets[0], targets[0] + distances[0]},
              {1, targets[1], targets[1] + distances[1]}},
             [&] { return zelQ_mMoveRel(zelNo_, 2, axes.data(), distances.data()); });
    }

    void SwitchOff()
    {
        std::printf("\nServos off\n");
        const std::array<short, 2> axes = {0, 1};
        Do(zelQ_mServoOn(zelNo_, 2, axes.data(), 0));
    }

    void PrintStatus()
    {
        ControllerStatus status{};
        std::printf("\nFinal status\n");
        Do(zelQ_GetAllStatus(zelNo_, &status));
        std::printf("\n  axis  servo   command mm   encoder mm   error mm  torque %%  alarm\n");
        for (const unsigned short axis : kAxes) {
            const ServoStatus& servo = status.servo[axis];
            std::printf("  %4d  %5s  %11.3f  %11.3f  %9.3f  %8.1f  %5s\n", axis,
                        servo.servoOn != 0 ? "on" : "off", double{servo.commandPosition},
                        double{servo.encoderPosition}, double{servo.followingError},
                        double{servo.torque}, servo.alarm != 0 ? "yes" : "no");
        }
        std::printf(
            "\n  %d servo axes, %d input slaves, %d output slaves; %d status calls in all\n",
            status.servoCount, status.inputCount, status.outputCount, statusCalls_);
    }

  private:
    /// Shows the trace line of a call; a call that failed ends the program.
    void Do(short result)
    {
        for (const std::string& line : trace_.Take()) {
            std::printf("  %s", line.c_str());
        }
        if (result != ZELQ_OK) throw std::runtime_error("the call gave " + std::to_string(result));
    }

    ServoStatus Status(unsigned short axis)
    {
        ServoStatus status{};
        const short result = zelQ_GetServoStatus(zelNo_, axis, &status);
        trace_.Take(); // polling would drown the other lines
        ++statusCalls_;
        if (result != ZELQ_OK) {
            throw std::runtime_error("zelQ_GetServoStatus gives " + std::to_string(result));
        }
        if (status.alarm != 0) throw std::runtime_error("axis " + std::to_string(axis) + ": alarm");
        return status;
    }

    template <typename Done>
    void Await(const char* what, Done done)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!done()) {
            if (zelq::interrupted()) throw std::runtime_error("interrupted");
            if (std::chrono::steady_clock::now() > end) {
                throw std::runtime_error(std::string("waited in vain for ") + what);
            }
            std::this_thread::sleep_for(kPollInterval);
        }
    }

    /// Starts a move and follows it to its end.
    template <typename Start>
    void Move(const std::vector<Way>& ways, Start start)
    {
        Do(start());
        example::LiveLines live;
        Await("the move to end", [&] {
            bool moving = false;
            std::vector<std::string> lines;
            for (const Way& way : ways) {
                const ServoStatus status = Status(way.axis);
                moving = moving || status.inMotion != 0;
                lines.push_back(Progress(way, status));
            }
            live.Show(lines, !moving);
            return !moving;
        });
        for (const Way& way : ways) {
            if (std::abs(Status(way.axis).commandPosition - way.to) > kUnitPerPulse) {
                throw std::runtime_error("axis " + std::to_string(way.axis) + " missed its target");
            }
        }
    }

    static std::string Progress(const Way& way, const ServoStatus& status)
    {
        constexpr int kBar = 30;
        const double whole = way.to - way.from;
        const double gone = whole == 0.0 ? 1.0 : (status.commandPosition - way.from) / whole;
        const double part = std::clamp(gone, 0.0, 1.0) + 0.0; // never shown as "-0"
        const auto filled = static_cast<int>(std::lround(part * kBar));
        std::string bar(kBar, '.');
        std::fill_n(bar.begin(), filled, '#');
        std::array<char, 128> line{};
        std::snprintf(line.data(), line.size(), "  axis %d  %9.3f mm  %8.3f mm/s  [%s] %3.0f %%",
                      way.axis, double{status.commandPosition}, double{status.velocity},
                      bar.c_str(), 100.0 * part);
        return line.data();
    }

    static constexpr std::chrono::milliseconds kPollInterval{20};

    short zelNo_;
    example::TraceLines trace_;
    int statusCalls_ = 0;
};

} // namespace

int main(int argc, char** argv)
{
    example::Target target(argc, argv, "Connects to a Lumo controller and moves axes 0 and 1.");
    zelq::catchInterrupts();
    try {
        target.Connect();
        FirstMotion motion(target.Number());
        zelq::StopGuard guard(target.Number(), {kAxes[0], kAxes[1]});
        motion.SetUp();
        motion.SwitchOn();
        motion.Home();
        motion.Jog();
        motion.MoveBoth();
        motion.SwitchOff();
        guard.release();
        motion.PrintStatus();
        zelQ_Disconnect(target.Number());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\nfirst_motion: %s\n", error.what());
        return zelq::interrupted() ? 130 : 1;
    }
    return 0;
}
