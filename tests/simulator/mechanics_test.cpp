// Where signals come on and go off.

#include "core/mechanics.h"

#include <gtest/gtest.h>
#include <optional>

namespace lumosim {
namespace {

TEST(Mechanics, EdgesLieAhead)
{
    struct Edge
    {
        const char* name;
        Signal signal;
        bool on;
        double here;
        int direction;
        std::optional<double> place;
    };
    const AxisMechanics mechanics{.negativeLimit = -500,
                                  .positiveLimit = 500,
                                  .stopperGap = 20,
                                  .homeSensor = Stretch{10, 19},
                                  .probe = {},
                                  .pulsesPerTurn = 100,
                                  .zPhase = 30};
    for (const Edge& edge :
         {Edge{"on from below", Signal::kHomeSensor, true, 0, 1, 10},
          Edge{"on from above", Signal::kHomeSensor, true, 30, -1, 19},
          Edge{"off above it", Signal::kHomeSensor, false, 12, 1, 20},
          Edge{"off below it", Signal::kHomeSensor, false, 19, -1, 9},
          Edge{"off behind the stretch ahead", Signal::kHomeSensor, false, 0, 1, 20},
          Edge{"not again from inside", Signal::kHomeSensor, true, 10, 1, {}},
          Edge{"not behind", Signal::kHomeSensor, true, 9, -1, {}},
          Edge{"never without a probe", Signal::kProbe, true, 0, 1, {}},
          Edge{"never without a place", Signal::kConfigurableInput, true, 0, 1, {}},
          Edge{"next Z phase", Signal::kZPhase, true, 29.5, 1, 30},
          Edge{"Z phase of the next turn", Signal::kZPhase, true, 30, 1, 130},
          Edge{"Z phase of the turn before", Signal::kZPhase, true, 30, -1, -70},
          Edge{"Z phase over", Signal::kZPhase, false, 30, -1, 29},
          Edge{"limit", Signal::kLimitPositive, true, 0, 1, 500},
          Edge{"off the limit", Signal::kLimitNegative, false, -530, 1, -499},
          Edge{"no end of the limit", Signal::kLimitPositive, false, 510, 1, {}},
          Edge{"off the stopper", Signal::kStopperPositive, false, 520, -1, 519}}) {
        EXPECT_EQ(EdgeAhead(mechanics, edge.signal, edge.on, edge.here, edge.direction), edge.place)
            << edge.name;
    }
}

TEST(Mechanics, SignalsAreOnAtTheirPlacesOrByHand)
{
    const AxisMechanics mechanics{.homeSensor = Stretch{10, 19}, .probe = {}};
    for (const int place : {9, 10, 19, 20}) {
        EXPECT_EQ(OnAt(mechanics, Signal::kHomeSensor, place), place == 10 || place == 19);
    }
    EXPECT_TRUE(OnAt(mechanics, Signal::kZPhase, 2500 - 10'000));
    EXPECT_TRUE(ForcedOn({.probe = true}, Signal::kProbe));
    EXPECT_FALSE(ForcedOn({.probe = true}, Signal::kHomeSensor));
    for (const int behind : {7, 0}) {
        EXPECT_EQ(mechanics.BehindStopper(10'050'000 + behind), behind);
        EXPECT_EQ(mechanics.BehindStopper(-10'050'000 - behind), -behind);
    }
}

} // namespace
} // namespace lumosim
