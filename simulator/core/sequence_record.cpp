#include "sequence_record.h"

#include "controller.h"

#include <algorithm>
#include <utility>

namespace lumosim {

namespace {

// --- Motion and pre-registers.

// A motion that ended for one of these reasons has not done what the program relies on.
bool EndedInFailure(const Axis& axis)
{
    switch (axis.LastStop()) {
    case StopCause::kLimitSensor:
    case StopCause::kSoftwareLimit:
    case StopCause::kAlarm:
    case StopCause::kServoOff:
    case StopCause::kEmergencyStop:
    case StopCause::kConnectionLost:
        return true;
    default:
        return false;
    }
}

std::vector<Word> ReadWords(CommandReader& in, Word count)
{
    std::vector<Word> words;
    for (Word i = 0; i < count && in.Remaining() > 0; ++i) {
        words.push_back(in.NextWord());
    }
    return words;
}

Result ReadMotionWait(Controller& controller, CommandReader& in, SequenceRecord& record)
{
    constexpr Word kAll = 0;
    constexpr Word kAny = 1;
    const Word mode = in.NextWord();
    const Word count = in.NextWord();
    const std::vector<Word> axes = ReadWords(in, count);
    if (!in.Finished() || axes.size() != count || count < 1 || count > kMaxAxes) {
        return Result::kMalformed;
    }
    if (mode != kAll && mode != kAny) return Result::kOutOfRange;
    for (const Word axis : axes) {
        if (controller.FindAxis(axis) == nullptr) return Result::kNoServo;
    }
    record.kind = SequenceRecord::Kind::kWaitMotion;
    record.condition = [&controller, mode, axes](const AxisSet& moved) -> std::optional<Result> {
        std::size_t done = 0;
        for (const Word number : axes) {
            const Axis* axis = controller.FindAxis(number);
            if (axis == nullptr) return Result::kNoServo;
            if (axis->Moving()) continue;
            if (moved.test(number) && EndedInFailure(*axis)) return Result::kMotionFailed;
            ++done;
        }
        const bool enough = mode == kAll ? done == axes.size() : done > 0;
        return enough ? std::optional(Result::kDone) : std::nullopt;
    };
    return Result::kDone;
}

bool InterpolationRuns(const Controller& controller)
{
    for (int number = 0; number < kMaxAxes; ++number) {
        const Axis* axis = controller.FindAxis(number);
        if (axis == nullptr) continue;
        const MotionKind kind = axis->Kind();
        if (kind == MotionKind::kLinear || kind == MotionKind::kArc ||
            kind == MotionKind::kHelical) {
            return true;
        }
    }
    return false;
}

Result ReadPreRegisterWait(Controller& controller, CommandReader& in, SequenceRecord& record)
{
    constexpr Word kPreRegisters = 16;
    constexpr Word kAll = 1;
    constexpr Word kAny = 2;
    constexpr Word kAllAtRest = 3;
    const Word mode = in.NextWord();
    const Word count = in.NextWord();
    const std::vector<Word> items = ReadWords(in, count);
    if (!in.Finished() || items.size() != count || count < 1 || count > kMaxAxes) {
        return Result::kMalformed;
    }
    if (mode < kAll || mode > kAllAtRest ||
        *std::max_element(items.begin(), items.end()) >= kPreRegisters) {
        return Result::kOutOfRange;
    }
    record.kind = SequenceRecord::Kind::kWaitMotion;
    record.condition = [&controller, mode, items](const AxisSet&) -> std::optional<Result> {
        const auto isEmpty = [&](Word item) { return controller.PreRegistered(item) == 0; };
        const bool enough = mode == kAny ? std::any_of(items.begin(), items.end(), isEmpty)
                                         : std::all_of(items.begin(), items.end(), isEmpty);
        const bool atRest = mode != kAllAtRest || !InterpolationRuns(controller);
        return enough && atRest ? std::optional(Result::kDone) : std::nullopt;
    };
    return Result::kDone;
}

// --- Inputs.

// One set of inputs: bit k is pin k.
struct InputSource
{
    unsigned pins = 0;
    std::function<std::uint32_t()> read;

    [[nodiscard]] bool Has(std::uint32_t mask) const { return pins >= 32 || (mask >> pins) == 0; }
};

std::uint32_t DriveInputs(const Axis& axis)
{
    std::uint32_t inputs = 0;
    unsigned pin = 0;
    for (const bool level :
         {axis.LimitActive(1), axis.LimitActive(-1), axis.SignalOn(Signal::kHomeSensor),
          axis.SignalOn(Signal::kConfigurableInput)}) {
        inputs |= (level ? 1U : 0U) << pin++;
    }
    return inputs;
}

Result FindInputs(Controller& controller, Word kind, Word station, InputSource& source)
{
    constexpr Word kMainBoard = 0;
    constexpr Word kInputSlave = 1;
    constexpr Word kDrive = 2;
    if (kind == kMainBoard) {
        source = {8, [&controller] { return std::uint32_t{controller.MainInputs()}; }};
        return Result::kDone;
    }
    if (kind == kInputSlave) {
        const bool stands =
            station < kMaxAxes && controller.SlaveAt(station).type == SlaveType::kInput;
        if (!stands) return Result::kNoInputSlave;
        source = {32, [&controller, station] { return controller.SlaveAt(station).inputs; }};
        return Result::kDone;
    }
    if (kind != kDrive) return Result::kOutOfRange;
    if (controller.FindAxis(station) == nullptr) return Result::kNoServo;
    source = {4, [&controller, station] {
                  const Axis* axis = controller.FindAxis(station);
                  return axis == nullptr ? 0U : DriveInputs(*axis);
              }};
    return Result::kDone;
}

Result ReadInputWait(Controller& controller, CommandReader& in, SequenceRecord& record)
{
    constexpr Word kOnePin = 0;
    const Word kind = in.NextWord();
    const Word form = in.NextWord();
    const Word station = kind == 0 ? Word{0} : in.NextWord();
    const bool onePin = form == kOnePin;
    const std::uint32_t first = onePin ? in.NextWord() : in.NextUnsignedLong();
    const std::uint32_t second = onePin ? in.NextWord() : in.NextUnsignedLong();
    if (!in.Finished()) return Result::kMalformed;
    if (form > 1 || (onePin && (first >= 32 || second > 1))) return Result::kOutOfRange;

    const std::uint32_t mask = onePin ? 1U << first : first;
    const std::uint32_t level = onePin ? second << first : second & mask;
    InputSource source;
    const Result found = FindInputs(controller, kind, station, source);
    if (found != Result::kDone) return found;
    if (!source.Has(mask)) return Result::kOutOfRange;
    record.kind = SequenceRecord::Kind::kWaitInput;
    record.condition = [read = std::move(source.read), mask,
                        level](const AxisSet&) -> std::optional<Result> {
        if ((read() & mask) != level) return std::nullopt;
        return Result::kDone;
    };
    return Result::kDone;
}

Result ReadDelay(CommandReader& in, SequenceRecord& record)
{
    const std::uint32_t milliseconds = in.NextUnsignedLong();
    if (!in.Finished()) return Result::kMalformed;
    record.kind = SequenceRecord::Kind::kDelay;
    record.delay = std::chrono::milliseconds(milliseconds);
    return Result::kDone;
}

} // namespace

bool IsMotionCommand(Word code)
{
    constexpr Word kCodes[] = {
        0x0010, 0x0011, 0x0012, // jog, absolute and relative move
        0x0013,                 // search
        0x0020, 0x0021, 0x0022, // overrides
        0x0030, 0x0032, 0x2000, // torque, velocity, profile position
        0x0040, 0x0041,         // stops
        0x0050,                 // position set
        0x0060,                 // homing
        0x0072, 0x0073, 0x0074, // line, arc, helix
    };
    return std::find(std::begin(kCodes), std::end(kCodes), code) != std::end(kCodes);
}

Result ReadSequenceRecord(Controller& controller, Word code, CommandReader& in,
                          SequenceRecord& record)
{
    switch (code) {
    case kWaitMotionRecord:
        return ReadMotionWait(controller, in, record);
    case kWaitPreRegisterRecord:
        return ReadPreRegisterWait(controller, in, record);
    case kWaitInputRecord:
        return ReadInputWait(controller, in, record);
    case kDelayRecord:
        return ReadDelay(in, record);
    default:
        return Result::kUnknownCommand;
    }
}

} // namespace lumosim
