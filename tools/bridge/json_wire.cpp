#include "bridge/wire.h"

#include <nlohmann/json.hpp>

namespace zelq::bridge {

namespace {

using Document = nlohmann::ordered_json;

Document ToDocument(const Value& value)
{
    return std::visit([](const auto& each) { return Document(each); }, value);
}

/// Nothing throws here: the payload is anybody's.
Document ParseAnything(const std::string& payload)
{
    return Document::parse(payload, nullptr, false);
}

std::optional<Value> ToValue(const Document& document)
{
    if (document.is_boolean()) return document.get<bool>();
    if (document.is_number_integer()) return document.get<std::int64_t>();
    if (document.is_number()) return document.get<double>();
    if (document.is_string()) return document.get<std::string>();
    return std::nullopt;
}

/// Text of controllers need not be UTF-8, which JSON is.
std::string Dump(const Document& document)
{
    return document.dump(-1, ' ', false, Document::error_handler_t::replace);
}

/// Plain topics for the small hall: what a shell script, a web page or a dashboard reads without a
/// decoder.
class PlainJson : public Wire
{
  public:
    PlainJson(const NodeConfig& config, std::string instance)
        : base_("zelq/" + config.group + "/" + config.node + "/"), instance_(std::move(instance))
    {}

    Message Begin(int session) override
    {
        session_ = session;
        return NodeDeath();
    }

    [[nodiscard]] std::vector<std::string> Subscriptions() const override
    {
        return {base_ + "command", base_ + "+/command", BirthTopic()};
    }

    [[nodiscard]] std::string BirthTopic() const override { return base_ + "state"; }

    [[nodiscard]] Message RebirthRequest() const override
    {
        return {base_ + "command", Dump({{"rebirth", true}})};
    }

    Message NodeBirth(const std::vector<NodeValue>& values, Millis time) override
    {
        const Document birth = {{"online", true},
                                {"time", time},
                                {"session", session_},
                                {"instance", instance_},
                                {"values", ValuesOf(values)}};
        return {BirthTopic(), Dump(birth), 1, true};
    }

    Message NodeData(const std::vector<NodeValue>& values, Millis time) override
    {
        return {base_ + "data", Dump({{"time", time}, {"values", ValuesOf(values)}})};
    }

    Message NodeDeath() override
    {
        const Document death = {{"online", false}, {"session", session_}, {"instance", instance_}};
        return {BirthTopic(), Dump(death), 1, true};
    }

    std::vector<Message> DeviceBirth(const Device& device, const Allowed& allowed,
                                     Millis time) override
    {
        Document units = Document::object();
        Document values = Document::object();
        Document writable = Document::array();
        for (std::size_t i = 0; i < device.metrics.size(); ++i) {
            const Metric& metric = device.metrics[i];
            if (allowed.Allows(metric.order)) writable.push_back(metric.name);
            if (metric.IsControl()) continue;
            values[metric.name] = ToDocument(device.values[i]);
            if (!metric.unit.empty()) units[metric.name] = metric.unit;
        }
        const Document state = {
            {"online", true}, {"time", time}, {"units", units}, {"writable", writable}};
        const Document data = {{"time", time}, {"values", values}};
        return {{base_ + device.name + "/state", Dump(state), 0, true},
                {base_ + device.name + "/data", Dump(data)}};
    }

    Message DeviceData(const Device& device, const Record& record, bool historical) override
    {
        Document data = {{"time", record.time}};
        if (historical) data["historical"] = true;
        Document& values = data["values"] = Document::object();
        for (const Change& change : record.changes) {
            const Metric* metric = device.Find(change.code);
            if (metric != nullptr) values[metric->name] = ToDocument(change.value);
        }
        return {base_ + device.name + "/data", Dump(data)};
    }

    Message DeviceDeath(const Device& device, Millis time) override
    {
        return {base_ + device.name + "/state", Dump({{"online", false}, {"time", time}}), 0, true};
    }

    [[nodiscard]] Incoming Parse(const std::string& topic, const std::string& payload,
                                 bool retained) const override
    {
        if (retained || topic.rfind(base_, 0) != 0) return {};
        const Document document = ParseAnything(payload);
        if (!document.is_object()) return {};
        if (topic == BirthTopic()) {
            const bool online = document.value("online", Document(false)) == Document(true);
            return {online ? Incoming::Kind::kBirth : Incoming::Kind::kDeath};
        }
        if (topic == base_ + "command") {
            const bool rebirth = document.value("rebirth", Document(false)) == Document(true);
            return {rebirth ? Incoming::Kind::kRebirth : Incoming::Kind::kNothing};
        }
        return ParseWrites(topic, document);
    }

  private:
    static Document ValuesOf(const std::vector<NodeValue>& values)
    {
        Document all = Document::object();
        for (const NodeValue& value : values) {
            all[value.name] = ToDocument(value.value);
        }
        return all;
    }

    [[nodiscard]] Incoming ParseWrites(const std::string& topic, const Document& document) const
    {
        const std::size_t end = topic.rfind('/');
        Incoming incoming{Incoming::Kind::kWrites, topic.substr(base_.size(), end - base_.size())};
        for (const auto& [name, value] : document.items()) {
            if (auto wanted = ToValue(value)) {
                incoming.writes.push_back({std::nullopt, name, std::move(*wanted)});
            }
        }
        return incoming;
    }

    std::string base_;
    std::string instance_;
    int session_ = 0;
};

} // namespace

std::unique_ptr<Wire> MakeJson(const NodeConfig& config, const std::string& instance)
{
    return std::make_unique<PlainJson>(config, instance);
}

std::optional<Incoming> ParseHostState(const std::string& payload)
{
    const Document document = ParseAnything(payload);
    if (!document.is_object() || !document.contains("online") || !document["online"].is_boolean()) {
        return std::nullopt;
    }
    Incoming state{Incoming::Kind::kHost};
    state.online = document["online"].get<bool>();
    const Document time = document.value("timestamp", Document(0));
    if (time.is_number_integer()) state.time = time.get<Millis>();
    return state;
}

} // namespace zelq::bridge
