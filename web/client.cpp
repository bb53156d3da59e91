#include "client.h"

#include "beast.h"

namespace web {

namespace {

constexpr std::chrono::seconds kAnswerTime{10};
constexpr unsigned kHttp11 = 11;
constexpr std::size_t kLargestAnswer = 4 * 1024 * 1024;

using Answered = std::function<void(unsigned, std::string)>;

tcp::endpoint EndpointOf(const Place& place)
{
    return {asio::ip::make_address(place.address), place.port};
}

std::string HostOf(const Place& place)
{
    return place.address + ":" + std::to_string(place.port);
}

asio::awaitable<void> Fetch(Place place, Question question, Answered answered)
{
    beast::tcp_stream stream(co_await asio::this_coro::executor);
    stream.expires_after(kAnswerTime);
    ErrorCode error;
    co_await stream.async_connect(EndpointOf(place), Into(error));
    http::request<http::string_body> request;
    request.method_string(question.method);
    request.target(question.target);
    request.version(kHttp11);
    request.set(http::field::host, HostOf(place));
    request.body() = std::move(question.body);
    request.prepare_payload();
    if (!error) co_await http::async_write(stream, request, Into(error));
    beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(kLargestAnswer);
    if (!error) co_await http::async_read(stream, buffer, parser, Into(error));
    if (error) {
        answered(0, "no answer from " + HostOf(place) + ": " + error.message());
    } else {
        answered(parser.get().result_int(), std::move(parser.get().body()));
    }
}

// A WebSocket that is only listened to.
struct Ear
{
    explicit Ear(asio::io_context& context) : socket(context) {}

    void Close()
    {
        over = true;
        ErrorCode ignored;
        beast::get_lowest_layer(socket).socket().close(ignored);
    }

    websocket::stream<beast::tcp_stream> socket;
    bool over = false;
};

asio::awaitable<void> Hear(std::shared_ptr<Ear> ear, Place place, std::string target,
                           std::function<void(std::string_view)> heard,
                           std::function<void(std::string)> ended)
{
    auto& lowest = beast::get_lowest_layer(ear->socket);
    lowest.expires_after(kAnswerTime);
    ErrorCode error;
    co_await lowest.async_connect(EndpointOf(place), Into(error));
    websocket::response_type response;
    if (!error) {
        lowest.expires_never();
        ear->socket.set_option(
            websocket::stream_base::timeout::suggested(beast::role_type::client));
        ear->socket.read_message_max(kLargestAnswer);
        co_await ear->socket.async_handshake(response, HostOf(place), target, Into(error));
    }
    while (!error && !ear->over) {
        beast::flat_buffer message;
        co_await ear->socket.async_read(message, Into(error));
        const auto bytes = message.data();
        if (!error && !ear->over) {
            heard({static_cast<const char*>(bytes.data()), bytes.size()});
        }
    }
    if (ear->over) co_return;
    const bool refused = error == websocket::error::upgrade_declined && !response.body().empty();
    ended(refused ? response.body() : error.message());
}

} // namespace

void Ask(HttpServer& server, const Place& place, Question question, Answered answered)
{
    asio::co_spawn(server.Context(), Fetch(place, std::move(question), std::move(answered)),
                   asio::detached);
}

std::shared_ptr<void> Listen(HttpServer& server, const Place& place, const std::string& target,
                             std::function<void(std::string_view)> heard,
                             std::function<void(std::string)> ended)
{
    auto ear = std::make_shared<Ear>(server.Context());
    asio::co_spawn(server.Context(), Hear(ear, place, target, std::move(heard), std::move(ended)),
                   asio::detached);
    return {ear.get(), [ear](void*) { ear->Close(); }};
}

} // namespace web
