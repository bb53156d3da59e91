#pragma once

#include "support/wire_test.h"
#include "zelq.h"

#include <array>
#include <functional>
#include <vector>

namespace zelq::test {

inline constexpr InterpSpeedProfile kSpeed{.profileType = 0,
                                           .reserved = 0xA5A5,
                                           .startSpeed = 10,
                                           .acc = 200,
                                           .driveSpeed = 300,
                                           .dec = 400,
                                           .endSpeed = 50};

/// The five speeds of a record as registers, at one pulse a unit.
inline Words Speeds(std::array<std::int32_t, 5> values = {10, 200, 300, 400, 50})
{
    Words words;
    for (const std::int32_t value : values) {
        words = Join({words, Long(value)});
    }
    return words;
}

/// Wire tests that share one interpolation map.
class InterpolationTest : public WireTest
{
  protected:
    static constexpr short kMap = 2;

    /// Where every test begins: map 2 moves the axes 4, 1, 6, each with a factor of its own.
    void SetUp() override
    {
        WireTest::SetUp();
        for (short map = 0; map < 16; ++map) {
            zelQ_IMapClear(kNumber, map);
        }
        SetMap({4, 1, 6});
        zelQ_UnitPerPulseSet(kNumber, 4, 0.5);
        zelQ_UnitPerPulseSet(kNumber, 1, 0.1);
        zelQ_UnitPerPulseSet(kNumber, 6, 0.25);
        Forget();
    }

    void TearDown() override
    {
        zelQ_SpeedEqualStartAndStopSet(0);
        WireTest::TearDown();
    }

    void SetMap(const std::vector<unsigned short>& axes)
    {
        ASSERT_EQ(zelQ_IMapSet(kNumber, kMap, static_cast<short>(axes.size()), axes.data()), 0);
        Forget();
    }

    /// Drops what was sent and traced so far.
    void Forget()
    {
        controller_.TakeRequests();
        capture_.Lines();
    }

    /// The next reply has a register less than was asked for.
    void ThenShortReply()
    {
        controller_.Then([this](const Request& request) {
            RequestFrame frame = request.at(0);
            --frame.quantity;
            return Answer{.bytes = controller_.ProperReply(frame)};
        });
    }

    /// What a line to one unit on each axis is sent as: the factors of a map's axes.
    Words FactorsOf(short count)
    {
        InterpSpeedProfile speed = kSpeed;
        const std::vector<double> ones(static_cast<std::size_t>(count), 1.0);
        EXPECT_EQ(zelQ_ILinear(kNumber, kMap, 0, count, ones.data(), &speed), 0);
        const Words sent = controller_.TakeRequests().at(0).at(0).written;
        capture_.Lines();
        return {sent.begin() + 16, sent.end()};
    }

    /// The speeds at the map's first axis, of 0.5 units a pulse.
    static Words MapSpeeds() { return Speeds({20, 400, 600, 800, 100}); }

    /// Whether a call, while the flag for equal speeds is set, changes those of its record.
    bool Changes(const std::function<short(InterpSpeedProfile*)>& call, short result)
    {
        EXPECT_EQ(zelQ_SpeedEqualStartAndStopSet(1), 0);
        speed_ = kSpeed;
        EXPECT_EQ(call(&speed_), result);
        return speed_.endSpeed == speed_.startSpeed;
    }

    InterpSpeedProfile speed_ = kSpeed;
};

} // namespace zelq::test
