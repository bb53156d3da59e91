#include "tools/tool_test.h"
#include "zelq.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace zelq::test {

namespace {

/// What the test calls itself is seen by the program that it runs.
class SeeTest : public ToolTest
{
  protected:
    void Connect() const
    {
        zelQ_SetNetPortNum(kNumber, server_.Port());
        ASSERT_EQ(zelQ_Connect(kNumber, 127, 0, 0), 0);
    }
    void TearDown() override
    {
        zelQ_Disconnect(kNumber);
        ToolTest::TearDown();
    }

    static std::vector<Json> JsonLines(const std::string& text)
    {
        std::vector<Json> documents;
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            documents.push_back(Json::parse(line));
        }
        return documents;
    }
};

TEST_F(SeeTest, TraceShowsKeepsAndShowsAgain)
{
    const std::string file = FileName("lines");
    const auto trace = Start("trace --json --write " + file);
    ASSERT_TRUE(trace->AwaitOutput("ready"));
    EXPECT_EQ(Run("trace").exit, 2); // there is one already
    Connect();
    EXPECT_EQ(zelQ_MoveAbs(kNumber, 1, 2.5), 4);
    EXPECT_EQ(zelQ_StopDec(kNumber, 1), 0);
    ASSERT_TRUE(trace->AwaitOutput("zelQ_StopDec"));
    trace->Interrupt();
    EXPECT_EQ(trace->Wait(), 0);

    const std::vector<Json> lines = JsonLines(trace->Output());
    ASSERT_GE(lines.size(), 4U);
    const Json& move = lines[lines.size() - 2];
    EXPECT_EQ(move["function"], "zelQ_MoveAbs");
    EXPECT_EQ(move["arguments"], "11,1,2.5");
    EXPECT_EQ(move["controller"], kNumber);
    EXPECT_EQ(move["name"], "SIM_SERVO_OFF");
    EXPECT_TRUE(move["failed"]);
    EXPECT_GE(lines.back()["sinceMs"], 0.0);
    EXPECT_EQ(lines.back()["result"], 0);

    Check({
        {"trace --read " + file + " --failures", 0,
         "zelQ_MoveAbs(11,1,2.5) = 4 SIM_SERVO_OFF: The servo is off.", "/name", "SIM_SERVO_OFF"},
        {"trace --read " + file + " --function stop,speed", 0, "zelQ_StopDec(11,1) = 0\n1 lines",
         "/function", "zelQ_StopDec"},
        {"trace --read " + file + " --number 12", 0, "0 lines, 0 of them failures", "", {}},
        {"trace --read " + file + " --number 11 --count 1", 0, "1 lines, 0", "", {}},
    });
}

TEST_F(SeeTest, TraceReadsWhatOthersHaveKept)
{
    const std::string file =
        WriteFile("lines", "TIME=260102030405,-2=zelQ_Reset(300,1)\nTIME=260102030405,2=zelQ_"
                           "GetEnumList(127,0,0,1)\nTIME=260102030405,ERROR_REQUEST_TIMED_OUT... "
                           "ZEL NO:7\nTIME=260102030405,zelQ_Disconnect(3)\nsomething else\n");
    const std::vector<Json> lines = JsonLines(Run("trace --json --read " + file).output);
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(lines[0]["name"], "ZELQ_BAD_CONTROLLER_NUMBER");
    EXPECT_FALSE(lines[1]["failed"]); // two controllers were found
    EXPECT_FALSE(lines[1].contains("controller"));
    EXPECT_TRUE(lines[2]["failed"]);
    EXPECT_EQ(lines[2]["controller"], 7);
    EXPECT_EQ(lines[3]["function"], "zelQ_Disconnect");
    EXPECT_FALSE(lines[3]["failed"]);
    EXPECT_EQ(lines[4]["text"], "something else");
    Check({
        {"trace --read " + FileName("none"), 2, "cannot read", "", {}},
        {"trace --write " + FileName("no/such/folder"), 2, "cannot write", "", {}},
        {"trace --read a --write b", 2, "", "", {}},
    });
}

TEST_F(SeeTest, AKilledViewerIsInNobodysWay)
{
    Connect();
    const auto trace = Start("trace");
    ASSERT_TRUE(trace->AwaitOutput("taking"));
    EXPECT_EQ(zelQ_StopDec(kNumber, 1), 0);
    ASSERT_TRUE(trace->AwaitOutput("zelQ_StopDec"));
    trace->Kill();
    trace->Wait();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(zelQ_StopDec(kNumber, 1), 0);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

using Bytes = std::vector<unsigned char>;

unsigned Big(const Bytes& bytes, std::size_t at)
{
    return bytes[at] * 256U + bytes[at + 1];
}

/// The packets of a file, each from its IP header on.
std::vector<Bytes> Packets(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    const Bytes all{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(Bytes(all.begin(), all.begin() + 4), Bytes({0xD4, 0xC3, 0xB2, 0xA1}));
    std::vector<Bytes> packets;
    for (std::size_t at = 24; at + 16 <= all.size();) {
        const std::size_t size = all[at + 8] + 256U * all[at + 9];
        const auto begin = all.begin() + static_cast<std::ptrdiff_t>(at + 16);
        packets.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(size));
        at += 16 + size;
    }
    return packets;
}

/// 0xFFFF where the checksum among these bytes is right.
unsigned OnesSum(const Bytes& bytes, std::size_t from, std::size_t to, unsigned sum = 0)
{
    for (std::size_t i = from; i < to; ++i) {
        sum += (i - from) % 2 == 0 ? bytes[i] * 256U : bytes[i];
    }
    while (sum > 0xFFFF) {
        sum = (sum & 0xFFFFU) + (sum >> 16U);
    }
    return sum;
}

TEST_F(SeeTest, CaptureKeepsWhatPasses)
{
    const std::string file = FileName("session.pcap");
    const auto capture = Start("capture --json --listen-port 0 " + file);
    ASSERT_TRUE(capture->AwaitOutput("\"port\""));
    const Json place = JsonLines(capture->Output()).front();
    EXPECT_EQ(place["address"], "127.0.0.11");
    const std::string port = std::to_string(place["port"].get<int>());
    EXPECT_EQ(RunAlone("--network 127.0.0 --controller 11 --port " + port + " status").exit, 0);
    capture->Interrupt();
    EXPECT_EQ(capture->Wait(), 0);
    const Json counts = JsonLines(capture->Output()).back();
    EXPECT_EQ(counts["connections"], 1);

    const std::vector<Bytes> packets = Packets(file);
    ASSERT_EQ(packets.size(), counts["packets"]);
    std::uint64_t toController = 0;
    std::uint64_t toPrograms = 0;
    std::map<unsigned, unsigned> next; // sequence number by port
    for (const Bytes& packet : packets) {
        ASSERT_EQ(Big(packet, 2), packet.size());
        EXPECT_EQ(OnesSum(packet, 0, 20), 0xFFFFU);
        const auto length = static_cast<unsigned>(packet.size() - 20);
        EXPECT_EQ(OnesSum(packet, 20, packet.size(), OnesSum(packet, 12, 20) + 6 + length),
                  0xFFFFU);
        const unsigned from = Big(packet, 20);
        const unsigned sequence = Big(packet, 24) * 65536U + Big(packet, 26);
        const bool opensOrEnds = (packet[33] & 0x03U) != 0;
        EXPECT_EQ(sequence, next.contains(from) ? next[from] : sequence);
        next[from] = sequence + length - 20 + (opensOrEnds ? 1 : 0);
        (from == 502 ? toPrograms : toController) += length - 20;
    }
    EXPECT_EQ(toController, counts["bytesToController"]);
    EXPECT_EQ(toPrograms, counts["bytesToPrograms"]);
    // Behind the handshake the first frame: of protocol 0, for unit 1.
    ASSERT_GT(packets.at(3).size(), 47U);
    EXPECT_EQ(Big(packets[3], 42), 0U);
    EXPECT_EQ(packets[3][46], 1);

    Check({{"capture " + FileName("no/such/folder"), 2, "cannot write", "/error/exit", 2},
           {"capture", 2, "file is required", "", {}}});
    EXPECT_EQ(
        RunAlone("--network 127.0.0 --controller 12 --port " + port + " capture " + file).exit, 3);
}

} // namespace

} // namespace zelq::test
