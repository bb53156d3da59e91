// The configuration file: names of controllers, the units of their axes, and limits that hold.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace zelq::tool {

struct AxisSettings
{
    std::string name; ///< such as "X"; empty: none
    std::string unit = "pulses";
    double unitPerPulse = 1.0;
    std::optional<double> maxDistance; ///< of one verb, user units
    std::optional<double> maxSpeed;    ///< user units per second
};

struct TargetSettings
{
    std::string network; ///< "192.168.0"
    int controller = 0;
    int port = 502;
    std::map<int, AxisSettings> axes;
};

/// What the file says; a key that it does not know is an error, for a limit whose name is mistyped
/// would not hold.
class Settings
{
  public:
    /// From the file given, else from $ZELQ_CONFIG, else from zelq/config.json where this user's
    /// settings are. Only the last may be missing.
    static Settings Load(const std::string& file);

    [[nodiscard]] const std::filesystem::path& File() const { return file_; }
    [[nodiscard]] const std::map<std::string, TargetSettings>& Targets() const { return targets_; }
    /// The target that is meant when none is named; empty: none.
    [[nodiscard]] const std::string& Default() const { return default_; }
    /// Throws a Failure that lists the names when there is no such target.
    [[nodiscard]] const TargetSettings& Named(const std::string& name) const;

    /// Changes an axis's unit in the file, and leaves everything else in it as it is.
    void StoreUnit(const std::string& target, int axis, double unitPerPulse,
                   const std::string& unit) const;

  private:
    std::filesystem::path file_;
    std::map<std::string, TargetSettings> targets_;
    std::string default_;
};

} // namespace zelq::tool
