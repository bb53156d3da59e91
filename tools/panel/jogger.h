// Axes that run by hand, as long as somebody keeps saying so.
#pragma once

#include "panel/machine.h"
#include "panel/service.h"

#include <functional>
#include <list>
#include <string>

namespace zelq::tool {

/// Who jogs; pages are numbered.
using PageNumber = std::uint64_t;

/// What came of a jog's beginning: a result of a function, or a refusal of the panel's own.
struct JogBegin
{
    int result = 0;
    const char* function = "";
    std::string refusal;
};

/// A thread of its own keeps the deadlines: no page, slow command or look at the controller comes
/// between. An axis is never sent further than it runs on in a moment, so it comes to rest by
/// itself when this program, or the network, is gone.
class Jogger final : private Service
{
  public:
    /// The axis is stopped when its page says nothing for so long.
    static constexpr std::chrono::milliseconds kPatience{120};

    using Began = std::function<void(const JogBegin&)>;
    /// It has ended though its page has not let go; with the reason.
    using Ended = std::function<void(const char* why)>;

    /// `busy` is told, on the thread, when the first jog comes and when the last has ended.
    Jogger(Machine& machine, std::function<void(bool)> busy)
        : machine_(machine), busy_(std::move(busy))
    {}
    ~Jogger() { Stop(); }

    using Service::Start;
    /// Stops what runs, and ends the thread.
    void Stop();

    void Press(PageNumber page, unsigned short axis, int direction, double speed, Began began,
               Ended ended);
    void Keep(PageNumber page, unsigned short axis);
    void Release(PageNumber page, unsigned short axis);
    /// All jogs of a page that is gone, or has lost control.
    void Drop(PageNumber page);
    void DropAll();
    /// The poller tells what it has seen.
    void Saw(const Sight& sight);

  private:
    enum class State { kPressed, kRunning, kBraking, kOver };

    struct Jog
    {
        PageNumber page;
        unsigned short axis;
        int direction;
        double speed;
        Epoch epoch;
        SteadyClock::time_point deadline;
        Began began;
        Ended ended;
        bool isHeld = true;
        State state = State::kPressed;
        double start = 0;            ///< where it stood, user units
        double braking = 0;          ///< its way
        std::uint64_t startLook = 0; ///< the first look that can tell of the motion comes behind it
        SteadyClock::time_point sent;
    };

    /// Of an axis as it was seen last.
    struct Seen
    {
        std::uint64_t look = 0;
        SteadyClock::time_point at;
        double position = 0;
        bool moves = false;
    };

    void Run() override;
    [[nodiscard]] SteadyClock::time_point NextDeadline() const;
    bool Advance(Jog& jog);
    void Begin(Jog& jog);
    bool BeginMotion(Jog& jog, JogBegin& begin);
    void SendOn(Jog& jog);
    void Brake(Jog& jog);
    [[nodiscard]] bool IsSilent(const Jog& jog);
    [[nodiscard]] bool IsHeld(const Jog& jog);
    [[nodiscard]] bool IsFirstOfItsAxis(const Jog& jog);
    [[nodiscard]] Seen LastOf(unsigned short axis);
    [[nodiscard]] double TargetFrom(const Jog& jog, double position) const;
    template <typename Which>
    void LetGo(Which which);

    Machine& machine_;
    std::function<void(bool)> busy_;
    // Under the lock. Jogs are added by anybody, taken away by the thread alone.
    std::list<Jog> jogs_;
    std::array<Seen, kMostAxes> seen_{};
    bool wake_ = false;
    SteadyClock::time_point patience_;
};

} // namespace zelq::tool
