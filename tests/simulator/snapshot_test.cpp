// Everything about a controller at one moment.

#include "core/controller.h"

#include <chrono>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace lumosim {
namespace {

using Json = nlohmann::json;

const char* const kExpected = R"()";

// Axis 0 is on a path of two sections, axis 2 in alarm; a program has the focus, a list is half
// full, and the host is gone.
TEST(Snapshot, TellsEverythingByName)
{
    ControllerConfig config;
    config.number = 3;
    config.axes = 3;
    config.ideal = true;
    config.slaves = {
        {1, SlaveType::kNone, {}}, {30, SlaveType::kInput, {}}, {31, SlaveType::kOutput, {}}};
    Controller controller(config);
    controller.HostConnected();
    for (const auto& command : std::initializer_list<std::initializer_list<Word>>{
             {0x0001, 2, 0, 2, 1, 0},
             {0x0070, 5, 1, 0},
             {0x01C1, 1},
             {0x0120, 1, 2, 1, 5000, 0, 2, 60, 0},
             {0x0110, 1, 2, 1, 100, 90, 5, 0, 0, 0},
             {0x0122, 5000, 0, 1},
             {0x0130, 2, 2, 3, 1, 4, 10},
             {0x01A3, 0x05, 0},
             {0x01A5, 2, 2, 3000, 0},
             {0x0190, 1, 31, 0x10, 0x8000},
             {0x0195, 0, 0, 0x8000},
             {0x0171, 9600, 0, 7, 2, 1},
             {0x01B1, 10, 0, 1, 255, 255, 0, 0, 10, 0, 0, 9},
             {0x0100, 2, 1, 0, 50},
             {0x0101, 2, 1, 100, 0, 10, 0, 1000, 0, 100, 0, 1000, 0, 1, 20},
             {0x0200, 1},
             {0x0201, 1, 1},
             {0x0233, 50, 0},
             {0x0201, 1, 0},
             {0x0203, 1, 1},
             {0x0200, 0xFFFF},
             {0x0072, 5, 0, 1, 0, 0, 1000, 0, 500, 0, 1000, 0, 0, 0, 1, 700, 0},
             {0x0072, 5, 0, 3, 0, 0, 1000, 0, 300, 0, 1000, 0, 0, 0, 1, 100, 0}}) {
        ASSERT_EQ(controller.Execute(command), Result::kDone) << std::hex << *command.begin();
    }
    controller.SetMainInputs(0x81);
    controller.SetSlaveInputs(30, 7);
    controller.Advance(std::chrono::milliseconds(1005));
    controller.AxisAt(2).RaiseAlarm({16, 1});
    controller.HostDisconnected();
    const Json snapshot = controller.Snapshot();
    EXPECT_EQ(snapshot, Json::parse(kExpected)) << snapshot.dump(2);
}

} // namespace
} // namespace lumosim
