#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <limits>
#include <numeric>

namespace zelq::test {

namespace {

using DriveModesTest = WireTest;

TEST_F(DriveModesTest, TorqueTravelsInTenths)
{
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    Run({
        {.name = "truncated",
         .call = [] { return zelQ_CT_SetTorque(kNumber, 3, 12.37, 20000); },
         .frames = {{0x0101, 0x0030, 1, 3, 123, 20000}},
         .trace = "0=zelQ_CT_SetTorque(5,3,12.4,20000)"},
        {.name = "lowest, with a negative limit",
         .call = [] { return zelQ_CT_SetTorque(kNumber, 3, -500.0, -1); },
         .frames = {{0x0101, 0x0030, 1, 3, 0xEC78, 0xFFFF}},
         .trace = "0=zelQ_CT_SetTorque(5,3,-500.0,-1)"},
        {.name = "above the highest by less than a tenth",
         .call = [] { return zelQ_CT_SetTorque(kNumber, 3, 500.09, 0); },
         .result = 4,
         .frames = {{0x0101, 0x0030, 1, 3, 5000, 0}},
         .controllerResult = 4,
         .trace = "4=zelQ_CT_SetTorque(5,3,500.1,0)"},
        {.name = "far above, the low 16 bits alone count",
         .call = [] { return zelQ_CT_SetTorque(kNumber, 3, 6553.7, 0); },
         .frames = {{0x0101, 0x0030, 1, 3, 1, 0}},
         .trace = "0=zelQ_CT_SetTorque(5,3,6553.7,0)"},
        {.name = "not a number",
         .call = [] { return zelQ_CT_SetTorque(kNumber, 3, kNan, 0); },
         .frames = {{0x0101, 0x0030, 1, 3, 0, 0}},
         .trace = "0=zelQ_CT_SetTorque(5,3,nan,0)"},
    });
    ExpectNumberChecks([](short zelNo) { return zelQ_CT_SetTorque(zelNo, 99, 999, 30000); });
    ExpectRefused(-2002, {[] { return zelQ_CT_SetTorque(kNumber, 32, 999, 30000); }});
    ExpectRefused(-1702, {[] { return zelQ_CT_SetTorque(kNumber, 31, 500.1, 30000); },
                          [] { return zelQ_CT_SetTorque(kNumber, 31, -500.1, 30000); }});
    ExpectRefused(-1703, {[] { return zelQ_CT_SetTorque(kNumber, 31, 500.0, 20001); }});
}

TEST_F(DriveModesTest, TorquesOfSeveralAxes)
{
    static constexpr std::array<short, 3> kAxes = {3, 31, 3};
    static constexpr std::array<double, 3> kTorques = {0.0, 500.09, 0.1};
    static constexpr std::array<unsigned short, 3> kLimits = {0xFFFF, 20001, 0};
    static constexpr std::array<short, 2> kBadAxis = {0, 32};
    static constexpr std::array<short, 1> kNegativeAxis = {-1};
    static constexpr std::array<double, 2> kNegative = {0.0, -0.1};
    static constexpr std::array<double, 1> kTooHigh = {500.1};
    Run({{.name = "no limit is looked at",
          .call =
              [] {
                  return zelQ_mCT_SetTorque(kNumber, 3, kAxes.data(), kTorques.data(),
                                            kLimits.data());
              },
          .frames = {{0x0101, 0x0030, 3, 3, 0, 0xFFFF, 31, 5000, 20001, 3, 1, 0}},
          .trace = "0=zelQ_mCT_SetTorque(5,3)"}});

    const auto send = [](short count, const short* axes, const double* torques,
                         const unsigned short* limits) {
        return [=] { return zelQ_mCT_SetTorque(kNumber, count, axes, torques, limits); };
    };
    ExpectNumberChecks([](short n) { return zelQ_mCT_SetTorque(n, 0, nullptr, nullptr, nullptr); });
    ExpectRefused(-1701, {send(0, nullptr, nullptr, nullptr), send(33, nullptr, nullptr, nullptr)});
    ExpectRefused(-1702, {send(2, nullptr, kTorques.data(), nullptr),
                          send(2, kBadAxis.data(), kTorques.data(), nullptr),
                          send(1, kNegativeAxis.data(), kTooHigh.data(), nullptr),
                          // Entry by entry: the second axis comes before the second torque.
                          send(2, kBadAxis.data(), kNegative.data(), kLimits.data())});
    ExpectRefused(-1703, {send(1, kAxes.data(), nullptr, kLimits.data()),
                          send(2, kAxes.data(), kNegative.data(), nullptr),
                          send(1, kAxes.data(), kTooHigh.data(), nullptr)});
    ExpectRefused(-1704, {send(1, kAxes.data(), kTorques.data(), nullptr)});
}

TEST_F(DriveModesTest, OneAxisIsTracedInPulses)
{
    zelQ_UnitPerPulseSet(kNumber, 1, 0.01);
    capture_.Lines();
    Run({
        {.name = "velocity; the word is widened with its sign",
         .call = [] { return zelQ_CV_SetVelocity(kNumber, 1, -1.5, 700.0, 2.999, -2); },
         .frames = {Join({{0x0101, 0x0032, 1, 1}, Long(-150), Long(70000), Long(299), Long(-2)})},
         .trace = "0=zelQ_CV_SetVelocity(5,1,-150,70000,299,-2)"},
        {.name = "position; the line has one number more",
         .call = [] { return zelQ_PP_SetTPosSpeed(kNumber, 1, -700.0, 12.5); },
         .result = 7,
         .frames = {Join({{0x0101, 0x2000, 1, 1}, Long(-70000), Long(1250)})},
         .controllerResult = 7,
         .trace = "7=zelQ_PPSetTPosSpeed(5,1,-70000,1250,0)"},
    });
    ExpectNumberChecks([](short zelNo) { return zelQ_CV_SetVelocity(zelNo, 99, 1, 1, 1, 1); });
    ExpectNumberChecks([](short zelNo) { return zelQ_PP_SetTPosSpeed(zelNo, 99, 1, 1); });
    ExpectRefused(-2002, {[] { return zelQ_CV_SetVelocity(kNumber, 32, 1, 1, 1, 1); },
                          [] { return zelQ_PP_SetTPosSpeed(kNumber, 32, 1, 1); }});
}

/// Arrays of 32 axes, and the registers of their rows.
struct Axes
{
    std::array<short, 32> axes{};
    std::array<short, 32> words{};
    std::array<double, 32> values{};

    Axes()
    {
        std::iota(axes.begin(), axes.end(), short{0});
        std::iota(words.begin(), words.end(), short{-16});
        std::iota(values.begin(), values.end(), -70000.0);
    }

    [[nodiscard]] short SetVelocity(short count) const
    {
        return zelQ_mCV_SetVelocity(5, count, axes.data(), values.data(), values.data(),
                                    values.data(), words.data());
    }

    [[nodiscard]] static Words Velocities(std::uint16_t count)
    {
        Words frame = {0x0101, 0x0032, count};
        for (std::uint16_t i = 0; i < count; ++i) {
            const Words value = Long(i - 70000);
            frame = Join({frame, {i}, value, value, value, Long(i - 16)});
        }
        return frame;
    }

    [[nodiscard]] short SetPosition(short count) const
    {
        return zelQ_mPP_SetTPosSpeed(5, count, axes.data(), values.data(), values.data());
    }

    [[nodiscard]] static Words Positions(std::uint16_t count)
    {
        Words frame = {0x0101, 0x2000, count};
        for (std::uint16_t i = 0; i < count; ++i) {
            frame = Join({frame, {i}, Long(i - 70000), Long(i - 70000)});
        }
        return frame;
    }
};

TEST_F(DriveModesTest, WhatOneFrameCannotCarryIsNotSent)
{
    const Axes all;
    Run({
        {.name = "the most velocities",
         .call = [&] { return all.SetVelocity(13); },
         .frames = {Axes::Velocities(13)},
         .trace = "0=zelQ_mCV_SetVelocity(5,13)"},
        {.name = "one more",
         .call = [&] { return all.SetVelocity(14); },
         .result = -12,
         .trace = "-12=zelQ_mCV_SetVelocity(5,14)"},
        {.name = "so many that the byte count would run over",
         .call = [&] { return all.SetVelocity(32); },
         .result = -12,
         .trace = "-12=zelQ_mCV_SetVelocity(5,32)"},
        {.name = "the most positions",
         .call = [&] { return all.SetPosition(23); },
         .frames = {Axes::Positions(23)},
         .trace = "0=zelQ_mPPSetTPosSpeed(5,23)"},
        {.name = "one more",
         .call = [&] { return all.SetPosition(24); },
         .result = -12,
         .trace = "-12=zelQ_mPPSetTPosSpeed(5,24)"},
        {.name = "all",
         .call = [&] { return all.SetPosition(32); },
         .result = -12,
         .trace = "-12=zelQ_mPPSetTPosSpeed(5,32)"},
    });
}

TEST_F(DriveModesTest, ListsAreChecked)
{
    static constexpr std::array<short, 2> kAxes = {0, -1};
    static constexpr std::array<short, 2> kBadAxis = {0, 32};
    static constexpr std::array<double, 2> kValues = {1.0, 2.0};
    const double* v = kValues.data();
    const double* none = nullptr;
    const auto velocity = [](short count, const short* axes, const double* x, const double* y,
                             const double* z) {
        return [=] { return zelQ_mCV_SetVelocity(kNumber, count, axes, x, y, z, nullptr); };
    };
    const auto position = [](short count, const short* axes, const double* pos) {
        return [=] { return zelQ_mPP_SetTPosSpeed(kNumber, count, axes, pos, nullptr); };
    };
    // Only velocities look at the axis numbers.
    Run({{.name = "an axis out of range",
          .call = [&] { return zelQ_mPP_SetTPosSpeed(kNumber, 2, kAxes.data(), v, v); },
          .frames = {Join({{0x0101, 0x2000, 2, 0}, Long(1), Long(1), {0xFFFF}, Long(2), Long(2)})},
          .trace = "0=zelQ_mPPSetTPosSpeed(5,2)"}});
    ExpectNumberChecks(
        [&](short n) { return zelQ_mCV_SetVelocity(n, 0, nullptr, none, none, none, nullptr); });
    ExpectNumberChecks([&](short n) {
        return zelQ_mPP_SetTPosSpeed(static_cast<unsigned short>(n), 0, nullptr, none, none);
    });
    ExpectRefused(-1701,
                  {velocity(0, nullptr, none, none, none), velocity(33, nullptr, none, none, none),
                   position(0, nullptr, none), position(33, nullptr, none)});
    ExpectRefused(-1702, {velocity(1, nullptr, none, none, none),
                          velocity(2, kAxes.data(), none, none, none),
                          velocity(2, kBadAxis.data(), v, v, v), position(1, nullptr, none)});
    ExpectRefused(-1703,
                  {velocity(1, kAxes.data(), none, none, none), position(1, kAxes.data(), none)});
    ExpectRefused(-1704, {velocity(1, kAxes.data(), v, none, none), position(1, kAxes.data(), v)});
    ExpectRefused(-1705, {velocity(1, kAxes.data(), v, v, none)});
    ExpectRefused(-1706, {velocity(1, kAxes.data(), v, v, v)});
}

} // namespace

} // namespace zelq::test
