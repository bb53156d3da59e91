// The outputs of the main board, and how long they may stay on.

#include "controller.h"
#include "families.h"
#include "output_change.h"
#include "snapshot.h"

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

struct PinState
{
    Word pin = 0;
    Word state = 0;
};

struct PinMasks
{
    Word on = 0;
    Word off = 0;
};

struct LimitTimeFields
{
    Word pin = 0;
    Word mode = 0;
    std::uint32_t milliseconds = 0;

    [[nodiscard]] bool Valid() const { return mode == 0 || milliseconds > 0; }
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
        table.Add<OneWord>(
            kSetAll, "main outputs", {"outputs", &OneWord::value, UpTo(kLargestMask)},
            [this](const OneWord& outputs) { Do(OutputChange::Word(outputs.value)); });
        table.Add<PinState>(
            kSetPin, "main output pin",
            {"pin", &PinState::pin, UpTo(kPins - 1), "state", &PinState::state, UpTo(1)},
            [this](const PinState& set) { Do(OutputChange::Pin(set.pin, set.state == 1)); });
        table.Add<OneWord>(
            kTogglePin, "toggle main output", {"pin", &OneWord::value, UpTo(kPins - 1)},
            [this](const OneWord& pin) { Do(OutputChange::Toggle(1U << pin.value)); });
        table.Add<PinMasks>(
            kSetPins, "main output pins",
            {"on", &PinMasks::on, UpTo(kLargestMask), "off", &PinMasks::off, UpTo(kLargestMask)},
            [this](const PinMasks& set) {
                Do({set.on, set.off, 0});
            });
        table.Add<OneWord>(kTogglePins, "toggle main outputs",
                           {"mask", &OneWord::value, UpTo(kLargestMask)},
                           [this](const OneWord& mask) { Do(OutputChange::Toggle(mask.value)); });
        AddLimitTimes(table);
    }

    void Describe(Json& snapshot) const override
    {
        Json& times = snapshot["io"]["limitTimes"] = Json::array();
        for (unsigned pin = 0; pin < kPins; ++pin) {
            const Limit& limit = limits_[pin];
            if (limit.mode == LimitMode::kNone) continue;
            times.push_back({{"pin", pin},
                             {"fromCommand", limit.mode == LimitMode::kFromCommand},
                             {"time", limit.milliseconds * 0.001},
                             {"offAt", nullptr}});
            if (limit.offAt != kNever) times.back()["offAt"] = InSeconds(limit.offAt);
        }
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
    void AddLimitTimes(CommandTable& table)
    {
        table.Add<LimitTimeFields>(
            kSetLimitTime, "limit time",
            {"pin", &LimitTimeFields::pin, UpTo(kPins - 1), "mode", &LimitTimeFields::mode, UpTo(2),
             "time", &LimitTimeFields::milliseconds},
            [this](const LimitTimeFields& fields) {
                Limit& limit = limits_[fields.pin];
                limit = {static_cast<LimitMode>(fields.mode), fields.milliseconds, kNever};
                if (IsOn(fields.pin)) limit.Start(controller_.Now());
            });
        table.Add<OneWord>(
            kGetLimitTime, "limit time get", {"pin", &OneWord::value, UpTo(kPins - 1)},
            [this](const OneWord& pin, Reply& reply) { ShowLimit(pin.value, reply); });
    }

    void Do(const OutputChange& change)
    {
        Apply(change);
        for (unsigned pin = 0; pin < kPins; ++pin) {
            const bool commandedOn = (change.on & ~change.off & 1U << pin) != 0;
            Limit& limit = limits_[pin];
            if (commandedOn && limit.mode == LimitMode::kFromCommand)
                limit.Start(controller_.Now());
        }
    }

    // One register packs the mode (bits 0..1), the pin (bits 2..5), and whether the output is on
    // (bit 6) and its time is running (bit 7).
    void ShowLimit(unsigned pin, Reply& reply) const
    {
        const Limit& limit = limits_[pin];
        const unsigned running = limit.offAt != kNever ? 1 : 0;
        const unsigned packed = static_cast<unsigned>(limit.mode) | pin << 2U |
                                (IsOn(pin) ? 1U : 0U) << 6U | running << 7U;
        reply.AddWord(static_cast<Word>(packed));
        reply.AddLong(static_cast<std::int32_t>(limit.milliseconds));
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
