// A simulated controller on the network: Modbus over TCP, any number of connections.
#pragma once

#include "core/controller.h"
#include "faults/fault_registry.h"
#include "hold.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace lumosim {

enum class Clock {
    kRealTime, // the controller's time runs with the computer's
    kByHand,   // it moves only by Server::AdvanceBy
};

// How a real-time clock runs.
struct ClockState
{
    double scale = 1; // simulated seconds in one second of real time
    bool paused = false;
};

// What the serial port is wired to.
struct SerialWiring
{
    enum class To { kNothing, kLoopBack, kPipe, kTcp };

    To to = To::kLoopBack;
    std::string pipe;       // kPipe: its name
    std::uint16_t port = 0; // kTcp: where a program connects; 0: a free one, see SerialTcpPort
};

struct ServerConfig
{
    ControllerConfig controller;
    std::string address = "127.0.0.1";
    std::uint16_t port = 0; // 0: a free one, see Server::Port
    // UDP port on which hosts look for controllers; 0: a free one, see Server::DiscoveryPort.
    std::optional<std::uint16_t> discoveryPort;
    SerialWiring serial;
    Clock clock = Clock::kRealTime;
    double timeScale = 1;
    std::uint64_t seed = 1; // of the faults that befall the line by chance
};

// Runs on a thread of its own between Start and Stop. All members may be called from any thread,
// but Start and Stop from one at a time. The controller outlives Stop, so its state can be looked
// at afterwards, and a Start behind it goes on with it.
class Server
{
  public:
    explicit Server(const ServerConfig& config); // std::invalid_argument as Controller
    ~Server();                                   // stops
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void Start(); // std::system_error, which says what could not be opened
    void Stop();  // closes all connections; when it returns, the port is free again

    // Where it listens. A controller that restarts with other network settings moves.
    [[nodiscard]] std::string Address() const;
    [[nodiscard]] std::uint16_t Port() const;          // bound port; 0 before Start
    [[nodiscard]] std::uint16_t DiscoveryPort() const; // 0 when it does not listen there
    [[nodiscard]] std::uint16_t SerialTcpPort() const; // 0 when the serial port is not wired to TCP
    [[nodiscard]] std::size_t Connections() const;
    void DropConnections(); // closes them all and goes on listening; not inside With

    // Runs `use(Controller&)` while nothing else touches the controller, its time brought up to
    // now, and returns what it returns.
    template <typename Use>
    auto With(Use&& use)
    {
        const Hold controller(Shared());
        return std::forward<Use>(use)(*controller);
    }

    // The faults of machine and line. They belong to the controller: to be used inside With, or
    // while nothing runs.
    [[nodiscard]] FaultRegistry& Faults();

    [[nodiscard]] ClockState RealTimeClock() const;
    void SetRealTimeClock(const ClockState& clock);

    // Moves a clock that is driven by hand; on a real-time clock it is extra time. When it returns,
    // a controller that has gone off the network or come back is there or not.
    void AdvanceBy(Nanoseconds step);

  private:
    class Impl;

    [[nodiscard]] SharedController& Shared();

    std::unique_ptr<Impl> impl_;
};

} // namespace lumosim
