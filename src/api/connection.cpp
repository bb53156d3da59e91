#include "api/vocabulary/checks.h"
#include "api/vocabulary/command.h"
#include "api/vocabulary/status_registers.h"
#include "api/zelq.h"
#include "common/trace.h"
#include "platform/echo.h"
#include "transport/slave_reader.h"
#include "transport/turn.h"

#include <cstdio>

using namespace zelq;

namespace {

/// Connects, with the lock held for as long as the connection changes.
int OpenSession(short zelNo, std::array<std::int32_t, 3> octets)
{
    DeviceSession& session = Sessions().FindOrCreate(zelNo);
    const Turn turn(session.Lock());
    if (turn.Failed()) return kConnectFailed;
    session.SetAddress(octets, Sessions().PortOf(zelNo));
    return session.Open() ? kOk : kConnectFailed;
}

/// Learns which slaves there are, and to which count of changes they belong. A controller whose
/// slaves cannot be read is connected all the same: then the count is one that none sends, so that
/// the next status call reads them.
short ReadSlaves(short zelNo)
{
    const bool known = ReadSlaveTypes(zelNo) == kOk;
    ReplyData reply;
    const short result = ReadRegisters(zelNo, kConfigurationRegister, 1, reply);
    std::uint16_t word = 0;
    const bool counted = result == kOk && ReplyReader(reply).Read(word);
    if (!known) {
        SessionOf(zelNo).SetConfigurationCounter(SlaveConfig::kUnknownCounter);
    } else if (counted) {
        SessionOf(zelNo).SetConfigurationCounter(ConfigurationCounter(word));
    }
    return result;
}

void TraceMissingReply(short zelNo, std::uint32_t error)
{
    switch (error) {
    case platform::kEchoNotEnoughMemory:
        TraceCall("ERROR_NOT_ENOUGH_MEMORY... ZEL NO:%d", zelNo);
        break;
    case platform::kEchoNotSupported:
        TraceCall("ERROR_NOT_SUPPORTED... ZEL NO:%d", zelNo);
        break;
    case platform::kEchoInvalidParameter:
        TraceCall("ERROR_INVALID_PARAMETER... ZEL NO:%d", zelNo);
        break;
    case platform::kEchoInsufficientBuffer:
        TraceCall("ERROR_INSUFFICIENT_BUFFER... ZEL NO:%d", zelNo);
        break;
    case platform::kEchoBufferTooSmall:
        TraceCall("IP_BUF_TOO_SMALL... ZEL NO:%d", zelNo);
        break;
    case platform::kEchoTimedOut:
        TraceCall("IP_REQ_TIMED_OUT... ZEL NO:%d", zelNo);
        break;
    default:
        TraceCall("ZEL NO:%d, Error Code-%d", zelNo, error);
        break;
    }
}

} // namespace

short zelQ_Connect(short zelNo, short ip1, short ip2, unsigned short ip3)
{
    if (!IsControllerNumber(zelNo)) return kBadControllerNumber;

    auto result = static_cast<short>(OpenSession(zelNo, {ip1, ip2, ip3}));
    if (result == kOk) result = ReadSlaves(zelNo);
    return Traced("%d=zelQ_Connect(%d,%d,%d,%d)", result, zelNo, ip1, ip2, ip3);
}

void zelQ_Disconnect(short zelNo)
{
    DeviceSession* session = Sessions().Find(zelNo);
    if (session == nullptr) return;
    {
        const Turn turn(session->Lock());
        session->Link().Close();
    }
    TraceCall("zelQ_Disconnect(%d)", zelNo);
}

short zelQ_TMOSet(short zelNo, short connectMs, short sendMs, short receiveMs)
{
    if (const short error = CheckSession(zelNo)) return error;

    TimeOuts& times = Sessions().TimeOutsOf(zelNo);
    times.connect = static_cast<std::uint16_t>(connectMs);
    times.send = static_cast<std::uint16_t>(sendMs);
    times.receive = static_cast<std::uint16_t>(receiveMs);
    return Traced("%d=zelQ_TMOSet(%d,%d,%d,%d)", kOk, zelNo, connectMs, sendMs, receiveMs);
}

short zelQ_TMOGet(short zelNo, unsigned short* connectMs, unsigned short* sendMs,
                  unsigned short* receiveMs)
{
    if (const short error = CheckSession(zelNo)) return error;

    const TimeOuts& times = Sessions().TimeOutsOf(zelNo);
    if (connectMs != nullptr) *connectMs = times.connect;
    if (sendMs != nullptr) *sendMs = times.send;
    if (receiveMs != nullptr) *receiveMs = times.receive;
    return Traced("%d=zelQ_TMOGet(%d)", kOk, zelNo);
}

short zelQ_SetNetPortNum(short zelNo, int port)
{
    if (!IsControllerNumber(zelNo)) return kBadControllerNumber;

    const std::uint32_t stored = port < 0 ? kDefaultPort : static_cast<std::uint32_t>(port);
    Sessions().PortOf(zelNo) = stored;
    return Traced("%d=zelQ_SetNetPortNum(%d,%d)", kOk, zelNo, stored);
}

short zelQ_PingCheck(short zelNo, short ip1, short ip2, short ip3, unsigned int timeOutMs)
{
    if (!IsControllerNumber(zelNo)) return kBadControllerNumber;

    std::array<char, 64> host{};
    std::snprintf(host.data(), host.size(), "%d.%d.%d.%d", ip1, ip2, ip3, zelNo);
    const platform::EchoResult echo = platform::SendEcho(host.data(), timeOutMs);
    if (echo.status == platform::EchoStatus::kUnavailable) return kSocketFailed;
    if (echo.status == platform::EchoStatus::kNoReply) {
        TraceMissingReply(zelNo, echo.error);
        return kNoSession;
    }
    TraceCall("Host : %s", echo.sender.data());
    return kOk;
}
