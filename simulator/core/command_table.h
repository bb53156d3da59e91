// All commands that a controller knows: what they are made of, and what they do.
#pragma once

#include "axis.h"
#include "layout.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace lumosim {

class CommandTable;
class Controller;

// Calls with as many of the arguments as the function takes; kDone where it cannot be refused.
template <typename Function, typename... Arguments>
Result CallWithAll(const Function& function, Arguments&... arguments)
{
    if constexpr (std::is_same_v<std::invoke_result_t<const Function&, Arguments&...>, Result>) {
        return std::invoke(function, arguments...);
    } else {
        std::invoke(function, arguments...);
        return Result::kDone;
    }
}

template <typename Function, typename First, typename Second, typename Third>
Result CallWith(const Function& function, First& first, Second& second, Third& third)
{
    if constexpr (std::is_invocable_v<const Function&, First&, Second&, Third&>) {
        return CallWithAll(function, first, second, third);
    } else if constexpr (std::is_invocable_v<const Function&, First&, Second&>) {
        return CallWithAll(function, first, second);
    } else {
        return CallWithAll(function, first);
    }
}

template <typename Fields>
Result CheckFields(const Fields& fields)
{
    if constexpr (requires { fields.Valid(); }) {
        if (!fields.Valid()) return Result::kOutOfRange;
    }
    return Result::kDone;
}

// What a command does when it comes. There are many: what differs between them is kept small.
class Act
{
  public:
    virtual ~Act() = default;
    virtual Result Run(CommandReader& in, Reply& reply) const = 0;
};

// For each of the axes that a command names.
class AxesAct : public Act
{
  public:
    AxesAct(const CommandTable& table, const FieldLayout& layout) : table_(table), layout_(layout)
    {}
    Result Run(CommandReader& in, Reply& reply) const final;

  protected:
    [[nodiscard]] const FieldLayout& Form() const { return layout_; }

  private:
    virtual Result Check(Axis& axis, const FieldValues& values, Reply& reply) const = 0;
    virtual Result Apply(Axis& axis, const FieldValues& values, Reply& reply) const = 0;

    const CommandTable& table_;
    FieldLayout layout_;
};

// Every kind of command is malformed (kMalformed) when it is not of its layout, before anything
// else about it is looked at. Values out of the layout's ranges are refused, and fields that are
// not Valid() as far as they can tell.
class CommandTable
{
  public:
    struct Row
    {
        std::string name;
        FieldList fields;
        CommandHandler handler;
    };

    explicit CommandTable(Controller& controller) : controller_(controller) {}

    // A command as it comes. A code belongs to one family; adding it twice is a mistake in the
    // simulator (logic_error).
    void AddHandler(Word code, std::string name, FieldList fields, CommandHandler handler);

    // A command of single fields: act(fields), or act(fields, reply).
    template <typename Fields = NoFields, typename Function>
    void Add(Word code, std::string name, const Layout<Fields>& layout, Function function)
    {
        AddAct(code, std::move(name), layout,
               Owned(new OnceAct<Fields, Function>(layout, function)));
    }

    // A command with entries that checks everything itself: act(fields, entries), or with the
    // reply.
    template <typename Fields = NoFields, typename Function>
    void AddList(Word code, std::string name, const Layout<Fields>& layout, Function function)
    {
        AddAct(code, std::move(name), layout,
               Owned(new ListAct<Fields, Function>(layout, function)));
    }

    // A command whose entries are axes, each once. It is refused as a whole: only when everything
    // about every axis is right, apply(axis, fields, reply) is called for each; it and
    // check(axis, fields) may leave the last arguments out.
    template <typename Fields = NoFields, typename Check, typename Apply>
    void ForAxes(Word code, std::string name, const Layout<Fields>& layout, Check check,
                 Apply apply)
    {
        AddHandler(code, std::move(name), layout.List(), HandlerForAxes(layout, check, apply));
    }

    template <typename Fields = NoFields, typename Apply>
    void ForAxes(Word code, std::string name, const Layout<Fields>& layout, Apply apply)
    {
        ForAxes(code, std::move(name), layout, &NothingToCheck, apply);
    }

    template <typename Fields, typename Check, typename Apply>
    CommandHandler HandlerForAxes(const Layout<Fields>& layout, Check check, Apply apply)
    {
        return HandlerOf(Owned(new EachAct<Fields, Check, Apply>(*this, layout, check, apply)));
    }

    // kNoServo or kAxisTwice for the first number that is wrong.
    Result FindAxes(std::span<const Word> numbers, std::vector<Axis*>& axes) const;

    [[nodiscard]] const Row* Find(Word code) const;
    [[nodiscard]] const std::map<Word, Row>& Rows() const { return rows_; }

  private:
    using Owned = std::unique_ptr<const Act>;
    template <typename Fields, typename Function>
    struct OnceAct;
    template <typename Fields, typename Function>
    struct ListAct;
    template <typename Fields, typename Checking, typename Applying>
    struct EachAct;

    static void NothingToCheck(const Axis& /*axis*/) {}
    static CommandHandler HandlerOf(Owned act);
    void AddAct(Word code, std::string name, const FieldLayout& layout, Owned act);

    Controller& controller_;
    std::map<Word, Row> rows_;
};

template <typename Fields, typename Function>
struct CommandTable::OnceAct final : Act
{
    OnceAct(const Layout<Fields>& form, const Function& called) : layout(form), function(called) {}

    Result Run(CommandReader& in, Reply& reply) const override
    {
        CommandValues values;
        if (!layout.Read(in, values)) return Result::kMalformed;
        if (!values.own.inRange) return Result::kOutOfRange;
        const auto fields = layout.FieldsOf<Fields>(values.own);
        const Result check = CheckFields(fields);
        return check == Result::kDone ? CallWith(function, fields, reply, reply) : check;
    }

    FieldLayout layout;
    Function function;
};

template <typename Fields, typename Function>
struct CommandTable::ListAct final : Act
{
    ListAct(const Layout<Fields>& form, const Function& called) : layout(form), function(called) {}

    Result Run(CommandReader& in, Reply& reply) const override
    {
        Command<Fields> command;
        if (!layout.Read(in, command)) return Result::kMalformed;
        return CallWith(function, std::as_const(command.fields), std::as_const(command.entries),
                        reply);
    }

    Layout<Fields> layout;
    Function function;
};

template <typename Fields, typename Checking, typename Applying>
struct CommandTable::EachAct final : AxesAct
{
    EachAct(const CommandTable& table, const Layout<Fields>& form, const Checking& checking,
            const Applying& applying)
        : AxesAct(table, form), check(checking), apply(applying)
    {}

    Result Check(Axis& axis, const FieldValues& values, Reply& reply) const override
    {
        const auto fields = Form().template FieldsOf<Fields>(values);
        const Result result = CheckFields(fields);
        return result == Result::kDone ? CallWith(check, axis, fields, reply) : result;
    }
    Result Apply(Axis& axis, const FieldValues& values, Reply& reply) const override
    {
        const auto fields = Form().template FieldsOf<Fields>(values);
        return CallWith(apply, axis, fields, reply);
    }

    Checking check;
    Applying apply;
};

} // namespace lumosim
