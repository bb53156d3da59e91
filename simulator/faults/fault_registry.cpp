#include "fault_registry.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace lumosim {

namespace {

void CheckNames(const FaultKind& kind, const FaultValues& values)
{
    for (const auto& [name, value] : values) {
        const bool known =
            std::any_of(kind.parameters.begin(), kind.parameters.end(),
                        [&name = name](const FaultParameter& p) { return p.name == name; });
        if (known) continue;
        throw std::invalid_argument("The fault \"" + kind.name + "\" has no parameter \"" + name +
                                    "\".");
    }
}

// Not a number is out of every range.
double CheckedValue(const FaultParameter& parameter, double value)
{
    if (parameter.smallest <= value && value <= parameter.largest) return value;
    std::ostringstream sentence;
    sentence << '"' << parameter.name << "\" must be from " << parameter.smallest << " to "
             << parameter.largest << ", and is " << value << '.';
    throw std::invalid_argument(sentence.str());
}

FaultValues Complete(const FaultKind& kind, const FaultValues& values)
{
    CheckNames(kind, values);
    FaultValues complete;
    for (const FaultParameter& parameter : kind.parameters) {
        const auto given = values.find(parameter.name);
        const double value = given == values.end() ? parameter.normal : given->second;
        complete[parameter.name] = CheckedValue(parameter, value);
    }
    return complete;
}

} // namespace

const FaultKind* FaultRegistry::Find(const std::string& name) const
{
    const auto found = std::find_if(kinds_.begin(), kinds_.end(),
                                    [&name](const FaultKind& kind) { return kind.name == name; });
    return found == kinds_.end() ? nullptr : &*found;
}

const FaultKind& FaultRegistry::Get(const std::string& name) const
{
    const FaultKind* kind = Find(name);
    if (kind == nullptr) throw std::invalid_argument("There is no fault \"" + name + "\".");
    return *kind;
}

void FaultRegistry::Add(FaultKind kind)
{
    if (Find(kind.name) != nullptr) {
        throw std::logic_error("The fault \"" + kind.name + "\" is there already.");
    }
    kinds_.push_back(std::move(kind));
}

void FaultRegistry::Apply(const std::string& name, const FaultValues& values)
{
    const FaultKind& kind = Get(name);
    FaultValues complete = Complete(kind, values);
    kind.apply(complete);
    std::erase_if(active_, [&name](const ActiveFault& fault) { return fault.name == name; });
    active_.push_back({name, std::move(complete)});
}

void FaultRegistry::Clear(const std::string& name)
{
    const FaultKind& kind = Get(name);
    const auto cleared =
        std::erase_if(active_, [&name](const ActiveFault& fault) { return fault.name == name; });
    if (cleared != 0) kind.clear();
}

// The last one first: what a fault found when it came is there again when it goes.
void FaultRegistry::ClearAll()
{
    while (!active_.empty()) {
        const FaultKind& kind = Get(active_.back().name);
        active_.pop_back();
        kind.clear();
    }
}

} // namespace lumosim
