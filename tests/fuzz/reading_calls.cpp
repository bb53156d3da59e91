#include "fuzz/reading_calls.h"

#include "api/zelq.h"
#include "fuzz/controller.h"

#include <algorithm>

namespace zelq::fuzz {

namespace {

using U16 = unsigned short;
using U32 = unsigned int;
using enum ReadingCall::OnFailure;

constexpr std::size_t kAxes = 32;

/// The arguments of a call for several axes.
template <typename Axis>
struct AxisArguments
{
    short count;
    std::vector<Axis> axes;

    explicit AxisArguments(Input& in) : count(static_cast<short>(in.Next() % kAxes + 1))
    {
        const U16 first = in.Next() % kAxes; // neighbours: no axis twice
        for (U16 i = 0; i < count; ++i) {
            axes.push_back(static_cast<Axis>((first + i) % kAxes));
        }
    }
    [[nodiscard]] std::size_t Size() const { return axes.size(); }
};

short AddNodes(Input& in, Outputs& out)
{
    const std::vector<double> values(kAxes, 1.0);
    const std::vector<short> codes(kAxes, 1);
    const auto count = static_cast<short>(in.Next() % kAxes + 1);
    return zelQ_LmAddNode(kNumber, in.Next() % kAxes, count, values.data(), values.data(),
                          values.data(), values.data(), values.data(), codes.data(), codes.data(),
                          out.Room<U16>(), out.Room<U16>());
}

short SetSpeeds(Input& in, Outputs&)
{
    const AxisArguments<U16> at(in);
    const std::vector<short> profiles(kAxes, 0);
    const std::vector<double> speeds(kAxes, 10.0);
    return zelQ_mSpeedSet(kNumber, at.count, at.axes.data(), profiles.data(), speeds.data(),
                          speeds.data(), speeds.data(), speeds.data());
}

short SearchStates(Input& in, Outputs& out)
{
    // The count is not bounded here, but by what a frame carries.
    const auto count = static_cast<short>(in.Next());
    const std::vector<short> axes(std::max<std::size_t>(static_cast<std::size_t>(count), 1), 3);
    return zelQ_mSearchGetStatus(kNumber, count, axes.data(), out.Room<SearchStatus>(axes.size()));
}

short SerialRead(Input& in, Outputs& out)
{
    const auto room = static_cast<short>(in.NextWord() & 0x3FFFU);
    return zelQ_UARTRead(kNumber, out.Room<std::uint8_t>(static_cast<std::size_t>(room)), room,
                         out.Room<U16>());
}

short FlashRead(Input& in, Outputs& out)
{
    const auto length = static_cast<short>(in.NextWord() % 513 * 2);
    return zelQ_FlashRead(kNumber, in.Next(), in.NextWord(),
                          out.Room<std::uint8_t>(static_cast<std::size_t>(length)), length);
}

constexpr ReadingCall kCalls[] = {
    {"MoveAbs", [](Input& in, Outputs&) { return zelQ_MoveAbs(kNumber, in.Next() % kAxes, 1.0); }},
    {"mSpeedSet", SetSpeeds},
    {"GetDevInfo",
     [](Input&, Outputs& out) { return zelQ_GetDevInfo(kNumber, out.Room<U16>(19)); }},
    {"GetPowerResetCount",
     [](Input&, Outputs& out) { return zelQ_GetPowerResetCount(kNumber, out.Room<U32>()); }},
    {"GetAllStatus",
     [](Input&, Outputs& out) { return zelQ_GetAllStatus(kNumber, out.Room<ControllerStatus>()); },
     kKeepsWhatCame},
    {"GetServoStatus",
     [](Input& in, Outputs& out) {
         return zelQ_GetServoStatus(kNumber, in.Next(), out.Room<ServoStatus>());
     }},
    {"SpeedGet",
     [](Input& in, Outputs& out) {
         return zelQ_SpeedGet(kNumber, in.Next() % kAxes, out.Room<SpeedProfile>());
     }},
    {"SearchGetStatus",
     [](Input& in, Outputs& out) {
         return zelQ_SearchGetStatus(kNumber, in.Next(), out.Room<SearchStatus>());
     }},
    {"mSearchGetStatus", SearchStates, kKeepsWhatCame},
    {"IMapGet",
     [](Input& in, Outputs& out) {
         return zelQ_IMapGet(kNumber, in.Next() % 16, out.Room<short>(18));
     }},
    {"CP_PreRegUseGet",
     [](Input&, Outputs& out) { return zelQ_CP_PreRegUseGet(kNumber, out.Room<U16>()); }},
    {"CP_PreRegGetRemain",
     [](Input&, Outputs& out) { return zelQ_CP_PreRegGetRemain(kNumber, out.Room<U16>(16)); },
     kKeepsWhatCame},
    {"SeqGetStatus",
     [](Input& in, Outputs& out) {
         return zelQ_SeqGetStatus(kNumber, in.Next() % 4, out.Room<SeqStatus>());
     }},
    {"SeqGetAllStatus",
     [](Input&, Outputs& out) { return zelQ_SeqGetAllStatus(kNumber, out.Room<SeqAllStatus>()); }},
    {"LmAddNode", AddNodes, kKeepsWhatCame},
    {"LmGetStatus",
     [](Input& in, Outputs& out) {
         return zelQ_LmGetStatus(kNumber, in.Next(), out.Room<LmStatus>());
     }},
    {"LmGetAllStatus",
     [](Input&, Outputs& out) { return zelQ_LmGetAllStatus(kNumber, out.Room<LmStatus>(kAxes)); }},
    {"TorqueLimitGetStatus",
     [](Input& in, Outputs& out) {
         return zelQ_TorqueLimitGetStatus(kNumber, in.Next() % 8, out.Room<TorqueLimitStatus>());
     }},
    {"SwLimitGet",
     [](Input& in, Outputs& out) {
         return zelQ_SwLimitGet(kNumber, in.Next() % kAxes, out.Room<U16>(), out.Room<double>(),
                                out.Room<U16>(), out.Room<double>());
     }},
    {"mSwLimitGet",
     [](Input& in, Outputs& out) {
         const AxisArguments<U16> at(in);
         return zelQ_mSwLimitGet(kNumber, at.count, at.axes.data(), out.Room<U16>(at.Size()),
                                 out.Room<double>(at.Size()), out.Room<U16>(at.Size()),
                                 out.Room<double>(at.Size()));
     },
     kKeepsWhatCame},
    {"AlarmListGet",
     [](Input& in, Outputs& out) {
         return zelQ_AlarmListGet(kNumber, in.Next() % kAxes, in.Next() % 10, out.Room<U16>(),
                                  out.Room<U16>(), out.Room<U16>());
     }},
    {"mAlarmListGet",
     [](Input& in, Outputs& out) {
         const AxisArguments<U16> at(in);
         return zelQ_mAlarmListGet(kNumber, at.count, at.axes.data(), in.Next() % 10,
                                   out.Room<U16>(at.Size()), out.Room<U16>(at.Size()),
                                   out.Room<U16>(at.Size()));
     },
     kKeepsWhatCame},
    {"SlavePropertyGet",
     [](Input& in, Outputs& out) {
         return zelQ_SlavePropertyGet(kNumber, in.Next() % kAxes, out.Room<SlaveProperty>());
     }},
    {"SlavePropertyGetAll",
     [](Input&, Outputs& out) {
         return zelQ_SlavePropertyGetAll(kNumber, out.Room<SlaveProperty>(kAxes));
     },
     kWritesNothing, true},
    {"ParamGet",
     [](Input& in, Outputs& out) {
         return zelQ_ParamGet(kNumber, in.Next() % kAxes, in.Next(), in.Next(), out.Room<int>());
     }},
    {"mParamGet",
     [](Input& in, Outputs& out) {
         const AxisArguments<U16> at(in);
         return zelQ_mParamGet(kNumber, at.count, at.axes.data(), 1, 2, out.Room<int>(at.Size()));
     },
     kKeepsWhatCame},
    {"ParamGetSysID",
     [](Input& in, Outputs& out) {
         return zelQ_ParamGetSysID(kNumber, in.Next() % kAxes, out.Room<std::uint8_t>(80));
     }},
    {"MonitorRead",
     [](Input& in, Outputs& out) {
         return zelQ_MonitorRead(kNumber, in.Next(), in.Next(), out.Room<U32>());
     }},
    {"mMonitorRead",
     [](Input& in, Outputs& out) {
         const AxisArguments<short> at(in);
         const std::vector<U16> numbers(at.Size(), 7);
         return zelQ_mMonitorRead(kNumber, at.count, at.axes.data(), numbers.data(),
                                  out.Room<U32>(at.Size()));
     },
     kKeepsWhatCame},
    {"RDOLinkFailKeepOutGet",
     [](Input&, Outputs& out) { return zelQ_RDOLinkFailKeepOutGet(kNumber, out.Room<U32>()); }},
    {"MDOGetLimitTime",
     [](Input& in, Outputs& out) {
         return zelQ_MDOGetLimitTime(kNumber, in.Next() % 8, out.Room<U16>(), out.Room<U16>(),
                                     out.Room<U16>(), out.Room<U32>());
     }},
    {"UARTRead", SerialRead, kKeepsWhatCame},
    {"FlashRead", FlashRead, kKeepsWhatCame},
    {"CPUPeek",
     [](Input& in, Outputs& out) {
         return zelQ_CPUPeek(kNumber, in.Next(), in.NextWord(), out.Room<U32>());
     }},
    {"UseMaroDefParamGet",
     [](Input&, Outputs& out) { return zelQ_UseMaroDefParamGet(kNumber, out.Room<U16>()); }},
    {"RtexCycleGet",
     [](Input&, Outputs& out) {
         return zelQ_RtexCycleGet(kNumber, out.Room<U16>(), out.Room<U16>());
     }},
};

} // namespace

bool Outputs::Untouched() const
{
    return std::ranges::all_of(areas_, [](const Bytes& area) {
        return std::ranges::all_of(area, [](std::uint8_t byte) { return byte == kUntouched; });
    });
}

std::span<const ReadingCall> ReadingCalls()
{
    return kCalls;
}

} // namespace zelq::fuzz
