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
        Add(table, kSetOutputs, "drive outputs", "output 1 + 256 * output 2", BothOutputs);
        Add(table, kSetOutputPin, "drive output pin", "pin + 256 * state", OnePin);
        Add(table, kToggleOutputs, "toggle drive outputs", "flag 1 + 256 * flag 2", ToggleFlags);
    }

  private:
    void Add(CommandTable& table, Word code, const char* name, const char* pair, ChangeOf changeOf)
    {
        table.AddList<OneWord>(code, name, {kCount, kStation, pair, &OneWord::value},
                               [this, changeOf](const OneWord&, const auto& entries) {
                                   return Change(entries, changeOf);
                               });
    }

    // A drive may be named again: its outputs change one after the other.
    Result Change(const std::vector<Entry<OneWord>>& entries, ChangeOf changeOf)
    {
        std::vector<OutputChange> changes;
        bool valid = true;
        for (const Entry<OneWord>& entry : entries) {
            if (controller_.FindAxis(entry.number) == nullptr) return Result::kNoServo;
            const unsigned pair = entry.fields.value;
            valid = changeOf({pair & 0xFFU, pair >> 8U}, changes.emplace_back()) && valid;
        }
        if (!valid) return Result::kOutOfRange;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const Word station = entries[i].number;
            const std::uint32_t outputs = controller_.SlaveAt(station).outputs;
            controller_.SetSlaveOutputs(station, changes[i].AppliedTo(outputs));
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
