// What is asked of controllers through the broker, and what of it is refused.
#pragma once

#include "bridge/changes.h"
#include "bridge/wire.h"

#include <map>

namespace zelq::bridge {

/// Everything is logged: what is carried out, and what is refused with its reason. More than a few
/// a second are refused, and told of in one line.
class OrderDesk
{
  public:
    explicit OrderDesk(Allowed allowed) : allowed_(allowed) {}

    [[nodiscard]] const Allowed& WhatIsAllowed() const { return allowed_; }
    std::optional<Order> Check(const Device& device, const Write& write, Clock::time_point now);
    /// For a controller that is not there.
    void RefuseAll(const std::string& device, std::size_t count, Clock::time_point now);
    [[nodiscard]] std::int64_t Refused() const { return refused_; }

  private:
    /// A few at once, and then as many as the rate lets through.
    struct Bucket
    {
        double tokens = 10.0;
        Clock::time_point when{};
        std::int64_t refused = 0;
    };

    bool Take(const std::string& device, OrderKind kind, Clock::time_point now);
    std::optional<Order> Refuse(const std::string& what, const std::string& reason);

    Allowed allowed_;
    std::map<std::pair<std::string, OrderKind>, Bucket> buckets_;
    std::int64_t refused_ = 0;
};

} // namespace zelq::bridge
