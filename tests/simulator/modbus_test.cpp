// The protocol in bytes: answers, exceptions, frames in pieces, and bytes that are no frames.

#include "core/controller.h"
#include "modbus_frames.h"
#include "server/modbus.h"

#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <span>

namespace lumosim {
namespace {

using test::Bytes;
using test::CommandFrame;
using test::Frame;
using test::Joined;

TEST(ModbusSession, ACommandWhoseAnswerCannotBeGivenIsNotRun)
{
    Controller controller{ControllerConfig()};
    ModbusSession session(controller);
    Bytes answer;
    EXPECT_TRUE(session.Receive(Frame("17 2000 0001 0000 0003 06 0101 01A0 0003"), answer));
    EXPECT_EQ(answer, Frame("97 02"));
    EXPECT_EQ(controller.MainOutputs(), 0);
}

TEST(ModbusSession, AnswersAsItShould)
{
    struct Exchange
    {
        const char* name;
        const char* request;
        const char* answer;
    };
    // clang-format off
    for (const Exchange& exchange : {
        Exchange{"one", "03 0038 0002", "03 04 0001 0000"},
        Exchange{"none", "03 0038 0000", "83 03"},
        Exchange{"too many", "03 0038 007E", "83 03"},
        Exchange{"nowhere", "03 2000 0001", "83 02"},
        Exchange{"too short", "03 0038 00", "83 03"},
        Exchange{"too long", "03 0038 0002 00", "83 03"},
        Exchange{"other function", "04 0000 0001", "84 01"},
        Exchange{"done", "17 F000 0001 0000 0006 0C 0101 0001 0001 0000 0001 1388", "17 02 0000"},
        Exchange{"refused", "17 F000 0001 0000 0005 0A 0101 0010 0001 0000 0000", "17 02 0004"},
        Exchange{"more read than replied", "17 F000 0003 0000 0005 0A 0101 0010 0001 0000 0000", "17 06 0004 0000 0000"},
        Exchange{"cannot be run", "17 F000 0001 0000 0002 04 0101 7777", "97 03 0001"},
        Exchange{"out of sequence", "17 F000 0001 0000 0002 04 0202 0000", "17 02 000A"},
        Exchange{"nothing read", "17 F000 0000 0000 0004 08 0101 0000 0001 0000", "97 03"},
        Exchange{"too much read", "17 F000 007E 0000 0004 08 0101 0000 0001 0000", "97 03"},
        Exchange{"nothing written", "17 F000 0001 0000 0000 00", "97 03"},
        Exchange{"written elsewhere", "17 F000 0001 0001 0001 02 0101", "97 02"},
        Exchange{"byte count wrong", "17 F000 0001 0000 0001 03 0101", "97 03"},
        Exchange{"registers missing", "17 F000 0001 0000 0002 04 0101", "97 03"},
        Exchange{"write", "10 0000 0004 08 0101 0000 0001 0000", "10 0000 0004"},
        Exchange{"write refused", "10 0000 0002 04 0101 7777", "90 03"},
        Exchange{"write elsewhere", "10 0009 0001 02 0101", "90 02"},
        Exchange{"write count wrong", "10 0000 0001 04 0101 0000", "90 03"},
    }) {
        // clang-format on
        SCOPED_TRACE(exchange.name);
        Controller controller{ControllerConfig()};
        ModbusSession session(controller);
        Bytes answer;
        EXPECT_TRUE(session.Receive(Frame(exchange.request), answer));
        EXPECT_EQ(answer, Frame(exchange.answer));
    }
    // Another unit; the result register behind a write.
    Controller controller{ControllerConfig()};
    ModbusSession session(controller);
    Bytes answers;
    EXPECT_TRUE(session.Receive(Joined({Frame("03 0038 0002", 1, 9),
                                        Frame("10 0000 0002 04 0101 7777"), Frame("03 F000 0001")}),
                                answers));
    EXPECT_EQ(answers, Joined({Frame("83 0B", 1, 9), Frame("90 03"), Frame("03 02 0001")}));
}

// Several frames, answered as one and as any two pieces and byte by byte.
TEST(ModbusSession, FramesMayComeInAnyPieces)
{
    const Bytes requests =
        Joined({Frame("03 F414 0003", 1), CommandFrame("0201 0001 0002 0000", 2),
                CommandFrame("0202 0001 0001 1388", 3), Frame("03 0019 000B", 4)});
    const Bytes expected =
        Joined({Frame("03 06 0003 0000 0000", 1), Frame("17 02 0000", 2), Frame("17 02 0000", 3),
                Frame("03 16 0000 0064 0000 86A0 0001 2710 0000 86A0 0001 0064 0000", 4)});
    const auto receive = [&](std::size_t pieceSize, std::size_t firstSize) {
        Controller controller{ControllerConfig()};
        ModbusSession session(controller);
        Bytes answers;
        std::span<const std::uint8_t> rest(requests);
        for (std::size_t size = firstSize; !rest.empty(); size = pieceSize) {
            const std::span piece = rest.first(std::min(size, rest.size()));
            EXPECT_TRUE(session.Receive(piece, answers));
            rest = rest.subspan(piece.size());
        }
        return answers;
    };
    EXPECT_EQ(receive(1, 1), expected);
    for (std::size_t cut = 0; cut <= requests.size(); ++cut) {
        EXPECT_EQ(receive(requests.size(), cut), expected) << "cut at " << cut;
    }
}

TEST(ModbusSession, GarbageEndsTheStreamBehindTheAnswersSoFar)
{
    for (const char* garbage : {"0001 0001 0006", "0001 0000 0000", "0001 0000 0001",
                                "0001 0000 00FF", "0001 0000 FFFF"}) {
        Controller controller{ControllerConfig()};
        ModbusSession session(controller);
        Bytes answers;
        EXPECT_FALSE(session.Receive(Joined({Frame("03 0038 0002"), test::Hex(garbage)}), answers));
        EXPECT_EQ(answers, Frame("03 04 0001 0000"));
    }
}

// Frames with one or several bytes changed at random: always an answer or the end, never a crash.
TEST(ModbusSession, SurvivesRandomBytes)
{
    std::mt19937 random(20240611);
    const auto upTo = [&random](std::size_t limit) { return random() % limit; };
    const Bytes command =
        CommandFrame("0101 0000 0002 0000 0001 0000 0002 0000 0000 0000 0001 0002 0003");
    Controller controller{ControllerConfig()};
    std::optional<ModbusSession> session(std::in_place, controller);
    std::size_t answered = 0;
    for (int i = 0; i < 20'000; ++i) {
        Bytes request = command;
        request[20] = static_cast<std::uint8_t>(upTo(0x20)); // the command's code
        request[24] = static_cast<std::uint8_t>(upTo(5));
        const std::size_t changes = upTo(4);
        for (std::size_t change = 0; change < changes; ++change) {
            request[upTo(request.size())] = static_cast<std::uint8_t>(upTo(256));
        }
        Bytes answers;
        if (session->Receive(request, answers)) {
            if (!answers.empty()) ++answered;
        } else {
            session.emplace(controller);
        }
        ASSERT_LE(answers.size(), std::size_t{5} * 260);
        if (i % 8 == 0) controller.Advance(std::chrono::milliseconds(1));
    }
    EXPECT_GT(answered, 10'000U);
}

} // namespace
} // namespace lumosim
