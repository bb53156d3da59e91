#include "connection.h"

#include <span>
#include <utility>

namespace lumosim {

Connection::Connection(asio::ip::tcp::socket socket, SharedController& controller, Closed closed)
    : socket_(std::move(socket)),
      controller_(controller),
      closed_(std::move(closed)),
      session_(controller.Locked())
{}

void Connection::Start()
{
    ErrorCode ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
    {
        const std::unique_lock lock = controller_.Lock();
        controller_.Locked().HostConnected();
    }
    Read();
}

void Connection::Close()
{
    if (!socket_.is_open()) return;
    ErrorCode ignored;
    socket_.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    socket_.close(ignored);
    {
        const std::unique_lock lock = controller_.Lock();
        controller_.Locked().HostDisconnected();
    }
    closed_(shared_from_this());
}

void Connection::Read()
{
    socket_.async_read_some(
        asio::buffer(received_),
        [self = shared_from_this()](const ErrorCode& error, std::size_t received) {
            if (error) {
                self->Close();
            } else {
                self->Answer(received);
            }
        });
}

void Connection::Answer(std::size_t received)
{
    answers_.clear();
    bool good = false;
    {
        const std::unique_lock lock = controller_.Lock();
        good = session_.Receive(std::span(received_).first(received), answers_);
    }
    asio::async_write(socket_, asio::buffer(answers_),
                      [self = shared_from_this(), good](const ErrorCode& error, std::size_t) {
                          if (error || !good) {
                              self->Close();
                          } else {
                              self->Read();
                          }
                      });
}

} // namespace lumosim
