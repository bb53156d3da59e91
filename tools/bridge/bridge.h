// From controllers to a broker and back: what "zelq bridge" runs.
#pragma once

#include "bridge/config.h"
#include "bridge/node.h"
#include "bridge/poller.h"

#include <map>
#include <memory>
#include <mutex>

namespace zelq::bridge {

class Bridge
{
  public:
    /// Throws a std::runtime_error when the store cannot be had.
    Bridge(Config config, Allowed allowed, Words words);
    ~Bridge();
    Bridge(const Bridge&) = delete;
    Bridge& operator=(const Bridge&) = delete;

    /// What is as it was goes on undisturbed.
    void Reconfigure(Config config);

  private:
    void Start();
    void Stop();
    void End(const std::vector<short>& numbers);
    void Begin(const std::vector<ControllerConfig>& controllers);
    void Carry(Order order);

    Config config_;
    Allowed allowed_;
    Words words_;
    std::unique_ptr<Node> node_;
    std::mutex mutex_; ///< of the map: orders come on the node's thread
    std::map<short, std::unique_ptr<Poller>> pollers_;
};

} // namespace zelq::bridge
