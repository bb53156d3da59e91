// Sequence programs: commands and waits that the controller holds in buffers and runs by itself.

#include "controller.h"
#include "families.h"
#include "sequence_program.h"
#include "sequence_record.h"
#include "snapshot.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace lumosim {

namespace {

constexpr Word kFocus = 0x0200;
constexpr Word kBuffer = 0x0201;
constexpr Word kSetUpProgram = 0x0202;
constexpr Word kRun = 0x0203;

constexpr Word kNoProgram = 0xFFFF;
constexpr std::size_t kPrograms = 4;
constexpr Word kProgramRegisters = 0xF4AA;

struct ProgramBuffer
{
    static constexpr Word kClear = 1;

    Word seq = 0;
    Word action = 0;
};

struct ProgramSetUp
{
    Word seq = 0;
    Word endless = 0;
    Word reaction = 0;
    Word singleStep = 0;
};

struct ProgramRun
{
    enum Action : Word { kStop = 0, kStart = 1, kPause = 2, kResume = 3 };

    Word seq = 0;
    Word action = 0;
    Word stopMotions = 0;
};

class Sequences : public Family
{
  public:
    explicit Sequences(Controller& controller)
        : controller_(controller), programs_(kPrograms, SequenceProgram(controller))
    {}

    void AddCommands(CommandTable& table) override
    {
        table.Add<OneWord>(kFocus, "program focus", {"program", &OneWord::value},
                           [this](const OneWord& program) { return Focus(program.value); });
        table.Add<ProgramBuffer>(kBuffer, "program buffer",
                                 {"program", &ProgramBuffer::seq, UpTo(kPrograms - 1), "action",
                                  &ProgramBuffer::action, UpTo(ProgramBuffer::kClear)},
                                 [this](const ProgramBuffer& buffer) {
                                     SequenceProgram& program = programs_[buffer.seq];
                                     return buffer.action == ProgramBuffer::kClear
                                                ? program.Clear()
                                                : program.Close();
                                 });
        table.Add<ProgramSetUp>(kSetUpProgram, "program set-up",
                                {"program", &ProgramSetUp::seq, UpTo(kPrograms - 1), "endless",
                                 &ProgramSetUp::endless, UpTo(1), "reaction",
                                 &ProgramSetUp::reaction, UpTo(2), "single step",
                                 &ProgramSetUp::singleStep, UpTo(1)},
                                [this](const ProgramSetUp& setUp) { return Configure(setUp); });
        table.Add<ProgramRun>(kRun, "program run",
                              {"program", &ProgramRun::seq, UpTo(kPrograms - 1), "action",
                               &ProgramRun::action, UpTo(ProgramRun::kResume), "stop motions",
                               &ProgramRun::stopMotions, When("action", {ProgramRun::kStop}),
                               UpTo(1)},
                              [this](const ProgramRun& run) { return Run(run); });
        // With a focus they never come here: Divert has taken them.
        for (const SequenceForm& form : SequenceForms()) {
            table.AddHandler(form.code, form.name, form.fields,
                             [](auto&, auto&) { return Result::kNoFocus; });
        }
    }

    void AddRegisters(RegisterMap& map) override
    {
        map.AddBlock(kProgramRegisters, kPrograms * SequenceProgram::kStatusRegisters,
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
        const SequenceForm* form = FindSequenceForm(code);
        if (!motion && form == nullptr) return std::nullopt;

        SequenceProgram& program = programs_[*focus_];
        const Result taken = program.CheckAppend();
        if (taken != Result::kDone) return taken;
        SequenceRecord record;
        if (motion) {
            record.command.assign(block.begin(), block.end());
        } else {
            CommandReader in(block.subspan(1));
            const Result read = form->read(controller_, in, record);
            if (read != Result::kDone) return read;
        }
        program.Append(std::move(record));
        return Result::kDone;
    }

    void Describe(Json& snapshot) const override
    {
        Json& programs = snapshot["programs"] = Json::array();
        for (std::size_t i = 0; i < kPrograms; ++i) {
            programs.push_back({{"program", i}, {"focused", focus_ == i}});
            programs_[i].Describe(programs.back());
        }
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
    Result Focus(Word seq)
    {
        if (seq != kNoProgram && seq >= kPrograms) return Result::kOutOfRange;
        focus_.reset();
        if (seq != kNoProgram) focus_ = seq;
        return Result::kDone;
    }

    Result Configure(const ProgramSetUp& setUp)
    {
        return programs_[setUp.seq].Configure(
            {setUp.endless == 1, static_cast<SequenceProgram::FaultReaction>(setUp.reaction),
             setUp.singleStep == 1});
    }

    Result Run(const ProgramRun& run)
    {
        SequenceProgram& program = programs_[run.seq];
        switch (run.action) {
        case ProgramRun::kStart:
            return program.Start();
        case ProgramRun::kPause:
            return program.Pause();
        case ProgramRun::kResume:
            return program.Resume();
        default:
            program.Stop(run.stopMotions == 1);
            return Result::kDone;
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
