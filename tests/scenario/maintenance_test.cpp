// Serial port, flash, processor memory, settings and restart, through the library.

#include "core/maintenance.h"
#include "core/memory.h"
#include "core/serial_port.h"
#include "scenario/scenario_test.h"

#include <algorithm>
#include <array>
#include <span>

namespace zelq::test {

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Pattern(std::size_t size)
{
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(i * 167 + i / 256);
    }
    return bytes;
}

class MaintenanceScenario : public ScenarioTest
{
  protected:
    static short Write(const Bytes& bytes)
    {
        return zelQ_UARTWrite(kNumber, bytes.data(), static_cast<short>(bytes.size()));
    }
    static Bytes Read(short most)
    {
        Bytes bytes(static_cast<std::size_t>(most), 0xA5);
        U16 available = 0;
        EXPECT_EQ(zelQ_UARTRead(kNumber, bytes.data(), most, &available), 0);
        EXPECT_EQ(std::count(bytes.begin() + available, bytes.end(), 0xA5), most - available);
        bytes.resize(available);
        return bytes;
    }
};

TEST_F(MaintenanceScenario, SerialPortLoopsBackInPiecesOfAnySize)
{
    const Bytes sent = Pattern(5000);
    auto at = sent.begin();
    for (const int size : {1, 237, 1023, 236, 1024, 999, 1001, 479}) {
        ASSERT_EQ(Write(Bytes(at, at + size)), 0);
        at += size;
    }
    ASSERT_EQ(at, sent.end());
    EXPECT_EQ(Read(6000), sent) << "more than one exchange, and more than there is";
    EXPECT_EQ(Read(6000), Bytes());
    constexpr short kTaken = 102;
    U16 available = 0;
    Bytes buffer(10);
    ASSERT_EQ(zelQ_UARTSetBypass(kNumber, 1), 0);
    Refused(kTaken, {Write({1}), zelQ_UARTRead(kNumber, buffer.data(), 10, &available)});
    Done({zelQ_UARTSetBypass(kNumber, 0), Write({1}), zelQ_UARTSetBypass(kNumber, 1)});
    PowerCycle();
    EXPECT_EQ(Read(10), Bytes()) << "in use again, and empty";
}

TEST_F(MaintenanceScenario, SerialPortHasAFarEndAFormatAndABuffer)
{
    Bytes far; // written by the server's thread
    Family<lumosim::SerialPort>([&](lumosim::SerialPort& port) {
        port.Connect([&](std::span<const std::uint8_t> bytes) {
            far.insert(far.end(), bytes.begin(), bytes.end());
        });
    });
    const auto sent = [&] { return server_.With([&](lumosim::Controller&) { return far; }); };
    const auto receive = [this](const Bytes& bytes) {
        return Family<lumosim::SerialPort>([&](auto& port) { return port.TryReceive(bytes); });
    };
    ASSERT_EQ(Write({1, 2, 0xFF}), 0);
    EXPECT_THAT(sent(), ElementsAre(1, 2, 0xFF));
    EXPECT_TRUE(receive({0xFF}));
    EXPECT_THAT(Read(2), ElementsAre(0xFF));
    ASSERT_EQ(zelQ_UARTSetCfg(kNumber, 70'000, 7, 2, 1), 0);
    const auto format = Family<lumosim::SerialPort>([](auto& port) { return port.Format(); });
    EXPECT_EQ(format, (lumosim::SerialFormat{70'000, 7, 2, 1}));
    ASSERT_EQ(Write({0x80, 0xFF}), 0);
    EXPECT_THAT(sent(), ElementsAre(1, 2, 0xFF, 0x00, 0x7F)) << "seven bits go out";
    EXPECT_TRUE(receive({0x80, 0xFF}));
    EXPECT_THAT(Read(2), ElementsAre(0x00, 0x7F)) << "and come in";

    constexpr std::size_t kRoom = lumosim::SerialPort::kReceiveBuffer;
    EXPECT_TRUE(receive(Bytes(kRoom - 1, 7)));
    EXPECT_FALSE(receive({8, 9}));
    Family<lumosim::SerialPort>([](auto& port) { port.Receive(Bytes{8, 9}); });
    EXPECT_EQ(Family<lumosim::SerialPort>([](auto& port) { return port.Waiting(); }), kRoom)
        << "the last byte is lost";
    PowerCycle();
    EXPECT_EQ(Family<lumosim::SerialPort>([](auto& port) { return port.Format(); }),
              lumosim::SerialFormat());
}

TEST_F(MaintenanceScenario, FlashImage)
{
    enum Access : U16 { kErase, kWrite, kRead };
    constexpr unsigned kBase = 0x20000;
    constexpr short kSector = kBase / 4096;
    constexpr short kNoSuchFlash = 104;
    Bytes image = Pattern(10000);
    const auto access = [](Access mode, Bytes& bytes) {
        for (std::size_t at = 0; at < bytes.size(); at += 1024) {
            const auto size = static_cast<short>(std::min<std::size_t>(1024, bytes.size() - at));
            const auto address = kBase + static_cast<unsigned>(at);
            ASSERT_EQ(mode == kWrite ? zelQ_FlashWrite(kNumber, mode, address, &bytes[at], size)
                                     : zelQ_FlashRead(kNumber, mode, address, &bytes[at], size),
                      0);
        }
    };
    const auto readAll = [&] {
        Bytes read(image.size());
        access(kRead, read);
        return read;
    };
    const auto erase = [](short first, short last) {
        return zelQ_FlashErase(kNumber, kErase, first, last);
    };
    const auto cell = [this](std::size_t address) {
        return Family<lumosim::Memory>([=](auto& memory) { return memory.Flash()[address]; });
    };
    // Bits that are clear stay so until the flash is erased; the sectors beside it stay.
    const auto mark = [&](unsigned address) {
        return zelQ_FlashWrite(kNumber, kWrite, address, Bytes{0x0F, 0x3C}.data(), 2);
    };
    Done({mark(kBase + 100), mark(kBase - 2), mark(kBase + 3 * 4096), mark(0xFFFFE), mark(0)});
    access(kWrite, image);
    PowerCycle();
    EXPECT_EQ(cell(kBase + 100), image[100] & 0x0F);
    EXPECT_EQ(erase(kSector, kSector + 2), 0);
    EXPECT_EQ(readAll(), Bytes(image.size(), 0xFF));
    EXPECT_EQ(cell(kBase - 1), 0x3C);
    EXPECT_EQ(cell(kBase + 3 * 4096), 0x0F);
    access(kWrite, image);
    EXPECT_EQ(readAll(), image);
    EXPECT_EQ(erase(1, 255), 0);
    EXPECT_EQ(cell(0xFFFFF), 0xFF);
    EXPECT_EQ(cell(1), 0x3C);
    Refused(kNoSuchFlash,
            {mark(0xFFFFF), mark(0x100000), mark(0xFFFFFFFFU), erase(0, 256), erase(2, 1)});
}

TEST_F(MaintenanceScenario, ProcessorMemoryAndModel)
{
    unsigned word = 1;
    const auto peek = [&](short space, unsigned address) {
        return zelQ_CPUPeek(kNumber, space, address, &word);
    };
    const auto expect = [&](unsigned wanted) {
        EXPECT_EQ(peek(0, 0xFFFC), 0);
        EXPECT_EQ(word, wanted);
    };
    expect(0);
    EXPECT_EQ(zelQ_CPUPoke(kNumber, 0, 0xFFFC, 0xDEADBEEFU), 0);
    expect(0xDEADBEEFU);
    Refused(105, {peek(0, 0x10000), peek(0, 2), peek(1, 0), zelQ_CPUPoke(kNumber, 0, 0x10000, 0)});
    PowerCycle();
    expect(0);

    std::array<U16, 19> info{};
    ASSERT_EQ(zelQ_GetDevInfo(kNumber, info.data()), 0);
    EXPECT_THAT(std::span(info).first(4), ElementsAre(127, 0, 0, 9));
    EXPECT_THAT(std::span(info).last(4), ElementsAre(2026, 1, 1, 8));
    std::array<char, 32> text{};
    EXPECT_EQ(zelQ_GetDevInfoToModelStr(info.data(), text.data(), 32), 0);
    EXPECT_STREQ(text.data(), "ZEL Lumo-32");
}

/// Everything that is stored differs from what the controller was delivered with.
class Restart : public MaintenanceScenario
{
  protected:
    enum How : U16 { kPower, kNetworkAlone, kNewNetwork, kAllNew };

    void SetUp() override
    {
        ScenarioTest::SetUp();
        Done({zelQ_CfgNetwork(kNumber, Listed<short>({127, 0, 1}), Listed<short>({255, 255, 0, 0}),
                              Listed<short>({127, 0, 0, 1})),
              zelQ_CfgHwInfo(kNumber, 0x0123), zelQ_UseMaroDefParamSet(kNumber, 1),
              zelQ_RtexCycleSet(kNumber, 2, 4, -70'000), zelQ_MDOSet(kNumber, 15)});
    }

    static short Asked()
    {
        unsigned resets = 0;
        return zelQ_GetPowerResetCount(kNumber, &resets);
    }

    /// Restarts the controller, which is found at 127.0.`third`.9 then.
    void Do(How how, U16 third)
    {
        After(zelQ_Reset(kNumber, how), lumosim::Maintenance::kResetDelay - 1ns);
        EXPECT_EQ(Asked(), 0) << "the answer has time to go";
        Advance(1ns);
        EXPECT_EQ(Asked(), -1);
        Advance(lumosim::Maintenance::kBootTime - 1ns);
        EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, third), -1);
        Advance(1ns);
        EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, static_cast<U16>(third == 1 ? 0 : 1)), -1);
        ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, third), 0);
    }

    static unsigned Resets() { return Got<unsigned>(zelQ_GetPowerResetCount); }
    lumosim::Word MainOutputs()
    {
        return server_.With([](auto& c) { return c.MainOutputs(); });
    }
    lumosim::StoredSettings Stored()
    {
        return Family<lumosim::Maintenance>([](auto& maintenance) { return maintenance.Stored(); });
    }

    /// What the calls read, and what is stored without a call that reads it.
    void ExpectSettings(bool servoNetwork, bool hardware)
    {
        U16 first = 9;
        const auto second = Got<U16>(zelQ_RtexCycleGet, &first);
        const std::vector<int> set = {Got<U16>(zelQ_UseMaroDefParamGet), first, second,
                                      Stored().cycleOption};
        EXPECT_EQ(set, servoNetwork ? (std::vector{1, 2, 4, -70'000}) : (std::vector{0, 1, 1, 0}));
        EXPECT_EQ(Stored().hardwareInformation, hardware ? 0x0123 : 0);
    }
};

TEST_F(Restart, TheNetworkAlone)
{
    EXPECT_EQ(Asked(), 0) << "the old address serves until then";
    Do(kNetworkAlone, 1);
    EXPECT_EQ(MainOutputs(), 15);
    EXPECT_EQ(Resets(), 0U);
    std::array<U16, 19> info{};
    ASSERT_EQ(zelQ_GetDevInfo(kNumber, info.data()), 0);
    EXPECT_EQ(info[2], 1) << "the new address is told";
    EXPECT_EQ(Stored().network,
              (lumosim::NetworkSettings{{127, 0, 1}, {255, 255, 0, 0}, {127, 0, 0, 1}}));
}

TEST_F(Restart, ByPowerAndWithDefaults)
{
    Do(kPower, 1);
    EXPECT_EQ(MainOutputs(), 0);
    EXPECT_EQ(Resets(), 1U);
    ExpectSettings(true, true);
    Do(kNewNetwork, 0);
    ExpectSettings(true, true);
    Do(kAllNew, 0);
    ExpectSettings(false, false);
    EXPECT_EQ(Resets(), 3U);
}

TEST_F(Restart, TheEepromIsClearedNowOrThen)
{
    enum Area : U16 { kNetwork = 1, kHardware, kServoNetwork };
    EXPECT_EQ(zelQ_EepromClear(kNumber, 99, 1), kOutOfRange);
    ASSERT_EQ(zelQ_EepromClear(kNumber, kServoNetwork, 1), 0);
    ExpectSettings(false, true);
    ASSERT_EQ(zelQ_EepromClear(kNumber, kNetwork, 0), 0);
    EXPECT_EQ(Stored().network.address[2], 1);
    PowerCycle();
    EXPECT_EQ(Stored().network.address[2], 0);
    ASSERT_EQ(zelQ_EepromClear(kNumber, kHardware, 1), 0);
    ExpectSettings(false, false);
    const short octets[] = {127, 0, 2, 1};
    ASSERT_EQ(zelQ_CfgNetwork(kNumber, octets, octets, octets), 0);
    PowerCycle();
    EXPECT_EQ(Stored().network.address[2], 2) << "cleared once";
}

} // namespace

} // namespace zelq::test
