#include "platform/udp_socket.h"
#include "support/process_resources.h"

#include <array>
#include <asio.hpp>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace zelq::platform {
namespace {

using asio::ip::udp;
using std::chrono::milliseconds;
using Bytes = std::vector<std::uint8_t>;

constexpr milliseconds kLong{20'000};
constexpr milliseconds kShort{60};

/// Somebody to send to, on a free port of 127.0.0.1.
class UdpSocketTest : public testing::Test
{
  protected:
    void SetUp() override { ASSERT_TRUE(socket_.Open("127.0.0.1", Port())); }

    [[nodiscard]] std::uint16_t Port() const { return peer_.local_endpoint().port(); }

    /// Sends a request and takes it at the other end, which learns by it where to answer.
    void Ask()
    {
        const Bytes request{1, 2, 3};
        ASSERT_EQ(socket_.Send(request), IoStatus::kDone);
        Bytes received(100);
        received.resize(peer_.receive_from(asio::buffer(received), asker_));
        ASSERT_EQ(received, request);
    }

    void Answer(const Bytes& datagram) { peer_.send_to(asio::buffer(datagram), asker_); }

    WaitStatus WaitLong() { return socket_.WaitReadable(Clock::now() + kLong); }

    asio::io_context context_;
    udp::socket peer_{context_, udp::endpoint(asio::ip::address_v4::loopback(), 0)};
    udp::endpoint asker_;
    UdpSocket socket_;
};

TEST_F(UdpSocketTest, TakesEachAnswerByItself)
{
    Ask();
    Answer({4, 5, 6});
    Answer({});
    Answer({7});
    std::array<std::uint8_t, 8> area{};
    for (const std::size_t size : {3U, 0U, 1U}) {
        ASSERT_EQ(WaitLong(), WaitStatus::kReady);
        const IoResult got = socket_.Receive(area);
        EXPECT_EQ(got.status, IoStatus::kDone);
        EXPECT_EQ(got.bytes, size);
    }
    EXPECT_EQ(area[0], 7);
    EXPECT_EQ(area[1], 5);
}

TEST_F(UdpSocketTest, WaitsNoLongerThanToldWhenNothingComes)
{
    Ask();
    Answer({9});
    ASSERT_EQ(WaitLong(), WaitStatus::kReady);
    std::array<std::uint8_t, 8> area{};
    EXPECT_EQ(socket_.Receive(area).bytes, 1U);
    EXPECT_EQ(socket_.Receive(area).status, IoStatus::kBlocked);
    const auto deadline = Clock::now() + kShort;
    EXPECT_EQ(socket_.WaitReadable(deadline), WaitStatus::kTimedOut);
    EXPECT_GE(Clock::now(), deadline);
    Answer({9});
    EXPECT_EQ(WaitLong(), WaitStatus::kReady);
}

TEST_F(UdpSocketTest, DropsADatagramThatDoesNotFit)
{
    Ask();
    Answer(Bytes(9, 0xEE));
    Answer({8});
    std::array<std::uint8_t, 8> area{};
    ASSERT_EQ(WaitLong(), WaitStatus::kReady);
    const IoResult tooLong = socket_.Receive(area);
    EXPECT_EQ(tooLong.status, IoStatus::kDone);
    EXPECT_EQ(tooLong.bytes, 0U);
    ASSERT_EQ(WaitLong(), WaitStatus::kReady);
    EXPECT_EQ(socket_.Receive(area).bytes, 1U);
    EXPECT_EQ(area[0], 8);
}

TEST_F(UdpSocketTest, GoesOnWhereNobodyListens)
{
    const std::uint16_t port = Port();
    peer_.close();
    std::array<std::uint8_t, 8> area{};
    for (int again = 0; again < 3; ++again) {
        EXPECT_EQ(socket_.Send(area), IoStatus::kDone);
        socket_.WaitReadable(Clock::now() + milliseconds(5)); // a refusal may be reported here
        EXPECT_EQ(socket_.Receive(area).status, IoStatus::kBlocked);
    }
    peer_ = udp::socket(context_, udp::endpoint(asio::ip::address_v4::loopback(), port));
    Ask();
    Answer({9});
    EXPECT_EQ(WaitLong(), WaitStatus::kReady);
    EXPECT_EQ(socket_.Receive(area).bytes, 1U);
}

TEST(UdpSocketOpen, TakesDottedAddressesAlone)
{
    UdpSocket socket;
    for (const char* address : {"", "localhost", "256.0.0.1", "127.0.0", "127.0.0.1x", "::1"}) {
        EXPECT_FALSE(socket.Open(address, 7000)) << address;
    }
    EXPECT_TRUE(socket.Open("255.255.255.255", 7000)); // nothing is sent by this
}

TEST(UdpSocketResources, HundredsOfSocketsLeaveNothing)
{
    constexpr int kWarmUp = 5;
    constexpr int kCycles = 500;
    std::size_t descriptors = 0;
    std::size_t inheritable = 0;
    for (int cycle = -kWarmUp; cycle < kCycles; ++cycle) {
        if (cycle == 0) {
            descriptors = test::OpenDescriptors();
            inheritable = test::InheritableDescriptors();
        }
        UdpSocket socket;
        ASSERT_TRUE(socket.Open("127.0.0.1", 7000));
        ASSERT_EQ(socket.WaitReadable(Clock::now()), WaitStatus::kTimedOut);
        ASSERT_TRUE(socket.Open("127.0.0.2", 7000));
        if (cycle == 0) {
            EXPECT_EQ(test::InheritableDescriptors(), inheritable);
        }
    }
    EXPECT_LE(test::OpenDescriptors(), descriptors);
}

} // namespace
} // namespace zelq::platform
