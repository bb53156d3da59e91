#include "frame/settings.h"

#include "frame/failure.h"
#include "frame/json.h"
#include "frame/system.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>

namespace zelq::tool {

namespace {

constexpr int kLastAxis = 31;

[[noreturn]] void FailInFile(const std::string& what)
{
    throw Failure(kUsage, what);
}

double Positive(const Json& value)
{
    const auto number = value.get<double>();
    if (!(number > 0.0) || !std::isfinite(number)) throw std::out_of_range("not above 0");
    return number;
}

int Within(const Json& value, int first, int last)
{
    const auto number = value.get<int>();
    if (number < first || number > last || value != number) {
        throw std::out_of_range("not from " + std::to_string(first) + " to " +
                                std::to_string(last));
    }
    return number;
}

/// Gives each key of an object to what takes it; what is wrong is told with its place in the file.
using Takers = std::map<std::string, std::function<void(const Json&)>>;

void TakeKeys(const Json& object, const std::string& place, const Takers& takers)
{
    if (!object.is_object()) FailInFile(place + " is no object");
    for (const auto& [key, value] : object.items()) {
        std::string where = place;
        where.append(place.empty() ? "" : ".").append(key);
        const auto taker = takers.find(key);
        if (taker == takers.end()) FailInFile("nothing is known of \"" + where + "\"");
        try {
            taker->second(value);
        } catch (const Json::exception&) {
            FailInFile("\"" + where + "\" is of the wrong type");
        } catch (const std::out_of_range& error) {
            FailInFile("\"" + where + "\" is " + error.what());
        }
    }
}

AxisSettings AxisFrom(const Json& object, const std::string& place)
{
    AxisSettings axis;
    TakeKeys(object, place,
             {{"name", [&](const Json& value) { axis.name = value.get<std::string>(); }},
              {"unit", [&](const Json& value) { axis.unit = value.get<std::string>(); }},
              {"unitPerPulse", [&](const Json& value) { axis.unitPerPulse = Positive(value); }},
              {"maxDistance", [&](const Json& value) { axis.maxDistance = Positive(value); }},
              {"maxSpeed", [&](const Json& value) { axis.maxSpeed = Positive(value); }}});
    return axis;
}

int AxisNumber(const std::string& text, const std::string& place)
{
    const bool isNumber = !text.empty() && text.size() <= 2 &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber || std::stoi(text) > kLastAxis) {
        FailInFile("\"" + place + "." + text + "\" is no axis from 0 to 31");
    }
    return std::stoi(text);
}

TargetSettings TargetFrom(const Json& object, const std::string& place)
{
    TargetSettings target;
    const auto takeAxes = [&](const Json& axes) {
        const std::string axesPlace = place + ".axes";
        if (!axes.is_object()) FailInFile(axesPlace + " is no object");
        for (const auto& [number, axis] : axes.items()) {
            std::string axisPlace = axesPlace;
            axisPlace.append(".").append(number);
            target.axes[AxisNumber(number, axesPlace)] = AxisFrom(axis, axisPlace);
        }
    };
    TakeKeys(object, place,
             {{"network", [&](const Json& value) { target.network = value.get<std::string>(); }},
              {"controller", [&](const Json& value) { target.controller = Within(value, 1, 254); }},
              {"port", [&](const Json& value) { target.port = Within(value, 1, 65535); }},
              {"axes", takeAxes}});
    return target;
}

Json ReadJson(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    if (!stream) FailInFile("cannot be read");
    try {
        return Json::parse(stream);
    } catch (const Json::exception& error) {
        FailInFile(std::string("is no JSON: ") + error.what());
    }
}

std::filesystem::path FileFor(const std::string& given, bool& mayBeMissing)
{
    mayBeMissing = false;
    if (!given.empty()) return given;
    const char* named = std::getenv("ZELQ_CONFIG");
    if (named != nullptr && *named != '\0') return named;
    mayBeMissing = true;
    const std::filesystem::path folder = SettingsFolder();
    return folder.empty() ? folder : folder / "zelq" / "config.json";
}

} // namespace

Settings Settings::Load(const std::string& file)
{
    Settings settings;
    bool mayBeMissing = false;
    settings.file_ = FileFor(file, mayBeMissing);
    if (mayBeMissing && !std::filesystem::exists(settings.file_)) return settings;
    const auto takeTargets = [&](const Json& targets) {
        if (!targets.is_object()) FailInFile("targets is no object");
        for (const auto& [name, target] : targets.items()) {
            settings.targets_[name] = TargetFrom(target, "targets." + name);
        }
    };
    try {
        const auto takeDefault = [&](const Json& name) {
            settings.default_ = name.get<std::string>();
        };
        TakeKeys(ReadJson(settings.file_), "",
                 {{"default", takeDefault}, {"targets", takeTargets}});
    } catch (const Failure& error) {
        throw Failure(error.Exit(), settings.file_.string() + ": " + error.what());
    }
    return settings;
}

const TargetSettings& Settings::Named(const std::string& name) const
{
    const auto found = targets_.find(name);
    if (found != targets_.end()) return found->second;
    std::string names;
    for (const auto& [known, target] : targets_) {
        names += (names.empty() ? "" : ", ") + known;
    }
    throw Failure(kUsage, "no target is called \"" + name + "\"; " +
                              (names.empty() ? "the configuration file names none" : names) +
                              (file_.empty() ? "" : " (" + file_.string() + ")"));
}

void Settings::StoreUnit(const std::string& target, int axis, double unitPerPulse,
                         const std::string& unit) const
{
    Json document = ReadJson(file_);
    Json& entry = document["targets"][target]["axes"][std::to_string(axis)];
    entry["unit"] = unit;
    entry["unitPerPulse"] = unitPerPulse;
    // The old file stays whole until the new one is.
    std::filesystem::path fresh = file_;
    fresh += ".new";
    std::ofstream stream(fresh);
    stream << document.dump(2) << '\n';
    stream.close();
    std::error_code error;
    if (stream) std::filesystem::rename(fresh, file_, error);
    if (!stream || error) throw Failure(kUsage, file_.string() + " cannot be written");
}

} // namespace zelq::tool
