#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <numeric>

namespace zelq::test {

namespace {

using OverrideTest = WireTest;

TEST_F(OverrideTest, OneAxisIsScaledByItsFactor)
{
    zelQ_UnitPerPulseSet(kNumber, 1, 0.01);
    capture_.Lines();
    Run({
        {.name = "drive speed",
         .call = [] { return zelQ_OverrideDriveSpeed(kNumber, 1, 55.555); },
         .frames = {Join({{0x0101, 0x0020, 1, 1}, Long(5555)})},
         .trace = "0=zelQ_OverrideDriveSpeed(5,1,55.555)"},
        {.name = "profile: sent as given, traced with the last two changed",
         .call = [] { return zelQ_OverrideSpeed(kNumber, 1, 1.5, 2.5, -3.5); },
         .frames = {Join({{0x0101, 0x0021, 1, 1}, Long(150), Long(250), Long(-350)})},
         .trace = "0=zelQ_OverrideSpeed(5,1,1.5,-3.5,2.5)"},
        {.name = "target, refused by the controller",
         .call = [] { return zelQ_OverrideAbs(kNumber, 31, -2.9); },
         .result = 8,
         .frames = {Join({{0x0101, 0x0022, 1, 31}, Long(-2)})},
         .controllerResult = 8,
         .trace = "8=zelQ_OverrideAbs(5,31,-2.9)"},
    });
    ExpectNumberChecks([](short zelNo) { return zelQ_OverrideDriveSpeed(zelNo, 99, 1); });
    ExpectNumberChecks([](short zelNo) { return zelQ_OverrideSpeed(zelNo, 99, 1, 1, 1); });
    ExpectNumberChecks([](short zelNo) { return zelQ_OverrideAbs(zelNo, 99, 1); });
    ExpectRefused(-2002, {[] { return zelQ_OverrideDriveSpeed(kNumber, 32, 1); },
                          [] { return zelQ_OverrideSpeed(kNumber, 32, 1, 1, 1); },
                          [] { return zelQ_OverrideAbs(kNumber, 32, 1); }});
}

TEST_F(OverrideTest, SeveralAxesKeepTheCallersOrder)
{
    static constexpr std::array<short, 2> kAxes = {3, -1};
    static constexpr std::array<double, 2> kValues = {10.0, -2.7};
    zelQ_UnitPerPulseSet(kNumber, 3, 0.1);
    capture_.Lines();
    const Words rows = Join({{3}, Long(100), {0xFFFF}, Long(-2)});
    Run({
        {.name = "drive speeds",
         .call = [] { return zelQ_mOverrideDriveSpeed(kNumber, 2, kAxes.data(), kValues.data()); },
         .frames = {Join({{0x0101, 0x0020, 2}, rows})},
         .trace = "0=zelQ_mOverrideDriveSpeed(5,2)"},
        {.name = "targets",
         .call = [] { return zelQ_mOverrideAbs(kNumber, 2, kAxes.data(), kValues.data()); },
         .result = 8,
         .frames = {Join({{0x0101, 0x0022, 2}, rows})},
         .controllerResult = 8,
         .trace = "8=zelQ_mOverrideAbs(5,2)"},
    });
    ExpectNumberChecks([](short n) { return zelQ_mOverrideDriveSpeed(n, 0, nullptr, nullptr); });
    ExpectNumberChecks([](short n) { return zelQ_mOverrideAbs(n, 0, nullptr, nullptr); });
    // The same mistake has two codes.
    ExpectRefused(-2004, {[] { return zelQ_mOverrideDriveSpeed(kNumber, 0, nullptr, nullptr); },
                          [] { return zelQ_mOverrideDriveSpeed(kNumber, 33, nullptr, nullptr); }});
    ExpectRefused(-1701, {[] { return zelQ_mOverrideAbs(kNumber, 0, nullptr, nullptr); },
                          [] { return zelQ_mOverrideAbs(kNumber, 33, nullptr, nullptr); }});
    ExpectRefused(-1702, {[] { return zelQ_mOverrideDriveSpeed(kNumber, 1, nullptr, nullptr); },
                          [] { return zelQ_mOverrideAbs(kNumber, 1, nullptr, nullptr); }});
    ExpectRefused(-1703,
                  {[] { return zelQ_mOverrideDriveSpeed(kNumber, 1, kAxes.data(), nullptr); },
                   [] { return zelQ_mOverrideAbs(kNumber, 1, kAxes.data(), nullptr); }});
}

/// 32 axes with three values each.
struct Profiles
{
    std::array<short, 32> axes{};
    std::array<std::array<double, 32>, 3> values{};

    Profiles()
    {
        std::iota(axes.begin(), axes.end(), short{0});
        for (std::size_t k = 0; k < values.size(); ++k) {
            std::iota(values[k].begin(), values[k].end(), -100000.0 * static_cast<double>(k));
        }
    }

    [[nodiscard]] short Send(short count) const
    {
        return zelQ_mOverrideSpeed(5, count, axes.data(), values[0].data(), values[1].data(),
                                   values[2].data());
    }

    /// `head`, then the registers of the axes from `first` up to `end`.
    [[nodiscard]] static Words Frame(Words head, int first, int end)
    {
        for (int i = first; i < end; ++i) {
            const auto axis = static_cast<std::uint16_t>(i);
            head = Join({head, {axis}, Long(i), Long(i - 100000), Long(i - 200000)});
        }
        return head;
    }
};

TEST_F(OverrideTest, ProfilesOfManyAxesAreSplitOverFrames)
{
    const Profiles p;
    Run({
        {.name = "a full frame",
         .call = [&] { return p.Send(16); },
         .frames = {Profiles::Frame({0x0101, 0x0021, 16}, 0, 16)},
         .trace = "0=zelQ_mSetSpeed(5,16)"},
        {.name = "one more",
         .call = [&] { return p.Send(17); },
         .frames = {Profiles::Frame({0x0201, 0x0021, 17}, 0, 16),
                    Profiles::Frame({0x0202}, 16, 17)},
         .trace = "0=zelQ_mSetSpeed(5,17)"},
    });
    EXPECT_EQ(p.Send(32), 0);
    const std::vector<Request> requests = controller_.TakeRequests();
    ASSERT_EQ(requests.size(), 1U) << "all frames travel together";
    ASSERT_EQ(requests.front().size(), 2U);
    EXPECT_EQ(requests.front()[0].written.size(), 115U);
    EXPECT_EQ(requests.front()[1].written, Profiles::Frame({0x0202}, 16, 32));
    EXPECT_EQ(NextTrace(), "0=zelQ_mSetSpeed(5,32)");
}

TEST_F(OverrideTest, ProfilesOfManyAxesAreChecked)
{
    static constexpr std::array<short, 1> kAxes{};
    static constexpr std::array<double, 1> kValues{};
    const short* axes = kAxes.data();
    const double* v = kValues.data();
    const double* none = nullptr;
    const auto send = [](short count, const short* a, const double* x, const double* y,
                         const double* z) {
        return [=] { return zelQ_mOverrideSpeed(kNumber, count, a, x, y, z); };
    };
    ExpectNumberChecks([&](short n) {
        return zelQ_mOverrideSpeed(static_cast<unsigned short>(n), 0, nullptr, none, none, none);
    });
    ExpectRefused(-1701, {send(0, nullptr, none, none, none), send(33, nullptr, none, none, none)});
    ExpectRefused(-1702, {send(1, nullptr, none, none, none)});
    ExpectRefused(-1703, {send(1, axes, none, none, none)});
    ExpectRefused(-1704, {send(1, axes, v, none, none)});
    ExpectRefused(-1705, {send(1, axes, v, v, none)});
}

} // namespace

} // namespace zelq::test
