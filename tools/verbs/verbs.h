// The verbs: each stands in a file of its own, and adds itself to the program.
#pragma once

namespace zelq::tool {

class Program;

void AddDiscover(Program& program);
void AddPing(Program& program);
void AddInfo(Program& program);
void AddDoctor(Program& program);
void AddStatus(Program& program);
void AddWatch(Program& program);
void AddPanel(Program& program);
void AddIo(Program& program);
void AddMonitor(Program& program);
void AddAlarms(Program& program);
void AddServo(Program& program);
void AddJog(Program& program);
void AddMove(Program& program);
void AddHome(Program& program);
void AddStop(Program& program);
void AddSearch(Program& program);
void AddSpeed(Program& program);
void AddUnits(Program& program);

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

void AddBridge(Program& program); // where there is an MQTT client to be had
void AddCompletion(Program& program);
void AddManual(Program& program);

/// All of them, in the order of the help.
inline constexpr void (*kVerbs[])(Program&) = {
    AddDiscover, AddPing,       AddInfo,   AddDoctor, AddStatus,  AddWatch,    AddPanel,
    AddIo,       AddMonitor,    AddAlarms, AddServo,  AddJog,     AddMove,     AddHome,
    AddStop,     AddSearch,     AddSpeed,  AddUnits,  AddParams,  AddSequence, AddFlash,
    AddUart,     AddNetwork,    AddReset,  AddTrace,  AddCapture, AddExplain,
#ifdef ZELQ_HAS_BRIDGE
    AddBridge,
#endif
    AddCall,     AddCompletion, AddManual,
};

} // namespace zelq::tool
