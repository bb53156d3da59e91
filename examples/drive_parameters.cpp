// Drive parameters: shows a drive's identification, monitors, parameters and alarms as tables.
//
//   drive_parameters                                              a simulated controller
//   drive_parameters --network 192.168.0 --controller 3 --axis 1  a real one, at 192.168.0.3
//
// It only reads: nothing moves and nothing is changed.

#include "support/target.h"
#include "zelq.h"

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace {

/// What a program about one kind of drive knows of its parameters.
struct Parameter
{
    unsigned short group;
    unsigned short number;
    const char* name;
};

constexpr std::array kParameters = {
    Parameter{0, 0, "direction of rotation"},
    Parameter{0, 2, "pulses of one turn"},
    Parameter{0, 3, "stiffness"},
    Parameter{0, 4, "load inertia, %"},
    Parameter{1, 0, "position gain, 0.1/s"},
    Parameter{1, 1, "speed gain, 0.1 Hz"},
    Parameter{1, 2, "integral time, 0.1 ms"},
    Parameter{2, 0, "speed feed-forward, 0.1 %"},
    Parameter{2, 2, "torque offset, %"},
    Parameter{3, 0, "following error limit, pulses"},
    Parameter{3, 1, "over-current level, %"},
    Parameter{3, 2, "over-travel limit, pulses"},
    Parameter{4, 0, "in-position window, pulses"},
    Parameter{5, 0, "firmware"},
};

struct Monitor
{
    unsigned short number;
    const char* name;
    double scale;
};

constexpr std::array kMonitors = {
    Monitor{1, "encoder position, pulses", 1.0}, Monitor{2, "following error, pulses", 1.0},
    Monitor{3, "speed, pulses/s", 1.0},          Monitor{4, "torque, %", 0.1},
    Monitor{5, "drive temperature, C", 0.1},     Monitor{6, "motor temperature, C", 0.1},
    Monitor{7, "bus voltage, V", 0.1},
};

void Check(short result, const char* call)
{
    if (result == ZELQ_OK) return;
    throw std::runtime_error(std::string(call) + " gives " + std::to_string(result));
}

void PrintIdentification(short zelNo, unsigned short axis)
{
    constexpr std::size_t kField = 16;
    std::array<char, 5 * kField> id{};
    Check(zelQ_ParamGetSysID(zelNo, axis, id.data()), "zelQ_ParamGetSysID");
    std::printf("\nAxis %u\n", static_cast<unsigned>(axis));
    std::size_t at = 0;
    for (const char* name : {"maker", "drive", "serial", "motor", "serial"}) {
        std::printf("  %-8s %.*s\n", name, static_cast<int>(kField), &id[at]);
        at += kField;
    }
}

void PrintMonitors(short zelNo, unsigned short axis)
{
    std::array<short, kMonitors.size()> axes{};
    std::array<unsigned short, kMonitors.size()> numbers{};
    std::array<unsigned int, kMonitors.size()> values{};
    axes.fill(static_cast<short>(axis));
    for (std::size_t i = 0; i < kMonitors.size(); ++i) {
        numbers[i] = kMonitors[i].number;
    }
    const auto count = static_cast<short>(kMonitors.size());
    Check(zelQ_mMonitorRead(zelNo, count, axes.data(), numbers.data(), values.data()),
          "zelQ_mMonitorRead");
    std::printf("\n  monitor                             value\n");
    for (std::size_t i = 0; i < kMonitors.size(); ++i) {
        const double value = static_cast<int>(values[i]) * kMonitors[i].scale;
        std::printf("  %-30s %10.1f\n", kMonitors[i].name, value);
    }
}

void PrintParameters(short zelNo, unsigned short axis)
{
    std::printf("\n  parameter                                  value\n");
    for (const Parameter& parameter : kParameters) {
        int value = 0;
        const short result = zelQ_ParamGet(zelNo, axis, parameter.group, parameter.number, &value);
        const unsigned group = parameter.group;
        const unsigned number = parameter.number;
        if (result == ZELQ_OK) {
            std::printf("  %u.%02u  %-31s %10d\n", group, number, parameter.name, value);
        } else {
            // Another kind of drive has other parameters.
            std::printf("  %u.%02u  %-31s %10s (%d)\n", group, number, parameter.name, "-", result);
        }
    }
}

void PrintAlarms(short zelNo, unsigned short axis)
{
    std::printf("\n  alarm  sub  data\n");
    int shown = 0;
    for (unsigned short index = 0; index < 15; ++index) {
        unsigned short number = 0;
        unsigned short subNumber = 0;
        unsigned short data = 0;
        Check(zelQ_AlarmListGet(zelNo, axis, index, &number, &subNumber, &data),
              "zelQ_AlarmListGet");
        if (number == 0) continue;
        std::printf("  %5d  %3d  %4d\n", number, subNumber, data);
        ++shown;
    }
    if (shown == 0) std::printf("  none\n");
}

/// A history to show: a drive from the box has none.
void LetAlarmsHappen(lumosim::Server& simulator, int axis)
{
    simulator.With([axis](lumosim::Controller& controller) {
        controller.Advance(std::chrono::seconds(12));
        controller.AxisAt(axis).RaiseAlarm(lumosim::kFollowingErrorAlarm);
        controller.Advance(std::chrono::seconds(30));
        controller.AxisAt(axis).RaiseAlarm(lumosim::kOverTravelPositiveAlarm);
    });
}

} // namespace

int main(int argc, char** argv)
{
    unsigned short axis = 0;
    example::Target target(argc, argv, "Shows the parameters and alarms of a servo drive.",
                           {{"--axis", "Axis of the drive", &axis, 0, 31}});
    try {
        target.Connect();
        const short zelNo = target.Number();
        // Drives take their time to answer; the time-outs at start are short.
        Check(zelQ_TMOSet(zelNo, 500, 500, 500), "zelQ_TMOSet");
        if (target.IsSimulated() && axis < target.SimulatorConfig().controller.axes) {
            LetAlarmsHappen(target.Simulator(), axis);
        }
        PrintIdentification(zelNo, axis);
        PrintMonitors(zelNo, axis);
        PrintParameters(zelNo, axis);
        PrintAlarms(zelNo, axis);
        zelQ_Disconnect(zelNo);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\ndrive_parameters: %s\n", error.what());
        return 1;
    }
    return 0;
}
