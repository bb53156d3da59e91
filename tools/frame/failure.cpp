#include "frame/failure.h"

#include "zelq_errors.h"

namespace zelq::tool {

namespace {

/// Codes from here down tell of an argument, an axis or a pin: nothing was sent.
constexpr int kFirstArgumentCode = -1700;

} // namespace

ExitCode ExitCodeOf(int code)
{
    if (code == ZELQ_OK) return kDone;
    if (code > 0) return kRefused;
    if (code == ZELQ_BAD_CONTROLLER_NUMBER) return kUsage;
    if (code == ZELQ_CONFIGURATION_CHANGED) return kLost;
    return code <= kFirstArgumentCode ? kUsage : kLost;
}

std::string CodeText(int code)
{
    return std::to_string(code) + " " + ZelqErrorName(nullptr, code) + ": " +
           ZelqErrorText(nullptr, code);
}

void Expect(int result, const std::string& what)
{
    if (result == ZELQ_OK) return;
    throw Failure(ExitCodeOf(result), "cannot " + what + ": " + CodeText(result), result);
}

} // namespace zelq::tool
