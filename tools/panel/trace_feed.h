// Lines of the library's trace, while somebody looks.
#pragma once

#include "panel/service.h"
#include "see/trace_source.h"

#include <functional>
#include <string>
#include <vector>

namespace zelq::tool {

/// Its thread is the trace viewer while it is wanted, so nobody waits for its coming and going.
class TraceFeed final : private Service
{
  public:
    /// Lines, or why there are none; on the feed's thread.
    using Told =
        std::function<void(const std::vector<std::string>& lines, const std::string& problem)>;

    explicit TraceFeed(Told told) : told_(std::move(told)) {}
    ~TraceFeed() { Stop(); }

    using Service::Start;
    using Service::Stop;
    void Set(bool wanted);

  private:
    void Run() override;
    void Take();
    [[nodiscard]] bool IsWanted();

    Told told_;
    bool wanted_ = false;
};

} // namespace zelq::tool
