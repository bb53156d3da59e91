#include "platform/posix/echo_reply.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace zelq::platform {
namespace {

constexpr EchoNumbers kOurs{0x1234, 7};

/// An echo reply of these numbers, as a raw socket gets it with a header of `words` words before
/// it.
std::vector<std::uint8_t> Reply(EchoNumbers numbers, unsigned words)
{
    std::vector<std::uint8_t> packet(4 * words);
    if (words > 0) packet[0] = static_cast<std::uint8_t>(0x40U | words);
    const std::uint8_t head[] = {0,
                                 0,
                                 0xAA,
                                 0xBB,
                                 static_cast<std::uint8_t>(numbers.id >> 8U),
                                 static_cast<std::uint8_t>(numbers.id),
                                 static_cast<std::uint8_t>(numbers.sequence >> 8U),
                                 static_cast<std::uint8_t>(numbers.sequence)};
    packet.insert(packet.end(), std::begin(head), std::end(head));
    packet.insert(packet.end(), kEchoDataBytes, 0xFF);
    return packet;
}

TEST(EchoReply, IsTheOneToThisVeryRequest)
{
    for (const unsigned words : {0U, 5U, 15U}) {
        const EchoForm form = words == 0 ? EchoForm::kMessage : EchoForm::kPacket;
        EXPECT_TRUE(AnswersEcho(Reply(kOurs, words), form, kOurs)) << words;
        // Another thread's, on its way to a socket that gets them all.
        EXPECT_FALSE(AnswersEcho(Reply({kOurs.id, 8}, words), form, kOurs)) << words;
        // Another process's; the unprivileged kind of socket has an id of its own, and gets no
        // other.
        EXPECT_EQ(AnswersEcho(Reply({0x1235, 7}, words), form, kOurs), words == 0);
        auto request = Reply(kOurs, words);
        request[4 * words] = 8;
        EXPECT_FALSE(AnswersEcho(request, form, kOurs)) << "an echo request is no reply";
        auto cut = Reply(kOurs, words);
        while (!cut.empty()) {
            cut.pop_back();
            EXPECT_FALSE(AnswersEcho(cut, form, kOurs)) << words << " " << cut.size();
        }
    }
}

} // namespace
} // namespace zelq::platform
