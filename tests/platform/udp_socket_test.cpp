#include "platform/loopback.h"
#include "platform/udp_socket.h"

namespace zelq::platform {
namespace {

TEST(UdpSocket, TakesEachAnswerWholeAndByItselfAndNeverBlocks)
{
    using asio::ip::udp;
    asio::io_context context;
    udp::socket peer(context, udp::endpoint(asio::ip::address_v4::loopback(), 0));
    UdpSocket socket;
    ASSERT_TRUE(socket.Open("127.0.0.1", peer.local_endpoint().port()));
    std::array<std::uint8_t, 8> area{};
    ASSERT_EQ(socket.Send(area), IoStatus::kDone);
    udp::endpoint asker;
    EXPECT_EQ(peer.receive_from(asio::buffer(area), asker), area.size());
    for (const std::size_t size : {3U, 0U, 9U, 1U}) {
        peer.send_to(asio::buffer(CountUp(size)), asker);
        EXPECT_EQ(socket.WaitReadable(Clock::now() + kLong), WaitStatus::kReady);
        const IoResult got = socket.Receive(area);
        EXPECT_EQ(got.status, IoStatus::kDone);
        EXPECT_EQ(got.bytes, size <= area.size() ? size : 0) << "one that does not fit is dropped";
    }
    EXPECT_EQ(socket.Receive(area).status, IoStatus::kBlocked);
}

} // namespace
} // namespace zelq::platform
