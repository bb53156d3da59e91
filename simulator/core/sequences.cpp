// Sequence programs: commands and waits that the controller holds in buffers and runs by itself.

#include "controller.h"
#include "families.h"
#include "sequence_program.h"
#include "sequence_record.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace lumosim {

namespace {

constexpr Word kFocus = 0x0200;
constexpr Word kBuffer = 0x0201;
constexpr Word kConfigure = 0x0202;
constexpr Word kRun = 0x0203;

constexpr Word kNoProgram = 0xFFFF;
constexpr std::size_t kPrograms = 4;
constexpr Word kStatusRegisters = 0xF4AA;

bool IsFunctionRecord(Word code)
{
    return code >= kWaitMotionRecord && code <= kDelayRecord;
}

class Sequences : public Family
{
  public:
    explicit Sequences(Controller& controller)
        : controller_(controller), programs_(kPrograms, SequenceProgram(controller))
    {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kFocus, "program focus", [this](auto& in, auto&) { return Focus(in); });
        table.Add(kBuffer, "program buffer", [this](auto& in, auto&) { return Buffer(in); });
        table.Add(kConfigure, "program set-up", [this](auto& in, auto&) { return Configure(in); });
        table.Add(kRun, "program run", [this](auto& in, auto&) { return Run(in); });
        // With a focus they never come here: Divert has taken them.
        const auto refuse = [](auto&, auto&) { return Result::kNoFocus; };
        table.Add(kWaitMotionRecord, "wait for motion", refuse);
        table.Add(kWaitPreRegisterRecord, "wait for queue", refuse);
        table.Add(kWaitInputRecord, "wait for input", refuse);
        table.Add(kDelayRecord, "delay", refuse);
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddBlock(kStatusRegisters, kPrograms * SequenceProgram::kStatusRegisters,
                     [this](std::span<Word> out) {
                         for (std::size_t i = 0; i < kPrograms; ++i) {
                             programs_[i].Show(focus_ == i, out.first(6));
                             out = out.subspan(SequenceProgram::kStatusRegisters);
                         }
                     });
    }

    std::optional<Result> Divert(std::span<const Word> block) override
    {
        if (!focus_) return std::nullopt;
        const Word code = block.front();
        const bool motion = IsMotionCommand(code) && controller_.Knows(code);
        if (!motion && !IsFunctionRecord(code)) return std::nullopt;

        SequenceProgram& program = programs_[*focus_];
        const Result taken = program.CheckAppend();
        if (taken != Result::kDone) return taken;
        SequenceRecord record;
        if (motion) {
            record.command.assign(block.begin(), block.end());
        } else {
            CommandReader in(block.subspan(1));
            const Result read = ReadSequenceRecord(controller_, code, in, record);
            if (read != Result::kDone) return read;
        }
        program.Append(std::move(record));
        return Result::kDone;
    }

    [[nodiscard]] Nanoseconds NextEvent() const override
    {
        Nanoseconds next = kNever;
        for (const SequenceProgram& program : programs_) {
            next = std::min(next, program.NextEvent());
        }
        return next;
    }

    void AdvanceTo(Nanoseconds /*now*/) override
    {
        for (SequenceProgram& program : programs_) {
            program.Advance();
        }
    }

    void PowerUp() override
    {
        focus_.reset();
        programs_.assign(kPrograms, SequenceProgram(controller_));
    }

  private:
    Result Focus(CommandReader& in)
    {
        const Word seq = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (seq == kNoProgram) {
            focus_.reset();
            return Result::kDone;
        }
        if (seq >= kPrograms) return Result::kOutOfRange;
        focus_ = seq;
        return Result::kDone;
    }

    Result Buffer(CommandReader& in)
    {
        constexpr Word kClear = 1;
        const Word seq = in.NextWord();
        const Word action = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (seq >= kPrograms || action > kClear) return Result::kOutOfRange;
        return action == kClear ? programs_[seq].Clear() : programs_[seq].Close();
    }

    Result Configure(CommandReader& in)
    {
        const Word seq = in.NextWord();
        const Word endless = in.NextWord();
        const Word reaction = in.NextWord();
        const Word singleStep = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (seq >= kPrograms || endless > 1 || reaction > 2 || singleStep > 1) {
            return Result::kOutOfRange;
        }
        return programs_[seq].Configure(
            {endless == 1, static_cast<SequenceProgram::FaultReaction>(reaction), singleStep == 1});
    }

    Result Run(CommandReader& in)
    {
        enum Action : Word { kStop = 0, kStart = 1, kPause = 2, kResume = 3 };
        const Word seq = in.NextWord();
        const Word action = in.NextWord();
        const Word stopMotions = action == kStop ? in.NextWord() : Word{0};
        if (!in.Finished()) return Result::kMalformed;
        if (seq >= kPrograms || stopMotions > 1) return Result::kOutOfRange;
        switch (action) {
        case kStop:
            programs_[seq].Stop(stopMotions == 1);
            return Result::kDone;
        case kStart:
            return programs_[seq].Start();
        case kPause:
            return programs_[seq].Pause();
        case kResume:
            return programs_[seq].Resume();
        default:
            return Result::kOutOfRange;
        }
    }

    Controller& controller_;
    std::vector<SequenceProgram> programs_;
    std::optional<std::size_t> focus_;
};

} // namespace

std::unique_ptr<Family> MakeSequences(Controller& controller)
{
    return std::make_unique<Sequences>(controller);
}

} // namespace lumosim
