// The two digital outputs of each drive.

#include "controller.h"
#include "families.h"
#include "output_change.h"

namespace lumosim {

namespace {

constexpr Word kSetOutputs = 0x0180;
constexpr Word kSetOutputPin = 0x0181;
constexpr Word kToggleOutputs = 0x0182;

// Each drive's register holds two values of 8 bits.
struct Pair
{
    unsigned first;
    unsigned second;
};

// What a pair asks for; no value when the drive knows no such thing.
using ChangeOf = bool (*)(const Pair& pair, OutputChange& change);

bool BothOutputs(const Pair& pair, OutputChange& change)
{
    constexpr std::uint32_t kBoth = 3;
    const std::uint32_t on = pair.first | pair.second << 1U;
    change = {on, on ^ kBoth, 0};
    return pair.first <= 1 && pair.second <= 1;
}

bool OnePin(const Pair& pair, OutputChange& change)
{
    if (pair.first < 1 || pair.first > 2 || pair.second > 1) return false;
    change = OutputChange::Pin(pair.first - 1, pair.second == 1);
    return true;
}

bool ToggleFlags(const Pair& pair, OutputChange& change)
{
    change = OutputChange::Toggle(pair.first | pair.second << 1U);
    return pair.first <= 1 && pair.second <= 1;
}

class DriveOutputs : public Family
{
  public:
    explicit DriveOutputs(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kSetOutputs, "drive outputs",
                  [this](auto& in, auto&) { return Change(in, BothOutputs); });
        table.Add(kSetOutputPin, "drive output pin",
                  [this](auto& in, auto&) { return Change(in, OnePin); });
        table.Add(kToggleOutputs, "toggle drive outputs",
                  [this](auto& in, auto&) { return Change(in, ToggleFlags); });
    }

  private:
    Result Change(CommandReader& in, ChangeOf changeOf)
    {
        struct Entry
        {
            Word station;
            OutputChange change;
        };
        const Word count = in.NextWord();
        if (count < 1 || count > kMaxAxes) return Result::kMalformed;
        std::vector<Entry> entries;
        bool known = true;
        bool valid = true;
        for (Word i = 0; i < count; ++i) {
            Entry entry{in.NextWord(), {}};
            const Word packed = in.NextWord();
            known = known && controller_.FindAxis(entry.station) != nullptr;
            valid = changeOf({packed & 0xFFU, unsigned{packed} >> 8U}, entry.change) && valid;
            entries.push_back(entry);
        }
        if (!in.Finished()) return Result::kMalformed;
        if (!known) return Result::kNoServo;
        if (!valid) return Result::kOutOfRange;
        for (const Entry& entry : entries) {
            const std::uint32_t outputs = controller_.SlaveAt(entry.station).outputs;
            controller_.SetSlaveOutputs(entry.station, entry.change.AppliedTo(outputs));
        }
        return Result::kDone;
    }

    Controller& controller_;
};

} // namespace

std::unique_ptr<Family> MakeDriveOutputs(Controller& controller)
{
    return std::make_unique<DriveOutputs>(controller);
}

} // namespace lumosim
