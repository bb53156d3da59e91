#include "support/trace_lines.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace example {

/// A viewer owns the abstract datagram socket "Quillet" and gets one datagram for each line. The
/// socket holds only some of them, so a thread takes them out as they come.
class TraceLines::Viewer
{
  public:
    Viewer(LineQueue& lines, Kind kind)
        : lines_(lines), socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        constexpr char kName[] = "Quillet";
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::memcpy(name.sun_path + 1, kName, sizeof(kName) - 1);
        constexpr socklen_t kSize = offsetof(sockaddr_un, sun_path) + sizeof(kName);
        const auto* address = reinterpret_cast<const sockaddr*>(&name);
        bound_ = bind(socket_, address, kSize) == 0;
        if (!bound_) return;
        if (kind == Kind::kReading) {
            reader_ = std::thread([this] { ReadAll(); });
        } else { // it is full before the first line comes
            const int filler = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
            while (sendto(filler, "", 1, MSG_DONTWAIT, address, kSize) >= 0) {
            }
            close(filler);
        }
    }
    ~Viewer()
    {
        shutdown(socket_, SHUT_RD);
        if (reader_.joinable()) reader_.join();
        close(socket_);
    }
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    [[nodiscard]] bool IsBound() const { return bound_; }
    [[nodiscard]] bool IsReading() const { return reader_.joinable(); }

    /// What stands in the socket now.
    void TakePending()
    {
        const std::lock_guard inOrder(taking_);
        std::array<char, 8192> line{};
        while (true) {
            const ssize_t size = recv(socket_, line.data(), line.size(), MSG_DONTWAIT);
            if (size < 0) return;
            lines_.Put({line.data(), static_cast<std::size_t>(size)});
        }
    }

  private:
    void ReadAll()
    {
        pollfd entry{socket_, POLLIN | POLLRDHUP, 0};
        while ((entry.revents & POLLRDHUP) == 0) {
            poll(&entry, 1, -1);
            TakePending();
        }
    }

    LineQueue& lines_;
    const int socket_;
    bool bound_ = false;
    std::mutex taking_;
    std::thread reader_;
};

TraceLines::TraceLines(Kind kind) : viewer_(std::make_unique<Viewer>(lines_, kind)) {}

TraceLines::~TraceLines() = default;

bool TraceLines::AreHere() const
{
    return viewer_->IsBound();
}

std::vector<std::string> TraceLines::Take(std::size_t count)
{
    if (viewer_->IsReading()) viewer_->TakePending();
    return lines_.Take(count);
}

} // namespace example
