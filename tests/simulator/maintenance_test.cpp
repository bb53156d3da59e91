// Serial port, memories, settings and restart of the controller.

#include "core/controller.h"
#include "core/maintenance.h"
#include "core/memory.h"
#include "core/serial_port.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace lumosim {
namespace {

using Words = std::vector<Word>;
using Bytes = std::vector<std::uint8_t>;

class MaintenanceTest : public testing::Test
{
  protected:
    Words Answer(const Words& command)
    {
        Reply reply;
        EXPECT_EQ(controller_.Run(command, reply), Result::kDone);
        return {reply.Words().begin(), reply.Words().end()};
    }

    void ExpectResult(Result result, const std::vector<Words>& commands)
    {
        for (std::size_t i = 0; i < commands.size(); ++i) {
            Reply reply;
            EXPECT_EQ(controller_.Run(commands[i], reply), result) << "command " << i;
        }
    }

    static ControllerConfig Numbered()
    {
        ControllerConfig config;
        config.number = 17;
        config.network = {{10, 20, 30}, {255, 255, 0, 0}, {10, 20, 0, 1}};
        return config;
    }

    Controller controller_{Numbered()};
};

TEST_F(MaintenanceTest, SerialPortLoopsBack)
{
    EXPECT_EQ(Answer({0x173, 10}), (Words{0}));
    Answer({0x172, 3, 0x0201, 0x0003});
    Answer({0x172, 2, 0x0504});
    EXPECT_EQ(Answer({0x173, 4}), (Words{5, 0x0201, 0x0403})) << "five were waiting";
    EXPECT_EQ(Answer({0x173, 4}), (Words{1, 0x0005}));

    Answer({0x171, 0x2580, 0, 7, 2, 1});
    EXPECT_EQ(controller_.Get<SerialPort>().Format(), (SerialFormat{9600, 7, 2, 1}));
    Answer({0x172, 2, 0xFF80});
    EXPECT_EQ(Answer({0x173, 2}), (Words{2, 0x7F00})) << "seven bits";

    ExpectResult(Result::kMalformed,
                 {{0x172, 0}, {0x172, 3, 1}, {0x172, 2, 1, 1}, {0x173}, {0x170}, {0x171, 1, 0, 8}});
    ExpectResult(Result::kOutOfRange, {{0x170, 2},
                                       {0x173, 2046},
                                       {0x171, 0, 0, 8, 1, 0},
                                       {0x171, 1, 0, 6, 1, 0},
                                       {0x171, 1, 0, 8, 3, 0},
                                       {0x171, 1, 0, 8, 1, 3}});
}

TEST_F(MaintenanceTest, SerialPortIsBoundedAndCanBeTaken)
{
    auto& port = controller_.Get<SerialPort>();
    Bytes sent;
    port.Connect([&](std::span<const std::uint8_t> bytes) {
        sent.insert(sent.end(), bytes.begin(), bytes.end());
    });
    Answer({0x172, 3, 0x0201, 0xEE03});
    EXPECT_EQ(sent, (Bytes{1, 2, 3}));
    EXPECT_EQ(port.Waiting(), 0U);

    const Bytes many(SerialPort::kReceiveBuffer - 1, 7);
    EXPECT_TRUE(port.TryReceive(many));
    EXPECT_FALSE(port.TryReceive(Bytes{8, 9}));
    port.Receive(Bytes{8, 9});
    EXPECT_EQ(port.Waiting(), SerialPort::kReceiveBuffer) << "the last byte is lost";

    Answer({0x170, 1});
    ExpectResult(Result::kSerialPortTaken, {{0x172, 2, 0}, {0x173, 2}});
    controller_.PowerCycle();
    EXPECT_FALSE(port.Bypassed());
    EXPECT_EQ(port.Waiting(), 0U);
}

TEST_F(MaintenanceTest, FlashBitsAreSetByErasingAlone)
{
    const auto& memory = controller_.Get<Memory>();
    Answer({0x1003, 1, 0x0FFF, 0, 0x0F0F, 0xFFFE});
    Answer({0x1003, 1, 0x0FFF, 0, 0xFF3C});
    EXPECT_EQ(Answer({0x1003, 2, 0x0FFE, 0, 6}), (Words{0x0CFF, 0xFE0F, 0xFFFF}));
    controller_.PowerCycle();
    EXPECT_EQ(memory.Flash()[0x1001], 0xFE);
    Answer({0x1003, 0, 1, 1});
    EXPECT_EQ(memory.Flash()[0x1001], 0xFF);
    EXPECT_EQ(memory.Flash()[0x0FFF], 0x0C) << "another sector";

    Answer({0x1003, 1, 0xFFFE, 0x000F, 0x1234});
    EXPECT_EQ(Answer({0x1003, 2, 0xFFFE, 0x000F, 2}), (Words{0x1234}));
    Answer({0x1003, 0, 0, 255});
    EXPECT_EQ(memory.Flash().back(), 0xFF);
    EXPECT_EQ(memory.Flash()[0x0FFF], 0xFF);

    ExpectResult(Result::kNoSuchFlash, {{0x1003, 0, 0, 256},
                                        {0x1003, 0, 2, 1},
                                        {0x1003, 1, 0xFFFF, 0x000F, 0},
                                        {0x1003, 2, 0, 0x0010, 2},
                                        {0x1003, 2, 0xFFFF, 0xFFFF, 2}});
    ExpectResult(Result::kOutOfRange, {{0x1003, 3, 0, 0}, {0x1003, 2, 0, 0, 2047}});
    ExpectResult(Result::kMalformed, {{0x1003, 0, 0}, {0x1003, 1, 0, 0}, {0x1003, 2, 0, 0}});
}

TEST_F(MaintenanceTest, ProcessorMemory)
{
    EXPECT_EQ(Answer({0x1004, 0, 0xFFFC, 0}), (Words{0, 0}));
    Answer({0x1005, 0, 0xFFFC, 0, 0xBEEF, 0xDEAD});
    EXPECT_EQ(Answer({0x1004, 0, 0xFFFC, 0}), (Words{0xBEEF, 0xDEAD}));
    ExpectResult(
        Result::kNoSuchMemory,
        {{0x1004, 0, 0, 1}, {0x1004, 0, 2, 0}, {0x1004, 1, 0, 0}, {0x1005, 0, 0, 1, 0, 0}});
    ExpectResult(Result::kMalformed, {{0x1004, 0, 0}, {0x1005, 0, 0, 0, 0}});
    controller_.PowerCycle();
    EXPECT_EQ(Answer({0x1004, 0, 0xFFFC, 0}), (Words{0, 0}));
}

TEST_F(MaintenanceTest, IdentificationTellsWhereTheControllerIs)
{
    Words block(12);
    ASSERT_TRUE(controller_.ReadRegisters(0xF400, block));
    EXPECT_EQ(block, (Words{0x0100, 26 << 8, 0x0101, 8, 0, 0, 20 << 8 | 10, 17 << 8 | 30, 'S' << 8,
                            'M' << 8 | 'I', '0' << 8 | '0', '7' << 8 | '1'}));
}

class RestartTest : public MaintenanceTest
{
  protected:
    static constexpr NetworkSettings kOther = {{127, 0, 1}, {255, 0, 0, 0}, {127, 0, 0, 9}};

    void SetUp() override
    {
        maintenance_.OnOnlineChange([this](bool online) {
            changes_.push_back({online, controller_.Now()});
        });
        Answer({0x01B1, 127, 0, 1, 255, 0, 0, 0, 127, 0, 0, 9});
        Answer({0x1001, 0x1234});
        Answer({0x1007, 0, 1});
        Answer({0x1008, 0, 2, 4, 0x1170, 1});
        Answer({0x1A0, 0x0F});
    }

    void Restart(Word mode)
    {
        changes_.clear();
        const Nanoseconds start = controller_.Now();
        Answer({0x1002, mode});
        EXPECT_TRUE(maintenance_.Online()) << "the answer goes first";
        controller_.Advance(std::chrono::seconds(2));
        const Nanoseconds down = start + Maintenance::kResetDelay;
        EXPECT_EQ(changes_, (std::vector<std::pair<bool, Nanoseconds>>{
                                {false, down}, {true, down + Maintenance::kBootTime}}));
    }

    Maintenance& maintenance_ = controller_.Get<Maintenance>();
    std::vector<std::pair<bool, Nanoseconds>> changes_;
};

TEST_F(RestartTest, NetworkSettingsTakeEffect)
{
    EXPECT_EQ(maintenance_.Network(), Numbered().network);
    EXPECT_EQ(maintenance_.Stored().network, kOther);
    Restart(1);
    EXPECT_EQ(maintenance_.Network(), kOther);
    EXPECT_EQ(controller_.MainOutputs(), 0x0F) << "nothing but the network restarts";
    EXPECT_EQ(controller_.PowerResets(), 0U);
    EXPECT_EQ(controller_.ReadRegister(0xF406), 127) << "the identification tells the new address";
}

TEST_F(RestartTest, PowerResetSwitchesOffWhatIsNotStored)
{
    Restart(0);
    EXPECT_EQ(maintenance_.Network(), kOther);
    EXPECT_EQ(controller_.MainOutputs(), 0);
    EXPECT_EQ(controller_.PowerResets(), 1U);
    EXPECT_EQ(Answer({0x1007, 1}), (Words{1}));
    EXPECT_EQ(Answer({0x1008, 1}), (Words{2, 4}));
    EXPECT_EQ(maintenance_.Stored().cycleOption, 70000);
    EXPECT_EQ(maintenance_.Stored().hardwareInformation, 0x1234);
}

TEST_F(RestartTest, DefaultsCanBeRestored)
{
    Restart(2);
    EXPECT_EQ(maintenance_.Network(), Numbered().network);
    EXPECT_EQ(Answer({0x1008, 1}), (Words{2, 4}));
    Restart(3);
    EXPECT_EQ(Answer({0x1008, 1}), (Words{1, 1}));
    EXPECT_EQ(Answer({0x1007, 1}), (Words{0}));
    EXPECT_EQ(maintenance_.Stored().hardwareInformation, 0);
    EXPECT_EQ(controller_.PowerResets(), 2U);
}

TEST_F(RestartTest, EepromIsClearedNowOrAtTheNextPowerUp)
{
    Answer({0x1006, 3, 1});
    EXPECT_EQ(Answer({0x1008, 1}), (Words{1, 1}));
    EXPECT_EQ(maintenance_.Stored().network, kOther) << "another area";
    Answer({0x1006, 1, 0});
    EXPECT_EQ(maintenance_.Stored().network, kOther);
    controller_.PowerCycle();
    EXPECT_EQ(maintenance_.Network(), Numbered().network);
    EXPECT_EQ(maintenance_.Stored().hardwareInformation, 0x1234);
    Answer({0x1006, 2, 1});
    EXPECT_EQ(maintenance_.Stored().hardwareInformation, 0);
}

TEST_F(RestartTest, WrongSettingsAreRefused)
{
    ExpectResult(Result::kOutOfRange, {{0x01B1, 127, 0, 256, 255, 0, 0, 0, 127, 0, 0, 9},
                                       {0x01B1, 127, 0, 1, 255, 0, 0, 0, 127, 0, 0, 256},
                                       {0x1002, 4},
                                       {0x1006, 4, 0},
                                       {0x1006, 0, 2},
                                       {0x1007, 0, 2}});
    ExpectResult(Result::kMalformed, {{0x01B1, 127, 0, 1},
                                      {0x1001},
                                      {0x1002},
                                      {0x1006, 0},
                                      {0x1007, 2},
                                      {0x1007, 0},
                                      {0x1008, 0, 1, 2, 3},
                                      {0x1008, 1, 1}});
    EXPECT_EQ(maintenance_.Stored().network, kOther);
}

} // namespace
} // namespace lumosim
