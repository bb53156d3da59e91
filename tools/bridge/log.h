// Lines for people and for the system's journal.
#pragma once

#include <string>

namespace zelq::bridge {

/// One line on standard error; from any thread.
void Log(const std::string& line);

} // namespace zelq::bridge
