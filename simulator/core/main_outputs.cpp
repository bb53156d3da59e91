// The outputs of the main board, and how long they may stay on.

#include "controller.h"
#include "families.h"
#include "output_change.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace lumosim {

namespace {

constexpr Word kSetAll = 0x01A0;
constexpr Word kSetPin = 0x01A1;
constexpr Word kTogglePin = 0x01A2;
constexpr Word kSetPins = 0x01A3;
constexpr Word kTogglePins = 0x01A4;
constexpr Word kSetLimitTime = 0x01A5;
constexpr Word kGetLimitTime = 0x01A6;

constexpr unsigned kPins = 8;
constexpr unsigned kLargestMask = 0xFF;

enum class LimitMode : Word {
    kNone = 0,
    kFromOn = 1,      // the time runs from when the output came on
    kFromCommand = 2, // every further command that switches it on lets it run anew
};

struct Limit
{
    LimitMode mode = LimitMode::kNone;
    std::uint32_t milliseconds = 0;
    Nanoseconds offAt = kNever;

    void Start(Nanoseconds now)
    {
        if (mode != LimitMode::kNone) offAt = now + std::chrono::milliseconds(milliseconds);
    }
};

class MainOutputs : public Family
{
  public:
    explicit MainOutputs(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kSetAll, "main outputs", [this](auto& in, auto&) { return SetAll(in); });
        table.Add(kSetPin, "main output pin", [this](auto& in, auto&) { return SetPin(in); });
        table.Add(kTogglePin, "toggle main output",
                  [this](auto& in, auto&) { return TogglePin(in); });
        table.Add(kSetPins, "main output pins", [this](auto& in, auto&) { return SetPins(in); });
        table.Add(kTogglePins, "toggle main outputs",
                  [this](auto& in, auto&) { return TogglePins(in); });
        table.Add(kSetLimitTime, "limit time", [this](auto& in, auto&) { return SetLimit(in); });
        table.Add(kGetLimitTime, "limit time get",
                  [this](auto& in, auto& reply) { return GetLimit(in, reply); });
    }

    [[nodiscard]] Nanoseconds NextEvent() const override
    {
        // Somebody else has switched them: the time of those that came on runs from this moment.
        if (controller_.MainOutputs() != seen_) return controller_.Now();
        return std::ranges::min_element(limits_, {}, &Limit::offAt)->offAt;
    }

    void AdvanceTo(Nanoseconds now) override
    {
        Watch(now);
        OutputChange change;
        for (unsigned pin = 0; pin < kPins; ++pin) {
            if (limits_[pin].offAt <= now) change.off |= 1U << pin;
        }
        if (change.off != 0) Apply(change);
    }

    void PowerUp() override { limits_.fill(Limit()); }

  private:
    Result SetAll(CommandReader& in)
    {
        const Word outputs = in.NextWord();
        return Do(in, outputs <= kLargestMask, OutputChange::Word(outputs));
    }

    Result SetPin(CommandReader& in)
    {
        const Word pin = in.NextWord();
        const Word state = in.NextWord();
        return Do(in, pin < kPins && state <= 1, OutputChange::Pin(pin % kPins, state == 1));
    }

    Result TogglePin(CommandReader& in)
    {
        const Word pin = in.NextWord();
        return Do(in, pin < kPins, OutputChange::Toggle(1U << pin % kPins));
    }

    Result SetPins(CommandReader& in)
    {
        const Word on = in.NextWord();
        const Word off = in.NextWord();
        return Do(in, (on | off) <= kLargestMask, {on, off, 0});
    }

    Result TogglePins(CommandReader& in)
    {
        const Word mask = in.NextWord();
        return Do(in, mask <= kLargestMask, OutputChange::Toggle(mask));
    }

    Result Do(const CommandReader& in, bool valid, const OutputChange& change)
    {
        if (!in.Finished()) return Result::kMalformed;
        if (!valid) return Result::kOutOfRange;
        Apply(change);
        for (unsigned pin = 0; pin < kPins; ++pin) {
            const bool commandedOn = (change.on & ~change.off & 1U << pin) != 0;
            Limit& limit = limits_[pin];
            if (commandedOn && limit.mode == LimitMode::kFromCommand)
                limit.Start(controller_.Now());
        }
        return Result::kDone;
    }

    Result SetLimit(CommandReader& in)
    {
        const Word pin = in.NextWord();
        const Word mode = in.NextWord();
        const std::uint32_t milliseconds = in.NextUnsignedLong();
        if (!in.Finished()) return Result::kMalformed;
        const bool valid = pin < kPins && mode <= 2 && (mode == 0 || milliseconds > 0);
        if (!valid) return Result::kOutOfRange;
        Limit& limit = limits_[pin];
        limit = {static_cast<LimitMode>(mode), milliseconds, kNever};
        if (IsOn(pin)) limit.Start(controller_.Now());
        return Result::kDone;
    }

    // One register packs the mode (bits 0..1), the pin (bits 2..5), and whether the output is on
    // (bit 6) and its time is running (bit 7).
    Result GetLimit(CommandReader& in, Reply& reply)
    {
        const Word pin = in.NextWord();
        if (!in.Finished()) return Result::kMalformed;
        if (pin >= kPins) return Result::kOutOfRange;
        const Limit& limit = limits_[pin];
        const unsigned running = limit.offAt != kNever ? 1 : 0;
        const unsigned packed = static_cast<unsigned>(limit.mode) | unsigned{pin} << 2U |
                                (IsOn(pin) ? 1U : 0U) << 6U | running << 7U;
        reply.AddWord(static_cast<Word>(packed));
        reply.AddLong(static_cast<std::int32_t>(limit.milliseconds));
        return Result::kDone;
    }

    [[nodiscard]] bool IsOn(unsigned pin) const
    {
        const unsigned outputs = controller_.MainOutputs();
        return (outputs >> pin & 1U) != 0;
    }

    void Apply(const OutputChange& change)
    {
        const std::uint32_t outputs = change.AppliedTo(controller_.MainOutputs());
        controller_.SetMainOutputs(static_cast<Word>(outputs & kLargestMask));
        Watch(controller_.Now());
    }

    // Sees which outputs have come on and gone off.
    void Watch(Nanoseconds now)
    {
        const Word outputs = controller_.MainOutputs();
        const unsigned before = seen_;
        for (unsigned pin = 0; pin < kPins; ++pin) {
            const bool was = (before >> pin & 1U) != 0;
            if (!IsOn(pin)) limits_[pin].offAt = kNever;
            if (IsOn(pin) && !was) limits_[pin].Start(now);
        }
        seen_ = outputs;
    }

    Controller& controller_;
    std::array<Limit, kPins> limits_{};
    Word seen_ = 0; // outputs at the last look
};

} // namespace

std::unique_ptr<Family> MakeMainOutputs(Controller& controller)
{
    return std::make_unique<MainOutputs>(controller);
}

} // namespace lumosim
