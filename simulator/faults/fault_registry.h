// What can go wrong with the machine and its line, by name.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace lumosim {

struct FaultParameter
{
    std::string name;
    std::string text;
    double smallest;
    double largest;
    double normal;
};

using FaultValues = std::map<std::string, double, std::less<>>;

struct FaultKind
{
    std::string name;
    std::string text; // one line
    std::vector<FaultParameter> parameters;
    // The values are complete and in range. Applied again, a fault takes its own former place.
    std::function<void(const FaultValues&)> apply;
    std::function<void()> clear;
};

struct ActiveFault
{
    std::string name;
    FaultValues values;
};

// It has no locks of its own. Names and values come from people and their scripts: what cannot be
// applied is refused by std::invalid_argument with a sentence that says why.
class FaultRegistry
{
  public:
    void Add(FaultKind kind); // std::logic_error for a name used twice
    [[nodiscard]] const std::vector<FaultKind>& Kinds() const { return kinds_; }

    // Values that are not given are the normal ones.
    void Apply(const std::string& name, const FaultValues& values);
    void Clear(const std::string& name); // a fault that is not active stays so
    void ClearAll();
    [[nodiscard]] const std::vector<ActiveFault>& Active() const { return active_; }

  private:
    [[nodiscard]] const FaultKind* Find(const std::string& name) const;
    [[nodiscard]] const FaultKind& Get(const std::string& name) const;

    std::vector<FaultKind> kinds_;
    std::vector<ActiveFault> active_; // in the order in which they were applied
};

} // namespace lumosim
