#include "command_table.h"

#include "controller.h"

#include <stdexcept>

namespace lumosim {

Result AxesAct::Run(CommandReader& in, Reply& reply) const
{
    CommandValues values;
    if (!layout_.Read(in, values)) return Result::kMalformed;
    std::vector<Axis*> axes;
    Result result = table_.FindAxes(NumbersOf(values.entries), axes);
    for (std::size_t i = 0; i < axes.size() && result == Result::kDone; ++i) {
        const FieldValues& entry = values.entries[i];
        result = entry.inRange ? Check(*axes[i], entry, reply) : Result::kOutOfRange;
    }
    for (std::size_t i = 0; i < axes.size() && result == Result::kDone; ++i) {
        result = Apply(*axes[i], values.entries[i], reply);
    }
    return result;
}

CommandHandler CommandTable::HandlerOf(Owned act)
{
    return [kept = std::shared_ptr<const Act>(std::move(act))](CommandReader& in, Reply& reply) {
        return kept->Run(in, reply);
    };
}

void CommandTable::AddAct(Word code, std::string name, const FieldLayout& layout, Owned act)
{
    AddHandler(code, std::move(name), layout.List(), HandlerOf(std::move(act)));
}

void CommandTable::AddHandler(Word code, std::string name, FieldList fields, CommandHandler handler)
{
    const auto [row, added] =
        rows_.try_emplace(code, Row{std::move(name), std::move(fields), std::move(handler)});
    if (!added) throw std::logic_error("command code used twice: " + row->second.name);
}

const CommandTable::Row* CommandTable::Find(Word code) const
{
    const auto found = rows_.find(code);
    return found == rows_.end() ? nullptr : &found->second;
}

Result CommandTable::FindAxes(std::span<const Word> numbers, std::vector<Axis*>& axes) const
{
    std::uint32_t taken = 0;
    for (const Word number : numbers) {
        Axis* axis = controller_.FindAxis(number);
        if (axis == nullptr) return Result::kNoServo;
        const std::uint32_t bit = 1U << number;
        if ((taken & bit) != 0) return Result::kAxisTwice;
        taken |= bit;
        axes.push_back(axis);
    }
    return Result::kDone;
}

} // namespace lumosim
