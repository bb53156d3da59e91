// Signals of axes, looked at once a period: the names and units are those of the simulator's
// recorder (docs/control-port.md).
#pragma once

#include "panel/machine.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelq::tool {

inline constexpr std::size_t kMostSignals = 8;

/// "0.command", "30.inputs". A Failure for what a controller does not tell.
struct ScopeSignal
{
    std::string name;
    std::function<double(const Sight&)> read;
};
ScopeSignal FindScopeSignal(const std::string& name);

/// Gathers samples of a few looks and gives them in one piece.
class PolledScope
{
  public:
    PolledScope(const std::vector<std::string>& names, double period);

    /// The message, where there is one to be sent. A gap between looks begins a new piece.
    std::string Take(const Sight& sight, double seconds);

  private:
    std::string Flush();

    static constexpr std::size_t kRowsPerMessage = 4;

    std::vector<ScopeSignal> signals_;
    double period_;
    double from_ = 0;
    double last_ = 0;
    std::vector<std::vector<double>> rows_;
};

} // namespace zelq::tool
