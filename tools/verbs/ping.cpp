#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"

namespace zelq::tool {

namespace {

constexpr const char* kPingManual =
    R"(Sends ICMP echoes and tells how long each reply takes. This asks the computer at the address, not
the controller in it: nothing is connected.

  zelq --network 192.168.0 --controller 3 ping --count 4)";

struct PingOptions
{
    int count = 1;
    int waitMs = 1000;
};

/// The way there and back, in milliseconds; none when no reply came.
std::optional<double> PingOnce(const Target& target, int waitMs)
{
    const auto [first, second, third] = target.network;
    const auto start = std::chrono::steady_clock::now();
    const short result =
        zelQ_PingCheck(target.number, first, second, third, static_cast<unsigned>(waitMs));
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
    if (result == ZELQ_OK) return time.count();
    if (result == ZELQ_NO_SESSION) return std::nullopt;
    throw Failure(kNoConnection,
                  "cannot send an echo to " + target.Address() + ": " + CodeText(result), result);
}

ExitCode Ping(Context& context, const PingOptions& options)
{
    const Target target = context.Meant();
    Json replies = Json::array();
    int received = 0;
    for (int i = 0; i < options.count && !Interrupted(); ++i) {
        if (i > 0 && !WaitFor(Milliseconds(200))) break;
        const std::optional<double> time = PingOnce(target, options.waitMs);
        if (time) {
            ++received;
            replies.push_back(*time);
            context.out.Line(target.Address() + " answers after " + Fixed(*time, 2) + " ms");
        } else {
            replies.push_back(nullptr);
            context.out.Line(target.Address() + " does not answer within " +
                             std::to_string(options.waitMs) + " ms");
        }
    }
    context.out.Show(Json{{"address", target.Address()}, {"received", received}, {"ms", replies}});
    return received > 0 ? kDone : kNoConnection;
}

} // namespace

void AddPing(Program& program)
{
    auto options = std::make_shared<PingOptions>();
    CLI::App& app = program.AddVerb(
        {"ping", Group::kFind, "ask whether anything answers at the address", kPingManual},
        [options](Context& context) { return Ping(context, *options); });
    app.add_option("--count", options->count, "how many echoes")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--wait", options->waitMs, "for each reply, ms")
        ->check(CLI::Range(1, 60000))
        ->capture_default_str();
}

} // namespace zelq::tool
