#include "frame/identification.h"
#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <algorithm>

namespace zelq::tool {

namespace {

constexpr const char* kDiscoverManual =
    R"(Asks on all networks of this computer, or at one address, which controllers are there. Each question
takes 0.6 s. It is one datagram to UDP port 7000, which routers do not pass on.

  zelq discover
  zelq discover --at 192.168.0.255)";

constexpr std::size_t kEntryWords = 22;
constexpr std::size_t kMostEntries = 44;

Octets ParseAddress(const std::string& text)
{
    const std::size_t dot = text.rfind('.');
    const std::array<short, 3> network = ParseNetwork(text.substr(0, dot));
    const std::string last = dot == std::string::npos ? "" : text.substr(dot + 1);
    const bool isNumber = !last.empty() && last.size() <= 3 &&
                          last.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || std::stoi(last) > 255) {
        throw Failure(kUsage, "\"" + text + "\" is no address; one is written as 192.168.0.255");
    }
    Octets address{};
    std::copy(network.begin(), network.end(), address.begin());
    address[3] = static_cast<unsigned short>(std::stoi(last));
    return address;
}

/// Adds those that answer and have not been heard before.
void Ask(const Octets& address, Json& found)
{
    std::array<unsigned short, kEntryWords * kMostEntries> entries{};
    const short count = zelQ_GetEnumList(address.data(), 0, entries.data());
    if (count < 0) {
        throw Failure(count == ZELQ_DEVICE_INFO_OUT_OF_RANGE ? kLost : kNoConnection,
                      "cannot look for controllers: " + CodeText(count), count);
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        Words words{};
        std::copy_n(&entries[i * kEntryWords], words.size(), words.begin());
        const Json entry = IdentificationJson(words);
        if (std::find(found.begin(), found.end(), entry) == found.end()) found.push_back(entry);
    }
}

ExitCode Discover(Context& context, const std::string& at)
{
    const std::vector<Octets> addresses =
        at.empty() ? BroadcastAddresses() : std::vector<Octets>{ParseAddress(at)};
    Json found = Json::array();
    for (const Octets& address : addresses) {
        if (Interrupted()) break;
        context.out.Progress("asking " + std::to_string(address[0]) + "." +
                             std::to_string(address[1]) + "." + std::to_string(address[2]) + "." +
                             std::to_string(address[3]) + " ...");
        Ask(address, found);
    }
    context.out.EndProgress();
    Table table({{"address"}, {"model"}, {"date"}, {"version"}});
    for (const Json& entry : found) {
        table.Row({entry["address"].get<std::string>(), entry["model"].get<std::string>(),
                   entry["date"].get<std::string>(), entry["version"].get<std::string>()});
    }
    context.out.Show(Json{{"found", found}});
    if (!found.empty()) {
        context.out.Show(table);
        return kDone;
    }
    context.out.Line("no controller answers; is it in this network, and switched on?");
    return kNoConnection;
}

} // namespace

void AddDiscover(Program& program)
{
    auto at = std::make_shared<std::string>();
    CLI::App& app = program.AddVerb(
        {"discover", Group::kFind, "find the controllers in the networks", kDiscoverManual},
        [at](Context& context) { return Discover(context, *at); });
    app.add_option("--at", *at, "one controller's address, or a broadcast address")
        ->type_name("A.B.C.D");
}

} // namespace zelq::tool
