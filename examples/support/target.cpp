#include "support/target.h"

#include "zelq.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace example {

namespace {

/// "192.168.0" as three octets.
std::array<short, 3> Octets(const std::string& network)
{
    std::array<short, 3> octets{};
    std::istringstream text(network);
    char dot = '.';
    for (std::size_t i = 0; i < octets.size(); ++i) {
        if (i > 0) text >> dot;
        if (!(text >> octets[i]) || dot != '.' || octets[i] < 0 || octets[i] > 255) {
            throw std::runtime_error("a network is written as 192.168.0");
        }
    }
    if (text >> dot) throw std::runtime_error("a network is written as 192.168.0");
    return octets;
}

void Add(CLI::App& app, const Option& option)
{
    const auto add = [&](auto* value) {
        CLI::Option* added = app.add_option(option.name, *value, option.text);
        added->capture_default_str();
        if (option.highest > option.lowest) {
            added->check(CLI::Range(option.lowest, option.highest));
        }
    };
    std::visit(add, option.value);
}

} // namespace

Target::Target(int argc, char** argv, const char* about, const std::vector<Option>& options)
{
    CLI::App app(about);
    app.add_option("--controller", number_, "Controller number, the last octet of its address")
        ->check(CLI::Range(1, 254))
        ->capture_default_str();
    app.add_option("--network", network_,
                   "First three octets of a real controller's address, such as 192.168.0; "
                   "without it, a simulated controller inside this program is used");
    app.add_option("--port", port_, "TCP port of a real controller")->capture_default_str();
    app.add_option("--time-scale", simulatorConfig_.timeScale,
                   "Simulated seconds in one second, of a simulated controller")
        ->check(CLI::Range(0.01, 100.0))
        ->capture_default_str();
    for (const Option& option : options) {
        Add(app, option);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::exit(app.exit(error));
    }
}

void Target::Connect()
{
    if (IsSimulated()) {
        simulatorConfig_.controller.number = number_;
        simulatorConfig_.address = "127.0.0." + std::to_string(number_);
        simulator_ = std::make_unique<lumosim::Server>(simulatorConfig_);
        simulator_->Start();
        port_ = simulator_->Port();
    }
    const auto octets = Octets(IsSimulated() ? "127.0.0" : network_);
    zelQ_SetNetPortNum(number_, port_);
    const short result =
        zelQ_Connect(number_, octets[0], octets[1], static_cast<unsigned short>(octets[2]));
    if (result != ZELQ_OK) {
        throw std::runtime_error("controller " + std::to_string(number_) +
                                 " cannot be connected: zelQ_Connect gives " +
                                 std::to_string(result));
    }
    // A command whose reply is late is sent once more: what it appends to a path or a program, or
    // moves by, would count twice. On a busy computer the usual waits are soon over.
    constexpr short kPatienceMs = 1000;
    zelQ_TMOSet(number_, kPatienceMs, kPatienceMs, kPatienceMs);
    std::printf("connected to %s controller %d at %d.%d.%d.%d, port %d\n",
                IsSimulated() ? "simulated" : "real", number_, octets[0], octets[1], octets[2],
                number_, port_);
}

} // namespace example
