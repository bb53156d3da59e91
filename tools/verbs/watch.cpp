#include "frame/alarm_text.h"
#include "frame/motion.h"
#include "frame/status_text.h"
#include "frame/system.h"
#include "verbs/verbs.h"

#include <algorithm>
#include <map>

namespace zelq::tool {

namespace {

constexpr const char* kWatchManual =
    R"(Shows the state of the axes on the whole screen, again and again, with the alarms of their drives.

  f    which axes: all, those switched on, those in motion, those in trouble
  u    units of the configuration, or pulses
  q    end

  zelq -t press1 watch
  zelq -t press1 watch X 2-5 --every 100

What is no terminal gets one table each time, or with --json one line of JSON.)";

struct WatchOptions
{
    std::vector<std::string> axes;
    int everyMs = 200;
    int count = 0;
};

enum class Filter { kAll, kOn, kMoving, kTrouble };

const char* TextOf(Filter filter)
{
    switch (filter) {
    case Filter::kOn:
        return "axes that are on";
    case Filter::kMoving:
        return "axes in motion";
    case Filter::kTrouble:
        return "axes in trouble";
    default:
        return "all axes";
    }
}

bool Passes(Filter filter, const ServoStatus& servo)
{
    switch (filter) {
    case Filter::kOn:
        return servo.servoOn != 0;
    case Filter::kMoving:
        return servo.inMotion != 0;
    case Filter::kTrouble:
        return servo.alarm != 0 || servo.warning != 0 || servo.emergencyStop != 0 ||
               servo.limitPositive != 0 || servo.limitNegative != 0 || servo.softLimit != 0 ||
               servo.torqueLimited != 0;
    default:
        return true;
    }
}

/// The terminal's other screen, without a cursor; afterwards everything is as it was.
class Screen
{
  public:
    Screen() { Write("\033[?1049h\033[?25l"); }
    ~Screen() { Write("\033[?25h\033[?1049l"); }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// In one piece, over what stood there: it does not flicker. Lines are not wrapped.
    static void Show(const std::vector<std::string>& lines)
    {
        const auto rows = static_cast<std::size_t>(SizeOfTerminal().rows);
        std::string frame = "\033[?7l\033[H";
        for (std::size_t i = 0; i < std::min(rows, lines.size()); ++i) {
            frame += (i == 0 ? "" : "\r\n") + lines[i] + "\033[K";
        }
        Write(frame + "\033[J\033[?7h");
    }
};

class Watch
{
  public:
    Watch(Context& context, std::vector<unsigned short> axes)
        : context_(context), controller_(context.Connected()), axes_(std::move(axes))
    {}

    void Read()
    {
        const auto start = std::chrono::steady_clock::now();
        status_ = controller_.Status();
        took_ = std::chrono::steady_clock::now() - start;
        for (const unsigned short axis : axes_) {
            const bool alarm = status_.servo[axis].alarm != 0;
            // A drive's list is read when an alarm comes up, not each time.
            if (alarm && !alarms_.contains(axis)) alarms_[axis] = ReadAlarm(controller_, axis, 0);
            if (!alarm) alarms_.erase(axis);
        }
    }

    /// False: to be ended.
    bool Take(char key)
    {
        if (key == 'q') return false;
        if (key == 'u') pulses_ = !pulses_;
        if (key == 'f') {
            const bool isLast = filter_ == Filter::kTrouble;
            filter_ = isLast ? Filter::kAll : static_cast<Filter>(static_cast<int>(filter_) + 1);
        }
        return true;
    }

    void ShowScreen() const
    {
        const bool colours = context_.out.HasColours();
        std::vector<std::string> lines = {
            context_.out.Painted({controller_.Where().Text(), Style::kBold}) + "   " +
                TextOf(filter_) + ", in " + (pulses_ ? "pulses" : "their units") + "   read in " +
                Fixed(took_.count(), 1) + " ms",
            ""};
        for (const std::string& line : TableOf(filter_).Lines(colours)) {
            lines.push_back(line);
        }
        lines.emplace_back("");
        for (const std::string& alarm : AlarmLines()) {
            lines.push_back(context_.out.Painted({alarm, Style::kBad}));
        }
        if (!alarms_.empty()) lines.emplace_back("");
        lines.push_back(context_.out.Painted({"f filter   u units   q end", Style::kDim}));
        Screen::Show(lines);
    }

    void ShowOnce() const
    {
        Json list = Json::array();
        for (const unsigned short axis : axes_) {
            Json json = AxisJson(controller_, status_.servo[axis]);
            const auto alarm = alarms_.find(axis);
            if (alarm != alarms_.end()) json["alarm"] = alarm->second.number;
            list.push_back(std::move(json));
        }
        context_.out.Show(Json{{"controller", controller_.Number()},
                               {"ms", took_.count()},
                               {"axes", std::move(list)}});
        context_.out.Show(TableOf(Filter::kAll));
        for (const std::string& alarm : AlarmLines()) {
            context_.out.Line(alarm);
        }
    }

  private:
    [[nodiscard]] Table TableOf(Filter filter) const
    {
        std::vector<unsigned short> shown;
        std::copy_if(axes_.begin(), axes_.end(), std::back_inserter(shown),
                     [&](unsigned short axis) { return Passes(filter, status_.servo[axis]); });
        return AxisTable(controller_, status_, shown, pulses_);
    }

    [[nodiscard]] std::vector<std::string> AlarmLines() const
    {
        std::vector<std::string> lines;
        for (const auto& [axis, alarm] : alarms_) {
            lines.push_back(controller_.AxisText(axis) + ": alarm " + std::to_string(alarm.number) +
                            "." + std::to_string(alarm.subNumber) + ", " +
                            AlarmMeaningOf(alarm.number).name);
        }
        return lines;
    }

    Context& context_;
    const Controller& controller_;
    std::vector<unsigned short> axes_;
    ControllerStatus status_{};
    std::chrono::duration<double, std::milli> took_{};
    std::map<unsigned short, DriveAlarm> alarms_;
    Filter filter_ = Filter::kAll;
    bool pulses_ = false;
};

using WatchClock = std::chrono::steady_clock;

void WatchOnScreen(Watch& watch, const WatchOptions& options)
{
    const Screen screen;
    Keyboard keys;
    for (int shown = 0; !Interrupted(); ++shown) {
        if (options.count > 0 && shown == options.count) return;
        const auto next = WatchClock::now() + Milliseconds(options.everyMs);
        watch.Read();
        watch.ShowScreen();
        while (WatchClock::now() < next && !Interrupted()) {
            const auto key = keys.Next(std::chrono::ceil<Milliseconds>(next - WatchClock::now()));
            if (keys.AtEnd() || (key && !watch.Take(*key))) return;
            if (key) watch.ShowScreen();
        }
    }
}

ExitCode RunWatch(Context& context, const WatchOptions& options)
{
    Watch watch(context, context.Connected().ParseAxes(options.axes));
    if (!context.out.IsJson() && IsTerminal(Stream::kOutput) && IsTerminal(Stream::kInput)) {
        WatchOnScreen(watch, options);
        return kDone;
    }
    for (int shown = 1;; ++shown) {
        watch.Read();
        watch.ShowOnce();
        if (shown == options.count || !WaitFor(Milliseconds(options.everyMs))) return kDone;
    }
}

} // namespace

void AddWatch(Program& program)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App& app =
        program.AddVerb({"watch", Group::kWatch, "keep on showing the axes", kWatchManual},
                        [options](Context& context) { return RunWatch(context, *options); });
    app.add_option("axes", options->axes, "axes; all of them unless named")->type_name("AXIS");
    app.add_option("--every", options->everyMs, "how often it is read, ms")
        ->check(CLI::Range(10, 3'600'000))
        ->type_name("MS")
        ->capture_default_str();
    app.add_option("--count", options->count, "how many times; without it, until q or Ctrl-C")
        ->check(CLI::PositiveNumber)
        ->type_name("COUNT");
}

} // namespace zelq::tool
