#include "hostile/hostile_test.h"

#include <gtest/gtest.h>

namespace zelq::test {

namespace {

/// Turns the proper replies, one a request frame, into what the controller sends instead.
using Spoil = std::function<Bytes(const Request& request, std::vector<Bytes> replies)>;

Bytes Join(const std::vector<Bytes>& replies)
{
    Bytes all;
    for (const Bytes& reply : replies) {
        all.insert(all.end(), reply.begin(), reply.end());
    }
    return all;
}

/// Writes `bytes` over those at `at` of one reply.
Spoil Change(std::size_t reply, std::size_t at, const Bytes& bytes)
{
    return [=](const Request&, std::vector<Bytes> replies) {
        std::copy(bytes.begin(), bytes.end(),
                  replies.at(reply).begin() + static_cast<std::ptrdiff_t>(at));
        return Join(replies);
    };
}

/// Sends the replies of this order only: {1, 0} swaps two, {0, 0} sends the first twice.
Spoil Order(const std::vector<std::size_t>& order)
{
    return [=](const Request&, const std::vector<Bytes>& replies) {
        std::vector<Bytes> ordered;
        for (const std::size_t index : order) {
            ordered.push_back(replies.at(index));
        }
        return Join(ordered);
    };
}

/// Sends so many bytes of all that should be sent.
Spoil Only(std::size_t bytes)
{
    return [=](const Request&, const std::vector<Bytes>& replies) {
        Bytes all = Join(replies);
        all.resize(bytes);
        return all;
    };
}

/// Another body under the function code xor `functionBits`, with the proper ids.
Spoil Instead(std::size_t reply, unsigned functionBits, const Bytes& body)
{
    return [=](const Request& request, std::vector<Bytes> replies) {
        const RequestFrame& frame = request.at(reply);
        replies.at(reply) =
            FrameBytes(frame.id, static_cast<std::uint8_t>(frame.function ^ functionBits), body);
        return Join(replies);
    };
}

Spoil Exception(std::size_t reply, const Bytes& body)
{
    return Instead(reply, 0x80, body);
}

/// What a call makes of a reply that has been spoiled.
struct Attack
{
    std::string name;
    Spoil spoil;
    short result = -12;
    bool waits = false; ///< the call must wait until its waits are over; else it must not
};

/// Spoils the last of the replies by what `spoil` makes of its index.
Spoil Last(const std::function<Spoil(std::size_t last)>& spoil)
{
    return [=](const Request& request, const std::vector<Bytes>& replies) {
        return spoil(replies.size() - 1)(request, replies);
    };
}

/// Adds to a byte of the last reply, wrapping, or to the word whose low byte stands at `at`.
Spoil Add(std::size_t at, int amount)
{
    return [=](const Request&, std::vector<Bytes> replies) {
        Bytes& reply = replies.back();
        reply[at] = static_cast<std::uint8_t>(reply[at] + amount);
        return Join(replies);
    };
}

/// Puts bytes behind the last reply, and counts them in so many of its fields.
enum class Counted { kNowhere, kInLength, kInLengthAndByteCount };
Spoil Tail(const Bytes& tail, Counted counted)
{
    return [=](const Request&, std::vector<Bytes> replies) {
        Bytes& reply = replies.back();
        reply.insert(reply.end(), tail.begin(), tail.end());
        const std::size_t length = reply.size() - 6;
        if (counted != Counted::kNowhere) {
            reply[4] = static_cast<std::uint8_t>(length >> 8U);
            reply[5] = static_cast<std::uint8_t>(length);
        }
        if (counted == Counted::kInLengthAndByteCount) {
            reply[8] = static_cast<std::uint8_t>(length - 3);
        }
        return Join(replies);
    };
}

class WrongReplies : public HostileTest
{
  protected:
    void Expect(const Call& call, const std::vector<Attack>& attacks)
    {
        Bytes proper;
        ASSERT_EQ(call.run(proper), 0);
        NextTrace();
        for (const Attack& attack : attacks) {
            SCOPED_TRACE(call.name + ": " + attack.name);
            const short timeOut = attack.waits ? kBriefMs : kPatientMs;
            SetReceiveTimeOut(timeOut);
            controller_.TakeRequests();
            controller_.Then([&](const Request& request) { return AnswerTo(request, attack); });
            Bytes output;
            short result = 0;
            const auto spent = Spent([&] { result = call.run(output); });
            EXPECT_EQ(result, attack.result);
            EXPECT_EQ(output, result == 0 ? proper : Bytes(proper.size(), kUntouched));
            if (attack.waits) {
                EXPECT_GE(spent, Waits(timeOut));
            }
            EXPECT_LT(spent, attack.waits ? Waits(timeOut) + kSlack : Waits(timeOut) / 2);
            EXPECT_EQ(controller_.TakeRequests().size(), 1U) << "it was sent again";
            if (result == 0 || call.tracesFailure) {
                EXPECT_TRUE(NextTrace().starts_with(std::to_string(result) + "=zelQ_" + call.name));
            }
            ExpectRight(call, proper);
        }
    }
    void Expect(const std::vector<Call>& calls, const std::vector<Attack>& attacks)
    {
        for (const Call& call : calls) {
            Expect(call, attacks);
        }
    }

  private:
    Answer AnswerTo(const Request& request, const Attack& attack) const
    {
        std::vector<Bytes> replies;
        for (const RequestFrame& frame : request) {
            replies.push_back(controller_.ProperReply(frame));
        }
        return {attack.spoil(request, replies)};
    }
};

// Bytes of a reply: 0 transaction id, 2 protocol id, 4 length, 6 unit, 7 function, 8 byte count,
// 9 registers. What is the same for all kinds of calls is wrong in the last reply of each.

TEST_F(WrongReplies, ByteCountUnlikeTheQuantityAskedFor)
{
    Expect(OneOfEach(), {
                            {"larger than asked", Add(8, 2)},
                            {"larger, and the bytes are there",
                             Tail({0x55, 0x55}, Counted::kInLengthAndByteCount)},
                            {"short", Add(8, -2)},
                            {"odd", Add(8, 1)},
                            {"odd and short", Add(8, -1)},
                            {"wraps a byte", Tail(Bytes(256), Counted::kInLengthAndByteCount)},
                        });
    const auto change = [](std::uint8_t value) {
        return Last([=](std::size_t last) { return Change(last, 8, {value}); });
    };
    Expect(OneOfEach(), {{"0", change(0)}, {"1", change(1)}, {"255", change(255)}});
}

TEST_F(WrongReplies, DeclaredLengthUnlikeTheContent)
{
    const auto length = [](std::uint8_t high, std::uint8_t low) {
        return Last([=](std::size_t last) { return Change(last, 4, {high, low}); });
    };
    Expect(OneOfEach(), {
                            {"0", length(0, 0)},
                            {"1", length(0, 1)},
                            {"2", length(0, 2)},
                            {"3", length(0, 3)},
                            {"one less", Add(5, -1)},
                            {"one more", Add(5, 1), -12, true},
                            {"254", length(0, 254), -12, true},
                            {"255", length(0, 255), -12, true},
                            {"65535", length(255, 255), -12, true},
                            {"a smuggled tail", Tail({1, 2, 3, 4}, Counted::kInLength)},
                            {"a tail behind the frame", Tail({1}, Counted::kNowhere), 0},
                        });
}

TEST_F(WrongReplies, HeaderOfAnother)
{
    const auto change = [](std::size_t at, const Bytes& bytes) {
        return Last([=](std::size_t last) { return Change(last, at, bytes); });
    };
    Expect(OneOfEach(), {
                            {"wrong transaction id", change(0, {0xA5})},
                            {"the id before", Add(1, -1)},
                            {"the id behind", Add(1, 1)},
                            {"protocol id", change(3, {1})},
                            {"high protocol id", change(2, {1})},
                            {"unit 2", change(6, {2})},
                            {"unit 0", change(6, {0})},
                            {"function 0", change(7, {0})},
                            {"function 4", change(7, {4})},
                            {"function 16", change(7, {16})},
                            {"exception bit alone", Add(7, 0x80)},
                        });
    Expect(Servo(), {{"a command's function", change(7, {23})}});
    Expect(Parameter(), {{"a read's function", change(7, {3})}});
}

TEST_F(WrongReplies, CutAndThenSilence)
{
    Expect(OneOfEach(), {
                            {"1 byte", Only(1), -10, true},
                            {"8 bytes", Only(8), -10, true},
                            {"9 bytes", Only(9), -12, true},
                            {"10 bytes", Only(10), -12, true},
                        });
    Expect(Servo(),
           {{"second's header cut", Only(15), -12, true}, {"second cut", Only(55), -12, true}});
}

TEST_F(WrongReplies, ExceptionsOfEveryForm)
{
    const auto exception = [](const Bytes& body) {
        return Last([=](std::size_t last) { return Exception(last, body); });
    };
    const std::vector<Attack> never = {
        {"cut short", exception({3})},
        {"unknown code", exception({2, 0x12, 0x34})},
        {"code wraps", exception({255, 0xFF, 0xFF})},
        {"long", exception({3, 0, 1, 0})},
    };
    Expect(OneOfEach(), never);
    // Only a command's exception carries the controller's word.
    Expect({Move(), Serial(), Parameter()}, {
                                                {"word", exception({3, 0x12, 0x34}), 0x1234},
                                                {"negative", exception({3, 0xFF, 0x00}), -256},
                                            });
    Expect(Servo(), {{"word", exception({3, 0x12, 0x34})}});
    Expect(Move(), {{"a read's exception", Instead(0, 23 ^ 0x83, {3, 0, 1})},
                    {"result", Change(0, 9, {0x12, 0x34}), 0x1234},
                    {"result -1", Change(0, 9, {0xFF, 0xFF}), -1}});
}

TEST_F(WrongReplies, InABatchOfReads)
{
    Expect(Servo(), {
                        {"first missing", Order({1})},
                        {"second missing", Order({0}), -12, true},
                        {"first twice", Order({0, 0})},
                        {"first twice, then the second", Order({0, 0, 1})},
                        {"both twice", Order({0, 1, 0, 1}), 0},
                        {"swapped", Order({1, 0})},
                        {"first length into the second", Change(0, 4, {0, 12})},
                    });
    Expect(All(), {
                      {"exception in the middle", Exception(5, {3, 0, 9})},
                      {"plain exception in the middle", Exception(5, {2})},
                      {"middle missing", Order({0, 1, 2, 3, 4, 6, 7, 8, 9, 10})},
                      {"middle twice", Order({0, 1, 2, 3, 4, 5, 5, 6, 7, 8, 9, 10})},
                      {"middle swapped", Order({0, 1, 2, 3, 5, 4, 6, 7, 8, 9, 10})},
                      {"last missing", Order({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), -12, true},
                  });
}

TEST_F(WrongReplies, InACommandOfManyFrames)
{
    // Once a frame has succeeded, what is missing behind it counts as success.
    Expect(Speeds(), {
                         {"first missing", Order({1, 2, 3})},
                         {"last missing", Order({0, 1, 2}), 0, true},
                         {"all but the first missing", Order({0}), 0, true},
                         {"second twice", Order({0, 1, 1, 2, 3}), 0},
                         {"swapped in the middle", Order({0, 2, 1, 3}), 0},
                         {"last first", Order({3, 0, 1, 2})},
                         {"second length 0", Change(1, 4, {0, 0}), 0},
                         {"second length 65535", Change(1, 4, {255, 255}), 0, true},
                         {"second byte count", Change(1, 8, {3})},
                         {"second function", Change(1, 7, {3})},
                         {"second fails", Change(1, 9, {0, 5}), 5},
                         {"last fails", Change(3, 9, {0xFF, 0xFE}), -2},
                         {"exception in the middle", Exception(2, {3, 0, 9}), 9},
                         {"plain exception in the middle", Exception(2, {3}), 0},
                     });
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
