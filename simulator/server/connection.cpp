#include "connection.h"

#include <span>
#include <utility>

namespace lumosim {

Connection::Connection(asio::ip::tcp::socket socket, SharedController& controller,
                       WireFilter& filter, Closed closed)
    : socket_(std::move(socket)),
      controller_(controller),
      filter_(filter),
      closed_(std::move(closed)),
      session_(controller.Unlocked()),
      wait_(socket_.get_executor()),
      pause_(socket_.get_executor())
{}

void Connection::Start()
{
    ErrorCode ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
    {
        const Hold controller(controller_);
        controller->HostConnected();
        pace_ = filter_.NextPace(received_.size());
    }
    GoOn();
}

void Connection::Close()
{
    if (!socket_.is_open()) return;
    ErrorCode ignored;
    socket_.shutdown(asio::ip::tcp::socket::shutdown_both, ignored);
    Leave();
}

void Connection::Reset()
{
    ErrorCode ignored;
    socket_.set_option(asio::socket_base::linger(true, 0), ignored);
    Leave();
}

void Connection::Leave()
{
    ErrorCode ignored;
    socket_.close(ignored);
    wait_.cancel();
    pause_.cancel();
    overtaken_.clear();
    Hold(controller_)->HostDisconnected();
    closed_(shared_from_this());
}

void Connection::GoOn()
{
    if (!socket_.is_open() || sending_) return;
    if (!pieces_.empty()) return Send();
    if (!reading_) AwaitRequest();
}

void Connection::AwaitRequest()
{
    reading_ = true;
    if (pace_.pause.count() == 0) return Read();
    pause_.expires_after(pace_.pause);
    pause_.async_wait([self = shared_from_this()](const ErrorCode& error) {
        if (!error) self->Read();
    });
}

void Connection::Read()
{
    socket_.async_read_some(
        asio::buffer(received_, pace_.size),
        [self = shared_from_this()](const ErrorCode& error, std::size_t received) {
            self->reading_ = false;
            if (error) return self->Close();
            if (!self->hangs_) self->Answer(received);
            self->GoOn();
        });
}

void Connection::Answer(std::size_t received)
{
    ModbusSession::Bytes answers;
    answers.reserve(received_.size());
    std::vector<WirePiece> pieces;
    bool good = false;
    {
        const Hold controller(controller_);
        good = session_.Receive(std::span(received_).first(received), answers);
        pace_ = filter_.NextPace(received_.size());
        if (!answers.empty()) pieces = filter_.Pass(std::move(answers));
    }
    for (WirePiece& piece : pieces) {
        Queue(std::move(piece));
    }
    if (!good) Queue({{}, {}, false, WireEnd::kCloses});
}

void Connection::Queue(WirePiece piece)
{
    if (!piece.overtaken) return pieces_.push_back(std::move(piece));
    const auto timer = overtaken_.emplace(overtaken_.end(), socket_.get_executor(), piece.wait);
    piece.wait = {};
    timer->async_wait([self = shared_from_this(), timer, piece](const ErrorCode& error) {
        if (error || !self->socket_.is_open()) return;
        self->overtaken_.erase(timer);
        self->pieces_.push_back(piece);
        self->GoOn();
    });
}

void Connection::Send()
{
    sending_ = true;
    WirePiece& piece = pieces_.front();
    if (piece.wait.count() != 0) {
        wait_.expires_after(std::exchange(piece.wait, {}));
        return wait_.async_wait([self = shared_from_this()](const ErrorCode& error) {
            if (!error) self->Send();
        });
    }
    asio::async_write(socket_, asio::buffer(piece.bytes),
                      [self = shared_from_this()](const ErrorCode& error, std::size_t) {
                          if (error) return self->Close();
                          self->Sent();
                      });
}

void Connection::Sent()
{
    sending_ = false;
    const WireEnd end = pieces_.front().end;
    pieces_.pop_front();
    hangs_ = hangs_ || end == WireEnd::kHangs;
    if (end == WireEnd::kCloses) return Close();
    if (end == WireEnd::kResets) return Reset();
    GoOn();
}

} // namespace lumosim
