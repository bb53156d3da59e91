#include "see/proxy.h"

#include "frame/failure.h"
#include "network.h"

#include <array>
#include <chrono>
#include <type_traits>

namespace zelq::tool {

namespace {

using asio::ip::tcp;

/// By which Wireshark knows that what it sees is Modbus.
constexpr std::uint16_t kModbusPort = 502;

/// Elsewhere the option would let two programs listen at one port.
constexpr bool kPortsLinger = std::is_same_v<tcp::socket::native_handle_type, int>;

Endpoint ToEndpoint(const tcp::endpoint& endpoint)
{
    return {endpoint.address().to_v4().to_bytes(), endpoint.port()};
}

/// A program's connection and the one to the controller.
class Passage : public std::enable_shared_from_this<Passage>
{
  public:
    Passage(tcp::socket program, PcapFile& file, ProxyCounts& counts)
        : program_(std::move(program)),
          controller_(program_.get_executor()),
          file_(file),
          counts_(counts)
    {}

    void Start(const tcp::endpoint& controller)
    {
        ErrorCode ignored;
        packets_.client = ToEndpoint(program_.remote_endpoint(ignored));
        packets_.server = {controller.address().to_v4().to_bytes(), kModbusPort};
        controller_.async_connect(controller, [self = shared_from_this()](const ErrorCode& error) {
            if (!error) self->Connected();
        });
    }

  private:
    static constexpr std::size_t kPiece = 16384;
    using Piece = std::array<std::uint8_t, kPiece>;

    void Connected()
    {
        ErrorCode ignored;
        program_.set_option(tcp::no_delay(true), ignored);
        controller_.set_option(tcp::no_delay(true), ignored);
        ++counts_.connections;
        file_.Opened(packets_);
        Pass(program_, controller_, fromProgram_, true);
        Pass(controller_, program_, fromController_, false);
    }

    void Pass(tcp::socket& from, tcp::socket& to, Piece& piece, bool byProgram)
    {
        from.async_read_some(asio::buffer(piece),
                             [this, self = shared_from_this(), &from, &to, &piece,
                              byProgram](const ErrorCode& error, std::size_t size) {
                                 if (error) return Close(byProgram);
                                 file_.Sent(packets_, byProgram, std::span(piece).first(size));
                                 (byProgram ? counts_.toController : counts_.toPrograms) += size;
                                 asio::async_write(to, asio::buffer(piece, size),
                                                   [this, self, &from, &to, &piece, byProgram](
                                                       const ErrorCode& failed, std::size_t) {
                                                       if (failed) return Close(!byProgram);
                                                       Pass(from, to, piece, byProgram);
                                                   });
                             });
    }

    /// What one side has closed ends for the other.
    void Close(bool byProgram)
    {
        if (closed_) return;
        closed_ = true;
        file_.Closed(packets_, byProgram);
        ErrorCode ignored;
        program_.close(ignored);
        controller_.close(ignored);
    }

    tcp::socket program_;
    tcp::socket controller_;
    PcapFile& file_;
    ProxyCounts& counts_;
    PcapFile::Connection packets_;
    Piece fromProgram_{};
    Piece fromController_{};
    bool closed_ = false;
};

} // namespace

class Proxy::Impl
{
  public:
    Impl(const std::string& listenAddress, std::uint16_t listenPort,
         const std::string& controllerAddress, std::uint16_t controllerPort, PcapFile& file)
        : acceptor_(context_),
          controller_(asio::ip::make_address_v4(controllerAddress), controllerPort),
          file_(file)
    {
        CheckController();
        const tcp::endpoint here(asio::ip::make_address_v4(listenAddress), listenPort);
        ErrorCode error;
        acceptor_.open(here.protocol(), error);
        // Where the system keeps a port for a while behind its last connection, it is ours again.
        if (kPortsLinger) acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
        if (!error) acceptor_.bind(here, error);
        if (!error) acceptor_.listen(asio::socket_base::max_listen_connections, error);
        if (error) {
            throw Failure(kUsage, "cannot listen at " + listenAddress + ", port " +
                                      std::to_string(listenPort) + ": " + error.message());
        }
        Accept();
    }

    [[nodiscard]] std::uint16_t Port() const { return acceptor_.local_endpoint().port(); }
    [[nodiscard]] const ProxyCounts& Counts() const { return counts_; }

    void Run(const std::function<bool()>& isOver)
    {
        while (!isOver()) {
            context_.run_for(std::chrono::milliseconds(50));
        }
    }

  private:
    /// Before any program relies on it.
    void CheckController()
    {
        tcp::socket socket(context_);
        ErrorCode result = asio::error::timed_out;
        socket.async_connect(controller_, [&result](const ErrorCode& error) { result = error; });
        context_.run_for(std::chrono::seconds(2));
        ErrorCode ignored;
        socket.close(ignored);
        context_.restart();
        context_.run(); // what the closing has cut short
        context_.restart();
        if (!result) return;
        throw Failure(kNoConnection, "no connection to " + controller_.address().to_string() +
                                         ", port " + std::to_string(controller_.port()));
    }

    void Accept()
    {
        acceptor_.async_accept([this](const ErrorCode& error, tcp::socket program) {
            if (error) return;
            std::make_shared<Passage>(std::move(program), file_, counts_)->Start(controller_);
            Accept();
        });
    }

    asio::io_context context_;
    tcp::acceptor acceptor_;
    tcp::endpoint controller_;
    PcapFile& file_;
    ProxyCounts counts_;
};

Proxy::Proxy(const std::string& listenAddress, std::uint16_t listenPort,
             const std::string& controllerAddress, std::uint16_t controllerPort, PcapFile& file)
    : impl_(std::make_unique<Impl>(listenAddress, listenPort, controllerAddress, controllerPort,
                                   file))
{}

Proxy::~Proxy() = default;

std::uint16_t Proxy::Port() const
{
    return impl_->Port();
}

const ProxyCounts& Proxy::Counts() const
{
    return impl_->Counts();
}

void Proxy::Run(const std::function<bool()>& isOver)
{
    impl_->Run(isOver);
}

} // namespace zelq::tool
