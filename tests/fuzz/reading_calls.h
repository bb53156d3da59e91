#pragma once

#include "api/zelq.h"
#include "fuzz/controller.h"

#include <type_traits>

namespace zelq::fuzz {

/// The places that a call writes to, each an allocation of its own and exactly as large as
/// described, so that the address sanitizer sees one byte too many.
class Outputs
{
  public:
    /// Room for so many of whatever the parameter points to.
    struct Place
    {
        std::vector<Bytes>& areas;
        std::size_t count;

        template <typename T>
        operator T*() const
        {
            using Element = std::conditional_t<std::is_void_v<T>, std::uint8_t, T>;
            areas.emplace_back(count * sizeof(Element), kUntouched);
            return reinterpret_cast<T*>(areas.back().data());
        }
    };
    Place operator()(std::size_t count) { return {areas_, count}; }
    /// For each axis of the call.
    Place operator()() { return {areas_, axes}; }

    std::size_t axes = 1;

    [[nodiscard]] bool Untouched() const
    {
        const auto untouched = [](const Bytes& area) {
            return area == Bytes(area.size(), kUntouched);
        };
        return std::ranges::all_of(areas_, untouched);
    }

  private:
    static constexpr std::uint8_t kUntouched = 0x5A;

    std::vector<Bytes> areas_;
};

struct ReadingCall
{
    short (*run)(Input& in, Outputs& out);
    bool keepsWhatCame = false; ///< described to write what came ahead of a failure
    bool readsSlaves = false;   ///< by its only exchange: the session has others then
};

inline constexpr bool kKeepsWhatCame = true;
inline constexpr unsigned kAxes = 32;
inline const std::vector<double> kOnes(kAxes, 1.0);
inline const std::vector<short> kCodes(kAxes, 1);
inline const std::vector<unsigned short> kNumbers(kAxes, 7);

/// The axes of a call for several: neighbours, none of them twice.
template <typename Axis>
std::vector<Axis> Axes(Input& in)
{
    std::vector<Axis> axes(in.Below(kAxes) + 1U);
    unsigned next = in.Below(kAxes);
    for (Axis& axis : axes) {
        axis = static_cast<Axis>(next++ % kAxes);
    }
    return axes;
}

inline short SearchStates(Input& in, Outputs& out)
{
    // The count is not bounded here, but by what a frame carries.
    const std::uint8_t count = in.Next();
    const std::vector<short> axes(std::max<std::size_t>(count, 1), 3);
    return zelQ_mSearchGetStatus(kNumber, count, axes.data(), out(axes.size()));
}

inline short SerialRead(Input& in, Outputs& out)
{
    const std::uint16_t room = in.NextWord() & 0x3FFFU;
    return zelQ_UARTRead(kNumber, out(room), static_cast<short>(room), out());
}

inline short FlashRead(Input& in, Outputs& out)
{
    const std::uint16_t length = in.NextWord() % 513 * 2;
    std::uint8_t* area = out(length);
    return zelQ_FlashRead(kNumber, in.Next(), in.NextWord(), area, static_cast<short>(length));
}

/// zelQ_`name` with these arguments behind the controller number; the others out of the input `in`,
/// its results into `out`.
#define CALL(name, ...)                                                                            \
    [](Input& in [[maybe_unused]], Outputs& out [[maybe_unused]]) {                                \
        return zelQ_##name(kNumber, __VA_ARGS__);                                                  \
    }
/// The same for several axes, numbers of that type.
#define AXES_CALL(name, Axis, ...)                                                                 \
    [](Input& in, Outputs& out) {                                                                  \
        const auto axes = Axes<Axis>(in);                                                          \
        out.axes = axes.size();                                                                    \
        return zelQ_##name(kNumber, static_cast<short>(axes.size()), axes.data(), __VA_ARGS__);    \
    }

/// Every exported function that takes data from a connected controller's reply, and a command of
/// one frame and one of several, whose replies carry nothing but the result. An input knows a call
/// by its place.
inline constexpr ReadingCall kReadingCalls[] = {
    {CALL(MoveAbs, in.Below(kAxes), 1.0)},
    {AXES_CALL(mSpeedSet, unsigned short, kCodes.data(), kOnes.data(), kOnes.data(), kOnes.data(),
               kOnes.data())},
    {CALL(GetDevInfo, out(19))},
    {CALL(GetPowerResetCount, out())},
    {CALL(GetAllStatus, out()), kKeepsWhatCame},
    {CALL(GetServoStatus, in.Next(), out())},
    {CALL(SpeedGet, in.Below(kAxes), out())},
    {CALL(SearchGetStatus, in.Next(), out())},
    {SearchStates, kKeepsWhatCame},
    {CALL(IMapGet, in.Below(16), out(18))},
    {CALL(CP_PreRegUseGet, out())},
    {CALL(CP_PreRegGetRemain, out(16)), kKeepsWhatCame},
    {CALL(SeqGetStatus, in.Below(4), out())},
    {CALL(SeqGetAllStatus, out())},
    {CALL(LmAddNode, 0, in.Below(kAxes) + short{1}, kOnes.data(), kOnes.data(), kOnes.data(),
          kOnes.data(), kOnes.data(), kCodes.data(), kCodes.data(), out(), out()),
     kKeepsWhatCame},
    {CALL(LmGetStatus, in.Next(), out())},
    {CALL(LmGetAllStatus, out(kAxes))},
    {CALL(TorqueLimitGetStatus, in.Below(8), out())},
    {CALL(SwLimitGet, in.Below(kAxes), out(), out(), out(), out())},
    {AXES_CALL(mSwLimitGet, unsigned short, out(), out(), out(), out()), kKeepsWhatCame},
    {CALL(AlarmListGet, in.Below(kAxes), in.Below(10), out(), out(), out())},
    {AXES_CALL(mAlarmListGet, unsigned short, in.Below(10), out(), out(), out()), kKeepsWhatCame},
    {CALL(SlavePropertyGet, in.Below(kAxes), out())},
    {CALL(SlavePropertyGetAll, out(kAxes)), false, true},
    {CALL(ParamGet, in.Below(kAxes), in.Next(), in.Next(), out())},
    {AXES_CALL(mParamGet, unsigned short, 1, 2, out()), kKeepsWhatCame},
    {CALL(ParamGetSysID, in.Below(kAxes), out(80))},
    {CALL(MonitorRead, in.Next(), in.Next(), out())},
    {AXES_CALL(mMonitorRead, short, kNumbers.data(), out()), kKeepsWhatCame},
    {CALL(RDOLinkFailKeepOutGet, out())},
    {CALL(MDOGetLimitTime, in.Below(8), out(), out(), out(), out())},
    {SerialRead, kKeepsWhatCame},
    {FlashRead, kKeepsWhatCame},
    {CALL(CPUPeek, in.Next(), in.NextWord(), out())},
    {CALL(UseMaroDefParamGet, out())},
    {CALL(RtexCycleGet, out(), out())},
};

} // namespace zelq::fuzz
