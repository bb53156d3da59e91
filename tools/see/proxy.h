// A proxy that passes what programs and a controller say to each other, and keeps it.
#pragma once

#include "see/pcap.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace zelq::tool {

struct ProxyCounts
{
    int connections = 0;
    std::uint64_t toController = 0; ///< bytes
    std::uint64_t toPrograms = 0;
};

/// Connections that are accepted are made on to the controller, one for one; each piece goes on at
/// once, as it has come.
class Proxy
{
  public:
    /// Listens; throws a Failure when it cannot, or when no controller is at the other end.
    Proxy(const std::string& listenAddress, std::uint16_t listenPort,
          const std::string& controllerAddress, std::uint16_t controllerPort, PcapFile& file);
    ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    [[nodiscard]] std::uint16_t Port() const;
    [[nodiscard]] const ProxyCounts& Counts() const;
    /// Works until `isOver`, which is asked several times a second.
    void Run(const std::function<bool()>& isOver);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace zelq::tool
