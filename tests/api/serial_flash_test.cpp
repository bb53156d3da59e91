#include "support/wire_test.h"
#include "zelq.h"

#include <algorithm>
#include <array>

namespace zelq::test {

namespace {

constexpr std::uint8_t kUntouched = 0xA5;

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

/// The bytes two in a register, the earlier one in the low half.
Words Packed(const Bytes& bytes, std::size_t firstByte, std::size_t count)
{
    Words words;
    for (std::size_t i = firstByte; i < firstByte + count; i += 2) {
        const int high = i + 1 < bytes.size() ? bytes[i + 1] : 0;
        words.push_back(static_cast<std::uint16_t>(high << 8 | bytes[i]));
    }
    return words;
}

class SerialFlashTest : public WireTest
{
  protected:
    /// All that was sent since the last look, frame by frame: function, start, quantity, registers.
    std::vector<RequestFrame> SentFrames()
    {
        std::vector<RequestFrame> frames;
        for (const Request& request : controller_.TakeRequests()) {
            frames.insert(frames.end(), request.begin(), request.end());
        }
        return frames;
    }

    /// Makes the controller answer `count` pattern bytes from register `first` on.
    void HoldBytes(std::uint16_t first, std::size_t count)
    {
        controller_.SetRegisters(first, Packed(Pattern(count), 0, count));
    }

    /// The controller answers but the first frame of the next request, and the library soon stops
    /// waiting for the rest.
    void AnswerFirstFrameOnly(Words data)
    {
        zelQ_TMOSet(kNumber, 1000, 1000, 5);
        capture_.Lines();
        controller_.ThenData(std::move(data));
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

TEST_F(SerialFlashTest, SerialPortSettings)
{
    Run({
        {.name = "bypass",
         .call = [] { return zelQ_UARTSetBypass(kNumber, 1); },
         .frames = {{0x0101, 0x0170, 1}},
         .trace = "0=zelQ_UARTSetBypass(5,1)"},
        {.name = "line format",
         .call = [] { return zelQ_UARTSetCfg(kNumber, 115200, 9, 2, 0); },
         .result = 7,
         .frames = {{0x0101, 0x0171, 0xC200, 1, 9, 2, 0}},
         .controllerResult = 7,
         .trace = "7=zelQ_UARTSetCfg(5,115200,9,2,0)"},
        {.name = "the lowest of everything",
         .call = [] { return zelQ_UARTSetCfg(kNumber, 0, 7, 1, 2); },
         .frames = {{0x0101, 0x0171, 0, 0, 7, 1, 2}},
         .trace = "0=zelQ_UARTSetCfg(5,0,7,1,2)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_UARTSetBypass(n, 2); });
    ExpectNumberChecks([](short n) { return zelQ_UARTSetCfg(n, 0, 6, 0, 3); });
    ExpectRefused(-1701, {[] { return zelQ_UARTSetBypass(kNumber, 2); }});
    ExpectRefused(-1702, {[] { return zelQ_UARTSetCfg(kNumber, 0, 6, 0, 3); },
                          [] { return zelQ_UARTSetCfg(kNumber, 0, 10, 0, 3); }});
    ExpectRefused(-1703, {[] { return zelQ_UARTSetCfg(kNumber, 0, 7, 0, 3); },
                          [] { return zelQ_UARTSetCfg(kNumber, 0, 9, 3, 3); }});
    ExpectRefused(-1704, {[] { return zelQ_UARTSetCfg(kNumber, 0, 9, 2, 3); }});
}

TEST_F(SerialFlashTest, SerialWriteFillsFramesOf118Registers)
{
    const Bytes data = Pattern(1024);
    const auto write = [&](short length) { return zelQ_UARTWrite(kNumber, data.data(), length); };
    const auto frames = [&](std::uint16_t length) {
        Bytes sent(data.begin(), data.begin() + length);
        std::vector<Words> expected;
        const int count = (length + 235) / 236;
        for (int k = 0; k < count; ++k) {
            const auto first = static_cast<std::size_t>(236 * k);
            const Words mark = {static_cast<std::uint16_t>(count << 8 | (k + 1))};
            expected.push_back(
                Join({mark, k == 0 ? Words{0x0172, length} : Words{},
                      Packed(sent, first, std::min<std::size_t>(236, length - first))}));
        }
        return expected;
    };
    EXPECT_EQ(frames(236)[0].size(), 121U);
    EXPECT_EQ(frames(237)[1], (Words{0x0202, PatternByte(236)}));
    Run({
        {.name = "one byte, filled up with a zero",
         .call = [&] { return write(1); },
         .frames = {{0x0101, 0x0172, 1, PatternByte(0)}},
         .trace = "0=zelQ_UARTWrite(5,1)"},
        {.name = "a full frame",
         .call = [&] { return write(236); },
         .frames = frames(236),
         .trace = "0=zelQ_UARTWrite(5,236)"},
        {.name = "one byte more",
         .call = [&] { return write(237); },
         .frames = frames(237),
         .trace = "0=zelQ_UARTWrite(5,237)"},
        {.name = "the most",
         .call = [&] { return write(1024); },
         .frames = frames(1024),
         .trace = "0=zelQ_UARTWrite(5,1024)"},
    });
    ExpectNumberChecks(
        [](short n) { return zelQ_UARTWrite(static_cast<unsigned short>(n), nullptr, 0); });
    ExpectRefused(-1702, {[] { return zelQ_UARTWrite(kNumber, nullptr, 0); },
                          [] { return zelQ_UARTWrite(kNumber, nullptr, 1025); },
                          [] { return zelQ_UARTWrite(kNumber, nullptr, -1); }});
    ExpectRefused(-1701, {[] { return zelQ_UARTWrite(kNumber, nullptr, 1); }});
}

TEST_F(SerialFlashTest, SerialReadStopsAtWhatThereIs)
{
    struct Case
    {
        short maxLen;
        std::uint16_t available;
        std::size_t copied;
    };
    // Around the frames' border at 246 bytes, and odd on either side.
    constexpr std::array kCases = {
        Case{300, 300, 300}, Case{300, 301, 300}, Case{300, 9999, 300}, Case{300, 299, 299},
        Case{300, 247, 247}, Case{300, 246, 246}, Case{300, 245, 245},  Case{300, 5, 5},
        Case{300, 0, 0},     Case{299, 300, 299}, Case{299, 299, 299},  Case{299, 298, 298},
    };
    HoldBytes(0xF002, 300);
    for (const Case& row : kCases) {
        SCOPED_TRACE(std::to_string(row.maxLen) + " of " + std::to_string(row.available));
        controller_.SetRegister(0xF001, row.available);
        Bytes buffer(400, kUntouched);
        unsigned short available = 0;
        EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), row.maxLen, &available), 0);
        EXPECT_EQ(available, row.available);
        Bytes expected = Pattern(row.copied);
        expected.resize(400, kUntouched);
        EXPECT_EQ(buffer, expected);
        EXPECT_EQ(NextTrace(), "0=zelQ_UARTRead(5, " + std::to_string(row.maxLen) + ")");
        const auto frames = SentFrames();
        ASSERT_EQ(frames.size(), 2U);
        ExpectFrame(frames[0], 23, 0xF000, 125, {0x0101, 0x0173, 300});
        ExpectFrame(frames[1], 3, 0xF07D, 27);
    }
}

TEST_F(SerialFlashTest, SerialReadGoesOnInBatches)
{
    HoldBytes(0xF002, 1382);
    controller_.SetRegister(0xF001, 1382);
    Bytes buffer(2000, kUntouched);
    unsigned short available = 0;
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
    for (std::size_t i = 1; i < 5; ++i) {
        ExpectFrame(frames[i], 3, static_cast<int>(0xF000 + 2 + 123 * i), 123);
    }
    ExpectFrame(frames[5], 3, 0xF000 + 2 + 615, 76);
    ExpectFrame(frames[6], 23, 0xF000, 62, {0x0101, 0x0173, 120});
    EXPECT_EQ(NextTrace(), "0=zelQ_UARTRead(5, 1501)");

    // A batch that the controller cannot fill is the last one.
    controller_.SetRegister(0xF001, 1381);
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 1501, &available), 0);
    EXPECT_EQ(SentFrames().size(), 6U);
    EXPECT_EQ(NextTrace(), "0=zelQ_UARTRead(5, 1501)");
}

TEST_F(SerialFlashTest, SerialReadThatFailsInALaterBatchKeepsTheEarlierOnes)
{
    HoldBytes(0xF002, 1382);
    controller_.SetRegister(0xF001, 2000);
    controller_.Then(
        [this](const Request& request) { return Answer{controller_.ProperReply(request)}; });
    controller_.ThenResult(101);
    Bytes buffer(1500, kUntouched);
    unsigned short available = 0;
    EXPECT_EQ(zelQ_UARTRead(kNumber, buffer.data(), 1500, &available), 101);
    EXPECT_EQ(NextTrace(), "101=zelQ_UARTRead(5, 1500)");
    EXPECT_EQ(available, 2000);
    EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + 1382, Pattern(1382).begin()));
    EXPECT_EQ(buffer[1382], kUntouched);
    controller_.TakeRequests();
}

TEST_F(SerialFlashTest, SerialReadOfAnIncompleteReply)
{
    Bytes buffer(300, kUntouched);
    unsigned short available = 0;
    const auto read = [&] { return zelQ_UARTRead(kNumber, buffer.data(), 300, &available); };
    const Bytes bytes = Pattern(246);
    AnswerFirstFrameOnly(Join({{247}, Packed(bytes, 0, 246)}));
    EXPECT_EQ(read(), -1004);
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});

    // The missing frame would bring nothing that is wanted.
    AnswerFirstFrameOnly(Join({{246}, Packed(bytes, 0, 246)}));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(NextTrace(), "0=zelQ_UARTRead(5, 300)");
    controller_.TakeRequests();
}

TEST_F(SerialFlashTest, SerialReadOfNothing)
{
    static unsigned short available = 99;
    Run({
        {.name = "0",
         .call = [] { return zelQ_UARTRead(kNumber, nullptr, 0, &available); },
         .trace = "0=zelQ_UARTRead(5, 0)"},
        {.name = "less",
         .call = [] { return zelQ_UARTRead(kNumber, nullptr, -300, &available); },
         .trace = "0=zelQ_UARTRead(5, -300)",
         .check = [] { EXPECT_EQ(available, 99); }},
    });
    ExpectNumberChecks([](short n) { return zelQ_UARTRead(n, nullptr, 1, nullptr); });
    ExpectRefused(-1703, {[] { return zelQ_UARTRead(kNumber, nullptr, 1, nullptr); },
                          [] { return zelQ_UARTRead(kNumber, nullptr, 0, nullptr); }});
    ExpectRefused(-1701, {[] { return zelQ_UARTRead(kNumber, nullptr, 1, &available); }});
}

TEST_F(SerialFlashTest, FlashWriteAsksBackAsManyRegistersAsItCarries)
{
    const Bytes data = Pattern(1024);
    EXPECT_EQ(zelQ_FlashWrite(kNumber, 1, 0x00123456, data.data(), 1024), 0);
    EXPECT_EQ(NextTrace(), "0=zelQ_FlashWrite(5,1,1193046,1024)");
    const auto frames = SentFrames();
    ASSERT_EQ(frames.size(), 5U);
    ExpectFrame(frames[0], 23, 0xF000, 116,
                Join({{0x0501, 0x1003, 1, 0x3456, 0x0012}, Packed(data, 0, 232)}));
    for (std::size_t k = 1; k < 4; ++k) {
        const Words mark = {static_cast<std::uint16_t>(0x0501 + k)};
        ExpectFrame(frames[k], 23, 0xF000, 116, Join({mark, Packed(data, 232 * k, 232)}));
    }
    ExpectFrame(frames[4], 23, 0xF000, 48, Join({{0x0505}, Packed(data, 928, 96)}));
}

TEST_F(SerialFlashTest, FlashReadFetchesOneBatch)
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
    for (std::size_t i = 1; i < 4; ++i) {
        ExpectFrame(frames[i], 3, static_cast<int>(0xF001 + 124 * i), 124);
    }
    ExpectFrame(frames[4], 3, 0xF001 + 496, 16);

    AnswerFirstFrameOnly(Packed(Pattern(248), 0, 248));
    EXPECT_EQ(zelQ_FlashRead(kNumber, 2, 0, buffer.data(), 250), -1004);
    EXPECT_EQ(capture_.Lines(), std::vector<std::string>{});
    controller_.TakeRequests();
}

TEST_F(SerialFlashTest, FlashAndMemoryInOneFrame)
{
    static constexpr std::array<unsigned char, 2> kBytes = {0x34, 0x12};
    static std::array<unsigned char, 2> readBack{};
    static unsigned int word = 0;
    Run({
        {.name = "erase",
         .call = [] { return zelQ_FlashErase(kNumber, 0, 3, -1); },
         .frames = {{0x0101, 0x1003, 0, 3, 0xFFFF}},
         .trace = "0=zelQ_FlashErase(5,0,3,-1)"},
        {.name = "write: the earlier byte in the low half",
         .call = [] { return zelQ_FlashWrite(kNumber, 1, 2, kBytes.data(), 2); },
         .frames = {{0x0101, 0x1003, 1, 2, 0, 0x1234}},
         .trace = "0=zelQ_FlashWrite(5,1,2,2)"},
        {.name = "write nothing: nothing is sent",
         .call = [] { return zelQ_FlashWrite(kNumber, 1, 2, nullptr, 0); },
         .result = -12,
         .trace = "-12=zelQ_FlashWrite(5,1,2,0)"},
        {.name = "write less than nothing",
         .call = [] { return zelQ_FlashWrite(kNumber, 1, 2, nullptr, -2); },
         .result = -12,
         .trace = "-12=zelQ_FlashWrite(5,1,2,-2)"},
        {.name = "read",
         .call = [] { return zelQ_FlashRead(kNumber, 2, 2, readBack.data(), 2); },
         .frames = {{0x0101, 0x1003, 2, 2, 0, 2}},
         .readQuantity = 2,
         .data = {0x1234},
         .trace = "0=zelQ_FlashRead(5,2,2,2)",
         .check = [] { EXPECT_TRUE(std::ranges::equal(readBack, kBytes)); }},
        {.name = "read refused",
         .call = [] { return zelQ_FlashRead(kNumber, 2, 2, readBack.data(), 2); },
         .result = 104,
         .frames = {{0x0101, 0x1003, 2, 2, 0, 2}},
         .readQuantity = 2,
         .controllerResult = 104,
         .trace = "104=zelQ_FlashRead(5,2,2,2)"},
        {.name = "read nothing",
         .call = [] { return zelQ_FlashRead(kNumber, 2, 2, nullptr, 0); },
         .result = -12,
         .trace = "-12=zelQ_FlashRead(5,2,2,0)"},
        {.name = "peek",
         .call = [] { return zelQ_CPUPeek(kNumber, 3, 0x20000004U, &word); },
         .frames = {{0x0101, 0x1004, 3, 4, 0x2000}},
         .readQuantity = 3,
         .data = {0xBEEF, 0xDEAD},
         .trace = "0=zelQ_CPUPeek(5,3,536870916,-559038737)",
         .check = [] { EXPECT_EQ(word, 0xDEADBEEFU); }},
        {.name = "peek into nothing",
         .call = [] { return zelQ_CPUPeek(kNumber, -1, 0, nullptr); },
         .frames = {{0x0101, 0x1004, 0xFFFF, 0, 0}},
         .readQuantity = 3,
         .data = {1, 0},
         .trace = "0=zelQ_CPUPeek(5,-1,0,1)"},
        {.name = "peek refused",
         .call = [] { return zelQ_CPUPeek(kNumber, 3, 4, &word); },
         .result = 7,
         .frames = {{0x0101, 0x1004, 3, 4, 0}},
         .readQuantity = 3,
         .controllerResult = 7,
         .trace = "7=zelQ_CPUPeek(5,3,4,0)",
         .check = [] { EXPECT_EQ(word, 0xDEADBEEFU); }},
        {.name = "poke",
         .call = [] { return zelQ_CPUPoke(kNumber, 1, 0x10002, 0xFFFFFFFFU); },
         .frames = {{0x0101, 0x1005, 1, 2, 1, 0xFFFF, 0xFFFF}},
         .trace = "0=zelQ_CPUPoke(5,1,65538,-1,0)"},
        {.name = "EEPROM",
         .call = [] { return zelQ_EepromClear(kNumber, 0xFFFF, 1); },
         .frames = {{0x0101, 0x1006, 0xFFFF, 1}},
         .trace = "0=zelQ_EepromClear(5)"},
    });
}

TEST_F(SerialFlashTest, FlashAndMemoryArguments)
{
    using U16 = unsigned short;
    ExpectNumberChecks([](short n) { return zelQ_FlashErase(n, 0, 0, 0); });
    ExpectNumberChecks(
        [](short n) { return zelQ_FlashWrite(static_cast<U16>(n), 0, 0, nullptr, 1025); });
    ExpectNumberChecks(
        [](short n) { return zelQ_FlashRead(static_cast<U16>(n), 0, 0, nullptr, 1025); });
    ExpectNumberChecks([](short n) { return zelQ_CPUPeek(n, 0, 0, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_CPUPoke(n, 0, 0, 0); });
    ExpectNumberChecks([](short n) { return zelQ_EepromClear(n, 0, 2); });
    // Odd comes before too long.
    for (const short odd : std::initializer_list<short>{1, -1, 1025}) {
        ExpectRefused(-1703, {[odd] { return zelQ_FlashWrite(kNumber, 0, 0, nullptr, odd); },
                              [odd] { return zelQ_FlashRead(kNumber, 0, 0, nullptr, odd); }});
    }
    ExpectRefused(-9, {[] { return zelQ_FlashWrite(kNumber, 0, 0, nullptr, 1026); },
                       [] { return zelQ_FlashRead(kNumber, 0, 0, nullptr, 1026); }});
    ExpectRefused(-1703, {[] { return zelQ_FlashWrite(kNumber, 0, 0, nullptr, 2); },
                          [] { return zelQ_FlashRead(kNumber, 0, 0, nullptr, 2); }});
    ExpectRefused(-1702, {[] { return zelQ_EepromClear(kNumber, 0, 2); }});
}

} // namespace

} // namespace zelq::test
