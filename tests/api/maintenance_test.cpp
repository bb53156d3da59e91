#include "support/calls.h"

namespace zelq::test {

namespace {

/// A byte that is another one in every place a mistake would take it from.
std::uint8_t PatternByte(std::size_t index)
{
    return static_cast<std::uint8_t>(index * 7 + index / 256);
}

Bytes Pattern(std::size_t count)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = PatternByte(i);
    }
    return bytes;
}

/// Pattern bytes two in a register, the earlier one in the low half; the last may stand alone.
Words Packed(std::size_t first, std::size_t count)
{
    Words words;
    for (std::size_t i = first; i < first + count; i += 2) {
        const int high = i + 1 < first + count ? PatternByte(i + 1) : 0;
        words.push_back(static_cast<U16>(high << 8 | PatternByte(i)));
    }
    return words;
}

/// Network, servo network, serial port, flash and memory.
class MaintenanceTest : public CallTest
{
  protected:
    /// Makes the controller answer `count` pattern bytes from register `first` on.
    void HoldBytes(U16 first, std::size_t count)
    {
        controller_.SetRegisters(first, Packed(0, count));
    }
};

void ExpectFrame(const RequestFrame& frame, int function, int start, int quantity,
                 const Words& written = {})
{
    EXPECT_EQ(frame.function, function);
    EXPECT_EQ(frame.start, start);
    EXPECT_EQ(frame.quantity, quantity);
    EXPECT_EQ(frame.written, written);
}

/// The frames of a batch read behind its first one: `count` of them, the last with what is left.
void ExpectReads(const std::vector<RequestFrame>& frames, int start, int quantity,
                 std::size_t count, int last)
{
    for (std::size_t i = 1; i <= count; ++i) {
        ExpectFrame(frames.at(i), 3, start + quantity * static_cast<int>(i - 1),
                    i < count ? quantity : last);
    }
}

TEST_F(MaintenanceTest, NetworkHasNoCountAndThreeOctetsOfTheAddress)
{
    const short address[] = {192, 168, 0, 999};
    const short good[] = {255, 254, 253, 252};
    const short third[] = {1, 2, 3, 4};
    const short tooHigh[] = {192, 168, 256};
    const short negative[] = {-1, 168, 0};
    const short firstBad[] = {256, 0, 0, 0};
    const short lastBad[] = {0, 0, 0, -1};
    Expect({Row(CALL(CfgNetwork, address, good, third),
                {0x01B1, 192, 168, 0, 255, 254, 253, 252, 1, 2, 3, 4})
                .Shows("192,168,0,255,254,253,252,1,2,3,4")});
    Refused(-1701, {CALL(CfgNetwork, tooHigh, firstBad, nullptr),
                    CALL(CfgNetwork, negative, good, good), CALL(CfgNetwork, nullptr, good, good)});
    // The second's octet comes before the third's of the same place, but behind its earlier ones.
    Refused(-1702,
            {CALL(CfgNetwork, good, firstBad, firstBad), CALL(CfgNetwork, good, lastBad, lastBad),
             CALL(CfgNetwork, good, nullptr, nullptr)});
    Refused(-1703, {CALL(CfgNetwork, good, lastBad, firstBad),
                    CALL(CfgNetwork, good, good, lastBad), CALL(CfgNetwork, good, good, nullptr)});
}

TEST_F(MaintenanceTest, SettingsOfOneFrame)
{
    U16 first = 0;
    U16 second = 0;
    Expect({
        {CALL(CfgHwInfo, -2), {0x1001, 0xFFFE}},
        {CALL(Reset, 3), {0x1002, 3}},
        {CALL(UseMaroDefParamSet, 1), {0x1007, 0, 1}},
        Row(CALL(UseMaroDefParamGet, &first), {0x1007, 1})
            .Data({0xFFFF}, "65535", "0")
            .Gets(first, 0xFFFF),
        Row(CALL(UseMaroDefParamGet, nullptr), {0x1007, 1}).Data({1}).Shows("1", "0"),
        // The third has 32 bits.
        {CALL(RtexCycleSet, 1, 2, 70000), {0x1008, 0, 1, 2, 0x1170, 0x0001}},
        Row(CALL(RtexCycleGet, &first, &second), {0x1008, 1})
            .Data({10, 20}, "10,20", "0,0")
            .Gets(first, 10)
            .Gets(second, 20),
        Row(CALL(RtexCycleGet, nullptr, &second), {0x1008, 1})
            .Data({11, 21}, "11,21", "0,0")
            .Gets(second, 21),
        Row(CALL(RtexCycleGet, &first, nullptr), {0x1008, 1})
            .Data({12, 22}, "12,22", "0,0")
            .Gets(first, 12),
        {CALL(UARTSetBypass, 1), {0x0170, 1}},
        {CALL(UARTSetCfg, 115200, 9, 2, 0), {0x0171, 0xC200, 1, 9, 2, 0}},
        {CALL(UARTSetCfg, 0, 7, 1, 2), {0x0171, 0, 0, 7, 1, 2}},
    });
    Refused(-1701, {CALL(Reset, 4), CALL(UseMaroDefParamSet, 2), CALL(UARTSetBypass, 2)});
    Refused(-1702, {CALL(UARTSetCfg, 0, 6, 0, 3), CALL(UARTSetCfg, 0, 10, 0, 3)});
    Refused(-1703, {CALL(UARTSetCfg, 0, 7, 0, 3), CALL(UARTSetCfg, 0, 9, 3, 3)});
    Refused(-1704, {CALL(UARTSetCfg, 0, 9, 2, 3)});
}

TEST_F(MaintenanceTest, SerialWriteFillsFramesOf118Registers)
{
    const Bytes data = Pattern(1024);
    for (const short length : std::initializer_list<short>{1, 236, 237, 1024}) {
        std::vector<Words> frames;
        const int count = (length + 235) / 236;
        for (int k = 0; k < count; ++k) {
            const auto first = static_cast<std::size_t>(236 * k);
            const std::size_t left = static_cast<std::size_t>(length) - first;
            frames.push_back(Join({{static_cast<U16>(count << 8 | (k + 1))},
                                   k == 0 ? Words{0x0172, static_cast<U16>(length)} : Words{},
                                   Packed(first, std::min<std::size_t>(236, left))}));
        }
        Expect({Row(CALL(UARTWrite, data.data(), length)).Frames(frames, std::to_string(length))});
    }
    Refused(-1702, {CALL(UARTWrite, nullptr, 0), CALL(UARTWrite, nullptr, 1025),
                    CALL(UARTWrite, nullptr, -1)});
    Refused(-1701, {CALL(UARTWrite, nullptr, 1)});
}

TEST_F(MaintenanceTest, SerialReadStopsAtWhatThereIs)
{
    struct Case
    {
        short maxLen;
        U16 available;
        std::size_t copied;
    };
    HoldBytes(0xF002, 300);
    // Around the frames' border at 246 bytes, and odd on either side.
    for (const Case& row :
         {Case{300, 300, 300}, Case{300, 301, 300}, Case{300, 9999, 300}, Case{300, 299, 299},
          Case{300, 247, 247}, Case{300, 246, 246}, Case{300, 245, 245}, Case{300, 5, 5},
          Case{300, 0, 0}, Case{299, 300, 299}, Case{299, 299, 299}, Case{299, 298, 298}}) {
        controller_.SetRegister(0xF001, row.available);
        std::array<std::uint8_t, 400> buffer{};
        U16 available = 0;
        ThenProperReply();
        ExpectOnce(Row(CALL(UARTRead, buffer.data(), row.maxLen, &available))
                       .Frames({{0x0101, 0x0173, 300}}, 125)
                       .Reads({{0xF07D, 27}})
                       .Line("zelQ_UARTRead(5, " + std::to_string(row.maxLen) + ")")
                       .Fills(buffer, Pattern(row.copied))
                       .Gets(available, row.available));
    }
}

TEST_F(MaintenanceTest, SerialReadGoesOnInBatches)
{
    HoldBytes(0xF002, 1382);
    controller_.SetRegister(0xF001, 1382);
    Bytes buffer(2000, kUntouched);
    U16 available = 0;
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 1501, &available), 0);
    // Every batch finds the same registers here.
    Bytes expected = Pattern(1382);
    const Bytes tail = Pattern(119);
    expected.insert(expected.end(), tail.begin(), tail.end());
    expected.resize(2000, kUntouched);
    EXPECT_EQ(buffer, expected);
    EXPECT_EQ(available, 1382);
    auto frames = SentFrames();
    ASSERT_EQ(frames.size(), 7U);
    ExpectFrame(frames[0], 23, 0xF000, 125, {0x0101, 0x0173, 1382});
    ExpectReads(frames, 0xF07D, 123, 5, 76);
    ExpectFrame(frames[6], 23, 0xF000, 62, {0x0101, 0x0173, 120});
    EXPECT_EQ(NextTrace(), "0=zelQ_UARTRead(5, 1501)");

    // A batch that the controller cannot fill is the last one.
    controller_.SetRegister(0xF001, 1381);
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 1501, &available), 0);
    EXPECT_EQ(SentFrames().size(), 6U);
    EXPECT_EQ(NextTrace(), "0=zelQ_UARTRead(5, 1501)");
}

TEST_F(MaintenanceTest, SerialReadThatFailsInALaterBatchKeepsTheEarlierOnes)
{
    HoldBytes(0xF002, 1382);
    controller_.SetRegister(0xF001, 2000);
    Bytes buffer(1500, kUntouched);
    U16 available = 0;
    ThenProperReply();
    controller_.ThenResult(101);
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 1500, &available), 101);
    EXPECT_EQ(NextTrace(), "101=zelQ_UARTRead(5, 1500)");
    EXPECT_EQ(available, 2000);
    Bytes expected = Pattern(1382);
    expected.resize(1500, kUntouched);
    EXPECT_EQ(buffer, expected);

    // How much there was is what the first batch has told.
    ThenProperReply();
    controller_.Then([this](const Request& request) {
        controller_.SetRegister(0xF001, 5);
        return Answer{controller_.ProperReply(request)};
    });
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 1500, &available), 0);
    EXPECT_EQ(available, 2000);
}

TEST_F(MaintenanceTest, SerialReadOfAnIncompleteReply)
{
    Bytes buffer(300, kUntouched);
    U16 available = 0;
    ThenFirstFrameOnly(Join({{247}, Packed(0, 246)}));
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 300, &available), -1004);
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
    // The missing frame would bring nothing that is wanted.
    ThenFirstFrameOnly(Join({{246}, Packed(0, 246)}));
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 300, &available), 0);
    EXPECT_EQ(NextTrace(), "0=zelQ_UARTRead(5, 300)");
}

TEST_F(MaintenanceTest, SerialReadOfNothing)
{
    U16 available = 0;
    Expect({
        Row(CALL(UARTRead, nullptr, 0, &available))
            .Line("zelQ_UARTRead(5, 0)")
            .Gets(available, 0xA5A5),
        Row(CALL(UARTRead, nullptr, -300, &available))
            .Line("zelQ_UARTRead(5, -300)")
            .Gets(available, 0xA5A5),
    });
    Refused(-1703, {CALL(UARTRead, nullptr, 1, nullptr), CALL(UARTRead, nullptr, 0, nullptr)});
    Refused(-1701, {CALL(UARTRead, nullptr, 1, &available)});
}

TEST_F(MaintenanceTest, FlashWriteAsksBackAsManyRegistersAsItCarries)
{
    const Bytes data = Pattern(1024);
    EXPECT_EQ(zelQ_FlashWrite(kNumber, 1, 0x00123456, data.data(), 1024), 0);
    EXPECT_EQ(NextTrace(), "0=zelQ_FlashWrite(5,1,1193046,1024)");
    const auto frames = SentFrames();
    ASSERT_EQ(frames.size(), 5U);
    ExpectFrame(frames[0], 23, 0xF000, 116,
                Join({{0x0501, 0x1003, 1, 0x3456, 0x0012}, Packed(0, 232)}));
    for (std::size_t k = 1; k < 4; ++k) {
        const Words mark = {static_cast<U16>(0x0501 + k)};
        ExpectFrame(frames[k], 23, 0xF000, 116, Join({mark, Packed(232 * k, 232)}));
    }
    ExpectFrame(frames[4], 23, 0xF000, 48, Join({{0x0505}, Packed(928, 96)}));
}

TEST_F(MaintenanceTest, FlashReadFetchesOneBatch)
{
    HoldBytes(0xF001, 1024);
    Bytes buffer(1030, kUntouched);
    EXPECT_EQ(zelQ_FlashRead(kNumber, 2, 0xFFFF8000U, buffer.data(), 1024), 0);
    EXPECT_EQ(NextTrace(), "0=zelQ_FlashRead(5,2,-32768,1024)");
    Bytes expected = Pattern(1024);
    expected.resize(1030, kUntouched);
    EXPECT_EQ(buffer, expected);
    const auto frames = SentFrames();
    ASSERT_EQ(frames.size(), 5U);
    ExpectFrame(frames[0], 23, 0xF000, 125, {0x0101, 0x1003, 2, 0x8000, 0xFFFF, 1024});
    ExpectReads(frames, 0xF07D, 124, 4, 16);

    ThenFirstFrameOnly(Packed(0, 248));
    EXPECT_EQ(zelQ_FlashRead(kNumber, 2, 0, buffer.data(), 250), -1004);
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
}

TEST_F(MaintenanceTest, FlashAndMemoryInOneFrame)
{
    const std::uint8_t bytes[] = {0x34, 0x12};
    std::array<std::uint8_t, 3> read{};
    unsigned int word = 0;
    Expect({
        {CALL(FlashErase, 0, 3, -1), {0x1003, 0, 3, 0xFFFF}},
        // The earlier byte in the low half; nothing to write or to read is not sent.
        Row(CALL(FlashWrite, 1, 2, bytes, 2), {0x1003, 1, 2, 0, 0x1234}).Shows("1,2,2"),
        Row(CALL(FlashWrite, 1, 2, nullptr, 0)).Gives(-12).Shows("1,2,0"),
        Row(CALL(FlashWrite, 1, 2, nullptr, -2)).Gives(-12).Shows("1,2,-2"),
        Row(CALL(FlashRead, 2, 2, read.data(), 2), {0x1003, 2, 2, 0, 2})
            .Data({0x1234}, "2,2,2")
            .Fills(read, {0x34, 0x12}),
        Row(CALL(FlashRead, 2, 2, nullptr, 0)).Gives(-12).Shows("2,2,0"),
        Row(CALL(CPUPeek, 3, 0x20000004, &word), {0x1004, 3, 4, 0x2000})
            .Data({0xBEEF, 0xDEAD}, "3,536870916,-559038737", "3,536870916,0")
            .Gets(word, 0xDEADBEEFU),
        Row(CALL(CPUPeek, -1, 0, nullptr), {0x1004, 0xFFFF, 0, 0}).Data({1, 0}, "-1,0,1", "-1,0,0"),
        Row(CALL(CPUPoke, 1, 65538, 0xFFFFFFFFU), {0x1005, 1, 2, 1, 0xFFFF, 0xFFFF})
            .Shows("1,65538,-1,0"),
        Row(CALL(EepromClear, 0xFFFF, 1), {0x1006, 0xFFFF, 1}).Shows(""),
    });
    // Odd comes before too long.
    for (const short odd : std::initializer_list<short>{1, -1, 1025}) {
        Refused(-1703, {CALL(FlashWrite, 0, 0, nullptr, odd), CALL(FlashRead, 0, 0, nullptr, odd)});
    }
    Refused(-9, {CALL(FlashWrite, 0, 0, nullptr, 1026), CALL(FlashRead, 0, 0, nullptr, 1026)});
    Refused(-1703, {CALL(FlashWrite, 0, 0, nullptr, 2), CALL(FlashRead, 0, 0, nullptr, 2)});
    Refused(-1702, {CALL(EepromClear, 0, 2)});
}

} // namespace

} // namespace zelq::test
