// lumo-sim: simulated Lumo controllers on the network.

#include "control/control_port.h"
#include "core/controller.h"
#include "core/observer.h"
#include "network.h"
#include "options.h"
#include "server/line_queue.h"
#include "server/server.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using lumosim::LineQueue;
using lumosim::MachineConfig;
using lumosim::Options;
using lumosim::Server;

// Shows the commands of one controller.
class CommandPrinter : public lumosim::Observer
{
  public:
    CommandPrinter(LineQueue& lines, std::string who) : lines_(lines), who_(std::move(who)) {}

    void CommandRun(const lumosim::CommandRecord& record) override;

  private:
    LineQueue& lines_;
    std::string who_;
};

void CommandPrinter::CommandRun(const lumosim::CommandRecord& record)
{
    lines_.Put(who_ + CommandAsLine(record));
}

// One controller, and what has been set up around it.
struct Machine
{
    std::unique_ptr<CommandPrinter> printer; // outlives the one who tells it
    std::unique_ptr<Server> server;
};

Machine Build(const MachineConfig& config, const Options& options, LineQueue& lines)
{
    Machine machine{nullptr, std::make_unique<Server>(config.server)};
    SetUpMachine(*machine.server, config);
    machine.server->With([&](lumosim::Controller& controller) {
        for (const lumosim::FaultRequest& fault : options.faults) {
            machine.server->Faults().Apply(fault.name, fault.values);
        }
        if (!options.verbose) return;
        const bool several = options.machines.size() > 1;
        const int number = controller.Config().number;
        machine.printer = std::make_unique<CommandPrinter>(
            lines, several ? std::to_string(number) + ": " : std::string());
        controller.Observe(*machine.printer);
    });
    return machine;
}

void Tell(const Machine& machine, const MachineConfig& config, LineQueue& lines)
{
    const Server& server = *machine.server;
    lines.Put("lumo-sim: controller " + std::to_string(config.server.controller.number) +
              " listens on " + server.Address() + ", port " + std::to_string(server.Port()));
    if (server.DiscoveryPort() != 0) {
        lines.Put("lumo-sim: can be found on UDP port " + std::to_string(server.DiscoveryPort()));
    }
    if (server.SerialTcpPort() != 0) {
        lines.Put("lumo-sim: the serial port's far end is TCP port " +
                  std::to_string(server.SerialTcpPort()));
    }
}

// Runs until `signals` come.
void Simulate(const Options& options, LineQueue& lines, asio::io_context& signals)
{
    std::vector<Machine> machines;
    std::vector<Server*> servers;
    for (const MachineConfig& config : options.machines) {
        machines.push_back(Build(config, options, lines));
        servers.push_back(machines.back().server.get());
        servers.back()->Start();
        if (!options.quiet) Tell(machines.back(), config, lines);
    }
    std::optional<lumosim::ControlPort> control;
    if (options.controlPort) {
        control.emplace(options.controlAddress, *options.controlPort, servers);
        if (!options.quiet) {
            lines.Put("lumo-sim: control port http://" + options.controlAddress + ":" +
                      std::to_string(control->Port()));
        }
    }
    signals.run();
    control.reset();
    for (const Machine& machine : machines) {
        machine.server->Stop();
    }
    if (!options.quiet) lines.Put("lumo-sim: ended");
}

} // namespace

int main(int argc, char** argv)
{
    int exitCode = lumosim::kEnded;
    const std::optional<Options> options = lumosim::ParseOptions(argc, argv, exitCode);
    if (!options) return exitCode;

    // From here on Ctrl-C ends it properly, however early it comes.
    asio::io_context io;
    asio::signal_set signals(io, SIGINT, SIGTERM);
    signals.async_wait([](const ErrorCode&, int) {});
    LineQueue lines(stdout);
    try {
        Simulate(*options, lines, io);
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "lumo-sim: %s\n", error.what());
        exitCode = lumosim::kWrongUse;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lumo-sim: %s\n", error.what());
        exitCode = lumosim::kCannotStart;
    }
    // Where nobody takes the lines any more, the usual end would wait for the stream.
    if (!lines.Drain(std::chrono::milliseconds(500))) std::_Exit(exitCode);
    return exitCode;
}
