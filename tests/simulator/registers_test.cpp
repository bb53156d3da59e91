// What the controller's registers show.

#include "core/command_channel.h"
#include "core/controller.h"

#include <array>
#include <chrono>
#include <gtest/gtest.h>
#include <vector>

namespace lumosim {
namespace {

ControllerConfig Slaves()
{
    ControllerConfig config;
    config.axes = 2;
    const SlaveProperties properties = {5, 9, 3, 2, 1, 6, false, true};
    config.slaves = {{1, SlaveType::kServo, properties},
                     {30, SlaveType::kInput, {}},
                     {31, SlaveType::kOutput, {}}};
    return config;
}

TEST(RegisterMap, BlocksAreCutToWhatIsAsked)
{
    RegisterMap map;
    map.AddBlock(0xF410, 2, [](std::span<Word> out) { out[0] = 1, out[1] = 2; });
    map.AddBlock(0xF412, 2, [](std::span<Word> out) { out[0] = 3, out[1] = 4; });
    const auto read = [&map](Word first, std::size_t count) {
        std::vector<Word> words(count, 99);
        EXPECT_TRUE(map.Read(first, words));
        return words;
    };
    EXPECT_EQ(read(0xF410, 4), (std::vector<Word>{1, 2, 3, 4}));
    EXPECT_EQ(read(0xF411, 2), (std::vector<Word>{2, 3}));
    EXPECT_EQ(read(0xF413, 2), (std::vector<Word>{4, 0}));
    EXPECT_EQ(read(0xF40F, 2), (std::vector<Word>{0, 1}));
    EXPECT_THROW(map.AddBlock(0xF413, 1, nullptr), std::logic_error);
    EXPECT_THROW(map.AddBlock(0xF40F, 2, nullptr), std::logic_error);
}

TEST(Registers, ExistInTheirSpacesAlone)
{
    struct Space
    {
        Word first;
        std::size_t count;
        bool readable;
    };
    Controller controller(Slaves());
    CommandChannel channel(controller);
    for (const auto& [first, count, readable] :
         {Space{0x0000, 125, true}, Space{0x1FFF, 1, true}, Space{0x1FFF, 2, false},
          Space{0xEFFF, 2, false}, Space{0xF000, 125, true}, Space{0xF4FF, 1, true},
          Space{0xF4FF, 2, false}, Space{0xFFFF, 125, false}}) {
        std::vector<Word> words(count);
        EXPECT_EQ(channel.Read(first, words), readable) << first << ", " << count;
    }
    std::array<Word, 2> lastOfReply{};
    EXPECT_TRUE(channel.Read(0xF3FF, lastOfReply));
    EXPECT_EQ(lastOfReply[1], controller.ReadRegister(0xF400));
    EXPECT_THROW(static_cast<void>(controller.ReadRegister(0x2000)), std::out_of_range);
}

TEST(Registers, TypeWordsTellWhatStandsWhere)
{
    const Controller controller(Slaves());
    EXPECT_EQ(controller.ReadLong(0x0038), 1);
    EXPECT_EQ(controller.ReadLong(0x0138),
              1 | 5 << 4 | 9 << 7 | 3 << 11 | 2 << 15 | 1 << 17 | 6 << 19 | 1 << 23);
    EXPECT_EQ(controller.ReadLong(0x0238), 0);
    EXPECT_EQ(controller.ReadLong(0x1E38), 2);
    EXPECT_EQ(controller.ReadLong(0x1F38), 3);
}

TEST(Registers, ConfigurationCounterMovesWithEveryChange)
{
    Controller controller(Slaves());
    const Word before = controller.ReadRegister(0xF414);
    EXPECT_EQ(before & 1, 1);
    controller.SetSlave({5, SlaveType::kServo, {}});
    EXPECT_EQ(controller.ReadRegister(0xF414), before + 2);
    controller.SetProperties(5, {});
    controller.SetSlave({5, SlaveType::kNone, {}});
    EXPECT_EQ(controller.ReadRegister(0xF414), before + 6);
    EXPECT_EQ(controller.FindAxis(5), nullptr);
    controller.SetConfigurationStable(false);
    EXPECT_EQ(controller.ReadRegister(0xF414), before + 5);
}

TEST(Controller, RefusesAConfigurationThatCannotBe)
{
    const auto build = [](int number, int axes, int station) {
        ControllerConfig config;
        config.number = number;
        config.axes = axes;
        config.slaves = {{station, SlaveType::kInput, {}}};
        return Controller(config).Config().number;
    };
    EXPECT_EQ(build(254, 32, 31), 254);
    EXPECT_THROW(build(0, 4, 31), std::invalid_argument);
    EXPECT_THROW(build(255, 4, 31), std::invalid_argument);
    EXPECT_THROW(build(1, 33, 31), std::invalid_argument);
    EXPECT_THROW(build(1, -1, 31), std::invalid_argument);
    EXPECT_THROW(build(1, 4, 32), std::invalid_argument);
    ControllerConfig config;
    config.slaves = {{3, SlaveType::kInput, {}}, {3, SlaveType::kOutput, {}}};
    EXPECT_THROW(Controller{config}, std::invalid_argument) << "two slaves at one station";
    config = ControllerConfig();
    config.mechanics.negativeLimit = -AxisMechanics::kFarthest;
    EXPECT_EQ(Controller(config).Config().axes, 4);
    config.mechanics.positiveLimit = AxisMechanics::kFarthest + 1;
    EXPECT_THROW(Controller{config}, std::invalid_argument) << "beyond all machines";
}

} // namespace
} // namespace lumosim
