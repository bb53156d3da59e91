#include "api/vocabulary/interpolation.h"
#include "common/trace.h"

#include <cmath>

using namespace zelq;

namespace {

constexpr std::uint16_t kArcCode = 0x0073;
constexpr std::uint16_t kHelicalCode = 0x0074;
constexpr short kArcAxes = 2;
constexpr short kHelicalAxes = 3;

/// By what an arc is given; the number tells the controller.
enum class ArcForm : std::uint16_t { kCenterAngle, kCenterEnd, kPassEnd, kRadiusEnd };

/// The arc command up to its speeds, which all eight calls share; the geometry is added to it.
class ArcCommand
{
  public:
    ArcCommand(std::uint16_t code, short mapIndex, std::uint16_t mode, const MappedUnits& units,
               const InterpSpeedProfile& speed, ArcForm form)
        : command_(code), units_(units)
    {
        command_.Word(mapIndex).Word(mode);
        AddSpeeds(command_, units_, speed);
        command_.Word(static_cast<std::uint16_t>(form));
    }

    /// Two coordinates, each by its own axis.
    ArcCommand& Point(const double* point)
    {
        command_.Long(units_.Pulses(0, point[0])).Long(units_.Pulses(1, point[1]));
        return *this;
    }

    /// The angle without its sign, with a zero in place of a second point.
    ArcCommand& Angle(double angle)
    {
        constexpr double kPerUnit = 10000.0;
        command_.Long(TruncateToInt32(std::abs(angle) * kPerUnit)).Long(0);
        return *this;
    }

    ArcCommand& Radius(double radius, std::uint16_t arcSelect)
    {
        command_.Long(units_.Pulses(0, radius)).Long(arcSelect);
        return *this;
    }

    ArcCommand& Height(double height)
    {
        command_.Long(units_.Pulses(2, height));
        return *this;
    }

    [[nodiscard]] short Run(short zelNo, std::uint16_t direction)
    {
        return command_.Word(direction).Run(zelNo);
    }

  private:
    Command command_;
    const MappedUnits& units_;
};

/// Helices have one bit more than arcs, above the shape of the speed profile.
std::uint16_t HelicalMode(std::uint16_t helicalOption, const InterpSpeedProfile& speed,
                          std::uint16_t option)
{
    return ModeWord(helicalOption * 2U + speed.profileType, option);
}

std::uint16_t DirectionOf(double angle)
{
    return angle < 0.0 ? 1 : 0;
}

} // namespace

short zelQ_IArc(short zelNo, short mapIndex, unsigned short option, const double* center,
                double angle, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (option > 1) return BadArgument(2);
    if (angle == 0.0) return BadArgument(4);
    // As in zelQ_IHelical, the speeds change even for a map that is refused.
    if (speed != nullptr) NormalizeInterpSpeed(*speed);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kArcAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(3, center)) return error;
    if (const short error = CheckArrays(5, speed)) return error;

    ArcCommand arc(kArcCode, mapIndex, ModeWord(speed->profileType, option), units, *speed,
                   ArcForm::kCenterAngle);
    const short result = arc.Point(center).Angle(angle).Run(zelNo, DirectionOf(angle));
    return Traced("%d=zelQ_IArc(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IArcCE(short zelNo, short mapIndex, unsigned short option, const double* center,
                  const double* end, unsigned short direction, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (option > 1) return BadArgument(2);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kArcAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(3, center, end)) return error;
    if (const short error = CheckArrays(6, speed)) return error;
    NormalizeInterpSpeed(*speed);

    ArcCommand arc(kArcCode, mapIndex, ModeWord(speed->profileType, option), units, *speed,
                   ArcForm::kCenterEnd);
    const short result = arc.Point(center).Point(end).Run(zelNo, direction);
    return Traced("%d=zelQ_IArcCE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IArcPE(short zelNo, short mapIndex, unsigned short option, const double* pass,
                  const double* end, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (option > 1) return BadArgument(2);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kArcAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(3, pass, end, speed)) return error;
    NormalizeInterpSpeed(*speed);

    ArcCommand arc(kArcCode, mapIndex, ModeWord(speed->profileType, option), units, *speed,
                   ArcForm::kPassEnd);
    const short result = arc.Point(pass).Point(end).Run(zelNo, 0);
    return Traced("%d=zelQ_IArcPE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IArcRE(short zelNo, short mapIndex, double radius, short arcSelect,
                  unsigned short option, const double* end, unsigned short direction,
                  InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (arcSelect != 0 && arcSelect != 1) return BadArgument(3);
    if (option > 1) return BadArgument(4);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kArcAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(5, end)) return error;
    if (const short error = CheckArrays(7, speed)) return error;
    NormalizeInterpSpeed(*speed);

    ArcCommand arc(kArcCode, mapIndex, ModeWord(speed->profileType, option), units, *speed,
                   ArcForm::kRadiusEnd);
    arc.Radius(radius, static_cast<std::uint16_t>(arcSelect));
    const short result = arc.Point(end).Run(zelNo, direction);
    return Traced("%d=zelQ_IArcRE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelical(short zelNo, short mapIndex, unsigned short option, const double* center,
                    double angle, unsigned short helicalOption, double height,
                    InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (option > 1) return BadArgument(2);
    if (angle == 0.0) return BadArgument(4);
    if (speed != nullptr) NormalizeInterpSpeed(*speed);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kHelicalAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(3, center)) return error;
    if (const short error = CheckArrays(7, speed)) return error;

    ArcCommand arc(kHelicalCode, mapIndex, HelicalMode(helicalOption, *speed, option), units,
                   *speed, ArcForm::kCenterAngle);
    arc.Point(center).Angle(angle).Height(height);
    const short result = arc.Run(zelNo, DirectionOf(angle));
    return Traced("%d=zelQ_IHelical(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelicalCE(short zelNo, short mapIndex, unsigned short option, const double* center,
                      const double* end, unsigned short helicalOption, double height,
                      unsigned short direction, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (option > 1) return BadArgument(2);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kHelicalAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(3, center, end)) return error;
    if (const short error = CheckArrays(8, speed)) return error;
    NormalizeInterpSpeed(*speed);

    ArcCommand arc(kHelicalCode, mapIndex, HelicalMode(helicalOption, *speed, option), units,
                   *speed, ArcForm::kCenterEnd);
    const short result = arc.Point(center).Point(end).Height(height).Run(zelNo, direction);
    // Traced under the name of the arc.
    return Traced("%d=zelQ_IArcCE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelicalPE(short zelNo, short mapIndex, unsigned short option, const double* pass,
                      const double* end, unsigned short helicalOption, double height,
                      InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (option > 1) return BadArgument(2);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kHelicalAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(3, pass, end)) return error;
    if (const short error = CheckArrays(7, speed)) return error;
    NormalizeInterpSpeed(*speed);

    ArcCommand arc(kHelicalCode, mapIndex, HelicalMode(helicalOption, *speed, option), units,
                   *speed, ArcForm::kPassEnd);
    const short result = arc.Point(pass).Point(end).Height(height).Run(zelNo, 0);
    return Traced("%d=zelQ_IHelicalPE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelicalRE(short zelNo, short mapIndex, double radius, unsigned short arcSelect,
                      unsigned short option, const double* end, unsigned short helicalOption,
                      double height, unsigned short direction, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    // Unlike in zelQ_IArcRE, any arcSelect goes out.
    if (option > 1) return BadArgument(4);
    const MappedUnits units(zelNo, mapIndex);
    if (units.Count() < kHelicalAxes) return kTooFewMapAxes;
    if (const short error = CheckArrays(5, end)) return error;
    if (const short error = CheckArrays(9, speed)) return error;
    NormalizeInterpSpeed(*speed);

    ArcCommand arc(kHelicalCode, mapIndex, HelicalMode(helicalOption, *speed, option), units,
                   *speed, ArcForm::kRadiusEnd);
    const short result =
        arc.Radius(radius, arcSelect).Point(end).Height(height).Run(zelNo, direction);
    return Traced("%d=zelQ_IHelicalRE(%d,%d)", result, zelNo, mapIndex);
}
