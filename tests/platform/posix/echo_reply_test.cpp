#include "platform/posix/echo_reply.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace zelq::platform {
namespace {

constexpr std::uint32_t kHost = 0x0700007F;
constexpr EchoMarks kOurs{kHost, 0x1234, 7};

/// An echo reply of these numbers, as a raw socket gets it with a header of `words` words before
/// it.
std::vector<std::uint8_t> Reply(const EchoMarks& marks, unsigned words)
{
    std::vector<std::uint8_t> packet(4 * words);
    if (words > 0) packet[0] = static_cast<std::uint8_t>(0x40U | words);
    for (const unsigned word : {0U, 0xAABBU, unsigned{marks.id}, unsigned{marks.sequence}}) {
        packet.push_back(static_cast<std::uint8_t>(word >> 8U));
        packet.push_back(static_cast<std::uint8_t>(word));
    }
    packet.insert(packet.end(), kEchoDataBytes, 0xFF);
    return packet;
}

TEST(EchoReply, IsTheOneToThisVeryRequest)
{
    for (const unsigned words : {0U, 5U, 15U}) {
        const EchoForm form = words == 0 ? EchoForm::kMessage : EchoForm::kPacket;
        EXPECT_TRUE(AnswersEcho(Reply(kOurs, words), kHost, form, kOurs)) << words;
        EXPECT_FALSE(AnswersEcho(Reply(kOurs, words), kHost + 1, form, kOurs)) << "another host's";
        // Another thread's, on its way to a socket that gets them all.
        EXPECT_FALSE(AnswersEcho(Reply({kHost, kOurs.id, 8}, words), kHost, form, kOurs)) << words;
        // Another process's; the unprivileged kind of socket has an id of its own, and gets no
        // other.
        EXPECT_EQ(AnswersEcho(Reply({kHost, 0x1235, 7}, words), kHost, form, kOurs), words == 0);
        auto request = Reply(kOurs, words);
        request[4 * words] = 8;
        EXPECT_FALSE(AnswersEcho(request, kHost, form, kOurs)) << "an echo request is no reply";
        auto cut = Reply(kOurs, words);
        while (!cut.empty()) {
            cut.pop_back();
            EXPECT_FALSE(AnswersEcho(cut, kHost, form, kOurs)) << words << " " << cut.size();
        }
    }
}

} // namespace
} // namespace zelq::platform
