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

struct Attack
{
    std::string name;
    Spoil spoil;
    short result;
    bool waits = false; ///< the call must wait until its waits are over; else it must not
};

class WrongReplies : public HostileTest
{
  protected:
    void SetUp() override
    {
        WireTest::SetUp();
        FillRegisters();
    }

    void Expect(const Call& call, const std::vector<Attack>& attacks)
    {
        Bytes proper;
        ASSERT_EQ(call.run(proper), 0);
        for (const Attack& attack : attacks) {
            SCOPED_TRACE(call.name + ": " + attack.name);
            const short timeOut = attack.waits ? kBriefMs : kPatientMs;
            SetReceiveTimeOut(timeOut);
            controller_.TakeRequests();
            const int connections = controller_.Connections();
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
            EXPECT_EQ(controller_.Connections(), connections);
            ExpectHealed();
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
// 9 registers.

TEST_F(WrongReplies, ToACommand)
{
    Expect(Move(), {
                       {"transaction id", Change(0, 0, {0xA5}), -12},
                       {"protocol id", Change(0, 3, {1}), -12},
                       {"unit", Change(0, 6, {2}), -12},
                       {"function 3", Change(0, 7, {3}), -12},
                       {"function 16", Change(0, 7, {16}), -12},
                       {"function 4", Change(0, 7, {4}), -12},
                       {"function 0", Change(0, 7, {0}), -12},
                       {"exception bit", Change(0, 7, {23 | 0x80}), -12},
                       {"byte count 0", Change(0, 8, {0}), -12},
                       {"byte count 1", Change(0, 8, {1}), -12},
                       {"byte count 4", Change(0, 8, {4}), -12},
                       {"byte count 255", Change(0, 8, {255}), -12},
                       {"two registers", Instead(0, 0, {4, 0, 0, 0, 0}), -12},
                       {"length 0", Change(0, 4, {0, 0}), -12},
                       {"length 1", Change(0, 4, {0, 1}), -12},
                       {"length 2", Change(0, 4, {0, 2}), -12},
                       {"length 4", Change(0, 4, {0, 4}), -12},
                       {"length 6", Change(0, 4, {0, 6}), -12, true},
                       {"length 254", Change(0, 4, {0, 254}), -12, true},
                       {"length 255", Change(0, 4, {0, 255}), -12, true},
                       {"length 65535", Change(0, 4, {255, 255}), -12, true},
                       {"1 byte", Only(1), -10, true},
                       {"8 bytes", Only(8), -10, true},
                       {"9 bytes", Only(9), -12, true},
                       {"10 bytes", Only(10), -12, true},
                       {"a byte too many", Only(12), 0},
                       {"the reply twice", Order({0, 0}), 0},
                   });
}

TEST_F(WrongReplies, ThatRefuseACommand)
{
    Expect(Move(), {
                       {"result", Change(0, 9, {0x12, 0x34}), 0x1234},
                       {"result -1", Change(0, 9, {0xFF, 0xFF}), -1},
                       {"exception", Exception(0, {3, 0x12, 0x34}), 0x1234},
                       {"negative exception", Exception(0, {3, 0xFF, 0x00}), -256},
                       {"plain exception", Exception(0, {3}), -12},
                       {"exception 2", Exception(0, {2, 0x12, 0x34}), -12},
                       {"long exception", Exception(0, {3, 0, 1, 0}), -12},
                       {"a read's exception", Instead(0, 23 ^ 0x83, {3, 0, 1}), -12},
                   });
}

TEST_F(WrongReplies, ToAReadOfManyRegisters)
{
    Expect(SpeedGet(), {
                           {"byte count", Change(0, 8, {20}), -12},
                           {"a register less", Instead(0, 0, Bytes(21, 20)), -12},
                           {"a register more", Instead(0, 0, Bytes(25, 24)), -12},
                           {"a command's reply", Change(0, 7, {23}), -12},
                           {"length one more", Change(0, 4, {0, 26}), -12, true},
                           {"cut by a register", Only(29), -12, true},
                           {"exception", Exception(0, {3, 0, 7}), -12},
                           {"write's echo", Instead(0, 3 ^ 16, {0, 25, 0, 11}), -12},
                       });
}

TEST_F(WrongReplies, InABatchOfReads)
{
    Expect(Servo(), {
                        {"first missing", Order({1}), -12},
                        {"second missing", Order({0}), -12, true},
                        {"first twice", Order({0, 0}), -12},
                        {"first twice, then the second", Order({0, 0, 1}), -12},
                        {"both twice", Order({0, 1, 0, 1}), 0},
                        {"swapped", Order({1, 0}), -12},
                        {"second id", Change(1, 0, {0xA5}), -12},
                        {"second protocol", Change(1, 2, {1}), -12},
                        {"second unit", Change(1, 6, {0}), -12},
                        {"second function", Change(1, 7, {23}), -12},
                        {"second byte count", Change(1, 8, {34}), -12},
                        {"second length 0", Change(1, 4, {0, 0}), -12},
                        {"second length 254", Change(1, 4, {0, 254}), -12, true},
                        {"second length 65535", Change(1, 4, {255, 255}), -12, true},
                        {"first length into the second", Change(0, 4, {0, 12}), -12},
                        {"second cut", Only(55), -12, true},
                        {"second's header cut", Only(15), -12, true},
                    });
    Expect(All(), {
                      {"exception in the middle", Exception(5, {3, 0, 9}), -12},
                      {"plain exception in the middle", Exception(5, {2}), -12},
                      {"middle missing", Order({0, 1, 2, 3, 4, 6, 7, 8, 9, 10}), -12},
                      {"middle twice", Order({0, 1, 2, 3, 4, 5, 5, 6, 7, 8, 9, 10}), -12},
                      {"middle swapped", Order({0, 1, 2, 3, 5, 4, 6, 7, 8, 9, 10}), -12},
                      {"last missing", Order({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}), -12, true},
                  });
}

TEST_F(WrongReplies, InACommandOfManyFrames)
{
    // Once a frame has succeeded, what is missing behind it counts as success.
    Expect(Speeds(), {
                         {"first missing", Order({1, 2, 3}), -12},
                         {"last missing", Order({0, 1, 2}), 0, true},
                         {"all but the first missing", Order({0}), 0, true},
                         {"second twice", Order({0, 1, 1, 2, 3}), 0},
                         {"swapped in the middle", Order({0, 2, 1, 3}), 0},
                         {"last first", Order({3, 0, 1, 2}), -12},
                         {"second length 0", Change(1, 4, {0, 0}), 0},
                         {"second length 65535", Change(1, 4, {255, 255}), 0, true},
                         {"second byte count", Change(1, 8, {3}), -12},
                         {"second function", Change(1, 7, {3}), -12},
                         {"second fails", Change(1, 9, {0, 5}), 5},
                         {"last fails", Change(3, 9, {0xFF, 0xFE}), -2},
                         {"exception in the middle", Exception(2, {3, 0, 9}), 9},
                         {"plain exception in the middle", Exception(2, {3}), 0},
                     });
}

TEST_F(WrongReplies, OfAnEarlierCall)
{
    // The stray frame ends the first call; its own reply then waits in the socket for the next.
    controller_.Then([&](const Request& request) {
        Bytes bytes = StrayReply(request).bytes;
        const Bytes late = controller_.ProperReply(request);
        bytes.insert(bytes.end(), late.begin(), late.end());
        return Answer{bytes};
    });
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -12);
    ExpectHealed();

    // One that comes after the next call was sent cannot be told from a wrong one.
    controller_.Then([&](const Request& request) {
        RequestFrame earlier = request.front();
        --earlier.id;
        Bytes bytes = controller_.ProperReply(earlier);
        const Bytes own = controller_.ProperReply(request);
        bytes.insert(bytes.end(), own.begin(), own.end());
        return Answer{bytes};
    });
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 0, 1.0), -12);
    ExpectHealed();
}

} // namespace

} // namespace zelq::test
