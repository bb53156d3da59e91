#include "fault_proxy.h"

#include "network.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <random>
#include <thread>
#include <vector>

namespace soak {

namespace {

using asio::ip::tcp;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kHeader = 6;
constexpr milliseconds kAfterTheWaits{45};
constexpr microseconds kBetweenPieces{200};

/// Where the whole frames at the front of `bytes` end.
std::vector<std::size_t> FrameEnds(const Bytes& bytes)
{
    std::vector<std::size_t> ends;
    for (std::size_t at = 0; at + kHeader <= bytes.size(); at = ends.back()) {
        const std::size_t end = at + kHeader + (bytes[at + 4] << 8U | bytes[at + 5]);
        if (end > bytes.size()) break;
        ends.push_back(end);
    }
    return ends;
}

/// Cuts so many bytes off the front.
Bytes TakeFront(Bytes& bytes, std::size_t count)
{
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(count);
    Bytes front(bytes.begin(), end);
    bytes.erase(bytes.begin(), end);
    return front;
}

} // namespace

class FaultProxy::Line
{
  public:
    Line(FaultProxy& owner, const asio::ip::address& address, int port, unsigned seed)
        : owner_(owner), random_(seed), acceptor_(io_, {address, 0}), controller_(io_)
    {
        controller_.connect({address, static_cast<std::uint16_t>(port)});
        controller_.set_option(tcp::no_delay(true));
        Accept();
        ReadController();
        thread_ = std::thread([this] { io_.run(); });
    }

    ~Line()
    {
        io_.stop();
        thread_.join();
    }

    [[nodiscard]] int Port() const { return acceptor_.local_endpoint().port(); }

  private:
    /// What is sent next, and when: so long after what is ahead of it.
    struct Piece
    {
        Bytes bytes;
        microseconds wait{0};
        Fault end = Fault::kNone; ///< the connection's end behind it
    };

    struct Client
    {
        explicit Client(tcp::socket accepted)
            : socket(std::move(accepted)), timer(socket.get_executor())
        {}
        tcp::socket socket;
        asio::steady_timer timer;
        Bytes received;
        std::deque<Piece> pieces; ///< a line keeps its order, whatever is late
        bool sending = false;
    };
    using ClientPtr = std::shared_ptr<Client>;

    /// A request that the controller works on.
    struct Running
    {
        ClientPtr client;
        Fault fault;
        std::size_t frames;
    };

    void Accept()
    {
        acceptor_.async_accept([this](ErrorCode error, tcp::socket socket) {
            if (error) return;
            ErrorCode gone; // the peer may have left again
            socket.set_option(tcp::no_delay(true), gone);
            // The library has one connection at a time: what it gave up must not be run later.
            if (client_ != nullptr) client_->socket.close(gone);
            client_ = std::make_shared<Client>(std::move(socket));
            ReadClient(client_);
            Accept();
        });
    }

    void ReadClient(const ClientPtr& client)
    {
        asio::async_read(client->socket, asio::dynamic_buffer(client->received),
                         asio::transfer_at_least(1), [this, client](ErrorCode error, std::size_t) {
                             if (error) return Break(*client, Fault::kCut);
                             if (client->socket.is_open() && TakeRequest(client))
                                 ReadClient(client);
                         });
    }

    /// Passes the whole frames on; false when the connection has come to its end instead.
    bool TakeRequest(const ClientPtr& client)
    {
        const std::vector<std::size_t> ends = FrameEnds(client->received);
        if (ends.empty()) return true;
        const Bytes request = TakeFront(client->received, ends.back());
        const Fault fault = Draw();
        ++owner_.injected[static_cast<std::size_t>(fault)];
        const bool breaks = fault == Fault::kCut || fault == Fault::kReset;
        if (breaks && Below(2) == 0) {
            Break(*client, fault);
            return false;
        }
        running_.push_back({client, fault, ends.size()});
        asio::write(controller_, asio::buffer(request));
        return true;
    }

    void ReadController()
    {
        asio::async_read(controller_, asio::dynamic_buffer(replies_), asio::transfer_at_least(1),
                         [this](ErrorCode error, std::size_t) {
                             if (error) return;
                             TakeReplies();
                             ReadController();
                         });
    }

    /// Lets the faults befall the replies that are all there.
    void TakeReplies()
    {
        while (!running_.empty()) {
            const std::vector<std::size_t> ends = FrameEnds(replies_);
            const auto [client, fault, frames] = running_.front();
            if (ends.size() < frames) return;
            running_.pop_front();
            for (Piece& piece : PiecesOf(fault, TakeFront(replies_, ends[frames - 1]))) {
                client->pieces.push_back(std::move(piece));
            }
            if (!client->sending) SendNext(client);
        }
    }

    std::vector<Piece> PiecesOf(Fault fault, Bytes reply)
    {
        const std::size_t part = 1 + Below(reply.size() - 1);
        const milliseconds aWhile(Below(3));
        switch (fault) {
        case Fault::kLate:
            return {{std::move(reply), kAfterTheWaits}};
        case Fault::kDelay:
            return {{std::move(reply), milliseconds(1 + Below(5))}};
        case Fault::kSlice:
            return Sliced(std::move(reply));
        case Fault::kDouble:
            return {{reply}, {reply, aWhile}};
        case Fault::kStray:
            return {{{static_cast<std::uint8_t>(reply[0] ^ 0x40U), 0, 0, 0, 0, 5, 1, 3, 2, 1, 2}},
                    {reply, aWhile}};
        case Fault::kTorn:
            return {{TakeFront(reply, part)}, {reply, kAfterTheWaits}};
        case Fault::kCut:
        case Fault::kReset:
            return {{TakeFront(reply, part), {}, fault}};
        case Fault::kCorrupt:
            TurnABit(reply);
            [[fallthrough]];
        default:
            return {{std::move(reply)}};
        }
    }

    std::vector<Piece> Sliced(Bytes reply)
    {
        const std::size_t size = 1 + reply.size() / (2 + Below(8));
        std::vector<Piece> pieces;
        while (!reply.empty()) {
            pieces.push_back({TakeFront(reply, std::min(size, reply.size())), kBetweenPieces});
        }
        return pieces;
    }

    void TurnABit(Bytes& reply)
    {
        constexpr std::size_t kHeaderAndCount = 9;
        const std::vector<std::size_t> ends = FrameEnds(reply);
        const std::size_t frame = Below(ends.size());
        const std::size_t at = (frame == 0 ? 0 : ends[frame - 1]) + Below(kHeaderAndCount);
        reply[at] = static_cast<std::uint8_t>(reply[at] ^ 1U << Below(8));
    }

    static void SendNext(const ClientPtr& client)
    {
        client->sending = !client->pieces.empty();
        if (!client->sending) return;
        if (client->pieces.front().wait.count() == 0) return SendPiece(client);
        client->timer.expires_after(client->pieces.front().wait);
        client->timer.async_wait([client](ErrorCode) { SendPiece(client); });
    }

    static void SendPiece(const ClientPtr& client)
    {
        const Piece piece = std::move(client->pieces.front());
        client->pieces.pop_front();
        ErrorCode ignored; // the library may have left
        asio::write(client->socket, asio::buffer(piece.bytes), ignored);
        if (piece.end != Fault::kNone) Break(*client, piece.end);
        SendNext(client);
    }

    static void Break(Client& client, Fault fault)
    {
        ErrorCode ignored;
        if (fault == Fault::kReset) {
            client.socket.set_option(asio::socket_base::linger(true, 0), ignored);
        }
        client.socket.close(ignored);
    }

    std::size_t Below(std::size_t count)
    {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
    }

    Fault Draw()
    {
        auto drawn = owner_.begun ? static_cast<int>(Below(10'000)) : 10'000;
        for (std::size_t kind = 1; kind < kFaultKinds; ++kind) {
            drawn -= kFaults[kind].rate;
            if (drawn < 0) return static_cast<Fault>(kind);
        }
        return Fault::kNone;
    }

    FaultProxy& owner_;
    std::mt19937 random_;
    asio::io_context io_;
    tcp::acceptor acceptor_;
    tcp::socket controller_;
    Bytes replies_;
    ClientPtr client_; ///< the newest
    std::deque<Running> running_;
    std::thread thread_;
};

FaultProxy::FaultProxy(short number, int controllerPort, unsigned seed)
    : line_(std::make_unique<Line>(*this,
                                   asio::ip::make_address("127.0.0." + std::to_string(number)),
                                   controllerPort, seed)),
      port(line_->Port())
{}

FaultProxy::~FaultProxy() = default;

} // namespace soak
