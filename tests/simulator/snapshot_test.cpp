// Everything about a controller at one moment.

#include "core/controller.h"

#include <chrono>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace lumosim {
namespace {

using Json = nlohmann::json;

const char* const kExpected = R"({
  "alarms": [
    {"axis": 2, "number": 16, "subNumber": 1, "time": 1}
  ],
  "axes": [
    {"alarm": null, "axis": 0, "command": 375, "encoder": 375, "flags": {"alarm": false,
     "configurableInput": false, "emergencyStop": false, "homeDone": false, "homeSensor": false,
     "homing": false, "inPosition": false, "limitNegative": false, "limitPositive": false,
     "moving": true, "probe": false, "servoOn": true, "softwareLimit": false,
     "torqueLimited": false, "warning": false, "zPhase": false}, "followingError": 0,
     "homing": "none", "lastStop": "target-reached", "motion": "linear", "outputs": 0,
     "profile": {"acceleration": 100000, "deceleration": 100000, "drive": 10000,
     "smooth": false, "start": 100, "stop": 100}, "search": {"latched": null, "signal": "probe",
     "state": "none"}, "sensorStops": {"configurable": "none", "home": "none",
     "limitNegative": "decelerate", "limitPositive": "decelerate"},
     "softwareLimits": {"negative": {"position": 0, "reaction": "none"},
     "positive": {"position": 0, "reaction": "none"}}, "speed": 500, "target": 700,
     "torque": 50, "torqueLimit": {"negative": 500, "offset": 0, "on": false, "positive": 500}},
    {"alarm": {"lasting": false, "number": 16, "subNumber": 1}, "axis": 2, "command": 0,
     "encoder": 0, "flags": {"alarm": true, "configurableInput": false, "emergencyStop": false,
     "homeDone": false, "homeSensor": false, "homing": false, "inPosition": false,
     "limitNegative": false, "limitPositive": false, "moving": false, "probe": false,
     "servoOn": false, "softwareLimit": true, "torqueLimited": false, "warning": false,
     "zPhase": false}, "followingError": 0, "homing": "none", "lastStop": "target-reached",
     "motion": "none", "outputs": 0, "profile": {"acceleration": 100000, "deceleration": 100000,
     "drive": 10000, "smooth": false, "start": 100, "stop": 100}, "search": {"latched": null,
     "signal": "probe", "state": "none"}, "sensorStops": {"configurable": "none",
     "home": "none", "limitNegative": "decelerate", "limitPositive": "decelerate"},
     "softwareLimits": {"negative": {"position": 60, "reaction": "sudden"},
     "positive": {"position": 5000, "reaction": "decelerate"}}, "speed": 0, "target": 0,
     "torque": 0, "torqueLimit": {"negative": 90, "offset": 5, "on": true, "positive": 100}}
  ],
  "controller": {"configuration": {"counter": 1, "stable": true}, "network": {"address": [127,
   0, 0], "gateway": [0, 0, 0, 0], "mask": [255, 0, 0, 0]}, "number": 3, "online": true,
   "powerResets": 0, "time": 1.005},
  "handWheel": {"axis": 2, "counts": 4, "divisor": 10, "factor": 4, "negative": true,
   "on": true, "positive": true, "reversed": true},
  "hosts": {"connected": 0, "lostAt": 1.005, "stopAfter": 5.0, "suddenStop": true},
  "io": {"inputs": 129, "keepOut": 2147483648, "limitTimes": [{"fromCommand": true,
   "offAt": 3.0, "pin": 2, "time": 3.0}], "networkUp": true, "outputs": 5},
  "lists": [
    {"axis": 0, "closed": false, "completed": 0, "endedEarly": false, "free": 256, "node": 0,
     "percent": 100, "repetitions": 0, "rounds": 0, "running": false, "step": "resting",
     "stream": false, "waiting": 0},
    {"axis": 2, "closed": false, "completed": 0, "endedEarly": false, "free": 255, "node": 0,
     "percent": 50, "repetitions": 0, "rounds": 0, "running": false, "step": "resting",
     "stream": true, "waiting": 1}
  ],
  "maps": [
    {"axes": [0], "braking": false, "map": 5, "running": true, "sections": [{"axes": 1,
     "drive": 500, "motion": "linear"}, {"axes": 1, "drive": 300, "motion": "linear"}],
     "waiting": 1}
  ],
  "preRegisters": true,
  "programs": [
    {"fault": "done", "focused": false, "kind": "end", "passed": 0, "program": 0, "record": 0,
     "records": 0, "rounds": 0, "state": "empty"},
    {"fault": "done", "focused": false, "kind": "end", "passed": 1, "program": 1, "record": 2,
     "records": 1, "rounds": 1, "state": "finished"},
    {"fault": "done", "focused": false, "kind": "end", "passed": 0, "program": 2, "record": 0,
     "records": 0, "rounds": 0, "state": "empty"},
    {"fault": "done", "focused": false, "kind": "end", "passed": 0, "program": 3, "record": 0,
     "records": 0, "rounds": 0, "state": "empty"}
  ],
  "serial": {"baudRate": 9600, "bypassed": false, "dataBits": 7, "parity": 1, "stopBits": 2,
   "waiting": 0},
  "stations": [
    {"station": 0, "type": "servo"},
    {"station": 2, "type": "servo"},
    {"inputs": 7, "station": 30, "type": "input"},
    {"outputs": 2147483664, "station": 31, "type": "output"}
  ],
  "stored": {"commandCycle": 1, "cycle": 1, "cycleOption": 0, "hardwareInformation": 0,
   "network": {"address": [10, 0, 1], "gateway": [10, 0, 0, 9], "mask": [255, 255, 0, 0]},
   "useDefaultParameters": 0}
})";

// Axis 0 is on a path of two sections, axis 2 in alarm; a program has run, a list waits for its
// end, outputs are on, and the host is gone.
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
