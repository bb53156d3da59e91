#include "http_server.h"

#include "beast.h"
#include "request_line.h"

#include <deque>
#include <optional>
#include <system_error>
#include <thread>

namespace web {

namespace {

using HttpRequest = http::request<http::string_body>;
using HttpResponse = http::response<http::string_body>;
using WebSocket = websocket::stream<beast::tcp_stream>;

// A peer that sends or takes nothing for so long has gone.
constexpr std::chrono::seconds kPatience{30};
constexpr std::chrono::seconds kFarewell{1};
constexpr std::chrono::milliseconds kAcceptPause{100};

std::string_view View(beast::string_view text)
{
    return {text.data(), text.size()};
}

HttpResponse MakeHttp(const Response& response, unsigned version, bool keepAlive)
{
    HttpResponse message(static_cast<http::status>(response.status), version);
    message.set(http::field::content_type, response.type);
    message.set(http::field::cache_control, "no-store");
    if (!response.allow.empty()) message.set(http::field::allow, response.allow);
    for (const auto& [name, value] : response.headers) {
        message.set(name, value);
    }
    message.body() = response.body;
    message.keep_alive(keepAlive);
    message.prepare_payload();
    return message;
}

// What is said to bytes that could not be read as a request.
std::optional<Response> RefusalOf(const ErrorCode& error)
{
    if (error == http::error::body_limit) {
        return Refusal(413, "a body holds at most " + std::to_string(HttpServer::kLargestBody) +
                                " bytes");
    }
    if (error == http::error::header_limit) return Refusal(431, "the header is too long");
    const bool ended = error == http::error::end_of_stream || error == http::error::partial_message;
    if (ended || error.category() != make_error_code(http::error::bad_method).category()) {
        return std::nullopt;
    }
    return Refusal(400, "this is no HTTP: " + error.message());
}

} // namespace

// Sends a feed until the peer leaves.
class FeedSession : public std::enable_shared_from_this<FeedSession>
{
  public:
    FeedSession(beast::tcp_stream stream, Feed feed)
        : socket_(std::move(stream)), timer_(socket_.get_executor()), feed_(std::move(feed))
    {}

    asio::awaitable<void> Run(HttpRequest request)
    {
        beast::get_lowest_layer(socket_).expires_never();
        socket_.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
        co_await socket_.async_accept(request, asio::use_awaitable);
        asio::co_spawn(
            socket_.get_executor(), [self = shared_from_this()] { return self->AwaitFarewell(); },
            asio::detached);
        ErrorCode error;
        auto due = std::chrono::steady_clock::now();
        while (!left_ && !error) {
            const std::string text = feed_.next();
            if (!text.empty()) co_await socket_.async_write(asio::buffer(text), Into(error));
            due = std::max(due + feed_.period, std::chrono::steady_clock::now());
            timer_.expires_at(due);
            ErrorCode woken;
            if (!left_) co_await timer_.async_wait(Into(woken));
        }
        beast::get_lowest_layer(socket_).close();
    }

  private:
    // Whatever the peer says, only its leaving counts.
    asio::awaitable<void> AwaitFarewell()
    {
        ErrorCode error;
        while (!error) {
            beast::flat_buffer ignored;
            co_await socket_.async_read(ignored, Into(error));
        }
        left_ = true;
        timer_.cancel();
    }

    WebSocket socket_;
    asio::steady_timer timer_;
    Feed feed_;
    bool left_ = false;
};

// Hears a peer and speaks to it, each at its own pace.
class ConversationSession : public Link, public std::enable_shared_from_this<ConversationSession>
{
  public:
    ConversationSession(beast::tcp_stream stream, Conversation conversation)
        : socket_(std::move(stream)), conversation_(std::move(conversation))
    {}

    asio::awaitable<void> Run(HttpRequest request)
    {
        beast::get_lowest_layer(socket_).expires_never();
        socket_.set_option(websocket::stream_base::timeout::suggested(beast::role_type::server));
        socket_.read_message_max(HttpServer::kLargestBody);
        ErrorCode error;
        co_await socket_.async_accept(request, Into(error));
        if (error) co_return;
        conversation_.opened(*this);
        while (!error && !closed_) {
            beast::flat_buffer message;
            co_await socket_.async_read(message, Into(error));
            if (error || closed_) break;
            const auto bytes = message.data();
            conversation_.heard({static_cast<const char*>(bytes.data()), bytes.size()});
        }
        Close();
        conversation_.left();
    }

    void Send(Text text) override
    {
        waiting_ += text->size();
        texts_.push_back(std::move(text));
        if (waiting_ > kMostWaiting) {
            Close();
        } else {
            Start();
        }
    }

    void Show(Text text) override
    {
        news_ = std::move(text);
        Start();
    }

    [[nodiscard]] std::size_t Waiting() const override { return waiting_; }

    void Close() override
    {
        if (std::exchange(closed_, true)) return;
        ErrorCode ignored;
        beast::get_lowest_layer(socket_).socket().close(ignored);
    }

  private:
    void Start()
    {
        if (closed_ || std::exchange(writing_, true)) return;
        asio::co_spawn(
            socket_.get_executor(), [self = shared_from_this()] { return self->Write(); },
            asio::detached);
    }

    asio::awaitable<void> Write()
    {
        ErrorCode error;
        while (!closed_ && !error && (!texts_.empty() || news_ != nullptr)) {
            const bool isNews = texts_.empty();
            const Text text = isNews ? std::exchange(news_, nullptr) : texts_.front();
            co_await socket_.async_write(asio::buffer(*text), Into(error));
            if (isNews) continue;
            waiting_ -= text->size();
            texts_.pop_front();
        }
        writing_ = false;
        if (error) Close(); // and the reading ends
    }

    static constexpr std::size_t kMostWaiting = 4 * 1024 * 1024;

    WebSocket socket_;
    Conversation conversation_;
    std::deque<Text> texts_;
    std::size_t waiting_ = 0;
    Text news_;
    bool writing_ = false;
    bool closed_ = false;
};

Response Refusal(unsigned status, const std::string& sentence)
{
    std::string quoted;
    for (const char letter : sentence) {
        if (letter == '"' || letter == '\\') quoted += '\\';
        quoted += static_cast<unsigned char>(letter) < ' ' ? ' ' : letter;
    }
    Response refusal;
    refusal.status = status;
    refusal.body = "{\"error\": \"" + quoted + "\"}\n";
    return refusal;
}

class HttpServer::Impl
{
  public:
    Impl(const std::string& address, std::uint16_t port, Handler handler)
        : address_(address), handler_(std::move(handler))
    {
        try {
            acceptor_.emplace(io_, tcp::endpoint(asio::ip::make_address(address), port),
                              kReuseAddress);
        } catch (const NetworkError& error) {
            throw std::system_error(error.code(), "cannot listen for HTTP on " + address +
                                                      ", port " + std::to_string(port));
        }
        asio::co_spawn(io_, Accept(), asio::detached);
        thread_ = std::thread([this] { io_.run(); });
    }

    ~Impl() { Stop(); }

    void Stop()
    {
        io_.stop();
        if (thread_.joinable()) thread_.join();
    }

    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    [[nodiscard]] std::uint16_t Port() const { return acceptor_->local_endpoint().port(); }
    [[nodiscard]] asio::io_context& Context() { return io_; }

  private:
    asio::awaitable<void> Accept()
    {
        asio::steady_timer pause(io_);
        while (true) { // until the end of all
            ErrorCode error;
            tcp::socket socket(io_);
            co_await acceptor_->async_accept(socket, Into(error));
            if (error) { // such as no descriptor left
                pause.expires_after(kAcceptPause);
                co_await pause.async_wait(Into(error));
                continue;
            }
            socket.set_option(tcp::no_delay(true), error);
            asio::co_spawn(io_, Serve(beast::tcp_stream(std::move(socket))), asio::detached);
        }
    }

    asio::awaitable<void> Serve(beast::tcp_stream stream)
    {
        beast::flat_buffer buffer;
        while (true) { // until either side has enough
            http::request_parser<http::string_body> parser;
            parser.body_limit(kLargestBody);
            stream.expires_after(kPatience);
            ErrorCode error;
            co_await http::async_read(stream, buffer, parser, Into(error));
            if (error) {
                if (const auto refusal = RefusalOf(error)) co_await Refuse(stream, *refusal);
                co_return;
            }
            HttpRequest request = parser.release();
            Answer answer = AnswerTo(request);
            const bool upgrade = websocket::is_upgrade(request);
            if (!std::holds_alternative<Response>(answer)) {
                if (upgrade) {
                    co_return co_await Speak(std::move(stream), std::move(answer),
                                             std::move(request));
                }
                answer = Refusal(426, "this is a WebSocket");
            }
            const bool stays = request.keep_alive() && !upgrade;
            const HttpResponse response =
                MakeHttp(std::get<Response>(answer), request.version(), stays);
            co_await http::async_write(stream, response, Into(error));
            if (error || !stays) co_return;
        }
    }

    static asio::awaitable<void> Speak(beast::tcp_stream stream, Answer answer, HttpRequest request)
    {
        if (auto* feed = std::get_if<Feed>(&answer)) {
            const auto session = std::make_shared<FeedSession>(std::move(stream), std::move(*feed));
            co_await session->Run(std::move(request));
        } else {
            const auto session = std::make_shared<ConversationSession>(
                std::move(stream), std::move(std::get<Conversation>(answer)));
            co_await session->Run(std::move(request));
        }
    }

    Answer AnswerTo(const HttpRequest& request)
    {
        const std::string_view host = View(request[http::field::host]);
        if (!HostIsOwn(host, address_)) return Refusal(403, "this server has another name");
        const auto origin = request.find(http::field::origin);
        if (origin != request.end() && !OriginIsOwn(View(origin->value()), host)) {
            return Refusal(403, "pages from elsewhere are not answered");
        }
        Target target = ParseTarget(View(request.target()));
        return handler_({std::string(View(request.method_string())), std::move(target.path),
                         std::move(target.query), request.body()});
    }

    // The rest of a request that is refused half read is fetched for a while: the answer would be
    // lost if the connection were closed upon it.
    static asio::awaitable<void> Refuse(beast::tcp_stream& stream, const Response& refusal)
    {
        constexpr unsigned kHttp11 = 11;
        const HttpResponse response = MakeHttp(refusal, kHttp11, false);
        ErrorCode error;
        co_await http::async_write(stream, response, Into(error));
        stream.socket().shutdown(tcp::socket::shutdown_send, error);
        stream.expires_after(kFarewell);
        std::string rest(4096, '\0');
        while (!error) {
            co_await stream.async_read_some(asio::buffer(rest), Into(error));
        }
    }

    std::string address_;
    Handler handler_;
    asio::io_context io_{1};
    std::optional<tcp::acceptor> acceptor_;
    std::thread thread_;
};

HttpServer::HttpServer(const std::string& address, std::uint16_t port, Handler handler)
    : impl_(std::make_unique<Impl>(address, port, std::move(handler)))
{}

HttpServer::~HttpServer() = default;

std::uint16_t HttpServer::Port() const
{
    return impl_->Port();
}

void HttpServer::Post(std::function<void()> task)
{
    asio::post(impl_->Context(), std::move(task));
}

void HttpServer::Stop()
{
    impl_->Stop();
}

asio::io_context& HttpServer::Context()
{
    return impl_->Context();
}

} // namespace web
