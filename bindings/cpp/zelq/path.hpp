/**
 * @file zelq/path.hpp
 * Continuous paths of lines, arcs and helices; included by zelq.hpp.
 */
#ifndef ZELQ_PATH_HPP
#define ZELQ_PATH_HPP

#include "zelq/axis.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <vector>

namespace zelq {

/** A place in the plane of a path's first two axes. */
struct Point
{
    double x, y;
};

/**
 * A path: built first, then run as often as wanted. All places are positions, none are distances.
 *
 *     press.path({0, 1, 2}).speed(100, 700, 700).corner(20)
 *         .line({40, 0, 0}).arc({40, 20}, 90).dwell(200ms).helix({40, 20}, 720, -5).run();
 *
 * Segments run one into the other: their joints are passed with the speed of corner(), which is 0
 * until it is told. The controller keeps some tens of segments in its pre-registers; run() hands it
 * more as they get free.
 *
 * A segment whose reply is lost is sent again by the library, and can then be run twice: give the
 * Link a receive time that the network keeps.
 */
class Path
{
  public:
    Path(short zelNo, short map, Span<const unsigned short> axes)
        : zelNo_(zelNo), map_(map), axes_(axes)
    {}

    /** Of the segments from here on: units per second, and per second squared, along the path. */
    Path& speed(double drive, double acceleration, double deceleration, Ramp ramp = Ramp::straight)
    {
        profile_ = {static_cast<unsigned short>(ramp), 0, 0, acceleration, drive, deceleration, 0};
        return *this;
    }
    /** How fast the joints behind the segments from here on are passed. */
    Path& corner(double speed)
    {
        corner_ = speed;
        return *this;
    }

    /** Straight to a position, a coordinate an axis; axes that are left out stay where they are. */
    Path& line(Span<const double> position)
    {
        if (position.empty() || position.size() > static_cast<std::size_t>(axes_.count)) {
            throw std::invalid_argument("not one coordinate for each axis");
        }
        Segment& segment = add(Form::line);
        segment.count = static_cast<short>(position.size());
        std::copy(position.begin(), position.end(), segment.position.begin());
        return *this;
    }
    Path& line(std::initializer_list<double> position)
    {
        return line(Span<const double>(position.begin(), position.size()));
    }
    /** Around a centre; degrees are positive counter-clockwise, and may be more than a turn. */
    Path& arc(Point center, double degrees)
    {
        Segment& segment = add(Form::arc);
        segment.center = center;
        segment.degrees = degrees;
        return *this;
    }
    /** An arc on whose way the third axis goes to `height`; the speed is that along the helix. */
    Path& helix(Point center, double degrees, double height)
    {
        Segment& segment = add(Form::helix);
        segment.center = center;
        segment.degrees = degrees;
        segment.position[0] = height;
        return *this;
    }
    /** Comes to rest, and stays there so long, counted by this computer. */
    Path& dwell(Milliseconds time)
    {
        add(Form::dwell).time = time;
        return *this;
    }

    [[nodiscard]] std::size_t size() const noexcept { return segments_.size(); }

    /**
     * Runs the path and waits for its end, feeding it and looking at the axes on the way. Whatever
     * comes in between stops the axes on the path, then throws as Motion::wait().
     */
    void run(Milliseconds limit = kWaitLimit)
    {
        Run(*this, std::chrono::steady_clock::now() + limit).toEnd();
    }

  private:
    using Clock = std::chrono::steady_clock;
    enum class Form { line, arc, helix, dwell };

    struct Segment
    {
        Form form = Form::line;
        short count = 0;
        std::array<double, 16> position{}; ///< of a helix the first is its height
        Point center{};
        double degrees = 0;
        Milliseconds time{0};
        double corner = 0; ///< how fast the joint behind it may be passed
        InterpSpeedProfile profile{};
    };

    /** One run. The controller's use of pre-registers is as it was when this ends. */
    class Run
    {
      public:
        Run(const Path& path, Clock::time_point end) : path_(path), end_(end)
        {
            detail::check(
                zelQ_IMapSet(path.zelNo_, path.map_, path.axes_.count, path.axes_.numbers.data()),
                "zelQ_IMapSet");
            detail::check(zelQ_CP_PreRegUseGet(static_cast<unsigned short>(path.zelNo_), &before_),
                          "zelQ_CP_PreRegUseGet");
            detail::check(zelQ_CP_PreRegUseSet(path.zelNo_, 1), "zelQ_CP_PreRegUseSet");
        }
        ~Run()
        {
            if (before_ == 0) zelQ_CP_PreRegUseSet(path_.zelNo_, 0);
        }
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;

        void toEnd()
        {
            look();
            for (short i = 0; i < path_.axes_.count; ++i) {
                causesBefore_[index(i)] = servo(i).stopCause;
            }
            try {
                do {
                    feed();
                    if (interrupted()) throw Interrupted();
                    if (Clock::now() > end_) throw TimeoutError();
                    std::this_thread::sleep_for(kLookEvery);
                    look();
                } while (moving_ || sent_ < path_.segments_.size());
            } catch (Error& error) {
                if (!stop()) error.setAxesMayRun();
                throw;
            } catch (...) {
                stop();
                throw;
            }
        }

      private:
        static std::size_t index(short i) { return static_cast<std::size_t>(i); }
        [[nodiscard]] const ServoStatus& servo(short i) const
        {
            return status_.servo[path_.axes_.numbers[index(i)] & 31];
        }
        bool stop() noexcept
        {
            return stopAxes(path_.zelNo_, path_.axes_.count, path_.axes_.numbers.data());
        }

        /** Hands on what the pre-registers have room for, up to a dwell. */
        void feed()
        {
            const std::vector<Segment>& segments = path_.segments_;
            if (sent_ == segments.size()) return;
            if (segments[sent_].form == Form::dwell) return dwell();
            std::array<unsigned short, 16> room{};
            detail::check(zelQ_CP_PreRegGetRemain(path_.zelNo_, room.data()),
                          "zelQ_CP_PreRegGetRemain");
            for (int left = room[index(path_.map_) & 15]; left > 0 && sent_ < segments.size();
                 --left) {
                if (segments[sent_].form == Form::dwell) return;
                send(sent_);
                ++sent_;
            }
        }

        void dwell()
        {
            if (moving_) return;
            const auto now = Clock::now();
            if (!dwells_) dwellEnd_ = now + path_.segments_[sent_].time;
            dwells_ = now < dwellEnd_;
            if (!dwells_) ++sent_;
        }

        void send(std::size_t number)
        {
            const Segment& segment = path_.segments_[number];
            InterpSpeedProfile profile = segment.profile;
            profile.startSpeed = path_.jointBefore(number);
            profile.endSpeed = path_.jointBefore(number + 1);
            const std::array<double, 2> center = {segment.center.x, segment.center.y};
            constexpr unsigned short kPositions = 0;
            constexpr unsigned short kAlongHelix = 1;
            switch (segment.form) {
            case Form::line:
                detail::check(zelQ_ILinear(path_.zelNo_, path_.map_, kPositions, segment.count,
                                           segment.position.data(), &profile),
                              "zelQ_ILinear");
                break;
            case Form::arc:
                detail::check(zelQ_IArc(path_.zelNo_, path_.map_, kPositions, center.data(),
                                        segment.degrees, &profile),
                              "zelQ_IArc");
                break;
            case Form::helix:
                detail::check(zelQ_IHelical(path_.zelNo_, path_.map_, kPositions, center.data(),
                                            segment.degrees, kAlongHelix, segment.position[0],
                                            &profile),
                              "zelQ_IHelical");
                break;
            case Form::dwell:
                break;
            }
            moving_ = true;
        }

        void look()
        {
            detail::check(zelQ_GetAllStatus(path_.zelNo_, &status_), "zelQ_GetAllStatus");
            moving_ = false;
            for (short i = 0; i < path_.axes_.count; ++i) {
                const bool moves = servo(i).inMotion != 0;
                moving_ = moving_ || moves;
                moved_[index(i)] = moved_[index(i)] || moves;
            }
            if (sent_ > 0) judge();
        }

        /** An axis that takes no part still shows why its last motion ended, long ago. */
        void judge() const
        {
            for (short i = 0; i < path_.axes_.count; ++i) {
                const ServoStatus& status = servo(i);
                const bool isNew = moved_[index(i)] || status.stopCause != causesBefore_[index(i)];
                const bool stopped = status.inMotion == 0 && status.stopCause != 0 && isNew;
                if (status.alarm != 0 || stopped) throw MotionError(status);
            }
        }

        const Path& path_;
        const Clock::time_point end_;
        unsigned short before_ = 1;
        ControllerStatus status_{};
        std::array<unsigned short, 16> causesBefore_{};
        std::array<bool, 16> moved_{};
        std::size_t sent_ = 0;
        bool moving_ = false;
        bool dwells_ = false;
        Clock::time_point dwellEnd_{};
    };

    Segment& add(Form form)
    {
        Segment& segment = segments_.emplace_back();
        segment.form = form;
        segment.corner = corner_;
        segment.profile = profile_;
        return segment;
    }

    /** How fast the joint in front of a segment is passed: not at all at the ends of the path. */
    [[nodiscard]] double jointBefore(std::size_t number) const
    {
        if (number == 0 || number == segments_.size()) return 0;
        const Segment& before = segments_[number - 1];
        const Segment& behind = segments_[number];
        if (before.form == Form::dwell || behind.form == Form::dwell) return 0;
        return std::min({before.corner, before.profile.driveSpeed, behind.profile.driveSpeed});
    }

    short zelNo_;
    short map_;
    detail::AxisList axes_;
    InterpSpeedProfile profile_{};
    double corner_ = 0;
    std::vector<Segment> segments_;
};

} // namespace zelq

#endif /* ZELQ_PATH_HPP */
