#include "frame/target.h"

#include "frame/failure.h"

#include <charconv>
#include <cstdlib>

namespace zelq::tool {

namespace {

constexpr int kUsualPort = 502;

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::optional<int> NumberIn(const char* name, int first, int last)
{
    const std::string text = Environment(name);
    if (text.empty()) return std::nullopt;
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < first || number > last) {
        throw Failure(kUsage, std::string(name) + "=" + text + " is no number from " +
                                  std::to_string(first) + " to " + std::to_string(last));
    }
    return number;
}

/// What is known so far; a later source fills only what the earlier ones left open.
struct Draft
{
    std::string name;
    std::string network;
    std::optional<int> controller;
    std::optional<int> port;

    void Fill(const std::string& from, const Settings& settings)
    {
        const TargetSettings& target = settings.Named(from);
        // A port that was named for another controller means nothing here.
        const bool isThis = network.empty() && !controller;
        if (network.empty()) network = target.network;
        if (!controller && target.controller != 0) controller = target.controller;
        if (!port && isThis) port = target.port;
        if (isThis) name = from;
    }
};

Draft DraftFrom(const TargetOptions& options, const Settings& settings)
{
    Draft draft{"", options.network, options.controller, options.port};
    if (!options.name.empty()) {
        draft.Fill(options.name, settings);
        return draft;
    }
    if (draft.network.empty()) draft.network = Environment("ZELQ_NETWORK");
    if (!draft.controller) draft.controller = NumberIn("ZELQ_CONTROLLER", 1, 254);
    if (!draft.port) draft.port = NumberIn("ZELQ_PORT", 1, 65535);
    const std::string named = Environment("ZELQ_TARGET");
    const std::string& fallback = named.empty() ? settings.Default() : named;
    if (!fallback.empty() && (draft.network.empty() || !draft.controller)) {
        draft.Fill(fallback, settings);
    }
    return draft;
}

/// The systems' own functions take "255.255" and octal digits for an address, some of them.
template <std::size_t Count>
std::array<short, Count> ParseOctets(const std::string& text, const char* wanted)
{
    std::array<short, Count> octets{};
    const char* next = text.data();
    const char* const end = next + text.size();
    for (std::size_t i = 0; i < Count; ++i) {
        if (i > 0 && (next == end || *next++ != '.')) next = nullptr;
        if (next == nullptr) break;
        const auto [stop, error] = std::from_chars(next, end, octets[i]);
        next = error == std::errc() && octets[i] >= 0 && octets[i] <= 255 ? stop : nullptr;
        if (next == nullptr) break;
    }
    if (next != end) throw Failure(kUsage, "\"" + text + "\" is no " + wanted);
    return octets;
}

} // namespace

std::array<short, 3> ParseNetwork(const std::string& text)
{
    return ParseOctets<3>(text, "network; one is written as 192.168.0");
}

std::array<short, 4> ParseMask(const std::string& text)
{
    return ParseOctets<4>(text, "address, such as 255.255.255.0");
}

std::string Target::Address() const
{
    std::string address;
    for (const short octet : network) {
        address += std::to_string(octet) + '.';
    }
    return address + std::to_string(number);
}

std::string Target::Text() const
{
    return "controller " + std::to_string(number) + " at " + Address() + ", port " +
           std::to_string(port);
}

const AxisSettings& Target::Axis(int axis) const
{
    static const AxisSettings usual;
    const auto found = axes.find(axis);
    return found == axes.end() ? usual : found->second;
}

Target ResolveTarget(const TargetOptions& options, const Settings& settings)
{
    const Draft draft = DraftFrom(options, settings);
    if (draft.network.empty() || !draft.controller) {
        throw Failure(kUsage,
                      "which controller? Name it with --network and --controller, with "
                      "ZELQ_NETWORK and ZELQ_CONTROLLER, or with -t and a configuration file; "
                      "\"zelq discover\" finds those that are there");
    }
    Target target;
    target.name = draft.name;
    target.network = ParseNetwork(draft.network);
    target.number = static_cast<short>(*draft.controller);
    target.port = draft.port.value_or(kUsualPort);
    for (const auto& [name, known] : settings.Targets()) {
        const bool isNamed = name == target.name;
        const bool isSame = target.name.empty() && known.controller == target.number &&
                            known.port == target.port &&
                            ParseNetwork(known.network) == target.network;
        if (!isNamed && !isSame) continue;
        target.name = name;
        target.axes = known.axes;
        break;
    }
    return target;
}

} // namespace zelq::tool
