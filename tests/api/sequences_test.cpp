#include "support/calls.h"

namespace zelq::test {

namespace {

using SequencesTest = CallTest;

TEST_F(SequencesTest, ProgramsAreControlledByTheirIndex)
{
    Expect({
        {CALL(SeqSetFocus, 3), {0x0200, 3}},
        {CALL(SeqKillFocus), {0x0200, 0xFFFF}},
        {CALL(SeqFuncBufClear, 2), {0x0201, 2, 1}},
        {CALL(SeqFuncAddEnd, 2), {0x0201, 2, 0}},
        // Traced as a start with one number more.
        Row(CALL(SeqSetCfg, 3, 1, 2, 1), {0x0202, 3, 1, 2, 1}).Line("zelQ_SeqStart(5,3,1,2,1,0)"),
        {CALL(SeqStart, 1), {0x0203, 1, 1}},
        // A stop carries its mode.
        {CALL(SeqStop, 1, 1), {0x0203, 1, 0, 1}},
        {CALL(SeqPause, 1), {0x0203, 1, 2}},
        {CALL(SeqResume, 1), {0x0203, 1, 3}},
    });
    // The program's index counts as argument 0.
    Refused(-1700, {CALL(SeqSetFocus, 4), CALL(SeqFuncBufClear, 4), CALL(SeqFuncAddEnd, 0xFFFF),
                    CALL(SeqSetCfg, 4, 2, 3, 2), CALL(SeqStart, 4), CALL(SeqStop, 4, 2),
                    CALL(SeqPause, 4), CALL(SeqResume, 4)});
    Refused(-1701, {CALL(SeqSetCfg, 3, 2, 3, 2), CALL(SeqStop, 3, 2)});
    Refused(-1702, {CALL(SeqSetCfg, 3, 1, 3, 2)});
    Refused(-1703, {CALL(SeqSetCfg, 3, 1, 2, 2)});
}

TEST_F(SequencesTest, Waits)
{
    const auto axes = Counting<U16, 33>(100);
    const U16* a = axes.data();
    Words motion = {0x0230, 0xFFFE, 32};
    motion.insert(motion.end(), a, a + 32);
    Expect({
        // Any mode and axes as given; the modes of the pre-registers are checked.
        Row(CALL(SeqFuncWaitMovDone, -2, 32, a), motion).Shows("-2,32"),
        Row(CALL(SeqFuncWaitPreRegEmpty, 3, 2, a), {0x0231, 3, 2, 100, 101}).Shows("3,2"),
        Row(CALL(SeqFuncWaitPreRegEmpty, 1, 1, a), {0x0231, 1, 1, 100}).Shows("1,1"),
        // Main board, remote and drive inputs; of the latter the axis is neither checked nor shown.
        Row(CALL(SeqFuncWaitMDIpins, 0xFFFF0001U, 0x80000000U),
            {0x0232, 0, 1, 1, 0xFFFF, 0, 0x8000})
            .Shows("-65535,-2147483648"),
        {CALL(SeqFuncWaitMDIpin, -1, 2), {0x0232, 0, 0, 0xFFFF, 2}},
        {CALL(SeqFuncWaitRDIpins, 31, 65538, 196612), {0x0232, 1, 1, 31, 2, 1, 4, 3}},
        {CALL(SeqFuncWaitRDIpin, 30, 31, 1), {0x0232, 1, 0, 30, 31, 1}},
        Row(CALL(SeqFuncWaitSDIpins, 40, 65538, 196612), {0x0232, 2, 1, 40, 2, 1, 4, 3})
            .Shows("65538,196612"),
        Row(CALL(SeqFuncWaitSDIpin, 0xFFFF, 3, 0), {0x0232, 2, 0, 0xFFFF, 3, 0}).Shows("3,0"),
        Row(CALL(SeqFuncDelay, 0xFFFE0001U), {0x0233, 1, 0xFFFE}).Shows("-131071"),
    });
    Refused(-1701,
            {CALL(SeqFuncWaitPreRegEmpty, 0, 0, nullptr), CALL(SeqFuncWaitPreRegEmpty, 4, 1, a)});
    Refused(-2004,
            {CALL(SeqFuncWaitMovDone, 0, 0, nullptr), CALL(SeqFuncWaitMovDone, 0, 33, a),
             CALL(SeqFuncWaitPreRegEmpty, 1, 0, nullptr), CALL(SeqFuncWaitPreRegEmpty, 1, 33, a)});
    Refused(-1703,
            {CALL(SeqFuncWaitMovDone, 0, 1, nullptr), CALL(SeqFuncWaitPreRegEmpty, 1, 1, nullptr)});
    Refused(-2002, {CALL(SeqFuncWaitRDIpins, 32, 0, 0), CALL(SeqFuncWaitRDIpin, 0xFFFF, 0, 0)});
}

/// Program `seq` by registers in which every field has a value of its own.
SeqStatus DecodedProgram(U16 seq)
{
    auto status = Untouched<SeqStatus>();
    status.state = 9;
    status.bit4 = 0;
    status.bit5 = 1;
    status.bits6_7 = 2;
    status.bit8 = 1;
    status.bits9_13 = 0x1A;
    status.long1 = 0x87651234;
    status.long3 = 0x0FEDCBA9;
    status.word5 = seq;
    return status;
}

TEST_F(SequencesTest, StatusFieldByField)
{
    SeqStatus status{};
    SeqAllStatus all{};
    auto wanted = Untouched<SeqAllStatus>();
    for (U16 seq = 0; seq < 4; ++seq) {
        controller_.SetRegisters(static_cast<U16>(0xF4AA + 6 * seq),
                                 {0xF5A9, 0x1234, 0x8765, 0xCBA9, 0x0FED, seq});
        wanted.program[seq] = DecodedProgram(seq);
    }
    Expect({
        Row(CALL(SeqGetStatus, 3, &status))
            .Reads({{0xF4BC, 6}}, "3")
            .Gets(status, DecodedProgram(3)),
        // Traced with one number more, and if it succeeds.
        Row(CALL(SeqGetAllStatus, &all))
            .Reads({{0xF4AA, 24}})
            .Lines("zelQ_SeqGetAllStatus(5,0)", "")
            .Gets(all, wanted),
    });
    Refused(-1701, {CALL(SeqGetStatus, 4, nullptr), CALL(SeqGetAllStatus, nullptr)});
    Refused(-1702, {CALL(SeqGetStatus, 3, nullptr)});
}

} // namespace

} // namespace zelq::test
