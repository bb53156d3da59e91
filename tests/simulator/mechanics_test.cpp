// Where signals come on and go off.

#include "core/mechanics.h"

#include <gtest/gtest.h>
#include <optional>

namespace lumosim {
namespace {

struct EdgeCase
{
    const char* name;
    Signal signal;
    bool on;
    double here;
    int direction;
    std::optional<double> edge;
};

class Edges : public testing::TestWithParam<EdgeCase>
{};

TEST_P(Edges, LieAhead)
{
    AxisMechanics mechanics;
    mechanics.negativeLimit = -500;
    mechanics.positiveLimit = 500;
    mechanics.stopperGap = 20;
    mechanics.homeSensor = Stretch{10, 19};
    mechanics.pulsesPerTurn = 100;
    mechanics.zPhase = 30;
    const EdgeCase& edge = GetParam();
    EXPECT_EQ(EdgeAhead(mechanics, edge.signal, edge.on, edge.here, edge.direction), edge.edge);
}

INSTANTIATE_TEST_SUITE_P(
    All, Edges,
    testing::Values(
        EdgeCase{"OnFromBelow", Signal::kHomeSensor, true, 0, 1, 10},
        EdgeCase{"OnFromAbove", Signal::kHomeSensor, true, 30, -1, 19},
        EdgeCase{"OffAboveIt", Signal::kHomeSensor, false, 12, 1, 20},
        EdgeCase{"OffBelowIt", Signal::kHomeSensor, false, 19, -1, 9},
        EdgeCase{"OffBehindTheStretchAhead", Signal::kHomeSensor, false, 0, 1, 20},
        EdgeCase{"NotAgainFromInside", Signal::kHomeSensor, true, 10, 1, std::nullopt},
        EdgeCase{"NotBehind", Signal::kHomeSensor, true, 9, -1, std::nullopt},
        EdgeCase{"NeverWithoutAProbe", Signal::kProbe, true, 0, 1, std::nullopt},
        EdgeCase{"NeverWithoutAPlace", Signal::kConfigurableInput, true, 0, 1, std::nullopt},
        EdgeCase{"NextZPhase", Signal::kZPhase, true, 29.5, 1, 30},
        EdgeCase{"ZPhaseOfTheNextTurn", Signal::kZPhase, true, 30, 1, 130},
        EdgeCase{"ZPhaseOfTheTurnBefore", Signal::kZPhase, true, 30, -1, -70},
        EdgeCase{"ZPhaseOver", Signal::kZPhase, false, 30, -1, 29},
        EdgeCase{"Limit", Signal::kLimitPositive, true, 0, 1, 500},
        EdgeCase{"OffTheLimit", Signal::kLimitNegative, false, -530, 1, -499},
        EdgeCase{"NoEndOfTheLimit", Signal::kLimitPositive, false, 510, 1, std::nullopt},
        EdgeCase{"OffTheStopper", Signal::kStopperPositive, false, 520, -1, 519}),
    [](const auto& parameter) { return parameter.param.name; });

TEST(Mechanics, SignalsAreOnAtTheirPlacesOrByHand)
{
    AxisMechanics mechanics;
    mechanics.homeSensor = Stretch{10, 19};
    EXPECT_FALSE(OnAt(mechanics, Signal::kHomeSensor, 9));
    EXPECT_TRUE(OnAt(mechanics, Signal::kHomeSensor, 10));
    EXPECT_TRUE(OnAt(mechanics, Signal::kHomeSensor, 19));
    EXPECT_FALSE(OnAt(mechanics, Signal::kHomeSensor, 20));
    EXPECT_TRUE(OnAt(mechanics, Signal::kZPhase, 2500 - 10'000));
    AxisInputs inputs;
    inputs.probe = true;
    EXPECT_TRUE(ForcedOn(inputs, Signal::kProbe));
    EXPECT_FALSE(ForcedOn(inputs, Signal::kHomeSensor));
    EXPECT_EQ(mechanics.BehindStopper(10'050'007), 7);
    EXPECT_EQ(mechanics.BehindStopper(-10'050'007), -7);
    EXPECT_EQ(mechanics.BehindStopper(10'050'000), 0);
}

} // namespace
} // namespace lumosim
