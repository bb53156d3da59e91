#include "sequence_record.h"

#include "controller.h"
#include "layout.h"

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

// Of several axes or pre-registers.
struct WaitFields
{
    Word mode = 0;
};

Result MakeMotionWait(Controller& controller, const Command<WaitFields>& command,
                      SequenceRecord& record)
{
    constexpr Word kAll = 0;
    constexpr Word kAny = 1;
    const Word mode = command.fields.mode;
    const std::vector<Word> axes = NumbersOf(command.entries);
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

Result MakePreRegisterWait(Controller& controller, const Command<WaitFields>& command,
                           SequenceRecord& record)
{
    constexpr Word kPreRegisters = 16;
    constexpr Word kAll = 1;
    constexpr Word kAny = 2;
    constexpr Word kAllAtRest = 3;
    const Word mode = command.fields.mode;
    const std::vector<Word> items = NumbersOf(command.entries);
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

struct InputWaitFields
{
    static constexpr Word kOnePin = 0;

    Word source = 0;
    Word form = 0;
    Word station = 0;
    Word pin = 0;
    Word level = 0;
    std::uint32_t mask = 0;
    std::uint32_t levels = 0;
};

Result MakeInputWait(Controller& controller, const Command<InputWaitFields>& command,
                     SequenceRecord& record)
{
    const InputWaitFields& fields = command.fields;
    if (fields.form > 1 || fields.pin >= 32 || fields.level > 1) return Result::kOutOfRange;
    const bool onePin = fields.form == InputWaitFields::kOnePin;
    const std::uint32_t mask = onePin ? 1U << fields.pin : fields.mask;
    const std::uint32_t level =
        onePin ? std::uint32_t{fields.level} << fields.pin : fields.levels & mask;
    InputSource source;
    const Result found = FindInputs(controller, fields.source, fields.station, source);
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

struct DelayFields
{
    std::uint32_t milliseconds = 0;
};

Result MakeDelay(Controller& /*controller*/, const Command<DelayFields>& command,
                 SequenceRecord& record)
{
    record.kind = SequenceRecord::Kind::kDelay;
    record.delay = std::chrono::milliseconds(command.fields.milliseconds);
    return Result::kDone;
}

// --- The forms.

template <typename Fields>
SequenceForm MakeForm(Word code, const char* name, const Layout<Fields>& layout,
                      Result (*make)(Controller&, const Command<Fields>&, SequenceRecord&))
{
    return {code, name, layout.List(),
            [layout, make](Controller& controller, CommandReader& in, SequenceRecord& record) {
                Command<Fields> command;
                if (!layout.Read(in, command)) return Result::kMalformed;
                return make(controller, command, record);
            }};
}

SequenceForm InputWaitForm()
{
    using Fields = InputWaitFields;
    const Rule forOnePin = When("form", {Fields::kOnePin});
    const Rule forMask = Unless("form", {Fields::kOnePin});
    return MakeForm<Fields>(0x0232, "wait for input",
                            {"source", &Fields::source, "form", &Fields::form, "station",
                             &Fields::station, Unless("source", {0}), "pin", &Fields::pin,
                             forOnePin, "level", &Fields::level, forOnePin, "mask", &Fields::mask,
                             forMask, "levels", &Fields::levels, forMask},
                            MakeInputWait);
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

const std::vector<SequenceForm>& SequenceForms()
{
    static const std::vector<SequenceForm> forms = {
        MakeForm<WaitFields>(0x0230, "wait for motion", {"mode", &WaitFields::mode, kCount, kAxis},
                             MakeMotionWait),
        MakeForm<WaitFields>(
            0x0231, "wait for queue",
            {"mode", &WaitFields::mode, kCount, Field{"pre-register", Width::kWord, Place::kEach}},
            MakePreRegisterWait),
        InputWaitForm(),
        MakeForm<DelayFields>(0x0233, "delay", {"milliseconds", &DelayFields::milliseconds},
                              MakeDelay),
    };
    return forms;
}

const SequenceForm* FindSequenceForm(Word code)
{
    const auto found = std::ranges::find(SequenceForms(), code, &SequenceForm::code);
    return found == SequenceForms().end() ? nullptr : &*found;
}

} // namespace lumosim
