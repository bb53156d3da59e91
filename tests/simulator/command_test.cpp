// Commands as they come in: frames joined by their marks, what is refused, and the log.

#include "core/command_channel.h"
#include "core/command_page.h"
#include "core/controller.h"

#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <span>
#include <sstream>
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

TEST(Commands, AreReadAndAnsweredWithinTheirBoundsAndHaveOneCodeEach)
{
    const Words words = {1, 0xFFFF, 0xFFFF};
    CommandReader reader(words);
    EXPECT_EQ(reader.NextWord(), 1);
    EXPECT_FALSE(reader.Finished()) << "there is more";
    EXPECT_EQ(reader.NextLong(), -1);
    EXPECT_TRUE(reader.Finished());
    EXPECT_EQ(reader.NextLong(), 0);
    EXPECT_FALSE(reader.Finished());

    Reply reply;
    for (int i = 0; i < 2000; ++i) {
        reply.AddLong(i);
    }
    EXPECT_EQ(reply.Words().size(), Reply::kCapacity) << "bounded by its registers";

    Controller controller(Mixed());
    CommandTable table(controller);
    const auto done = [](const NoFields&) {};
    table.Add(7, "one", {}, done);
    EXPECT_THROW(table.Add(7, "other", {}, done), std::logic_error);
    EXPECT_EQ(table.Find(8), nullptr);
}

// The speed profiles of three axes over two frames, cut at any place behind the head.
TEST(CommandChannel, JoinsTheFramesOfACommand)
{
    Words command = {2, 3};
    for (Word axis = 0; axis < 3; ++axis) {
        const Words speeds = {axis, 0, 10, 0, 20, 0, static_cast<Word>(30 + axis), 0, 40, 0, 50, 0};
        command.insert(command.end(), speeds.begin(), speeds.end());
    }
    for (auto cut = command.begin(); cut <= command.end(); ++cut) {
        Controller controller(Mixed());
        CommandChannel channel(controller);
        Words first = {0x0201};
        Words second = {0x0202};
        first.insert(first.end(), command.begin(), cut);
        second.insert(second.end(), cut, command.end());
        EXPECT_EQ(channel.Write(first), Result::kDone);
        EXPECT_NE(controller.AxisAt(2).Profile().drive, 32) << "not before the last frame";
        EXPECT_EQ(channel.Write(second), Result::kDone);
        EXPECT_EQ(controller.AxisAt(2).Profile().drive, 32);
    }
}

TEST(CommandChannel, JudgesFramesByTheirMarks)
{
    struct SequenceCase
    {
        const char* name;
        std::vector<Words> frames;
        Result last;
    };
    const SequenceCase cases[] = {
        {"noRegisters", {{}}, Result::kMalformed},
        {"noCode", {{0x0101}}, Result::kMalformed},
        {"noFrames", {{0x0001, 0, 1, 0}}, Result::kFrameSequence},
        {"frameZero", {{0x0100, 0, 1, 0}}, Result::kFrameSequence},
        {"beyondTheLast", {{0x0102, 0, 1, 0}}, Result::kFrameSequence},
        {"withoutTheFirst", {{0x0202, 0}}, Result::kFrameSequence},
        {"skipped", {{0x0301, 0, 1}, {0x0303, 0}}, Result::kFrameSequence},
        {"otherCount", {{0x0301, 0, 1}, {0x0202, 0}}, Result::kFrameSequence},
        {"lastOneTwice", {{0x0201, 0, 1}, {0x0202, 0}, {0x0202, 0}}, Result::kFrameSequence},
        {"begunAnew", {{0x0201, 0, 1}, {0x0201, 0, 1}, {0x0202, 0}}, Result::kDone},
        {"unknownInPieces", {{0x0201, 0x7777}, {0x0202}}, Result::kUnknownCommand}};
    for (const SequenceCase& sequence : cases) {
        SCOPED_TRACE(sequence.name);
        Controller controller(Mixed());
        CommandChannel channel(controller);
        Result result = Result::kDone;
        for (const Words& frame : sequence.frames) {
            result = channel.Write(frame);
        }
        EXPECT_EQ(result, sequence.last);
        EXPECT_EQ(channel.Write(Words{0x0101, 1, 1, 0, 1, 5000}), Result::kDone) << "it goes on";
    }
}

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

// Servo 0 is on, servo 1 in alarm, servo 2 off; 4 and 31 are output slaves, 30 is an input slave.
class RefusedCommands : public testing::Test
{
  protected:
    static ControllerConfig Config()
    {
        ControllerConfig config = Mixed();
        config.slaves.push_back({4, SlaveType::kOutput, {}});
        config.slaves.push_back({31, SlaveType::kOutput, {}});
        return config;
    }

    RefusedCommands()
    {
        controller_.Execute({1, 1, 0, 1, 0});
        controller_.AxisAt(1).RaiseAlarm({16, 0});
        controller_.Advance(std::chrono::seconds(1));
    }

    // Everything that a host can read.
    Words Registers()
    {
        Words words(0x2000 + 0x100);
        EXPECT_TRUE(controller_.ReadRegisters(0, std::span(words).first(0x2000)));
        EXPECT_TRUE(controller_.ReadRegisters(0xF400, std::span(words).subspan(0x2000)));
        return words;
    }

    // Lines of a result and the commands that are answered so: hexadecimal words, a bar between.
    void ExpectRefused(const std::string& text)
    {
        const Words before = Registers();
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const int result = std::stoi(line);
            std::istringstream blocks(line.substr(line.find(':') + 1));
            for (std::string block; std::getline(blocks, block, '|');) {
                std::istringstream fields(block);
                Words words;
                for (unsigned word = 0; fields >> std::hex >> word;) {
                    words.push_back(static_cast<Word>(word));
                }
                Reply reply;
                EXPECT_EQ(static_cast<int>(controller_.Run(words, reply)), result) << block;
            }
        }
        controller_.Advance(std::chrono::seconds(1));
        EXPECT_EQ(Registers(), before) << "a refused command changes nothing";
    }

    Controller controller_{Config()};
};

TEST_F(RefusedCommands, ChangeNothing)
{
    ExpectRefused(
        "1: 7777\n"
        // servos, moves, stops
        "2: 0 0 | 0 2 0 | 0 1 0 1 | 1 1 2 1 | 1 21 2 1 | 11 1 0 A | 13 0 0 0 0 2 0 1 | 14 0\n"
        "2: 30 1 0 64 | 2000 1 0 0 0 1 | 50 0 1 0 5 | 41 5\n"
        "3: 0 1 1E | 0 1 FFFF | 13 0 0 0 0 1 6 | 40 1 1 6\n"
        "4: 10 2 0 0 2 | 30 1 2 64 0\n"
        "5: 1 2 2 1 1 1388 | 11 2 0 A 0 1 A 0\n"
        "7: 1 1 2 2 1388 | 10 1 2 0 | 3 1 0 FFFF FFFF | 4 1 0 FFFF FFFF\n"
        "7: 2 1 0 2 0 0 1 0 1 0 1 0 0 0 | 2 1 0 0 FFFF FFFF 1 0 1 0 1 0 0 0\n"
        "7: 2 1 0 0 0 0 1 0 0 0 1 0 0 0 | 2 1 0 0 0 0 1 0 1 0 1 0 FFFF FFFF\n"
        "7: 13 2 0 0 0 1 0 | 13 0 4 0 0 1 0 | 13 0 0 2 0 1 0 | 13 0 0 0 2 1 0\n"
        "7: 30 1 0 1389 0 | 30 1 0 64 FFFF | 40 2 1 0 | 50 2 1 0 | 41 10 0 | 41 5 2\n"
        "11: 41 5 1\n"
        "12: 0 2 0 0 | 12 2 0 A 0 0 A 0 | 14 2 0 0\n"
        // homing: eleven registers are a home-sensor run, twelve a limit run
        "2: 60 0 0 1 0 2 2 0 0 0 0 | 60 0 0 0 0 2 0 0 0 0 | 61 0 0\n"
        "3: 60 6 0 1 0 2 0 0 0 0 | 62 1 3\n"
        "7: 60 0 2 1 0 2 0 0 0 0 | 60 0 0 1 2 2 0 0 0 0 | 60 0 0 1 0 3 0 0 0 0\n"
        "7: 60 0 0 1 0 2 2 0 0 0 | 60 0 0 1 0 2 0 FFFF 0 0 | 60 0 0 3 0 2 2 0 BB9 0 0\n"
        // interpolation
        "2: 70 5 2 0 | 70 5 11 | 72 5 0 0 | 73 5 1 0 | 74 5 1 0 | 1C1 | 1C2 0\n"
        "7: 70 10 0 | 1C1 2\n"
        // list motion
        "2: 101 0 1 0 | 101 0 0 | 101 0 33 | 103 0 1 0\n"
        "3: 100 6 0 0 0 | 102 28 0 0 | 103 1F 1\n"
        "7: 102 0 FFFF FFFF | 103 0 2 | 100 0 2 0 0 | 100 0 0 100 0 | 100 0 0 0 100\n"
        // protection and alarms
        "2: 110 1 0 1 1F4 1F4 0 0 0 | 120 1 0 1 0 0 1 0 | 122 64 0 | 130 0 2 3 1 1\n"
        "3: 110 1 6 1 1F4 1F4 0 0 0 0 | 121 1 5 3 2 | 130 9 2 3 1 1 1\n"
        "7: 110 1 0 1 1F5 1F4 0 0 0 0 | 110 1 0 1 1F4 1F5 0 0 0 0 | 110 1 0 2 1F4 1F4 0 0 0 0\n"
        "7: 120 1 0 3 0 0 1 0 0 | 120 1 0 1 0 0 3 0 0 | 120 1 0 1 0 0 1 1 0\n"
        "7: 121 1 0 4 0 | 121 1 0 3 3 | 122 64 0 2 | 141 1 F 0\n"
        "7: 130 0 3 3 1 1 1 | 130 0 2 4 1 1 1 | 130 0 2 3 2 1 1 | 130 0 2 3 1 21 1\n"
        "7: 130 0 2 3 1 1 0 | 130 0 2 3 1 1 801\n"
        "12: 141 2 0 0 0\n"
        // drives
        "2: 152 0 | 154 1 0 | 155 2 0 0 0 | 1B0 0 1 4 3 3 2 0\n"
        "3: 150 2 2 1 6 1 0 | 155 1 28 0 | 154 1F | 1B0 6 0 1 0 0 0 0 0\n"
        "7: 1B0 0 1 5 3 3 2 0 0 | 1B0 0 1 4 3 3 3 0 0 | 1B0 0 0 1 0 0 0 FFFF FFFF\n"
        "7: 150 2 2 2 0 1 0 2 65 0 | 150 2 2 1 0 FF9B FFFF\n"
        "82: 150 C8 0 1 0 1 0 | 151 2 63 1 0\n"
        "83: 150 5 0 1 0 1 0\n"
        "84: 152 2 2 0\n"
        "85: 155 2 0 0 0 8\n"
        // outputs
        "2: 180 2 1 0 | 180 0 | 190 0 | 190 1 1F 0 | 195 2 | 1A4 | 1A0 0 0 | 1A5 0 1 0\n"
        "3: 180 2 1 0 4 0\n"
        "7: 180 1 1 2 | 181 1 1 100 | 181 1 1 103 | 182 1 1 200 | 191 1 1F 2000 0\n"
        "7: 191 1 1F 2 | 191 1 1F 1 1 | 192 1 1F 20 | 1A0 100 | 1A1 8 1 | 1A1 0 2 | 1A2 8\n"
        "7: 1A3 0 100 | 1A4 100 | 1A6 8 | 1A5 0 3 1 0 | 1A5 8 1 1 0 | 1A5 0 1 0 0\n"
        "100: 190 1 1E 0 0 | 190 1 20 0 0 | 190 2 1F 0 0 0 0 0\n"
        // serial port, memories, settings
        "2: 172 0 | 172 3 1 | 172 2 1 1 | 173 | 170 | 171 1 0 8 | 1003 0 0 | 1003 1 0 0\n"
        "2: 1003 2 0 0 | 1004 0 0 | 1005 0 0 0 0 | 1B1 7F 0 1 | 1001 | 1002 | 1006 0 | 1007 2\n"
        "2: 1007 0 | 1008 0 1 2 3 | 1008 1 1\n"
        "7: 170 2 | 173 7FE | 171 0 0 8 1 0 | 171 1 0 6 1 0 | 171 1 0 8 3 0 | 171 1 0 8 1 3\n"
        "7: 1003 3 0 0 | 1003 2 0 0 7FF | 1B1 7F 0 100 FF 0 0 0 7F 0 0 9\n"
        "7: 1B1 7F 0 1 FF 0 0 0 7F 0 0 100 | 1002 4 | 1006 4 0 | 1006 0 2 | 1007 0 2\n"
        "104: 1003 0 0 100 | 1003 0 2 1 | 1003 1 FFFF F 0 | 1003 2 FFFF FFFF 2\n"
        "105: 1004 0 0 1 | 1004 0 2 0 | 1004 1 0 0 | 1005 0 0 1 0 0\n"
        // sequence programs
        "2: 200 0 0 | 201 0 | 202 0 0 0 | 203 0 1 0 | 203 0 0\n"
        "7: 200 4 | 201 4 0 | 201 0 2 | 202 4 0 0 0 | 202 0 2 0 0 | 202 0 0 3 0 | 202 0 0 0 2\n"
        "7: 203 4 1 | 203 0 4 | 203 0 0 2\n");
}

TEST_F(RefusedCommands, AreNotTakenByAProgramEither)
{
    ASSERT_EQ(controller_.Execute({0x0200, 0}), Result::kDone);
    ExpectRefused("1: 7777\n"
                  "2: 101 2 0 | 230 0 0 | 230 0 2 0 | 230 0 1 0 1 | 231 1 2 0 | 232 0 0 1\n"
                  "2: 232 1 0 1 1 | 232 0 1 1 1 1 | 233 1\n"
                  "3: 230 0 2 0 1E | 232 2 0 1E 0 1\n"
                  "7: 230 2 1 0 | 231 4 1 0 | 231 1 1 10 | 232 0 0 8 1 | 232 0 0 0 2\n"
                  "7: 232 0 1 100 0 0 0 | 232 2 0 0 4 1 | 232 1 0 1E 20 1 | 232 3 0 0 0 0\n"
                  "7: 232 0 2 0 0 0 0\n"
                  "77: 232 1 0 0 0 1 | 232 1 0 28 0 1\n");
}

// What a family of somebody else's is made of: it counts the parts that pass a sensor.
class Counter : public Family
{
    void AddCommands(CommandTable& table) override
    {
        table.Add<OneLong>(0x3000, "count parts", {"parts", &OneLong::value},
                           [this](const OneLong& more) { parts_ += more.value; });
    }
    void Describe(nlohmann::json& snapshot) const override { snapshot["parts"] = parts_; }

    std::int32_t parts_ = 0;
};

TEST(Commands, AreAddedFromOutside)
{
    Controller controller(Mixed());
    controller.AddFamily(std::make_unique<Counter>());
    EXPECT_EQ(controller.Execute({0x3000, 3, 0}), Result::kDone);
    EXPECT_EQ(controller.Execute({0x3000, 0xFFFF, 0xFFFF}), Result::kDone);
    EXPECT_EQ(controller.Execute({0x3000, 3}), Result::kMalformed);
    EXPECT_EQ(controller.Snapshot()["parts"], 2);
}

// Every place that a field can have, as it is told, read and shown.
TEST(CommandLayout, IsWhatReadsShowsAndDocumentsACommand)
{
    struct Fields
    {
        Word mode = 0;
        std::uint32_t mask = 0;
        std::int16_t torque = 0;
        std::int32_t target = 0;
        Word end = 0;
    };
    const Layout<Fields> layout = {"mode",          &Fields::mode, UpTo(2),
                                   "mask",          &Fields::mask, When("mode", {1, 2}),
                                   CountOf(1, 2),   kAxis,         "torque",
                                   &Fields::torque, "target",      &Fields::target,
                                   "end",           &Fields::end,  kBehind,
                                   "spare",         kIfLeft};
    EXPECT_EQ(FieldsAsOrder(layout.List()),
              "mode 0..2, mask (u32) if mode is 1 or 2, count 1..2, each: axis, torque (s16), "
              "target (s32); then end, spare if the command has it");

    const Words words = {1, 0, 0x8000, 2, 5, 0xFFFF, 7, 0, 6, 100, 0xFFFF, 0xFFFF, 9};
    CommandReader in(words);
    Command<Fields> command;
    ASSERT_TRUE(layout.Read(in, command));
    ASSERT_EQ(command.entries.size(), 2U);
    EXPECT_EQ(command.entries[1].number, 6);
    const Fields& second = command.entries[1].fields;
    EXPECT_EQ(second.mask, 0x80000000U) << "what stands in front is every entry's";
    EXPECT_EQ(second.torque, 100);
    EXPECT_EQ(second.target, -1);
    EXPECT_EQ(command.entries[0].fields.end, 9) << "and what stands behind";
    EXPECT_EQ(FieldsAsText(layout.List(), words),
              "mode 1, mask 2147483648, count 2, axis 5, torque -1, target 7, axis 6, torque 100, "
              "target -1, end 9");
    EXPECT_EQ(FieldsAsText(layout.List(), Words{0, 3, 4, 4}), "mode 0, count 3 4 4")
        << "what is wrong is shown as it came";
}

TEST(CommandLayout, OfEveryCommandStandsOnItsPage)
{
    std::ifstream file(LUMOSIM_COMMAND_PAGE, std::ios::binary);
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(page, CommandPage(Controller(Mixed()))) << "script/docs makes it anew";
}

class Log : public Observer
{
  public:
    std::string text;

    void CommandRun(const CommandRecord& record) override { text += CommandAsLine(record) + "\n"; }
    void OnlineChanged(bool online) override { text += online ? "online\n" : "offline\n"; }
};

TEST(Commands, AreShownToEveryObserver)
{
    Controller controller(Mixed());
    Log all;
    Log first;
    controller.Observe(all);
    controller.Observe(first);
    controller.Execute({0x10, 1, 0, 0});
    controller.Unobserve(first);
    controller.Execute({0x7777});
    controller.Execute({0x1002, 0});
    controller.Advance(std::chrono::seconds(1));
    EXPECT_EQ(first.text,
              "   0.000000  0010 jog              count 1, direction 0, axis 0 -> 4 servo-off\n");
    EXPECT_EQ(all.text,
              first.text + "   0.000000  7777 unknown           -> 1 unknown-command\n   0.000000  "
                           "1002 reset            mode 0 -> 0 done\noffline\nonline\n");
}

} // namespace
} // namespace lumosim
