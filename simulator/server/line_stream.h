// One open stream of a serial line.
#pragma once

#include "network.h"
#include "serial_line.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace lumosim {

// Reads whenever its taker has room, and writes what it is given in order. Ends when the stream
// does.
template <typename Stream>
class LineStream : public std::enable_shared_from_this<LineStream<Stream>>
{
  public:
    LineStream(
        Stream stream, SerialLine::Taker taker, std::function<void()> ended = [] {})
        : stream_(std::move(stream)),
          wait_(stream_.get_executor()),
          taker_(std::move(taker)),
          ended_(std::move(ended))
    {}

    void StartReading()
    {
        stream_.async_read_some(asio::buffer(area_), [self = this->shared_from_this()](
                                                         const ErrorCode& error, std::size_t size) {
            if (error) return self->End(error);
            self->Offer(size);
        });
    }

    void Send(std::span<const std::uint8_t> bytes)
    {
        // A line without a reader does not keep for ever what was sent into it.
        if (waiting_.size() + bytes.size() > kMostWaiting) return;
        waiting_.insert(waiting_.end(), bytes.begin(), bytes.end());
        if (sending_.empty()) Write();
    }

    void Close()
    {
        ErrorCode ignored;
        wait_.cancel();
        stream_.close(ignored);
    }

  private:
    static constexpr std::size_t kMostWaiting = 65536;
    static constexpr std::chrono::milliseconds kNoRoomPause{2};

    void Offer(std::size_t size)
    {
        if (!stream_.is_open()) return;
        if (taker_(std::span(area_).first(size))) return StartReading();
        wait_.expires_after(kNoRoomPause);
        wait_.async_wait([self = this->shared_from_this(), size](const ErrorCode& error) {
            if (!error) self->Offer(size);
        });
    }

    void Write()
    {
        sending_ = std::exchange(waiting_, {});
        asio::async_write(stream_, asio::buffer(sending_),
                          [self = this->shared_from_this()](const ErrorCode& error, std::size_t) {
                              self->sending_.clear();
                              if (error) return self->End(error);
                              if (!self->waiting_.empty()) self->Write();
                          });
    }

    void End(const ErrorCode& error)
    {
        if (error == asio::error::operation_aborted || !stream_.is_open()) return;
        Close();
        ended_();
    }

    Stream stream_;
    asio::steady_timer wait_;
    SerialLine::Taker taker_;
    std::function<void()> ended_;
    std::array<std::uint8_t, 1024> area_{};
    std::vector<std::uint8_t> waiting_;
    std::vector<std::uint8_t> sending_;
};

} // namespace lumosim
