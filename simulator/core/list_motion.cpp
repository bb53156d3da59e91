// List motion: an axis runs through nodes that were loaded in advance, or are fed to it on the way.

#include "controller.h"
#include "families.h"

#include <algorithm>
#include <array>
#include <deque>
#include <limits>

namespace lumosim {

namespace {

constexpr Word kConfigure = 0x0100;
constexpr Word kAddNodes = 0x0101;
constexpr Word kEnd = 0x0102;
constexpr Word kRunStop = 0x0103;

constexpr Word kStatusRegisters = 0x12;
constexpr Word kStatusRegisterCount = 7;

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

struct Node
{
    static constexpr Word kAbsolute = 0;
    static constexpr Word kRelative = 1;

    std::int32_t position = 0;
    SpeedProfile speeds; // the stop speed is what the next node begins with
    Word mode = kAbsolute;
    Word dwell = 0; // ms at rest behind the node

    [[nodiscard]] bool Valid() const
    {
        constexpr Word kLongestDwell = std::numeric_limits<std::int16_t>::max();
        return speeds.Valid() && mode <= kRelative && dwell <= kLongestDwell;
    }

    [[nodiscard]] std::int32_t TargetFrom(std::int32_t here) const
    {
        if (mode == kAbsolute) return position;
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(here) +
                                         static_cast<std::uint32_t>(position));
    }
};

Node ReadNode(CommandReader& in)
{
    Node node;
    node.position = in.NextLong();
    node.speeds.start = in.NextLong();
    node.speeds.acc = in.NextLong();
    node.speeds.drive = in.NextLong();
    node.speeds.dec = in.NextLong();
    node.mode = in.NextWord();
    node.dwell = in.NextWord();
    return node;
}

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
    const Result check = axis.CheckMove(way > 0 ? 1 : (way < 0 ? -1 : 0));
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
    SpeedProfile speeds = node.speeds;
    speeds.shape = axis.Profile().shape;
    // Without a dwell the axis passes the node with the speed that the next one begins with.
    speeds.stop = node.speeds.start;
    if (node.dwell == 0 && following != nullptr) speeds.stop = following->speeds.start;
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
    out[3] = LowWord(static_cast<std::int32_t>(completed_));
    out[4] = HighWord(static_cast<std::int32_t>(completed_));
    out[5] = LowWord(static_cast<std::int32_t>(rounds_));
    out[6] = HighWord(static_cast<std::int32_t>(rounds_));
}

class ListMotion : public Family
{
  public:
    explicit ListMotion(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kConfigure, "list set-up", [this](auto& in, auto&) { return Configure(in); });
        table.Add(kAddNodes, "list nodes",
                  [this](auto& in, auto& reply) { return AddNodes(in, reply); });
        table.Add(kEnd, "list end", [this](auto& in, auto&) { return Close(in); });
        table.Add(kRunStop, "list run/stop", [this](auto& in, auto&) { return RunStop(in); });
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddAxisBlock(kStatusRegisters, kStatusRegisterCount,
                         [this](int axis, std::span<Word> out) {
                             if (controller_.FindAxis(axis) != nullptr) ListOf(axis).Show(out);
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
    Result Configure(CommandReader& in)
    {
        const Word axis = in.NextWord();
        const Word stream = in.NextWord();
        const Word repetitions = in.NextWord();
        const Word percent = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (controller_.FindAxis(axis) == nullptr) return Result::kNoServo;
        if (stream > 1 || repetitions > kEndless || percent > 255) return Result::kOutOfRange;
        return UpToDate(axis).Configure(
            {stream == 1, repetitions, percent == 0 ? Word{100} : percent});
    }

    Result AddNodes(CommandReader& in, Reply& reply)
    {
        const Word number = in.NextWord();
        const Word count = in.NextWord();
        if (count < 1 || count > kMaxNodesAtOnce) return Result::kMalformed;
        std::vector<Node> nodes;
        for (Word i = 0; i < count; ++i) {
            nodes.push_back(ReadNode(in));
        }
        if (!in.Finished()) return Result::kMalformed;
        Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return Result::kNoServo;
        if (!std::all_of(nodes.begin(), nodes.end(), [](const Node& n) { return n.Valid(); })) {
            return Result::kOutOfRange;
        }
        return UpToDate(number).Add(nodes, *axis, reply);
    }

    Result Close(CommandReader& in)
    {
        const Word number = in.NextWord();
        const std::int32_t stopSpeed = in.NextLong();
        if (!in.Finished()) return Result::kMalformed;
        Axis* axis = controller_.FindAxis(number);
        return axis == nullptr ? Result::kNoServo : UpToDate(number).Close(stopSpeed, *axis);
    }

    Result RunStop(CommandReader& in)
    {
        const Word number = in.NextWord();
        const Word run = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return Result::kNoServo;
        if (run > 1) return Result::kOutOfRange;
        if (run == 1) return UpToDate(number).Run(*axis);
        UpToDate(number).Stop(*axis);
        return Result::kDone;
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
