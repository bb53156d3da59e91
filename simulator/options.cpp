#include "options.h"

#include "core/command_page.h"
#include "core/controller.h"
#include "manual_page.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <set>
#include <sstream>

namespace lumosim {

namespace {

constexpr int kMostControllers = 254;

constexpr const char* kFooter =
    R"(The controller's number is the last octet of its address. A host that connects to controller 3
at 127.0.0 looks for it at 127.0.0.3, so on one computer any number of controllers can stand
side by side, each at its own loopback address.

Examples:
  lumo-sim
      controller 1 with four axes, at 127.0.0.1, port 502 (as root, or as an administrator)
  lumo-sim --number 3 --port 15020
      controller 3 at 127.0.0.3; the host sets port 15020 before it connects
  lumo-sim --axes 32 --verbose
      32 servo axes; every command is shown as it is run
  lumo-sim --axes 2 --slaves 30:2,31:3
      two servos, an input slave at station 30 and an output slave at 31
  lumo-sim --address 0.0.0.0 --number 17
      on every network of this computer
  lumo-sim --serial tcp:7100
      a program that connects to port 7100 is at the other end of the serial port
  lumo-sim --control 8080
      seen and handled at http://127.0.0.1:8080 as well
  lumo-sim --fault late-reply:probability=0.01,ms=80
      one reply of a hundred comes 80 ms late
  lumo-sim --config machine.json
      the machine that the file describes
  lumo-sim --count 254 --port 15020
      controllers 1 to 254, each at its own address

Ctrl-C ends it. It returns 0 then, 1 when an address, a port or a pipe cannot be had, and 2 when the
command line or the machine file is wrong.)";

struct Arguments
{
    MachineConfig machine;
    int count = 1;
    std::string config;
    std::vector<std::string> slaves;
    std::int64_t travel = AxisMechanics().positiveLimit;
    std::string homeSensor = "-21000:-20000";
    std::string probe;
    std::string serial = "loop";
    std::string control;
    std::vector<std::string> faults;
    bool noDiscovery = false;
    Options options;
};

std::vector<std::string> Split(const std::string& text, char at)
{
    std::vector<std::string> parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, at);) {
        parts.push_back(part);
    }
    return parts;
}

// "30:2" is an input slave at station 30.
SlaveConfig ParseSlave(const std::string& text)
{
    int position = 0;
    int type = 0;
    int end = 0;
    const int fields = std::sscanf(text.c_str(), "%d:%d%n", &position, &type, &end);
    if (fields != 2 || static_cast<std::size_t>(end) != text.size() || position < 0 ||
        position >= kMaxAxes || type < 0 || type > 3) {
        throw CLI::ValidationError("--slaves", text + " is not STATION:TYPE, such as 30:2");
    }
    SlaveConfig slave;
    slave.position = position;
    slave.type = static_cast<SlaveType>(type);
    return slave;
}

std::vector<SlaveConfig> ParseSlaves(const std::vector<std::string>& given)
{
    if (given.size() > 1) {
        throw CLI::ValidationError("--slaves",
                                   "is given twice; name all at once, such as 30:2,31:3");
    }
    std::vector<SlaveConfig> slaves;
    std::set<int> taken;
    for (const std::string& text : given.empty() ? given : Split(given.front(), ',')) {
        slaves.push_back(ParseSlave(text));
        const int station = slaves.back().position;
        if (taken.insert(station).second) continue;
        throw CLI::ValidationError("--slaves",
                                   "two slaves cannot stand at station " + std::to_string(station));
    }
    return slaves;
}

// "-21000:-20000" are the pulses at which a sensor is on.
Stretch ParseStretch(const char* option, const std::string& text)
{
    long long from = 0;
    long long to = 0;
    int end = 0;
    const int fields = std::sscanf(text.c_str(), "%lld:%lld%n", &from, &to, &end);
    if (fields != 2 || static_cast<std::size_t>(end) != text.size() || from > to) {
        throw CLI::ValidationError(option, text + " is not FROM:TO, such as 4000:4200");
    }
    return {from, to};
}

std::uint16_t ParsePort(const char* option, const std::string& text)
{
    int port = 0;
    int end = 0;
    const int fields = std::sscanf(text.c_str(), "%d%n", &port, &end);
    if (fields != 1 || static_cast<std::size_t>(end) != text.size() || port < 0 || port > 65535) {
        throw CLI::ValidationError(option, text + " is no port from 0 to 65535");
    }
    return static_cast<std::uint16_t>(port);
}

// What the serial port is wired to: "none", "loop", "pipe:NAME" or "tcp:PORT".
SerialWiring ParseSerial(const std::string& text)
{
    using To = SerialWiring::To;
    SerialWiring wiring;
    if (text == "none") {
        wiring.to = To::kNothing;
    } else if (text.starts_with("pipe:") && text.size() > 5) {
        wiring.to = To::kPipe;
        wiring.pipe = text.substr(5);
    } else if (text.starts_with("tcp:")) {
        wiring.to = To::kTcp;
        wiring.port = ParsePort("--serial", text.substr(4));
    } else if (text != "loop") {
        throw CLI::ValidationError("--serial", text + " is not none, loop, pipe:NAME or tcp:PORT");
    }
    return wiring;
}

// "late-reply:probability=0.01,ms=80"
FaultRequest ParseFault(const std::string& text)
{
    FaultRequest fault;
    const std::size_t colon = std::min(text.find(':'), text.size());
    fault.name = text.substr(0, colon);
    for (const std::string& pair : Split(text.substr(std::min(colon + 1, text.size())), ',')) {
        const std::size_t equals = std::min(pair.find('='), pair.size());
        std::istringstream number(pair.substr(std::min(equals + 1, pair.size())));
        double value = 0;
        if (!(number >> value) || !number.eof()) {
            throw CLI::ValidationError("--fault", text + " is not NAME:KEY=NUMBER,KEY=NUMBER");
        }
        fault.values[pair.substr(0, equals)] = value;
    }
    return fault;
}

// "8080", or "192.168.0.5:8080" for other computers, too.
void ParseControl(const std::string& text, Options& options)
{
    const std::size_t colon = text.rfind(':');
    if (colon != std::string::npos) options.controlAddress = text.substr(0, colon);
    options.controlPort = ParsePort("--control", text.substr(colon + 1));
}

void DescribeMachine(CLI::App& app, Arguments& arguments)
{
    ServerConfig& server = arguments.machine.server;
    app.add_option("-n,--number", server.controller.number, "controller number")
        ->check(CLI::Range(1, kMostControllers))
        ->capture_default_str();
    app.add_option("--count", arguments.count, "so many controllers, from that number up")
        ->check(CLI::Range(1, kMostControllers))
        ->capture_default_str();
    app.add_option("-x,--axes", server.controller.axes, "servo axes, at the stations from 0 up")
        ->check(CLI::Range(0, kMaxAxes))
        ->capture_default_str();
    app.add_option("-s,--slaves", arguments.slaves,
                   "further stations as STATION:TYPE,...; 0 none, 1 servo, 2 inputs, 3 outputs")
        ->allow_extra_args(false);
    app.add_option("--travel", arguments.travel, "pulses from the middle to either limit switch")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{2'000'000'000}))
        ->capture_default_str();
    app.add_option("--home-sensor", arguments.homeSensor,
                   "pulses FROM:TO at which every axis's home sensor is on")
        ->capture_default_str();
    app.add_option("--probe", arguments.probe,
                   "pulses FROM:TO at which every axis's probe input is on");
    app.add_flag("--ideal", server.controller.ideal,
                 "motors follow their commands exactly, whatever those ask for");
    app.add_option("--config", arguments.config, "file that describes the machine");
    app.add_option("--time-scale", server.timeScale, "simulated seconds in one second")
        ->check(CLI::Range(0.01, 100.0))
        ->capture_default_str();
}

void DescribeLine(CLI::App& app, Arguments& arguments)
{
    ServerConfig& server = arguments.machine.server;
    app.add_option("-a,--address", server.address,
                   "address to listen on (default: 127.0.0.NUMBER)");
    app.add_option("-p,--port", server.port, "TCP port; 0 takes a free one")->capture_default_str();
    app.add_option("--serial", arguments.serial,
                   "far end of the serial port: none, loop, pipe:NAME or tcp:PORT")
        ->capture_default_str();
    auto* noDiscovery =
        app.add_flag("--no-discovery", arguments.noDiscovery, "hosts cannot find it");
    app.add_option("--discovery-port", *server.discoveryPort,
                   "UDP port on which hosts find it; 0 takes a free one")
        ->capture_default_str()
        ->excludes(noDiscovery);
    app.add_option("--control", arguments.control,
                   "[ADDRESS:]PORT for HTTP and WebSocket; 127.0.0.1 without an address");
    app.add_option("--fault", arguments.faults, "NAME:KEY=NUMBER,...: begins with this fault")
        ->allow_extra_args(false);
    app.add_option("--seed", server.seed, "of the faults that happen by chance")
        ->capture_default_str();
}

void Describe(CLI::App& app, Arguments& arguments)
{
    ServerConfig& server = arguments.machine.server;
    server.port = 502;
    server.discoveryPort = 7000;
    server.address.clear();
    app.footer(kFooter);
    app.set_version_flag("--version", "lumo-sim " ZELQ_VERSION);
    DescribeMachine(app, arguments);
    DescribeLine(app, arguments);
    app.add_flag_callback(
        "--commands",
        [] {
            std::fputs(CommandPage(Controller(ControllerConfig())).c_str(), stdout);
            throw CLI::Success();
        },
        "print the form of every command, as a page of the documentation");
    app.add_flag_callback(
        "--manual",
        [&app] {
            std::fputs(zelq::cli::ManualPage(app, ZELQ_VERSION).c_str(), stdout);
            throw CLI::Success();
        },
        "print the manual page, for \"man\"");
    auto* quiet = app.add_flag("-q,--quiet", arguments.options.quiet, "print nothing but errors");
    app.add_flag("-v,--verbose", arguments.options.verbose, "show every command")->excludes(quiet);
}

void AddMachines(Arguments& arguments)
{
    const MachineConfig& common = arguments.machine;
    if (!arguments.config.empty()) {
        if (arguments.count > 1 || !common.server.address.empty()) {
            throw CLI::ValidationError("--config", "tells of count and addresses by itself");
        }
        arguments.options.machines = ReadMachineFile(arguments.config, common);
        return;
    }
    const int first = common.server.controller.number;
    if (arguments.count > 1 && !common.server.address.empty()) {
        throw CLI::ValidationError("--count", "goes without --address: each has its own");
    }
    if (first + arguments.count - 1 > kMostControllers) {
        throw CLI::ValidationError("--count", "the last number would be above 254");
    }
    for (int number = first; number < first + arguments.count; ++number) {
        MachineConfig machine = common;
        machine.server.controller.number = number;
        if (machine.server.address.empty()) {
            machine.server.address = "127.0.0." + std::to_string(number);
        }
        arguments.options.machines.push_back(std::move(machine));
    }
}

void Complete(Arguments& arguments)
{
    ServerConfig& server = arguments.machine.server;
    AxisMechanics& mechanics = server.controller.mechanics;
    mechanics.positiveLimit = arguments.travel;
    mechanics.negativeLimit = -arguments.travel;
    mechanics.homeSensor = ParseStretch("--home-sensor", arguments.homeSensor);
    if (!arguments.probe.empty()) mechanics.probe = ParseStretch("--probe", arguments.probe);
    server.controller.slaves = ParseSlaves(arguments.slaves);
    server.serial = ParseSerial(arguments.serial);
    if (arguments.noDiscovery) server.discoveryPort.reset();
    if (!arguments.control.empty()) ParseControl(arguments.control, arguments.options);
    for (const std::string& fault : arguments.faults) {
        arguments.options.faults.push_back(ParseFault(fault));
    }
    AddMachines(arguments);
}

} // namespace

std::optional<Options> ParseOptions(int argc, char** argv, int& exitCode)
{
    CLI::App app("A simulated Lumo motion controller.", "lumo-sim");
    Arguments arguments;
    Describe(app, arguments);
    try {
        app.parse(argc, argv);
        Complete(arguments);
        return std::move(arguments.options);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? kEnded : kWrongUse;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lumo-sim: %s\n", error.what());
        exitCode = kWrongUse;
    }
    return std::nullopt;
}

} // namespace lumosim
