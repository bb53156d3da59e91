// A part, milled along one continuous path: a helix goes down into a bore, lines and arcs follow
// the outline. Draws where the axes were, and how fast, as a picture (SVG).
//
//   path                                     a simulated controller inside the program
//   path --network 192.168.0 --controller 3  the real one at 192.168.0.3
//
// On a real machine it moves axes 0, 1 and 2 by up to 120, 70 and 14 mm (1 pulse is taken as
// 1 micrometre) from where they stand: see that nothing is in the way.

#include "path/figure.h"
#include "path/picture.h"
#include "support/console.h"
#include "support/target.h"
#include "zelq.h"
#include "zelq/stop.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using example::Figure;
using example::Form;
using example::PathSample;
using example::Place;
using example::Segment;

constexpr double kUnitPerPulse = 0.001; // 1 pulse is 1 micrometre, user units are millimetres
constexpr double kAcceleration = 700;   // millimetres per second squared
constexpr short kMap = 0;
constexpr std::array<unsigned short, 3> kAxes = {0, 1, 2};

void Check(short result, const char* call)
{
    if (result == ZELQ_OK) return;
    throw std::runtime_error(std::string(call) + " gives " + std::to_string(result));
}

class Milling
{
  public:
    Milling(short zelNo, const Figure& figure) : zelNo_(zelNo), figure_(figure) {}

    void SetUp()
    {
        for (const unsigned short axis : kAxes) {
            Check(zelQ_UnitPerPulseSet(zelNo_, static_cast<short>(axis), kUnitPerPulse),
                  "zelQ_UnitPerPulseSet");
            Check(zelQ_ServoOn(zelNo_, axis, 1), "zelQ_ServoOn");
        }
        Check(zelQ_IMapSet(zelNo_, kMap, kAxes.size(), kAxes.data()), "zelQ_IMapSet");
        Check(zelQ_CP_PreRegUseSet(zelNo_, 1), "zelQ_CP_PreRegUseSet");
        origin_ = Look(false).at;
    }

    /// Keeps the pre-registers filled and looks at the axes until the path has ended.
    void Run()
    {
        constexpr auto kPeriod = std::chrono::milliseconds(4);
        example::LiveLines live;
        auto next = std::chrono::steady_clock::now();
        bool moving = true;
        while (moving || sent_ < figure_.Segments().size()) {
            if (zelq::interrupted()) throw std::runtime_error("interrupted");
            Feed();
            Sample();
            moving = moving_;
            live.Show({Progress()}, !moving);
            next += kPeriod;
            std::this_thread::sleep_until(next);
        }
    }

    void SwitchOff() const
    {
        for (const unsigned short axis : kAxes) {
            Check(zelQ_ServoOn(zelNo_, axis, 0), "zelQ_ServoOn");
        }
        Check(zelQ_CP_PreRegUseSet(zelNo_, 0), "zelQ_CP_PreRegUseSet");
    }

    [[nodiscard]] const std::vector<PathSample>& Samples() const { return samples_; }

    /// How far the axes were off the commanded path at the most, in micrometres.
    [[nodiscard]] double LargestDistance() const
    {
        const std::vector<Place> path = figure_.Trace(0.1);
        double largest = 0;
        for (const PathSample& sample : samples_) {
            double nearest = 1e9;
            for (std::size_t i = 1; i < path.size(); ++i) {
                nearest = std::min(nearest, DistanceTo(path[i - 1], path[i], sample.at));
            }
            largest = std::max(largest, nearest);
        }
        return largest * 1000;
    }

  private:
    static double DistanceTo(Place from, Place to, Place at)
    {
        const Place way = {to.x - from.x, to.y - from.y, to.z - from.z};
        const double square = way.x * way.x + way.y * way.y + way.z * way.z;
        const double along =
            (at.x - from.x) * way.x + (at.y - from.y) * way.y + (at.z - from.z) * way.z;
        const double part = square > 0 ? std::clamp(along / square, 0.0, 1.0) : 0;
        return example::Distance(
            at, {from.x + way.x * part, from.y + way.y * part, from.z + way.z * part});
    }

    void Feed()
    {
        if (sent_ == figure_.Segments().size()) return;
        std::array<unsigned short, 16> remain{};
        Check(zelQ_CP_PreRegGetRemain(zelNo_, remain.data()), "zelQ_CP_PreRegGetRemain");
        for (int room = remain[kMap]; room > 0 && sent_ < figure_.Segments().size(); --room) {
            Send(figure_.Segments()[sent_]);
            ++sent_;
        }
    }

    /// Each form of the geometry by the call that takes it so.
    void Send(const Segment& segment)
    {
        InterpSpeedProfile speed{0,
                                 0,
                                 segment.startSpeed,
                                 kAcceleration,
                                 segment.speed,
                                 kAcceleration,
                                 segment.endSpeed};
        const Place to = OnMachine(segment.to);
        const std::array<double, 3> target = {to.x, to.y, to.z};
        const Place middle = OnMachine({segment.center.x, segment.center.y, 0});
        const std::array<double, 2> center = {middle.x, middle.y};
        const Place half = OnMachine(segment.At(0.5));
        const std::array<double, 2> pass = {half.x, half.y};
        const double radius =
            std::hypot(segment.from.x - segment.center.x, segment.from.y - segment.center.y);
        const unsigned short direction = segment.degrees < 0 ? 1 : 0;
        switch (segment.form) {
        case Form::kLine:
            Check(zelQ_ILinear(zelNo_, kMap, 0, 3, target.data(), &speed), "zelQ_ILinear");
            break;
        case Form::kCenterAngle:
            Check(zelQ_IArc(zelNo_, kMap, 0, center.data(), segment.degrees, &speed), "zelQ_IArc");
            break;
        case Form::kCenterEnd:
            Check(zelQ_IArcCE(zelNo_, kMap, 0, center.data(), target.data(), direction, &speed),
                  "zelQ_IArcCE");
            break;
        case Form::kPassEnd:
            Check(zelQ_IArcPE(zelNo_, kMap, 0, pass.data(), target.data(), &speed), "zelQ_IArcPE");
            break;
        case Form::kRadiusEnd:
            Check(zelQ_IArcRE(zelNo_, kMap, radius, 0, 0, target.data(), direction, &speed),
                  "zelQ_IArcRE");
            break;
        case Form::kHelix:
            Check(zelQ_IHelical(zelNo_, kMap, 0, center.data(), segment.degrees, 1, to.z, &speed),
                  "zelQ_IHelical");
            break;
        }
    }

    /// The figure begins where the axes stood.
    [[nodiscard]] Place OnMachine(Place place) const
    {
        return {origin_.x + place.x, origin_.y + place.y, origin_.z + place.z};
    }

    PathSample Look(bool fromOrigin)
    {
        Check(zelQ_GetAllStatus(zelNo_, &status_), "zelQ_GetAllStatus");
        moving_ = false;
        std::array<double, 3> at{};
        double square = 0;
        for (std::size_t i = 0; i < kAxes.size(); ++i) {
            const ServoStatus& servo = status_.servo[kAxes[i]];
            if (servo.alarm != 0) throw std::runtime_error("an axis has an alarm");
            moving_ = moving_ || servo.inMotion != 0;
            at[i] = servo.encoderPosition;
            square += servo.velocity * servo.velocity;
        }
        const Place zero = fromOrigin ? origin_ : Place{};
        return {{at[0] - zero.x, at[1] - zero.y, at[2] - zero.z}, std::sqrt(square), 0};
    }

    void Sample()
    {
        const bool wasMoving = moving_;
        PathSample sample = Look(true);
        for (const unsigned short axis : kAxes) {
            const int cause = status_.servo[axis].stopCause;
            if (wasMoving && !moving_ && cause != 0) {
                throw std::runtime_error("stopped before the end, by cause " +
                                         std::to_string(cause));
            }
        }
        if (!samples_.empty()) {
            const PathSample& last = samples_.back();
            sample.way = last.way + example::Distance(last.at, sample.at);
        }
        samples_.push_back(sample);
    }

    [[nodiscard]] std::string Progress() const
    {
        const PathSample& now = samples_.back();
        std::array<char, 128> line{};
        std::snprintf(line.data(), line.size(),
                      "  segments sent %3zu of %zu   x %8.3f  y %8.3f  z %8.3f mm   %6.1f mm/s",
                      sent_, figure_.Segments().size(), now.at.x, now.at.y, now.at.z, now.speed);
        return line.data();
    }

    short zelNo_;
    const Figure& figure_;
    ControllerStatus status_{};
    Place origin_;
    bool moving_ = false;
    std::size_t sent_ = 0;
    std::vector<PathSample> samples_;
};

void Save(const std::string& file, const std::string& picture)
{
    std::ofstream out(file, std::ios::binary);
    out << picture;
    out.close();
    if (!out) throw std::runtime_error("cannot write " + file);
    std::printf("picture: %s\n", std::filesystem::absolute(file).string().c_str());
}

} // namespace

int main(int argc, char** argv)
{
    std::string file = "path.svg";
    double speed = 100;
    example::Target target(argc, argv,
                           "Mills a part on axes 0, 1 and 2 and draws a picture of the path.",
                           {{"--output", "Where the picture goes", &file},
                            {"--speed", "Cutting speed, millimetres per second", &speed, 1, 200}});
    zelq::catchInterrupts();
    try {
        target.Connect();
        const Figure figure = Figure::Plate(speed);
        Milling milling(target.Number(), figure);
        zelq::StopGuard guard(target.Number(), {kAxes[0], kAxes[1], kAxes[2]});
        milling.SetUp();
        milling.Run();
        guard.release();
        milling.SwitchOff();
        std::array<char, 160> facts{};
        std::snprintf(facts.data(), facts.size(),
                      "%zu segments, %.0f mm, sampled %zu times; never more than %.1f µm off the "
                      "commanded path",
                      figure.Segments().size(), figure.Length(), milling.Samples().size(),
                      milling.LargestDistance());
        std::printf("%s\n", facts.data());
        Save(file, example::DrawPicture(figure, milling.Samples(),
                                        {"A part along one continuous path", facts.data()}));
        zelQ_Disconnect(target.Number());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\npath: %s\n", error.what());
        return zelq::interrupted() ? 130 : 1;
    }
    return 0;
}
