// The form in which the bridge speaks at the broker: topics and payloads.
#pragma once

#include "bridge/config.h"
#include "bridge/record.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelq::bridge {

struct Message
{
    std::string topic;
    std::string payload;
    int qos = 0;
    bool retained = false;
};

/// A metric of the bridge itself.
struct NodeValue
{
    std::uint32_t code = 0; ///< from 1
    const char* name = "";
    Value value;
};

/// What somebody wants a metric to be.
struct Write
{
    std::optional<std::uint32_t> code; ///< else by its name
    std::string name;
    Value value;
};

struct Incoming
{
    enum class Kind { kNothing, kRebirth, kWrites, kHost, kBirth, kDeath };

    Kind kind = Kind::kNothing;
    std::string device{}; ///< of writes
    std::vector<Write> writes{};
    bool online = false; ///< of the host
    Millis time = 0;
};

class Wire
{
  public:
    virtual ~Wire() = default;

    /// A new session begins; what the broker says when the bridge vanishes.
    virtual Message Begin(int session) = 0;
    [[nodiscard]] virtual std::vector<std::string> Subscriptions() const = 0;

    /// The topic at which a second bridge of this name would show itself.
    [[nodiscard]] virtual std::string BirthTopic() const = 0;
    /// What asks a bridge of this name for its birth.
    [[nodiscard]] virtual Message RebirthRequest() const = 0;
    virtual Message NodeBirth(const std::vector<NodeValue>& values, Millis time) = 0;
    virtual Message NodeData(const std::vector<NodeValue>& values, Millis time) = 0;
    virtual Message NodeDeath() = 0;
    virtual std::vector<Message> DeviceBirth(const Device& device, const Allowed& allowed,
                                             Millis time) = 0;
    virtual Message DeviceData(const Device& device, const Record& record, bool historical) = 0;
    virtual Message DeviceDeath(const Device& device, Millis time) = 0;

    [[nodiscard]] virtual Incoming Parse(const std::string& topic, const std::string& payload,
                                         bool retained) const = 0;
};

std::unique_ptr<Wire> MakeSparkplug(const NodeConfig& config);
std::unique_ptr<Wire> MakeJson(const NodeConfig& config, const std::string& instance);

/// A record for the store.
std::string Pack(const Record& record);
std::optional<Record> Unpack(const std::string& bytes);

/// {"online": true, "timestamp": 1234}
std::optional<Incoming> ParseHostState(const std::string& payload);

} // namespace zelq::bridge
