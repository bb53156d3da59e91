#include "soak/worker.h"

#include "zelq.h"

#include <algorithm>
#include <numeric>

namespace zelq::soak {

namespace {

// A value tells where it belongs: controller and axis stand above a running number, so that an
// answer that belongs to another call is seen at once.
constexpr unsigned kSequenceBits = 24;

std::uint32_t Tag(int controller, int axis)
{
    return static_cast<std::uint32_t>(controller * kThreads + axis) << kSequenceBits;
}

short NumberOf(int controller)
{
    return static_cast<short>(kFirstNumber + controller);
}

constexpr unsigned short kClass = 3; // of a parameter that takes any value, and has no effect here
constexpr unsigned short kParameter = 0;
constexpr short kSpace = 0;
constexpr unsigned short kFlashWrite = 1;
constexpr unsigned short kFlashRead = 2;

} // namespace

std::uint8_t FlashByte(int controller, int thread, int offset)
{
    return static_cast<std::uint8_t>(offset * 7 + offset / 256 + controller * 53 + thread * 29);
}

bool Cell::Explains(std::uint32_t value)
{
    if (std::ranges::find(possible_, value) == possible_.end()) return false;
    Written(value);
    return true;
}

bool Worker::Prepare()
{
    std::vector<unsigned char> bytes(kFlashBytes);
    for (int controller = 0; controller < kControllers; ++controller) {
        for (int i = 0; i < kFlashBytes; ++i) {
            bytes[static_cast<std::size_t>(i)] = FlashByte(controller, thread_, i);
        }
        const auto number = static_cast<unsigned short>(NumberOf(controller));
        const auto address = static_cast<unsigned>(thread_ * kFlashBytes);
        if (zelQ_FlashWrite(number, kFlashWrite, address, bytes.data(), kFlashBytes) != 0)
            return false;
        Cells& cells = cells_[static_cast<std::size_t>(controller)];
        Write(controller, cells.parameter, &Worker::WriteParameter);
        Write(controller, cells.position, &Worker::WritePosition);
        Write(controller, cells.memory, &Worker::WriteMemory);
    }
    return results_.size() == 1 && results_.contains(0);
}

void Worker::CallOnce()
{
    const int controller = static_cast<int>(random_() % kControllers);
    Cells& cells = cells_[static_cast<std::size_t>(controller)];
    switch (random_() % 12) {
    case 0:
        return Write(controller, cells.parameter, &Worker::WriteParameter);
    case 1:
        return Write(controller, cells.position, &Worker::WritePosition);
    case 2:
        return Write(controller, cells.memory, &Worker::WriteMemory);
    case 3:
    case 4:
        return Count(controller, ReadParameter(controller), "ParamGet");
    case 5:
    case 6:
        return Count(controller, ReadParameters(controller), "mParamGet");
    case 7:
        return Count(controller, ReadMemory(controller), "CPUPeek");
    case 8:
    case 9:
        return Count(controller, ReadServo(controller), "GetServoStatus");
    case 10:
        return Count(controller, ReadAll(controller), "GetAllStatus");
    default:
        return Count(controller, ReadFlash(controller), "FlashRead");
    }
}

std::uint32_t Worker::NextValue(int controller)
{
    constexpr std::uint32_t kMost = (1U << kSequenceBits) - 1;
    return Tag(controller, thread_) | (++sequence_ & kMost);
}

void Worker::Write(int controller, Cell& cell, short (Worker::*write)(short, std::uint32_t))
{
    const std::uint32_t value = NextValue(controller);
    const short result = (this->*write)(NumberOf(controller), value);
    result == 0 ? cell.Written(value) : cell.Attempted(value);
    Count(controller, result, "a write");
}

short Worker::WriteParameter(short number, std::uint32_t value)
{
    return zelQ_ParamSet(number, Axis(), kClass, kParameter, static_cast<int>(value));
}

short Worker::WritePosition(short number, std::uint32_t value)
{
    return zelQ_CmdEncPosSet(number, Axis(), value);
}

short Worker::WriteMemory(short number, std::uint32_t value)
{
    return zelQ_CPUPoke(number, kSpace, MemoryAddress(), value);
}

short Worker::ReadParameter(int controller)
{
    int value = -1;
    const short result = zelQ_ParamGet(NumberOf(controller), Axis(), kClass, kParameter, &value);
    const auto read = static_cast<std::uint32_t>(value);
    if (result == 0) {
        Judge(cells_[static_cast<std::size_t>(controller)].parameter.Explains(read), "ParamGet",
              read);
    }
    return result;
}

short Worker::ReadParameters(int controller)
{
    std::array<unsigned short, kThreads> axes{};
    std::iota(axes.begin(), axes.end(), static_cast<unsigned short>(0));
    std::array<int, kThreads> values{};
    const auto number = static_cast<unsigned short>(NumberOf(controller));
    const short result =
        zelQ_mParamGet(number, kThreads, axes.data(), kClass, kParameter, values.data());
    for (int axis = 0; result == 0 && axis < kThreads; ++axis) {
        const auto value = static_cast<std::uint32_t>(values[static_cast<std::size_t>(axis)]);
        ExpectTag(controller, axis, value, "mParamGet");
        if (axis != thread_) continue;
        Judge(cells_[static_cast<std::size_t>(controller)].parameter.Explains(value), "mParamGet",
              value);
    }
    return result;
}

short Worker::ReadMemory(int controller)
{
    unsigned value = 0;
    const short result = zelQ_CPUPeek(NumberOf(controller), kSpace, MemoryAddress(), &value);
    if (result == 0) {
        Judge(cells_[static_cast<std::size_t>(controller)].memory.Explains(value), "CPUPeek",
              value);
    }
    return result;
}

short Worker::ReadServo(int controller)
{
    ServoStatus status{};
    const short result = zelQ_GetServoStatus(NumberOf(controller), Axis(), &status);
    if (result == 0) {
        const auto value = static_cast<std::uint32_t>(status.commandPosition);
        Judge(status.axis == Axis() &&
                  cells_[static_cast<std::size_t>(controller)].position.Explains(value),
              "GetServoStatus", value);
    }
    return result;
}

short Worker::ReadAll(int controller)
{
    ControllerStatus status{};
    const short result = zelQ_GetAllStatus(NumberOf(controller), &status);
    if (result != 0) return result;
    Judge(status.servoCount == kThreads, "GetAllStatus count", status.servoCount);
    for (int axis = 0; axis < kThreads; ++axis) {
        const ServoStatus& servo = status.servo[axis];
        const auto value = static_cast<std::uint32_t>(servo.commandPosition);
        ExpectTag(controller, axis, value, "GetAllStatus");
        Judge(servo.encoderPosition == servo.commandPosition, "GetAllStatus encoder", value);
        if (axis != thread_) continue;
        Judge(cells_[static_cast<std::size_t>(controller)].position.Explains(value), "GetAllStatus",
              value);
    }
    return result;
}

short Worker::ReadFlash(int controller)
{
    std::array<unsigned char, kFlashBytes> bytes{};
    const auto number = static_cast<unsigned short>(NumberOf(controller));
    const auto address = static_cast<unsigned>(thread_ * kFlashBytes);
    const short result = zelQ_FlashRead(number, kFlashRead, address, bytes.data(), kFlashBytes);
    for (int i = 0; result == 0 && i < kFlashBytes; ++i) {
        const std::uint8_t byte = bytes[static_cast<std::size_t>(i)];
        if (byte == FlashByte(controller, thread_, i)) continue;
        Judge(false, "FlashRead", byte);
        break;
    }
    return result;
}

void Worker::Judge(bool right, const char* call, std::uint32_t value)
{
    constexpr std::size_t kMostShown = 5;
    if (right) return;
    ++wrongCount_;
    if (wrong_.size() < kMostShown)
        wrong_.push_back(std::string(call) + ": " + std::to_string(value));
}

void Worker::ExpectTag(int controller, int axis, std::uint32_t value, const char* call)
{
    Judge(value >> kSequenceBits == Tag(controller, axis) >> kSequenceBits, call, value);
}

/// Whatever happens on the way, a call gives one of these.
void Worker::Count(int controller, short result, const char* call)
{
    constexpr std::array<short, 10> kDescribed = {0, -1, -4, -5, -6, -7, -9, -10, -12, -1004};
    ++results_[result];
    if (std::ranges::find(kDescribed, result) == kDescribed.end()) {
        Judge(false, call, static_cast<std::uint32_t>(result));
    }
    // Where a reconnect was refused, only connecting opens the controller again.
    if (result == -1 || result == -4) zelQ_Connect(NumberOf(controller), 127, 0, 0);
}

} // namespace zelq::soak
