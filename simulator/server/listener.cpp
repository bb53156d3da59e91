#include "listener.h"

#include <chrono>
#include <utility>

namespace lumosim {

namespace {

// Accepting fails when the system is out of descriptors; after this time it may have some again.
constexpr auto kAcceptPause = std::chrono::milliseconds(100);

} // namespace

void Listener::Open(const asio::ip::address& address, std::uint16_t port)
{
    asio::ip::tcp::acceptor acceptor(io_, {address, port}, kReuseAddress);
    acceptor_ = std::move(acceptor);
    port_ = acceptor_.local_endpoint().port();
    Accept();
}

void Listener::Close()
{
    ErrorCode ignored;
    acceptor_.close(ignored);
    acceptPause_.cancel();
    CloseConnections();
}

void Listener::CloseConnections()
{
    for (const auto& connection : std::exchange(connections_, {})) {
        connection->Close();
    }
    connectionCount_ = 0;
}

void Listener::Accept()
{
    acceptor_.async_accept([this](const ErrorCode& error, asio::ip::tcp::socket socket) {
        if (error == asio::error::operation_aborted || !acceptor_.is_open()) return;
        if (error && error != asio::error::connection_aborted) return PauseAccepting();
        if (!error) Take(std::move(socket));
        Accept();
    });
}

void Listener::Take(asio::ip::tcp::socket socket)
{
    bool refused = false;
    {
        const Hold controller(controller_);
        refused = filter_.RefusesConnection();
    }
    if (refused) {
        ErrorCode ignored;
        socket.set_option(asio::socket_base::linger(true, 0), ignored);
        return; // which resets it
    }
    const auto connection = std::make_shared<Connection>(
        std::move(socket), controller_, filter_, [this](const std::shared_ptr<Connection>& closed) {
            connections_.erase(closed);
            connectionCount_ = connections_.size();
        });
    connections_.insert(connection);
    connectionCount_ = connections_.size();
    connection->Start();
}

void Listener::PauseAccepting()
{
    acceptPause_.expires_after(kAcceptPause);
    acceptPause_.async_wait([this](const ErrorCode& error) {
        if (!error && acceptor_.is_open()) Accept();
    });
}

} // namespace lumosim
