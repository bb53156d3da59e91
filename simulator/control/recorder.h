// Records signals of a controller at every millisecond of its time, while somebody looks.
#pragma once

#include "channels.h"
#include "core/family.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace lumosim {

class Controller;

// What one onlooker has not fetched yet. Who does not fetch loses the oldest samples.
class Recording
{
  public:
    static constexpr std::size_t kMostRows = 5000;

    struct Batch
    {
        Nanoseconds from{0}; // of the first row; the others follow at every kStep
        std::vector<std::vector<double>> rows;
        std::uint64_t lost = 0; // ahead of the first row, since the last batch
    };

    explicit Recording(std::vector<Channel> channels) : channels_(std::move(channels)) {}

    [[nodiscard]] const std::vector<Channel>& Channels() const { return channels_; }
    void Sample(const Controller& controller);
    Batch Take();

  private:
    std::vector<Channel> channels_;
    std::deque<std::vector<double>> rows_;
    Nanoseconds last_{0};
    std::uint64_t lost_ = 0;
};

// Costs nothing as long as nobody holds a recording.
class Recorder : public Family
{
  public:
    static constexpr Nanoseconds kStep = std::chrono::milliseconds(1);
    static constexpr std::size_t kMostChannels = 8;

    explicit Recorder(const Controller& controller) : controller_(controller) {}

    // Runs until it is let go of, on whatever thread.
    std::shared_ptr<Recording> Start(std::vector<Channel> channels);

    [[nodiscard]] Nanoseconds NextEvent() const override;
    void AdvanceTo(Nanoseconds now) override;

  private:
    const Controller& controller_;
    std::vector<std::weak_ptr<Recording>> recordings_;
    Nanoseconds next_ = kNever;
};

} // namespace lumosim
