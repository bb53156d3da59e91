#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <array>
#include <chrono>

namespace zelq::tool {

namespace {

constexpr const char* kNetworkManual =
    R"(Shows where a controller is, and gives it other network settings. The last octet of its address is
its number and stays. The new settings come into force with the next restart ("zelq reset"); it is
found at its new address then.

  zelq -t press1 network show
  zelq -t press1 network set 192.168.1 --mask 255.255.255.0 --gateway 192.168.1.1)";

constexpr const char* kResetManual =
    R"(Restarts a controller, and waits until it is there again. Axes stop and servos go off. Modes are
those of the simulated controller: power (as switching it off and on), network (the network alone),
default-network (with the network settings it was delivered with), factory (with all settings it was
delivered with).

  zelq -t press1 reset
  zelq -t press1 reset factory --yes --no-wait)";

constexpr std::array<const char*, 4> kModes = {"power", "network", "default-network", "factory"};

struct NetworkOptions
{
    std::string address;
    std::string mask = "255.255.255.0";
    std::string gateway;
    bool yes = false;
};

struct ResetOptions
{
    std::string mode = "power";
    double waitSeconds = 30;
    bool noWait = false;
    bool yes = false;
};

ExitCode ShowNetwork(Context& context, const NetworkOptions& /*options*/)
{
    const Controller& controller = context.Connected();
    std::array<unsigned short, 19> info{};
    Expect(zelQ_GetDevInfo(controller.Number(), info.data()), "read the identification");
    // The first four words tell it from all others: the address that it has itself.
    std::string told;
    for (std::size_t i = 0; i < 4; ++i) {
        told += (i == 0 ? "" : ".") + std::to_string(info.at(i));
    }
    std::array<char, 64> model{};
    zelQ_GetDevInfoToModelStr(info.data(), model.data(), static_cast<short>(model.size()));
    Table table({{"setting"}, {"value"}});
    table.Row({"address", controller.Where().Address()});
    table.Row({"port", std::to_string(controller.Where().port)});
    table.Row({"identification", told});
    table.Row({"model", model.data()});
    context.out.Show(table);
    context.out.Show(Json{{"address", controller.Where().Address()},
                          {"port", controller.Where().port},
                          {"identification", told},
                          {"model", model.data()}});
    return kDone;
}

std::uint32_t AsWord(const std::array<short, 4>& octets)
{
    std::uint32_t word = 0;
    for (const short octet : octets) {
        word = word << 8U | static_cast<std::uint32_t>(octet);
    }
    return word;
}

/// With a mask that has holes, or a gateway elsewhere, it might never be reached again.
void CheckSettings(const std::array<short, 4>& address, const std::array<short, 4>& mask,
                   const std::array<short, 4>& gateway)
{
    const std::uint32_t bits = AsWord(mask);
    const std::uint32_t holes = ~bits & (~bits + 1U);
    if (bits == 0 || holes != 0) throw Failure(kUsage, "the mask has holes, or is empty");
    if (AsWord(gateway) != 0 && (AsWord(gateway) & bits) != (AsWord(address) & bits)) {
        throw Failure(kUsage, "the gateway lies in another network than the address");
    }
}

ExitCode SetNetwork(Context& context, const NetworkOptions& options)
{
    const std::array<short, 3> network = ParseNetwork(options.address);
    const std::array<short, 4> mask = ParseMask(options.mask);
    const std::array<short, 4> gateway =
        options.gateway.empty() ? std::array<short, 4>{} : ParseMask(options.gateway);
    const Controller& controller = context.Connected();
    CheckSettings({network[0], network[1], network[2], controller.Number()}, mask, gateway);
    const std::string address = options.address + "." + std::to_string(controller.Number());
    context.Confirm("Give " + controller.Where().Text() + " the address " + address + ", mask " +
                        options.mask + "?",
                    options.yes);
    Expect(zelQ_CfgNetwork(static_cast<unsigned short>(controller.Number()), network.data(),
                           mask.data(), gateway.data()),
           "change the network settings");
    context.out.Line("it has the address " + address + " from the next restart on (zelq reset)");
    context.out.Show(
        Json{{"address", address}, {"mask", options.mask}, {"gateway", options.gateway}});
    return kDone;
}

/// Whether it is there again within the time.
bool AwaitReturn(Context& context, const Target& target, double seconds)
{
    const auto start = std::chrono::steady_clock::now();
    const auto [first, second, third] = target.network;
    for (;;) {
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        if (time.count() >= seconds) return false;
        context.out.Progress("waiting, " + Fixed(time.count(), 0) + " s");
        if (!WaitFor(Milliseconds(100))) {
            throw Failure(kInterrupted, "interrupted; the controller was restarted");
        }
        if (zelQ_Connect(target.number, first, second, static_cast<unsigned short>(third)) ==
            ZELQ_OK) {
            return true;
        }
    }
}

/// Its restarts tell that it was one: it may still answer when it is asked too early.
unsigned int PowerResets(short number)
{
    unsigned int count = 0;
    Expect(zelQ_GetPowerResetCount(number, &count), "read the count of restarts");
    return count;
}

ExitCode Reset(Context& context, const ResetOptions& options)
{
    const Controller& controller = context.Connected();
    const Target target = controller.Where();
    context.Confirm("Restart " + target.Text() + " (" + options.mode + ")? Axes stop.",
                    options.yes);
    unsigned short mode = 0;
    while (options.mode != kModes.at(mode)) {
        ++mode;
    }
    Expect(zelQ_Reset(target.number, mode), "restart the controller");
    const auto start = std::chrono::steady_clock::now();
    context.Disconnect();
    Json json = {{"mode", options.mode}};
    if (!options.noWait) {
        // It answers before it goes: what connects at once would be cut off.
        constexpr Milliseconds kUntilItIsGone(200);
        if (!WaitFor(kUntilItIsGone)) {
            throw Failure(kInterrupted, "interrupted; the controller was restarted");
        }
        if (!AwaitReturn(context, target, options.waitSeconds)) {
            throw Failure(kLost, "the controller was restarted, but is not back at " +
                                     target.Address() + " after " + Fixed(options.waitSeconds, 0) +
                                     " s");
        }
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        json["ms"] = time.count();
        json["powerResets"] = PowerResets(target.number);
        context.out.EndProgress();
        context.out.Line("back after " + Fixed(time.count(), 0) + " ms");
        zelQ_Disconnect(target.number);
    } else {
        context.out.Line("the controller restarts");
    }
    context.out.Show(json);
    return kDone;
}

} // namespace

void AddNetwork(Program& program)
{
    const auto options = std::make_shared<NetworkOptions>();
    CLI::App& outer = program.AddVerb(
        {"network", Group::kKeep, "show and change network settings", kNetworkManual}, {});
    program.AddVerb(outer, "show", "show where the controller is",
                    [options](Context& context) { return ShowNetwork(context, *options); });
    CLI::App& set =
        program.AddVerb(outer, "set", "give it other settings",
                        [options](Context& context) { return SetNetwork(context, *options); });
    set.add_option("address", options->address, "first three octets of its address")
        ->required()
        ->type_name("A.B.C");
    set.add_option("--mask", options->mask, "net mask")->capture_default_str();
    set.add_option("--gateway", options->gateway, "gateway; none unless given");
    set.add_flag("--yes", options->yes, "do not ask");
}

void AddReset(Program& program)
{
    const auto options = std::make_shared<ResetOptions>();
    CLI::App& app =
        program.AddVerb({"reset", Group::kKeep, "restart the controller", kResetManual},
                        [options](Context& context) { return Reset(context, *options); });
    app.add_option("mode", options->mode, "power, network, default-network or factory")
        ->check(CLI::IsMember(std::vector<std::string>(kModes.begin(), kModes.end())))
        ->capture_default_str();
    app.add_option("--wait", options->waitSeconds, "how long to wait for it, s")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_flag("--no-wait", options->noWait, "do not wait for it");
    app.add_flag("--yes", options->yes, "do not ask");
}

} // namespace zelq::tool
