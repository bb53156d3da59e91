// A page that is open somewhere, and how its requests are answered.
#pragma once

#include "frame/json.h"
#include "http_server.h"
#include "panel/jogger.h"
#include "panel/scope.h"

#include <memory>
#include <optional>
#include <set>
#include <string>

namespace zelq::tool {

/// On the server's thread only.
struct Peer
{
    PageNumber number = 0;
    std::string name;          ///< as the page is told: "a7f3"
    web::Link* link = nullptr; ///< null once it has left
    std::string page;          ///< what the page calls itself, the same after it has come again
    bool isGreeted = false;
    bool mayChange = false;
    bool knowsAlarms = false;
    std::set<std::string, std::less<>> tabs;
    std::optional<PolledScope> polled;
    std::shared_ptr<void> recorder;

    [[nodiscard]] bool Watches(std::string_view tab) const { return tabs.contains(tab); }
    void Send(std::string text) const
    {
        if (link != nullptr) link->Send(std::make_shared<const std::string>(std::move(text)));
    }
};

/// Why the panel itself does not do something. Pages rely on the names.
namespace refused {
inline constexpr const char* kToken = "token";
inline constexpr const char* kReadOnly = "readOnly";
inline constexpr const char* kControl = "control";
inline constexpr const char* kReplay = "replay";
inline constexpr const char* kLimit =
    "limit"; ///< a wrong argument, or a limit of the configuration
inline constexpr const char* kStopped = "stopped";
inline constexpr const char* kBusy = "busy";
inline constexpr const char* kUnknown = "unknown";
} // namespace refused

/// The answer to one request, from whatever thread.
class Reply
{
  public:
    Reply(web::HttpServer& server, std::weak_ptr<Peer> peer, Json id)
        : server_(&server), peer_(std::move(peer)), id_(std::move(id))
    {}

    /// What a function of the library returned.
    void Result(int result, const char* function) const;
    void Refuse(const char* why, const std::string& text) const;
    /// Of somebody else, such as the simulator.
    void Failed(int result, const std::string& text) const;
    void Data(Json data) const;
    /// Data that is JSON already.
    void RawData(const std::string& data) const;
    /// What comes of it later, whether an answer is wanted or not.
    void Tell(const Json& json) const;

  private:
    void Send(std::string text) const;
    void Post(std::string text) const;

    web::HttpServer* server_;
    std::weak_ptr<Peer> peer_;
    Json id_;
};

} // namespace zelq::tool
