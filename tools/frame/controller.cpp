#include "frame/controller.h"

#include "frame/failure.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <sstream>

namespace zelq::tool {

namespace {

/// A host at the far end of a long way gets a second chance to connect.
constexpr short kSecondConnectMs = 1000;
/// A command whose reply is later than six times this is sent once more: a relative move would go
/// its way twice. On a busy computer the usual wait is soon over.
constexpr short kReceiveMs = 200;

short ConnectTo(const Target& target)
{
    const auto [first, second, third] = target.network;
    zelQ_SetNetPortNum(target.number, target.port);
    const auto connect = [&, a = first, b = second, c = third] {
        return zelQ_Connect(target.number, a, b, static_cast<unsigned short>(c));
    };
    short result = connect();
    zelQ_TMOSet(target.number, kSecondConnectMs, kReceiveMs, kReceiveMs);
    if (result != ZELQ_OK) result = connect();
    return result;
}

std::optional<int> ToNumber(const std::string& text)
{
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || number < 0) return std::nullopt;
    return number;
}

[[noreturn]] void FailNoAxis(const std::string& word)
{
    throw Failure(kUsage, "\"" + word +
                              "\" is no axis; axes are written as 0, 2-5, 0,3, all, or "
                              "by their names in the configuration file");
}

} // namespace

Controller::Controller(Target target) : target_(std::move(target))
{
    const short result = ConnectTo(target_);
    if (result != ZELQ_OK) {
        const bool nobody = result == ZELQ_CONNECT_FAILED;
        throw Failure(
            kNoConnection,
            (nobody ? "no connection to " : "something answers, but not as a controller does: ") +
                target_.Text() + ": " + CodeText(result),
            result);
    }
    for (const auto& [axis, settings] : target_.axes) {
        const short set =
            zelQ_UnitPerPulseSet(Number(), static_cast<short>(axis), settings.unitPerPulse);
        // A drive that the file knows need not be there today.
        if (set != ZELQ_NOT_A_SERVO) Expect(set, "set the units of " + AxisText(axis));
    }
}

Controller::~Controller()
{
    zelQ_Disconnect(Number());
}

void Controller::SetUnit(int axis, double unitPerPulse, const std::string& unit)
{
    AxisSettings& settings = target_.axes[axis];
    settings.unitPerPulse = unitPerPulse;
    settings.unit = unit;
}

std::string Controller::AxisText(int axis) const
{
    const std::string& name = Axis(axis).name;
    return "axis " + std::to_string(axis) + (name.empty() ? "" : " (" + name + ")");
}

ControllerStatus Controller::Status() const
{
    ControllerStatus status{};
    Expect(zelQ_GetAllStatus(Number(), &status), "read the status of the controller");
    return status;
}

ServoStatus Controller::Servo(unsigned short axis) const
{
    ServoStatus status{};
    Expect(zelQ_GetServoStatus(Number(), axis, &status), "read the status of " + AxisText(axis));
    return status;
}

std::vector<unsigned short> Controller::ServoAxes() const
{
    const ControllerStatus status = Status();
    return {status.servoAxes, status.servoAxes + status.servoCount};
}

std::vector<unsigned short> Controller::ParseAxes(const std::vector<std::string>& words) const
{
    std::vector<unsigned short> servos = ServoAxes();
    if (words.empty()) return servos;
    std::vector<unsigned short> axes;
    const auto add = [&](int axis) {
        if (std::find(servos.begin(), servos.end(), axis) == servos.end()) {
            throw Failure(kUsage, AxisText(axis) + " is no servo axis of this controller",
                          ZELQ_BAD_AXIS);
        }
        if (std::find(axes.begin(), axes.end(), axis) == axes.end()) {
            axes.push_back(static_cast<unsigned short>(axis));
        }
    };
    const auto addWord = [&](const std::string& word) {
        for (const auto& [axis, settings] : target_.axes) {
            if (settings.name == word) {
                add(axis);
                return;
            }
        }
        if (word == "all") {
            std::for_each(servos.begin(), servos.end(), add);
            return;
        }
        const std::size_t dash = word.find('-');
        const std::optional<int> first = ToNumber(word.substr(0, dash));
        const std::optional<int> last =
            dash == std::string::npos ? first : ToNumber(word.substr(dash + 1));
        if (!first || !last || *last < *first || *last > 31) FailNoAxis(word);
        for (int axis = *first; axis <= *last; ++axis) {
            add(axis);
        }
    };
    for (const std::string& list : words) {
        std::istringstream stream(list);
        for (std::string word; std::getline(stream, word, ',');) {
            addWord(word);
        }
    }
    return axes;
}

int DigitsOf(const AxisSettings& axis)
{
    constexpr int kMost = 6;
    const double digits = std::ceil(-std::log10(axis.unitPerPulse) - 1e-9);
    return static_cast<int>(std::clamp(digits, 0.0, double{kMost}));
}

} // namespace zelq::tool
