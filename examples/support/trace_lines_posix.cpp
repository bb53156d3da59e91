#include "support/trace_lines.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace example {

/// A viewer owns the abstract datagram socket "Quillet" and gets one datagram for each line.
class TraceLines::Viewer
{
  public:
    Viewer() : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        constexpr char kName[] = "Quillet";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, kName, sizeof(kName) - 1);
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof(kName));
        bound_ = bind(socket_, reinterpret_cast<const sockaddr*>(&address), size) == 0;
    }
    ~Viewer() { close(socket_); }
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    std::vector<std::string> Take()
    {
        std::vector<std::string> lines;
        std::array<char, 2048> line{};
        while (bound_) {
            const ssize_t size = recv(socket_, line.data(), line.size(), 0);
            if (size <= 0) break;
            lines.emplace_back(line.data(), static_cast<std::size_t>(size - 1));
        }
        return lines;
    }

  private:
    int socket_;
    bool bound_ = false;
};

TraceLines::TraceLines() : viewer_(std::make_unique<Viewer>()) {}
TraceLines::~TraceLines() = default;

std::vector<std::string> TraceLines::Take()
{
    return viewer_->Take();
}

} // namespace example
