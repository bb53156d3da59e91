#include "cpp_binding.h"

#include "library.h"
#include "peer.h"
#include "subject.h"
#include "system.h"
#include "zelq.hpp"

#include <cstdio>

namespace bench {

void MeasureCppBinding()
{
    constexpr int kNumber = 1;
    constexpr int kAxes = 32;
    constexpr int kChunks = 400;
    constexpr int kProcessor = 0;
    enum Order : std::size_t { kMove, kCppMove, kSnapshot, kCppSnapshot };

    const Peer peer(kNumber, kAxes, kProcessor);
    PinThisThread(kProcessor);
    zelq::Link link;
    link.port = peer.Port();
    link.receive = std::chrono::seconds(1);
    const zelq::Controller controller({127, 0, 0}, kNumber, link);
    const zelq::Axis axis = controller.axis(3);
    ControllerStatus status{};

    std::vector<Subject> subjects = {
        {"`zelQ_MoveAbs`", [] { MoveAbs(kNumber); }, kMove},
        {"**`Axis::moveTo`**", [&] { axis.moveTo(1000.5); }, kMove},
        {"`zelQ_GetAllStatus`, 32 axes", [] { Snapshot(kNumber); }, kSnapshot},
        {"**`Controller::read`**", [&] { controller.read(status); }, kSnapshot},
    };
    Interleave(subjects, kChunks);
    std::printf("\n### The C++ binding, both ends on one processor\n\n"
                "| | p50, µs | to the C call |\n|---|---|---|\n");
    for (const Subject& subject : subjects) {
        const Subject& base = subjects[subject.base];
        std::printf("| %s | %.1f |", subject.name.c_str(), Value(subject, kUsual));
        if (&subject != &base)
            std::printf(" %.2f |\n", Ratio(subject, base, kUsual));
        else
            std::printf(" |\n");
    }
}

} // namespace bench
