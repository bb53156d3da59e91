#include "bridge/wire.h"
#include "sparkplug_b.pb.h"

namespace zelq::bridge {

namespace {

using sparkplug::Payload;

/// Data types of the standard, by the kind of a value.
constexpr std::array<unsigned, 4> kDataTypes = {11, 4, 10, 12}; // Boolean, Int64, Double, String
constexpr unsigned kStringType = 12;
constexpr int kLargestSequence = 255;

constexpr const char* kRebirth = "Node Control/Rebirth";
constexpr const char* kSession = "bdSeq";

/// One number space for the whole node: its own metrics have controller 0.
std::uint64_t AliasOf(short controller, std::uint32_t code)
{
    return (static_cast<std::uint64_t>(controller) << 16) | code;
}

std::uint64_t Unsigned(Millis time)
{
    return static_cast<std::uint64_t>(time);
}

void Set(Payload::Metric& metric, const Value& value)
{
    if (const auto* flag = std::get_if<bool>(&value)) metric.set_boolean_value(*flag);
    if (const auto* number = std::get_if<std::int64_t>(&value)) {
        metric.set_long_value(static_cast<std::uint64_t>(*number));
    }
    if (const auto* real = std::get_if<double>(&value)) metric.set_double_value(*real);
    if (const auto* text = std::get_if<std::string>(&value)) metric.set_string_value(*text);
}

/// Hosts write numbers in whatever form the metric's type suggests to them.
Value ValueOf(const Payload::Metric& metric)
{
    switch (metric.value_case()) {
    case Payload::Metric::kBooleanValue:
        return metric.boolean_value();
    case Payload::Metric::kIntValue:
        return std::int64_t{metric.int_value()};
    case Payload::Metric::kLongValue:
        return static_cast<std::int64_t>(metric.long_value());
    case Payload::Metric::kFloatValue:
        return static_cast<double>(metric.float_value());
    case Payload::Metric::kDoubleValue:
        return metric.double_value();
    default:
        return metric.string_value();
    }
}

void AddBirthMetric(Payload& payload, const std::string& name, std::optional<std::uint64_t> alias,
                    const Value& value, const std::string& unit)
{
    Payload::Metric& metric = *payload.add_metrics();
    metric.set_name(name);
    if (alias) metric.set_alias(*alias);
    metric.set_timestamp(payload.timestamp());
    metric.set_datatype(kDataTypes[value.index()]);
    Set(metric, value);
    if (unit.empty()) return;
    metric.mutable_properties()->add_keys("engUnit");
    auto* property = metric.mutable_properties()->add_values();
    property->set_type(kStringType);
    property->set_string_value(unit);
}

std::optional<Payload> PayloadFrom(const std::string& bytes)
{
    Payload payload;
    if (!payload.ParseFromString(bytes)) return std::nullopt;
    return payload;
}

class Sparkplug : public Wire
{
  public:
    explicit Sparkplug(const NodeConfig& config)
        : prefix_("spBv1.0/" + config.group + "/"),
          node_("/" + config.node),
          host_(config.primaryHost.empty() ? "" : "spBv1.0/STATE/" + config.primaryHost)
    {}

    Message Begin(int session) override
    {
        session_ = session;
        return NodeDeath();
    }

    [[nodiscard]] std::vector<std::string> Subscriptions() const override
    {
        std::vector<std::string> topics = {Topic("NCMD"), Topic("DCMD") + "/+", BirthTopic(),
                                           Topic("NDEATH")};
        if (!host_.empty()) topics.push_back(host_);
        return topics;
    }

    [[nodiscard]] std::string BirthTopic() const override { return Topic("NBIRTH"); }

    [[nodiscard]] Message RebirthRequest() const override
    {
        Payload payload;
        payload.set_timestamp(Unsigned(WallClock()));
        AddBirthMetric(payload, kRebirth, std::nullopt, true, "");
        return {Topic("NCMD"), payload.SerializeAsString()};
    }

    Message NodeBirth(const std::vector<NodeValue>& values, Millis time) override
    {
        sequence_ = 0;
        Payload payload = Stamped(time);
        AddBirthMetric(payload, kSession, std::nullopt, std::int64_t{session_}, "");
        // Hosts ask for it by its name, for they may do so before they know an alias.
        AddBirthMetric(payload, kRebirth, std::nullopt, false, "");
        for (const NodeValue& value : values) {
            AddBirthMetric(payload, value.name, AliasOf(0, value.code), value.value, "");
        }
        return {BirthTopic(), payload.SerializeAsString()};
    }

    Message NodeData(const std::vector<NodeValue>& values, Millis time) override
    {
        Payload payload = Stamped(time);
        for (const NodeValue& value : values) {
            AddData(payload, AliasOf(0, value.code), value.value, time);
        }
        return {Topic("NDATA"), payload.SerializeAsString()};
    }

    /// It has no sequence number: the broker sends it whenever that may be.
    Message NodeDeath() override
    {
        Payload payload;
        payload.set_timestamp(Unsigned(WallClock()));
        Payload::Metric& metric = *payload.add_metrics();
        metric.set_name(kSession);
        metric.set_datatype(kDataTypes[1]);
        metric.set_long_value(static_cast<std::uint64_t>(session_));
        return {Topic("NDEATH"), payload.SerializeAsString(), 1};
    }

    std::vector<Message> DeviceBirth(const Device& device, const Allowed& allowed,
                                     Millis time) override
    {
        Payload payload = Stamped(time);
        for (std::size_t i = 0; i < device.metrics.size(); ++i) {
            const Metric& metric = device.metrics[i];
            if (metric.IsControl() && !allowed.Allows(metric.order)) continue;
            AddBirthMetric(payload, metric.name, AliasOf(device.number, metric.code),
                           device.values[i], metric.unit);
        }
        return {{Topic("DBIRTH") + "/" + device.name, payload.SerializeAsString()}};
    }

    Message DeviceData(const Device& device, const Record& record, bool historical) override
    {
        data_.Clear();
        data_.set_timestamp(Unsigned(historical ? WallClock() : record.time));
        data_.set_seq(Next());
        for (const Change& change : record.changes) {
            AddData(data_, AliasOf(device.number, change.code), change.value, record.time);
            if (historical) data_.mutable_metrics()->rbegin()->set_is_historical(true);
        }
        return {Topic("DDATA") + "/" + device.name, data_.SerializeAsString()};
    }

    Message DeviceDeath(const Device& device, Millis time) override
    {
        return {Topic("DDEATH") + "/" + device.name, Stamped(time).SerializeAsString()};
    }

    [[nodiscard]] Incoming Parse(const std::string& topic, const std::string& payload,
                                 bool retained) const override
    {
        if (!host_.empty() && topic == host_) {
            return ParseHostState(payload).value_or(Incoming{});
        }
        // Whoever leaves commands lying about at the broker does not mean this very moment.
        if (retained) return {};
        if (topic == BirthTopic()) return {Incoming::Kind::kBirth};
        if (topic == Topic("NDEATH")) return {Incoming::Kind::kDeath};
        if (topic == Topic("NCMD")) return ParseNodeCommand(payload);
        const std::string devices = Topic("DCMD") + "/";
        if (topic.rfind(devices, 0) == 0) {
            return ParseDeviceCommand(topic.substr(devices.size()), payload);
        }
        return {};
    }

  private:
    [[nodiscard]] std::string Topic(const char* type) const { return prefix_ + type + node_; }

    std::uint64_t Next()
    {
        const int sequence = sequence_;
        sequence_ = sequence == kLargestSequence ? 0 : sequence + 1;
        return static_cast<std::uint64_t>(sequence);
    }

    Payload Stamped(Millis time)
    {
        Payload payload;
        payload.set_timestamp(Unsigned(time));
        payload.set_seq(Next());
        return payload;
    }

    /// By its alias alone, without its type: the birth has told both.
    static void AddData(Payload& payload, std::uint64_t alias, const Value& value, Millis time)
    {
        Payload::Metric& metric = *payload.add_metrics();
        metric.set_alias(alias);
        metric.set_timestamp(Unsigned(time));
        Set(metric, value);
    }

    static Incoming ParseNodeCommand(const std::string& bytes)
    {
        const auto payload = PayloadFrom(bytes);
        if (!payload) return {};
        for (const Payload::Metric& metric : payload->metrics()) {
            if (metric.name() == kRebirth && metric.boolean_value()) {
                return {Incoming::Kind::kRebirth};
            }
        }
        return {};
    }

    static Incoming ParseDeviceCommand(const std::string& device, const std::string& bytes)
    {
        const auto payload = PayloadFrom(bytes);
        if (!payload) return {};
        Incoming incoming{Incoming::Kind::kWrites, device};
        for (const Payload::Metric& metric : payload->metrics()) {
            Write write{std::nullopt, metric.name(), ValueOf(metric)};
            if (metric.has_alias())
                write.code = static_cast<std::uint32_t>(metric.alias()) & 0xFFFF;
            incoming.writes.push_back(std::move(write));
        }
        return incoming;
    }

    std::string prefix_;
    std::string node_;
    std::string host_;
    int session_ = 0;
    int sequence_ = 0;
    Payload data_; // its memory serves again
};

} // namespace

std::unique_ptr<Wire> MakeSparkplug(const NodeConfig& config)
{
    return std::make_unique<Sparkplug>(config);
}

std::string Pack(const Record& record)
{
    Payload payload;
    payload.set_timestamp(Unsigned(record.time));
    for (const Change& change : record.changes) {
        Payload::Metric& metric = *payload.add_metrics();
        metric.set_alias(AliasOf(record.controller, change.code));
        Set(metric, change.value);
    }
    return payload.SerializeAsString();
}

std::optional<Record> Unpack(const std::string& bytes)
{
    const auto payload = PayloadFrom(bytes);
    if (!payload) return std::nullopt;
    Record record;
    record.time = static_cast<Millis>(payload->timestamp());
    for (const Payload::Metric& metric : payload->metrics()) {
        record.controller = static_cast<short>(metric.alias() >> 16);
        record.changes.push_back(
            {static_cast<std::uint32_t>(metric.alias()) & 0xFFFF, ValueOf(metric)});
    }
    return record;
}

} // namespace zelq::bridge
