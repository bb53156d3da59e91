#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <cstring>
#include <numeric>

namespace zelq::test {

namespace {

using SequencesTest = WireTest;

TEST_F(SequencesTest, ProgramsAreControlledByTheirIndex)
{
    Run({
        {.name = "focus",
         .call = [] { return zelQ_SeqSetFocus(kNumber, 3); },
         .frames = {{0x0101, 0x0200, 3}},
         .trace = "0=zelQ_SeqSetFocus(5,3)"},
        {.name = "no focus",
         .call = [] { return zelQ_SeqKillFocus(kNumber); },
         .frames = {{0x0101, 0x0200, 0xFFFF}},
         .trace = "0=zelQ_SeqKillFocus(5)"},
        {.name = "clear",
         .call = [] { return zelQ_SeqFuncBufClear(kNumber, 2); },
         .frames = {{0x0101, 0x0201, 2, 1}},
         .trace = "0=zelQ_SeqFuncBufClear(5,2)"},
        {.name = "end, refused by the controller",
         .call = [] { return zelQ_SeqFuncAddEnd(kNumber, 2); },
         .result = 72,
         .frames = {{0x0101, 0x0201, 2, 0}},
         .controllerResult = 72,
         .trace = "72=zelQ_SeqFuncAddEnd(5,2)"},
        {.name = "configuration, traced as a start with one number more",
         .call = [] { return zelQ_SeqSetCfg(kNumber, 3, 1, 2, 1); },
         .frames = {{0x0101, 0x0202, 3, 1, 2, 1}},
         .trace = "0=zelQ_SeqStart(5,3,1,2,1,0)"},
        {.name = "start",
         .call = [] { return zelQ_SeqStart(kNumber, 1); },
         .frames = {{0x0101, 0x0203, 1, 1}},
         .trace = "0=zelQ_SeqStart(5,1)"},
        {.name = "stop carries its mode",
         .call = [] { return zelQ_SeqStop(kNumber, 1, 1); },
         .frames = {{0x0101, 0x0203, 1, 0, 1}},
         .trace = "0=zelQ_SeqStop(5,1,1)"},
        {.name = "pause",
         .call = [] { return zelQ_SeqPause(kNumber, 1); },
         .frames = {{0x0101, 0x0203, 1, 2}},
         .trace = "0=zelQ_SeqPause(5,1)"},
        {.name = "resume",
         .call = [] { return zelQ_SeqResume(kNumber, 1); },
         .frames = {{0x0101, 0x0203, 1, 3}},
         .trace = "0=zelQ_SeqResume(5,1)"},
    });
}

TEST_F(SequencesTest, WaitsForAxesAndPreRegisters)
{
    static std::array<unsigned short, 32> axes{};
    std::iota(axes.begin(), axes.end(), static_cast<unsigned short>(100));
    Words motion = {0x0101, 0x0230, 0xFFFE, 32};
    motion.insert(motion.end(), axes.begin(), axes.end());
    EXPECT_EQ(motion.size(), 36U);
    Run({
        {.name = "motion done: any mode, 32 axes as given",
         .call = [] { return zelQ_SeqFuncWaitMovDone(kNumber, -2, 32, axes.data()); },
         .frames = {motion},
         .trace = "0=zelQ_SeqFuncWaitMovDone(5,-2,32)"},
        {.name = "empty pre-registers",
         .call = [] { return zelQ_SeqFuncWaitPreRegEmpty(kNumber, 3, 2, axes.data()); },
         .frames = {{0x0101, 0x0231, 3, 2, 100, 101}},
         .trace = "0=zelQ_SeqFuncWaitPreRegEmpty(5,3,2)"},
        {.name = "refused by the controller",
         .call = [] { return zelQ_SeqFuncWaitPreRegEmpty(kNumber, 1, 1, axes.data()); },
         .result = 74,
         .frames = {{0x0101, 0x0231, 1, 1, 100}},
         .controllerResult = 74,
         .trace = "74=zelQ_SeqFuncWaitPreRegEmpty(5,1,1)"},
    });
}

TEST_F(SequencesTest, WaitsForInputsAndTime)
{
    Run({
        {.name = "main board, pins: unsigned values print signed",
         .call = [] { return zelQ_SeqFuncWaitMDIpins(kNumber, 0xFFFF0001U, 0x80000000U); },
         .frames = {{0x0101, 0x0232, 0, 1, 1, 0xFFFF, 0, 0x8000}},
         .trace = "0=zelQ_SeqFuncWaitMDIpins(5,-65535,-2147483648)"},
        {.name = "main board, one pin",
         .call = [] { return zelQ_SeqFuncWaitMDIpin(kNumber, -1, 2); },
         .frames = {{0x0101, 0x0232, 0, 0, 0xFFFF, 2}},
         .trace = "0=zelQ_SeqFuncWaitMDIpin(5,-1,2)"},
        {.name = "remote, pins",
         .call = [] { return zelQ_SeqFuncWaitRDIpins(kNumber, 31, 0x00010002U, 0x00030004U); },
         .frames = {{0x0101, 0x0232, 1, 1, 31, 2, 1, 4, 3}},
         .trace = "0=zelQ_SeqFuncWaitRDIpins(5,31,65538,196612)"},
        {.name = "remote, one pin",
         .call = [] { return zelQ_SeqFuncWaitRDIpin(kNumber, 30, 31, 1); },
         .frames = {{0x0101, 0x0232, 1, 0, 30, 31, 1}},
         .trace = "0=zelQ_SeqFuncWaitRDIpin(5,30,31,1)"},
        {.name = "drive, pins: neither checked nor traced is the axis",
         .call = [] { return zelQ_SeqFuncWaitSDIpins(kNumber, 40, 0x00010002U, 0x00030004U); },
         .frames = {{0x0101, 0x0232, 2, 1, 40, 2, 1, 4, 3}},
         .trace = "0=zelQ_SeqFuncWaitSDIpins(5,65538,196612)"},
        {.name = "drive, one pin",
         .call = [] { return zelQ_SeqFuncWaitSDIpin(kNumber, 0xFFFF, 3, 0); },
         .frames = {{0x0101, 0x0232, 2, 0, 0xFFFF, 3, 0}},
         .trace = "0=zelQ_SeqFuncWaitSDIpin(5,3,0)"},
        {.name = "delay",
         .call = [] { return zelQ_SeqFuncDelay(kNumber, 0xFFFE0001U); },
         .frames = {{0x0101, 0x0233, 1, 0xFFFE}},
         .trace = "0=zelQ_SeqFuncDelay(5,-131071)"},
    });
}

TEST_F(SequencesTest, WrongArgumentsAreRefusedInOrder)
{
    static constexpr std::array<unsigned short, 33> kAxes{};
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqSetFocus(zelNo, 9); });
    ExpectNumberChecks(zelQ_SeqKillFocus);
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncBufClear(zelNo, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncAddEnd(zelNo, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqSetCfg(zelNo, 9, 9, 9, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqStart(zelNo, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqStop(zelNo, 9, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqPause(zelNo, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqResume(zelNo, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncWaitMovDone(zelNo, 0, 0, nullptr); });
    ExpectNumberChecks(
        [](short zelNo) { return zelQ_SeqFuncWaitPreRegEmpty(zelNo, 0, 0, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncWaitMDIpins(zelNo, 0, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncWaitMDIpin(zelNo, 0, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncWaitRDIpins(zelNo, 99, 0, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncWaitRDIpin(zelNo, 99, 0, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncWaitSDIpins(zelNo, 99, 0, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncWaitSDIpin(zelNo, 99, 0, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqFuncDelay(zelNo, 0); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqGetStatus(zelNo, 9, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_SeqGetAllStatus(zelNo, nullptr); });
    // The program index counts as argument 0 in the program calls.
    ExpectRefused(-1700, {[] { return zelQ_SeqSetFocus(kNumber, 4); },
                          [] { return zelQ_SeqFuncBufClear(kNumber, 4); },
                          [] { return zelQ_SeqFuncAddEnd(kNumber, 0xFFFF); },
                          [] { return zelQ_SeqSetCfg(kNumber, 4, 2, 3, 2); },
                          [] { return zelQ_SeqStart(kNumber, 4); },
                          [] { return zelQ_SeqStop(kNumber, 4, 2); },
                          [] { return zelQ_SeqPause(kNumber, 4); },
                          [] { return zelQ_SeqResume(kNumber, 4); }});
    ExpectRefused(-1701, {[] { return zelQ_SeqSetCfg(kNumber, 3, 2, 3, 2); },
                          [] { return zelQ_SeqStop(kNumber, 3, 2); },
                          [] { return zelQ_SeqFuncWaitPreRegEmpty(kNumber, 0, 0, nullptr); },
                          [] { return zelQ_SeqFuncWaitPreRegEmpty(kNumber, 4, 1, kAxes.data()); },
                          [] { return zelQ_SeqGetStatus(kNumber, 4, nullptr); },
                          [] { return zelQ_SeqGetAllStatus(kNumber, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_SeqSetCfg(kNumber, 3, 1, 3, 2); },
                          [] { return zelQ_SeqGetStatus(kNumber, 3, nullptr); }});
    ExpectRefused(-1703, {[] { return zelQ_SeqSetCfg(kNumber, 3, 1, 2, 2); },
                          [] { return zelQ_SeqFuncWaitMovDone(kNumber, 0, 1, nullptr); },
                          [] { return zelQ_SeqFuncWaitPreRegEmpty(kNumber, 1, 1, nullptr); }});
    ExpectRefused(-2002, {[] { return zelQ_SeqFuncWaitRDIpins(kNumber, 32, 0, 0); },
                          [] { return zelQ_SeqFuncWaitRDIpin(kNumber, 0xFFFF, 0, 0); }});
    ExpectRefused(-2004, {[] { return zelQ_SeqFuncWaitMovDone(kNumber, 0, 0, nullptr); },
                          [] { return zelQ_SeqFuncWaitMovDone(kNumber, 0, 33, kAxes.data()); },
                          [] { return zelQ_SeqFuncWaitPreRegEmpty(kNumber, 1, 0, nullptr); },
                          [] { return zelQ_SeqFuncWaitPreRegEmpty(kNumber, 1, 33, nullptr); }});
}

/// Status registers in which every field has a value of its own, for program `seq`.
Words StatusWords(std::uint16_t seq)
{
    return {0xD5A9, 0x1234, 0x8765, 0xCBA9, 0x0FED, seq};
}

/// The same decoded, with the bytes that are not written still 0xA5.
SeqStatus DecodedStatus(std::uint16_t seq)
{
    SeqStatus status;
    std::memset(&status, 0xA5, sizeof(status));
    status.state = 9;
    status.bit4 = 0;
    status.bit5 = 1;
    status.bits6_7 = 2;
    status.bit8 = 1;
    status.bits9_13 = 0x0A;
    status.long1 = 0x87651234;
    status.long3 = 0x0FEDCBA9;
    status.word5 = seq;
    return status;
}

class SequenceStatusTest : public WireTest
{
  protected:
    void SetUp() override
    {
        WireTest::SetUp();
        for (std::uint16_t seq = 0; seq < 4; ++seq) {
            controller_.SetRegisters(static_cast<std::uint16_t>(0xF4AA + 6 * seq),
                                     StatusWords(seq));
        }
        std::memset(&all_, 0xA5, sizeof(all_));
    }

    SeqAllStatus all_;
};

TEST_F(SequenceStatusTest, FieldByField)
{
    Run({{.name = "the last program",
          .call = [this] { return zelQ_SeqGetStatus(kNumber, 3, &all_.program[3]); },
          .reads = {{0xF4BC, 6}},
          .trace = "0=zelQ_SeqGetStatus(5,3)",
          .check =
              [this] {
                  const SeqStatus expected = DecodedStatus(3);
                  EXPECT_EQ(std::memcmp(&all_.program[3], &expected, sizeof(expected)), 0);
              }},
         {.name = "all programs, traced with one number more",
          .call = [this] { return zelQ_SeqGetAllStatus(kNumber, &all_); },
          .reads = {{0xF4AA, 24}},
          .trace = "0=zelQ_SeqGetAllStatus(5,0)",
          .check =
              [this] {
                  for (std::uint16_t seq = 0; seq < 4; ++seq) {
                      const SeqStatus expected = DecodedStatus(seq);
                      EXPECT_EQ(std::memcmp(&all_.program[seq], &expected, sizeof(expected)), 0);
                  }
              }}});
}

TEST_F(SequenceStatusTest, FailuresLeaveTheRecordsAlone)
{
    const SeqAllStatus before = all_;
    const auto answerTooShort = [this](const Request& request) {
        RequestFrame shorter = request.front();
        --shorter.quantity;
        return Answer{controller_.ProperReply(shorter)};
    };
    controller_.Then(answerTooShort);
    controller_.Then(answerTooShort);
    Run({{.name = "one program",
          .call = [this] { return zelQ_SeqGetStatus(kNumber, 0, &all_.program[0]); },
          .result = -12,
          .reads = {{0xF4AA, 6}},
          .trace = "-12=zelQ_SeqGetStatus(5,0)"},
         {.name = "all programs: not traced",
          .call = [this] { return zelQ_SeqGetAllStatus(kNumber, &all_); },
          .result = -12,
          .reads = {{0xF4AA, 24}}}});
    EXPECT_EQ(std::memcmp(&all_, &before, sizeof(before)), 0);
}

} // namespace

} // namespace zelq::test
