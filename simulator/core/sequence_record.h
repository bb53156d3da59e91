// The records of a sequence program.
#pragma once

#include "field_list.h"
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

// Whether a command starts, changes or stops a motion, or sets a position: a program can hold it.
bool IsMotionCommand(Word code);

// A wait or a delay, and how it is made out of its fields.
struct SequenceForm
{
    Word code;
    const char* name;
    FieldList fields;
    std::function<Result(Controller&, CommandReader&, SequenceRecord&)> read;
};

const std::vector<SequenceForm>& SequenceForms();
const SequenceForm* FindSequenceForm(Word code); // null for any other command

} // namespace lumosim
