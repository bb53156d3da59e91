// What the parts of the bridge hand to each other.
#pragma once

#include "bridge/metrics.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace zelq::bridge {

/// Milliseconds of the wall clock since 1970, as payloads carry them.
using Millis = std::int64_t;
Millis WallClock();

struct Change
{
    std::uint32_t code = 0; ///< of the metric
    Value value;
};

/// What changed at a controller at one moment.
struct Record
{
    std::int64_t id = 0; ///< in the order in which they came; for the store
    short controller = 0;
    Millis time = 0;
    std::vector<Change> changes;
};

/// A controller that answers: its metrics, and their values as last told.
struct Device
{
    short number = 0;
    std::string name;
    std::vector<Metric> metrics;
    std::vector<Value> values; ///< values[i] of metrics[i]
    std::unordered_map<std::uint32_t, std::size_t> places{};

    [[nodiscard]] const Metric* Find(std::uint32_t code) const
    {
        const auto found = places.find(code);
        return found == places.end() ? nullptr : &metrics[found->second];
    }
    [[nodiscard]] const Metric* Find(const std::string& metric) const
    {
        for (const Metric& each : metrics) {
            if (each.name == metric) return &each;
        }
        return nullptr;
    }
    void Apply(const Record& record)
    {
        for (const Change& change : record.changes) {
            const auto found = places.find(change.code);
            if (found != places.end()) values[found->second] = change.value;
        }
    }
};

/// What somebody asks of a controller, checked and allowed.
struct Order
{
    short controller = 0;
    OrderKind kind = OrderKind::kNone;
    int slave = 0; ///< the axis or the output slave; negative: the whole controller
    int pin = 0;
    bool state = false;
    std::string text; ///< for the log
};

} // namespace zelq::bridge
