#include "api/vocabulary/interpolation.h"
#include "common/trace.h"

#include <array>
#include <cmath>
#include <optional>

using namespace zelq;

namespace {

constexpr std::uint16_t kArcCode = 0x0073;
constexpr std::uint16_t kHelicalCode = 0x0074;

/// By what an arc is given; the number tells the controller.
enum class ArcForm : std::uint16_t { kCenterAngle, kCenterEnd, kPassEnd, kRadiusEnd };

/// What makes a helix of an arc: the way of the map's third axis.
struct Helix
{
    std::uint16_t option;
    double height;
};

/// An arc as one of the eight calls describes it: what its form has no use for is left out. The
/// form tells at which place of the call each argument stands.
struct Arc
{
    ArcForm form;
    std::uint16_t option;
    const double* first = nullptr; ///< center or pass point
    const double* end = nullptr;
    double angle = 0.0;
    double radius = 0.0;
    std::uint16_t arcSelect = 0;
    std::optional<Helix> helix = {};
    std::uint16_t direction = 0;
    InterpSpeedProfile* speed;

    /// The checks in their order; what passes them has its speeds normalized.
    [[nodiscard]] short Prepare(const MappedUnits& units) const
    {
        const bool byAngle = form == ArcForm::kCenterAngle;
        if (option > 1) return BadArgument(form == ArcForm::kRadiusEnd ? 4 : 2);
        if (byAngle && angle == 0.0) return BadArgument(4);
        // By an angle, the speeds change even for a map or a point that is refused.
        if (byAngle && speed != nullptr) NormalizeInterpSpeed(*speed);
        if (units.Count() < (helix ? 3 : 2)) return kTooFewMapAxes;
        if (const short error = CheckPoints()) return error;
        if (const short error = CheckArrays(SpeedPosition(), speed)) return error;
        if (!byAngle) NormalizeInterpSpeed(*speed);
        return kOk;
    }

    [[nodiscard]] short Run(short zelNo, short mapIndex, const MappedUnits& units) const
    {
        Command command(helix ? kHelicalCode : kArcCode);
        command.Word(mapIndex).Word(Mode());
        AddSpeeds(command, units, *speed);
        command.Word(static_cast<std::uint16_t>(form));
        AddCurve(command, units);
        return command.Word(direction).Run(zelNo);
    }

  private:
    [[nodiscard]] short CheckPoints() const
    {
        if (form == ArcForm::kCenterAngle) return CheckArrays(3, first);
        return form == ArcForm::kRadiusEnd ? CheckArrays(5, end) : CheckArrays(3, first, end);
    }

    /// The speeds stand last; a helix has two arguments more.
    [[nodiscard]] int SpeedPosition() const
    {
        constexpr std::array kPositions = {5, 6, 5, 7};
        return kPositions[static_cast<std::size_t>(form)] + (helix ? 2 : 0);
    }

    /// Helices have one bit more than arcs, above the shape of the speed profile.
    [[nodiscard]] std::uint16_t Mode() const
    {
        const unsigned helixBit = helix ? helix->option * 2U : 0U;
        return ModeWord(helixBit + speed->profileType, option);
    }

    /// Two pairs, whatever the form, and a helix's height.
    void AddCurve(Command& command, const MappedUnits& units) const
    {
        const auto addPoint = [&](const double* point) {
            command.Long(units.Pulses(0, point[0])).Long(units.Pulses(1, point[1]));
        };
        if (form == ArcForm::kRadiusEnd) {
            command.Long(units.Pulses(0, radius)).Long(arcSelect);
        } else {
            addPoint(first);
        }
        if (form == ArcForm::kCenterAngle) {
            constexpr double kPerUnit = 10000.0;
            command.Long(ProductToInt32(std::abs(angle), kPerUnit)).Long(0);
        } else {
            addPoint(end);
        }
        if (helix) command.Long(units.Pulses(2, helix->height));
    }
};

/// The angle itself travels without its sign.
std::uint16_t DirectionOf(double angle)
{
    return std::isless(angle, 0.0) ? 1 : 0; // NaN raises no exception in it
}

} // namespace

short zelQ_IArc(short zelNo, short mapIndex, unsigned short option, const double* center,
                double angle, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    const Arc arc{.form = ArcForm::kCenterAngle,
                  .option = option,
                  .first = center,
                  .angle = angle,
                  .direction = DirectionOf(angle),
                  .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    return Traced("%d=zelQ_IArc(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IArcCE(short zelNo, short mapIndex, unsigned short option, const double* center,
                  const double* end, unsigned short direction, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    const Arc arc{.form = ArcForm::kCenterEnd,
                  .option = option,
                  .first = center,
                  .end = end,
                  .direction = direction,
                  .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    return Traced("%d=zelQ_IArcCE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IArcPE(short zelNo, short mapIndex, unsigned short option, const double* pass,
                  const double* end, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    const Arc arc{
        .form = ArcForm::kPassEnd, .option = option, .first = pass, .end = end, .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    return Traced("%d=zelQ_IArcPE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IArcRE(short zelNo, short mapIndex, double radius, short arcSelect,
                  unsigned short option, const double* end, unsigned short direction,
                  InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    if (arcSelect != 0 && arcSelect != 1) return BadArgument(3);
    const Arc arc{.form = ArcForm::kRadiusEnd,
                  .option = option,
                  .end = end,
                  .radius = radius,
                  .arcSelect = static_cast<std::uint16_t>(arcSelect),
                  .direction = direction,
                  .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    return Traced("%d=zelQ_IArcRE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelical(short zelNo, short mapIndex, unsigned short option, const double* center,
                    double angle, unsigned short helicalOption, double height,
                    InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    const Arc arc{.form = ArcForm::kCenterAngle,
                  .option = option,
                  .first = center,
                  .angle = angle,
                  .helix = Helix{helicalOption, height},
                  .direction = DirectionOf(angle),
                  .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    return Traced("%d=zelQ_IHelical(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelicalCE(short zelNo, short mapIndex, unsigned short option, const double* center,
                      const double* end, unsigned short helicalOption, double height,
                      unsigned short direction, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    const Arc arc{.form = ArcForm::kCenterEnd,
                  .option = option,
                  .first = center,
                  .end = end,
                  .helix = Helix{helicalOption, height},
                  .direction = direction,
                  .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    // Traced under the name of the arc.
    return Traced("%d=zelQ_IArcCE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelicalPE(short zelNo, short mapIndex, unsigned short option, const double* pass,
                      const double* end, unsigned short helicalOption, double height,
                      InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    const Arc arc{.form = ArcForm::kPassEnd,
                  .option = option,
                  .first = pass,
                  .end = end,
                  .helix = Helix{helicalOption, height},
                  .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    return Traced("%d=zelQ_IHelicalPE(%d,%d)", result, zelNo, mapIndex);
}

short zelQ_IHelicalRE(short zelNo, short mapIndex, double radius, unsigned short arcSelect,
                      unsigned short option, const double* end, unsigned short helicalOption,
                      double height, unsigned short direction, InterpSpeedProfile* speed)
{
    if (const short error = CheckMapIndex(zelNo, mapIndex)) return error;
    // Unlike in zelQ_IArcRE, any arcSelect goes out.
    const Arc arc{.form = ArcForm::kRadiusEnd,
                  .option = option,
                  .end = end,
                  .radius = radius,
                  .arcSelect = arcSelect,
                  .helix = Helix{helicalOption, height},
                  .direction = direction,
                  .speed = speed};
    const MappedUnits units(zelNo, mapIndex);
    if (const short error = arc.Prepare(units)) return error;

    const short result = arc.Run(zelNo, mapIndex, units);
    return Traced("%d=zelQ_IHelicalRE(%d,%d)", result, zelNo, mapIndex);
}
