#include "server.h"

#include "connection.h"
#include "shared_controller.h"

#include <asio.hpp>
#include <atomic>
#include <future>
#include <set>
#include <thread>
#include <utility>

namespace lumosim {

namespace {

// Requests bring the time up to now by themselves; the tick lets limits trip without them.
constexpr auto kTick = std::chrono::milliseconds(5);

// Accepting fails when the system is out of descriptors; after this time it may have some again.
constexpr auto kAcceptPause = std::chrono::milliseconds(100);

#ifdef _WIN32
// There it would let two programs share one port.
constexpr bool kReuseAddress = false;
#else
constexpr bool kReuseAddress = true;
#endif

} // namespace

class Server::Impl
{
  public:
    explicit Impl(const ServerConfig& config) : config_(config), controller_(config) {}

    void Start();
    void Stop();
    void DropConnections();

    [[nodiscard]] const std::string& Address() const { return config_.address; }
    [[nodiscard]] std::uint16_t Port() const { return port_; }
    [[nodiscard]] std::size_t Connections() const { return connectionCount_; }
    [[nodiscard]] SharedController& Shared() { return controller_; }

  private:
    void Listen();
    void Accept();
    void PauseAccepting();
    void Tick();
    void CloseConnections();

    ServerConfig config_;
    SharedController controller_;
    std::atomic<std::uint16_t> port_ = 0;
    std::atomic<std::size_t> connectionCount_ = 0;

    asio::io_context io_{1};
    asio::ip::tcp::acceptor acceptor_{io_};
    asio::steady_timer tick_{io_};
    asio::steady_timer acceptPause_{io_};
    std::set<std::shared_ptr<Connection>> connections_; // the server's thread alone
    std::thread thread_;
};

void Server::Impl::Start()
{
    if (thread_.joinable()) return;
    io_.restart();
    Listen();
    controller_.SetRunning(true);
    Accept();
    if (config_.clock == Clock::kRealTime) Tick();
    thread_ = std::thread([this] { io_.run(); });
}

void Server::Impl::Listen()
{
    const asio::ip::tcp::endpoint endpoint(asio::ip::make_address(config_.address), config_.port);
    asio::ip::tcp::acceptor acceptor(io_, endpoint, kReuseAddress);
    acceptor_ = std::move(acceptor);
    port_ = acceptor_.local_endpoint().port();
}

void Server::Impl::Stop()
{
    if (!thread_.joinable()) return;
    // Without anything to wait for, the thread runs out of work and ends by itself.
    asio::post(io_, [this] {
        asio::error_code ignored;
        acceptor_.close(ignored);
        tick_.cancel();
        acceptPause_.cancel();
        CloseConnections();
    });
    thread_.join();
    controller_.SetRunning(false);
}

void Server::Impl::DropConnections()
{
    if (!thread_.joinable()) return;
    std::promise<void> promise;
    const std::future<void> dropped = promise.get_future();
    asio::post(io_, [this, promise = std::move(promise)]() mutable {
        CloseConnections();
        promise.set_value();
    });
    dropped.wait();
}

void Server::Impl::CloseConnections()
{
    for (const auto& connection : std::exchange(connections_, {})) {
        connection->Close();
    }
    connectionCount_ = 0;
}

void Server::Impl::Accept()
{
    acceptor_.async_accept([this](const asio::error_code& error, asio::ip::tcp::socket socket) {
        if (!acceptor_.is_open()) return;
        if (error && error != asio::error::connection_aborted) return PauseAccepting();
        if (!error) {
            const auto connection = std::make_shared<Connection>(
                std::move(socket), controller_, [this](const std::shared_ptr<Connection>& closed) {
                    connections_.erase(closed);
                    connectionCount_ = connections_.size();
                });
            connections_.insert(connection);
            connectionCount_ = connections_.size();
            connection->Start();
        }
        Accept();
    });
}

void Server::Impl::PauseAccepting()
{
    acceptPause_.expires_after(kAcceptPause);
    acceptPause_.async_wait([this](const asio::error_code& error) {
        if (!error && acceptor_.is_open()) Accept();
    });
}

void Server::Impl::Tick()
{
    tick_.expires_after(kTick);
    tick_.async_wait([this](const asio::error_code& error) {
        if (error || !acceptor_.is_open()) return;
        controller_.Lock(); // that brings the time up to now
        Tick();
    });
}

Server::Server(const ServerConfig& config) : impl_(std::make_unique<Impl>(config)) {}

Server::~Server()
{
    Stop();
}

void Server::Start()
{
    impl_->Start();
}

void Server::Stop()
{
    impl_->Stop();
}

const std::string& Server::Address() const
{
    return impl_->Address();
}

std::uint16_t Server::Port() const
{
    return impl_->Port();
}

std::size_t Server::Connections() const
{
    return impl_->Connections();
}

void Server::DropConnections()
{
    impl_->DropConnections();
}

void Server::AdvanceBy(Nanoseconds step)
{
    With([step](Controller& controller) { controller.Advance(step); });
}

std::unique_lock<std::mutex> Server::LockUpToNow()
{
    return impl_->Shared().Lock();
}

Controller& Server::Locked()
{
    return impl_->Shared().Locked();
}

} // namespace lumosim
