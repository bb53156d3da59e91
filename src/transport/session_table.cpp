#include "transport/session_table.h"

#include "platform/process.h"
#include "transport/turn.h"

#include <mutex>
#include <new>

namespace zelq {

DeviceSession& SessionTable::FindOrCreate(short zelNo)
{
    const std::lock_guard guard(creation_);
    const auto index = static_cast<std::size_t>(zelNo);
    DeviceSession* session = sessions_[index].load(std::memory_order_relaxed);
    if (session == nullptr) {
        session = new (rooms_[index].bytes.data())
            DeviceSession(static_cast<std::uint32_t>(zelNo), timeOuts_[index]);
        sessions_[index].store(session, std::memory_order_release);
    }
    return *session;
}

SessionTable::~SessionTable()
{
    if (platform::ProcessIsEnding()) {
        ForEach([](DeviceSession& session) { session.Lock().ReleaseForEndedThreads(); });
        return;
    }
    // All are told before any is waited for: so silent controllers hold the end up once, not each.
    ForEach([](DeviceSession& session) { session.Link().Interrupt(); });
    const platform::Deadline deadline = platform::Clock::now() + kTurnTimeOut;
    ForEach([deadline](DeviceSession& session) {
        {
            const Turn turn(session.Lock(), platform::Left(deadline));
            session.Link().Close();
        }
        session.Lock().Close();
    });
}

void SessionTable::Abandon()
{
    new (&creation_) platform::UseLock; // the thread that may have held it is not in this process
    ForEach([](DeviceSession& session) { session.Abandon(); });
}

namespace {

SessionTable table; // made as the library is loaded, taken down as it is unloaded

} // namespace

SessionTable& Sessions()
{
    return table;
}

} // namespace zelq
