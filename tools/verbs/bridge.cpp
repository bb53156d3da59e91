#include "bridge/bridge.h"

#include "bridge/log.h"
#include "frame/alarm_text.h"
#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <csignal>

namespace zelq::tool {

namespace {

constexpr const char* kBridgeManual =
    R"(Publishes controllers to an MQTT broker, as an edge node of Sparkplug B (3.0) or as plain JSON,
until Ctrl-C. A file names the broker and the controllers; docs/bridge.md tells of all that stands in it:

  { "broker": { "host": "broker.local", "tls": { "ca": "ca.pem" }, "passwordFile": "password" },
    "group": "Hall 1", "node": "Bridge A",
    "metrics": { "motion": { "every": 100 }, "deadBand": { "position": 0.01 } },
    "controllers": [
      { "name": "Press 1", "address": "192.168.0.3",
        "axes": { "0": { "name": "X", "unit": "mm", "unitPerPulse": 0.001 } } } ] }

  zelq bridge hall1.json
  zelq bridge hall1.json --allow stop,reset-alarm
  zelq bridge hall1.json --check

Nothing can be commanded through the broker unless --allow says so. User and password come from
files or from ZELQ_MQTT_USER and ZELQ_MQTT_PASSWORD. What the broker has not had yet is kept on disk
and sent later. SIGHUP makes it read the file again.)";

struct BridgeOptions
{
    std::string file;
    std::string format;
    std::vector<std::string> allow;
    bool checkOnly = false;
};

/// How often it is looked whether the file is to be read again.
constexpr Milliseconds kReloadLook{200};

volatile std::sig_atomic_t reloadAsked = 0;

bridge::Allowed AllowedBy(const std::vector<std::string>& words)
{
    bridge::Allowed allowed;
    for (const std::string& word : words) {
        allowed.stop = allowed.stop || word == "stop";
        allowed.resetAlarm = allowed.resetAlarm || word == "reset-alarm";
        allowed.outputs = allowed.outputs || word == "outputs";
    }
    return allowed;
}

std::string AlarmWords(int number)
{
    const AlarmMeaning& meaning = AlarmMeaningOf(number);
    std::string text = meaning.name;
    for (const char* more : {meaning.cause, meaning.advice}) {
        if (*more != '\0') text.append(": ").append(more);
    }
    return text;
}

bridge::Config Load(const BridgeOptions& options)
{
    bridge::Config config = bridge::LoadConfig(options.file);
    if (!options.format.empty()) {
        config.node.format =
            options.format == "json" ? bridge::FormatKind::kJson : bridge::FormatKind::kSparkplug;
    }
    if (config.node.format == bridge::FormatKind::kJson && !config.node.primaryHost.empty()) {
        throw bridge::ConfigError(options.file +
                                  ": primaryHost is of Sparkplug, there is none with plain JSON");
    }
    return config;
}

void Reload(bridge::Bridge& bridge, const BridgeOptions& options)
{
    try {
        bridge.Reconfigure(Load(options));
    } catch (const bridge::ConfigError& error) {
        bridge::Log(std::string("goes on as it was: ") + error.what());
    }
}

ExitCode RunBridge(Context& context, const BridgeOptions& options)
{
    try {
        bridge::Config config = Load(options);
        if (options.checkOnly) {
            context.out.Line(options.file + ": " + std::to_string(config.controllers.size()) +
                             " controllers, nothing wrong");
            context.out.Show(
                Json{{"file", options.file}, {"controllers", config.controllers.size()}});
            return kDone;
        }
        std::signal(SIGHUP, [](int) { reloadAsked = 1; });
        bridge::Bridge bridge(std::move(config), AllowedBy(options.allow),
                              {AlarmWords, [](int result) { return CodeText(result); }});
        while (WaitFor(kReloadLook)) {
            if (reloadAsked == 0) continue;
            reloadAsked = 0;
            Reload(bridge, options);
        }
    } catch (const Failure&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw Failure(kUsage, error.what());
    }
    return kDone;
}

} // namespace

void AddBridge(Program& program)
{
    auto options = std::make_shared<BridgeOptions>();
    CLI::App& app = program.AddVerb(
        {"bridge", Group::kSee, "publish controllers to an MQTT broker", kBridgeManual},
        [options](Context& context) { return RunBridge(context, *options); });
    app.add_option("file", options->file, "broker and controllers")->required()->type_name("FILE");
    app.add_option("--allow", options->allow,
                   "what may be commanded: stop, reset-alarm, outputs; nothing unless given")
        ->delimiter(',')
        ->check(CLI::IsMember({"stop", "reset-alarm", "outputs"}))
        ->type_name("WORDS");
    app.add_option("--format", options->format, "sparkplug or json; as the file says unless given")
        ->check(CLI::IsMember({"sparkplug", "json"}))
        ->type_name("FORMAT");
    app.add_flag("--check", options->checkOnly, "look at the file alone");
}

} // namespace zelq::tool
