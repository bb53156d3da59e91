// Search moves: run until a signal comes on or goes off, and latch the position there.

#include "axis_list.h"
#include "controller.h"
#include "families.h"

#include <array>

namespace lumosim {

namespace {

constexpr Word kSearchMove = 0x0013;
constexpr Word kSearchStatus = 0x0014;

// Bits 0..3 of the search word.
enum class SearchState : Word { kNone = 0, kSearching = 1, kFound = 2, kEndedWithout = 3 };

constexpr unsigned kLatchedBit = 4;
constexpr unsigned kSignalBits = 5;

// The signals by their codes.
constexpr std::array<Signal, 4> kSignals = {Signal::kProbe, Signal::kHomeSensor, Signal::kZPhase,
                                            Signal::kConfigurableInput};

class Search : public Family
{
  public:
    explicit Search(Controller& controller) : controller_(controller) {}

    void AddCommands(CommandTable& table) override
    {
        table.Add(kSearchMove, "search move", [this](auto& in, auto&) { return Move(in); });
        table.Add(kSearchStatus, "search status",
                  [this](auto& in, auto& reply) { return Status(in, reply); });
    }

    void PowerUp() override { searches_ = {}; }

  private:
    struct Record
    {
        bool started = false;
        Word signal = 0;
    };

    // The options stand before the count.
    Result Move(CommandReader& in)
    {
        std::array<Word, 4> options{};
        for (Word& option : options) {
            option = in.NextWord();
        }
        const auto [direction, signal, edge, end] = options;
        const Word count = in.NextWord();
        const Word number = in.NextWord();
        if (!in.Finished() || count != 1) return Result::kMalformed;
        Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return Result::kNoServo;
        if (direction > 1 || signal >= kSignals.size() || edge > 1 || end > 1) {
            return Result::kOutOfRange;
        }
        const int sign = direction == 0 ? 1 : -1;
        const Result check = axis->CheckMode(MotionKind::kIdle, sign);
        if (check != Result::kDone) return check;

        searches_.at(number) = {true, signal};
        axis->ForgetLatched();
        axis->Run(axis->Profile(), sign, MotionKind::kSearch,
                  Watch{kSignals.at(signal), edge == 0,
                        end == 0 ? StopMode::kDecelerate : StopMode::kSudden,
                        StopCause::kSearchLatched});
        return Result::kDone;
    }

    Result Status(CommandReader& in, Reply& reply)
    {
        const Word count = in.NextWord();
        if (count < 1 || count > kMaxAxes) return Result::kMalformed;
        AxisListCheck check(controller_);
        std::vector<Word> numbers;
        for (Word i = 0; i < count; ++i) {
            numbers.push_back(in.NextWord());
            check.Take(numbers.back());
        }
        if (!in.Finished()) return Result::kMalformed;
        if (check.Verdict() != Result::kDone) return check.Verdict();
        for (const Word number : numbers) {
            const Axis& axis = controller_.AxisAt(number);
            reply.AddWord(SearchWord(axis, searches_.at(number)));
            reply.AddLong(axis.Latched().value_or(0));
        }
        return Result::kDone;
    }

    static SearchState StateOf(const Axis& axis, const Record& search)
    {
        if (!search.started) return SearchState::kNone;
        if (axis.Latched()) return SearchState::kFound;
        return axis.Kind() == MotionKind::kSearch ? SearchState::kSearching
                                                  : SearchState::kEndedWithout;
    }

    static Word SearchWord(const Axis& axis, const Record& search)
    {
        const unsigned latched = axis.Latched() ? 1U << kLatchedBit : 0U;
        return static_cast<Word>(static_cast<unsigned>(StateOf(axis, search)) | latched |
                                 static_cast<unsigned>(search.signal) << kSignalBits);
    }

    Controller& controller_;
    std::array<Record, kMaxAxes> searches_;
};

} // namespace

std::unique_ptr<Family> MakeSearch(Controller& controller)
{
    return std::make_unique<Search>(controller);
}

} // namespace lumosim
