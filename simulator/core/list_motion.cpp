// List motion: an axis runs through nodes that were loaded in advance, or are fed to it on the way.

#include "controller.h"
#include "families.h"
#include "snapshot.h"
#include "values.h"

#include <algorithm>
#include <array>
#include <deque>
#include <limits>

namespace lumosim {

namespace {

constexpr Word kSetUpList = 0x0100;
constexpr Word kAddNodes = 0x0101;
constexpr Word kEnd = 0x0102;
constexpr Word kRunStop = 0x0103;

constexpr Word kListRegisters = 0x12;
constexpr Word kListRegisterCount = 7;

constexpr std::size_t kCapacity = 256; // nodes of one axis
constexpr Word kMaxNodesAtOnce = 50;
constexpr Word kEndless = 255;

// What a node that is reached at once takes all the same.
constexpr double kShortestNode = 0.001;

// Holds an axis where it is, as a part of its motion.
class Standstill : public Trajectory
{
  public:
    Standstill(double position, double seconds) : position_(position), seconds_(seconds) {}

    [[nodiscard]] MotionState At(double /*seconds*/) const override { return {position_, 0, 0}; }
    [[nodiscard]] double Duration() const override { return seconds_; }
    [[nodiscard]] std::optional<double> TimeOfReaching(double /*position*/, int /*direction*/,
                                                       double /*from*/) const override
    {
        return std::nullopt;
    }

  private:
    double position_;
    double seconds_;
};

void Hold(Axis& axis, double seconds)
{
    axis.Follow(std::make_shared<Standstill>(axis.Physical().position, seconds), MotionKind::kList,
                axis.CommandPosition());
}

struct Node : SpeedProfile // the stop speed is what the next node begins with
{
    static constexpr Word kAbsolute = 0;
    static constexpr Word kRelative = 1;

    std::int32_t position = 0;
    Word mode = kAbsolute;
    Word dwell = 0; // ms at rest behind the node

    [[nodiscard]] bool Valid() const
    {
        constexpr Word kLongestDwell = std::numeric_limits<std::int16_t>::max();
        return SpeedProfile::Valid() && mode <= kRelative && dwell <= kLongestDwell;
    }

    [[nodiscard]] std::int32_t TargetFrom(std::int32_t here) const
    {
        if (mode == kAbsolute) return position;
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(here) +
                                         static_cast<std::uint32_t>(position));
    }
};

struct NodeFields : Node
{
    Word axis = 0;
};

struct SetUpFields
{
    Word axis = 0;
    Word kind = 0;
    Word repetitions = 0;
    Word percent = 0;
};

struct EndFields
{
    Word axis = 0;
    std::int32_t stopSpeed = 0;
};

struct RunFields
{
    Word axis = 0;
    Word run = 0;
};

// The list of one axis.
class List
{
  public:
    struct Setting
    {
        bool stream = false; // nodes are gone once they are run
        Word repetitions = 0;
        Word percent = 100; // of the nodes' speeds
    };

    Result Configure(const Setting& setting);
    Result Add(std::span<const Node> nodes, Axis& axis, Reply& reply);
    Result Close(std::int32_t stopSpeed, Axis& axis);
    Result Run(Axis& axis);
    void Stop(Axis& axis);
    [[nodiscard]] bool HasLeft(const Axis* axis) const; // the axis has left the list's motion
    void Advance(Axis* axis);
    void Show(std::span<Word> out) const;
    [[nodiscard]] Json Describe(int axis) const;

  private:
    enum class Step { kMoving, kDwelling, kStarving };

    [[nodiscard]] std::size_t Waiting() const { return nodes_.size() - next_; }
    [[nodiscard]] std::size_t Free() const { return kCapacity - nodes_.size(); }
    [[nodiscard]] const Node* Following() const;
    void GoOn(Axis& axis);
    void BeginNode(Axis& axis);
    void Hang(Axis& axis, Step step, double seconds);
    void FinishNode(Axis& axis);
    void End(bool early);

    Setting setting_;
    std::deque<Node> nodes_;
    bool closed_ = false;
    std::int32_t stopSpeed_ = 0;

    bool running_ = false;
    bool endedEarly_ = false;
    std::size_t next_ = 0; // the node that begins next
    Step step_ = Step::kMoving;
    Word dwell_ = 0; // behind the running node
    std::shared_ptr<const Trajectory> trajectory_;

    std::uint32_t begun_ = 0;     // nodes since the configuration (stream) or in this round
    std::uint32_t completed_ = 0; // nodes since the start
    std::uint32_t rounds_ = 0;    // since the start
};

Result List::Configure(const Setting& setting)
{
    if (running_) return Result::kListRunning;
    *this = List();
    setting_ = setting;
    return Result::kDone;
}

Result List::Add(std::span<const Node> nodes, Axis& axis, Reply& reply)
{
    if (closed_) return Result::kListClosed;
    if (Free() == 0) return Result::kListFull;
    const std::size_t taken = std::min(nodes.size(), Free());
    nodes_.insert(nodes_.end(), nodes.begin(), nodes.begin() + static_cast<std::ptrdiff_t>(taken));
    if (running_ && step_ == Step::kStarving) GoOn(axis);
    reply.AddWord(static_cast<Word>(taken));
    reply.AddWord(static_cast<Word>(Free()));
    return Result::kDone;
}

Result List::Close(std::int32_t stopSpeed, Axis& axis)
{
    if (closed_) return Result::kListClosed;
    if (stopSpeed < 0) return Result::kOutOfRange;
    closed_ = true;
    stopSpeed_ = stopSpeed;
    if (running_ && step_ == Step::kStarving) GoOn(axis);
    return Result::kDone;
}

Result List::Run(Axis& axis)
{
    if (running_) return Result::kListRunning;
    if (!setting_.stream) next_ = 0;
    if (Waiting() == 0) return Result::kListEmpty;
    if (!setting_.stream && !closed_) return Result::kListOpen;
    const std::int32_t here = axis.CommandPosition();
    const std::int64_t way = std::int64_t{nodes_[next_].TargetFrom(here)} - here;
    const Result check = axis.CheckMove(SignOf(way));
    if (check != Result::kDone) return check;

    running_ = true;
    endedEarly_ = false;
    completed_ = 0;
    rounds_ = 0;
    if (!setting_.stream) begun_ = 0;
    BeginNode(axis);
    return Result::kDone;
}

void List::Stop(Axis& axis)
{
    if (!running_) return;
    axis.Stop(StopMode::kDecelerate, StopCause::kStopCommand);
    End(true);
}

bool List::HasLeft(const Axis* axis) const
{
    return running_ && (axis == nullptr || axis->Following() != trajectory_);
}

void List::Advance(Axis* axis)
{
    if (!HasLeft(axis)) return;
    // What left the list before its end (a stop, a limit, an alarm, another servo) ends it.
    if (axis == nullptr || axis->Moving() || axis->LastStop() != StopCause::kNone ||
        axis->CheckMove(0) != Result::kDone) {
        End(true);
    } else if (step_ == Step::kMoving && dwell_ > 0) {
        Hang(*axis, Step::kDwelling, dwell_ * 0.001);
    } else {
        FinishNode(*axis);
    }
}

void List::FinishNode(Axis& axis)
{
    ++completed_;
    GoOn(axis);
}

// To the next node, of this round or of another one, if there is any.
void List::GoOn(Axis& axis)
{
    if (Waiting() == 0 && closed_) {
        ++rounds_;
        const bool again = !setting_.stream &&
                           (setting_.repetitions == kEndless || rounds_ <= setting_.repetitions);
        if (!again) {
            // A list that starved until its end came lets the axis go.
            if (axis.Moving()) Hold(axis, 0);
            return End(false);
        }
        next_ = 0;
        begun_ = 0;
    }
    if (Waiting() > 0) return BeginNode(axis);
    Hang(axis, Step::kStarving, std::numeric_limits<double>::infinity());
}

// The node behind the one that begins; null where it is the last, as far as is known now.
const Node* List::Following() const
{
    if (next_ + 1 < nodes_.size()) return &nodes_[next_ + 1];
    const bool again =
        !setting_.stream && (setting_.repetitions == kEndless || rounds_ < setting_.repetitions);
    return again ? &nodes_.front() : nullptr;
}

void List::BeginNode(Axis& axis)
{
    const auto scaled = [this](std::int32_t speed) {
        const std::int64_t value = std::int64_t{speed} * setting_.percent / 100;
        return static_cast<std::int32_t>(
            std::min<std::int64_t>(value, std::numeric_limits<std::int32_t>::max()));
    };
    const Node node = nodes_[next_];
    const Node* following = Following();
    SpeedProfile speeds = static_cast<const SpeedProfile&>(node);
    speeds.shape = axis.Profile().shape;
    // Without a dwell the axis passes the node with the speed that the next one begins with.
    speeds.stop = node.start;
    if (node.dwell == 0 && following != nullptr) speeds.stop = following->start;
    if (node.dwell == 0 && following == nullptr && closed_) speeds.stop = stopSpeed_;
    speeds.start = scaled(speeds.start);
    speeds.drive = std::max(1, scaled(speeds.drive));
    speeds.stop = scaled(speeds.stop);

    if (setting_.stream) {
        nodes_.pop_front();
    } else {
        ++next_;
    }
    ++begun_;
    step_ = Step::kMoving;
    dwell_ = node.dwell;
    axis.RunTo(speeds, node.TargetFrom(axis.CommandPosition()), MotionKind::kList);
    if (!axis.Moving()) Hold(axis, kShortestNode);
    trajectory_ = axis.Following();
}

void List::Hang(Axis& axis, Step step, double seconds)
{
    step_ = step;
    Hold(axis, seconds);
    trajectory_ = axis.Following();
}

void List::End(bool early)
{
    running_ = false;
    endedEarly_ = early;
    trajectory_.reset();
    if (!setting_.stream) next_ = 0;
}

void List::Show(std::span<Word> out) const
{
    constexpr unsigned kNumberMask = 0x7FF;
    const unsigned number = running_ ? begun_ & kNumberMask : 0;
    out[0] = static_cast<Word>(number | (running_ ? 1U << 11U : 0U) | (closed_ ? 1U << 12U : 0U) |
                               (endedEarly_ ? 1U << 13U : 0U));
    out[1] = static_cast<Word>(Waiting());
    out[2] = static_cast<Word>(Free());
    PutLong(out, 3, static_cast<std::int32_t>(completed_));
    PutLong(out, 5, static_cast<std::int32_t>(rounds_));
}

Json List::Describe(int axis) const
{
    constexpr std::array kSteps = {"moving", "dwelling", "starving"};
    return {{"axis", axis},
            {"stream", setting_.stream},
            {"repetitions", setting_.repetitions},
            {"percent", setting_.percent},
            {"running", running_},
            {"step", running_ ? kSteps.at(static_cast<std::size_t>(step_)) : "resting"},
            {"closed", closed_},
            {"endedEarly", endedEarly_},
            {"node", running_ ? begun_ : 0},
            {"waiting", Waiting()},
            {"free", Free()},
            {"completed", completed_},
            {"rounds", rounds_}};
}

class ListMotion : public Family
{
  public:
    explicit ListMotion(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<SetUpFields>(
            kSetUpList, "list set-up",
            {"axis", &SetUpFields::axis, kEach, "kind", &SetUpFields::kind, UpTo(1), "repetitions",
             &SetUpFields::repetitions, UpTo(kEndless), "percent", &SetUpFields::percent,
             UpTo(255)},
            [this](Axis&, const SetUpFields& fields) {
                const Word percent = fields.percent == 0 ? Word{100} : fields.percent;
                return UpToDate(fields.axis)
                    .Configure({fields.kind == 1, fields.repetitions, percent});
            });
        table.AddList<NodeFields>(kAddNodes, "list nodes", NodeLayout(),
                                  [this](const NodeFields& head, const auto& nodes, Reply& reply) {
                                      return AddNodes(head.axis, nodes, reply);
                                  });
        table.ForAxes<EndFields>(
            kEnd, "list end",
            {"axis", &EndFields::axis, kEach, "stop speed", &EndFields::stopSpeed},
            [this](Axis& axis, const EndFields& fields) {
                return UpToDate(fields.axis).Close(fields.stopSpeed, axis);
            });
        table.ForAxes<RunFields>(kRunStop, "list run/stop",
                                 {"axis", &RunFields::axis, kEach, "run", &RunFields::run, UpTo(1)},
                                 [this](Axis& axis, const RunFields& fields) {
                                     List& list = UpToDate(fields.axis);
                                     if (fields.run == 1) return list.Run(axis);
                                     list.Stop(axis);
                                     return Result::kDone;
                                 });
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kListRegisters, kListRegisterCount, [this](int axis, std::span<Word> out) {
            if (controller_.FindAxis(axis) != nullptr) ListOf(axis).Show(out);
        });
    }

    void Describe(Json& snapshot) const override
    {
        Json& lists = snapshot["lists"] = Json::array();
        DescribeAxes(controller_, snapshot, [&](const Json&, const Axis&, int number) {
            lists.push_back(lists_.at(static_cast<std::size_t>(number)).Describe(number));
        });
    }

    // What a command has done to an axis is looked at before anything else happens to it.
    [[nodiscard]] Nanoseconds NextEvent() const override
    {
        for (int axis = 0; axis < kMaxAxes; ++axis) {
            const List& list = lists_[static_cast<std::size_t>(axis)];
            if (list.HasLeft(controller_.FindAxis(axis))) return controller_.Now();
        }
        return kNever;
    }

    void AdvanceTo(Nanoseconds /*now*/) override
    {
        for (int axis = 0; axis < kMaxAxes; ++axis) {
            ListOf(axis).Advance(controller_.FindAxis(axis));
        }
    }

    void PowerUp() override { lists_ = {}; }

  private:
    static Layout<NodeFields> NodeLayout()
    {
        return {"axis",
                &NodeFields::axis,
                CountOf(1, kMaxNodesAtOnce),
                "position",
                &NodeFields::position,
                kEach,
                "start",
                &NodeFields::start,
                "acceleration",
                &NodeFields::acc,
                "drive",
                &NodeFields::drive,
                "deceleration",
                &NodeFields::dec,
                "mode",
                &NodeFields::mode,
                "dwell",
                &NodeFields::dwell};
    }

    Result AddNodes(Word number, const std::vector<Entry<NodeFields>>& entries, Reply& reply)
    {
        Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return Result::kNoServo;
        std::vector<Node> nodes;
        for (const Entry<NodeFields>& entry : entries) {
            nodes.push_back(static_cast<const Node&>(entry.fields));
            if (!nodes.back().Valid()) return Result::kOutOfRange;
        }
        return UpToDate(number).Add(nodes, *axis, reply);
    }

    List& ListOf(int axis) { return lists_.at(static_cast<std::size_t>(axis)); }

    // The list as it is after what a command just before has done to its axis.
    List& UpToDate(int axis)
    {
        List& list = ListOf(axis);
        list.Advance(controller_.FindAxis(axis));
        return list;
    }

    Controller& controller_;
    std::array<List, kMaxAxes> lists_;
};

} // namespace

std::unique_ptr<Family> MakeListMotion(Controller& controller)
{
    return std::make_unique<ListMotion>(controller);
}

} // namespace lumosim
