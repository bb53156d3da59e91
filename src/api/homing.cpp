#include "api/vocabulary/axis_command.h"
#include "api/zelq.h"
#include "common/trace.h"

#include <algorithm>
#include <array>

using namespace zelq;

namespace {

constexpr std::uint16_t kHomingCode = 0x0060;
constexpr std::uint16_t kHomingSpeedCode = 0x0061;
constexpr std::uint16_t kHomeDoneCancelCode = 0x0062;

enum HomeKind : std::uint16_t { kLimitSwitch = 0, kHomeSensor = 1, kZPhase = 2, kStopper = 3 };

/// No search for the Z phase behind the run.
constexpr std::uint16_t kNoZSearch = 2;

/// A homing run; its fields in the order in which they travel.
struct HomingRun
{
    HomeKind kind;
    std::uint16_t dir;
    std::uint16_t opt;
    std::uint16_t zSearch; ///< direction of a search for the Z phase at the end
    std::uint16_t sel;
    short word;
    double pos; ///< user units

    [[nodiscard]] short Send(short zelNo, std::uint16_t axis) const
    {
        Command command(kHomingCode);
        command.Word(axis).Word(dir).Word(+kind).Word(opt).Word(zSearch);
        // The blocks of these two kinds are one register longer.
        if (kind == kLimitSwitch || kind == kStopper) command.Word(2);
        return command.Word(sel).Word(word).Long(ToPulses(zelNo, axis, pos)).Run(zelNo);
    }
};

/// Away from the end that the run goes to, where the Z phase is asked for.
std::uint16_t ZSearch(bool asked, std::uint16_t dir)
{
    return asked ? static_cast<std::uint16_t>(1 - dir) : kNoZSearch;
}

/// The speeds of one homing phase as they travel, in pulses.
struct PhaseSpeed
{
    std::uint16_t profile;
    std::int32_t start;
    std::int32_t acc;
    std::int32_t drive;
    std::int32_t dec;
};

using PhaseSpeeds = std::array<PhaseSpeed, 4>;

short SendSpeeds(short zelNo, std::uint16_t axis, const PhaseSpeeds& phases)
{
    Command command(kHomingSpeedCode);
    command.Word(axis);
    for (const PhaseSpeed& phase : phases) {
        command.Word(phase.profile);
        command.Long(phase.start).Long(phase.acc).Long(phase.drive).Long(phase.dec);
    }
    return command.Run(zelNo);
}

/// One profile for all four phases, by the axis's speeds in pulses.
template <typename PhaseOf>
PhaseSpeeds SpeedsOf(short zelNo, std::uint16_t axis, const std::array<double, 4>& speeds,
                     PhaseOf phaseOf)
{
    const double unit = SessionOf(zelNo).UnitPerPulse(axis);
    PhaseSpeeds phases{};
    std::ranges::transform(speeds, phases.begin(), [&](double speed) {
        return phaseOf(FiniteQuotient(speed, unit), unit);
    });
    return phases;
}

/// What the trace lines show of the first phase: numbers in pulses, in another order than they are
/// sent in.
std::array<double, 4> ShownOf(const PhaseSpeed& phase)
{
    std::array<double, 4> shown{};
    std::ranges::copy(std::array{phase.drive, phase.start, phase.acc, phase.dec}, shown.begin());
    return shown;
}

short CheckProfile(short zelNo, std::uint16_t axis, std::uint16_t profile)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    return static_cast<short>(profile > 1 ? BadArgument(2) : kOk);
}

} // namespace

short zelQ_HomeMoveHome(short zelNo, unsigned short axis, unsigned short dir, unsigned short opt,
                        unsigned short zMode, unsigned short sel, short word, double pos)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (dir > 1) return BadArgument(2);
    if (opt > 1) return BadArgument(3);
    if (zMode > 2) return BadArgument(4);
    if (sel > 1) return BadArgument(5);

    const short result = HomingRun{kHomeSensor, dir, opt, zMode, sel, word, pos}.Send(zelNo, axis);
    // As with the other kinds, the line ends in a literal "%g" and opt is left out.
    return Traced("%d=zelQ_HomeMoveHome(%d,%d,%d,%d,%d,%d,%%g)", result, zelNo, axis, dir, zMode,
                  sel, word);
}

short zelQ_HomeMoveZPhase(short zelNo, unsigned short axis, unsigned short dir, unsigned short opt,
                          unsigned short sel, short word, double pos)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (dir > 1) return BadArgument(2);
    if (opt > 1) return BadArgument(3);
    if (sel > 1) return BadArgument(4);

    const short result = HomingRun{kZPhase, dir, opt, kNoZSearch, sel, word, pos}.Send(zelNo, axis);
    return Traced("%d=zelQ_HomeMoveZPhase(%d,%d,%d,%d,%d,%%g)", result, zelNo, axis, dir, sel,
                  word);
}

short zelQ_HomeMoveLimit(unsigned short zelNo, unsigned short axis, unsigned short dir,
                         unsigned short opt, unsigned short zUse, unsigned short sel, short word,
                         double pos)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckAxis(number, axis)) return error;
    if (dir > 1) return BadArgument(2);
    if (opt > 1) return BadArgument(3);
    if (zUse > 1) return BadArgument(4);
    if (sel > 1) return BadArgument(5);

    const HomingRun run{kLimitSwitch, dir, opt, ZSearch(zUse == 1, dir), sel, word, pos};
    return Traced("%d=zelQ_HomeMoveLimit(%d,%d,%d,%d,%d,%d,%%g)", run.Send(number, axis), zelNo,
                  axis, dir, zUse, sel, word);
}

short zelQ_HomeMoveStopper(short zelNo, unsigned short axis, unsigned short dir, short zUse,
                           unsigned short sel, short word, double pos)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (dir > 1) return BadArgument(2);
    if (zUse != 0 && zUse != 1) return BadArgument(3);
    if (sel > 1) return BadArgument(4);

    const HomingRun run{kStopper, dir, 0, ZSearch(zUse == 1, dir), sel, word, pos};
    return Traced("%d=zelQ_HomeMoveStopper(%d,%d,%d,%d,%d,%d,%%g)", run.Send(zelNo, axis), zelNo,
                  axis, dir, zUse, sel, word);
}

short zelQ_HomeSetDriveSpeed(short zelNo, unsigned short axis, unsigned short profile, double s0,
                             double s1, double s2, double s3)
{
    if (const short error = CheckProfile(zelNo, axis, profile)) return error;

    const PhaseSpeeds phases =
        SpeedsOf(zelNo, axis, {s0, s1, s2, s3}, [profile](double speed, double /*unit*/) {
            const std::int32_t rate = ProductToInt32(speed, 2.0);
            return PhaseSpeed{profile, QuotientToInt32(speed, 10.0), rate, TruncateToInt32(speed),
                              rate};
        });
    const short result = SendSpeeds(zelNo, axis, phases);
    return Traced("%d=zelQ_HomeSetDriveSpeed(%d,%d,%d,%g,%g,%g,%g)", result, zelNo, axis, profile,
                  s0, s1, s2, s3);
}

short zelQ_HomeSetSpeed(short zelNo, unsigned short axis, unsigned short profile, double start,
                        double s0, double s1, double s2, double s3, short accRatio)
{
    if (const short error = CheckProfile(zelNo, axis, profile)) return error;

    const PhaseSpeeds phases =
        SpeedsOf(zelNo, axis, {s0, s1, s2, s3}, [=](double speed, double unit) {
            const std::int32_t rate = ProductToInt32(speed, accRatio);
            return PhaseSpeed{profile, QuotientToInt32(start, unit), rate, TruncateToInt32(speed),
                              rate};
        });
    const short result = SendSpeeds(zelNo, axis, phases);
    const std::array<double, 4> shown = ShownOf(phases[0]);
    return Traced("%d=zelQ_HomeSetSpeed(%d,%d,%d,%g,%g,%g,%g)", result, zelNo, axis, profile,
                  shown[0], shown[1], shown[2], shown[3]);
}

short zelQ_HomeSetDetailSpeed(short zelNo, unsigned short axis, unsigned short profile0,
                              double start0, double acc0, double drive0, double dec0,
                              unsigned short profile1, double start1, double acc1, double drive1,
                              double dec1, unsigned short profile2, double start2, double acc2,
                              double drive2, double dec2, unsigned short profile3, double start3,
                              double acc3, double drive3, double dec3)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;
    if (profile0 > 1) return BadArgument(2);
    if (profile1 > 1) return BadArgument(7);
    if (profile2 > 1) return BadArgument(12);
    if (profile3 > 1) return BadArgument(17);

    const auto phase = [zelNo, axis](std::uint16_t profile, double start, double acc, double drive,
                                     double dec) {
        return PhaseSpeed{profile, ToPulses(zelNo, axis, start), ToPulses(zelNo, axis, acc),
                          ToPulses(zelNo, axis, drive), ToPulses(zelNo, axis, dec)};
    };
    const PhaseSpeeds phases = {
        phase(profile0, start0, acc0, drive0, dec0), phase(profile1, start1, acc1, drive1, dec1),
        phase(profile2, start2, acc2, drive2, dec2), phase(profile3, start3, acc3, drive3, dec3)};
    const short result = SendSpeeds(zelNo, axis, phases);
    const std::array<double, 4> shown = ShownOf(phases[0]);
    return Traced("%d=zelQ_HomeSetDetailSpeed(%d,%d,%g,%g,%g,%g)", result, zelNo, axis, shown[0],
                  shown[1], shown[2], shown[3]);
}

short zelQ_HomeDoneCancel(short zelNo, unsigned short axis)
{
    if (const short error = CheckAxis(zelNo, axis)) return error;

    const short result = SendToAxis(kHomeDoneCancelCode, zelNo, axis);
    return Traced("%d=zelQ_HomeDoneCancel(%d,%d)", result, zelNo, axis);
}

short zelQ_mHomeDoneCancel(short zelNo, short count, const unsigned short* axes)
{
    if (const short error = CheckAxes(zelNo, count, axes)) return error;

    const short result = SendToAxes(kHomeDoneCancelCode, zelNo, count, axes);
    return Traced("%d=zelQ_mHomeDoneCancel(%d,%d)", result, zelNo, count);
}
