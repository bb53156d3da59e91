// Pick and place: loads a sequence program into the controller, starts it, and watches it carry
// three parts from a conveyor into a tray. The controller runs it by itself; the computer could be
// switched off meanwhile.
//
//   pick_and_place                                     a simulated machine inside the program
//   pick_and_place --network 192.168.0 --controller 3  the real one at 192.168.0.3
//
// On a real machine axis 0 carries over 300 mm, axis 1 lifts over 60 mm; input 0 of the main board
// tells that a part lies on the conveyor, input 1 that the gripper, which works by itself, holds
// it.

#include "support/console.h"
#include "support/target.h"
#include "zelq.h"
#include "zelq/stop.hpp"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <stdexcept>
#include <thread>

namespace {

constexpr double kUnitPerPulse = 0.001; // 1 pulse is 1 micrometre, user units are millimetres
constexpr unsigned short kCarrier = 0;
constexpr unsigned short kLift = 1;
constexpr short kPartInput = 0;
constexpr short kGripInput = 1;
constexpr unsigned short kProgram = 0;
constexpr int kParts = 3;

constexpr double kConveyor = 40.0;
constexpr double kLow = -60.0;
constexpr double kHigh = 0.0;

constexpr double TrayPlace(int part)
{
    return 200.0 + 50.0 * part;
}

void Check(short result, const char* what)
{
    if (result == ZELQ_OK) return;
    throw std::runtime_error(std::string(what) + ": the call gave " + std::to_string(result));
}

/// What stands around a simulated controller: parts come in, and the gripper takes and drops them
/// where the lift is down. On a real machine the inputs come from there.
class Machine
{
  public:
    void Act(lumosim::Controller& controller)
    {
        const auto place = [&controller](int axis) {
            return controller.AxisAt(axis).CommandPosition() * kUnitPerPulse;
        };
        if (place(kLift) <= kLow) holds_ = std::abs(place(kCarrier) - kConveyor) < 1.0;
        const unsigned part = holds_ ? 0U : 1U;
        const unsigned grip = holds_ ? 1U : 0U;
        controller.SetMainInputs(
            static_cast<lumosim::Word>(part << kPartInput | grip << kGripInput));
    }

  private:
    bool holds_ = false;
};

class PickAndPlace
{
  public:
    explicit PickAndPlace(example::Target& target) : target_(target), zelNo_(target.Number()) {}

    void SetUp() const
    {
        for (const unsigned short axis : {kCarrier, kLift}) {
            const auto number = static_cast<short>(axis);
            Check(zelQ_UnitPerPulseSet(zelNo_, number, kUnitPerPulse), "units");
            Check(zelQ_SpeedSet(zelNo_, number, 0, 1.0, 8000.0, 800.0, 8000.0), "speeds");
        }
        const std::array<short, 2> axes = {kCarrier, kLift};
        Check(zelQ_mServoOn(zelNo_, 2, axes.data(), 1), "servos on");
    }

    /// While the program has the focus, moves and waits go into its buffer.
    void Load()
    {
        Check(zelQ_SeqFuncBufClear(zelNo_, kProgram), "empty buffer");
        Check(zelQ_SeqSetFocus(zelNo_, kProgram), "focus");
        for (int part = 0; part < kParts; ++part) {
            MoveAndWait(kCarrier, kConveyor);
            AddRecord(zelQ_SeqFuncWaitMDIpin(zelNo_, kPartInput, 1));
            MoveAndWait(kLift, kLow);
            AddRecord(zelQ_SeqFuncWaitMDIpin(zelNo_, kGripInput, 1));
            AddRecord(zelQ_SeqFuncDelay(zelNo_, 50)); // ms, for a firm grip
            MoveAndWait(kLift, kHigh);
            MoveAndWait(kCarrier, TrayPlace(part));
            MoveAndWait(kLift, kLow);
            AddRecord(zelQ_SeqFuncWaitMDIpin(zelNo_, kGripInput, 0));
            MoveAndWait(kLift, kHigh);
        }
        Check(zelQ_SeqKillFocus(zelNo_), "no focus");
        Check(zelQ_SeqFuncAddEnd(zelNo_, kProgram), "end of buffer");
        std::printf("loaded a program of %d records\n", records_);
    }

    void Run()
    {
        Check(zelQ_SeqStart(zelNo_, kProgram), "start");
        example::LiveLines live;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        for (bool running = true; running;) {
            if (target_.IsSimulated()) {
                target_.Simulator().With(
                    [this](lumosim::Controller& controller) { machine_.Act(controller); });
            }
            SeqStatus program{};
            ControllerStatus status{};
            Check(zelQ_SeqGetStatus(zelNo_, kProgram, &program), "program status");
            Check(zelQ_GetAllStatus(zelNo_, &status), "status");
            running = program.state == kRunning;
            live.Show({ProgramLine(program), AxisLine("carrier", status.servo[kCarrier]),
                       AxisLine("lift", status.servo[kLift]), InputLine(status)},
                      !running);
            if (!running) return CheckEnd(program, status);
            if (zelq::interrupted()) throw std::runtime_error("interrupted");
            if (std::chrono::steady_clock::now() > end) throw std::runtime_error("never finished");
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }

    /// After a failure: the controller would carry on by itself, and while its program has the
    /// focus, a stop would only become a part of it.
    void EndProgram() const
    {
        constexpr unsigned short kAxesBrake = 1;
        zelQ_SeqKillFocus(zelNo_);
        zelQ_SeqStop(zelNo_, kProgram, kAxesBrake);
    }

    void SwitchOff() const
    {
        const std::array<short, 2> axes = {kCarrier, kLift};
        Check(zelQ_mServoOn(zelNo_, 2, axes.data(), 0), "servos off");
    }

  private:
    // States of a program and their names.
    static constexpr unsigned short kRunning = 3;
    static constexpr unsigned short kFinished = 5;
    static constexpr std::array<const char*, 8> kStates = {
        "empty", "being filled", "ready", "running", "paused", "finished", "stopped", "faulted"};

    void AddRecord(short result)
    {
        Check(result, "record");
        ++records_;
    }

    void MoveAndWait(unsigned short axis, double place)
    {
        AddRecord(zelQ_MoveAbs(zelNo_, axis, place));
        AddRecord(zelQ_SeqFuncWaitMovDone(zelNo_, 0, 1, &axis));
    }

    [[nodiscard]] std::string ProgramLine(const SeqStatus& program) const
    {
        const char* state = program.state < kStates.size() ? kStates[program.state] : "unknown";
        return "  program  " + std::string(state) + ", " + std::to_string(program.long3) + " of " +
               std::to_string(records_) + " records" + (program.bit5 != 0 ? ", waiting" : "");
    }

    static std::string AxisLine(const char* name, const ServoStatus& servo)
    {
        std::array<char, 80> line{};
        std::snprintf(line.data(), line.size(), "  %-7s  %9.3f mm  %9.3f mm/s", name,
                      double{servo.commandPosition}, double{servo.velocity});
        return line.data();
    }

    static std::string InputLine(const ControllerStatus& status)
    {
        return std::string("  inputs   ") + (status.mainInputs[kPartInput] != 0 ? "part" : "    ") +
               (status.mainInputs[kGripInput] != 0 ? " held" : "");
    }

    static void CheckEnd(const SeqStatus& program, const ControllerStatus& status)
    {
        if (program.state != kFinished) {
            throw std::runtime_error("the program ended with " + std::to_string(program.word5));
        }
        const double missed =
            std::abs(status.servo[kCarrier].commandPosition - TrayPlace(kParts - 1));
        if (missed > kUnitPerPulse) throw std::runtime_error("the last part is not in its place");
        std::printf("%d parts are in the tray\n", kParts);
    }

    example::Target& target_;
    short zelNo_;
    Machine machine_;
    int records_ = 0;
};

} // namespace

int main(int argc, char** argv)
{
    example::Target target(argc, argv,
                           "Carries three parts with a sequence program of the controller.");
    zelq::catchInterrupts();
    try {
        target.Connect();
        PickAndPlace work(target);
        zelq::StopGuard guard(target.Number(), {kCarrier, kLift});
        try {
            work.SetUp();
            work.Load();
            work.Run();
        } catch (const std::exception&) {
            work.EndProgram();
            throw;
        }
        guard.release();
        work.SwitchOff();
        zelQ_Disconnect(target.Number());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\npick_and_place: %s\n", error.what());
        return zelq::interrupted() ? 130 : 1;
    }
    return 0;
}
