#include "transport/discovery.h"

#include "common/result_codes.h"
#include "platform/process.h"
#include "platform/shared_lock.h"
#include "transport/reply_pairing.h"
#include "transport/turn.h"

#include <atomic>
#include <cstdio>
#include <new>

namespace zelq {

namespace {

/// The lock among the processes. It outlives every discovery, so that a process which ends in the
/// middle of one still releases it.
class ProcessLock : public platform::SharedLock
{
  public:
    ProcessLock() : SharedLock(0) {}
    ~ProcessLock()
    {
        if (platform::ProcessIsEnding()) ReleaseForEndedThreads();
    }
};

ProcessLock processLock;
platform::UseLock oneAtATime;
std::atomic<DiscoveryContext*> current = nullptr;
std::atomic<std::uint16_t> destinationPort = kDiscoveryPort;

/// Whether a datagram is made of nothing but answers to the request.
bool IsAnswer(const RequestBuffer& request, std::span<const std::uint8_t> datagram)
{
    ReplyPairing pairing(request, nullptr, PairingMode::kGather);
    pairing.Advance(datagram);
    return pairing.Matched() > 0 && pairing.Taken() == datagram.size();
}

} // namespace

void SetDiscoveryPort(std::uint16_t port)
{
    destinationPort = port;
}

DiscoveryContext::DiscoveryContext() : alone_(oneAtATime)
{
    current = this;
}

DiscoveryContext::~DiscoveryContext()
{
    current = nullptr;
    processLock.Close();
}

void DiscoveryContext::Abandon()
{
    new (&oneAtATime) platform::UseLock; // the thread that may have held it is not in this process
    current = nullptr;
}

DiscoveryContext* DiscoveryContext::Current()
{
    return current;
}

bool DiscoveryContext::Open(const std::array<std::uint16_t, 4>& octets)
{
    std::array<char, 32> address{};
    std::snprintf(address.data(), address.size(), "%d.%d.%d.%d", octets[0], octets[1], octets[2],
                  octets[3]);
    const Turn turn(processLock);
    return !turn.Failed() && socket_.Open(address.data(), destinationPort);
}

int DiscoveryContext::Exchange(const RequestBuffer& request, ReplyData* reply,
                               std::chrono::milliseconds wait)
{
    const Turn turn(processLock);
    if (turn.Failed()) return kLockFailed;
    const int error = SendTwice(request.Bytes());
    return error != kOk ? error : Gather(request, reply, wait);
}

/// A datagram may get lost: two make it likelier that one arrives everywhere.
int DiscoveryContext::SendTwice(std::span<const std::uint8_t> datagram)
{
    constexpr int kTimes = 2;
    for (int i = 0; i < kTimes; ++i) {
        const platform::IoStatus status = socket_.Send(datagram);
        if (status == platform::IoStatus::kBlocked) return kSendBlocked;
        if (status != platform::IoStatus::kDone) return kSocketFailed;
    }
    return kOk;
}

/// Datagrams that are no answer are dropped whole, so that they hide none of the others.
int DiscoveryContext::Gather(const RequestBuffer& request, ReplyData* reply,
                             std::chrono::milliseconds wait)
{
    constexpr int kWaits = 3;
    constexpr std::size_t kLeastBytes = 10;
    std::array<std::uint8_t, kBufferBytes> area; // NOLINT(*-member-init): filled by receiving
    std::size_t count = 0;
    const platform::Deadline deadline = platform::Clock::now() + kWaits * wait;
    // The time is looked at for every datagram, so that no flood of them holds the caller up.
    while (platform::Clock::now() < deadline &&
           socket_.WaitReadable(deadline) == platform::WaitStatus::kReady) {
        const auto room = std::span(area).subspan(count);
        const auto datagram = room.first(socket_.Receive(room).bytes);
        if (IsAnswer(request, datagram)) count += datagram.size();
    }
    if (count < kLeastBytes) return kNoReply;
    ReplyPairing pairing(request, reply, PairingMode::kGather);
    pairing.Advance(std::span(area).first(count));
    return pairing.Result();
}

} // namespace zelq
