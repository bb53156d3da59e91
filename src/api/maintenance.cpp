#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/zelq.h"
#include "common/trace.h"

using namespace zelq;

namespace {

constexpr std::uint16_t kNetworkCode = 0x01B1;
constexpr std::uint16_t kHwInfoCode = 0x1001;
constexpr std::uint16_t kControllerResetCode = 0x1002;

/// Negative octets are large ones.
bool IsOctet(short value)
{
    return static_cast<std::uint16_t>(value) <= 255;
}

short CheckNetwork(const short* address, const short* second, const short* third)
{
    for (int i = 0; i < 3; ++i) {
        if (address == nullptr || !IsOctet(address[i])) return BadArgument(1);
    }
    for (int i = 0; i < 4; ++i) {
        if (second == nullptr || !IsOctet(second[i])) return BadArgument(2);
        if (third == nullptr || !IsOctet(third[i])) return BadArgument(3);
    }
    return kOk;
}

} // namespace

short zelQ_CfgNetwork(unsigned short zelNo, const short* address, const short* second,
                      const short* third)
{
    const auto number = static_cast<short>(zelNo);
    if (const short error = CheckSession(number)) return error;
    if (const short error = CheckNetwork(address, second, third)) return error;

    Command command(kNetworkCode);
    command.Words(address, 3).Words(second, 4).Words(third, 4);
    return Traced("%d=zelQ_CfgNetwork(%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d)", command.Run(number),
                  zelNo, address[0], address[1], address[2], second[0], second[1], second[2],
                  second[3], third[0], third[1], third[2], third[3]);
}

short zelQ_CfgHwInfo(short zelNo, short value)
{
    if (const short error = CheckSession(zelNo)) return error;

    const short result = Command(kHwInfoCode).Word(value).Run(zelNo);
    return Traced("%d=zelQ_CfgHwInfo(%d,%d)", result, zelNo, value);
}

short zelQ_Reset(short zelNo, unsigned short mode)
{
    if (const short error = CheckSession(zelNo)) return error;
    if (mode > 3) return BadArgument(1);

    const short result = Command(kControllerResetCode).Word(mode).Run(zelNo);
    return Traced("%d=zelQ_Reset(%d,%d)", result, zelNo, mode);
}
