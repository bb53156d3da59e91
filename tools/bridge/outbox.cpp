#include "bridge/outbox.h"

namespace zelq::bridge {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kMarkEvery{500};
constexpr milliseconds kStalledAfter{2000};
/// Sent at a time: many enough to go fast, few enough that live data never waits behind them.
constexpr std::size_t kBatch = 250;

} // namespace

void Outbox::AddSent(Record record)
{
    record.id = nextId_++;
    sent_.push_back(std::move(record));
}

void Outbox::AddWaiting(Record record)
{
    record.id = nextId_++;
    waiting_.push_back(std::move(record));
}

void Outbox::Flush()
{
    if (waiting_.empty()) return;
    store_.Append(waiting_);
    waiting_.clear();
}

void Outbox::Look(Clock::time_point now)
{
    if (stalled_ || !markIsOut_ || now - lastMark_ < kStalledAfter) return;
    stalled_ = true;
    // Should the bridge end now, they are not lost; should the mark pass, they are removed again.
    waiting_.insert(waiting_.begin(), sent_.begin(), sent_.end());
}

bool Outbox::WantsMark(Clock::time_point now) const
{
    if (markIsOut_ || IsEmpty()) return false;
    return !batch_.empty() || now - lastMark_ >= kMarkEvery;
}

void Outbox::MarkSent(Clock::time_point now)
{
    markIsOut_ = true;
    markCovers_ = sent_.size();
    markCoversBatch_ = !batch_.empty();
    lastMark_ = now;
}

void Outbox::MarkPassed()
{
    if (!markIsOut_) return;
    markIsOut_ = false;
    std::vector<std::int64_t> arrived;
    if (stalled_) {
        Flush();
        for (std::size_t i = 0; i < markCovers_; ++i) {
            arrived.push_back(sent_[i].id);
        }
    }
    sent_.erase(sent_.begin(), sent_.begin() + static_cast<std::ptrdiff_t>(markCovers_));
    if (stalled_) {
        // The rest of them is on disk and goes out from there.
        sent_.clear();
        stalled_ = false;
        Rewind();
    }
    if (markCoversBatch_) {
        arrived.insert(arrived.end(), batch_.begin(), batch_.end());
        batch_.clear();
    }
    if (!arrived.empty()) store_.Remove(arrived);
}

std::vector<Record> Outbox::NextWaiting()
{
    if (stalled_ || !batch_.empty() || store_.Waiting() == 0) return {};
    std::vector<Record> records = store_.Read(cursor_, kBatch);
    if (!records.empty()) cursor_ = records.back().id;
    return records;
}

void Outbox::AddSentBatch(std::vector<std::int64_t> ids)
{
    batch_ = std::move(ids);
}

void Outbox::ConnectionLost()
{
    if (!stalled_) waiting_.insert(waiting_.begin(), sent_.begin(), sent_.end());
    sent_.clear();
    batch_.clear();
    markIsOut_ = false;
    stalled_ = false;
    Rewind();
    Flush();
}

} // namespace zelq::bridge
