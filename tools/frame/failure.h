// How the program ends, and how a verb says so from wherever it stands.
#pragma once

#include <stdexcept>
#include <string>

namespace zelq::tool {

/// What the program ends with. Scripts rely on the numbers.
enum ExitCode {
    kDone = 0,
    kRefused = 1,      ///< the controller refused
    kUsage = 2,        ///< wrong arguments, a wrong file, a limit of the configuration, a "no"
    kNoConnection = 3, ///< no controller there
    kLost = 4,         ///< the connection was lost on the way
    kInterrupted = 130 ///< Ctrl-C; what the verb had set in motion has been stopped
};

/// Ends the verb with an exit code and a message for people. `code` is the library's or the
/// controller's own where one stands behind it, else 0.
class Failure : public std::runtime_error
{
  public:
    Failure(ExitCode exit, const std::string& message, int code = 0)
        : std::runtime_error(message), exit_(exit), code_(code)
    {}

    [[nodiscard]] ExitCode Exit() const { return exit_; }
    [[nodiscard]] int Code() const { return code_; }

  private:
    ExitCode exit_;
    int code_;
};

/// What a result of the library means for the exit code of a verb that is connected.
ExitCode ExitCodeOf(int code);

/// What a code says to people: the one place that the texts of codes come from.
std::string CodeText(int code);

/// Throws unless the result is ZELQ_OK; `what` is what was tried, such as "switch servo 3 on".
void Expect(int result, const std::string& what);

} // namespace zelq::tool
