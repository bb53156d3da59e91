#include "support/scripted_controller.h"

#include "network.h"
#include "zelq.h"

#include <algorithm>
#include <array>
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
          acceptor_(context_, {asio::ip::make_address(address), 0}),
          port_(acceptor_.local_endpoint().port())
    {
        asio::co_spawn(context_, Accept(), asio::detached);
        thread_ = std::thread([this] { context_.run(); });
    }

    ~Server()
    {
        StopListening();
        work_.reset();
        thread_.join();
    }

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    [[nodiscard]] int Port() const { return port_; }

    void StopListening()
    {
        asio::post(context_, std::packaged_task<void()>([this] {
                       acceptor_.close();
                       for (Connection* connection : connections_) {
                           connection->socket.close();
                           connection->timer.cancel();
                       }
                   }))
            .wait();
    }

  private:
    struct Connection
    {
        tcp::socket socket;
        asio::steady_timer timer;
        bool waits = false; ///< for its answer
    };

    asio::awaitable<void> Accept()
    {
        while (true) { // until the acceptor is closed
            tcp::socket accepted = co_await acceptor_.async_accept(asio::use_awaitable);
            asio::co_spawn(context_, Serve(std::move(accepted)), asio::detached);
        }
    }

    asio::awaitable<void> Serve(tcp::socket accepted)
    {
        Connection connection{std::move(accepted), asio::steady_timer(context_)};
        connections_.insert(&connection);
        ++owner_.connections_;
        ++owner_.openConnections_;
        try {
            connection.socket.set_option(tcp::no_delay(true));
            while (co_await Exchange(connection)) {
            }
        } catch (const NetworkError&) { // the peer has left, or this end
        }
        connections_.erase(&connection);
        connection.socket.close();
        --owner_.openConnections_;
    }

    /// False when the connection is to be closed.
    asio::awaitable<bool> Exchange(Connection& connection)
    {
        const Request request = co_await Receive(connection.socket);
        connection.waits = true;
        const auto waiting =
            std::ranges::count_if(connections_, [](const auto* each) { return each->waits; });
        owner_.mostWaiting_ = std::max<int>(owner_.mostWaiting_, static_cast<int>(waiting));
        const Answer answer = owner_.AnswerTo(request);
        do {
            co_await Send(connection, answer);
        } while (answer.then == Answer::Then::kRepeat);
        if (answer.then == Answer::Then::kRefuse) acceptor_.close();
        if (answer.then == Answer::Then::kReset) {
            connection.socket.set_option(asio::socket_base::linger(true, 0));
        }
        co_return answer.then == Answer::Then::kStay || answer.then == Answer::Then::kRefuse;
    }

    /// Whole frames, and nothing of another behind them.
    static asio::awaitable<Request> Receive(tcp::socket& socket)
    {
        Request request;
        Bytes received;
        std::array<std::uint8_t, 4096> area{};
        do {
            const std::size_t count =
                co_await socket.async_read_some(asio::buffer(area), asio::use_awaitable);
            received.insert(received.end(), area.data(), area.data() + count);
            RequestFrame frame;
            while (TakeFrame(received, frame)) {
                request.push_back(frame);
            }
        } while (!received.empty());
        co_return request;
    }

    static asio::awaitable<void> Send(Connection& connection, const Answer& answer)
    {
        std::size_t sent = 0;
        while (sent < answer.bytes.size()) {
            const bool first = sent == 0;
            const auto pause = answer.pause + (first ? decltype(answer.later){0} : answer.later);
            if (pause.count() > 0) {
                connection.timer.expires_after(pause);
                co_await connection.timer.async_wait(asio::use_awaitable);
            }
            const std::size_t left = answer.bytes.size() - sent;
            std::size_t size =
                first && answer.firstPiece != 0 ? answer.firstPiece : answer.pieceSize;
            size = size == 0 ? left : std::min(size, left);
            // What has been sent can be answered before this end hears that it was.
            connection.waits = size < left;
            co_await asio::async_write(connection.socket,
                                       asio::buffer(answer.bytes.data() + sent, size),
                                       asio::use_awaitable);
            sent += size;
        }
        if (answer.whenSent) answer.whenSent();
    }

    ScriptedController& owner_;
    asio::io_context context_;
    asio::executor_work_guard<asio::io_context::executor_type> work_{context_.get_executor()};
    tcp::acceptor acceptor_;
    const int port_;
    std::set<Connection*> connections_;
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

void ScriptedController::StopListening()
{
    server_->StopListening();
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

void ScriptedController::Always(Step step)
{
    const std::lock_guard guard(mutex_);
    usual_ = std::move(step);
}

void ScriptedController::ThenReply(std::uint16_t result, const Words& data)
{
    Then([this, result, data](const Request& request) {
        return Answer{ProperReply(request.front(), result, data)};
    });
}

std::size_t ScriptedController::UnusedSteps() const
{
    const std::lock_guard guard(mutex_);
    return steps_.size();
}

std::vector<Request> ScriptedController::TakeRequests()
{
    const std::lock_guard guard(mutex_);
    return std::exchange(requests_, {});
}

Answer ScriptedController::AnswerTo(const Request& request)
{
    Step step;
    {
        const std::lock_guard guard(mutex_);
        requests_.push_back(request);
        step = steps_.empty() ? usual_ : std::move(steps_.front());
        if (!steps_.empty()) steps_.pop_front();
    }
    return step(request);
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
    Bytes body;
    if (frame.function == 16) {
        PutWord(body, frame.start);
        PutWord(body, frame.quantity);
        return FrameBytes(frame.id, frame.function, body);
    }
    const std::lock_guard guard(mutex_);
    body.push_back(static_cast<std::uint8_t>(2 * frame.quantity));
    for (std::size_t i = 0; i < frame.quantity; ++i) {
        const auto found = registers_.find(static_cast<std::uint16_t>(frame.start + i));
        std::uint16_t word = found == registers_.end() ? std::uint16_t{0} : found->second;
        if (frame.function == 23 && i == 0) word = result;
        if (frame.function == 23 && i > 0 && i <= data.size()) word = data[i - 1];
        PutWord(body, word);
    }
    return FrameBytes(frame.id, frame.function, body);
}

short ConnectPatiently(short number, int port, short ms)
{
    zelQ_SetNetPortNum(number, port);
    const short result = zelQ_Connect(number, 127, 0, 0);
    zelQ_TMOSet(number, ms, ms, ms);
    if (result != 0) return zelQ_Connect(number, 127, 0, 0);
    // On a busy machine the first time-outs may have been too short for the list of slaves, without
    // which a connect does not fail. This asks for it where it is missing.
    ControllerStatus status;
    zelQ_GetAllStatus(number, &status);
    return 0;
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
