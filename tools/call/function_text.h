// What people and programs read of a function of the library.
#pragma once

#include "call/call_frame.h"

#include <string>
#include <vector>

namespace zelq::tool {

/// "double* pos [count]", with "out" in front where it is no input.
std::string DeclarationOf(const Parameter& parameter);
std::vector<std::string> LinesOf(const Function& function);
Json JsonOf(const Function& function);

} // namespace zelq::tool
