// A small HTTP and WebSocket server for people and programs on the same computer.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace boost::asio {
class io_context;
}

namespace web {

struct Request
{
    std::string method; // "GET"
    std::string path;   // "/axes/0/inputs"
    std::map<std::string, std::string, std::less<>> query;
    std::string body;
};

struct Response
{
    unsigned status = 200;
    std::string body;
    std::string type = "application/json";
    std::string allow; // 405: the methods that are there
    std::vector<std::pair<std::string, std::string>> headers =
        {}; // besides those of every response
};

// What a WebSocket gives: `next` is asked once a period, never while a message is still on its way
// to a slow reader. An empty text sends nothing.
struct Feed
{
    std::chrono::microseconds period;
    std::function<std::string()> next;
};

// The server's end of a WebSocket on which both sides speak. On the server's thread only.
class Link
{
  public:
    virtual ~Link() = default;

    using Text = std::shared_ptr<const std::string>;

    // A text that has to arrive. Who lets too much wait for him is left.
    virtual void Send(Text text) = 0;
    // The latest news, in place of those that still wait: who is slow to read gets fewer.
    virtual void Show(Text text) = 0;
    // Bytes that have not left yet.
    [[nodiscard]] virtual std::size_t Waiting() const = 0;
    virtual void Close() = 0;
};

// What a handler does with a WebSocket on which both sides speak; all on the server's thread. The
// link is there from `opened` until `left`, which comes once, and not when the server ends first.
struct Conversation
{
    std::function<void(Link&)> opened;
    std::function<void(std::string_view)> heard; // one message, of kLargestBody bytes at most
    std::function<void()> left;
};

// A feed and a conversation are for those who ask for a WebSocket, everybody else is told so (426).
using Answer = std::variant<Response, Feed, Conversation>;

// Called on the server's thread, one request after the other.
using Handler = std::function<Answer(const Request& request)>;

// An error's body: {"error": "a sentence"}.
Response Refusal(unsigned status, const std::string& sentence);

// Runs on a thread of its own as long as it lives. Pages of other origins, and names that lead to
// this computer without being its own, are refused.
class HttpServer
{
  public:
    static constexpr std::size_t kLargestBody = 65536;

    // Port 0 takes a free one. std::system_error when the address cannot be listened on.
    HttpServer(const std::string& address, std::uint16_t port, Handler handler);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    [[nodiscard]] std::uint16_t Port() const;
    // Runs it on the server's thread, behind what is there to be done already.
    void Post(std::function<void()> task);
    // Ends the thread; nothing is called any more.
    void Stop();
    // What works on the server's thread (client.h).
    [[nodiscard]] boost::asio::io_context& Context();

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace web
