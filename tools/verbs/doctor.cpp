#include "frame/alarm_text.h"
#include "frame/identification.h"
#include "frame/program.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <algorithm>
#include <cmath>

namespace zelq::tool {

namespace {

constexpr const char* kDoctorManual =
    R"(Looks at everything between this computer and the motors, and says in one sentence each what is wrong
and what to do: does the address answer, does the port, is another program of this computer
connected, how long does an exchange take, which slaves are there, which axes cannot move and why.

  zelq -t press1 doctor

It ends with 1 when it has found something that keeps an axis from moving.)";

/// A finding: what was looked at, how it is, and what to do where it is not well.
class Findings
{
  public:
    explicit Findings(Context& context) : context_(context) {}

    void Good(const std::string& what, const std::string& text) { Add("good", what, text, ""); }
    void Doubtful(const std::string& what, const std::string& text, const std::string& advice)
    {
        Add("doubtful", what, text, advice);
    }
    void Bad(const std::string& what, const std::string& text, const std::string& advice)
    {
        Add("bad", what, text, advice);
        anyBad_ = true;
    }

    [[nodiscard]] bool AnyBad() const { return anyBad_; }
    [[nodiscard]] const Json& AsJson() const { return list_; }

  private:
    void Add(const std::string& state, const std::string& what, const std::string& text,
             const std::string& advice)
    {
        list_.push_back({{"state", state}, {"what", what}, {"text", text}, {"advice", advice}});
        const Style style = state == "good"  ? Style::kGood
                            : state == "bad" ? Style::kBad
                                             : Style::kWarning;
        const std::string mark = state == "good" ? "ok  " : state == "bad" ? "BAD " : "hmm ";
        context_.out.Line(context_.out.Painted({mark, style}) + text +
                          (advice.empty() ? "." : ": " + advice + "."));
    }

    Context& context_;
    Json list_ = Json::array();
    bool anyBad_ = false;
};

/// Whether the host answers an echo; none where this system does not let us ask.
std::optional<bool> HostAnswers(const Target& target)
{
    const auto [first, second, third] = target.network;
    const short result = zelQ_PingCheck(target.number, first, second, third, 1000);
    if (result == ZELQ_SOCKET_FAILED) return std::nullopt;
    return result == ZELQ_OK;
}

void LookAtHost(Findings& findings, const Target& target, const std::optional<bool>& answers)
{
    if (!answers) {
        findings.Doubtful("host", "this system lets the program send no echo",
                          "whether the host answers is not known");
    } else if (*answers) {
        findings.Good("host", target.Address() + " answers an echo");
    } else {
        findings.Doubtful("host", target.Address() + " answers no echo",
                          "look at power, cable and network mask; \"zelq discover\" finds what is "
                          "there");
    }
}

void LookAtOthers(Findings& findings, const Target& target)
{
    const int others = ConnectionsTo(target.Address(), target.port);
    if (others > 0) {
        findings.Doubtful("others",
                          std::to_string(others) + " more connection" + (others > 1 ? "s" : "") +
                              " of this computer to the controller",
                          "another program can move the same axes (those of other computers are "
                          "not seen from here)");
    } else {
        findings.Good("others", "no other program of this computer is connected");
    }
}

/// Milliseconds of many small exchanges, sorted.
std::vector<double> RoundTrips(const Controller& controller)
{
    constexpr std::size_t kExchanges = 200;
    std::vector<double> times;
    while (times.size() < kExchanges && !Interrupted()) {
        unsigned resets = 0;
        const auto start = std::chrono::steady_clock::now();
        Expect(zelQ_GetPowerResetCount(controller.Number(), &resets), "exchange a question");
        const std::chrono::duration<double, std::milli> time =
            std::chrono::steady_clock::now() - start;
        times.push_back(time.count());
    }
    if (times.empty()) throw Failure(kInterrupted, "interrupted");
    std::sort(times.begin(), times.end());
    return times;
}

void LookAtTimes(Findings& findings, double middle, double slow)
{
    constexpr double kUsualWaitMs = 30.0; // for a reply, unless a program sets another
    const std::string text = "an exchange takes " + Fixed(middle, 2) + " ms, one in a hundred " +
                             Fixed(slow, 2) + " ms or more";
    if (slow < kUsualWaitMs) {
        findings.Good("round trip", text);
    } else {
        findings.Doubtful("round trip", text,
                          "programs should wait longer for replies than they do without "
                          "zelQ_TMOSet, which is 30 ms");
    }
}

void LookAtSlaves(Findings& findings, const Controller& controller)
{
    std::map<std::string, int> counts;
    for (const SlaveProperty& slave : SlavesOf(controller)) {
        ++counts[SlaveText(slave.type)];
    }
    std::string text;
    for (const auto& [type, count] : counts) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " x " + type;
    }
    if (counts["servo"] > 0) {
        findings.Good("slaves", "on the servo network: " + text);
    } else {
        findings.Bad("slaves", "no servo is on the servo network",
                     "look at the power of the drives and at the cables between them");
    }
}

/// What keeps an axis from moving.
void LookAtAxis(Findings& findings, const Controller& controller, const ServoStatus& servo)
{
    const std::string axis = controller.AxisText(servo.axis);
    if (servo.alarm != 0) {
        const DriveAlarm alarm = ReadAlarm(controller, servo.axis, 0);
        const AlarmMeaning& meaning = AlarmMeaningOf(alarm.number);
        findings.Bad(axis,
                     axis + " has alarm " + std::to_string(alarm.number) + ", " + meaning.name,
                     meaning.advice);
    }
    if (servo.emergencyStop != 0) {
        findings.Bad(axis, axis + " is held by its emergency stop", "release it");
    }
    if (servo.alarm == 0 && servo.servoReady == 0) {
        findings.Bad(axis, axis + " is not ready", "look at the display of its drive");
    }
    if (servo.limitPositive != 0 && servo.limitNegative != 0) {
        findings.Bad(axis, axis + " has both limit sensors on",
                     "look at their wiring, and at the limit logic of the drive");
    } else if (servo.limitPositive != 0 || servo.limitNegative != 0) {
        findings.Doubtful(axis,
                          axis + " stands on its " +
                              (servo.limitPositive != 0 ? "positive" : "negative") + " limit",
                          "it can only move the other way");
    }
    if (servo.warning != 0) {
        findings.Doubtful(axis, axis + " has a warning", "look at the display of its drive");
    }
    if (servo.softLimit != 0) {
        findings.Doubtful(axis, axis + " stands at a software limit",
                          "it can only move the other way");
    }
}

void LookAtAxes(Findings& findings, const Controller& controller)
{
    const ControllerStatus status = controller.Status();
    const std::size_t before = findings.AsJson().size();
    for (unsigned short i = 0; i < status.servoCount; ++i) {
        LookAtAxis(findings, controller, status.servo[status.servoAxes[i]]);
    }
    if (findings.AsJson().size() == before && status.servoCount > 0) {
        findings.Good("axes", "no axis has an alarm or stands at a limit");
    }
}

ExitCode Doctor(Context& context)
{
    const Target target = context.Meant();
    Findings findings(context);
    Json document = {{"address", target.Address()}, {"port", target.port}};
    const std::optional<bool> answers = HostAnswers(target);
    LookAtHost(findings, target, answers);
    LookAtOthers(findings, target);
    try {
        const Controller& controller = context.Connected();
        findings.Good("port", "port " + std::to_string(target.port) + " answers as a controller");
        const std::vector<double> times = RoundTrips(controller);
        const double middle = times[times.size() / 2];
        const double slow = times[times.size() * 99 / 100];
        LookAtTimes(findings, middle, slow);
        document["roundTripMs"] = {{"p50", middle}, {"p99", slow}};
        LookAtSlaves(findings, controller);
        LookAtAxes(findings, controller);
    } catch (const Failure& failure) {
        if (failure.Exit() == kInterrupted) throw;
        const bool hostIsThere = answers.value_or(false);
        findings.Bad("port", failure.what(),
                     hostIsThere ? "the host is there, so look at the port, at a firewall, and "
                                   "whether other programs use all its connections"
                                 : "nothing was reached at this address");
        document["findings"] = findings.AsJson();
        context.out.Show(document);
        return failure.Exit();
    }
    document["findings"] = findings.AsJson();
    context.out.Show(document);
    return findings.AnyBad() ? kRefused : kDone;
}

} // namespace

void AddDoctor(Program& program)
{
    program.AddVerb({"doctor", Group::kFind, "say what is wrong and what to do", kDoctorManual},
                    Doctor);
}

} // namespace zelq::tool
