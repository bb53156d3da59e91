// A small HTTP and WebSocket server for people and programs on the same computer.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>

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
};

// What a WebSocket gives: `next` is asked once a period, never while a message is still on its way
// to a slow reader. An empty text sends nothing.
struct Feed
{
    std::chrono::microseconds period;
    std::function<std::string()> next;
};

// A feed is for those who ask for a WebSocket, everybody else is told so (426).
using Answer = std::variant<Response, Feed>;

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

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace web
