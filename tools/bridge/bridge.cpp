#include "bridge/bridge.h"

#include "bridge/log.h"

#include <algorithm>

namespace zelq::bridge {

Bridge::Bridge(Config config, Allowed allowed, Words words)
    : config_(std::move(config)), allowed_(allowed), words_(std::move(words))
{
    Start();
}

Bridge::~Bridge()
{
    Stop();
}

void Bridge::Start()
{
    node_ = std::make_unique<Node>(config_.node, allowed_,
                                   [this](Order order) { Carry(std::move(order)); });
    Begin(config_.controllers);
}

void Bridge::Stop()
{
    std::vector<short> all;
    for (const auto& [number, poller] : pollers_) {
        all.push_back(number);
    }
    End(all);
    node_.reset();
}

/// All are asked first: each ends when its exchange is over, and those of dead ones take a second.
void Bridge::End(const std::vector<short>& numbers)
{
    std::vector<std::unique_ptr<Poller>> ending;
    {
        const std::scoped_lock lock(mutex_);
        for (const short number : numbers) {
            ending.push_back(std::move(pollers_.extract(number).mapped()));
        }
    }
    for (const auto& poller : ending) {
        poller->AskToEnd();
    }
}

void Bridge::Begin(const std::vector<ControllerConfig>& controllers)
{
    node_->SetControllers(config_.controllers.size());
    const std::scoped_lock lock(mutex_);
    for (std::size_t i = 0; i < controllers.size(); ++i) {
        const std::chrono::microseconds period(controllers[i].rules.PeriodMs() * 1000);
        const auto phase = period * static_cast<long>(i) / static_cast<long>(controllers.size());
        pollers_[controllers[i].number] =
            std::make_unique<Poller>(controllers[i], words_, *node_, phase);
    }
}

void Bridge::Carry(Order order)
{
    const std::scoped_lock lock(mutex_);
    const auto poller = pollers_.find(order.controller);
    if (poller != pollers_.end()) poller->second->Carry(std::move(order));
}

void Bridge::Reconfigure(Config config)
{
    if (!(config.node == config_.node)) {
        Log("broker, names or store have changed: begins anew");
        Stop();
        config_ = std::move(config);
        Start();
        return;
    }
    std::vector<short> ended;
    std::vector<ControllerConfig> begun;
    for (const auto& [number, poller] : pollers_) {
        const auto& known = poller->Config();
        const bool stays = std::find(config.controllers.begin(), config.controllers.end(), known) !=
                           config.controllers.end();
        if (!stays) ended.push_back(number);
    }
    for (const ControllerConfig& each : config.controllers) {
        const auto known = pollers_.find(each.number);
        const bool isSame = known != pollers_.end() && known->second->Config() == each;
        if (!isSame) begun.push_back(each);
    }
    config_ = std::move(config);
    End(ended);
    Begin(begun);
    Log("the file is read again: " + std::to_string(begun.size()) +
        " controllers are new or changed, " + std::to_string(ended.size()) +
        " went or were changed");
}

} // namespace zelq::bridge
