#include "keep/drive_params.h"

#include "frame/failure.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zelq::tool {

namespace {

constexpr const char* kFormat = "zelq drive parameters";
constexpr int kVersion = 1;
constexpr int kMostByte = 255;

[[noreturn]] void FailFile(const std::string& name, const std::string& problem)
{
    throw Failure(kUsage, name + ": " + problem);
}

Json DriveJson(const DriveParams& drive)
{
    Json json = {{"axis", drive.axis}};
    for (std::size_t i = 0; i < drive.identification.size(); ++i) {
        json[kIdentificationNames[i]] = drive.identification[i];
    }
    Json values = Json::object();
    for (const auto& [id, value] : drive.values) {
        values[ToText(id)] = value;
    }
    json["parameters"] = std::move(values);
    return json;
}

/// Throws what the JSON library throws where something is missing or of another type.
DriveParams DriveFromJson(const Json& json)
{
    DriveParams drive;
    drive.axis = json.at("axis").get<int>();
    for (std::size_t i = 0; i < drive.identification.size(); ++i) {
        drive.identification[i] = json.at(kIdentificationNames[i]).get<std::string>();
    }
    for (const auto& [id, value] : json.at("parameters").items()) {
        if (!value.is_number_integer()) throw Failure(kUsage, id + " is no whole number");
        drive.values[ParseParam(id)] = value.get<int>();
    }
    return drive;
}

} // namespace

std::string ToText(ParamId id)
{
    return std::to_string(id.group) + "." + std::to_string(id.number);
}

ParamId ParseParam(const std::string& text)
{
    int group = -1;
    int number = -1;
    int end = 0;
    const int fields = std::sscanf(text.c_str(), "%d.%d%n", &group, &number, &end);
    const auto isByte = [](int value) { return value >= 0 && value <= kMostByte; };
    if (fields != 2 || static_cast<std::size_t>(end) != text.size() || !isByte(group) ||
        !isByte(number)) {
        throw Failure(kUsage, "\"" + text + "\" is no parameter; they are written as 1.0");
    }
    return {static_cast<unsigned short>(group), static_cast<unsigned short>(number)};
}

Range ParseRange(const std::string& text)
{
    Range range;
    int end = 0;
    int fields = std::sscanf(text.c_str(), "%d-%d%n", &range.first, &range.last, &end);
    if (fields == 1) {
        fields = std::sscanf(text.c_str(), "%d%n", &range.first, &end) + 1;
        range.last = range.first;
    }
    if (fields != 2 || static_cast<std::size_t>(end) != text.size() || range.first < 0 ||
        range.last < range.first || range.last > kMostByte) {
        throw Failure(kUsage, "\"" + text + "\" is no range in 0-255, such as 0-15");
    }
    return range;
}

std::optional<int> ParamReader::Read(int axis, ParamId id)
{
    const auto get = [&](ParamId wanted, int& value) {
        return zelQ_ParamGet(controller_.Number(), static_cast<unsigned short>(axis), wanted.group,
                             wanted.number, &value);
    };
    int value = 0;
    const short result = get(id, value);
    if (result > 0) {
        int ignored = 0;
        if (!absent_) absent_ = get({kMostByte, kMostByte}, ignored);
        if (result == *absent_) return std::nullopt;
    }
    Expect(result, "read parameter " + ToText(id) + " of " + controller_.AxisText(axis));
    return value;
}

Identification ParamReader::ReadIdentification(int axis)
{
    constexpr std::size_t kField = 16;
    std::array<char, 5 * kField> bytes{};
    Expect(
        zelQ_ParamGetSysID(controller_.Number(), static_cast<unsigned short>(axis), bytes.data()),
        "read the identification of " + controller_.AxisText(axis));
    Identification identification;
    for (std::size_t i = 0; i < identification.size(); ++i) {
        for (std::size_t at = i * kField; at < (i + 1) * kField && bytes[at] != '\0'; ++at) {
            // What is no plain text would be none in a file either.
            const bool plain = bytes[at] >= ' ' && bytes[at] <= '~';
            identification[i] += plain ? bytes[at] : '?';
        }
    }
    return identification;
}

DriveParams ParamReader::ReadAll(int axis, const ParamSearch& search,
                                 const std::function<bool(double)>& progress)
{
    DriveParams drive;
    drive.axis = axis;
    drive.identification = ReadIdentification(axis);
    const int groups = search.groups.last - search.groups.first + 1;
    for (int group = search.groups.first; group <= search.groups.last; ++group) {
        if (!progress(static_cast<double>(group - search.groups.first) / groups)) return drive;
        for (int number = search.numbers.first; number <= search.numbers.last; ++number) {
            const ParamId id{static_cast<unsigned short>(group),
                             static_cast<unsigned short>(number)};
            if (const std::optional<int> value = Read(axis, id)) drive.values[id] = *value;
        }
    }
    return drive;
}

Json ToJson(const ParamDifference& difference)
{
    Json json = {{"axis", difference.axis}, {"parameter", ToText(difference.id)}};
    json["drive"] = difference.drive ? Json(*difference.drive) : Json();
    json["file"] = difference.file;
    return json;
}

std::vector<DriveParams> ReadParamFile(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    if (!file) FailFile(name, "cannot be read");
    return ParseParamFile({std::istreambuf_iterator<char>(file), {}}, name);
}

std::vector<DriveParams> ParseParamFile(const std::string& text, const std::string& name)
{
    const Json json = Json::parse(text, nullptr, false);
    if (!json.is_object() || json.value("format", Json()) != kFormat) {
        FailFile(name, "holds no drive parameters");
    }
    if (json.value("version", Json()) != kVersion) FailFile(name, "is of another version");
    try {
        std::vector<DriveParams> drives;
        for (const Json& drive : json.at("drives")) {
            drives.push_back(DriveFromJson(drive));
        }
        return drives;
    } catch (const Json::exception& error) {
        FailFile(name, error.what());
    } catch (const Failure& failure) {
        FailFile(name, failure.what());
    }
}

void WriteParamFile(const std::string& name, Controller& controller,
                    const std::vector<DriveParams>& drives)
{
    std::array<unsigned short, 19> info{};
    Expect(zelQ_GetDevInfo(controller.Number(), info.data()),
           "read the controller's identification");
    Json json = {{"format", kFormat}, {"version", kVersion}};
    json["controller"] = {{"address", controller.Where().Address()}, {"identification", info}};
    json["drives"] = Json::array();
    for (const DriveParams& drive : drives) {
        json["drives"].push_back(DriveJson(drive));
    }
    const std::string part = name + ".part";
    {
        std::ofstream file(part, std::ios::binary | std::ios::trunc);
        file << json.dump(2) << "\n";
        if (!file.flush()) FailFile(name, "cannot be written");
    }
    std::error_code error;
    std::filesystem::rename(part, name, error);
    if (error) FailFile(name, "cannot be written: " + error.message());
}

} // namespace zelq::tool
