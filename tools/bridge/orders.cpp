#include "bridge/orders.h"

#include "bridge/log.h"

#include <algorithm>

namespace zelq::bridge {

namespace {

constexpr double kMostAtOnce = 10.0;
constexpr double kPerSecond = 5.0;
/// Names that nobody has are anybody's to invent.
constexpr std::size_t kMostBuckets = 2000;
constexpr std::size_t kLongestName = 100;

/// What came from the broker, as it may stand in a log.
std::string Harmless(const std::string& text)
{
    std::string shown = text.substr(0, kLongestName);
    std::replace_if(
        shown.begin(), shown.end(),
        [](char each) { return static_cast<unsigned char>(each) < ' ' || each == '\x7f'; }, '?');
    return "\"" + shown + "\"";
}

std::optional<bool> ToFlag(const Value& value)
{
    if (const auto* flag = std::get_if<bool>(&value)) return *flag;
    const auto* number = std::get_if<std::int64_t>(&value);
    if (number == nullptr || *number < 0 || *number > 1) return std::nullopt;
    return *number == 1;
}

const char* OptionOf(OrderKind kind)
{
    switch (kind) {
    case OrderKind::kStop:
        return "stop";
    case OrderKind::kResetAlarm:
        return "reset-alarm";
    default:
        return "outputs";
    }
}

} // namespace

/// Stops have their own: whoever floods the outputs does not keep a stop from coming through.
bool OrderDesk::Take(const std::string& device, OrderKind kind, Clock::time_point now)
{
    if (buckets_.size() > kMostBuckets) buckets_.clear();
    Bucket& bucket = buckets_[{device, kind}];
    const double seconds = std::chrono::duration<double>(now - bucket.when).count();
    bucket.tokens = std::min(kMostAtOnce, bucket.tokens + kPerSecond * seconds);
    bucket.when = now;
    if (bucket.tokens < 1.0) {
        ++refused_;
        if (bucket.refused++ == 0) Log("command to " + Harmless(device) + ": too many, refused");
        return false;
    }
    if (bucket.refused > 0) {
        Log(std::to_string(bucket.refused) + " commands to " + Harmless(device) +
            " were refused, too many");
        bucket.refused = 0;
    }
    bucket.tokens -= 1.0;
    return true;
}

std::optional<Order> OrderDesk::Refuse(const std::string& what, const std::string& reason)
{
    ++refused_;
    Log("command " + what + ": refused, " + reason);
    return std::nullopt;
}

void OrderDesk::RefuseAll(const std::string& device, std::size_t count, Clock::time_point now)
{
    for (std::size_t i = 0; i < count; ++i) {
        if (Take(device, OrderKind::kNone, now))
            Refuse("to " + Harmless(device), "it is not there");
    }
}

std::optional<Order> OrderDesk::Check(const Device& device, const Write& write,
                                      Clock::time_point now)
{
    const Metric* metric = write.code ? device.Find(*write.code) : device.Find(write.name);
    const OrderKind kind = metric == nullptr ? OrderKind::kNone : metric->order;
    if (!Take(device.name, kind, now)) return std::nullopt;
    const std::string name =
        metric != nullptr ? metric->name : (write.code ? std::to_string(*write.code) : write.name);
    const std::string what = Harmless(name) + " of " + Harmless(device.name);
    if (metric == nullptr) return Refuse(what, "there is no such metric");
    if (kind == OrderKind::kNone) return Refuse(what, "it is read only");
    if (!allowed_.Allows(kind)) {
        return Refuse(what,
                      std::string("the bridge was started without --allow ") + OptionOf(kind));
    }
    const auto state = ToFlag(write.value);
    if (!state) return Refuse(what, "it is true or false");
    if (metric->IsControl() && !*state) return Refuse(what, "only true does anything");
    const char* word = metric->IsControl() ? "" : (*state ? " on" : " off");
    return Order{device.number, kind, metric->slave, metric->pin, *state, "command " + what + word};
}

} // namespace zelq::bridge
