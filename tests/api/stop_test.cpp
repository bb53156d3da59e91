#include "support/wire_test.h"
#include "zelq.h"

#include <array>

namespace zelq::test {

namespace {

using StopTest = WireTest;

TEST_F(StopTest, TheModeStandsBeforeTheCount)
{
    static constexpr std::array<unsigned short, 3> kAxes = {2, 2, 99};
    Run({
        {.name = "decelerating",
         .call = [] { return zelQ_StopDec(kNumber, 5); },
         .frames = {{0x0101, 0x0040, 1, 1, 5}},
         .trace = "0=zelQ_StopDec(5,5)"},
        {.name = "sudden",
         .call = [] { return zelQ_StopSudden(kNumber, 31); },
         .result = 3,
         .frames = {{0x0101, 0x0040, 0, 1, 31}},
         .controllerResult = 3,
         .trace = "3=zelQ_StopSudden(5,31)"},
        {.name = "several, in the caller's order",
         .call = [] { return zelQ_mStop(kNumber, 3, kAxes.data(), 1); },
         .frames = {{0x0101, 0x0040, 1, 3, 2, 2, 99}},
         .trace = "0=zelQ_mStop(5,3,1)"},
        {.name = "a map, without a count",
         .call = [] { return zelQ_StopIMap(kNumber, 15, 1); },
         .result = 11,
         .frames = {{0x0101, 0x0041, 15, 1}},
         .controllerResult = 11,
         .trace = "11=zelQ_StopIMap(5,15,1)"},
        {.name = "the first map, at once",
         .call = [] { return zelQ_StopIMap(kNumber, 0, 0); },
         .frames = {{0x0101, 0x0041, 0, 0}},
         .trace = "0=zelQ_StopIMap(5,0,0)"},
    });
}

TEST_F(StopTest, WrongArgumentsAreRefusedInOrder)
{
    static constexpr std::array<unsigned short, 1> kAxes{};
    ExpectNumberChecks([](short zelNo) { return zelQ_StopDec(zelNo, 99); });
    ExpectNumberChecks([](short zelNo) { return zelQ_StopSudden(zelNo, 99); });
    ExpectNumberChecks([](short zelNo) { return zelQ_mStop(zelNo, 0, nullptr, 9); });
    ExpectNumberChecks([](short zelNo) { return zelQ_StopIMap(zelNo, 99, 9); });
    ExpectRefused(-2002, {[] { return zelQ_StopDec(kNumber, 32); },
                          [] { return zelQ_StopSudden(kNumber, 0xFFFF); }});
    ExpectRefused(-1701, {[] { return zelQ_mStop(kNumber, 0, nullptr, 2); },
                          [] { return zelQ_mStop(kNumber, 33, nullptr, 2); },
                          [] { return zelQ_StopIMap(kNumber, 16, 2); }});
    ExpectRefused(-1702, {[] { return zelQ_mStop(kNumber, 1, kAxes.data(), 2); },
                          [] { return zelQ_mStop(kNumber, 1, nullptr, 1); },
                          [] { return zelQ_StopIMap(kNumber, 15, 2); }});
}

} // namespace

} // namespace zelq::test
