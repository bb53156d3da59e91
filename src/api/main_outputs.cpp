#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/reply.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kMainSetCode = 0x01A0;
constexpr std::uint16_t kMainSetPinCode = 0x01A1;
constexpr std::uint16_t kMainTogglePinCode = 0x01A2;
constexpr std::uint16_t kMainSetPinsCode = 0x01A3;
constexpr std::uint16_t kMainTogglePinsCode = 0x01A4;
constexpr std::uint16_t kSetLimitTimeCode = 0x01A5;
constexpr std::uint16_t kGetLimitTimeCode = 0x01A6;

constexpr unsigned kMainPins = 8;

short CheckMainPin(short zelNo, unsigned short pin)
{
    if (const short error = CheckSession(zelNo)) return error;
    return static_cast<short>(pin >= kMainPins ? BadArgument(1) : kOk);
}

short CheckMainPins(short zelNo, short count, const void* pins)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (count < 1 || count > static_cast<short>(kMainPins)) return BadArgument(1);
    return CheckArrays(2, pins);
}

/// A pin that the board does not have counts for nothing.
unsigned MainPinBit(unsigned pin)
{
    return pin < kMainPins ? 1U << pin : 0U;
}

struct LimitTime
{
    std::uint16_t packed = 0; ///< three fields
    std::uint32_t time = 0;

    [[nodiscard]] unsigned short Field(unsigned first, unsigned bits) const
    {
        return static_cast<unsigned short>(packed >> first & ((1U << bits) - 1U));
    }
};

} // namespace

short zelQ_MDOSet(short zelNo, unsigned short value)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (value > 255) return BadArgument(1);

    const short result = Command(kMainSetCode).Word(value).Run(zelNo);
    return Traced("%d=zelQ_MDOSet(%d,%d)", result, zelNo, value);
}

short zelQ_MDOSetPin(short zelNo, unsigned short pin, unsigned short state)
{
    if (const short error = CheckMainPin(zelNo, pin)) return error;
    if (state > 1) return BadArgument(2);

    const short result = Command(kMainSetPinCode).Word(pin).Word(state).Run(zelNo);
    return Traced("%d=zelQ_MDOSetPin(%d,%d,%d)", result, zelNo, pin, state);
}

short zelQ_MDOSetTogPin(short zelNo, unsigned short pin)
{
    if (const short error = CheckMainPin(zelNo, pin)) return error;

    const short result = Command(kMainTogglePinCode).Word(pin).Run(zelNo);
    return Traced("%d=zelQ_MDOSetTogPin(%d,%d)", result, zelNo, pin);
}

short zelQ_MDOSetPins(short zelNo, short count, const unsigned short* pins,
                      const unsigned short* states)
{
    if (const short error = CheckMainPins(zelNo, count, pins)) return error;
    if (const short error = CheckArrays(3, states)) return error;

    unsigned on = 0;
    unsigned off = 0;
    for (int i = 0; i < count; ++i) {
        (states[i] == 1 ? on : off) |= MainPinBit(pins[i]);
    }
    const short result = Command(kMainSetPinsCode).Word(on).Word(off).Run(zelNo);
    // The line has places for values that the call does not show.
    return Traced("%d=zelQ_MDOSetPins(%d,%d,%d,%d)", result, zelNo, 0, 0, 0);
}

short zelQ_MDOSetTogPins(short zelNo, short count, const short* pins)
{
    if (const short error = CheckMainPins(zelNo, count, pins)) return error;

    unsigned mask = 0;
    for (int i = 0; i < count; ++i) {
        mask |= MainPinBit(static_cast<unsigned short>(pins[i]));
    }
    const short result = Command(kMainTogglePinsCode).Word(mask).Run(zelNo);
    return Traced("%d=zelQ_MDOSetTogPins(%d)", result, zelNo);
}

short zelQ_MDOSetLimitTime(short zelNo, unsigned short pin, unsigned short limitMode,
                           unsigned int limitTime)
{
    if (const short error = CheckMainPin(zelNo, pin)) return error;
    if (limitMode > 2) return BadArgument(2);

    Command command(kSetLimitTimeCode);
    command.Word(pin).Word(limitMode).Long(limitTime);
    return Traced("%d=zelQ_MDOSetLimitTime(%d,%d,%d,%d)", command.Run(zelNo), zelNo, pin, limitMode,
                  limitTime);
}

short zelQ_MDOGetLimitTime(short zelNo, unsigned short pin, unsigned short* limitA,
                           unsigned short* limitB, unsigned short* limitC, unsigned int* limitTime)
{
    if (const short error = CheckMainPin(zelNo, pin)) return error;

    constexpr std::uint16_t kResultAndThree = 4;
    ReplyData reply;
    const short result = Command(kGetLimitTimeCode, kResultAndThree).Word(pin).Run(zelNo, &reply);
    if (result == kOk) {
        LimitTime limit;
        if (!ReadData(reply, limit.packed, limit.time)) return kReplyDataMissing;
        // Without a place for limitB, none of the three is wanted.
        if (limitB != nullptr) {
            *limitB = limit.Field(0, 2);
            if (limitC != nullptr) *limitC = limit.Field(2, 4);
            if (limitA != nullptr) *limitA = limit.Field(6, 2);
        }
        if (limitTime != nullptr) *limitTime = limit.time;
    }
    return Traced("%d=zelQ_MDOGetLimitTime(%d,%d)", result, zelNo, pin);
}
