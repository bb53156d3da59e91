// The records of a sequence program.
#pragma once

#include "command.h"
#include "types.h"

#include <bitset>
#include <functional>
#include <optional>
#include <vector>

namespace lumosim {

class Controller;

using AxisSet = std::bitset<kMaxAxes>;

struct SequenceRecord
{
    // As the status of the program shows it.
    enum class Kind : Word { kCommand = 0, kWaitMotion = 1, kWaitInput = 2, kDelay = 3 };

    // Nothing as long as the program has to wait, kDone when it may go on, else why it cannot.
    // `moved` are the axes that the program has set in motion.
    using Condition = std::function<std::optional<Result>(const AxisSet& moved)>;

    Kind kind = Kind::kCommand;
    std::vector<Word> command; // code and fields
    Condition condition;       // of the waits
    Nanoseconds delay{0};
};

inline constexpr Word kWaitMotionRecord = 0x0230;
inline constexpr Word kWaitPreRegisterRecord = 0x0231;
inline constexpr Word kWaitInputRecord = 0x0232;
inline constexpr Word kDelayRecord = 0x0233;

// Whether a command starts, changes or stops a motion, or sets a position: a program can hold it.
bool IsMotionCommand(Word code);

// Makes the record of a wait or a delay out of its fields.
Result ReadSequenceRecord(Controller& controller, Word code, CommandReader& in,
                          SequenceRecord& record);

} // namespace lumosim
