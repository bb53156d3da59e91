#include "support/calls.h"

#include <limits>

namespace zelq::test {

namespace {

/// Torque, velocity and position modes, torque limits, and what a stop is caused by.
class DriveModesTest : public CallTest
{
  protected:
    const short all_[2] = {0, -1};
    const short wrong_[2] = {0, 32};
};

TEST_F(DriveModesTest, TorqueTravelsInTenths)
{
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    Expect({
        Row(CALL(CT_SetTorque, 3, 12.37, 20000), {0x0030, 1, 3, 123, 20000}).Shows("3,12.4,20000"),
        {CALL(CT_SetTorque, 3, -500.0, -1), {0x0030, 1, 3, 0xEC78, 0xFFFF}},
        // Above the highest by less than a tenth; far above, the low 16 bits alone count.
        Row(CALL(CT_SetTorque, 3, 500.09, 0), {0x0030, 1, 3, 5000, 0}).Shows("3,500.1,0"),
        {CALL(CT_SetTorque, 3, 6553.7, 0), {0x0030, 1, 3, 1, 0}},
        Row(CALL(CT_SetTorque, 3, kNan, 0), {0x0030, 1, 3, 0, 0}).Shows("3,nan,0"),
    });
    Refused(-2002, {CALL(CT_SetTorque, 32, 999, 30000)});
    Refused(-1702, {CALL(CT_SetTorque, 31, 500.1, 30000), CALL(CT_SetTorque, 31, -500.1, 30000)});
    Refused(-1703, {CALL(CT_SetTorque, 31, 500, 20001)});
}

TEST_F(DriveModesTest, TorquesOfSeveralAxes)
{
    const short axes[] = {3, 31, 3};
    const double torques[] = {0.0, 500.09, 0.1};
    const U16 limits[] = {0xFFFF, 20001, 0};
    const short negativeAxis[] = {-1};
    const double negative[] = {0.0, -0.1};
    const double tooHigh[] = {500.1};
    // No limit is looked at.
    Expect({Row(CALL(mCT_SetTorque, 3, axes, torques, limits),
                {0x0030, 3, 3, 0, 0xFFFF, 31, 5000, 20001, 3, 1, 0})
                .Shows("3")});
    Refused(-1701, {CALL(mCT_SetTorque, 0, nullptr, nullptr, nullptr),
                    CALL(mCT_SetTorque, 33, nullptr, nullptr, nullptr)});
    // Entry by entry: the second axis comes before the second torque.
    Refused(-1702, {CALL(mCT_SetTorque, 2, nullptr, torques, nullptr),
                    CALL(mCT_SetTorque, 2, wrong_, torques, nullptr),
                    CALL(mCT_SetTorque, 1, negativeAxis, tooHigh, nullptr),
                    CALL(mCT_SetTorque, 2, wrong_, negative, limits)});
    Refused(-1703, {CALL(mCT_SetTorque, 1, axes, nullptr, limits),
                    CALL(mCT_SetTorque, 2, axes, negative, nullptr),
                    CALL(mCT_SetTorque, 1, axes, tooHigh, nullptr)});
    Refused(-1704, {CALL(mCT_SetTorque, 1, axes, torques, nullptr)});
}

TEST_F(DriveModesTest, VelocityAndPositionAreTracedInPulses)
{
    SetUnits({{1, 0.01}});
    Expect({
        // The word is widened with its sign.
        Row(CALL(CV_SetVelocity, 1, -1.5, 700.0, 2.999, -2),
            Join({{0x0032, 1, 1}, Long(-150), Long(70000), Long(299), Long(-2)}))
            .Shows("1,-150,70000,299,-2"),
        // The line has another name, and one number more.
        Row(CALL(PP_SetTPosSpeed, 1, -700.0, 12.5),
            Join({{0x2000, 1, 1}, Long(-70000), Long(1250)}))
            .Line("zelQ_PPSetTPosSpeed(5,1,-70000,1250,0)"),
    });
    Refused(-2002, {CALL(CV_SetVelocity, 32, 1, 1, 1, 1), CALL(PP_SetTPosSpeed, 32, 1, 1)});
}

TEST_F(DriveModesTest, WhatOneFrameCannotCarryIsNotSent)
{
    SetUnits({{1, 0.5}});
    const auto axes = Counting<short, 32>(0);
    const auto words = Counting<short, 32>(-16);
    const auto low = Counting<double, 32>(-70000.0);
    const auto mid = Counting<double, 32>(1000.0);
    const auto high = Counting<double, 32>(80000.0);
    Words velocities = {0x0032, 13};
    Words positions = {0x2000, 23};
    for (U16 i = 0; i < 23; ++i) {
        const int factor = i == 1 ? 2 : 1;
        const Words first = Long((i - 70000) * factor);
        const Words second = Long((i + 1000) * factor);
        positions = Join({positions, {i}, first, second});
        if (i >= 13) continue;
        velocities =
            Join({velocities, {i}, first, second, Long((i + 80000) * factor), Long(i - 16)});
    }
    const auto cut = [](Row row, bool fits, const Words& command) {
        return fits ? std::move(row).Frames({Join({{0x0101}, command})})
                    : std::move(row).Gives(-12);
    };
    for (const short count : std::initializer_list<short>{13, 14, 32}) {
        Expect({cut(Row(CALL(mCV_SetVelocity, count, axes.data(), low.data(), mid.data(),
                             high.data(), words.data()))
                        .Shows(std::to_string(count)),
                    count == 13, velocities)});
    }
    for (const short count : std::initializer_list<short>{23, 24, 32}) {
        Expect({cut(Row(CALL(mPP_SetTPosSpeed, count, axes.data(), low.data(), mid.data()))
                        .Line("zelQ_mPPSetTPosSpeed(5," + std::to_string(count) + ")"),
                    count == 23, positions)});
    }
}

TEST_F(DriveModesTest, VelocitiesAndPositionsAreChecked)
{
    const double v[] = {1, 2};
    const double* none = nullptr;
    // Only velocities look at the axis numbers.
    Expect({Row(CALL(mPP_SetTPosSpeed, 2, all_, v, v),
                Join({{0x2000, 2, 0}, Long(1), Long(1), {0xFFFF}, Long(2), Long(2)}))
                .Line("zelQ_mPPSetTPosSpeed(5,2)")});
    for (const short count : std::initializer_list<short>{0, 33}) {
        Refused(-1701, {CALL(mCV_SetVelocity, count, nullptr, none, none, none, nullptr),
                        CALL(mPP_SetTPosSpeed, count, nullptr, none, none)});
    }
    Refused(-1702, {CALL(mCV_SetVelocity, 1, nullptr, none, none, none, nullptr),
                    CALL(mCV_SetVelocity, 2, all_, none, none, none, nullptr),
                    CALL(mCV_SetVelocity, 2, wrong_, v, v, v, nullptr),
                    CALL(mPP_SetTPosSpeed, 1, nullptr, none, none)});
    Refused(-1703, {CALL(mCV_SetVelocity, 1, all_, none, none, none, nullptr),
                    CALL(mPP_SetTPosSpeed, 1, all_, none, none)});
    Refused(-1704, {CALL(mCV_SetVelocity, 1, all_, v, none, none, nullptr),
                    CALL(mPP_SetTPosSpeed, 1, all_, v, none)});
    Refused(-1705, {CALL(mCV_SetVelocity, 1, all_, v, v, none, nullptr)});
    Refused(-1706, {CALL(mCV_SetVelocity, 1, all_, v, v, v, nullptr)});
}

TEST_F(DriveModesTest, TorqueLimitOfOneAxis)
{
    Expect({
        // The codes share a register; a large value is traced as a signed number.
        Row(CALL(TorqueLimitSet, 31, 500, 0, -2, 255, 1, 0x12345678),
            {0x0110, 1, 31, 1, 500, 0, 0xFFFE, 0xFF01, 0x5678, 0x1234})
            .Shows("31,500,0,-2,255,1,305419896"),
        Row(CALL(TorqueLimitSet, 0, 1, 500, 7, 0, 255, 0xFFFFFFFF),
            {0x0110, 1, 0, 1, 1, 500, 7, 0x00FF, 0xFFFF, 0xFFFF})
            .Shows("0,1,500,7,0,255,-1"),
        // Free switches the limit off.
        {CALL(TorqueLimitFree, 3, 70000), Join({{0x0110, 1, 3, 0, 500, 500, 0, 0}, Long(70000)})},
    });
    Refused(-2002,
            {CALL(TorqueLimitSet, 32, 999, 999, 0, 999, 999, 0), CALL(TorqueLimitFree, 32, 0)});
    Refused(-1702, {CALL(TorqueLimitSet, 31, 501, 999, 0, 999, 999, 0)});
    Refused(-1703, {CALL(TorqueLimitSet, 31, 500, 501, 0, 999, 999, 0)});
    Refused(-1704, {CALL(TorqueLimitSet, 31, 500, 500, 0, 256, 999, 0)});
    Refused(-1705, {CALL(TorqueLimitSet, 31, 500, 500, 0, 255, 256, 0)});
}

TEST_F(DriveModesTest, TorqueLimitsTravelFourteenToAFrame)
{
    // Nothing in the arrays is checked, and codes lose their high bytes.
    const auto axes = Counting<U16, 32>(40);
    const auto signedAxes = Counting<short, 32>(-1);
    const auto limit1 = Counting<U16, 32>(490);
    const auto limit2 = Counting<U16, 32>(600);
    const auto param3 = Counting<short, 32>(-5);
    const auto high = Counting<U16, 32>(250);
    const auto low = Counting<U16, 32>(0x1100);
    const auto values = Counting<unsigned int, 32>(0xFFFF);
    const auto frames = [](U16 count, bool set) {
        const int total = (count + 13) / 14;
        std::vector<Words> all;
        for (U16 i = 0; i < count; ++i) {
            if (i % 14 == 0) all.push_back({static_cast<U16>(total << 8 | (i / 14 + 1))});
            if (i == 0) all[0] = Join({all[0], {0x0110, count}});
            const auto w = [i](int first) { return static_cast<U16>(first + i); };
            const auto codes = static_cast<U16>((250 + i) << 8 | i);
            all.back() = Join({all.back(),
                               set ? Words{w(40), 1, w(490), w(600), w(-5), codes}
                                   : Words{w(-1), 1, 500, 500, 0, 0},
                               Long(0xFFFF + i)});
        }
        return all;
    };
    for (const short count : std::initializer_list<short>{14, 15, 32}) {
        Expect({Row(CALL(mTorqueLimitSet, count, axes.data(), limit1.data(), limit2.data(),
                         param3.data(), high.data(), low.data(), values.data()))
                    .Frames(frames(static_cast<U16>(count), true), std::to_string(count)),
                // Unlike for one axis, the limit stays on.
                Row(CALL(mTorqueLimitFree, count, signedAxes.data(), values.data()))
                    .Frames(frames(static_cast<U16>(count), false), std::to_string(count))});
    }
}

TEST_F(DriveModesTest, TorqueLimitsNeedCountAndArrays)
{
    const U16 words[] = {0};
    const short axes[] = {0};
    const unsigned int values[] = {0};
    for (int missing = 2; missing <= 8; ++missing) {
        const auto given = [missing](int position, const auto* array) {
            return missing == position ? nullptr : array;
        };
        for (const short count : std::initializer_list<short>{0, 1, 33}) {
            Refused(static_cast<short>(count == 1 ? -1700 - missing : -2004),
                    {CALL(mTorqueLimitSet, count, given(2, words), given(3, words), given(4, words),
                          given(5, axes), given(6, words), given(7, words), given(8, values))});
        }
    }
    Refused(-2004, {CALL(mTorqueLimitFree, 0, nullptr, nullptr),
                    CALL(mTorqueLimitFree, 33, nullptr, nullptr)});
    Refused(-1702, {CALL(mTorqueLimitFree, 1, nullptr, nullptr)});
    Refused(-1703, {CALL(mTorqueLimitFree, 1, axes, nullptr)});
}

TEST_F(DriveModesTest, TorqueLimitStatusIsReadFromTheAxisRegisters)
{
    TorqueLimitStatus status{};
    auto wanted = Untouched<TorqueLimitStatus>();
    const auto flags = [&](U16 active, U16 flag1, U16 flag2) {
        wanted.active = active;
        wanted.flag1 = flag1;
        wanted.flag2 = flag2;
        return wanted;
    };
    wanted.word1 = 10;
    wanted.word2 = 20;
    wanted.word3 = 30;
    wanted.word4 = 40;
    wanted.value5 = 0xFFFF; // not sign-extended
    wanted.value6 = 0x92345678U;
    controller_.SetRegisters(0x072F, {0xFFFA, 10, 20, 30, 40, 0xFFFF, 0x5678, 0x9234});
    controller_.SetRegisters(0x062F, {0x0005, 10, 20, 30, 40, 0xFFFF, 0x5678, 0x9234});
    Expect({
        Row(CALL(TorqueLimitGetStatus, 7, &status))
            .Reads({{0x072F, 8}}, "7")
            .Gets(status, flags(0, 1, 0)),
        Row(CALL(TorqueLimitGetStatus, 6, &status))
            .Reads({{0x062F, 8}}, "6")
            .Gets(status, flags(1, 0, 1)),
    });
    Refused(-2002, {CALL(TorqueLimitGetStatus, 32, nullptr), CALL(TorqueLimitGetStatus, 8, &status),
                    CALL(TorqueLimitGetStatus, 30, &status)});
    Refused(-1702, {CALL(TorqueLimitGetStatus, 8, nullptr)});
}

TEST_F(DriveModesTest, SoftwareLimitsAreSet)
{
    SetUnits({{2, 0.001}});
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    Expect({
        // Each mode before its position; positions are not checked.
        {CALL(StopModeSwLimit, 2, 2, 1.0009, 1, -1.0009),
         Join({{0x0120, 1, 2, 2}, Long(1000), {1}, Long(-1000)})},
        Row(CALL(StopModeSwLimit, 31, 0, -5.0, 0, kInfinity),
            Join({{0x0120, 1, 31, 0}, Long(-5), {0}, Long(INT32_MIN)}))
            .Shows("31,0,-5,0,inf"),
    });
    Refused(-2002, {CALL(StopModeSwLimit, 32, 3, 0, 3, 0)});
    Refused(-1702, {CALL(StopModeSwLimit, 31, 3, 0, 3, 0)});
    Refused(-1704, {CALL(StopModeSwLimit, 31, 2, 0, 3, 0)});
}

TEST_F(DriveModesTest, SoftwareLimitsAreReadBack)
{
    std::array<U16, 3> m1{};
    std::array<U16, 3> m2{};
    std::array<double, 3> p1{};
    std::array<double, 3> p2{};
    const U16 axes[] = {3, 0};
    SetUnits({{2, 0.001}, {3, 0.5}});
    controller_.SetRegisters(0x023E, Join({Long(-1000), {1}, Long(70000), {2}}));
    controller_.SetRegisters(0x033E, Join({Long(70000), {2}, Long(-3), {0}}));
    controller_.SetRegisters(0x003E, Join({Long(-8), {1}, Long(9), {2}}));
    Expect({
        Row(CALL(SwLimitGet, 2, m1.data(), p1.data(), m2.data(), p2.data()))
            .Reads({{0x023E, 6}}, "2")
            .Fills(m1, {1})
            .Fills(p1, {-1.0})
            .Fills(m2, {2})
            .Fills(p2, {70.0}),
        // The line's fourth number is 0.
        Row(CALL(mSwLimitGet, 2, axes, m1.data(), p1.data(), m2.data(), p2.data()))
            .Reads({{0x033E, 6}, {0x003E, 6}}, "2,0")
            .Fills(m1, {2, 1})
            .Fills(p1, {35000.0, -8.0})
            .Fills(m2, {0, 2})
            .Fills(p2, {-1.5, 9.0}),
    });
    ThenFirstFrameOnly();
    ExpectOnce(Row(CALL(mSwLimitGet, 2, axes, m1.data(), p1.data(), m2.data(), p2.data()))
                   .Reads({{0x033E, 6}, {0x003E, 6}}, "2,0")
                   .Gives(-12)
                   .Fills(m1, {})
                   .Fills(p1, {})
                   .Fills(m2, {})
                   .Fills(p2, {}));
    zelQ_Disconnect(kNumber);
    capture_.Lines();
    ExpectOnce(Row(CALL(SwLimitGet, 0, m1.data(), p1.data(), m2.data(), p2.data()))
                   .Shows("0")
                   .Gives(-4)
                   .Fills(m1, {}));
}

TEST_F(DriveModesTest, SoftwareLimitsCheckAxesThenOutputs)
{
    const U16 nine[] = {0, 1, 2, 3, 4, 5, 6, 7, 0};
    const U16 twice[] = {3, 3};
    const U16 noServo[] = {3, 30};
    U16 mode = 0;
    double p = 0;
    U16* m = &mode;
    Refused(-2002, {CALL(SwLimitGet, 32, nullptr, nullptr, nullptr, nullptr),
                    CALL(mSwLimitGet, 2, noServo, nullptr, nullptr, nullptr, nullptr)});
    Refused(-2003, {CALL(mSwLimitGet, 2, twice, nullptr, nullptr, nullptr, nullptr)});
    for (const short count : std::initializer_list<short>{0, 9, 33}) {
        Refused(-2004, {CALL(mSwLimitGet, count, nine, m, &p, m, &p)});
    }
    Refused(-1702,
            {CALL(SwLimitGet, 0, nullptr, &p, m, &p), CALL(mSwLimitGet, 1, nullptr, m, &p, m, &p)});
    Refused(-1703, {CALL(SwLimitGet, 0, m, nullptr, m, &p),
                    CALL(mSwLimitGet, 1, nine, nullptr, &p, m, &p)});
    Refused(-1704, {CALL(SwLimitGet, 0, m, &p, nullptr, &p),
                    CALL(mSwLimitGet, 1, nine, m, nullptr, m, &p)});
    Refused(-1705, {CALL(SwLimitGet, 0, m, &p, m, nullptr),
                    CALL(mSwLimitGet, 1, nine, m, &p, nullptr, &p)});
    Refused(-1706, {CALL(mSwLimitGet, 1, nine, m, &p, m, nullptr)});
}

TEST_F(DriveModesTest, SensorsLostConnectionAndHandWheel)
{
    Expect({
        {CALL(StopModeSensorOn, 31, 3, 2), {0x0121, 1, 31, 3, 2}},
        // Neither count nor axis, and the value before the mode.
        Row(CALL(StopModeDisconnected, 0x80010002U, 1), {0x0122, 2, 0x8001, 1})
            .Shows("-2147418110,1"),
        {CALL(MPGSetCfg, 31, 2, 3, 1, 32, 2048), {0x0130, 31, 2, 3, 1, 32, 2048}},
        {CALL(MPGSetCfg, 0, 0, 0, 0, 1, 1), {0x0130, 0, 0, 0, 0, 1, 1}},
    });
    Refused(-2002, {CALL(StopModeSensorOn, 32, 4, 3), CALL(MPGSetCfg, 32, 3, 4, 2, 0, 0)});
    Refused(-1702, {CALL(StopModeSensorOn, 31, 4, 3), CALL(StopModeDisconnected, 0, 2),
                    CALL(MPGSetCfg, 31, 3, 4, 2, 0, 0)});
    Refused(-1703, {CALL(StopModeSensorOn, 31, 3, 3), CALL(MPGSetCfg, 31, 2, 4, 2, 0, 0)});
    Refused(-1704, {CALL(MPGSetCfg, 31, 2, 3, 2, 0, 0)});
    Refused(-1705, {CALL(MPGSetCfg, 31, 2, 3, 1, 0, 0), CALL(MPGSetCfg, 31, 2, 3, 1, 33, 0)});
    Refused(-1706, {CALL(MPGSetCfg, 31, 2, 3, 1, 32, 0), CALL(MPGSetCfg, 31, 2, 3, 1, 32, 2049),
                    CALL(MPGSetCfg, 31, 2, 3, 1, 32, -1)});
}

} // namespace

} // namespace zelq::test
