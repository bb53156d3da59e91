// Uses every member of the C++ binding, so that each is compiled: as C++17 with the view that then
// stands in for std::span, and by other compilers than ours. It is not run.
#include "zelq.hpp"

#include <type_traits>
#include <vector>

using namespace std::chrono_literals;

static_assert(sizeof(zelq::Axis) == 4);
static_assert(!std::is_copy_constructible_v<zelq::Controller>);
static_assert(std::is_nothrow_move_constructible_v<zelq::Controller>);
static_assert(std::is_base_of_v<std::runtime_error, zelq::MotionError>);
#if __cplusplus < 202002L
static_assert(!std::is_constructible_v<zelq::Span<unsigned short>, const std::vector<short>&>);
#endif

void useEveryMember();

void useEveryMember()
{
    zelq::Link link;
    link.receive = 1s;
    zelq::Controller first({127, 0, 0}, 1, link);
    zelq::Controller machine = std::move(first);
    first = std::move(machine);

    const zelq::Axis axis = first.axis(0).units(0.001).speed(1, 2, 3, 0, zelq::Ramp::smooth);
    axis.servoOn().servoOff();
    axis.moveTo(1).wait(2s);
    axis.moveBy(axis.position()).wait();
    zelq::Homing homing;
    homing.to = zelq::Homing::To::stopper;
    axis.home(homing).wait(1min);
    zelq::Motion jog = axis.jog(zelq::Direction::negative);
    if (!jog.done()) jog.stop();
    axis.stop();
    axis.stopSuddenly();
    if (axis.alarm(1).number == 0 && axis.status().alarm == 0) axis.resetAlarm();

    const std::vector<unsigned short> numbers = {0, axis.number()};
    std::vector<double> places = {1, 2};
    const zelq::Axes axes = first.axes(numbers);
    const zelq::ServosOn power(first.axes({0, 1}));
    axes.moveTo(places).wait();
    axes.moveTo({1, 2}).wait();
    axes.servosOn(axes.controller() == 1);
    axes.stop();

    zelq::Path path = first.path(numbers, 1);
    path.speed(1, 2, 3).corner(1).line(places).line({1, 2}).arc({0, 0}, 90).dwell(1ms);
    path.helix({0, 0}, 90, 1).run(path.size() * 1s);

    zelq::Status status = first.status();
    first.read(status);
    for (const unsigned short number : status.servoNumbers()) {
        first.output(number, !status.inputSlaveNumbers().empty());
    }
    for (std::size_t i = 0; i < status.outputSlaveNumbers().size(); ++i) {
        first.output(status.outputSlaveNumbers()[i], false);
    }
    zelq::catchInterrupts();
    zelq::interrupt(zelq::interrupted());
    zelq::StopGuard guard(first.number(), {0, 1});
    guard.release();
}
