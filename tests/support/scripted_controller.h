#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zelq::test {

using Bytes = std::vector<std::uint8_t>;
using Words = std::vector<std::uint16_t>;

/// One request frame as it came over the wire.
struct RequestFrame
{
    std::uint16_t id = 0;
    std::uint8_t unit = 0;
    std::uint8_t function = 0;
    std::uint16_t start = 0;    ///< (read) start address
    std::uint16_t quantity = 0; ///< (read) quantity
    Words written;              ///< registers that it writes
};

/// All request frames of one call, sent in one piece.
using Request = std::vector<RequestFrame>;

/// What the controller does about a request.
struct Answer
{
    enum class Then {
        kStay,
        kClose,
        kReset,
        kRepeat, ///< sends the bytes again and again
        kRefuse, ///< stays, but takes no further connection
    };

    Bytes bytes = {};                    ///< sent as they are; none: silence
    std::size_t pieceSize = 0;           ///< sent in pieces of this size; 0: at once
    Then then = Then::kStay;             ///< afterwards, with the connection
    std::size_t firstPiece = 0;          ///< size of the first piece, where it is another
    std::chrono::microseconds pause{0};  ///< ahead of each piece
    std::chrono::microseconds later{0};  ///< ahead of each piece but the first, besides
    std::function<void()> whenSent = {}; ///< all of it
};

/// A controller that answers as the test tells it, on a free loopback port. It records every
/// request. By itself it is a well-behaved controller: commands succeed, registers read as they
/// were set, else as 0.
class ScriptedController
{
  public:
    using Step = std::function<Answer(const Request&)>;

    /// `number` is the controller number: it listens on 127.0.0.`number`.
    explicit ScriptedController(short number = 5);
    ~ScriptedController();
    ScriptedController(const ScriptedController&) = delete;
    ScriptedController& operator=(const ScriptedController&) = delete;

    [[nodiscard]] short Number() const { return number_; }
    [[nodiscard]] int Port() const;

    /// Tells the library the port and connects; the requests of connecting are forgotten.
    void Connect();

    /// The slave type words (axis 0 first) that a connecting library reads.
    void SetSlaveTypes(const std::vector<std::uint32_t>& words);
    /// All of them at once: no reply has some of the old ones.
    void SetRegisters(std::uint16_t address, const Words& values);
    void SetRegister(std::uint16_t address, std::uint16_t value) { SetRegisters(address, {value}); }

    /// The next request is answered by `step`, the one after it by the next step, and so on.
    void Then(Step step);
    /// Requests without a step of their own are answered by this one, instead of properly.
    void Always(Step step);
    /// The next command succeeds and reads back `data` behind the result register.
    void ThenData(const Words& data) { ThenReply(0, data); }
    /// The next command's result register.
    void ThenResult(std::uint16_t result) { ThenReply(result, {}); }
    /// Steps that no request has used: a finished test leaves none.
    [[nodiscard]] std::size_t UnusedSteps() const;

    /// The requests since the last look, oldest first.
    std::vector<Request> TakeRequests();
    /// Connections accepted so far.
    [[nodiscard]] int Connections() const { return connections_; }
    /// Those of them that this end has not closed yet.
    [[nodiscard]] int OpenConnections() const { return openConnections_; }
    /// The most requests, of all connections together, that waited for their answer at once.
    [[nodiscard]] int MostWaiting() const { return mostWaiting_; }
    /// Stops listening and drops the connections: reconnecting is refused from now on.
    void StopListening();

    /// The proper reply to a request by the registers set so far.
    [[nodiscard]] Bytes ProperReply(const Request& request) const;
    /// The proper reply to one frame, command data behind the result register given.
    [[nodiscard]] Bytes ProperReply(const RequestFrame& frame, std::uint16_t result = 0,
                                    const Words& data = {}) const;

  private:
    class Server;

    void ThenReply(std::uint16_t result, const Words& data);
    Answer AnswerTo(const Request& request);

    const short number_;
    mutable std::mutex mutex_;
    std::map<std::uint16_t, std::uint16_t> registers_;
    std::deque<Step> steps_;
    Step usual_ = [this](const Request& request) { return Answer{ProperReply(request)}; };
    std::vector<Request> requests_;
    std::atomic<int> connections_ = 0;
    std::atomic<int> openConnections_ = 0;
    std::atomic<int> mostWaiting_ = 0;
    std::unique_ptr<Server> server_;
};

/// Tells the library the port and connects, then lets calls wait `ms` where they wait at all. A
/// busy machine may take longer than a controller may by default: then a second try has more time.
short ConnectPatiently(short number, int port, short ms);

/// A complete reply that belongs to no request: nothing more is waited for.
Answer StrayReply(const Request& request);

/// A frame behind its header: `function`, then `body`.
Bytes FrameBytes(std::uint16_t id, std::uint8_t function, const Bytes& body);

} // namespace zelq::test
