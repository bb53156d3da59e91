#include "panel/panel.h"

#include "frame/program.h"
#include "frame/system.h"
#include "panel/process.h"
#include "verbs/verbs.h"

#include <algorithm>
#include <cstdio>
#include <system_error>

namespace zelq::tool {

namespace {

constexpr const char* kPanelManual =
    R"(Serves a page that shows a controller and moves it: axes, a scope, the path, inputs and outputs,
alarms, parameters, programs. It prints an address, to be opened in a browser on this computer; the
part behind # is a token, without which a page may only look. Ctrl-C ends it, and stops what it has
set in motion.

  zelq -t press1 panel
  zelq panel --simulate

--simulate starts a simulated controller, lumo-sim, which lives as long as the panel. Limits of the
configuration hold. One page at a time is in control; any page with the token can stop all axes.

Whoever reaches --listen's address can look, and with the token move the machine: see
docs/panel.md before another address than a loopback one is given.)";

struct PanelOptions
{
    std::string listen = "127.0.0.1:0";
    int rate = 50;
    bool readOnly = false;
    bool simulate = false;
    int axes = 4;
    std::string machine;
    std::string control;
};

struct HostPort
{
    std::string host;
    std::uint16_t port = 0;
};

/// "8080", "127.0.0.1:8080", "[::1]:8080".
HostPort ParseHostPort(const std::string& text, const char* option)
{
    HostPort place{"127.0.0.1", 0};
    const std::size_t colon = text.rfind(':');
    if (colon != std::string::npos) place.host = text.substr(0, colon);
    if (place.host.starts_with('[') && place.host.ends_with(']')) {
        place.host = place.host.substr(1, place.host.size() - 2);
    }
    const std::string number = text.substr(colon == std::string::npos ? 0 : colon + 1);
    const bool isNumber = !number.empty() && number.size() <= 5 &&
                          number.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || std::stoi(number) > 65535) {
        throw Failure(kUsage, std::string(option) + ": \"" + text +
                                  "\" is no [ADDRESS:]PORT, such as 127.0.0.1:8080");
    }
    place.port = static_cast<std::uint16_t>(std::stoi(number));
    return place;
}

/// lumo-sim with its control port, on free ports.
class Simulation
{
  public:
    explicit Simulation(const PanelOptions& options, const Target& meant)
        : program_(Program(), Words(options, meant.number))
    {
        while (const auto line = program_.ReadLine()) {
            std::array<char, 64> host{};
            int number = 0;
            int port = 0;
            if (std::sscanf(line->c_str(), "lumo-sim: controller %d listens on %63[^,], port %d",
                            &number, host.data(), &port) == 3 &&
                target_.number == 0) {
                const std::string address = host.data();
                target_.network = ParseNetwork(address.substr(0, address.rfind('.')));
                target_.number = static_cast<short>(number);
                target_.port = port;
                target_.axes = meant.axes;
            }
            unsigned short control = 0;
            if (std::sscanf(line->c_str(), "lumo-sim: control port http://%63[^:]:%hu", host.data(),
                            &control) == 2) {
                control_ = {host.data(), control};
                break;
            }
        }
        if (target_.number == 0 || control_.port == 0) {
            throw Failure(kUsage, "lumo-sim has not started; it stands beside zelq, or where "
                                  "programs are looked for");
        }
    }

    [[nodiscard]] const Target& Where() const { return target_; }
    [[nodiscard]] const web::Place& Control() const { return control_; }

  private:
    static std::filesystem::path Program()
    {
        for (const char* name : {"lumo-sim", "lumo-sim.exe"}) {
            std::filesystem::path beside = FolderOfThisProgram() / name;
            std::error_code error;
            if (std::filesystem::exists(beside, error)) return beside;
        }
        return "lumo-sim";
    }

    static std::vector<std::string> Words(const PanelOptions& options, short number)
    {
        std::vector<std::string> words = {"--control", "0", "--no-discovery"};
        if (!options.machine.empty()) {
            words.insert(words.end(), {"--config", options.machine});
        } else {
            words.insert(words.end(), {"--port", "0", "--number", std::to_string(number), "--axes",
                                       std::to_string(options.axes)});
            // Where the last stations are free, there is something to switch.
            if (options.axes <= 30) words.insert(words.end(), {"--slaves", "30:2,31:3"});
        }
        return words;
    }

    ChildProgram program_;
    Target target_;
    web::Place control_;
};

/// Whose number and units the simulated controller has: the one that is named, if one is.
Target SimulatedAs(Context& context)
{
    try {
        return context.Meant();
    } catch (const Failure&) {
        Target target;
        target.number = 1;
        return target;
    }
}

void TellAddress(const Context& context, const Panel& panel, const PanelSettings& settings,
                 const Target& where)
{
    const std::string address = panel.Address();
    Json json = {{"address", address},
                 {"controller", where.number},
                 {"network", where.Address().substr(0, where.Address().rfind('.'))},
                 {"port", where.port}};
    if (settings.simulator) {
        const web::Place& place = settings.simulator->place;
        json["control"] = "http://" + place.address + ":" + std::to_string(place.port);
    }
    context.out.Show(json);
    context.out.Line("the panel of " + where.Text());
    context.out.Line(address);
    context.out.Line("Ctrl-C ends it, and stops what it has set in motion");
}

ExitCode RunPanel(Context& context, const PanelOptions& options)
{
    std::optional<Simulation> simulation;
    std::optional<Controller> simulated;
    PanelSettings settings;
    if (options.simulate) {
        simulation.emplace(options, SimulatedAs(context));
        simulated.emplace(simulation->Where());
        settings.simulator = {simulation->Control(), simulation->Where().number};
    }
    Controller& controller = simulated ? *simulated : context.Connected();
    if (!options.control.empty()) {
        const HostPort control = ParseHostPort(options.control, "--control");
        settings.simulator = {{control.host, control.port}, controller.Number()};
    }
    const HostPort listen = ParseHostPort(options.listen, "--listen");
    settings.address = listen.host;
    settings.port = listen.port;
    settings.period = Milliseconds(1000 / options.rate);
    settings.readOnly = options.readOnly;
    try {
        const Panel panel(controller, settings);
        TellAddress(context, panel, settings, controller.Where());
        while (!Interrupted()) {
            WaitFor(std::chrono::hours(1));
        }
    } catch (const std::system_error& error) {
        throw Failure(kUsage, error.what());
    }
    return kDone;
}

} // namespace

void AddPanel(Program& program)
{
    auto options = std::make_shared<PanelOptions>();
    CLI::App& app = program.AddVerb(
        {"panel", Group::kWatch, "serve a page that shows and moves a controller", kPanelManual},
        [options](Context& context) { return RunPanel(context, *options); });
    app.add_option("--listen", options->listen, "where; port 0 takes a free one")
        ->type_name("[ADDRESS:]PORT")
        ->capture_default_str();
    app.add_option("--rate", options->rate, "looks at the controller a second")
        ->check(CLI::Range(1, 200))
        ->type_name("HZ")
        ->capture_default_str();
    app.add_flag("--read-only", options->readOnly, "show only, whoever has the token");
    CLI::Option* simulate =
        app.add_flag("--simulate", options->simulate, "start a simulated controller for it");
    app.add_option("--axes", options->axes, "servo axes of the simulated controller")
        ->check(CLI::Range(1, 32))
        ->type_name("COUNT")
        ->needs(simulate)
        ->capture_default_str();
    app.add_option("--machine", options->machine,
                   "what the simulated machine is like: lumo-sim's "
                   "file")
        ->type_name("FILE")
        ->needs(simulate);
    app.add_option("--control", options->control,
                   "control port of a simulated controller that runs")
        ->type_name("[ADDRESS:]PORT")
        ->excludes(simulate);
}

} // namespace zelq::tool
