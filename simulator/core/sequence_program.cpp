#include "sequence_program.h"

#include "controller.h"
#include "names.h"
#include "snapshot.h"

#include <algorithm>
#include <array>
#include <utility>

namespace lumosim {

Nanoseconds SequenceProgram::Now() const
{
    return controller_->Now();
}

Result SequenceProgram::Clear()
{
    if (Active()) return Result::kProgramRunning;
    const Setting setting = setting_;
    *this = SequenceProgram(*controller_);
    setting_ = setting;
    return Result::kDone;
}

Result SequenceProgram::CheckAppend() const
{
    if (Active()) return Result::kProgramRunning;
    if (closed_) return Result::kProgramClosed;
    return records_.size() < kCapacity ? Result::kDone : Result::kProgramFull;
}

void SequenceProgram::Append(SequenceRecord record)
{
    records_.push_back(std::move(record));
    state_ = State::kFilling;
}

Result SequenceProgram::Close()
{
    if (Active()) return Result::kProgramRunning;
    if (closed_) return Result::kProgramClosed;
    closed_ = true;
    state_ = State::kReady;
    return Result::kDone;
}

Result SequenceProgram::Configure(const Setting& setting)
{
    if (Active()) return Result::kProgramRunning;
    setting_ = setting;
    return Result::kDone;
}

Result SequenceProgram::Start()
{
    if (Active()) return Result::kProgramRunning;
    if (!closed_) return Result::kProgramOpen;
    state_ = State::kRunning;
    started_ = true;
    at_ = 0;
    since_ = nextStep_ = Now();
    passed_ = 0;
    rounds_ = 0;
    fault_ = Result::kDone;
    moved_.reset();
    return Result::kDone;
}

void SequenceProgram::Stop(bool stopMotions)
{
    if (!Active()) return;
    state_ = State::kStopped;
    if (stopMotions) StopMotions(StopMode::kDecelerate, StopCause::kStopCommand);
}

Result SequenceProgram::Pause()
{
    if (state_ != State::kRunning) return Result::kProgramNotRunning;
    state_ = State::kPaused;
    return Result::kDone;
}

Result SequenceProgram::Resume()
{
    if (state_ != State::kPaused) return Result::kProgramNotRunning;
    state_ = State::kRunning;
    return Result::kDone;
}

Nanoseconds SequenceProgram::NextEvent() const
{
    if (state_ != State::kRunning) return kNever;
    if (AtEnd()) return nextStep_;
    const SequenceRecord& record = records_[at_];
    if (record.kind == SequenceRecord::Kind::kCommand) return nextStep_;
    if (record.kind == SequenceRecord::Kind::kDelay) {
        return std::max(nextStep_, since_ + record.delay);
    }
    const Nanoseconds scan = Now() - Now() % kScanTime + kScanTime;
    return Now() < nextStep_ ? nextStep_ : scan;
}

void SequenceProgram::Advance()
{
    if (state_ != State::kRunning || Now() < nextStep_) return;
    if (AtEnd()) return ComeToEnd();
    const SequenceRecord& record = records_[at_];
    if (record.kind == SequenceRecord::Kind::kCommand) return RunCommand(record);
    if (record.kind == SequenceRecord::Kind::kDelay) {
        if (Now() >= since_ + record.delay) Pass();
        return;
    }
    const std::optional<Result> result = record.condition(moved_);
    if (!result) return;
    if (*result == Result::kDone) return Pass();
    Fault(*result);
}

void SequenceProgram::RunCommand(const SequenceRecord& record)
{
    std::array<std::shared_ptr<const Trajectory>, kMaxAxes> before;
    for (std::size_t i = 0; i < before.size(); ++i) {
        const Axis* axis = controller_->FindAxis(static_cast<int>(i));
        if (axis != nullptr) before[i] = axis->Following();
    }
    Reply reply;
    const Result result = controller_->Perform(record.command, reply);
    if (result != Result::kDone) return Fault(result);
    for (std::size_t i = 0; i < before.size(); ++i) {
        const Axis* axis = controller_->FindAxis(static_cast<int>(i));
        if (axis != nullptr && axis->Moving() && axis->Following() != before[i]) moved_.set(i);
    }
    Pass();
}

void SequenceProgram::Pass()
{
    ++at_;
    ++passed_;
    since_ = Now();
    nextStep_ = Now() + kRecordTime;
    if (setting_.singleStep) state_ = State::kPaused;
}

void SequenceProgram::ComeToEnd()
{
    ++rounds_;
    if (!setting_.endless) {
        state_ = State::kFinished;
        return;
    }
    at_ = 0;
    since_ = Now();
    nextStep_ = Now() + kRecordTime;
}

void SequenceProgram::Fault(Result result)
{
    state_ = State::kFaulted;
    fault_ = result;
    if (setting_.reaction == FaultReaction::kDecelerate) {
        StopMotions(StopMode::kDecelerate, StopCause::kStopCommand);
    } else if (setting_.reaction == FaultReaction::kSudden) {
        StopMotions(StopMode::kSudden, StopCause::kSuddenStopCommand);
    }
}

void SequenceProgram::StopMotions(StopMode mode, StopCause cause)
{
    for (std::size_t i = 0; i < moved_.size(); ++i) {
        Axis* axis = moved_.test(i) ? controller_->FindAxis(static_cast<int>(i)) : nullptr;
        if (axis != nullptr) axis->Stop(mode, cause);
    }
}

void SequenceProgram::Show(bool focused, std::span<Word> out) const
{
    constexpr unsigned kRoundsMask = 0x1F;
    const auto bit = [](bool on, unsigned number) { return (on ? 1U : 0U) << number; };
    const unsigned kind = AtEnd() ? 0U : static_cast<unsigned>(records_[at_].kind);
    const bool waiting = state_ == State::kRunning && kind != 0;
    out[0] = static_cast<Word>(static_cast<unsigned>(state_) | bit(focused, 4) | bit(waiting, 5) |
                               kind << 6U | bit(closed_, 8) | (rounds_ & kRoundsMask) << 9U);
    out[1] = started_ ? static_cast<Word>(at_ + 1) : Word{0};
    out[2] = 0;
    out[3] = LowWord(static_cast<std::int32_t>(passed_));
    out[4] = HighWord(static_cast<std::int32_t>(passed_));
    out[5] = static_cast<Word>(fault_);
}

void SequenceProgram::Describe(Json& program) const
{
    constexpr std::array kStates = {"empty",  "filling",  "ready",   "running",
                                    "paused", "finished", "stopped", "faulted"};
    constexpr std::array kKinds = {"command", "wait-motion", "wait-input", "delay"};
    const auto nameOf = [](const auto& names, auto value) {
        return names.at(static_cast<std::size_t>(value));
    };
    program["state"] = nameOf(kStates, state_);
    program["records"] = records_.size();
    program["record"] = started_ ? at_ + 1 : 0;
    program["kind"] = AtEnd() ? "end" : nameOf(kKinds, records_[at_].kind);
    program["passed"] = passed_;
    program["rounds"] = rounds_;
    program["fault"] = NameOf(fault_);
}

} // namespace lumosim
