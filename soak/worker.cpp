#include "worker.h"

#include "zelq.h"

#include <array>
#include <iterator>
#include <numeric>
#include <span>

namespace soak {

namespace {

// A value tells where it belongs: controller and axis stand above a running number, so that an
// answer that belongs to another call is seen at once.
constexpr unsigned kSequenceBits = 24;

std::uint32_t Tag(const Site& site, int axis)
{
    return static_cast<std::uint32_t>((site.number - kFirstNumber) * kThreads + axis);
}

constexpr unsigned short kClass = 3; // of a parameter that takes any value, and has no effect here
constexpr unsigned short kParameter = 0;
constexpr short kSpace = 0;
constexpr unsigned kWordBytes = 4; // of the processor's memory, for each thread
constexpr unsigned short kFlashWrite = 1;
constexpr unsigned short kFlashRead = 2;
constexpr int kFlashBytes = 1024; // of each thread, on every controller

/// What stands in a thread's part of the flash memory.
std::array<unsigned char, kFlashBytes> FlashBytes(const Site& site, int thread)
{
    std::array<unsigned char, kFlashBytes> bytes{};
    for (int i = 0; i < kFlashBytes; ++i) {
        const int value = i * 7 + i / 256 + site.number * 53 + thread * 29;
        bytes[static_cast<std::size_t>(i)] = static_cast<unsigned char>(value);
    }
    return bytes;
}

void Judge(Worker& worker, bool right, const char* call, std::int64_t value)
{
    constexpr std::size_t kMostShown = 5;
    if (right || ++worker.wrongCount > kMostShown) return;
    worker.wrong.push_back(std::string(call) + ": " + std::to_string(value));
}

/// An own value must be one that the cell explains, another axis's must be of that axis.
void JudgeAxis(Worker& worker, const Site& site, Cell& cell, int axis, double value,
               const char* call)
{
    const auto read = static_cast<std::uint32_t>(static_cast<std::int64_t>(value));
    const bool belongs = read >> kSequenceBits == Tag(site, axis);
    Judge(worker, axis == worker.axis ? cell.Explains(read) : belongs, call, read);
}

/// Writes another value by `write`.
template <typename Write>
short WriteNext(Worker& worker, const Site& site, Cell& cell, Write write)
{
    constexpr std::uint32_t kMost = (1U << kSequenceBits) - 1;
    const std::uint32_t value =
        Tag(site, worker.axis) << kSequenceBits | (++worker.sequence & kMost);
    const short result = write(value);
    cell.Write(value, result == 0);
    return result;
}

short WriteParameter(Worker& worker, Site& site)
{
    return WriteNext(worker, site, site.parameter, [&](std::uint32_t value) {
        return zelQ_ParamSet(site.number, worker.axis, kClass, kParameter, static_cast<int>(value));
    });
}

short WritePosition(Worker& worker, Site& site)
{
    return WriteNext(worker, site, site.position, [&](std::uint32_t value) {
        return zelQ_CmdEncPosSet(site.number, worker.axis, value);
    });
}

short WriteMemory(Worker& worker, Site& site)
{
    return WriteNext(worker, site, site.memory, [&](std::uint32_t value) {
        return zelQ_CPUPoke(site.number, kSpace, worker.axis * kWordBytes, value);
    });
}

short WriteFlash(Worker& worker, Site& site)
{
    auto bytes = FlashBytes(site, worker.axis);
    return zelQ_FlashWrite(static_cast<unsigned short>(site.number), kFlashWrite,
                           worker.axis * unsigned{kFlashBytes}, bytes.data(), kFlashBytes);
}

short ReadParameter(Worker& worker, Site& site)
{
    int value = -1;
    const short result = zelQ_ParamGet(site.number, worker.axis, kClass, kParameter, &value);
    if (result == 0) JudgeAxis(worker, site, site.parameter, worker.axis, value, "ParamGet");
    return result;
}

short ReadParameters(Worker& worker, Site& site)
{
    std::array<unsigned short, kThreads> axes{};
    std::iota(axes.begin(), axes.end(), static_cast<unsigned short>(0));
    std::array<int, kThreads> values{};
    const short result = zelQ_mParamGet(static_cast<unsigned short>(site.number), kThreads,
                                        axes.data(), kClass, kParameter, values.data());
    for (std::size_t axis = 0; result == 0 && axis < values.size(); ++axis) {
        JudgeAxis(worker, site, site.parameter, axes[axis], values[axis], "mParamGet");
    }
    return result;
}

short ReadMemory(Worker& worker, Site& site)
{
    unsigned value = 0;
    const short result = zelQ_CPUPeek(site.number, kSpace, worker.axis * kWordBytes, &value);
    if (result == 0) Judge(worker, site.memory.Explains(value), "CPUPeek", value);
    return result;
}

short ReadServo(Worker& worker, Site& site)
{
    ServoStatus status{};
    const short result = zelQ_GetServoStatus(site.number, worker.axis, &status);
    if (result != 0) return result;
    Judge(worker, status.axis == worker.axis, "GetServoStatus axis", status.axis);
    JudgeAxis(worker, site, site.position, status.axis, status.commandPosition, "GetServoStatus");
    return result;
}

short ReadAll(Worker& worker, Site& site)
{
    ControllerStatus status{};
    const short result = zelQ_GetAllStatus(site.number, &status);
    if (result != 0) return result;
    Judge(worker, status.servoCount == kThreads, "GetAllStatus count", status.servoCount);
    for (int axis = 0; axis < kThreads; ++axis) {
        const ServoStatus& servo = status.servo[axis];
        Judge(worker, servo.axis == axis, "GetAllStatus axis", servo.axis);
        Judge(worker, servo.encoderPosition == servo.commandPosition, "GetAllStatus encoder",
              static_cast<std::int64_t>(servo.encoderPosition));
        JudgeAxis(worker, site, site.position, axis, servo.commandPosition, "GetAllStatus");
    }
    return result;
}

short ReadFlash(Worker& worker, Site& site)
{
    std::array<unsigned char, kFlashBytes> bytes{};
    const short result =
        zelQ_FlashRead(static_cast<unsigned short>(site.number), kFlashRead,
                       worker.axis * unsigned{kFlashBytes}, bytes.data(), kFlashBytes);
    const bool right = result != 0 || bytes == FlashBytes(site, worker.axis);
    Judge(worker, right, "FlashRead", bytes[0]);
    return result;
}

struct CallKind
{
    const char* name;
    short (*make)(Worker& worker, Site& site);
};

/// What is made twice as often stands here twice.
constexpr CallKind kCalls[] = {
    {"ParamSet", WriteParameter},  {"CmdEncPosSet", WritePosition}, {"CPUPoke", WriteMemory},
    {"ParamGet", ReadParameter},   {"ParamGet", ReadParameter},     {"mParamGet", ReadParameters},
    {"mParamGet", ReadParameters}, {"CPUPeek", ReadMemory},         {"GetServoStatus", ReadServo},
    {"GetServoStatus", ReadServo}, {"GetAllStatus", ReadAll},       {"FlashRead", ReadFlash},
};
constexpr std::size_t kWrites = 3;

/// Whatever happens on the way, a call gives one of the described results.
void Make(Worker& worker, Site& site, const CallKind& call)
{
    constexpr std::array<short, 10> kDescribed = {0, -1, -4, -5, -6, -7, -9, -10, -12, -1004};
    const short result = call.make(worker, site);
    ++worker.results[result];
    Judge(worker, std::ranges::find(kDescribed, result) != kDescribed.end(), call.name, result);
    // Where a reconnect was refused, only connecting opens the controller again.
    if (result == -1 || result == -4) zelQ_Connect(site.number, 127, 0, 0);
}

} // namespace

Worker::Worker(unsigned short thread, unsigned seed) : axis(thread), random(seed)
{
    for (short i = 0; i < kControllers; ++i) {
        sites.push_back({static_cast<short>(kFirstNumber + i), {}, {}, {}});
    }
}

bool Worker::Prepare()
{
    for (Site& site : sites) {
        Make(*this, site, {"FlashWrite", WriteFlash});
        for (const CallKind& write : std::span(kCalls).first(kWrites)) {
            Make(*this, site, write);
        }
    }
    return results.size() == 1 && results.contains(0);
}

void Worker::CallOnce()
{
    Site& site = sites[random() % kControllers];
    Make(*this, site, kCalls[random() % std::size(kCalls)]);
}

} // namespace soak
