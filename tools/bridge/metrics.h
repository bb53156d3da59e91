// What there is to tell of a controller: one list, in one order, for names and for values.
#pragma once

#include "bridge/rules.h"
#include "zelq.h"

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace zelq::bridge {

struct ControllerConfig;

using Value = std::variant<bool, std::int64_t, double, std::string>;

/// What writing to a metric does.
enum class OrderKind { kNone, kStop, kResetAlarm, kOutput };

struct Allowed
{
    bool stop = false;
    bool resetAlarm = false;
    bool outputs = false;

    [[nodiscard]] bool Allows(OrderKind kind) const
    {
        return (kind == OrderKind::kStop && stop) ||
               (kind == OrderKind::kResetAlarm && resetAlarm) ||
               (kind == OrderKind::kOutput && outputs);
    }
};

struct Metric
{
    std::uint32_t code = 0; ///< the same in every session, whatever else the controller has
    std::string name;
    MetricGroup group = MetricGroup::kFlags;
    Quantity quantity = Quantity::kNone;
    std::string unit{};
    OrderKind order = OrderKind::kNone;
    int slave = -1; ///< what an order is about
    int pin = 0;

    /// There for orders alone: seen by nobody who may not give them.
    [[nodiscard]] bool IsControl() const
    {
        return order == OrderKind::kStop || order == OrderKind::kResetAlarm;
    }
};

struct AxisAlarm
{
    std::int64_t number = 0; ///< 0: there is none
    std::int64_t detail = 0;
    std::string text;
};

/// How the controller could be reached.
struct LinkState
{
    double roundTripMs = 0.0; ///< mean since it was told last
    double longestMs = 0.0;
    std::int64_t lostReplies = 0;
    std::int64_t reconnects = 0;
};

/// What is told beside the status.
struct Surroundings
{
    std::array<AxisAlarm, 32> alarms{};
    LinkState link;
    std::string model;
    std::string version;
};

std::vector<Metric> MetricsOf(const ControllerStatus& status, const ControllerConfig& config);
/// The values of these metrics, in the same order; constants and controls last.
void ReadValues(const ControllerStatus& status, const Surroundings& around, bool withConstants,
                const ControllerConfig& config, std::vector<Value>& values);
/// Whether two states have the same metrics.
bool HasSameSlaves(const ControllerStatus& one, const ControllerStatus& other);

} // namespace zelq::bridge
