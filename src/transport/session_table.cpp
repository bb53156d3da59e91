#include "transport/session_table.h"

#include "platform/process.h"

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
    for (const auto& entry : sessions_) {
        DeviceSession* session = entry.load(std::memory_order_acquire);
        if (session == nullptr) continue;
        if (platform::ProcessIsEnding()) {
            session->Lock().ReleaseForEndedThreads();
        } else {
            session->ShutDown();
        }
    }
}

void SessionTable::AbandonAll()
{
    for (const auto& entry : sessions_) {
        DeviceSession* session = entry.load(std::memory_order_relaxed);
        if (session != nullptr) session->Abandon();
    }
}

namespace {

SessionTable table; // made as the library is loaded, taken down as it is unloaded

[[maybe_unused]] const bool abandonsInChild =
    (platform::CallInForkedChild([] { table.AbandonAll(); }), true);

} // namespace

SessionTable& Sessions()
{
    return table;
}

} // namespace zelq
