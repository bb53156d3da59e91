#include "transport/discovery.h"

#include "common/result_codes.h"
#include "transport/frame.h"

#include <atomic>
#include <cstdio>

namespace zelq {

namespace {

platform::UseLock oneAtATime;
std::atomic<DiscoveryContext*> current = nullptr;
std::atomic<std::uint16_t> destinationPort = kDiscoveryPort;

/// Holds the lock that the processes of this user share.
class ProcessTurn
{
  public:
    explicit ProcessTurn(platform::SharedLock& lock)
        : lock_(lock), held_(lock.Wait(kAtMost) != platform::LockStatus::kFailed)
    {}
    ~ProcessTurn()
    {
        if (held_) lock_.Release();
    }
    ProcessTurn(const ProcessTurn&) = delete;
    ProcessTurn& operator=(const ProcessTurn&) = delete;

    [[nodiscard]] bool Held() const { return held_; }

  private:
    static constexpr std::chrono::seconds kAtMost{4};

    platform::SharedLock& lock_;
    bool held_;
};

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
    const ProcessTurn turn(lock_);
    return turn.Held() && socket_.Open(address.data(), destinationPort);
}

int DiscoveryContext::Exchange(std::span<const std::uint8_t> datagram, ReplyPairing& pairing,
                               std::chrono::milliseconds wait)
{
    const ProcessTurn turn(lock_);
    if (!turn.Held()) return kLockFailed;
    const int error = SendTwice(datagram);
    return error != kOk ? error : Gather(pairing, wait);
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

int DiscoveryContext::Gather(ReplyPairing& pairing, std::chrono::milliseconds wait)
{
    constexpr int kWaits = 3;
    constexpr std::size_t kLeastBytes = 10;
    std::array<std::uint8_t, kBufferBytes> area; // NOLINT(*-member-init): filled by receiving
    std::size_t count = 0;
    const platform::Deadline deadline = platform::Clock::now() + kWaits * wait;
    // The time is looked at for every datagram, so that no flood of them holds the caller up.
    while (platform::Clock::now() < deadline &&
           socket_.WaitReadable(deadline) == platform::WaitStatus::kReady) {
        count += socket_.Receive(std::span(area).subspan(count)).bytes;
    }
    if (count < kLeastBytes) return kNoReply;
    pairing.Advance(std::span(area).first(count));
    return kOk;
}

} // namespace zelq
