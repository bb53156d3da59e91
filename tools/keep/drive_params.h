// The parameters of drives: reading all that there are, and the file that they are kept in.
#pragma once

#include "frame/controller.h"
#include "frame/json.h"

#include <array>
#include <compare>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelq::tool {

/// A parameter is addressed by class and number, written as "1.0".
struct ParamId
{
    unsigned short group = 0;
    unsigned short number = 0;

    // NOLINTNEXTLINE(modernize-use-nullptr): the comparison with 0 is the compiler's own
    auto operator<=>(const ParamId&) const = default;
};

std::string ToText(ParamId id);
/// A Failure for anything but two numbers up to 255.
ParamId ParseParam(const std::string& text);

/// Both ends count.
struct Range
{
    int first = 0;
    int last = 0;
};

/// "0-15", or "3".
Range ParseRange(const std::string& text);

/// Which parameters are looked for.
struct ParamSearch
{
    Range groups{0, 15};
    Range numbers{0, 127};
};

/// What a drive says of itself: maker, drive, its serial number, motor, its serial number.
using Identification = std::array<std::string, 5>;
inline constexpr std::array<const char*, 5> kIdentificationNames = {"maker", "drive", "serial",
                                                                    "motor", "motorSerial"};

struct DriveParams
{
    int axis = 0;
    Identification identification;
    std::map<ParamId, int> values;
};

/// None when the drive has no such parameter; any other refusal is a Failure. Which of the
/// controller's results says "no such parameter" it tells itself, when it is asked for one that
/// nobody has.
class ParamReader
{
  public:
    explicit ParamReader(const Controller& controller) : controller_(controller) {}

    std::optional<int> Read(int axis, ParamId id);
    Identification ReadIdentification(int axis);
    /// `progress` is told how much of it is done, 0..1; it ends the reading with false.
    DriveParams ReadAll(int axis, const ParamSearch& search,
                        const std::function<bool(double)>& progress);

  private:
    const Controller& controller_;
    std::optional<int> absent_;
};

/// A value that is not as it is kept.
struct ParamDifference
{
    int axis = 0;
    ParamId id;
    std::optional<int> drive; ///< none: the drive has no such parameter
    int file = 0;
};

Json ToJson(const ParamDifference& difference);

/// Throws a Failure for a file that is none of ours.
std::vector<DriveParams> ReadParamFile(const std::string& name);
/// The same of its text; `name` is what the file is called in the Failure.
std::vector<DriveParams> ParseParamFile(const std::string& text, const std::string& name);
/// The file is there as a whole, or as it was.
void WriteParamFile(const std::string& name, Controller& controller,
                    const std::vector<DriveParams>& drives);

} // namespace zelq::tool
