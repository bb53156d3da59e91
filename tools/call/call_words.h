// Calls as people write them: functions by their names, each with its arguments behind it.
#pragma once

#include "call/call_frame.h"

#include <string>
#include <vector>

namespace zelq::tool {

struct NamedCall
{
    const Function* function;
    Json arguments = Json::object();
};

/// A Failure when there is none of this name.
const Function& NamedFunction(const std::string& name);

/// "MoveAbs axis=0 pos=1000 StopDec axis=0" are two calls.
std::vector<NamedCall> ParseCalls(const std::vector<std::string>& words);

/// Whether its first parameter tells the controller.
bool HasNumber(const Function& function);

} // namespace zelq::tool
