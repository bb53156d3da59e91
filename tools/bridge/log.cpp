#include "bridge/log.h"

#include <cstdio>

namespace zelq::bridge {

void Log(const std::string& line)
{
    // In one call: lines of several threads do not mix.
    std::fputs(("zelq bridge: " + line + "\n").c_str(), stderr);
}

} // namespace zelq::bridge
