// Commands as they come in: frames joined by their marks, checks, results, what they change.

#include "core/command_channel.h"
#include "core/controller.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace lumosim {
namespace {

using Words = std::vector<Word>;

ControllerConfig Mixed()
{
    ControllerConfig config;
    config.axes = 3;
    config.slaves = {{30, SlaveType::kInput, {}}};
    return config;
}

TEST(CommandReader, RemembersReadingPastTheEnd)
{
    const Words words = {1, 0xFFFF, 0xFFFF};
    CommandReader reader(words);
    EXPECT_EQ(reader.NextWord(), 1);
    EXPECT_FALSE(reader.Finished()) << "there is more";
    EXPECT_EQ(reader.NextLong(), -1);
    EXPECT_TRUE(reader.Finished());
    EXPECT_EQ(reader.NextLong(), 0);
    EXPECT_FALSE(reader.Finished());
}

TEST(Reply, IsBoundedByItsRegisters)
{
    Reply reply;
    for (int i = 0; i < 2000; ++i) {
        reply.AddLong(i);
    }
    EXPECT_EQ(reply.Words().size(), Reply::kCapacity);
}

TEST(CommandTable, RefusesACodeTwice)
{
    CommandTable table;
    const auto handler = [](CommandReader&, Reply&) { return Result::kDone; };
    table.Add(7, "one", handler);
    EXPECT_THROW(table.Add(7, "other", handler), std::logic_error);
    EXPECT_EQ(table.Find(8), nullptr);
}

// The speed profiles of three axes over two frames, cut at any place behind the head.
Words ProfileCommand()
{
    Words command = {2, 3};
    for (Word axis = 0; axis < 3; ++axis) {
        for (const Word word :
             Words{axis, 0, 10, 0, 20, 0, static_cast<Word>(30 + axis), 0, 40, 0, 50, 0}) {
            command.push_back(word);
        }
    }
    return command;
}

TEST(CommandChannel, JoinsTheFramesOfACommand)
{
    const Words command = ProfileCommand();
    for (std::size_t cut = 0; cut <= command.size(); ++cut) {
        Controller controller(Mixed());
        CommandChannel channel(controller);
        Words first = {0x0201};
        first.insert(first.end(), command.begin(),
                     command.begin() + static_cast<std::ptrdiff_t>(cut));
        Words second = {0x0202};
        second.insert(second.end(), command.begin() + static_cast<std::ptrdiff_t>(cut),
                      command.end());

        EXPECT_EQ(channel.Write(first), Result::kDone);
        EXPECT_NE(controller.AxisAt(2).Profile().drive, 32) << "not before the last frame";
        EXPECT_EQ(channel.Write(second), Result::kDone);
        EXPECT_EQ(controller.AxisAt(2).Profile().drive, 32);
    }
}

struct SequenceCase
{
    const char* name;
    std::vector<Words> frames;
    Result last;
};

class FrameSequence : public testing::TestWithParam<SequenceCase>
{};

TEST_P(FrameSequence, IsJudgedByItsMarks)
{
    Controller controller(Mixed());
    CommandChannel channel(controller);
    Result result = Result::kDone;
    for (const Words& frame : GetParam().frames) {
        result = channel.Write(frame);
    }
    EXPECT_EQ(result, GetParam().last);
    EXPECT_EQ(channel.Write(Words{0x0101, 1, 1, 0, 1, 5000}), Result::kDone) << "it goes on";
}

INSTANTIATE_TEST_SUITE_P(
    Marks, FrameSequence,
    testing::Values(
        SequenceCase{"noRegisters", {{}}, Result::kMalformed},
        SequenceCase{"noCode", {{0x0101}}, Result::kMalformed},
        SequenceCase{"noFrames", {{0x0001, 0, 1, 0}}, Result::kFrameSequence},
        SequenceCase{"frameZero", {{0x0100, 0, 1, 0}}, Result::kFrameSequence},
        SequenceCase{"beyondTheLast", {{0x0102, 0, 1, 0}}, Result::kFrameSequence},
        SequenceCase{"withoutTheFirst", {{0x0202, 0}}, Result::kFrameSequence},
        SequenceCase{"skipped", {{0x0301, 0, 1}, {0x0303, 0}}, Result::kFrameSequence},
        SequenceCase{"otherCount", {{0x0301, 0, 1}, {0x0202, 0}}, Result::kFrameSequence},
        SequenceCase{
            "lastOneTwice", {{0x0201, 0, 1}, {0x0202, 0}, {0x0202, 0}}, Result::kFrameSequence},
        SequenceCase{"begunAnew", {{0x0201, 0, 1}, {0x0201, 0, 1}, {0x0202, 0}}, Result::kDone},
        SequenceCase{"unknownInPieces", {{0x0201, 0x7777}, {0x0202}}, Result::kUnknownCommand}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(CommandChannel, TwoConnectionsDoNotMixTheirFrames)
{
    Controller controller(Mixed());
    CommandChannel one(controller);
    CommandChannel other(controller);
    EXPECT_EQ(one.Write(Words{0x0201, 0, 1}), Result::kDone);
    EXPECT_EQ(other.Write(Words{0x0101, 0x7777}), Result::kUnknownCommand);
    EXPECT_EQ(one.Write(Words{0x0202, 0}), Result::kDone);
    Word result = 99;
    ASSERT_TRUE(other.Read(0xF000, {&result, 1}));
    EXPECT_EQ(result, static_cast<Word>(Result::kUnknownCommand));
}

struct CommandCase
{
    const char* name;
    Words block;
    Result result;
};

class AxisCommand : public testing::TestWithParam<CommandCase>
{};

// Axis 0 has its servo on, axis 1 an alarm, axis 2 its servo off.
TEST_P(AxisCommand, GivesItsResultAndARefusedOneMovesNothing)
{
    Controller controller(Mixed());
    controller.AxisAt(0).SwitchServo(true);
    controller.AxisAt(1).RaiseAlarm({16, 0});
    Reply reply;
    EXPECT_EQ(controller.Run(GetParam().block, reply), GetParam().result);
    if (GetParam().result != Result::kDone) {
        EXPECT_FALSE(controller.AxisAt(0).Moving());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Results, AxisCommand,
    testing::Values(
        CommandCase{"reset", {0, 2, 0, 1}, Result::kDone},
        CommandCase{"resetNothing", {0, 0}, Result::kMalformed},
        CommandCase{"resetTooShort", {0, 2, 0}, Result::kMalformed},
        CommandCase{"resetTooLong", {0, 1, 0, 1}, Result::kMalformed},
        CommandCase{"resetTwice", {0, 2, 0, 0}, Result::kAxisTwice},
        CommandCase{"resetInputSlave", {0, 1, 30}, Result::kNoServo},
        CommandCase{"resetNoStation", {0, 1, 0xFFFF}, Result::kNoServo},
        CommandCase{"on", {1, 1, 2, 1, 5000}, Result::kDone},
        CommandCase{"onInAlarm", {1, 2, 2, 1, 1, 5000}, Result::kAlarm},
        CommandCase{"onOutOfRange", {1, 1, 2, 2, 5000}, Result::kOutOfRange},
        CommandCase{"onTooShort", {1, 1, 2, 1}, Result::kMalformed},
        CommandCase{"onTooMany", {1, 33, 2, 1}, Result::kMalformed},
        CommandCase{"profileBad", {2, 1, 0, 2, 0, 0, 1, 0, 1, 0, 1, 0, 0, 0}, Result::kOutOfRange},
        CommandCase{"accBad", {3, 1, 0, 0xFFFF, 0xFFFF}, Result::kOutOfRange},
        CommandCase{"jog", {0x10, 1, 1, 0}, Result::kDone},
        CommandCase{"jogOutOfRange", {0x10, 1, 2, 0}, Result::kOutOfRange},
        CommandCase{"jogOff", {0x10, 2, 0, 0, 2}, Result::kServoOff},
        CommandCase{"moveInAlarm", {0x11, 2, 0, 10, 0, 1, 10, 0}, Result::kAlarm},
        CommandCase{"move", {0x11, 1, 0, 10, 0}, Result::kDone},
        CommandCase{"moveHalf", {0x11, 1, 0, 10}, Result::kMalformed},
        CommandCase{"moveTwice", {0x12, 2, 0, 10, 0, 0, 10, 0}, Result::kAxisTwice},
        CommandCase{"unknown", {0x7777}, Result::kUnknownCommand}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(Commands, DriveAxes)
{
    Controller controller(Mixed());
    EXPECT_EQ(controller.Execute({1, 2, 0, 2, 1, 5000}), Result::kDone);
    EXPECT_EQ(controller.Execute({3, 2, 0, 0x86A0, 1, 2, 0x86A0, 1}), Result::kDone);
    EXPECT_EQ(controller.Execute({4, 1, 0, 50'000, 0}), Result::kDone);
    EXPECT_EQ(controller.AxisAt(0).Profile().acc, 100'000);
    EXPECT_EQ(controller.AxisAt(0).Profile().dec, 50'000);

    EXPECT_EQ(controller.Execute({0x11, 2, 0, 0xFC18, 0xFFFF, 2, 500, 0}), Result::kDone);
    controller.Advance(std::chrono::seconds(5));
    EXPECT_EQ(controller.AxisAt(0).CommandPosition(), -1000);
    EXPECT_EQ(controller.AxisAt(2).CommandPosition(), 500);

    EXPECT_EQ(controller.Execute({0x12, 1, 2, 0xFFFE, 0xFFFF}), Result::kDone);
    EXPECT_EQ(controller.Execute({0x10, 1, 1, 0}), Result::kDone);
    controller.Advance(std::chrono::seconds(5));
    EXPECT_EQ(controller.AxisAt(2).CommandPosition(), 498);
    EXPECT_EQ(controller.AxisAt(0).Velocity(), -10'000);

    EXPECT_EQ(controller.Execute({0, 1, 0}), Result::kDone);
    EXPECT_FALSE(controller.AxisAt(0).Moving());
    EXPECT_EQ(controller.Execute({0x10, 1, 0, 0}), Result::kServoOff);
}

TEST(Commands, AreShownToTheLog)
{
    Controller controller(Mixed());
    std::string log;
    controller.SetCommandLog([&log](const CommandRecord& record) {
        log += std::string(record.name) + " " + std::to_string(record.fields.size()) + " " +
               std::to_string(static_cast<int>(record.result)) + "\n";
    });
    controller.Execute({0x10, 1, 0, 0});
    controller.Execute({0x7777});
    EXPECT_EQ(log, "jog 3 4\nunknown 0 1\n");
}

} // namespace
} // namespace lumosim
