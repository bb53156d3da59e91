#include "hostile/hostile_test.h"

#include <gtest/gtest.h>

namespace zelq::test {

namespace {

/// Makes the proper replies to what the controller sends instead; the last one starts at `last`.
using Spoil = std::function<void(Bytes& replies, std::size_t last)>;

/// Writes a byte over one of the last reply's: 0 transaction id, 2 protocol id, 4 length, 6 unit,
/// 7 function, 8 byte count, 9 registers.
Spoil Change(std::size_t at, std::uint8_t value)
{
    return [=](Bytes& replies, std::size_t last) { replies.at(last + at) = value; };
}

/// Sends so many bytes of all that should be sent.
Spoil Only(std::size_t bytes)
{
    return [=](Bytes& replies, std::size_t) { replies.resize(bytes); };
}

Spoil Without(std::size_t bytes)
{
    return [=](Bytes& replies, std::size_t) { replies.resize(replies.size() - bytes); };
}

/// Puts a byte behind the last reply, and counts so many there.
Spoil Tail(std::uint8_t counted)
{
    return [=](Bytes& replies, std::size_t last) {
        replies.push_back(0x55);
        replies[last + 5] = static_cast<std::uint8_t>(replies[last + 5] + counted);
    };
}

/// In place of the last reply.
Spoil Exception(const Bytes& body)
{
    return [=](Bytes& replies, std::size_t last) {
        const auto id = static_cast<std::uint16_t>(replies[last] << 8U | replies[last + 1]);
        const auto function = static_cast<std::uint8_t>(replies[last + 7] | 0x80U);
        const Bytes exception = FrameBytes(id, function, body);
        replies.resize(last);
        replies.insert(replies.end(), exception.begin(), exception.end());
    };
}

void LastFirst(Bytes& replies, std::size_t last)
{
    std::rotate(replies.begin(), replies.begin() + static_cast<std::ptrdiff_t>(last),
                replies.end());
}

/// What a call makes of a reply that has been spoiled.
struct Attack
{
    std::string name;
    Spoil spoil;
    short result = -12;
    int waits = 0; ///< 1: the call must wait until its waits are over; else it must not
};

class WrongReplies : public HostileTest
{
  protected:
    void ExpectAll(const std::vector<Call>& calls, const std::vector<Attack>& attacks)
    {
        for (const Call& call : calls) {
            const Bytes proper = ExpectRight(call);
            for (const Attack& attack : attacks) {
                SCOPED_TRACE(call.name + ": " + attack.name);
                ExpectOne(call, attack, proper);
            }
        }
    }

  private:
    void ExpectOne(const Call& call, const Attack& attack, const Bytes& proper)
    {
        controller_.Then([&](const Request& request) {
            Answer answer{controller_.ProperReply(request)};
            attack.spoil(answer.bytes,
                         answer.bytes.size() - controller_.ProperReply(request.back()).size());
            return answer;
        });
        const Bytes output = Expect(call, attack.result, attack.waits);
        if (attack.result == 0) {
            EXPECT_EQ(output, proper);
        }
        EXPECT_EQ(controller_.TakeRequests().size(), 1U) << "it was sent again";
        if (attack.result == 0 || call.tracesFailure) {
            EXPECT_TRUE(
                NextTrace().starts_with(std::to_string(attack.result) + "=zelQ_" + call.name));
        }
        // However it ended, the next one is right.
        EXPECT_EQ(Expect(call, 0), proper);
        EXPECT_EQ(controller_.TakeRequests().size(), 1U);
    }
};

// All forms of wrong replies are looked at where replies are paired. These are the ways in which
// a reply ends a call, and what it leaves for the next one.

TEST_F(WrongReplies, EndACallOfAnyKind)
{
    ExpectAll({Move(), Servo(), Serial(), Parameter()},
              {
                  {"a byte count that does not fit", Change(8, 1)},
                  {"another id", Change(0, 0xA5)},
                  {"another protocol", Change(3, 1)},
                  {"another unit", Change(6, 2)},
                  {"another function", Change(7, 4)},
                  {"length 0", Change(5, 0)},
                  {"length 3", Change(5, 3)},
                  {"length 255", Change(5, 255), -12, 1},
                  {"length 65280 more", Change(4, 255), -12, 1},
                  {"a smuggled tail", Tail(1)},
                  {"a tail behind the frame", Tail(0), 0},
                  {"nothing but a byte", Only(1), -10, 1},
                  {"8 bytes", Only(8), -10, 1},
                  {"9 bytes", Only(9), -12, 1},
                  {"a byte is missing", Without(1), -12, 1},
                  {"a short exception", Exception({3})},
                  {"an unknown exception", Exception({2, 0x12, 0x34})},
              });
}

TEST_F(WrongReplies, GiveTheControllersWord)
{
    ExpectAll({Move(), Serial(), Parameter()},
              {{"exception", Exception({3, 0x12, 0x34}), 0x1234},
               {"negative exception", Exception({3, 0xFF, 0x00}), -256},
               {"result", Change(9, 0xFF), -256}});
    ExpectAll({Servo()}, {{"exception", Exception({3, 0x12, 0x34})}});
}

TEST_F(WrongReplies, AreJudgedByWhatCameBefore)
{
    ExpectAll({Servo(), All()}, {{"the last first", LastFirst},
                                 {"the last is missing", Without(45), -12, 1},
                                 {"the last header is cut", Without(41), -12, 1}});
    // Once a frame has succeeded, what is missing behind it counts as success.
    ExpectAll({Speeds()}, {{"all but the first are missing", Only(11), 0, 1},
                           {"the last is another's", Change(0, 0xA5), 0},
                           {"the last is endless", Change(4, 255), 0, 1},
                           {"the last fails", Change(10, 5), 5},
                           {"the last first", LastFirst}});
}

TEST_F(WrongReplies, LengthsThatTheDeviceGives)
{
    // It claims any number of bytes; no more are taken than there is room for, or than came.
    for (const unsigned claimed : {0U, 1U, 19U, 20U, 21U, 255U, 256U, 0x8000U, 0xFFFFU}) {
        SCOPED_TRACE(claimed);
        controller_.SetRegister(0xF001, static_cast<std::uint16_t>(claimed));
        Bytes area(kSerialBytes + 4, kUntouched);
        unsigned short count = 0;
        EXPECT_EQ(zelQ_UARTRead(kNumber, area.data(), kSerialBytes, &count), 0);
        EXPECT_EQ(count, claimed);
        const std::size_t written = std::min<std::size_t>(claimed, kSerialBytes);
        for (std::size_t i = 0; i < area.size(); ++i) {
            EXPECT_EQ(area[i] == kUntouched, i >= written) << i;
        }
    }
    // An interpolation map that has more axes than any map.
    controller_.SetRegisters(0xF41A, Words(9, 0xFFFF));
    constexpr short kNever = 0x5A5A;
    std::vector<short> map(19, kNever);
    EXPECT_EQ(zelQ_IMapGet(kNumber, 0, map.data()), 0);
    EXPECT_EQ(map[0], 255);
    EXPECT_EQ(map[17], 255);
    EXPECT_EQ(map[18], kNever);
}

} // namespace

} // namespace zelq::test
