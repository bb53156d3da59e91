#include "machine_file.h"

#include "machine_json.h"

#include <charconv>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

namespace lumosim {

namespace {

constexpr int kMainPins = 8;
constexpr int kSlavePins = 32;

int StationNamed(const std::string& name, const JsonReader& value)
{
    int station = -1;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), station);
    const bool good = error == std::errc() && end == name.data() + name.size() && station >= 0 &&
                      station < kMaxAxes;
    if (!good) value.Fail("a station is a number from 0 to 31");
    return station;
}

Region ReadRegion(const JsonReader& json)
{
    Region region;
    json.Object([&region](const std::string& axis, const JsonReader& stretch) {
        region[StationNamed(axis, stretch)] = ReadStretch(stretch);
    });
    return region;
}

SensorConfig ReadSensor(const JsonReader& json)
{
    SensorConfig sensor;
    json.Object({
        {"station",
         [&](const JsonReader& value) {
             sensor.station = static_cast<int>(value.Whole(0, kMaxAxes - 1));
         }},
        {"pin", Into(sensor.pin, 0, kSlavePins - 1)},
        {"on", [&](const JsonReader& value) { sensor.on = ReadRegion(value); }},
        {"off", [&](const JsonReader& value) { sensor.off = ReadRegion(value); }},
        {"inverted", Into(sensor.inverted)},
    });
    if (sensor.on.empty()) json.Fail("a sensor needs \"on\": where it sees what");
    if (!sensor.station && sensor.pin >= kMainPins) json.Fail("the main board has pins 0 to 7");
    return sensor;
}

void ReadSlaves(const JsonReader& json, ControllerConfig& controller)
{
    std::set<int> taken;
    json.Elements([&](const JsonReader& value) {
        const SlaveConfig slave = ReadSlave(value);
        if (!taken.insert(slave.position).second) value.Fail("another one stands at this station");
        controller.slaves.push_back(slave);
    });
}

// The members of a controller, but for those whose meaning depends on others.
JsonReader::Members Members(MachineConfig& machine)
{
    ServerConfig& server = machine.server;
    ControllerConfig& controller = server.controller;
    return {
        {"number", Into(controller.number, 1, 254)},
        {"address", [&server](const JsonReader& json) { server.address = json.Text(); }},
        {"port", Into(server.port, 0, 65'535)},
        {"servos", Into(controller.axes, 0, kMaxAxes)},
        {"ideal", Into(controller.ideal)},
        {"mechanics", [&](const JsonReader& json) { ReadMechanics(json, controller.mechanics); }},
        {"slaves", [&controller](const JsonReader& json) { ReadSlaves(json, controller); }},
        {"inputs",
         [&](const JsonReader& json) {
             machine.inputs = static_cast<Word>(ReadPins(json, 0, kMainPins));
         }},
        {"slaveInputs",
         [&](const JsonReader& json) {
             json.Object([&](const std::string& name, const JsonReader& pins) {
                 machine.slaveInputs[StationNamed(name, pins)] = ReadPins(pins, 0, kSlavePins);
             });
         }},
        {"sensors",
         [&](const JsonReader& json) {
             json.Elements(
                 [&](const JsonReader& sensor) { machine.sensors.push_back(ReadSensor(sensor)); });
         }},
    };
}

bool HasStation(const ControllerConfig& controller, int station, SlaveType type)
{
    for (const SlaveConfig& slave : controller.slaves) {
        if (slave.position == station) return slave.type == type;
    }
    return type == SlaveType::kServo && station < controller.axes;
}

// What is said of a station has to be true of what stands there.
void CheckStations(const JsonReader& json, const MachineConfig& machine)
{
    const ControllerConfig& controller = machine.server.controller;
    const auto check = [&](int station, SlaveType type, const char* what) {
        if (HasStation(controller, station, type)) return;
        json.Fail("no " + std::string(what) + " stands at station " + std::to_string(station));
    };
    for (const auto& [station, mechanics] : machine.axes) {
        check(station, SlaveType::kServo, "servo");
    }
    for (const auto& [station, inputs] : machine.slaveInputs) {
        check(station, SlaveType::kInput, "input slave");
    }
    for (const SensorConfig& sensor : machine.sensors) {
        if (sensor.station) check(*sensor.station, SlaveType::kInput, "input slave");
        for (const Region& region : {sensor.on, sensor.off.value_or(Region())}) {
            for (const auto& [station, stretch] : region) {
                check(station, SlaveType::kServo, "servo");
            }
        }
    }
}

MachineConfig ReadController(const JsonReader& json, const MachineConfig& common)
{
    MachineConfig machine = common;
    machine.server.address.clear();
    JsonReader::Members members = Members(machine);
    // Axes begin with what all of them have, wherever in the file that stands.
    const JsonReader::Take later = [](const JsonReader&) {};
    members["axes"] = later;
    json.Object(members);
    for (auto& [name, take] : members) {
        take = later;
    }
    members["axes"] = [&machine](const JsonReader& axes) {
        axes.Object([&machine](const std::string& name, const JsonReader& axis) {
            AxisMechanics mechanics = machine.server.controller.mechanics;
            ReadMechanics(axis, mechanics);
            machine.axes[StationNamed(name, axis)] = mechanics;
        });
    };
    json.Object(members);
    CheckStations(json, machine);
    ServerConfig& server = machine.server;
    if (server.address.empty()) {
        server.address = "127.0.0." + std::to_string(server.controller.number);
    }
    return machine;
}

} // namespace

std::vector<MachineConfig> ReadMachineFile(const std::string& path, const MachineConfig& common)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) throw std::runtime_error(path + ": cannot be read");
    try {
        const nlohmann::json document = ParseJson(text.str());
        std::vector<MachineConfig> machines;
        std::set<int> numbers;
        JsonReader(document).Object(
            {{"controllers", [&](const JsonReader& controllers) {
                  controllers.Elements([&](const JsonReader& json) {
                      machines.push_back(ReadController(json, common));
                      if (!numbers.insert(machines.back().server.controller.number).second) {
                          json.Fail("another controller has this number");
                      }
                  });
              }}});
        if (machines.empty()) JsonReader(document).Fail("there is no controller");
        return machines;
    } catch (const JsonError& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

void SetUpMachine(Server& server, const MachineConfig& machine)
{
    server.With([&machine](Controller& controller) {
        for (const auto& [number, mechanics] : machine.axes) {
            Axis& axis = controller.AxisAt(number);
            AxisMechanics own = mechanics;
            own.absoluteEncoder = axis.Mechanics().absoluteEncoder;
            own.configurableInputIsStop = axis.Mechanics().configurableInputIsStop;
            axis.SetMechanics(own);
        }
        controller.SetMainInputs(machine.inputs);
        for (const auto& [station, inputs] : machine.slaveInputs) {
            controller.SetSlaveInputs(station, inputs);
        }
        if (machine.sensors.empty()) return;
        controller.AddFamily(std::make_unique<Sensors>(controller, machine.sensors));
    });
}

} // namespace lumosim
