#include "frame/failure.h"
#include "see/trace_source.h"

#include <array>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace zelq::tool {

/// The abstract datagram socket that the library sends its lines to, one a datagram.
class TraceSource::Port
{
  public:
    explicit Port(TraceQueue& queue)
        : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)),
          ends_(eventfd(0, EFD_CLOEXEC))
    {
        constexpr char kName[] = "Quillet";
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, kName, sizeof(kName) - 1);
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + sizeof(kName));
        if (bind(socket_, reinterpret_cast<const sockaddr*>(&address), size) != 0) {
            const int error = errno;
            Close();
            throw Failure(kUsage, error == EADDRINUSE ? "another trace viewer is running"
                                                      : std::strerror(error));
        }
        thread_ = std::thread([this, &queue] { Receive(queue); });
    }
    ~Port()
    {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t told = write(ends_, &one, sizeof(one));
        thread_.join();
        Close();
    }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

  private:
    void Receive(TraceQueue& queue) const
    {
        std::array<pollfd, 2> entries = {{{socket_, POLLIN, 0}, {ends_, POLLIN, 0}}};
        while (entries[1].revents == 0) {
            std::array<char, 4096> line{};
            const ssize_t bytes = recv(socket_, line.data(), line.size(), 0);
            if (bytes >= 0) {
                queue.Put({line.data(), static_cast<std::size_t>(bytes)});
            } else {
                poll(entries.data(), entries.size(), -1);
            }
        }
    }

    void Close() const
    {
        close(socket_);
        close(ends_);
    }

    int socket_;
    int ends_;
    std::thread thread_;
};

TraceSource::TraceSource() : port_(std::make_unique<Port>(queue_)) {}
TraceSource::~TraceSource() = default;

} // namespace zelq::tool
