#include "paths.h"

#include "../controller.h"
#include "../families.h"
#include "../names.h"
#include "../snapshot.h"
#include "../values.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace lumosim {

namespace {

constexpr Word kStopMap = 0x0041;
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

SpeedProfile WithShape(const SpeedProfile& speeds, unsigned shape)
{
    SpeedProfile profile = speeds;
    profile.shape = static_cast<Word>(shape);
    return profile;
}

struct StopMapFields
{
    Word map = 0;
    Word mode = 0;
};

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

// With a U axis the last coordinate comes along, and does not count for the speeds.
struct Paths::LineFields : SpeedProfile
{
    Word map = 0;
    Word withU = 0;
    Word mode = 0;
    std::int32_t coordinate = 0;
};

// Of an arc or a helix.
struct Paths::ArcFields : SpeedProfile
{
    enum Form : Word { kCenterAngle, kCenterEnd, kPassEnd, kRadiusEnd };

    Word map = 0;
    Word mode = 0;
    Word form = 0;
    std::int32_t first = 0; // two points, or what stands in their place
    std::int32_t second = 0;
    std::int32_t third = 0;
    std::int32_t fourth = 0;
    std::int32_t height = 0; // of a helix
    Word direction = 0;

    [[nodiscard]] bool Valid() const
    {
        if (form == kCenterAngle) return third >= 0;
        return form != kRadiusEnd || second == 0 || second == 1;
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
    table.Add<StopMapFields>(
        kStopMap, "stop map",
        {"map", &StopMapFields::map, UpTo(kMaps - 1), "mode", &StopMapFields::mode, UpTo(1)},
        [this](const StopMapFields& stop) { return StopMap(stop.map, SuddenIf(stop.mode == 0)); });
    table.AddList<OneWord>(kSetMap, "set map",
                           {"map", &OneWord::value, CountOf(0, kPathAxes), kAxis},
                           [this, &table](const OneWord& map, const auto& axes) {
                               std::vector<Axis*> servos;
                               const std::vector<Word> numbers = NumbersOf(axes);
                               return SetMap(map.value, numbers, table.FindAxes(numbers, servos));
                           });
    AddSections(table);
    table.Add<OneWord>(kUsePreRegisters, "use pre-registers", {"use", &OneWord::value, UpTo(1)},
                       [this](const OneWord& use) {
                           // A path that runs takes what waits behind it all the same.
                           usePreRegisters_ = use.value;
                       });
    table.Add(kRemainingPreRegisters, "pre-registers", {}, [this](const NoFields&, Reply& reply) {
        for (const Map& map : maps_) {
            reply.AddWord(Remaining(map));
        }
    });
}

void Paths::AddSections(CommandTable& table)
{
    table.AddList<LineFields>(
        kLinear, "line",
        {"map",
         &LineFields::map,
         "U axis",
         &LineFields::withU,
         "mode",
         &LineFields::mode,
         "start",
         &LineFields::start,
         "acceleration",
         &LineFields::acc,
         "drive",
         &LineFields::drive,
         "deceleration",
         &LineFields::dec,
         "end",
         &LineFields::stop,
         CountOf(1, kPathAxes),
         "coordinate",
         &LineFields::coordinate,
         kEach},
        [this](const LineFields& line, const auto& points) { return Line(line, points); });
    const auto addArc = [&](Word code, const char* name, bool helix) {
        using Fields = ArcFields;
        const Layout<Fields> plane("map", &Fields::map, "mode", &Fields::mode, "start",
                                   &Fields::start, "acceleration", &Fields::acc, "drive",
                                   &Fields::drive, "deceleration", &Fields::dec, "end",
                                   &Fields::stop, "form", &Fields::form, UpTo(Fields::kRadiusEnd),
                                   "value 1", &Fields::first, "value 2", &Fields::second, "value 3",
                                   &Fields::third, "value 4", &Fields::fourth);
        const auto whole = helix ? plane.With("height", &Fields::height) : plane;
        table.Add<Fields>(
            code, name, whole.With("direction", &Fields::direction, UpTo(1)),
            [this, helix](const Fields& fields) { return ArcOrHelix(fields, helix); });
    };
    addArc(kArc, "arc", false);
    addArc(kHelix, "helix", true);
}

void Paths::AddRegisters(RegisterMap& map)
{
    map.AddBlock(kUseRegister, 1, [this](std::span<Word> out) { out[0] = usePreRegisters_; });
    map.AddBlock(kMapRegisters, static_cast<Word>(kMaps * kRegistersPerMap),
                 [this](std::span<Word> out) { ShowMaps(out); });
}

// Maps without axes are left out. The first section is the one that runs.
void Paths::Describe(Json& snapshot) const
{
    snapshot["preRegisters"] = usePreRegisters_ == 1;
    Json& maps = snapshot["maps"] = Json::array();
    for (std::size_t i = 0; i < kMaps; ++i) {
        const auto& [axes, path] = maps_[i];
        if (axes.empty()) continue;
        Json sections = Json::array();
        for (const PathSection& section : path.Sections()) {
            sections.push_back({{"motion", NameOf(section.kind)},
                                {"axes", section.axes},
                                {"drive", section.speeds.drive}});
        }
        maps.push_back({{"map", i},
                        {"axes", axes},
                        {"running", path.Running()},
                        {"braking", path.Braking()},
                        {"waiting", path.Waiting()},
                        {"sections", std::move(sections)}});
    }
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

Result Paths::SetMap(Word number, const std::vector<Word>& axes, Result verdict)
{
    if (number >= kMaps) return Result::kOutOfRange;
    if (verdict != Result::kDone) return verdict;
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

Result Paths::Line(const LineFields& line, const std::vector<Entry<LineFields>>& points)
{
    const SpeedProfile speeds = WithShape(line, line.mode >> 1U);
    if (line.withU > 1 || !speeds.Valid()) return Result::kOutOfRange;
    Target target;
    target.relative = (line.mode & kRelative) != 0;
    const Result result = FindTarget(line.map, points.size(), target);
    if (result != Result::kDone) return result;

    PathPoint to = target.from;
    for (std::size_t i = 0; i < points.size(); ++i) {
        to[i] = target.Place(i, points[i].fields.coordinate);
    }
    const Course course = Course::Line(target.from, to, points.size() - line.withU);
    return Start(target, {course, speeds, MotionKind::kLinear, points.size()});
}

Result Paths::ArcOrHelix(const ArcFields& fields, bool helix)
{
    // Above the shape, a helix tells whether its speeds are those along it.
    const unsigned shapeMask = helix ? 1U : 0x7FFFU;
    const unsigned along = helix ? unsigned{fields.mode} >> 2U : 0U;
    const SpeedProfile speeds = WithShape(fields, fields.mode >> 1U & shapeMask);
    if (along > 1 || !speeds.Valid()) return Result::kOutOfRange;
    Target target;
    target.relative = (fields.mode & kRelative) != 0;
    const std::size_t axes = helix ? kHelixAxes : kArcAxes;
    Result result = FindTarget(fields.map, axes, target);
    if (result != Result::kDone) return result;

    Arc arc;
    PathPoint to = target.from;
    if (helix) to[2] = target.Place(2, fields.height);
    result = MakeArc(target, fields, arc, to);
    if (result != Result::kDone) return result;
    const Course course = Course::Along(arc, target.from, to, along == 1);
    return Start(target, {course, speeds, helix ? MotionKind::kHelical : MotionKind::kArc, axes});
}

Result Paths::MakeArc(const Target& target, const ArcFields& fields, Arc& arc, PathPoint& to)
{
    constexpr double kDegree = std::numbers::pi / 180;
    constexpr double kAnglesPerDegree = 10000;
    const PlanePoint from = {target.from[0], target.from[1]};
    const PlanePoint point = target.PlaceInPlane(fields.first, fields.second);
    const Turn turn = fields.direction == 0 ? Turn::kCounterClockwise : Turn::kClockwise;
    PlanePoint end = target.PlaceInPlane(fields.third, fields.fourth);
    Result result = Result::kDone;
    switch (fields.form) {
    case ArcFields::kCenterAngle: {
        const double angle = fields.third / kAnglesPerDegree * kDegree;
        result = ArcByAngle(from, point, turn == Turn::kClockwise ? -angle : angle, arc, end);
        break;
    }
    case ArcFields::kCenterEnd:
        result = ArcAroundCenter(from, point, end, turn, arc);
        break;
    case ArcFields::kPassEnd:
        result = ArcThroughPoint(from, point, end, arc);
        break;
    default:
        result = ArcOfRadius(from, fields.first, fields.second == 1, end, turn, arc);
        break;
    }
    to[0] = end.x;
    to[1] = end.y;
    return result;
}

Result Paths::StopMap(std::size_t map, StopMode mode)
{
    if (maps_[map].axes.empty()) return Result::kEmptyMap;
    const StopCause cause = CommandedBy(mode);
    Path& path = maps_[map].path;
    path.Follow();
    for (const Word number : maps_[map].axes) {
        Axis* axis = controller_.FindAxis(number);
        if (axis != nullptr && !path.Leads(*axis)) axis->Stop(mode, cause);
    }
    path.Stop(mode, cause);
    return Result::kDone;
}

Word Paths::Remaining(const Map& map) const
{
    if (usePreRegisters_ == 0) return 0;
    return static_cast<Word>(kPreRegisters - map.path.Waiting());
}

std::unique_ptr<Family> MakePaths(Controller& controller)
{
    return std::make_unique<Paths>(controller);
}

} // namespace lumosim
