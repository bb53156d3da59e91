// Asks another HTTP server, and listens to its WebSockets, on the thread of one's own server.
#pragma once

#include "http_server.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace web {

struct Place
{
    std::string address; // "127.0.0.1"
    std::uint16_t port = 0;
};

struct Question
{
    std::string method;
    std::string target;
    std::string body;
};

// `answered` is called once; with status 0 and a sentence in the body where there was no answer.
void Ask(HttpServer& server, const Place& place, Question question,
         std::function<void(unsigned status, std::string body)> answered);

// `heard` gets each message until what is returned is let go of, on the server's thread. `ended` is
// called when it ends by itself, with what is to be said of it.
[[nodiscard]] std::shared_ptr<void> Listen(HttpServer& server, const Place& place,
                                           const std::string& target,
                                           std::function<void(std::string_view)> heard,
                                           std::function<void(std::string)> ended);

} // namespace web
