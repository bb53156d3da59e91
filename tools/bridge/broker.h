// The connection to the broker.
#pragma once

#include "bridge/wire.h"

#include <functional>
#include <memory>

namespace zelq::bridge {

/// Called on the client's own threads.
class BrokerListener
{
  public:
    virtual ~BrokerListener() = default;
    virtual void Connected() = 0;
    virtual void ConnectFailed(const std::string& reason) = 0;
    virtual void Subscribed() = 0;
    virtual void Arrived(const std::string& topic, const std::string& payload, bool retained) = 0;
    /// The broker has taken all that was sent before the mark.
    virtual void MarkPassed() = 0;
    virtual void Lost(const std::string& reason) = 0;
};

/// From one connect to its end. A listener of its own tells its news from those of the session
/// before; it has to outlive the session.
class BrokerSession
{
  public:
    BrokerSession(const BrokerConfig& config, const std::string& client, BrokerListener& listener);
    ~BrokerSession();
    BrokerSession(const BrokerSession&) = delete;
    BrokerSession& operator=(const BrokerSession&) = delete;

    /// Throws a std::runtime_error when user or password cannot be read.
    void Connect(const std::optional<Message>& will);
    void Subscribe(const std::vector<std::string>& topics);
    /// False when there is no connection any more.
    bool Send(const Message& message);
    /// Asks for MarkPassed(); one at a time.
    bool Mark();
    /// Without the last will. What was sent is written first.
    void Disconnect();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace zelq::bridge
