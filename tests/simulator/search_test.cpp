// Search moves and what their status tells.

#include "one_axis.h"

namespace lumosim {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class SearchTest : public OneAxisTest
{
  protected:
    // The search word, and the latched position behind it.
    Word SearchWord()
    {
        Reply reply;
        const Words block = {0x14, 1, 0};
        EXPECT_EQ(controller.Run(block, reply), Result::kDone);
        EXPECT_EQ(reply.Words().size(), 3U);
        latched = static_cast<std::int32_t>(JoinWords(reply.Words()[1], reply.Words()[2]));
        return reply.Words()[0];
    }

    using Words = std::vector<Word>;
    std::int32_t latched = 0;
};

struct SearchCase
{
    const char* name;
    Word direction;
    Word signal;
    Word edge;
    std::int32_t place;
};

TEST_F(SearchTest, EverySignalIsLatchedAtItsPlace)
{
    for (const SearchCase& search :
         {SearchCase{"probe comes on", 0, 0, 0, 4'000},
          SearchCase{"probe goes off", 0, 0, 1, 4'201},
          SearchCase{"home sensor from above", 1, 1, 0, -2'500},
          SearchCase{"home sensor left", 1, 1, 1, -3'001}, SearchCase{"Z phase", 0, 2, 0, 300},
          SearchCase{"Z phase the other way", 1, 2, 0, -700}}) {
        SCOPED_TRACE(search.name);
        PlaceAt(0);
        ASSERT_EQ(controller.Execute({0x13, search.direction, search.signal, search.edge, 1, 1, 0}),
                  Result::kDone);
        EXPECT_EQ(axis.Kind(), MotionKind::kSearch);
        EXPECT_EQ(SearchWord(), 1 | search.signal << 5);
        controller.Advance(seconds(10));
        EXPECT_FALSE(axis.Moving());
        EXPECT_EQ(SearchWord(), 2 | 1 << 4 | search.signal << 5);
        EXPECT_EQ(latched, search.place);
        EXPECT_EQ(axis.CommandPosition(), search.place) << "stopped at once";
        EXPECT_EQ(axis.LastStop(), StopCause::kSearchLatched);
    }
}

TEST_F(SearchTest, ItMayEndWithDeceleration)
{
    axis.SetPosition(-70'000);
    ASSERT_EQ(controller.Execute({0x13, 0, 0, 0, 0, 1, 0}), Result::kDone);
    controller.Advance(milliseconds(1000));
    EXPECT_EQ(SearchWord() & 0x1F, 0x12) << "latched while it still brakes";
    EXPECT_TRUE(axis.Moving());
    Finish();
    SearchWord();
    EXPECT_EQ(latched, -66'000) << "in counter values";
    EXPECT_NEAR(axis.CommandPosition(), -66'000 + 1'250, 1);
}

TEST_F(SearchTest, AnInputFromOutsideCountsAtOnce)
{
    ASSERT_EQ(controller.Execute({0x13, 1, 3, 0, 1, 1, 0}), Result::kDone);
    controller.Advance(milliseconds(500));
    const std::int32_t here = axis.CommandPosition();
    AxisInputs inputs;
    inputs.probe = true;
    axis.SetInputs(inputs);
    EXPECT_TRUE(axis.Moving()) << "another signal";
    inputs.configurable = true;
    axis.SetInputs(inputs);
    EXPECT_FALSE(axis.Moving());
    EXPECT_EQ(SearchWord(), 0x72);
    EXPECT_EQ(latched, here);

    ASSERT_EQ(controller.Execute({0x13, 1, 3, 1, 1, 1, 0}), Result::kDone);
    controller.Advance(milliseconds(100));
    EXPECT_TRUE(axis.Moving()) << "it is on and has to go off";
    axis.SetInputs({});
    EXPECT_FALSE(axis.Moving());
}

TEST_F(SearchTest, ItEndsWithoutTheSignalAtALimitOrByAStop)
{
    EXPECT_EQ(SearchWord(), 0) << "none yet";
    ASSERT_EQ(controller.Execute({0x13, 1, 0, 0, 1, 1, 0}), Result::kDone);
    Finish();
    EXPECT_EQ(SearchWord(), 3);
    EXPECT_EQ(axis.LastStop(), StopCause::kLimitSensor);
    EXPECT_EQ(controller.Execute({0x13, 1, 0, 0, 1, 1, 0}), Result::kLimitBlocks);

    ASSERT_EQ(controller.Execute({0x13, 0, 0, 0, 1, 1, 0}), Result::kDone);
    controller.Advance(seconds(1));
    axis.Stop(StopMode::kDecelerate, StopCause::kStopCommand);
    EXPECT_EQ(SearchWord(), 1);
    Finish();
    EXPECT_EQ(SearchWord(), 3);
    controller.PowerCycle();
    EXPECT_EQ(SearchWord(), 0);
}

TEST_F(SearchTest, CommandsAreChecked)
{
    EXPECT_EQ(controller.Execute({0x13, 2, 0, 0, 0, 1, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x13, 0, 4, 0, 0, 1, 0}), Result::kOutOfRange);
    EXPECT_EQ(controller.Execute({0x13, 0, 0, 0, 0, 2, 0, 1}), Result::kMalformed);
    EXPECT_EQ(controller.Execute({0x13, 0, 0, 0, 0, 1, 1}), Result::kNoServo);
    EXPECT_EQ(controller.Execute({0x14, 0}), Result::kMalformed);
    EXPECT_EQ(controller.Execute({0x14, 2, 0, 0}), Result::kAxisTwice);
    axis.Jog(1);
    EXPECT_EQ(controller.Execute({0x13, 0, 0, 0, 0, 1, 0}), Result::kBusy);
}

} // namespace
} // namespace lumosim
