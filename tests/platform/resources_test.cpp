// What the system lends is given back, and no child process inherits it.
#include "platform/echo.h"
#include "platform/loopback.h"
#include "platform/shared_lock.h"
#include "platform/udp_socket.h"
#include "support/process_resources.h"

#include <functional>

namespace zelq::platform {
namespace {

using Look = std::function<void()>;

TEST(Resources, AreGivenBackAndInheritedByNobody)
{
    Listener listener;
    const struct
    {
        const char* name;
        int cycles;
        std::function<void(const Look& amid)> use;
    } cases[] = {
        {"connection", 300,
         [&](const Look& amid) {
             TcpSocket socket;
             for (int again = 0; again < 2; ++again) { // the second replaces the first
                 ASSERT_TRUE(socket.Open("127.0.0.1", listener.Port(), kLong));
                 if (again == 0) amid();
                 listener.Accept().Reset(); // leaves no port that waits for late packets
             }
         }},
        {"datagrams", 300,
         [](const Look& amid) {
             UdpSocket socket;
             ASSERT_TRUE(socket.Open("127.0.0.1", 7000));
             ASSERT_EQ(socket.WaitReadable(Clock::now()), WaitStatus::kTimedOut);
             ASSERT_TRUE(socket.Open("127.0.0.2", 7000));
             amid();
         }},
        {"lock", 300,
         [](const Look& amid) {
             SharedLock lock(241);
             ASSERT_EQ(lock.Wait(kLong), LockStatus::kHeld);
             amid();
             lock.Release();
         }},
        {"echo", 20, [](const Look&) { SendEcho("127.0.0.1", 2'000); }},
    };
    for (const auto& [name, cycles, use] : cases) {
        SCOPED_TRACE(name);
        const std::size_t inheritable = test::InheritableDescriptors();
        use([&] { EXPECT_EQ(test::InheritableDescriptors(), inheritable); });
        const std::size_t descriptors = test::OpenDescriptors();
        for (int cycle = 0; cycle < cycles && !testing::Test::HasFailure(); ++cycle) {
            use([] {});
        }
        EXPECT_LE(test::OpenDescriptors(), descriptors);
    }
}

} // namespace
} // namespace zelq::platform
