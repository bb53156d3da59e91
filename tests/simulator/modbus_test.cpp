// The protocol in bytes: answers, exceptions, frames in pieces, and bytes that are no frames.

#include "core/controller.h"
#include "modbus_frames.h"
#include "server/modbus.h"

#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <span>
#include <string>

namespace lumosim {
namespace {

using test::Bytes;
using test::CommandFrame;
using test::Frame;
using test::Joined;
using test::ReadFrame;
using test::RegistersFrame;

struct ExchangeCase
{
    const char* name;
    Bytes request;
    Bytes answer;
};

class Exchange : public testing::TestWithParam<ExchangeCase>
{};

TEST_P(Exchange, IsAnsweredAsItShould)
{
    Controller controller{ControllerConfig()};
    ModbusSession session(controller);
    Bytes answer;
    EXPECT_TRUE(session.Receive(GetParam().request, answer));
    EXPECT_EQ(answer, GetParam().answer);
}

INSTANTIATE_TEST_SUITE_P(
    Read, Exchange,
    testing::Values(ExchangeCase{"one", ReadFrame(7, 0x38, 2), RegistersFrame(7, 3, {1, 0})},
                    ExchangeCase{"none", ReadFrame(7, 0x38, 0), Frame(7, {0x83, 3})},
                    ExchangeCase{"tooMany", ReadFrame(7, 0x38, 126), Frame(7, {0x83, 3})},
                    ExchangeCase{"nowhere", ReadFrame(7, 0x2000, 1), Frame(7, {0x83, 2})},
                    ExchangeCase{"tooShort", Frame(7, {3, 0, 0x38, 0}), Frame(7, {0x83, 3})},
                    ExchangeCase{"tooLong", Frame(7, {3, 0, 0x38, 0, 2, 0}), Frame(7, {0x83, 3})},
                    ExchangeCase{"otherFunction", Frame(7, {4, 0, 0, 0, 1}), Frame(7, {0x84, 1})},
                    ExchangeCase{"otherUnit",
                                 {0, 7, 0, 0, 0, 6, 9, 3, 0, 0x38, 0, 2},
                                 {0, 7, 0, 0, 0, 3, 9, 0x83, 11}}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Command, Exchange,
    testing::Values(
        ExchangeCase{"done", CommandFrame(9, {0x0101, 1, 1, 0, 1, 5000}),
                     RegistersFrame(9, 23, {0})},
        ExchangeCase{"refused", CommandFrame(9, {0x0101, 0x10, 1, 0, 0}),
                     RegistersFrame(9, 23, {4})},
        ExchangeCase{"moreReadThanReplied", CommandFrame(9, {0x0101, 0x10, 1, 0, 0}, 3),
                     RegistersFrame(9, 23, {4, 0, 0})},
        ExchangeCase{"cannotBeRun", CommandFrame(9, {0x0101, 0x7777}), Frame(9, {0x97, 3, 0, 1})},
        ExchangeCase{"outOfSequence", CommandFrame(9, {0x0202, 0}), RegistersFrame(9, 23, {10})},
        ExchangeCase{"nothingRead", CommandFrame(9, {0x0101, 0, 1, 0}, 0), Frame(9, {0x97, 3})},
        ExchangeCase{"tooMuchRead", CommandFrame(9, {0x0101, 0, 1, 0}, 126), Frame(9, {0x97, 3})},
        ExchangeCase{"nothingWritten", CommandFrame(9, {}), Frame(9, {0x97, 3})},
        ExchangeCase{"writtenElsewhere", Frame(9, {23, 0xF0, 0, 0, 1, 0, 1, 0, 1, 2, 1, 1}),
                     Frame(9, {0x97, 2})},
        ExchangeCase{"byteCountWrong", Frame(9, {23, 0xF0, 0, 0, 1, 0, 0, 0, 1, 3, 1, 1}),
                     Frame(9, {0x97, 3})},
        ExchangeCase{"registersMissing", Frame(9, {23, 0xF0, 0, 0, 1, 0, 0, 0, 2, 4, 1, 1}),
                     Frame(9, {0x97, 3})},
        ExchangeCase{"write", Frame(9, {16, 0, 0, 0, 4, 8, 1, 1, 0, 0, 0, 1, 0, 0}),
                     Frame(9, {16, 0, 0, 0, 4})},
        ExchangeCase{"writeRefused", Frame(9, {16, 0, 0, 0, 2, 4, 1, 1, 0x77, 0x77}),
                     Frame(9, {0x90, 3})},
        ExchangeCase{"writeElsewhere", Frame(9, {16, 0, 9, 0, 1, 2, 1, 1}), Frame(9, {0x90, 2})},
        ExchangeCase{"writeCountWrong", Frame(9, {16, 0, 0, 0, 1, 4, 1, 1, 0, 0}),
                     Frame(9, {0x90, 3})},
        ExchangeCase{
            "resultBehindWrite",
            Joined({Frame(1, {16, 0, 0, 0, 2, 4, 1, 1, 0x77, 0x77}), ReadFrame(2, 0xF000, 1)}),
            Joined({Frame(1, {0x90, 3}), RegistersFrame(2, 3, {1})})}),
    [](const auto& row) { return std::string(row.param.name); });

// Several frames, answered as one and as any two pieces and byte by byte.
TEST(ModbusSession, FramesMayComeInAnyPieces)
{
    const Bytes requests = Joined({ReadFrame(1, 0xF414, 3), CommandFrame(2, {0x0201, 1, 2, 0}),
                                   CommandFrame(3, {0x0202, 1, 1, 5000}), ReadFrame(4, 0x19, 11)});
    const Bytes expected = Joined(
        {RegistersFrame(1, 3, {3, 0, 0}), RegistersFrame(2, 23, {0}), RegistersFrame(3, 23, {0}),
         RegistersFrame(4, 3, {0, 100, 0, 0x86A0, 1, 10'000, 0, 0x86A0, 1, 100, 0})});
    const auto receive = [&requests](std::initializer_list<std::size_t> cuts) {
        Controller controller{ControllerConfig()};
        ModbusSession session(controller);
        Bytes answers;
        std::size_t begin = 0;
        for (const std::size_t end : cuts) {
            EXPECT_TRUE(session.Receive(std::span(requests).subspan(begin, end - begin), answers));
            begin = end;
        }
        return answers;
    };
    for (std::size_t cut = 0; cut <= requests.size(); ++cut) {
        EXPECT_EQ(receive({cut, requests.size()}), expected) << "cut at " << cut;
    }

    Controller controller{ControllerConfig()};
    ModbusSession session(controller);
    Bytes answers;
    for (const std::uint8_t byte : requests) {
        ASSERT_TRUE(session.Receive({&byte, 1}, answers));
    }
    EXPECT_EQ(answers, expected);
}

TEST(ModbusSession, GarbageEndsTheStreamBehindTheAnswersSoFar)
{
    const Bytes good = ReadFrame(1, 0x38, 2);
    for (const Bytes& garbage :
         {Bytes{0, 1, 0, 1, 0, 6}, Bytes{0, 1, 0, 0, 0, 0}, Bytes{0, 1, 0, 0, 0, 1},
          Bytes{0, 1, 0, 0, 0, 255}, Bytes{0, 1, 0, 0, 0xFF, 0xFF}}) {
        Controller controller{ControllerConfig()};
        ModbusSession session(controller);
        Bytes answers;
        EXPECT_FALSE(session.Receive(Joined({good, garbage}), answers));
        EXPECT_EQ(answers, RegistersFrame(1, 3, {1, 0}));
    }
}

// Frames with one or several bytes changed at random: always an answer or the end, never a crash.
TEST(ModbusSession, SurvivesRandomBytes)
{
    std::mt19937 random(20240611);
    const auto upTo = [&random](std::size_t limit) { return random() % limit; };
    Controller controller{ControllerConfig()};
    std::optional<ModbusSession> session(std::in_place, controller);
    std::size_t answered = 0;
    for (int i = 0; i < 20'000; ++i) {
        Bytes request =
            CommandFrame(1, {0x0101, static_cast<unsigned>(upTo(0x20)), 2,
                             static_cast<unsigned>(upTo(5)), 1, 0, 2, 0, 0, 0, 1, 2, 3});
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
        controller.Advance(std::chrono::milliseconds(1));
    }
    EXPECT_GT(answered, 10'000U);
}

} // namespace
} // namespace lumosim
