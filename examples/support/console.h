#pragma once

#include <string>
#include <vector>

namespace example {

/// Lines that are rewritten in place on a terminal; elsewhere each update is printed below the
/// last one, and less often.
class LiveLines
{
  public:
    LiveLines();

    /// `last`: the final state, always printed.
    void Show(const std::vector<std::string>& lines, bool last);

  private:
    bool terminal_;
    std::size_t shown_ = 0;
    int updates_ = 0;
};

} // namespace example
