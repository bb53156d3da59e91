// All commands that a controller knows: what they are made of, and what they do.
#pragma once

#include "axis.h"
#include "layout.h"

#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace lumosim {

class Controller;

// What `call` results in; kDone where it cannot be refused.
template <typename Call>
Result ResultOf(Call call)
{
    if constexpr (std::is_same_v<decltype(call()), Result>) {
        return call();
    } else {
        call();
        return Result::kDone;
    }
}

// Calls with as many of the arguments as the function takes.
template <typename Function, typename First, typename Second, typename Third>
Result CallWith(const Function& function, First& first, Second& second, Third& third)
{
    return ResultOf([&] {
        if constexpr (std::is_invocable_v<const Function&, First&, Second&, Third&>) {
            return std::invoke(function, first, second, third);
        } else if constexpr (std::is_invocable_v<const Function&, First&, Second&>) {
            return std::invoke(function, first, second);
        } else {
            return std::invoke(function, first);
        }
    });
}

template <typename Fields>
Result CheckFields(const Fields& fields)
{
    if constexpr (requires { fields.Valid(); }) {
        if (!fields.Valid()) return Result::kOutOfRange;
    }
    return Result::kDone;
}

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
    template <typename Fields = NoFields, typename Act>
    void Add(Word code, std::string name, const Layout<Fields>& layout, Act act)
    {
        AddHandler(code, std::move(name), layout.List(),
                   [layout, act = std::move(act)](CommandReader& in, Reply& reply) {
                       Command<Fields> command;
                       if (!layout.Read(in, command)) return Result::kMalformed;
                       const Fields& fields = command.fields;
                       if (!command.inRange) return Result::kOutOfRange;
                       const Result check = CheckFields(fields);
                       return check == Result::kDone ? CallWith(act, fields, reply, reply) : check;
                   });
    }

    // A command with entries that checks everything itself: act(fields, entries), or with the
    // reply.
    template <typename Fields = NoFields, typename Act>
    void AddList(Word code, std::string name, const Layout<Fields>& layout, Act act)
    {
        AddHandler(code, std::move(name), layout.List(),
                   [layout, act = std::move(act)](CommandReader& in, Reply& reply) {
                       Command<Fields> command;
                       if (!layout.Read(in, command)) return Result::kMalformed;
                       return CallWith(act, std::as_const(command.fields),
                                       std::as_const(command.entries), reply);
                   });
    }

    // A command whose entries are axes, each once. It is refused as a whole: only when everything
    // about every axis is right, apply(axis, fields, reply) is called for each; it and
    // check(axis, fields) may leave the last arguments out.
    template <typename Fields = NoFields, typename Check, typename Apply>
    void ForAxes(Word code, std::string name, const Layout<Fields>& layout, Check check,
                 Apply apply)
    {
        AddHandler(code, std::move(name), layout.List(),
                   HandlerForAxes(layout, std::move(check), std::move(apply)));
    }

    template <typename Fields = NoFields, typename Apply>
    void ForAxes(Word code, std::string name, const Layout<Fields>& layout, Apply apply)
    {
        ForAxes(
            code, std::move(name), layout, [](const Axis&) {}, std::move(apply));
    }

    template <typename Fields, typename Check, typename Apply>
    CommandHandler HandlerForAxes(const Layout<Fields>& layout, Check check, Apply apply)
    {
        return [this, layout, check = std::move(check), apply = std::move(apply)](CommandReader& in,
                                                                                  Reply& reply) {
            Command<Fields> command;
            if (!layout.Read(in, command)) return Result::kMalformed;
            std::vector<Axis*> axes;
            Result result = FindAxes(NumbersOf(command.entries), axes);
            for (std::size_t i = 0; i < axes.size() && result == Result::kDone; ++i) {
                const Fields& fields = command.entries[i].fields;
                result = command.entries[i].inRange ? CheckFields(fields) : Result::kOutOfRange;
                if (result == Result::kDone) result = CallWith(check, *axes[i], fields, reply);
            }
            for (std::size_t i = 0; i < axes.size() && result == Result::kDone; ++i) {
                const Fields& fields = command.entries[i].fields;
                result = CallWith(apply, *axes[i], fields, reply);
            }
            return result;
        };
    }

    // kNoServo or kAxisTwice for the first number that is wrong.
    Result FindAxes(std::span<const Word> numbers, std::vector<Axis*>& axes) const;

    [[nodiscard]] const Row* Find(Word code) const;
    [[nodiscard]] const std::map<Word, Row>& Rows() const { return rows_; }

  private:
    Controller& controller_;
    std::map<Word, Row> rows_;
};

} // namespace lumosim
