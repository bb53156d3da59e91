// Search moves: run until a signal comes on or goes off, and latch the position there.

#include "controller.h"
#include "families.h"
#include "snapshot.h"
#include "values.h"

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

struct SearchOrder
{
    Word direction = 0;
    Word signal = 0;
    Word edge = 0;
    Word end = 0;
    Word axis = 0;
}; // namespace

class Search : public Family
{
  public:
    explicit Search(const Controller& controller) : controller_(controller) {}

  private:
    // The options stand before the count, and that is always 1.
    void AddCommands(CommandTable& table) override
    {
        table.ForAxes<SearchOrder>(
            kSearchMove, "search move",
            {"direction", &SearchOrder::direction, UpTo(1), "signal", &SearchOrder::signal,
             UpTo(kSignals.size() - 1), "edge", &SearchOrder::edge, UpTo(1), "end",
             &SearchOrder::end, UpTo(1), CountOf(1, 1), "axis", &SearchOrder::axis, kEach},
            [](const Axis& axis, const SearchOrder& order) {
                return axis.CheckMode(MotionKind::kIdle, DirectionOf(order.direction));
            },
            [this](Axis& axis, const SearchOrder& order) { Start(axis, order); });
        table.ForAxes<OneWord>(kSearchStatus, "search status",
                               {kCount, "axis", &OneWord::value, kEach},
                               [this](Axis& axis, const OneWord& number, Reply& reply) {
                                   reply.AddWord(SearchWord(axis, searches_.at(number.value)));
                                   reply.AddLong(axis.Latched().value_or(0));
                               });
    }

    void Describe(Json& snapshot) const override
    {
        DescribeAxes(controller_, snapshot, [this](Json& part, const Axis& axis, int number) {
            constexpr std::array kStates = {"none", "searching", "found", "ended-without"};
            constexpr std::array kSignalNames = {"probe", "home-sensor", "z-phase",
                                                 "configurable-input"};
            const Record& search = searches_.at(static_cast<std::size_t>(number));
            part["search"] = {
                {"state", kStates.at(static_cast<std::size_t>(StateOf(axis, search)))},
                {"signal", kSignalNames.at(search.signal)},
                {"latched", nullptr}};
            if (axis.Latched()) part["search"]["latched"] = *axis.Latched();
        });
    }

    void PowerUp() override { searches_ = {}; }

    struct Record
    {
        bool started = false;
        Word signal = 0;
    };

    void Start(Axis& axis, const SearchOrder& order)
    {
        searches_.at(order.axis) = {true, order.signal};
        axis.ForgetLatched();
        axis.Run(axis.Profile(), DirectionOf(order.direction), MotionKind::kSearch,
                 Watch{kSignals.at(order.signal), order.edge == 0, SuddenIf(order.end == 1),
                       StopCause::kSearchLatched});
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

    const Controller& controller_;
    std::array<Record, kMaxAxes> searches_;
};

} // namespace

std::unique_ptr<Family> MakeSearch(Controller& controller)
{
    return std::make_unique<Search>(controller);
}

} // namespace lumosim
