#include "control_port.h"

#include "core/controller.h"
#include "json_reader.h"
#include "recorder.h"
#include "routes.h"
#include "server/server.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

namespace lumosim {

namespace {

using Segments = std::vector<std::string>;

Segments Split(const std::string& path)
{
    Segments segments;
    std::istringstream text(path);
    for (std::string segment; std::getline(text, segment, '/');) {
        if (!segment.empty()) segments.push_back(segment);
    }
    return segments;
}

// What the path has at the places of the pattern's stars; nothing where it is another path.
std::optional<Segments> Match(const Segments& pattern, const Segments& path)
{
    if (pattern.size() != path.size()) return std::nullopt;
    Segments wild;
    for (std::size_t i = 0; i < path.size(); ++i) {
        if (pattern[i] == "*") {
            wild.push_back(path[i]);
        } else if (pattern[i] != path[i]) {
            return std::nullopt;
        }
    }
    return wild;
}

// Calls the route of the path; says what is wrong with a request that has none.
web::Answer RunRoute(Call call, const Segments& path)
{
    std::string allow;
    for (const Route& route : Routes()) {
        std::optional<Segments> wild = Match(Split(route.path), path);
        if (!wild) continue;
        if (call.request.method == route.method) {
            call.wild = std::move(*wild);
            return route.run(call);
        }
        allow += (allow.empty() ? "" : ", ") + std::string(route.method);
    }
    if (allow.empty()) throw Refused(404, "nothing is at " + call.request.path);
    web::Response response =
        web::Refusal(405, call.request.path + " can be asked for by " + allow + " only");
    response.allow = allow;
    return response;
}

} // namespace

class ControlPort::Impl
{
  public:
    Impl(const std::string& address, std::uint16_t port, const std::vector<Server*>& servers)
        : controllers_(Recorded(servers)),
          http_(address, port, [this](const web::Request& request) { return Handle(request); })
    {}

    [[nodiscard]] std::uint16_t Port() const { return http_.Port(); }

  private:
    struct Recordable
    {
        Server* server;
        Recorder* recorder; // the controller's own
        int number;
    };

    static std::vector<Recordable> Recorded(const std::vector<Server*>& servers)
    {
        std::vector<Recordable> recorded;
        for (Server* server : servers) {
            server->With([&](Controller& controller) {
                auto recorder = std::make_unique<Recorder>(controller);
                recorded.push_back({server, recorder.get(), controller.Config().number});
                controller.AddFamily(std::move(recorder));
            });
        }
        return recorded;
    }

    web::Answer Handle(const web::Request& request) const
    {
        try {
            return Route(request);
        } catch (const Refused& refused) {
            return web::Refusal(refused.status, refused.what());
        } catch (const JsonError& error) {
            return web::Refusal(400, error.what());
        } catch (const std::invalid_argument& error) {
            return web::Refusal(400, error.what());
        } catch (const std::exception& error) {
            return web::Refusal(500, error.what());
        }
    }

    [[nodiscard]] web::Answer Route(const web::Request& request) const
    {
        Segments path = Split(request.path);
        const Recordable* controller = &controllers_.front();
        if (!path.empty() && path.front() == "controllers" && path.size() > 1) {
            controller = &Find(path[1]);
            path.erase(path.begin(), path.begin() + 2);
        }
        const bool overview = path.empty() || path == Segments{"controllers"};
        if (overview && request.method == "GET") return Overview();
        return RunRoute({*controller->server, *controller->recorder, {}, request}, path);
    }

    [[nodiscard]] const Recordable& Find(const std::string& number) const
    {
        const auto found = std::ranges::find_if(controllers_, [&](const Recordable& controller) {
            return std::to_string(controller.number) == number;
        });
        if (found == controllers_.end()) throw Refused(404, "there is no controller " + number);
        return *found;
    }

    // Who is here, and what can be asked of each.
    [[nodiscard]] web::Answer Overview() const
    {
        nlohmann::json controllers = nlohmann::json::array();
        for (const Recordable& controller : controllers_) {
            controllers.push_back({{"number", controller.number},
                                   {"address", controller.server->Address()},
                                   {"port", controller.server->Port()}});
        }
        nlohmann::json routes = nlohmann::json::array();
        for (const auto& route : Routes()) {
            routes.push_back({{"method", route.method},
                              {"path", std::string("/") + route.path},
                              {"text", route.text}});
        }
        web::Response response;
        response.body =
            nlohmann::json{{"controllers", controllers}, {"routes", routes}}.dump(2) + "\n";
        return response;
    }

    std::vector<Recordable> controllers_;
    web::HttpServer http_;
};

ControlPort::ControlPort(const std::string& address, std::uint16_t port,
                         const std::vector<Server*>& servers)
    : impl_(std::make_unique<Impl>(address, port, servers))
{}

ControlPort::~ControlPort() = default;

std::uint16_t ControlPort::Port() const
{
    return impl_->Port();
}

} // namespace lumosim
