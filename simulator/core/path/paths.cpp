#include "paths.h"

#include "../axis_list.h"
#include "../controller.h"
#include "../families.h"
#include "../stop.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lumosim {

namespace {

constexpr Word kSetMap = 0x0070;
constexpr Word kLinear = 0x0072;
constexpr Word kArc = 0x0073;
constexpr Word kHelix = 0x0074;
constexpr Word kUsePreRegisters = 0x01C1;
constexpr Word kRemainingPreRegisters = 0x01C2;

constexpr Word kUseRegister = 0xF417;
constexpr Word kMapRegisters = 0xF41A;
constexpr std::size_t kRegistersPerMap = 9;

constexpr std::size_t kArcAxes = 2;
constexpr std::size_t kHelixAxes = 3;

// Bit 0 of the mode: coordinates are distances from where the section begins.
constexpr Word kRelative = 1;

SpeedProfile ReadSpeeds(CommandReader& in, Word shape)
{
    SpeedProfile speeds;
    speeds.shape = shape;
    speeds.start = in.NextLong();
    speeds.acc = in.NextLong();
    speeds.drive = in.NextLong();
    speeds.dec = in.NextLong();
    speeds.stop = in.NextLong();
    return speeds;
}

} // namespace

// Turns a command's coordinates into places of the axes.
struct Paths::Target
{
    Map* map = nullptr;
    std::vector<std::int64_t> origins; // of the position counters
    PathPoint from{};
    bool relative = false;

    [[nodiscard]] double Place(std::size_t axis, std::int32_t coordinate) const
    {
        if (relative) return from[axis] + coordinate;
        return static_cast<double>(origins[axis] + coordinate);
    }

    [[nodiscard]] PlanePoint PlaceInPlane(std::int32_t x, std::int32_t y) const
    {
        return {Place(0, x), Place(1, y)};
    }
};

struct Paths::Shape
{
    enum Form : Word { kCenterAngle, kCenterEnd, kPassEnd, kRadiusEnd };

    Word form = 0;
    std::array<std::int32_t, 4> values{}; // two points, or what stands in their place
    std::int32_t height = 0;
    Word direction = 0;

    [[nodiscard]] bool Valid() const
    {
        if (form > kRadiusEnd || direction > 1) return false;
        if (form == kCenterAngle) return values[2] >= 0;
        return form != kRadiusEnd || values[1] == 0 || values[1] == 1;
    }
};

Paths::Paths(Controller& controller) : controller_(controller)
{
    for (std::size_t i = 0; i < kMaps; ++i) {
        maps_.push_back({{}, Path(controller)});
    }
}

void Paths::AddCommands(CommandTable& table)
{
    table.Add(kSetMap, "set map", [this](auto& in, auto&) { return SetMap(in); });
    table.Add(kLinear, "line", [this](auto& in, auto&) { return Line(in); });
    table.Add(kArc, "arc", [this](auto& in, auto&) { return ArcOrHelix(in, false); });
    table.Add(kHelix, "helix", [this](auto& in, auto&) { return ArcOrHelix(in, true); });
    table.Add(kUsePreRegisters, "use pre-registers",
              [this](auto& in, auto&) { return UsePreRegisters(in); });
    table.Add(kRemainingPreRegisters, "pre-registers",
              [this](auto& in, auto& reply) { return ShowRemaining(in, reply); });
    controller_.Get<Stops>().SetPathStopper(
        [this](Word map, StopMode mode) { return StopMap(map, mode); });
}

void Paths::AddRegisters(RegisterMap& map)
{
    map.AddBlock(kUseRegister, 1, [this](std::span<Word> out) { out[0] = usePreRegisters_; });
    map.AddBlock(kMapRegisters, static_cast<Word>(kMaps * kRegistersPerMap),
                 [this](std::span<Word> out) { ShowMaps(out); });
}

Nanoseconds Paths::NextEvent() const
{
    Nanoseconds next = kNever;
    for (const Map& map : maps_) {
        next = std::min(next, map.path.NextEvent());
    }
    return next;
}

void Paths::AdvanceTo(Nanoseconds /*now*/)
{
    for (Map& map : maps_) {
        map.path.Follow();
    }
}

std::size_t Paths::PreRegistered(Word number) const
{
    return number < kMaps ? maps_[number].path.Waiting() : 0;
}

void Paths::PowerUp()
{
    for (Map& map : maps_) {
        map.path.Clear();
        map.axes.clear();
    }
    usePreRegisters_ = 0;
}

Result Paths::SetMap(CommandReader& in)
{
    const Word number = in.NextWord();
    const Word count = in.NextWord();
    if (count > kPathAxes) return Result::kMalformed;
    std::vector<Word> axes;
    AxisListCheck check(controller_);
    for (Word i = 0; i < count; ++i) {
        axes.push_back(in.NextWord());
        check.Take(axes.back());
    }
    if (!in.Finished()) return Result::kMalformed;
    if (number >= kMaps) return Result::kOutOfRange;
    if (check.Verdict() != Result::kDone) return check.Verdict();

    Map& map = maps_[number];
    map.path.Follow();
    if (map.path.Running()) return Result::kBusy;
    map.axes = axes;
    return Result::kDone;
}

// Two numbers of 8 bits in each register, the first one low: the count, then the axes.
void Paths::ShowMaps(std::span<Word> out) const
{
    for (std::size_t i = 0; i < kMaps; ++i) {
        std::array<unsigned, 2 * kRegistersPerMap> bytes{};
        bytes[0] = static_cast<unsigned>(maps_[i].axes.size());
        std::ranges::copy(maps_[i].axes, bytes.begin() + 1);
        for (std::size_t k = 0; k < kRegistersPerMap; ++k) {
            out[i * kRegistersPerMap + k] =
                static_cast<Word>(bytes[2 * k] | bytes[2 * k + 1] << 8U);
        }
    }
}

Result Paths::FindTarget(Word number, std::size_t axes, Target& target)
{
    if (number >= kMaps) return Result::kOutOfRange;
    Map& map = maps_[number];
    if (map.axes.empty()) return Result::kEmptyMap;
    if (axes > map.axes.size()) return Result::kMapTooShort;

    map.path.Follow();
    if (map.path.Running()) {
        if (usePreRegisters_ == 0 || map.path.Braking()) return Result::kBusy;
        if (Remaining(map) == 0) return Result::kPreRegistersFull;
    }
    const Result check = map.path.CheckAxes(map.axes, axes);
    if (check != Result::kDone) return check;

    target.map = &map;
    target.from = map.path.Begin(map.axes);
    for (std::size_t i = 0; i < axes; ++i) {
        const Axis& axis = controller_.AxisAt(map.axes[i]);
        target.origins.push_back(std::llround(axis.Physical().position) - axis.CommandPosition());
    }
    return Result::kDone;
}

Result Paths::Start(const Target& target, const PathSection& section)
{
    Map& map = *target.map;
    const Result check = map.path.CheckLimits(map.axes, section);
    if (check == Result::kDone) map.path.Add(map.axes, section);
    return check;
}

// With a U axis the last coordinate comes along, and does not count for the speeds.
Result Paths::Line(CommandReader& in)
{
    const Word number = in.NextWord();
    const Word withU = in.NextWord();
    const Word mode = in.NextWord();
    const SpeedProfile speeds = ReadSpeeds(in, mode >> 1U);
    const std::size_t count = in.NextWord();
    if (count < 1 || count > kPathAxes) return Result::kMalformed;
    std::vector<std::int32_t> coordinates;
    for (std::size_t i = 0; i < count; ++i) {
        coordinates.push_back(in.NextLong());
    }
    if (!in.Finished()) return Result::kMalformed;
    if (withU > 1 || !speeds.Valid()) return Result::kOutOfRange;
    Target target;
    target.relative = (mode & kRelative) != 0;
    const Result result = FindTarget(number, count, target);
    if (result != Result::kDone) return result;

    PathPoint to = target.from;
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = target.Place(i, coordinates[i]);
    }
    const Course course = Course::Line(target.from, to, count - withU);
    return Start(target, {course, speeds, MotionKind::kLinear, count});
}

Result Paths::ArcOrHelix(CommandReader& in, bool helix)
{
    const Word number = in.NextWord();
    const unsigned mode = in.NextWord();
    // Above the shape, a helix tells whether its speeds are those along it.
    const unsigned shapeMask = helix ? 1U : 0x7FFFU;
    const unsigned along = helix ? mode >> 2U : 0U;
    const SpeedProfile speeds = ReadSpeeds(in, static_cast<Word>(mode >> 1U & shapeMask));
    Shape shape;
    shape.form = in.NextWord();
    for (std::int32_t& value : shape.values) {
        value = in.NextLong();
    }
    if (helix) shape.height = in.NextLong();
    shape.direction = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (along > 1 || !speeds.Valid() || !shape.Valid()) return Result::kOutOfRange;
    Target target;
    target.relative = (mode & kRelative) != 0;
    const std::size_t axes = helix ? kHelixAxes : kArcAxes;
    Result result = FindTarget(number, axes, target);
    if (result != Result::kDone) return result;

    Arc arc;
    PathPoint to = target.from;
    if (helix) to[2] = target.Place(2, shape.height);
    result = MakeArc(target, shape, arc, to);
    if (result != Result::kDone) return result;
    const Course course = Course::Along(arc, target.from, to, along == 1);
    return Start(target, {course, speeds, helix ? MotionKind::kHelical : MotionKind::kArc, axes});
}

Result Paths::MakeArc(const Target& target, const Shape& shape, Arc& arc, PathPoint& to)
{
    constexpr double kDegree = std::numbers::pi / 180;
    constexpr double kAnglesPerDegree = 10000;
    const PlanePoint from = {target.from[0], target.from[1]};
    const auto& values = shape.values;
    const PlanePoint point = target.PlaceInPlane(values[0], values[1]);
    const Turn turn = shape.direction == 0 ? Turn::kCounterClockwise : Turn::kClockwise;
    PlanePoint end = target.PlaceInPlane(values[2], values[3]);
    Result result = Result::kDone;
    switch (shape.form) {
    case Shape::kCenterAngle: {
        const double angle = values[2] / kAnglesPerDegree * kDegree;
        result = ArcByAngle(from, point, turn == Turn::kClockwise ? -angle : angle, arc, end);
        break;
    }
    case Shape::kCenterEnd:
        result = ArcAroundCenter(from, point, end, turn, arc);
        break;
    case Shape::kPassEnd:
        result = ArcThroughPoint(from, point, end, arc);
        break;
    default:
        result = ArcOfRadius(from, values[0], values[1] == 1, end, turn, arc);
        break;
    }
    to[0] = end.x;
    to[1] = end.y;
    return result;
}

Result Paths::StopMap(Word map, StopMode mode)
{
    if (map >= kMaps) return Result::kOutOfRange;
    if (maps_[map].axes.empty()) return Result::kEmptyMap;
    const StopCause cause =
        mode == StopMode::kSudden ? StopCause::kSuddenStopCommand : StopCause::kStopCommand;
    Path& path = maps_[map].path;
    path.Follow();
    for (const Word number : maps_[map].axes) {
        Axis* axis = controller_.FindAxis(number);
        if (axis != nullptr && !path.Leads(*axis)) axis->Stop(mode, cause);
    }
    path.Stop(mode, cause);
    return Result::kDone;
}

// A path that runs takes what waits behind it whatever is set meanwhile.
Result Paths::UsePreRegisters(CommandReader& in)
{
    const Word use = in.NextWord();
    if (!in.Finished()) return Result::kMalformed;
    if (use > 1) return Result::kOutOfRange;
    usePreRegisters_ = use;
    return Result::kDone;
}

Word Paths::Remaining(const Map& map) const
{
    if (usePreRegisters_ == 0) return 0;
    return static_cast<Word>(kPreRegisters - map.path.Waiting());
}

Result Paths::ShowRemaining(CommandReader& in, Reply& reply) const
{
    if (!in.Finished()) return Result::kMalformed;
    for (const Map& map : maps_) {
        reply.AddWord(Remaining(map));
    }
    return Result::kDone;
}

std::unique_ptr<Family> MakePaths(Controller& controller)
{
    return std::make_unique<Paths>(controller);
}

} // namespace lumosim
