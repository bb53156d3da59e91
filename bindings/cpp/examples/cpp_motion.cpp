// Homes an axis, jogs it, moves it together with another, and shows where all of them are.
//
//   cpp_motion 192.168.0 3         the controller at 192.168.0.3
//   cpp_motion 127.0.0 3 5020      lumo-sim --number 3 --port 5020
//
// On a real machine it turns axes 0 and 1 by some ten thousand pulses: see that nothing is in the
// way. Ctrl-C stops them.

#include "target.hpp"

int main(int argc, char** argv)
try {
    zelq::catchInterrupts();
    const zelq::Controller machine = connectTo(argc, argv);
    const zelq::Axis x = machine.axis(0).units(0.001).speed(40, 200, 200); // mm, mm/s, mm/s²
    machine.axis(1).units(0.001).speed(25, 200, 200);
    const zelq::ServosOn power(machine.axes({0, 1}));

    std::printf("homing\n");
    x.home().wait();

    std::printf("jogging for 30 mm\n");
    std::fflush(stdout);
    {
        const zelq::Motion jog = x.jog(zelq::Direction::positive); // ends with this block
        while (x.position() < 30.0) {
            if (zelq::interrupted()) throw zelq::Interrupted();
        }
    }

    std::printf("moving\n");
    machine.axes({0, 1}).moveTo({60.0, -30.0}).wait();
    x.moveTo(0.0).wait();

    const zelq::Status status = machine.status();
    for (const unsigned short axis : status.servoNumbers()) {
        std::printf("axis %d: %.3f\n", axis, double{status.servo[axis].commandPosition});
    }
    return 0;
} catch (const zelq::Error& error) {
    return tell(error);
}
