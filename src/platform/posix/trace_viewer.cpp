#include "platform/trace_viewer.h"

#include "platform/posix/debug_output.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace zelq::platform {

namespace {

/// Name of the abstract datagram socket that a viewer binds.
constexpr char kViewerName[] = "Quillet";

/// The library's end: one unbound datagram socket for all threads, closed at unload.
class ViewerSocket
{
  public:
    ViewerSocket() : descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        const timeval limit{0, 100'000};
        setsockopt(descriptor_, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
        viewer_.sun_family = AF_UNIX;
        std::memcpy(viewer_.sun_path + 1, kViewerName, sizeof(kViewerName) - 1);
    }
    ~ViewerSocket()
    {
        // A thread that is still in a call, as when main returns before its threads, keeps it: its
        // number must not become another socket's under that thread's hands.
        const int descriptor = descriptor_.exchange(-1);
        if (descriptor >= 0 && users_ == 0) close(descriptor);
    }
    ViewerSocket(const ViewerSocket&) = delete;
    ViewerSocket& operator=(const ViewerSocket&) = delete;

    /// False when no viewer is there. A hung one costs the send's time-out and loses the line.
    bool Send(const char* line, std::size_t length) const
    {
        ++users_;
        const bool taken = SendOn(descriptor_, line, length);
        --users_;
        return taken;
    }

  private:
    bool SendOn(int descriptor, const char* line, std::size_t length) const
    {
        // Connected, a line costs no look-up. A viewer that has gone is noticed by the send, and
        // looking for one costs less than a send that nobody takes.
        if (SendToConnected(descriptor, line, length)) return true;
        constexpr socklen_t kSize = offsetof(sockaddr_un, sun_path) + sizeof(kViewerName);
        const auto* address = reinterpret_cast<const sockaddr*>(&viewer_);
        connected_ = connect(descriptor, address, kSize) == 0;
        return SendToConnected(descriptor, line, length);
    }

    bool SendToConnected(int descriptor, const char* line, std::size_t length) const
    {
        if (!connected_) return false;
        const ssize_t sent = send(descriptor, line, length, MSG_NOSIGNAL);
        if (sent >= 0 || errno == EAGAIN || errno == EINTR) return true;
        connected_ = false;
        return false;
    }

    std::atomic<int> descriptor_;
    mutable std::atomic<int> users_ = 0; ///< threads that are sending
    mutable std::atomic<bool> connected_ = false;
    sockaddr_un viewer_{};
};

} // namespace

void DeliverTraceLine(const char* line, std::size_t length)
{
    static const ViewerSocket kViewer;
    if (!kViewer.Send(line, length)) zelq_debug_output(line);
}

} // namespace zelq::platform
