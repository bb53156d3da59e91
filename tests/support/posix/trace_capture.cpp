#include "support/trace_capture.h"

#include "support/line_queue.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace zelq::test {

namespace {

constexpr std::string_view kName = "Quillet";

struct Address
{
    Address()
    {
        name.sun_family = AF_UNIX;
        kName.copy(name.sun_path + 1, kName.size());
    }

    [[nodiscard]] const sockaddr* Get() const { return reinterpret_cast<const sockaddr*>(&name); }
    static constexpr socklen_t kSize = offsetof(sockaddr_un, sun_path) + 1 + kName.size();

    sockaddr_un name{};
};

/// Becomes the viewer; another one is given some seconds to go.
int BindViewer()
{
    constexpr std::chrono::seconds kPatience{10};
    constexpr std::chrono::milliseconds kRetry{20};
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) throw std::runtime_error("no socket for the trace viewer");
    while (bind(descriptor, Address().Get(), Address::kSize) != 0) {
        if (errno != EADDRINUSE || std::chrono::steady_clock::now() > deadline) {
            close(descriptor);
            throw std::runtime_error("the trace viewer's name is taken");
        }
        std::this_thread::sleep_for(kRetry);
    }
    return descriptor;
}

/// Sends to the socket until it takes no more, so that whoever sends next finds a hung viewer.
void FillUp()
{
    const int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    while (sendto(sender, "", 1, MSG_DONTWAIT, Address().Get(), Address::kSize) >= 0) {
    }
    close(sender);
}

} // namespace

class TraceCapture::Impl
{
  public:
    explicit Impl(Viewer viewer) : socket_(BindViewer()), stop_(eventfd(0, EFD_CLOEXEC))
    {
        if (viewer == Viewer::kHung) {
            FillUp();
        } else {
            reader_ = std::thread([this] { ReadAll(); });
        }
    }

    ~Impl()
    {
        eventfd_write(stop_, 1);
        if (reader_.joinable()) reader_.join();
        close(stop_);
        close(socket_);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    /// The lines, with everything among them that stands in the socket now.
    LineQueue& UpToDate()
    {
        if (reader_.joinable()) TakePending();
        return lines_;
    }

  private:
    /// The socket holds few datagrams, so a thread takes them out as they come.
    void ReadAll()
    {
        std::array<pollfd, 2> entries{pollfd{socket_, POLLIN, 0}, pollfd{stop_, POLLIN, 0}};
        while (entries[1].revents == 0) {
            poll(entries.data(), entries.size(), -1);
            TakePending();
        }
    }

    void TakePending()
    {
        const std::lock_guard inOrder(taking_);
        std::array<char, 8192> datagram{};
        while (true) {
            const ssize_t got = recv(socket_, datagram.data(), datagram.size(), MSG_DONTWAIT);
            if (got < 0) return;
            lines_.Put({datagram.data(), static_cast<std::size_t>(got)});
        }
    }

    const int socket_;
    const int stop_;
    std::mutex taking_;
    LineQueue lines_;
    std::thread reader_;
};

TraceCapture::TraceCapture(Viewer viewer) : impl_(std::make_unique<Impl>(viewer)) {}

TraceCapture::~TraceCapture() = default;

std::string TraceCapture::Next()
{
    return impl_->UpToDate().Next();
}

std::vector<std::string> TraceCapture::Lines(std::size_t count)
{
    return impl_->UpToDate().TakeAll(count);
}

} // namespace zelq::test
