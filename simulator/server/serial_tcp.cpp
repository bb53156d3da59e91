#include "line_stream.h"

namespace lumosim {

namespace {

using asio::ip::tcp;

class TcpLine : public SerialLine
{
  public:
    TcpLine(asio::io_context& io, const tcp::endpoint& where, Taker taker)
        : acceptor_(io, where), taker_(std::move(taker))
    {
        Accept();
    }

    ~TcpLine() override
    {
        if (stream_) stream_->Close();
    }

    TcpLine(const TcpLine&) = delete;
    TcpLine& operator=(const TcpLine&) = delete;

    void Send(std::span<const std::uint8_t> bytes) override
    {
        if (stream_) stream_->Send(bytes);
    }

    [[nodiscard]] std::uint16_t Port() const override { return acceptor_.local_endpoint().port(); }

  private:
    // Further programs wait until the one before has gone.
    void Accept()
    {
        acceptor_.async_accept([this](const ErrorCode& error, tcp::socket socket) {
            if (error == asio::error::operation_aborted) return;
            if (error) return Accept();
            const auto ended = [this] {
                stream_.reset();
                Accept();
            };
            ErrorCode ignored;
            socket.set_option(tcp::no_delay(true), ignored);
            stream_ = std::make_shared<LineStream<tcp::socket>>(std::move(socket), taker_, ended);
            stream_->StartReading();
        });
    }

    tcp::acceptor acceptor_;
    Taker taker_;
    std::shared_ptr<LineStream<tcp::socket>> stream_;
};

} // namespace

std::unique_ptr<SerialLine> OpenTcpLine(asio::io_context& io, const tcp::endpoint& where,
                                        SerialLine::Taker taker)
{
    return std::make_unique<TcpLine>(io, where, std::move(taker));
}

} // namespace lumosim
