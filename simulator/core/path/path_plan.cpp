#include "path_plan.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumosim {

namespace {

// The speed that is reached from `speed` on `way` with the given rate; the same braking.
double Reach(const SpeedProfile& profile, double speed, double way, std::int32_t rate)
{
    if (rate == 0) return std::numeric_limits<double>::infinity();
    // Smoothed ramps have half of their rate on the mean.
    const double mean = profile.shape == SpeedProfile::kSmooth ? rate / 2.0 : rate;
    return std::sqrt(speed * speed + 2 * mean * way);
}

double WayLeft(const std::deque<PathSection>& sections, std::size_t index, const PathState& state)
{
    return sections[index].course.Length() - (index == 0 ? state.way : 0);
}

// What a standing section begins with.
double Begin(const PathSection& section, double speed)
{
    return speed > 0 ? speed : std::min(section.speeds.start, section.speeds.drive);
}

// The speeds with which the sections are left, in whole pulses/s.
std::vector<std::int32_t> ExitSpeeds(const std::deque<PathSection>& sections,
                                     const PathState& state)
{
    std::vector<std::int32_t> exits(sections.size());
    // From the end: no faster than all that lies behind can take.
    for (std::size_t i = sections.size(); i-- > 0;) {
        const SpeedProfile& speeds = sections[i].speeds;
        double exit = std::min(speeds.stop, speeds.drive);
        if (i + 1 < sections.size()) {
            const SpeedProfile& next = sections[i + 1].speeds;
            exit = std::min<double>(exit, std::min(next.start, next.drive));
            exit = std::min(exit,
                            Reach(next, exits[i + 1], sections[i + 1].course.Length(), next.dec));
        }
        exits[i] = static_cast<std::int32_t>(exit);
    }
    // From the front: no faster than the way until there lets it become.
    double speed = state.speed;
    for (std::size_t i = 0; i < sections.size(); ++i) {
        const SpeedProfile& speeds = sections[i].speeds;
        const double fastest =
            Reach(speeds, Begin(sections[i], speed), WayLeft(sections, i, state), speeds.acc);
        exits[i] = static_cast<std::int32_t>(std::min<double>(exits[i], fastest));
        speed = exits[i];
    }
    return exits;
}

// A deceleration that does on the way; 0, "at once", where no number is large enough.
std::int32_t HardEnough(const SpeedProfile& profile, double from, double to, double way)
{
    const double factor = profile.shape == SpeedProfile::kSmooth ? 2 : 1;
    const double dec = std::ceil((from * from - to * to) / (2 * way) * factor);
    return dec < std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(dec) : 0;
}

PathPlan::Piece PlanPiece(const PathSection& section, const PathState& state, std::int32_t exit)
{
    const double length = section.course.Length();
    SpeedProfile profile = section.speeds;
    profile.stop = exit;
    // A section that has to end slower than it was told at first is braked harder.
    if (state.speed > Reach(profile, exit, length - state.way, profile.dec)) {
        profile.dec = HardEnough(profile, state.speed, exit, length - state.way);
    }
    const MotionState from{state.way, state.speed, state.acceleration};
    return {section.course, PlanMove(profile, from, length), 0, exit};
}

void Append(std::vector<PathPlan::Piece>& pieces, PathPlan::Piece piece)
{
    if (!pieces.empty()) piece.begin = pieces.back().begin + pieces.back().law->Duration();
    pieces.push_back(std::move(piece));
}

} // namespace

std::size_t PathPlan::PieceAt(double seconds) const
{
    std::size_t piece = 0;
    while (piece + 1 < pieces_.size() && seconds >= EndOf(piece)) {
        ++piece;
    }
    return piece;
}

PathState PathPlan::StateAt(double seconds) const
{
    const Piece& piece = pieces_[PieceAt(seconds)];
    const MotionState state = piece.law->At(seconds - piece.begin);
    return {state.position, state.velocity, state.acceleration};
}

MotionState PathPlan::AxisAt(std::size_t axis, double seconds) const
{
    const Piece& piece = pieces_[PieceAt(seconds)];
    const MotionState along = piece.law->At(seconds - piece.begin);
    const Course::Place place = piece.course.At(axis, along.position);
    if (seconds < 0) return {place.position, 0, 0};
    return {place.position, place.slope * along.velocity,
            place.slope * along.acceleration + place.bend * along.velocity * along.velocity};
}

std::optional<double> PathPlan::TimeOfReaching(std::size_t axis, double position, int direction,
                                               double from) const
{
    for (std::size_t i = PieceAt(from); i < pieces_.size(); ++i) {
        const Piece& piece = pieces_[i];
        const double start = std::max(0.0, from - piece.begin);
        const double gone = piece.law->At(start).position;
        const std::optional<double> way =
            piece.course.WayOfReaching(axis, position, direction, gone);
        if (!way) continue;
        const std::optional<double> time = piece.law->TimeOfReaching(*way, 1, start);
        if (time) return piece.begin + *time;
    }
    return std::nullopt;
}

std::shared_ptr<const PathPlan> PlanPath(const std::deque<PathSection>& sections,
                                         const PathState& state, const PathPlan::Piece* current)
{
    const std::vector<std::int32_t> exits = ExitSpeeds(sections, state);
    std::vector<PathPlan::Piece> pieces;
    PathState next = state;
    for (std::size_t i = 0; i < sections.size(); ++i) {
        const bool goesOn = i == 0 && current != nullptr && current->exitSpeed == exits[i];
        Append(pieces, goesOn ? *current : PlanPiece(sections[i], next, exits[i]));
        next = {0, static_cast<double>(exits[i]), 0};
    }
    return std::make_shared<PathPlan>(std::move(pieces));
}

std::shared_ptr<const PathPlan> PlanPathStop(const std::deque<PathSection>& sections,
                                             const PathState& state)
{
    std::vector<PathPlan::Piece> pieces;
    PathState next = state;
    for (const PathSection& section : sections) {
        SpeedProfile profile = section.speeds;
        profile.stop = 0;
        const auto law = PlanStop(profile, {next.way, next.speed, next.acceleration});
        const double length = section.course.Length();
        if (law->At(law->Duration()).position <= length) {
            Append(pieces, {section.course, law, 0, 0});
            break;
        }
        const double left = next.speed * next.speed -
                            std::pow(Reach(profile, 0, length - next.way, profile.dec), 2);
        const auto exit = static_cast<std::int32_t>(std::sqrt(std::max(0.0, left)));
        Append(pieces, PlanPiece(section, next, exit));
        if (exit == 0) break;
        next = {0, static_cast<double>(exit), 0};
    }
    return std::make_shared<PathPlan>(std::move(pieces));
}

} // namespace lumosim
