// Faults are applied and cleared by name; what is wrong with a request is said in a sentence.
#include "faults/fault_registry.h"

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using lumosim::FaultRegistry;
using lumosim::FaultValues;

class Faults : public testing::Test
{
  protected:
    Faults()
    {
        Add("jam");
        Add("slip");
    }

    void Add(const std::string& name)
    {
        registry_.Add({name,
                       "Something goes wrong.",
                       {{"axis", "which one", 0, 31, 0}, {"torque", "how much", 0, 100, 50}},
                       [this, name](const FaultValues& values) {
                           done_.push_back(name + std::to_string(int(values.at("axis"))) + "/" +
                                           std::to_string(int(values.at("torque"))));
                       },
                       [this, name] { done_.push_back("no " + name); }});
    }

    std::string Refusal(const std::string& name, const FaultValues& values)
    {
        try {
            registry_.Apply(name, values);
        } catch (const std::invalid_argument& refused) {
            return refused.what();
        }
        return "";
    }

    FaultRegistry registry_;
    std::vector<std::string> done_;
};

TEST_F(Faults, AreAppliedWithTheirNormalValuesAndClearedBackwards)
{
    registry_.Apply("jam", {{"axis", 3}});
    registry_.Apply("slip", {});
    registry_.Apply("jam", {{"torque", 7}}); // takes the place of the first
    ASSERT_EQ(registry_.Active().size(), 2U);
    EXPECT_EQ(registry_.Active()[1].name, "jam");
    EXPECT_EQ(registry_.Active()[1].values, (FaultValues{{"axis", 0}, {"torque", 7}}));

    registry_.Apply("slip", {});
    registry_.ClearAll();
    registry_.Clear("jam"); // it is gone
    EXPECT_TRUE(registry_.Active().empty());
    EXPECT_EQ(done_, (std::vector<std::string>{"jam3/50", "slip0/50", "jam0/7", "slip0/50",
                                               "no slip", "no jam"}));
}

TEST_F(Faults, ThatCannotBeAppliedSayWhy)
{
    EXPECT_EQ(Refusal("jamm", {}), "There is no fault \"jamm\".");
    EXPECT_EQ(Refusal("jam", {{"axes", 1}}), "The fault \"jam\" has no parameter \"axes\".");
    EXPECT_EQ(Refusal("jam", {{"axis", 32}}), "\"axis\" must be from 0 to 31, and is 32.");
    EXPECT_NE(Refusal("jam", {{"axis", std::numeric_limits<double>::quiet_NaN()}}), "");
    EXPECT_TRUE(done_.empty());
    EXPECT_TRUE(registry_.Active().empty());
    EXPECT_THROW(Add("jam"), std::logic_error);
}

} // namespace
