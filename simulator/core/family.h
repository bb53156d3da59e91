// A family of commands with the registers and the state that belong to them.
#pragma once

#include "command_table.h"
#include "register_map.h"
#include "types.h"

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <span>

namespace lumosim {

// The controller is put together from families (families.cpp lists them). Each lives in a file of
// its own, brings its command codes and register blocks, and may follow the time.
class Family
{
  public:
    Family() = default;
    Family(const Family&) = delete;
    Family& operator=(const Family&) = delete;
    virtual ~Family() = default;

    virtual void AddCommands(CommandTable& /*table*/) {}
    virtual void AddRegisters(RegisterMap& /*map*/) {}

    // Asked for every command of a host before it is executed. A family that wants it for itself,
    // such as for a program's buffer, keeps it and gives what the host gets as result.
    virtual std::optional<Result> Divert(std::span<const Word> /*block*/) { return std::nullopt; }

    // Commands that the family holds back in pre-register `number`.
    [[nodiscard]] virtual std::size_t PreRegistered(Word /*number*/) const { return 0; }

    // The next moment at which the family has something to do by itself. Time never passes it
    // without a call of AdvanceTo at exactly that moment.
    [[nodiscard]] virtual Nanoseconds NextEvent() const { return kNever; }

    // Called after all axes have reached `now`, at the latest at every event of an axis (end of a
    // motion, a limit) and at the family's own.
    virtual void AdvanceTo(Nanoseconds /*now*/) {}

    // Adds what the family knows to a snapshot of the controller.
    virtual void Describe(nlohmann::json& /*snapshot*/) const {}

    // The power came back: what is not stored is at its default again.
    virtual void PowerUp() {}
};

} // namespace lumosim
