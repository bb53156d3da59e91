#include "recorder.h"

#include "core/controller.h"

#include <utility>

namespace lumosim {

void Recording::Sample(const Controller& controller)
{
    if (rows_.size() == kMostRows) {
        rows_.pop_front();
        ++lost_;
    }
    std::vector<double>& row = rows_.emplace_back();
    for (const Channel& channel : channels_) {
        row.push_back(channel.read(controller));
    }
    last_ = controller.Now();
}

Recording::Batch Recording::Take()
{
    Batch batch;
    if (rows_.empty()) return batch;
    batch.from = last_ - Recorder::kStep * static_cast<std::int64_t>(rows_.size() - 1);
    batch.rows.assign(std::make_move_iterator(rows_.begin()), std::make_move_iterator(rows_.end()));
    batch.lost = std::exchange(lost_, 0);
    rows_.clear();
    return batch;
}

std::shared_ptr<Recording> Recorder::Start(std::vector<Channel> channels)
{
    auto recording = std::make_shared<Recording>(std::move(channels));
    recordings_.push_back(recording);
    next_ = (controller_.Now() / kStep + 1) * kStep;
    return recording;
}

Nanoseconds Recorder::NextEvent() const
{
    return recordings_.empty() ? kNever : next_;
}

void Recorder::AdvanceTo(Nanoseconds now)
{
    if (recordings_.empty() || now < next_) return;
    std::erase_if(recordings_, [](const auto& recording) { return recording.expired(); });
    for (const auto& each : recordings_) {
        if (const auto recording = each.lock()) recording->Sample(controller_);
    }
    next_ += kStep;
}

} // namespace lumosim
