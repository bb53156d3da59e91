// One sequence program: its buffer, and how it runs.
#pragma once

#include "axis.h"
#include "sequence_record.h"
#include "types.h"

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <vector>

namespace lumosim {

class Controller;

class SequenceProgram
{
  public:
    static constexpr std::size_t kCapacity = 512; // records
    static constexpr Word kStatusRegisters = 6;

    // Each record takes this long at least; so does coming to the end.
    static constexpr Nanoseconds kRecordTime = std::chrono::microseconds(100);
    // A waiting program looks as often as this, and at every event of the controller.
    static constexpr Nanoseconds kScanTime = std::chrono::milliseconds(1);

    enum class State : Word {
        kEmpty = 0,
        kFilling = 1,
        kReady = 2,
        kRunning = 3,
        kPaused = 4,
        kFinished = 5,
        kStopped = 6,
        kFaulted = 7,
    };

    // What becomes of the program's motions when it faults.
    enum class FaultReaction : Word { kNone = 0, kDecelerate = 1, kSudden = 2 };

    struct Setting
    {
        bool endless = false; // begins anew behind its end
        FaultReaction reaction = FaultReaction::kNone;
        bool singleStep = false; // pauses behind each record
    };

    explicit SequenceProgram(Controller& controller) : controller_(&controller) {}

    Result Clear();
    [[nodiscard]] Result CheckAppend() const; // whether a record would be taken
    void Append(SequenceRecord record);
    Result Close();
    Result Configure(const Setting& setting);
    Result Start();
    void Stop(bool stopMotions);
    Result Pause();
    Result Resume();

    [[nodiscard]] Nanoseconds NextEvent() const;
    void Advance();
    void Show(bool focused, std::span<Word> out) const;
    void Describe(nlohmann::json& program) const;

  private:
    [[nodiscard]] bool Active() const
    {
        return state_ == State::kRunning || state_ == State::kPaused;
    }
    [[nodiscard]] bool AtEnd() const { return at_ >= records_.size(); }
    [[nodiscard]] Nanoseconds Now() const;
    void RunCommand(const SequenceRecord& record);
    void Pass();
    void ComeToEnd();
    void Fault(Result result);
    void StopMotions(StopMode mode, StopCause cause);

    Controller* controller_; // a pointer, so that a program can be put back to its beginning
    Setting setting_;
    std::vector<SequenceRecord> records_;
    bool closed_ = false;
    State state_ = State::kEmpty;

    std::size_t at_ = 0;       // the record at hand
    bool started_ = false;     // since it was cleared
    Nanoseconds since_{0};     // when the record came to hand
    Nanoseconds nextStep_{0};  // not done with it before
    std::uint32_t passed_ = 0; // records since the start
    std::uint32_t rounds_ = 0; // since the start
    Result fault_ = Result::kDone;
    AxisSet moved_; // axes that it has set in motion since the start
};

} // namespace lumosim
