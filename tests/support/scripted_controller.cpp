#include "support/scripted_controller.h"

#include "zelq.h"

#include <array>
#include <asio.hpp>
#include <future>
#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace zelq::test {

namespace {

using asio::ip::tcp;

std::uint16_t WordAt(const Bytes& bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

void PutWord(Bytes& bytes, std::uint16_t word)
{
    bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    bytes.push_back(static_cast<std::uint8_t>(word));
}

/// Takes one complete frame from the front of `bytes`; false when it is not all there yet.
bool TakeFrame(Bytes& bytes, RequestFrame& frame)
{
    if (bytes.size() < 6 || bytes.size() < 6U + WordAt(bytes, 4)) return false;
    const std::size_t size = 6U + WordAt(bytes, 4);
    frame = {};
    frame.id = WordAt(bytes, 0);
    frame.unit = bytes[6];
    frame.function = bytes[7];
    frame.start = WordAt(bytes, 8);
    frame.quantity = WordAt(bytes, 10);
    const std::size_t head = frame.function == 23 ? 17 : frame.function == 16 ? 13 : size;
    for (std::size_t at = head; at + 1 < size; at += 2) {
        frame.written.push_back(WordAt(bytes, at));
    }
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    return true;
}

} // namespace

/// The sockets, on a thread of their own.
class ScriptedController::Server
{
  public:
    Server(ScriptedController& owner, const std::string& address)
        : owner_(owner),
          acceptor_(context_, tcp::endpoint(asio::ip::make_address(address), 0)),
          port_(acceptor_.local_endpoint().port())
    {
        Accept();
        thread_ = std::thread([this] { context_.run(); });
    }

    ~Server()
    {
        asio::post(context_, [this] { DropAll(); });
        work_.reset();
        thread_.join();
    }

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] int Port() const { return port_; }

    void StopListening()
    {
        std::promise<void> done;
        asio::post(context_, [&] {
            DropAll();
            done.set_value();
        });
        done.get_future().wait();
    }

  private:
    struct Connection
    {
        explicit Connection(tcp::socket accepted)
            : socket(std::move(accepted)), timer(socket.get_executor())
        {}
        tcp::socket socket;
        asio::steady_timer timer;
        Bytes received;
        std::array<std::uint8_t, 4096> area{};
        Answer answer;
        std::size_t sent = 0; ///< bytes of the answer
    };
    using ConnectionPtr = std::shared_ptr<Connection>;

    void DropAll()
    {
        asio::error_code ignored;
        acceptor_.close(ignored);
        while (!connections_.empty()) {
            Drop(*connections_.begin());
        }
    }

    void Drop(const ConnectionPtr& connection)
    {
        asio::error_code ignored;
        connection->socket.close(ignored);
        connection->timer.cancel();
        if (connections_.erase(connection) == 0) return;
        const std::lock_guard guard(owner_.mutex_);
        --owner_.openConnections_;
    }

    void Accept()
    {
        acceptor_.async_accept([this](asio::error_code error, tcp::socket socket) {
            if (error) return;
            asio::error_code gone; // the peer may have left again
            socket.set_option(tcp::no_delay(true), gone);
            {
                const std::lock_guard guard(owner_.mutex_);
                ++owner_.connections_;
                ++owner_.openConnections_;
            }
            const auto connection = std::make_shared<Connection>(std::move(socket));
            connections_.insert(connection);
            Read(connection);
            Accept();
        });
    }

    void Read(const ConnectionPtr& connection)
    {
        connection->socket.async_read_some(
            asio::buffer(connection->area),
            [this, connection](asio::error_code error, std::size_t count) {
                if (error) return Drop(connection);
                connection->received.insert(connection->received.end(), connection->area.begin(),
                                            connection->area.begin() +
                                                static_cast<std::ptrdiff_t>(count));
                const Request request = TakeRequest(*connection);
                if (request.empty()) return Read(connection);
                connection->answer = owner_.AnswerTo(request);
                connection->sent = 0;
                SendNextPiece(connection);
            });
    }

    static Request TakeRequest(Connection& connection)
    {
        Request request;
        Bytes rest = connection.received;
        RequestFrame frame;
        while (TakeFrame(rest, frame)) {
            request.push_back(frame);
        }
        if (!rest.empty()) return {}; // more of the last frame is still to come
        connection.received.clear();
        return request;
    }

    void SendNextPiece(const ConnectionPtr& connection)
    {
        if (connection->sent == connection->answer.bytes.size()) return Finish(connection);
        auto pause = connection->answer.pause;
        if (connection->sent > 0) pause += connection->answer.later;
        if (pause.count() == 0) return SendPiece(connection);
        connection->timer.expires_after(pause);
        connection->timer.async_wait([this, connection](asio::error_code error) {
            if (!error) SendPiece(connection);
        });
    }

    void SendPiece(const ConnectionPtr& connection)
    {
        const Answer& answer = connection->answer;
        const std::size_t left = answer.bytes.size() - connection->sent;
        const bool first = connection->sent == 0 && answer.firstPiece != 0;
        const std::size_t wanted = first ? answer.firstPiece : answer.pieceSize;
        const std::size_t size = wanted == 0 ? left : std::min(wanted, left);
        asio::error_code error;
        asio::write(connection->socket, asio::buffer(answer.bytes.data() + connection->sent, size),
                    error);
        if (error) {
            owner_.Answered();
            return Drop(connection);
        }
        connection->sent += size;
        SendNextPiece(connection);
    }

    void Finish(const ConnectionPtr& connection)
    {
        owner_.Answered();
        asio::error_code ignored;
        switch (connection->answer.then) {
        case Answer::Then::kRefuse:
            acceptor_.close(ignored);
            [[fallthrough]];
        case Answer::Then::kStay:
            Read(connection);
            break;
        case Answer::Then::kReset:
            connection->socket.set_option(asio::socket_base::linger(true, 0), ignored);
            [[fallthrough]];
        case Answer::Then::kClose:
            Drop(connection);
            break;
        case Answer::Then::kRepeat:
            Repeat(connection);
            break;
        }
    }

    void Repeat(const ConnectionPtr& connection)
    {
        asio::async_write(connection->socket, asio::buffer(connection->answer.bytes),
                          [this, connection](asio::error_code error, std::size_t) {
                              if (error) return Drop(connection);
                              Repeat(connection);
                          });
    }

    ScriptedController& owner_;
    asio::io_context context_;
    asio::executor_work_guard<asio::io_context::executor_type> work_{context_.get_executor()};
    tcp::acceptor acceptor_;
    int port_;
    std::set<ConnectionPtr> connections_;
    std::thread thread_;
};

ScriptedController::ScriptedController(short number)
    : number_(number), server_(std::make_unique<Server>(*this, "127.0.0." + std::to_string(number)))
{
    SetRegister(0xF414, 0x0001);
}

ScriptedController::~ScriptedController()
{
    zelQ_Disconnect(number_);
}

int ScriptedController::Port() const
{
    return server_->Port();
}

void ScriptedController::Connect()
{
    constexpr short kMs = 1000;
    ASSERT_EQ(ConnectPatiently(number_, Port(), kMs), 0);
    TakeRequests();
}

void ScriptedController::SetSlaveTypes(const std::vector<std::uint32_t>& words)
{
    for (std::size_t axis = 0; axis < 32; ++axis) {
        const std::uint32_t word = axis < words.size() ? words[axis] : 0;
        SetRegisters(static_cast<std::uint16_t>(axis << 8 | 0x38),
                     {static_cast<std::uint16_t>(word), static_cast<std::uint16_t>(word >> 16)});
    }
}

void ScriptedController::SetRegister(std::uint16_t address, std::uint16_t value)
{
    const std::lock_guard guard(mutex_);
    registers_[address] = value;
}

void ScriptedController::SetRegisters(std::uint16_t address, const Words& values)
{
    const std::lock_guard guard(mutex_);
    for (const std::uint16_t value : values) {
        registers_[address++] = value;
    }
}

void ScriptedController::Then(Step step)
{
    const std::lock_guard guard(mutex_);
    steps_.push_back(std::move(step));
}

void ScriptedController::ThenData(Words data)
{
    Then([this, data = std::move(data)](const Request& request) {
        return Answer{ProperReply(request.front(), 0, data)};
    });
}

void ScriptedController::ThenResult(std::uint16_t result)
{
    Then([this, result](const Request& request) {
        return Answer{ProperReply(request.front(), result)};
    });
}

std::size_t ScriptedController::UnusedSteps() const
{
    const std::lock_guard guard(mutex_);
    return steps_.size() - usedSteps_;
}

std::vector<Request> ScriptedController::TakeRequests()
{
    const std::lock_guard guard(mutex_);
    return std::exchange(requests_, {});
}

int ScriptedController::Connections() const
{
    const std::lock_guard guard(mutex_);
    return connections_;
}

int ScriptedController::OpenConnections() const
{
    const std::lock_guard guard(mutex_);
    return openConnections_;
}

int ScriptedController::MostWaiting() const
{
    const std::lock_guard guard(mutex_);
    return mostWaiting_;
}

void ScriptedController::StopListening()
{
    server_->StopListening();
}

Answer ScriptedController::AnswerTo(const Request& request)
{
    Step step;
    {
        const std::lock_guard guard(mutex_);
        requests_.push_back(request);
        mostWaiting_ = std::max(mostWaiting_, ++waiting_);
        if (usedSteps_ < steps_.size()) step = steps_[usedSteps_++];
    }
    return step ? step(request) : Answer{ProperReply(request)};
}

void ScriptedController::Answered()
{
    const std::lock_guard guard(mutex_);
    --waiting_;
}

Bytes ScriptedController::ProperReply(const Request& request) const
{
    Bytes bytes;
    for (const RequestFrame& frame : request) {
        const Bytes reply = ProperReply(frame);
        bytes.insert(bytes.end(), reply.begin(), reply.end());
    }
    return bytes;
}

Bytes ScriptedController::ProperReply(const RequestFrame& frame, std::uint16_t result,
                                      const Words& data) const
{
    const std::lock_guard guard(mutex_);
    Bytes body;
    if (frame.function == 16) {
        PutWord(body, frame.start);
        PutWord(body, frame.quantity);
        return FrameBytes(frame.id, frame.function, body);
    }
    body.push_back(static_cast<std::uint8_t>(2 * frame.quantity));
    for (std::size_t i = 0; i < frame.quantity; ++i) {
        if (frame.function == 23 && i == 0) {
            PutWord(body, result);
        } else if (frame.function == 23 && i <= data.size()) {
            PutWord(body, data[i - 1]);
        } else {
            const auto found = registers_.find(static_cast<std::uint16_t>(frame.start + i));
            PutWord(body, found == registers_.end() ? std::uint16_t{0} : found->second);
        }
    }
    return FrameBytes(frame.id, frame.function, body);
}

short ConnectPatiently(short number, int port, short ms)
{
    zelQ_SetNetPortNum(number, port);
    short result = zelQ_Connect(number, 127, 0, 0);
    zelQ_TMOSet(number, ms, ms, ms);
    if (result != 0) result = zelQ_Connect(number, 127, 0, 0);
    return result;
}

Answer StrayReply(const Request& request)
{
    const auto otherId = static_cast<std::uint16_t>(request.front().id + 0x4000);
    return {FrameBytes(otherId, 3, {2, 0, 0})};
}

Bytes FrameBytes(std::uint16_t id, std::uint8_t function, const Bytes& body)
{
    Bytes bytes;
    PutWord(bytes, id);
    PutWord(bytes, 0);
    PutWord(bytes, static_cast<std::uint16_t>(body.size() + 2));
    bytes.push_back(1);
    bytes.push_back(function);
    bytes.insert(bytes.end(), body.begin(), body.end());
    return bytes;
}

} // namespace zelq::test
