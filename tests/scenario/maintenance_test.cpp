// Serial port, flash, processor memory, settings and restart, through the library.

#include "core/maintenance.h"
#include "core/memory.h"
#include "core/serial_port.h"
#include "scenario_test.h"

#include <algorithm>
#include <array>
#include <vector>

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
{};

TEST_F(MaintenanceScenario, SerialPortCarries64KiBUnchanged)
{
    constexpr std::size_t kChunk = 1024;
    const Bytes sent = Pattern(64 * kChunk);
    Bytes received;
    EXPECT_EQ(zelQ_UARTSetBypass(kNumber, 0), 0);
    EXPECT_EQ(zelQ_UARTSetCfg(kNumber, 921600, 8, 1, 0), 0);
    for (std::size_t at = 0; at < sent.size(); at += kChunk) {
        ASSERT_EQ(zelQ_UARTWrite(kNumber, &sent[at], kChunk), 0);
        Bytes chunk(kChunk);
        unsigned short available = 0;
        ASSERT_EQ(zelQ_UARTRead(kNumber, chunk.data(), kChunk, &available), 0);
        ASSERT_EQ(available, kChunk);
        received.insert(received.end(), chunk.begin(), chunk.end());
    }
    EXPECT_EQ(received, sent);
}

TEST_F(MaintenanceScenario, SerialPortInOddPieces)
{
    const Bytes sent = Pattern(5000);
    std::size_t written = 0;
    for (const short size : std::initializer_list<short>{1, 237, 1023, 236, 1024, 999, 1001, 479}) {
        ASSERT_EQ(zelQ_UARTWrite(kNumber, &sent[written], size), 0);
        written += static_cast<std::size_t>(size);
    }
    ASSERT_EQ(written, sent.size());
    // More than one batch, and more than there is.
    Bytes received(6000, 0xA5);
    unsigned short available = 0;
    EXPECT_EQ(zelQ_UARTRead(kNumber, received.data(), 6000, &available), 0);
    EXPECT_EQ(available, 5000);
    EXPECT_TRUE(std::equal(sent.begin(), sent.end(), received.begin()));
    EXPECT_EQ(std::count(received.begin() + 5000, received.end(), 0xA5), 1000);
    EXPECT_EQ(zelQ_UARTRead(kNumber, received.data(), 6000, &available), 0);
    EXPECT_EQ(available, 0);

    EXPECT_EQ(zelQ_UARTSetBypass(kNumber, 1), 0);
    EXPECT_EQ(zelQ_UARTWrite(kNumber, sent.data(), 1), 102);
    EXPECT_EQ(zelQ_UARTRead(kNumber, received.data(), 10, &available), 102);
}

TEST_F(MaintenanceScenario, FlashImage)
{
    constexpr short kErase = 0;
    constexpr unsigned short kWrite = 1;
    constexpr unsigned short kRead = 2;
    constexpr unsigned int kBase = 0x20000;
    constexpr short kSector = kBase / 4096;
    const Bytes image = Pattern(10000);
    const auto forEachPiece = [&](auto&& use) {
        for (std::size_t at = 0; at < image.size(); at += 1024) {
            const auto size = static_cast<short>(std::min<std::size_t>(1024, image.size() - at));
            ASSERT_EQ(use(kBase + static_cast<unsigned int>(at), at, size), 0) << at;
        }
    };
    const auto writeAll = [&] {
        forEachPiece([&](unsigned int address, std::size_t at, short size) {
            return zelQ_FlashWrite(kNumber, kWrite, address, &image[at], size);
        });
    };
    const auto readAll = [&] {
        Bytes read(image.size());
        forEachPiece([&](unsigned int address, std::size_t at, short size) {
            return zelQ_FlashRead(kNumber, kRead, address, &read[at], size);
        });
        return read;
    };
    // Bits that are clear stay so until the flash is erased.
    const std::array<unsigned char, 2> zeros{};
    EXPECT_EQ(zelQ_FlashWrite(kNumber, kWrite, kBase + 100, zeros.data(), 2), 0);
    writeAll();
    EXPECT_NE(readAll(), image);
    EXPECT_EQ(zelQ_FlashErase(kNumber, kErase, kSector, kSector + 2), 0);
    EXPECT_EQ(readAll(), Bytes(image.size(), 0xFF));
    writeAll();
    EXPECT_EQ(readAll(), image);

    EXPECT_EQ(zelQ_FlashWrite(kNumber, kWrite, 0x100000, zeros.data(), 2), 104);
    EXPECT_EQ(zelQ_FlashErase(kNumber, kErase, 0, 256), 104);
}

TEST_F(MaintenanceScenario, ProcessorMemory)
{
    unsigned int word = 1;
    EXPECT_EQ(zelQ_CPUPeek(kNumber, 0, 0x100, &word), 0);
    EXPECT_EQ(word, 0U);
    EXPECT_EQ(zelQ_CPUPoke(kNumber, 0, 0x100, 0xDEADBEEFU), 0);
    EXPECT_EQ(zelQ_CPUPeek(kNumber, 0, 0x100, &word), 0);
    EXPECT_EQ(word, 0xDEADBEEFU);
    EXPECT_EQ(zelQ_CPUPeek(kNumber, 0, 0x101, &word), 105);
}

TEST_F(MaintenanceScenario, StoredSettings)
{
    unsigned short use = 9;
    unsigned short first = 0;
    unsigned short second = 0;
    EXPECT_EQ(zelQ_CfgHwInfo(kNumber, 0x0123), 0);
    EXPECT_EQ(zelQ_UseMaroDefParamSet(kNumber, 1), 0);
    EXPECT_EQ(zelQ_RtexCycleSet(kNumber, 2, 4, -70000), 0);
    const auto stored =
        server_.With([](lumosim::Controller& c) { return c.Get<lumosim::Maintenance>().Stored(); });
    EXPECT_EQ(stored.hardwareInformation, 0x0123);
    EXPECT_EQ(stored.cycleOption, -70000);
    EXPECT_EQ(zelQ_UseMaroDefParamGet(kNumber, &use), 0);
    EXPECT_EQ(zelQ_RtexCycleGet(kNumber, &first, &second), 0);
    EXPECT_EQ(use, 1);
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 4);
    EXPECT_EQ(zelQ_EepromClear(kNumber, 3, 1), 0);
    EXPECT_EQ(zelQ_RtexCycleGet(kNumber, &first, &second), 0);
    EXPECT_EQ(first, 1);
    EXPECT_EQ(zelQ_EepromClear(kNumber, 99, 1), 7);
}

TEST_F(MaintenanceScenario, ModelIsTold)
{
    std::array<unsigned short, 19> info{};
    EXPECT_EQ(zelQ_GetDevInfo(kNumber, info.data()), 0);
    EXPECT_EQ(info[0], 127);
    EXPECT_EQ(info[3], kNumber);
    EXPECT_EQ(info[15], 2026);
    std::array<char, 32> text{};
    EXPECT_EQ(zelQ_GetDevInfoToModelStr(info.data(), text.data(), 32), 0);
    EXPECT_STREQ(text.data(), "ZEL Lumo-32");
}

TEST_F(MaintenanceScenario, ResetDropsTheConnectionAndComesBackElsewhere)
{
    const std::array<short, 3> address = {127, 0, 1};
    const std::array<short, 4> mask = {255, 0, 0, 0};
    const std::array<short, 4> gateway = {127, 0, 0, 1};
    unsigned int resets = 9;
    EXPECT_EQ(zelQ_GetPowerResetCount(kNumber, &resets), 0);
    EXPECT_EQ(resets, 0U);
    EXPECT_EQ(zelQ_CfgNetwork(kNumber, address.data(), mask.data(), gateway.data()), 0);
    EXPECT_EQ(zelQ_GetPowerResetCount(kNumber, &resets), 0) << "it stays until it restarts";
    EXPECT_EQ(zelQ_Reset(kNumber, 0), 0);
    Advance(lumosim::Maintenance::kResetDelay);
    EXPECT_EQ(zelQ_GetPowerResetCount(kNumber, &resets), -1) << "it is away";
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), -1);

    Advance(lumosim::Maintenance::kBootTime);
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 0), -1) << "it has moved";
    EXPECT_EQ(zelQ_Connect(kNumber, 127, 0, 1), 0);
    EXPECT_EQ(zelQ_GetPowerResetCount(kNumber, &resets), 0);
    EXPECT_EQ(resets, 1U);
}

} // namespace

} // namespace zelq::test
