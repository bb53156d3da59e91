#include "bridge/broker.h"

#include "bridge/log.h"

#include <MQTTAsync.h>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace zelq::bridge {

namespace {

constexpr int kConnectSeconds = 5;
constexpr int kDisconnectMs = 1000;
/// Nobody is subscribed to it. That the broker says so tells that it has read what came before.
constexpr const char* kMarkTopic = "zelq/mark";

std::string FirstLineOf(const std::string& file)
{
    std::ifstream stream(file);
    std::string line;
    if (!std::getline(stream, line)) throw std::runtime_error("cannot read " + file);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

/// From the file, else from the environment; empty: none.
std::string Secret(const std::string& file, const char* variable)
{
    if (!file.empty()) return FirstLineOf(file);
    const char* value = std::getenv(variable);
    return value == nullptr ? "" : value;
}

std::string ReasonOf(const MQTTAsync_failureData* failure)
{
    constexpr int kBadUser = 4;
    constexpr int kNotAllowed = 5; // some brokers say so of a wrong password, too
    if (failure == nullptr) return "no answer";
    if (failure->code == kBadUser || failure->code == kNotAllowed) {
        return "the broker refuses user and password";
    }
    if (failure->message != nullptr) return failure->message;
    return "failure " + std::to_string(failure->code);
}

int PortOf(const sockaddr_storage& address)
{
    if (address.ss_family == AF_INET6) {
        sockaddr_in6 six{};
        std::memcpy(&six, &address, sizeof six);
        return ntohs(six.sin6_port);
    }
    sockaddr_in four{};
    std::memcpy(&four, &address, sizeof four);
    return address.ss_family == AF_INET ? ntohs(four.sin_port) : 0;
}

/// A small message would wait until the broker has acknowledged the one before it, some 40 ms now
/// and then. Paho neither sets this nor tells its socket: it is one that leads to the broker's
/// port.
void SendAtOnce(int port)
{
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        const int descriptor = std::atoi(entry.path().filename().c_str());
        sockaddr_storage peer{};
        socklen_t size = sizeof peer;
        auto* address = reinterpret_cast<sockaddr*>(&peer);
        if (getpeername(descriptor, address, &size) != 0 || PortOf(peer) != port) continue;
        const int on = 1;
        setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
}

BrokerListener& ListenerOf(void* context)
{
    return *static_cast<BrokerListener*>(context);
}

int OnArrival(void* context, char* topic, int topicLength, MQTTAsync_message* message)
{
    const std::string name =
        topicLength > 0 ? std::string(topic, static_cast<std::size_t>(topicLength)) : topic;
    const std::string payload(static_cast<const char*>(message->payload),
                              static_cast<std::size_t>(message->payloadlen));
    ListenerOf(context).Arrived(name, payload, message->retained != 0);
    MQTTAsync_freeMessage(&message);
    MQTTAsync_free(topic);
    return 1;
}

void OnLost(void* context, char* cause)
{
    ListenerOf(context).Lost(cause == nullptr ? "the connection is gone" : cause);
}

std::string UriOf(const BrokerConfig& config)
{
    const bool isV6 = config.host.find(':') != std::string::npos;
    return (config.tls ? "ssl://" : "tcp://") + (isV6 ? "[" + config.host + "]" : config.host) +
           ":" + std::to_string(config.port);
}

/// Said once: it is for whoever wrote the file.
void WarnOfPlainPassword(const BrokerConfig& config)
{
    static std::once_flag once;
    const bool isHere = config.host == "localhost" || config.host.rfind("127.", 0) == 0;
    if (config.tls || isHere) return;
    std::call_once(once, [] {
        Log("the password goes over the network as it is: the broker has no \"tls\" in the file");
    });
}

const char* OrNull(const std::string& text)
{
    return text.empty() ? nullptr : text.c_str();
}

} // namespace

class BrokerSession::Impl
{
  public:
    Impl(const BrokerConfig& config, const std::string& client, BrokerListener& listener)
        : config_(config), listener_(listener)
    {
        static std::once_flag once;
        std::call_once(once, [] {
            MQTTAsync_init_options options = MQTTAsync_init_options_initializer;
            options.do_openssl_init = 1;
            MQTTAsync_global_init(&options);
        });
        const int made = MQTTAsync_create(&client_, UriOf(config).c_str(), client.c_str(),
                                          MQTTCLIENT_PERSISTENCE_NONE, nullptr);
        if (made != MQTTASYNC_SUCCESS) throw std::runtime_error("no client of a broker can be had");
        MQTTAsync_setCallbacks(client_, &listener, OnLost, OnArrival, nullptr);
    }
    ~Impl() { MQTTAsync_destroy(&client_); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void Connect(const std::optional<Message>& will)
    {
        MQTTAsync_willOptions last = MQTTAsync_willOptions_initializer;
        if (will) {
            last.topicName = will->topic.c_str();
            last.payload.len = static_cast<int>(will->payload.size());
            last.payload.data = will->payload.data();
            last.qos = will->qos;
            last.retained = will->retained ? 1 : 0;
        }
        MQTTAsync_SSLOptions tls = MQTTAsync_SSLOptions_initializer;
        tls.trustStore = OrNull(config_.ca);
        tls.keyStore = OrNull(config_.certificate);
        tls.privateKey = OrNull(config_.key);
        tls.enableServerCertAuth = 1;
        tls.verify = 1; // the certificate is that of this host
        tls.sslVersion = MQTT_SSL_VERSION_TLS_1_2;
        const std::string user = Secret(config_.userFile, "ZELQ_MQTT_USER");
        const std::string password = Secret(config_.passwordFile, "ZELQ_MQTT_PASSWORD");
        if (!password.empty()) WarnOfPlainPassword(config_);

        MQTTAsync_connectOptions options = MQTTAsync_connectOptions_initializer;
        options.keepAliveInterval = config_.keepAlive;
        options.cleansession = 1;
        options.MQTTVersion = MQTTVERSION_3_1_1;
        options.connectTimeout = kConnectSeconds;
        options.will = will ? &last : nullptr;
        options.ssl = config_.tls ? &tls : nullptr;
        options.username = OrNull(user);
        options.password = OrNull(password);
        options.context = &listener_;
        options.onSuccess = [](void* context, MQTTAsync_successData*) {
            ListenerOf(context).Connected();
        };
        options.onFailure = [](void* context, MQTTAsync_failureData* failure) {
            ListenerOf(context).ConnectFailed(ReasonOf(failure));
        };
        const int result = MQTTAsync_connect(client_, &options);
        if (result != MQTTASYNC_SUCCESS) {
            listener_.ConnectFailed("failure " + std::to_string(result));
        }
    }

    void Subscribe(const std::vector<std::string>& topics)
    {
        SendAtOnce(config_.port);
        std::vector<char*> names;
        names.reserve(topics.size());
        for (const std::string& topic : topics) {
            names.push_back(const_cast<char*>(topic.c_str())); // read only, but not declared so
        }
        std::vector<int> qos(topics.size(), 1);
        MQTTAsync_responseOptions response = Response();
        response.onSuccess = [](void* context, MQTTAsync_successData*) {
            ListenerOf(context).Subscribed();
        };
        response.onFailure = [](void* context, MQTTAsync_failureData* failure) {
            ListenerOf(context).Lost("not subscribed: " + ReasonOf(failure));
        };
        const int result = MQTTAsync_subscribeMany(client_, static_cast<int>(names.size()),
                                                   names.data(), qos.data(), &response);
        if (result != MQTTASYNC_SUCCESS) listener_.Lost("not subscribed");
    }

    bool Send(const Message& message)
    {
        return MQTTAsync_send(client_, message.topic.c_str(),
                              static_cast<int>(message.payload.size()), message.payload.data(),
                              message.qos, message.retained ? 1 : 0, nullptr) == MQTTASYNC_SUCCESS;
    }

    bool Mark()
    {
        MQTTAsync_responseOptions response = Response();
        response.onSuccess = [](void* context, MQTTAsync_successData*) {
            ListenerOf(context).MarkPassed();
        };
        return MQTTAsync_unsubscribe(client_, kMarkTopic, &response) == MQTTASYNC_SUCCESS;
    }

    void Disconnect()
    {
        MQTTAsync_disconnectOptions options = MQTTAsync_disconnectOptions_initializer;
        options.timeout = kDisconnectMs;
        options.context = &listener_;
        options.onSuccess = [](void* context, MQTTAsync_successData*) {
            ListenerOf(context).Lost("disconnected");
        };
        options.onFailure = [](void* context, MQTTAsync_failureData*) {
            ListenerOf(context).Lost("disconnected");
        };
        if (MQTTAsync_disconnect(client_, &options) != MQTTASYNC_SUCCESS) {
            listener_.Lost("disconnected");
        }
    }

  private:
    MQTTAsync_responseOptions Response()
    {
        MQTTAsync_responseOptions response = MQTTAsync_responseOptions_initializer;
        response.context = &listener_;
        return response;
    }

    BrokerConfig config_;
    BrokerListener& listener_;
    MQTTAsync client_ = nullptr;
};

BrokerSession::BrokerSession(const BrokerConfig& config, const std::string& client,
                             BrokerListener& listener)
    : impl_(std::make_unique<Impl>(config, client, listener))
{}

BrokerSession::~BrokerSession() = default;

void BrokerSession::Connect(const std::optional<Message>& will)
{
    impl_->Connect(will);
}

void BrokerSession::Subscribe(const std::vector<std::string>& topics)
{
    impl_->Subscribe(topics);
}

bool BrokerSession::Send(const Message& message)
{
    return impl_->Send(message);
}

bool BrokerSession::Mark()
{
    return impl_->Mark();
}

void BrokerSession::Disconnect()
{
    impl_->Disconnect();
}

} // namespace zelq::bridge
