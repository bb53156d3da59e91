#include "frame/program.h"
#include "frame/system.h"
#include "keep/sequence_file.h"
#include "verbs/verbs.h"

#include <algorithm>
#include <array>

namespace zelq::tool {

namespace {

constexpr const char* kSequenceManual =
    R"(A controller keeps four sequence programs, 0 to 3, of motions and waits. "upload" sends a program
from a file with one record a line, each a function with its arguments as "zelq call" takes them;
what stands behind a # is a comment:

  zelQ_MoveAbs axis=0 pos=1000     # user units
  zelQ_SeqFuncWaitMovDone waitMode=0 axes=[0]
  zelQ_SeqFuncDelay delay=500

zelQ_IMapSet may stand there too, for the lines and arcs behind it; it is executed at once.

While a program is uploaded, motion commands of all callers go into it, stops too: nothing may move
meanwhile. "run" starts a program and waits for its end; Ctrl-C stops it and brakes its axes.

States and their names are those of the simulated controller.

  zelq -t press1 sequence upload 0 cycle.seq
  zelq -t press1 sequence run 0 --on-fault brake)";

enum ProgramState {
    kProgramEmpty,
    kProgramFilling,
    kProgramReady,
    kProgramRunning,
    kProgramPaused,
    kProgramFinished,
    kProgramStopped,
    kProgramFaulted
};
constexpr std::array<const char*, 8> kProgramStates = {
    "empty", "being filled", "ready", "running", "paused", "finished", "stopped", "faulted"};

struct SequenceOptions
{
    int program = 0;
    std::string file;
    bool endless = false;
    std::string onFault = "stop";
    bool yes = false;
};

std::string ProgramStateText(unsigned short state)
{
    return state < kProgramStates.size() ? kProgramStates.at(state)
                                         : "state " + std::to_string(state);
}

SeqStatus StatusOf(Controller& controller, int program)
{
    SeqStatus status{};
    Expect(zelQ_SeqGetStatus(controller.Number(), static_cast<unsigned short>(program), &status),
           "read the state of program " + std::to_string(program));
    return status;
}

Json StatusJson(int program, const SeqStatus& status)
{
    const bool faulted = status.state == kProgramFaulted;
    Json json = {{"program", program},         {"state", ProgramStateText(status.state)},
                 {"focus", status.bit4 == 1},  {"waiting", status.bit5 == 1},
                 {"closed", status.bit8 == 1}, {"rounds", status.bits9_13},
                 {"record", status.long1},     {"passed", status.long3}};
    if (faulted) json["result"] = status.word5;
    return json;
}

ExitCode ShowPrograms(Context& context, const SequenceOptions& /*options*/)
{
    Controller& controller = context.Connected();
    SeqAllStatus all{};
    Expect(zelQ_SeqGetAllStatus(controller.Number(), &all), "read the states of the programs");
    Table table({{"program", true}, {"state"}, {"record", true}, {"passed", true}, {""}});
    Json list = Json::array();
    int program = 0;
    for (const SeqStatus& status : all.program) {
        std::string notes = status.bit4 == 1 ? "has the focus " : "";
        if (status.bit5 == 1) notes += "waiting ";
        if (status.state == kProgramFaulted) notes += CodeText(status.word5);
        table.Row({std::to_string(program),
                   {ProgramStateText(status.state),
                    status.state == kProgramFaulted ? Style::kBad : Style::kPlain},
                   std::to_string(status.long1),
                   std::to_string(status.long3),
                   notes});
        list.push_back(StatusJson(program++, status));
    }
    context.out.Show(table);
    context.out.Show(Json{{"programs", list}});
    return kDone;
}

/// Gives a program the focus, and takes it away whatever happens: while it is given, no stop of
/// anybody stops anything.
class Focus
{
  public:
    Focus(Controller& controller, int program) : controller_(controller)
    {
        const auto index = static_cast<unsigned short>(program);
        Expect(zelQ_SeqFuncBufClear(controller.Number(), index),
               "empty program " + std::to_string(program));
        held_ = true; // from here on, whatever the answer is
        const short result = zelQ_SeqSetFocus(controller.Number(), index);
        try {
            Expect(result, "give program " + std::to_string(program) + " the focus");
            // What is not kept by the program would be executed.
            if (StatusOf(controller, program).bit4 != 1) {
                throw Failure(kRefused, "the program has not got the focus; nothing was sent");
            }
        } catch (...) {
            Release();
            throw;
        }
    }
    ~Focus() { Release(); }
    Focus(const Focus&) = delete;
    Focus& operator=(const Focus&) = delete;

    /// Whether it is known to be gone.
    bool Release()
    {
        if (!held_) return true;
        held_ = zelQ_SeqKillFocus(controller_.Number()) != ZELQ_OK;
        return !held_;
    }

  private:
    Controller& controller_;
    bool held_ = false;
};

void SendRecords(Context& context, Controller& controller, std::vector<SequenceRecord> records)
{
    std::size_t sent = 0;
    for (SequenceRecord& record : records) {
        if (Interrupted()) {
            throw Failure(kInterrupted, "interrupted; the program is left without its end");
        }
        NamedCall& call = record.call;
        call.arguments["zelNo"] = controller.Number();
        CallFrame frame(*call.function, std::move(call.arguments));
        frame.Run();
        Expect(frame.Result().get<int>(),
               "send line " + std::to_string(record.line) + ", " + call.function->name);
        context.out.Progress(std::to_string(++sent) + " of " + std::to_string(records.size()));
    }
}

ExitCode Upload(Context& context, const SequenceOptions& options)
{
    std::vector<SequenceRecord> records = ReadSequenceFile(options.file);
    const auto count = std::count_if(records.begin(), records.end(),
                                     [](const SequenceRecord& record) { return record.isKept; });
    Controller& controller = context.Connected();
    {
        Focus focus(controller, options.program);
        SendRecords(context, controller, std::move(records));
        if (!focus.Release()) {
            throw Failure(kLost,
                          "the program still has the focus: motion commands and stops of all "
                          "callers go into it until zelQ_SeqKillFocus()");
        }
    }
    Expect(zelQ_SeqFuncAddEnd(controller.Number(), static_cast<unsigned short>(options.program)),
           "close the program");
    context.out.EndProgress();
    context.out.Line("program " + std::to_string(options.program) + " has " +
                     std::to_string(count) + " records");
    context.out.Show(Json{{"program", options.program}, {"records", count}});
    return kDone;
}

/// Stops a program that is left before its end, and brakes its axes.
class RunningProgram
{
  public:
    RunningProgram(Controller& controller, int program)
        : number_(controller.Number()), program_(static_cast<unsigned short>(program))
    {
        const short result = zelQ_SeqStart(number_, program_);
        // It may run although the answer was lost.
        if (result < 0) Stop();
        Expect(result, "start program " + std::to_string(program));
    }
    ~RunningProgram()
    {
        if (!ended_) Stop();
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    void Ended() { ended_ = true; }

  private:
    void Stop() const
    {
        constexpr unsigned short kBrakeAxes = 1;
        zelQ_SeqStop(number_, program_, kBrakeAxes);
    }

    short number_;
    unsigned short program_;
    bool ended_ = false;
};

SeqStatus Follow(Context& context, Controller& controller, int program)
{
    for (;;) {
        const SeqStatus status = StatusOf(controller, program);
        if (status.state != kProgramRunning && status.state != kProgramPaused) return status;
        context.out.Progress("record " + std::to_string(status.long1) + ", " +
                             std::to_string(status.long3) + " passed, round " +
                             std::to_string(status.bits9_13 + 1));
        if (!WaitFor(Milliseconds(20))) {
            throw Failure(kInterrupted, "interrupted; the program was stopped");
        }
    }
}

ExitCode RunProgram(Context& context, const SequenceOptions& options)
{
    Controller& controller = context.Connected();
    context.Confirm("Run program " + std::to_string(options.program) + "? Axes will move.",
                    options.yes);
    const unsigned short reaction = options.onFault == "none"    ? 0
                                    : options.onFault == "brake" ? 1
                                                                 : 2;
    Expect(zelQ_SeqSetCfg(controller.Number(), static_cast<unsigned short>(options.program),
                          options.endless ? 1 : 0, reaction, 0),
           "configure the program");
    RunningProgram running(controller, options.program);
    const SeqStatus status = Follow(context, controller, options.program);
    running.Ended();
    context.out.EndProgress();
    const std::string passed = std::to_string(status.long3) + " records passed";
    if (status.state == kProgramFaulted) {
        throw Failure(kRefused,
                      "faulted at record " + std::to_string(status.long1) + ": " +
                          CodeText(status.word5),
                      status.word5);
    }
    context.out.Line(ProgramStateText(status.state) + ", " + passed);
    context.out.Show(StatusJson(options.program, status));
    return status.state == kProgramFinished ? kDone : kRefused;
}

} // namespace

void AddSequence(Program& program)
{
    const auto options = std::make_shared<SequenceOptions>();
    CLI::App& outer = program.AddVerb(
        {"sequence", Group::kKeep, "show, upload and run sequence programs", kSequenceManual}, {});
    const auto add = [&](const char* name, const char* summary,
                         ExitCode (*verb)(Context&, const SequenceOptions&)) -> CLI::App& {
        return program.AddVerb(outer, name, summary, [options, verb](Context& context) {
            return verb(context, *options);
        });
    };
    const auto addProgram = [&](CLI::App& app) {
        app.add_option("program", options->program, "0 to 3")
            ->required()
            ->check(CLI::Range(0, 3))
            ->type_name("PROGRAM");
    };
    add("show", "show the states of the programs", ShowPrograms);
    CLI::App& upload = add("upload", "send a program from a file", Upload);
    addProgram(upload);
    upload.add_option("file", options->file, "one record a line")->required()->type_name("FILE");
    CLI::App& run = add("run", "run a program to its end", RunProgram);
    addProgram(run);
    run.add_flag("--endless", options->endless, "begin anew behind the end, until Ctrl-C");
    run.add_option("--on-fault", options->onFault, "what its axes do when it faults")
        ->check(CLI::IsMember({"none", "brake", "stop"}))
        ->capture_default_str();
    run.add_flag("--yes", options->yes, "do not ask");
}

} // namespace zelq::tool
