#include "bridge/config.h"

#include "bridge/config_lines.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

namespace zelq::bridge {

namespace {

using Document = nlohmann::ordered_json;

constexpr int kPlainPort = 1883;
constexpr int kTlsPort = 8883;
constexpr int kMostControllers = 254;
constexpr int kLongestMs = 86'400'000;

/// What is wrong at a place; the line is found by whoever has the file.
struct WrongPlace
{
    std::string place;
    std::string what;
};

/// A value of the file with the place where it stands.
class Entry
{
  public:
    Entry(const Document& value, std::string place) : value_(value), place_(std::move(place)) {}

    using Takers = std::map<std::string, std::function<void(const Entry&)>>;

    /// Each key of an object goes to what takes it: one that is mistyped would change nothing.
    void Take(const Takers& takers) const
    {
        if (!value_.is_object()) Fail("is no object");
        for (const auto& [key, value] : value_.items()) {
            const Entry entry(value, place_ + "/" + key);
            const auto taker = takers.find(key);
            if (taker == takers.end()) entry.Fail("nothing is known of it");
            taker->second(entry);
        }
    }
    void ForEach(const std::function<void(const std::string&, const Entry&)>& take) const
    {
        if (!value_.is_object() && !value_.is_array()) Fail("is neither object nor list");
        for (const auto& [key, value] : value_.items()) {
            take(key, Entry(value, place_ + "/" + key));
        }
    }
    [[nodiscard]] bool IsList() const { return value_.is_array(); }
    [[nodiscard]] bool Flag() const
    {
        if (!value_.is_boolean()) Fail("is neither true nor false");
        return value_.get<bool>();
    }
    [[nodiscard]] std::string Text() const
    {
        if (!value_.is_string() || value_.get<std::string>().empty()) Fail("is no text");
        return value_.get<std::string>();
    }
    /// A level of a topic.
    [[nodiscard]] std::string Name() const
    {
        std::string name = Text();
        const bool isOdd = name.find_first_of("/+#") != std::string::npos ||
                           std::any_of(name.begin(), name.end(), [](char each) {
                               return static_cast<unsigned char>(each) < ' ';
                           });
        if (isOdd) Fail("has one of / + # or a control character in it, which no topic has");
        return name;
    }
    [[nodiscard]] std::string ReadableFile() const
    {
        std::string file = Text();
        if (!std::ifstream(file)) Fail("the file " + file + " cannot be read");
        return file;
    }
    [[nodiscard]] int Whole(int first, int last) const
    {
        const bool fits = value_.is_number_integer() && value_ >= first && value_ <= last;
        if (!fits)
            Fail("is no number from " + std::to_string(first) + " to " + std::to_string(last));
        return value_.get<int>();
    }
    [[nodiscard]] double Real(bool mayBeZero) const
    {
        const double number = value_.is_number() ? value_.get<double>() : -1.0;
        if (!(number > 0.0 || (mayBeZero && number == 0.0)) || !std::isfinite(number)) {
            Fail(mayBeZero ? "is no number from 0 up" : "is no number above 0");
        }
        return number;
    }
    [[noreturn]] void Fail(const std::string& what) const { throw WrongPlace{place_, what}; }

  private:
    const Document& value_;
    std::string place_;
};

[[noreturn]] void NeverInTheFile(const Entry& entry)
{
    entry.Fail(
        "secrets do not stand in this file: use userFile and passwordFile, or ZELQ_MQTT_USER "
        "and ZELQ_MQTT_PASSWORD");
}

BrokerConfig BrokerFrom(const Entry& entry)
{
    BrokerConfig broker;
    const auto takeTls = [&](const Entry& tls) {
        broker.tls = true;
        tls.Take(
            {{"ca", [&](const Entry& file) { broker.ca = file.ReadableFile(); }},
             {"certificate", [&](const Entry& file) { broker.certificate = file.ReadableFile(); }},
             {"key", [&](const Entry& file) { broker.key = file.ReadableFile(); }}});
        if (broker.certificate.empty() != broker.key.empty()) {
            tls.Fail("certificate and key go together");
        }
    };
    entry.Take(
        {{"host", [&](const Entry& host) { broker.host = host.Text(); }},
         {"port", [&](const Entry& port) { broker.port = port.Whole(1, 65535); }},
         {"keepAlive", [&](const Entry& time) { broker.keepAlive = time.Whole(1, 3600); }},
         {"userFile", [&](const Entry& file) { broker.userFile = file.ReadableFile(); }},
         {"passwordFile", [&](const Entry& file) { broker.passwordFile = file.ReadableFile(); }},
         {"user", NeverInTheFile},
         {"password", NeverInTheFile},
         {"tls", takeTls}});
    if (broker.host.empty()) entry.Fail("host is missing");
    if (broker.port == 0) broker.port = broker.tls ? kTlsPort : kPlainPort;
    return broker;
}

GroupRule GroupRuleFrom(const Entry& entry, GroupRule rule)
{
    entry.Take(
        {{"every", [&](const Entry& time) { rule.everyMs = time.Whole(10, kLongestMs); }},
         {"largest", [&](const Entry& time) { rule.largestMs = time.Whole(0, kLongestMs); }}});
    return rule;
}

Rules RulesFrom(const Entry& entry, Rules rules)
{
    const auto band = [&](Quantity quantity) {
        return [&, quantity](const Entry& value) {
            rules.deadBands[static_cast<std::size_t>(quantity)] = value.Real(true);
        };
    };
    Entry::Takers takers = {{"deadBand", [&](const Entry& bands) {
                                 bands.Take({{"position", band(Quantity::kPosition)},
                                             {"speed", band(Quantity::kSpeed)},
                                             {"torque", band(Quantity::kTorque)},
                                             {"roundTrip", band(Quantity::kTime)}});
                             }}};
    for (std::size_t i = 0; i < kMetricGroups; ++i) {
        takers[kMetricGroupNames[i]] = [&, i](const Entry& group) {
            rules.groups[i] = GroupRuleFrom(group, rules.groups[i]);
        };
    }
    entry.Take(takers);
    return rules;
}

/// "192.168.0.3"
void TakeAddress(const Entry& entry, ControllerConfig& controller)
{
    std::istringstream stream(entry.Text());
    std::array<int, 4> octets{};
    bool isGood = true;
    for (std::size_t i = 0; i < octets.size(); ++i) {
        const bool pointed = i == 0 || stream.get() == '.';
        const bool isDigit = std::isdigit(stream.peek()) != 0;
        isGood = isGood && pointed && isDigit && (stream >> octets[i]) && octets[i] <= 255;
    }
    isGood = isGood && stream.peek() == std::istringstream::traits_type::eof();
    if (!isGood || octets[3] < 1 || octets[3] > kMostControllers) {
        entry.Fail(
            "is no address of a controller, such as 192.168.0.3, whose last number is from 1 "
            "to 254");
    }
    for (std::size_t i = 0; i < controller.network.size(); ++i) {
        controller.network[i] = static_cast<short>(octets[i]);
    }
    controller.number = static_cast<short>(octets[3]);
}

std::map<int, AxisConfig> AxesFrom(const Entry& entry)
{
    std::map<int, AxisConfig> axes;
    std::set<std::string> names;
    entry.ForEach([&](const std::string& number, const Entry& each) {
        const bool isNumber = !number.empty() && number.size() <= 2 &&
                              number.find_first_not_of("0123456789") == std::string::npos;
        if (!isNumber || entry.IsList() || std::stoi(number) > 31) {
            each.Fail("is no axis from 0 to 31");
        }
        AxisConfig axis;
        each.Take({{"name", [&](const Entry& name) { axis.name = name.Name(); }},
                   {"unit", [&](const Entry& unit) { axis.unit = unit.Text(); }},
                   {"unitPerPulse",
                    [&](const Entry& factor) { axis.unitPerPulse = factor.Real(false); }}});
        const std::string shown = axis.name.empty() ? number : axis.name;
        if (!names.insert(shown).second) each.Fail("another axis is called \"" + shown + "\"");
        axes[std::stoi(number)] = std::move(axis);
    });
    return axes;
}

ControllerConfig ControllerFrom(const Entry& entry, const Rules& rules)
{
    ControllerConfig controller;
    controller.rules = rules;
    entry.Take({{"name", [&](const Entry& name) { controller.name = name.Name(); }},
                {"address", [&](const Entry& address) { TakeAddress(address, controller); }},
                {"port", [&](const Entry& port) { controller.port = port.Whole(1, 65535); }},
                {"axes", [&](const Entry& axes) { controller.axes = AxesFrom(axes); }},
                {"metrics", [&](const Entry& own) { controller.rules = RulesFrom(own, rules); }}});
    if (controller.name.empty()) entry.Fail("name is missing");
    if (controller.number == 0) entry.Fail("address is missing");
    return controller;
}

std::vector<ControllerConfig> ControllersFrom(const Entry& list, const Rules& rules)
{
    if (!list.IsList()) list.Fail("is no list");
    std::vector<ControllerConfig> controllers;
    std::map<short, std::string> numbers;
    std::set<std::string> names;
    list.ForEach([&](const std::string& /*index*/, const Entry& entry) {
        ControllerConfig controller = ControllerFrom(entry, rules);
        if (!names.insert(controller.name).second) {
            entry.Fail("another controller is called \"" + controller.name + "\"");
        }
        const auto [other, isNew] = numbers.emplace(controller.number, controller.name);
        if (!isNew) {
            entry.Fail("\"" + other->second + "\" is controller " +
                       std::to_string(controller.number) +
                       " too; one bridge has each number, the last of the address, once");
        }
        controllers.push_back(std::move(controller));
    });
    if (controllers.empty()) list.Fail("is empty");
    return controllers;
}

void TakeFormat(const Entry& entry, NodeConfig& node)
{
    const std::string name = entry.Text();
    if (name != "sparkplug" && name != "json") entry.Fail("is neither sparkplug nor json");
    node.format = name == "json" ? FormatKind::kJson : FormatKind::kSparkplug;
}

void TakeStore(const Entry& entry, NodeConfig& node)
{
    entry.Take({{"file", [&](const Entry& file) { node.storeFile = file.Text(); }},
                {"megabytes", [&](const Entry& size) {
                     node.storeBytes = std::size_t{1'000'000} * std::size_t(size.Whole(1, 100'000));
                 }}});
}

Config ConfigFrom(const Document& document)
{
    constexpr std::size_t kStoreBytes = 100'000'000;
    Config config;
    NodeConfig& node = config.node;
    node.storeBytes = kStoreBytes;
    Rules rules;
    // Rules hold for controllers wherever in the file they stand.
    const Entry whole(document, "");
    if (document.is_object() && document.contains("metrics")) {
        rules = RulesFrom(Entry(document["metrics"], "/metrics"), rules);
    }
    whole.Take({{"broker", [&](const Entry& broker) { node.broker = BrokerFrom(broker); }},
                {"group", [&](const Entry& name) { node.group = name.Name(); }},
                {"node", [&](const Entry& name) { node.node = name.Name(); }},
                {"format", [&](const Entry& format) { TakeFormat(format, node); }},
                {"primaryHost", [&](const Entry& name) { node.primaryHost = name.Name(); }},
                {"store", [&](const Entry& store) { TakeStore(store, node); }},
                {"metrics", [](const Entry&) {}},
                {"controllers",
                 [&](const Entry& list) { config.controllers = ControllersFrom(list, rules); }}});
    if (node.broker.host.empty()) whole.Fail("broker is missing");
    if (node.group.empty()) whole.Fail("group is missing");
    if (node.node.empty()) whole.Fail("node is missing");
    if (config.controllers.empty()) whole.Fail("controllers is missing");
    return config;
}

std::string ReadAll(const std::string& file)
{
    std::ifstream stream(file);
    if (!stream) throw ConfigError(file + " cannot be read");
    return {std::istreambuf_iterator<char>(stream), {}};
}

Document ParseText(const std::string& text, const std::string& file)
{
    try {
        return Document::parse(text);
    } catch (const Document::parse_error& error) {
        const std::size_t end = std::min(text.size(), error.byte == 0 ? 0 : error.byte - 1);
        const auto line =
            1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(end), '\n');
        // The library's text is "[json.exception...] parse error at line 1, column 2: what".
        const std::string whole = error.what();
        const std::size_t colon = whole.find(": ");
        throw ConfigError(file + ":" + std::to_string(line) + ": is no JSON: " +
                          (colon == std::string::npos ? whole : whole.substr(colon + 2)));
    }
}

/// systemd gives a service a folder; without it the store stands beside the file.
std::string StoreFileFor(const std::string& file)
{
    const char* folder = std::getenv("STATE_DIRECTORY");
    if (folder != nullptr && *folder != '\0') {
        return (std::filesystem::path(folder) / "bridge.store").string();
    }
    return std::filesystem::path(file).replace_extension(".store").string();
}

} // namespace

std::string ControllerConfig::Address() const
{
    return std::to_string(network[0]) + "." + std::to_string(network[1]) + "." +
           std::to_string(network[2]) + "." + std::to_string(number);
}

Config LoadConfig(const std::string& file)
{
    const std::string text = ReadAll(file);
    const Document document = ParseText(text, file);
    try {
        Config config = ConfigFrom(document);
        if (config.node.storeFile.empty()) config.node.storeFile = StoreFileFor(file);
        return config;
    } catch (const WrongPlace& wrong) {
        const std::string place = wrong.place.empty() ? "" : wrong.place + ": ";
        throw ConfigError(file + ":" + std::to_string(ConfigLines(text).Of(wrong.place)) + ": " +
                          place + wrong.what);
    }
}

} // namespace zelq::bridge
