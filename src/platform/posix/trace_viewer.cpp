#include "platform/trace_viewer.h"

#include "platform/posix/debug_output.h"
#include "platform/posix/socket_calls.h"
#include "platform/process.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace zelq::platform {

namespace {

/// Address of the abstract datagram socket that a viewer binds.
constexpr sockaddr_un kViewer = {AF_UNIX, "\0Quillet"};
constexpr socklen_t kViewerBytes = offsetof(sockaddr_un, sun_path) + sizeof("\0Quillet") - 1;

/// The library's end: one unbound datagram socket for all threads, made for the first line and
/// closed at unload. One that cannot be made now is tried again for the next line.
class ViewerSocket
{
  public:
    ViewerSocket() = default;
    ~ViewerSocket()
    {
        // A thread that is still in a call, as when main returns before its threads, keeps it: its
        // number must not become another socket's under that thread's hands.
        const int descriptor = descriptor_.exchange(kGone);
        if (descriptor >= 0 && users_ == 0) close(descriptor);
    }
    ViewerSocket(const ViewerSocket&) = delete;
    ViewerSocket& operator=(const ViewerSocket&) = delete;

    /// False when no viewer is there. A hung one costs the send's time-out and loses the line.
    bool Send(const char* line, std::size_t length)
    {
        ++users_;
        const int descriptor = Opened();
        const bool taken = descriptor >= 0 && SendOn(descriptor, line, length);
        --users_;
        return taken;
    }

    /// In a forked child: the socket stays the parent's.
    void Abandon()
    {
        const int descriptor = descriptor_.exchange(kNone);
        if (descriptor >= 0) close(descriptor);
        users_ = 0;
        connected_ = false;
    }

  private:
    static constexpr int kNone = -1; ///< not made yet
    static constexpr int kGone = -2; ///< and none is to be made any more

    int Opened()
    {
        int descriptor = descriptor_.load();
        if (descriptor != kNone) return descriptor;
        const int made = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (made < 0) return kNone;
        const timeval limit{0, 100'000};
        setsockopt(made, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit));
        if (descriptor_.compare_exchange_strong(descriptor, made)) return made;
        close(made);
        return descriptor;
    }

    bool SendOn(int descriptor, const char* line, std::size_t length)
    {
        // Connected, a line costs no look-up. A viewer that has gone is noticed by the send, and
        // looking for one costs less than a send that nobody takes.
        if (SendToConnected(descriptor, line, length)) return true;
        const auto* viewer = reinterpret_cast<const sockaddr*>(&kViewer);
        if (ConnectNow(descriptor, viewer, kViewerBytes) != 0) return false;
        connected_ = true;
        return SendToConnected(descriptor, line, length);
    }

    bool SendToConnected(int descriptor, const char* line, std::size_t length)
    {
        if (!connected_) return false;
        const ssize_t sent = send(descriptor, line, length, MSG_NOSIGNAL);
        if (sent >= 0 || errno == EAGAIN || errno == EINTR) return true;
        connected_ = false;
        return false;
    }

    std::atomic<int> descriptor_ = kNone;
    std::atomic<int> users_ = 0; ///< threads that are sending
    std::atomic<bool> connected_ = false;
};

ViewerSocket viewerSocket;

[[maybe_unused]] const bool kAbandonsInChild =
    (CallInForkedChild([] { viewerSocket.Abandon(); }), true);

} // namespace

void DeliverTraceLine(const char* line, std::size_t length)
{
    if (!viewerSocket.Send(line, length)) zelq_debug_output(line);
}

} // namespace zelq::platform
