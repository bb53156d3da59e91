#include "platform/posix/echo_reply.h"

namespace zelq::platform {

namespace {

constexpr std::uint8_t kEchoReply = 0;
constexpr std::size_t kCode = 1;
constexpr std::size_t kId = 4;
constexpr std::size_t kSequence = 6;

std::uint16_t Load16(std::span<const std::uint8_t> bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes[at] << 8 | bytes[at + 1]);
}

} // namespace

bool AnswersEcho(std::span<const std::uint8_t> received, std::uint32_t sender, EchoForm form,
                 const EchoMarks& marks)
{
    if (sender != marks.host) return false;
    const bool packet = form == EchoForm::kPacket;
    const std::size_t start = packet && !received.empty() ? (received[0] & 0x0FU) * 4U : 0;
    if (received.size() < start + kEchoHeaderBytes + kEchoDataBytes) return false;
    const auto message = received.subspan(start);
    return message[0] == kEchoReply && message[kCode] == 0 &&
           (!packet || Load16(message, kId) == marks.id) &&
           Load16(message, kSequence) == marks.sequence;
}

} // namespace zelq::platform
