// The verbs: each stands in a file of its own, and adds itself to the program.
#pragma once

namespace zelq::tool {

class Program;

void AddPing(Program& program);
void AddStatus(Program& program);

void AddParams(Program& program);
void AddSequence(Program& program);
void AddFlash(Program& program);
void AddUart(Program& program);
void AddNetwork(Program& program);
void AddReset(Program& program);
void AddTrace(Program& program);
void AddCapture(Program& program);
void AddExplain(Program& program);
void AddCall(Program& program);

/// All of them, in the order of the help.
inline constexpr void (*kVerbs[])(Program&) = {
    AddPing,   AddStatus,

    AddParams, AddSequence, AddFlash,   AddUart,    AddNetwork,
    AddReset,  AddTrace,    AddCapture, AddExplain, AddCall,
};

} // namespace zelq::tool
