#include "support/wire_test.h"
#include "zelq.h"

#include <array>

namespace zelq::test {

namespace {

using PositionSetTest = WireTest;

TEST_F(PositionSetTest, TheModeStandsBeforeTheCount)
{
    static constexpr std::array<short, 2> kAxes = {1, -1};
    static constexpr std::array<unsigned short, 2> kUnsigned = {40, 1};
    static constexpr std::array<double, 2> kValues = {-2.5, 7.9};
    zelQ_UnitPerPulseSet(kNumber, 1, 0.25);
    capture_.Lines();
    Run({
        {.name = "both positions of one axis",
         .call = [] { return zelQ_CmdEncPosSet(kNumber, 1, -17500.1); },
         .frames = {Join({{0x0101, 0x0050, 0, 1, 1}, Long(-70000)})},
         .trace = "0=zelQ_CmdEncPosSet(5,1,-17500.1)"},
        {.name = "of several, each by its own factor",
         .call = [] { return zelQ_mCmdEncPosSet(kNumber, 2, kAxes.data(), kValues.data()); },
         .frames = {Join({{0x0101, 0x0050, 0, 2, 1}, Long(-10), {0xFFFF}, Long(7)})},
         .trace = "0=zelQ_mCmdEncPosSet(5,2)"},
        {.name = "encoder to command",
         .call = [] { return zelQ_EncToCmdPos(kNumber, 31); },
         .result = 6,
         .frames = {{0x0101, 0x0050, 1, 1, 31}},
         .controllerResult = 6,
         .trace = "6=zelQ_EncToCmdPos(5,31)"},
        {.name = "of several",
         .call = [] { return zelQ_mEncToCmdPos(kNumber, 2, kUnsigned.data()); },
         .frames = {{0x0101, 0x0050, 1, 2, 40, 1}},
         .trace = "0=zelQ_mEncToCmdPos(5,2)"},
        {.name = "turns cleared: no mode",
         .call = [] { return zelQ_AbsEncMultiTurnClear(kNumber, 4); },
         .frames = {{0x0101, 0x0051, 1, 4}},
         .trace = "0=zelQ_AbsEncMultiTurnClear(5,4)"},
        {.name = "of several",
         .call = [] { return zelQ_mAbsEncMultiTurnClear(kNumber, 2, kUnsigned.data()); },
         .frames = {{0x0101, 0x0051, 2, 40, 1}},
         .trace = "0=zelQ_mAbsEncMultiTurnClear(5,2)"},
    });
}

TEST_F(PositionSetTest, WrongArgumentsAreRefusedInOrder)
{
    static constexpr std::array<short, 1> kAxes{};
    ExpectNumberChecks([](short zelNo) { return zelQ_CmdEncPosSet(zelNo, 99, 1); });
    ExpectNumberChecks([](short zelNo) { return zelQ_mCmdEncPosSet(zelNo, 0, nullptr, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_EncToCmdPos(zelNo, 99); });
    ExpectNumberChecks([](short zelNo) { return zelQ_mEncToCmdPos(zelNo, 0, nullptr); });
    ExpectNumberChecks([](short zelNo) { return zelQ_AbsEncMultiTurnClear(zelNo, 99); });
    ExpectNumberChecks([](short zelNo) { return zelQ_mAbsEncMultiTurnClear(zelNo, 0, nullptr); });
    ExpectRefused(-2002, {[] { return zelQ_CmdEncPosSet(kNumber, 32, 1); },
                          [] { return zelQ_EncToCmdPos(kNumber, 32); },
                          [] { return zelQ_AbsEncMultiTurnClear(kNumber, 32); }});
    ExpectRefused(-1701, {[] { return zelQ_mCmdEncPosSet(kNumber, 0, nullptr, nullptr); },
                          [] { return zelQ_mCmdEncPosSet(kNumber, 33, nullptr, nullptr); },
                          [] { return zelQ_mEncToCmdPos(kNumber, 0, nullptr); },
                          [] { return zelQ_mEncToCmdPos(kNumber, 33, nullptr); },
                          [] { return zelQ_mAbsEncMultiTurnClear(kNumber, 0, nullptr); },
                          [] { return zelQ_mAbsEncMultiTurnClear(kNumber, 33, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_mCmdEncPosSet(kNumber, 1, nullptr, nullptr); },
                          [] { return zelQ_mEncToCmdPos(kNumber, 1, nullptr); },
                          [] { return zelQ_mAbsEncMultiTurnClear(kNumber, 1, nullptr); }});
    ExpectRefused(-1703, {[] { return zelQ_mCmdEncPosSet(kNumber, 1, kAxes.data(), nullptr); }});
}

} // namespace

} // namespace zelq::test
