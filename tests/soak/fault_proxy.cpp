#include "soak/fault_proxy.h"

#include <algorithm>
#include <asio.hpp>
#include <chrono>
#include <deque>
#include <random>
#include <thread>
#include <vector>

namespace zelq::soak {

namespace {

using asio::ip::tcp;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kHeader = 6;
constexpr milliseconds kAfterTheWaits{45};
constexpr milliseconds kShortWhile{2};
constexpr microseconds kBetweenPieces{200};

/// The size of the frame at `at`; 0 while it is not all there.
std::size_t FrameSize(const Bytes& bytes, std::size_t at)
{
    if (bytes.size() < at + kHeader) return 0;
    const std::size_t size = kHeader + (bytes[at + 4] << 8U | bytes[at + 5]);
    return bytes.size() < at + size ? 0 : size;
}

/// Where the whole frames at the front of `bytes` start.
std::vector<std::size_t> FrameStarts(const Bytes& bytes)
{
    std::vector<std::size_t> starts;
    for (std::size_t at = 0; FrameSize(bytes, at) != 0; at += FrameSize(bytes, at)) {
        starts.push_back(at);
    }
    return starts;
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

const char* NameOf(Fault fault)
{
    constexpr std::array<const char*, kFaultKinds> kNames = {
        "none", "late", "delay", "slice", "double", "stray", "torn", "corrupt", "cut", "reset"};
    return kNames[static_cast<std::size_t>(fault)];
}

class FaultProxy::Impl
{
  public:
    Impl(const asio::ip::address& address, std::uint16_t port, unsigned seed)
        : random_(seed), acceptor_(io_, {address, 0}), controller_(io_)
    {
        controller_.connect({address, port});
        controller_.set_option(tcp::no_delay(true));
        Accept();
        ReadController();
        thread_ = std::thread([this] { io_.run(); });
    }

    ~Impl()
    {
        io_.stop();
        thread_.join();
    }

    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    [[nodiscard]] int Port() const { return acceptor_.local_endpoint().port(); }
    void SetRates(const FaultRates& rates)
    {
        asio::post(io_, [this, rates] { rates_ = rates; });
    }
    [[nodiscard]] std::uint64_t Injected(Fault fault) const
    {
        return injected_[static_cast<std::size_t>(fault)];
    }

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
        std::array<std::uint8_t, 2048> area{};
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
        acceptor_.async_accept([this](asio::error_code error, tcp::socket socket) {
            if (error) return;
            asio::error_code gone; // the peer may have left again
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
        client->socket.async_read_some(
            asio::buffer(client->area), [this, client](asio::error_code error, std::size_t count) {
                if (error || !client->socket.is_open()) return Close(*client);
                client->received.insert(client->received.end(), client->area.begin(),
                                        client->area.begin() + static_cast<std::ptrdiff_t>(count));
                if (TakeRequest(client)) ReadClient(client);
            });
    }

    /// Passes the whole frames on; false when the connection has come to its end instead.
    bool TakeRequest(const ClientPtr& client)
    {
        const std::vector<std::size_t> starts = FrameStarts(client->received);
        if (starts.empty()) return true;
        const Bytes request =
            TakeFront(client->received, starts.back() + FrameSize(client->received, starts.back()));
        const Fault fault = Draw();
        ++injected_[static_cast<std::size_t>(fault)];
        const bool breaks = fault == Fault::kCut || fault == Fault::kReset;
        if (breaks && Below(2) == 0) {
            Break(*client, fault);
            return false;
        }
        running_.push_back({client, fault, starts.size()});
        asio::write(controller_, asio::buffer(request));
        return true;
    }

    void ReadController()
    {
        controller_.async_read_some(
            asio::buffer(area_), [this](asio::error_code error, std::size_t count) {
                if (error) return;
                replies_.insert(replies_.end(), area_.begin(),
                                area_.begin() + static_cast<std::ptrdiff_t>(count));
                TakeReplies();
                ReadController();
            });
    }

    void TakeReplies()
    {
        while (!running_.empty()) {
            const std::vector<std::size_t> starts = FrameStarts(replies_);
            const Running done = running_.front();
            if (starts.size() < done.frames) return;
            const std::size_t last = starts[done.frames - 1];
            running_.pop_front();
            Answer(done, TakeFront(replies_, last + FrameSize(replies_, last)));
        }
    }

    /// Lets the fault befall the reply.
    void Answer(const Running& call, Bytes reply)
    {
        for (Piece& piece : PiecesOf(call.fault, std::move(reply))) {
            call.client->pieces.push_back(std::move(piece));
        }
        if (!call.client->sending) SendNext(call.client);
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
            return {{Stray(reply)}, {reply, aWhile}};
        case Fault::kTorn: {
            const Bytes first = TakeFront(reply, part);
            return {{first}, {reply, kAfterTheWaits}};
        }
        case Fault::kCorrupt:
            TurnABit(reply);
            return {{std::move(reply)}};
        case Fault::kCut:
        case Fault::kReset:
            reply.resize(part);
            return {{std::move(reply), {}, fault}};
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

    static Bytes Stray(const Bytes& reply)
    {
        const auto otherId = static_cast<std::uint8_t>(reply[0] ^ 0x40U);
        return {otherId, reply[1], 0, 0, 0, 5, 1, 3, 2, 0x12, 0x34};
    }

    void TurnABit(Bytes& reply)
    {
        constexpr std::size_t kHeaderAndCount = 9;
        const std::vector<std::size_t> starts = FrameStarts(reply);
        const std::size_t at = starts[Below(starts.size())] + Below(kHeaderAndCount);
        reply[at] = static_cast<std::uint8_t>(reply[at] ^ 1U << Below(8));
    }

    static void SendNext(const ClientPtr& client)
    {
        client->sending = !client->pieces.empty();
        if (!client->sending) return;
        if (client->pieces.front().wait.count() == 0) return SendPiece(client);
        client->timer.expires_after(client->pieces.front().wait);
        client->timer.async_wait([client](asio::error_code) { SendPiece(client); });
    }

    static void SendPiece(const ClientPtr& client)
    {
        const Piece piece = std::move(client->pieces.front());
        client->pieces.pop_front();
        asio::error_code ignored; // the library may have left
        asio::write(client->socket, asio::buffer(piece.bytes), ignored);
        if (piece.end != Fault::kNone) Break(*client, piece.end);
        SendNext(client);
    }

    static void Break(Client& client, Fault fault)
    {
        asio::error_code ignored;
        if (fault == Fault::kReset) {
            client.socket.set_option(asio::socket_base::linger(true, 0), ignored);
        }
        Close(client);
    }

    static void Close(Client& client)
    {
        asio::error_code ignored;
        client.socket.close(ignored);
    }

    std::size_t Below(std::size_t count)
    {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_);
    }

    Fault Draw()
    {
        auto drawn = static_cast<int>(Below(10'000));
        for (std::size_t kind = 1; kind < kFaultKinds; ++kind) {
            drawn -= rates_[kind];
            if (drawn < 0) return static_cast<Fault>(kind);
        }
        return Fault::kNone;
    }

    std::mt19937 random_;
    FaultRates rates_{};
    std::array<std::atomic<std::uint64_t>, kFaultKinds> injected_{};
    asio::io_context io_;
    tcp::acceptor acceptor_;
    tcp::socket controller_;
    std::array<std::uint8_t, 4096> area_{};
    Bytes replies_;
    ClientPtr client_; ///< the newest
    std::deque<Running> running_;
    std::thread thread_;
};

FaultProxy::FaultProxy(short number, int port, unsigned seed)
    : impl_(std::make_unique<Impl>(asio::ip::make_address("127.0.0." + std::to_string(number)),
                                   static_cast<std::uint16_t>(port), seed))
{}

FaultProxy::~FaultProxy() = default;

int FaultProxy::Port() const
{
    return impl_->Port();
}

void FaultProxy::SetRates(const FaultRates& rates)
{
    impl_->SetRates(rates);
}

std::uint64_t FaultProxy::Injected(Fault fault) const
{
    return impl_->Injected(fault);
}

} // namespace zelq::soak
