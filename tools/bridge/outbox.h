// What has been sent and may not have arrived, and what has not been sent.
#pragma once

#include "bridge/changes.h"
#include "bridge/store.h"

#include <deque>

namespace zelq::bridge {

/// Data goes out unacknowledged, so a mark behind it tells that the broker has it. What is not
/// behind a passed mark when the connection breaks is sent again: twice rather than never.
class Outbox
{
  public:
    explicit Outbox(Store& store) : store_(store), nextId_(store.FirstFreeId()) {}

    /// It has just been sent.
    void AddSent(Record record);
    /// It cannot be sent now. It is on disk after Flush().
    void AddWaiting(Record record);
    void Flush();

    /// The broker has not answered a mark in time: it may be gone without a word.
    [[nodiscard]] bool IsStalled() const { return stalled_; }
    /// All is on disk from here on, until the mark passes or the connection breaks.
    void Look(Clock::time_point now);
    [[nodiscard]] bool WantsMark(Clock::time_point now) const;
    void MarkSent(Clock::time_point now);
    void MarkPassed();
    [[nodiscard]] bool IsEmpty() const { return sent_.empty() && batch_.empty(); }

    /// A session begins, or a controller is there again: all that waits is looked at from its
    /// beginning.
    void Rewind() { cursor_ = 0; }
    /// What waits longest; empty while the last of it may not have arrived.
    std::vector<Record> NextWaiting();
    /// Of these, those were sent.
    void AddSentBatch(std::vector<std::int64_t> ids);
    void ConnectionLost();

  private:
    Store& store_;
    std::int64_t nextId_;
    std::deque<Record> sent_;
    std::vector<Record> waiting_; // not yet on disk
    std::vector<std::int64_t> batch_;
    std::int64_t cursor_ = 0;
    bool markIsOut_ = false;
    bool markCoversBatch_ = false;
    bool stalled_ = false;
    std::size_t markCovers_ = 0;
    Clock::time_point lastMark_{};
};

} // namespace zelq::bridge
