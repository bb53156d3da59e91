#include "growth.h"

#include "clients.h"
#include "subject.h"

#include <cstdio>
#include <deque>
#include <fstream>
#include <iterator>

namespace bench {

namespace {

constexpr int kAxes[] = {1, 4, 8, 16, 32};
constexpr std::size_t kKinds = 3; // of clients: raw, bare, the library

void AddSubjects(std::vector<Subject>& subjects, Clients& clients, int axes)
{
    const std::size_t base = subjects.size();
    const Exchange exchange = SnapshotExchange(axes);
    subjects.push_back({"raw", [&clients, exchange] { clients.raw.Run(exchange); }, base});
    subjects.push_back({"bare", [&clients, exchange] { clients.bare.Run(exchange); }, base});
    subjects.push_back({"library", [&clients] { Snapshot(clients.number); }, base});
}

/// Nanoseconds that each further axis takes, by the line that fits best.
double EachFurther(const std::vector<Subject>& subjects, std::size_t kind)
{
    double count = 0;
    double axesSum = 0;
    double timeSum = 0;
    double squares = 0;
    double products = 0;
    for (std::size_t i = 0; i < std::size(kAxes); ++i) {
        const double axes = kAxes[i];
        const double time = Value(subjects[kKinds * i + kind], kUsual);
        ++count;
        axesSum += axes;
        timeSum += time;
        squares += axes * axes;
        products += axes * time;
    }
    constexpr double kNanoseconds = 1000; // in a microsecond
    return kNanoseconds * (count * products - axesSum * timeSum) /
           (count * squares - axesSum * axesSum);
}

} // namespace

void MeasureGrowth(const std::string& path)
{
    PinThisThread(0);
    std::deque<Clients> clients;
    std::vector<Subject> subjects;
    for (const int axes : kAxes) {
        const int number = static_cast<int>(clients.size()) + 1;
        AddSubjects(subjects, clients.emplace_back(number, axes, 0), axes);
    }
    Interleave(subjects, 200);
    std::printf("\n### Growth by axes, on one processor\n\n"
                "| axes | raw, µs | system calls alone, µs | `zelQ_GetAllStatus`, µs | to raw |\n"
                "|---|---|---|---|---|\n");
    std::ofstream data(path);
    data << "axes raw bare library\n";
    for (std::size_t i = 0; i < std::size(kAxes); ++i) {
        const Subject* subject = &subjects[kKinds * i];
        std::printf("| %d |", kAxes[i]);
        data << kAxes[i];
        for (std::size_t kind = 0; kind < kKinds; ++kind) {
            const double value = Value(subject[kind], kUsual);
            std::printf(" %.2f |", value);
            data << ' ' << value;
        }
        std::printf(" %.2f |\n", Ratio(subject[kKinds - 1], subject[0], kUsual));
        data << '\n';
    }
    const double raw = EachFurther(subjects, 0);
    const double all = EachFurther(subjects, kKinds - 1);
    std::printf(
        "\nEach further axis takes %.0f ns: %.0f in the raw exchange, %.0f in the library.\n", all,
        raw, all - raw);
}

} // namespace bench
