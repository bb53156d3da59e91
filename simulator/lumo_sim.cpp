// lumo-sim: a simulated Lumo controller on the network.

#include "core/command_page.h"
#include "core/controller.h"
#include "server/server.h"

#include <CLI/CLI.hpp>
#include <asio.hpp>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

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

Ctrl-C ends it.)";

struct Arguments
{
    lumosim::ServerConfig server;
    std::vector<std::string> slaves;
    std::string homeSensor = "-21000:-20000";
    std::string probe;
    std::string serial = "loop";
    bool noDiscovery = false;
    bool quiet = false;
    bool verbose = false;
};

// "30:2" is an input slave at station 30.
lumosim::SlaveConfig ParseSlave(const std::string& text)
{
    int position = 0;
    int type = 0;
    int end = 0;
    const int fields = std::sscanf(text.c_str(), "%d:%d%n", &position, &type, &end);
    if (fields != 2 || static_cast<std::size_t>(end) != text.size() || position < 0 ||
        position >= lumosim::kMaxAxes || type < 0 || type > 3) {
        throw CLI::ValidationError("--slaves", text + " is not STATION:TYPE, such as 30:2");
    }
    lumosim::SlaveConfig slave;
    slave.position = position;
    slave.type = static_cast<lumosim::SlaveType>(type);
    return slave;
}

// "-21000:-20000" are the pulses at which a sensor is on.
lumosim::Stretch ParseStretch(const char* option, const std::string& text)
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

// What the serial port is wired to: "none", "loop", "pipe:NAME" or "tcp:PORT".
lumosim::SerialWiring ParseSerial(const std::string& text)
{
    using To = lumosim::SerialWiring::To;
    lumosim::SerialWiring wiring;
    int port = 0;
    int end = 0;
    if (text == "none") {
        wiring.to = To::kNothing;
    } else if (text.rfind("pipe:", 0) == 0 && text.size() > 5) {
        wiring.to = To::kPipe;
        wiring.pipe = text.substr(5);
    } else if (std::sscanf(text.c_str(), "tcp:%d%n", &port, &end) == 1 && port >= 0 &&
               port <= 65535 && static_cast<std::size_t>(end) == text.size()) {
        wiring.to = To::kTcp;
        wiring.port = static_cast<std::uint16_t>(port);
    } else if (text != "loop") {
        throw CLI::ValidationError("--serial", text + " is not none, loop, pipe:NAME or tcp:PORT");
    }
    return wiring;
}

void Describe(CLI::App& app, Arguments& arguments)
{
    lumosim::ServerConfig& server = arguments.server;
    server.port = 502;
    server.discoveryPort = 7000;
    server.address.clear();
    app.footer(kFooter);
    app.add_option("-n,--number", server.controller.number, "controller number")
        ->check(CLI::Range(1, 254))
        ->capture_default_str();
    app.add_option("-a,--address", server.address,
                   "address to listen on (default: 127.0.0.NUMBER)");
    app.add_option("-p,--port", server.port, "TCP port; 0 takes a free one")->capture_default_str();
    app.add_option("-x,--axes", server.controller.axes, "servo axes, at the stations from 0 up")
        ->check(CLI::Range(0, lumosim::kMaxAxes))
        ->capture_default_str();
    app.add_option("-s,--slaves", arguments.slaves,
                   "further stations as STATION:TYPE; 0 none, 1 servo, 2 inputs, 3 outputs")
        ->delimiter(',');
    app.add_option("--travel", server.controller.mechanics.positiveLimit,
                   "pulses from the middle to either limit switch")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--home-sensor", arguments.homeSensor,
                   "pulses FROM:TO at which every axis's home sensor is on")
        ->capture_default_str();
    app.add_option("--probe", arguments.probe,
                   "pulses FROM:TO at which every axis's probe input is on");
    app.add_option("--time-scale", server.timeScale, "simulated seconds in one second")
        ->check(CLI::Range(0.01, 100.0))
        ->capture_default_str();
    app.add_option("--serial", arguments.serial,
                   "far end of the serial port: none, loop, pipe:NAME or tcp:PORT")
        ->capture_default_str();
    auto* noDiscovery =
        app.add_flag("--no-discovery", arguments.noDiscovery, "hosts cannot find it");
    app.add_option("--discovery-port", *server.discoveryPort,
                   "UDP port on which hosts find it; 0 takes a free one")
        ->capture_default_str()
        ->excludes(noDiscovery);
    app.add_flag_callback(
        "--commands",
        [] {
            const lumosim::Controller any(lumosim::ControllerConfig{});
            std::fputs(lumosim::CommandPage(any).c_str(), stdout);
            throw CLI::Success();
        },
        "print the form of every command, as a page of the documentation");
    auto* quiet = app.add_flag("-q,--quiet", arguments.quiet, "print nothing but errors");
    app.add_flag("-v,--verbose", arguments.verbose, "show every command")->excludes(quiet);
}

void Complete(Arguments& arguments)
{
    lumosim::ControllerConfig& controller = arguments.server.controller;
    controller.mechanics.negativeLimit = -controller.mechanics.positiveLimit;
    controller.mechanics.homeSensor = ParseStretch("--home-sensor", arguments.homeSensor);
    if (!arguments.probe.empty()) {
        controller.mechanics.probe = ParseStretch("--probe", arguments.probe);
    }
    for (const std::string& slave : arguments.slaves) {
        controller.slaves.push_back(ParseSlave(slave));
    }
    arguments.server.serial = ParseSerial(arguments.serial);
    if (arguments.noDiscovery) arguments.server.discoveryPort.reset();
    if (arguments.server.address.empty()) {
        arguments.server.address = "127.0.0." + std::to_string(controller.number);
    }
}

class CommandPrinter : public lumosim::Observer
{
    void CommandRun(const lumosim::CommandRecord& record) override;
};

void CommandPrinter::CommandRun(const lumosim::CommandRecord& record)
{
    std::puts(lumosim::CommandAsLine(record).c_str());
    std::fflush(stdout);
}

void WaitForInterrupt()
{
    asio::io_context io;
    asio::signal_set signals(io, SIGINT, SIGTERM);
    signals.async_wait([](const asio::error_code&, int) {});
    io.run();
}

int Simulate(const Arguments& arguments)
{
    CommandPrinter printer;
    lumosim::Server server(arguments.server);
    if (arguments.verbose) {
        server.With([&](lumosim::Controller& controller) { controller.Observe(printer); });
    }
    server.Start();
    if (!arguments.quiet) {
        std::printf("lumo-sim: controller %d listens on %s, port %u\n",
                    arguments.server.controller.number, server.Address().c_str(),
                    static_cast<unsigned>(server.Port()));
        if (server.DiscoveryPort() != 0) {
            std::printf("lumo-sim: can be found on UDP port %u\n",
                        static_cast<unsigned>(server.DiscoveryPort()));
        }
        if (server.SerialTcpPort() != 0) {
            std::printf("lumo-sim: the serial port's far end is TCP port %u\n",
                        static_cast<unsigned>(server.SerialTcpPort()));
        }
        std::fflush(stdout);
    }
    WaitForInterrupt();
    server.Stop();
    if (!arguments.quiet) std::printf("lumo-sim: ended\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("A simulated Lumo motion controller.", "lumo-sim");
    Arguments arguments;
    Describe(app, arguments);
    try {
        app.parse(argc, argv);
        Complete(arguments);
        return Simulate(arguments);
    } catch (const CLI::ParseError& error) {
        return app.exit(error);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lumo-sim: cannot listen on %s, port %u: %s\n",
                     arguments.server.address.c_str(), static_cast<unsigned>(arguments.server.port),
                     error.what());
        return 1;
    }
}
