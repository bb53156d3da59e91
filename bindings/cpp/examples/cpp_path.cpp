// Mills a slot: down along a helix, round its outline five times, up again; one continuous path.
//
//   cpp_path 192.168.0 3           the controller at 192.168.0.3
//   cpp_path 127.0.0 3 5020        lumo-sim --number 3 --port 5020
//
// On a real machine it moves axes 0, 1 and 2 by up to 60, 20 and 5 mm from 0: see that nothing is
// in the way. Ctrl-C stops them on the path.

#include "target.hpp"

#include <array>

int main(int argc, char** argv)
try {
    zelq::catchInterrupts();
    const zelq::Controller mill = connectTo(argc, argv);
    constexpr std::array<unsigned short, 3> kAxes = {0, 1, 2};
    for (const unsigned short axis : kAxes) {
        mill.axis(axis).units(0.001).speed(50, 500, 500);
    }
    const zelq::ServosOn power(mill.axes(kAxes));

    zelq::Path slot = mill.path(kAxes);
    slot.speed(80, 600, 600).line({10, 0, 0}).dwell(std::chrono::milliseconds(200));
    slot.speed(30, 600, 600).corner(30).helix({10, 10}, 720, -5); // two turns, 5 mm down
    for (int round = 0; round < 5; ++round) {
        slot.line({50, 0}).arc({50, 10}, 180).line({10, 20}).arc({10, 10}, 180);
    }
    slot.speed(80, 600, 600).corner(0).line({10, 0, 0});

    std::printf("%zu segments\n", slot.size());
    std::fflush(stdout);
    slot.run();
    std::printf("done, at x %.3f y %.3f z %.3f\n", mill.axis(0).position(), mill.axis(1).position(),
                mill.axis(2).position());
    return 0;
} catch (const zelq::Error& error) {
    return tell(error);
}
