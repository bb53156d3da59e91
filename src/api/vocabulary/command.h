#pragma once

#include "common/result_codes.h"
#include "transport/engine.h"

#include <cstdint>
#include <initializer_list>

namespace zelq {

/// Runs a request, and gives its result as the exported functions return it: cut to 16 bits, so
/// that trace line and return value agree.
inline short Transact(short zelNo, RequestBuffer& request, ReplyData* reply = nullptr,
                      ExchangeTimes times = {})
{
    return static_cast<short>(TransactFrames(zelNo, request, reply, times));
}

/// Reads one block of registers.
inline short ReadRegisters(short zelNo, std::uint16_t start, std::uint16_t quantity,
                           ReplyData& reply)
{
    RequestBuffer request;
    if (!request.StartReadFrame(start, quantity)) return kOverflow;
    return Transact(zelNo, request, &reply);
}

/// A command in one frame: its mark (frame 1 of 1) and code, then the fields appended to it.
class Command
{
  public:
    explicit Command(std::uint16_t code, std::uint16_t readQuantity = 1)
    {
        constexpr std::uint16_t kOnlyFrame = 0x0101;
        request_.StartCommandFrame(readQuantity);
        Word(kOnlyFrame).Word(code);
    }

    /// One register; signed values travel as their two's complement.
    template <std::integral T>
    Command& Word(T value)
    {
        request_.AppendRegister(static_cast<std::uint16_t>(value));
        return *this;
    }

    /// Two registers, low word first.
    template <std::integral T>
    Command& Long(T value)
    {
        request_.AppendRegister32(static_cast<std::uint32_t>(value));
        return *this;
    }

    /// `count` registers of an array.
    template <std::integral T>
    Command& Words(const T* values, int count)
    {
        for (int i = 0; i < count; ++i) {
            Word(values[i]);
        }
        return *this;
    }

    [[nodiscard]] short Run(short zelNo, ReplyData* reply = nullptr, ExchangeTimes times = {})
    {
        return Transact(zelNo, request_, reply, times);
    }

  private:
    RequestBuffer request_;
};

/// A command over many items, cut into frames of at most `itemsPerFrame`. Each frame starts with
/// its mark (how many there are, and which it is), by which the controller joins them; only the
/// first carries the code and the fields ahead of the items.
class SplitCommand
{
  public:
    SplitCommand(std::uint16_t code, int items, int itemsPerFrame,
                 std::initializer_list<std::uint16_t> head, std::uint16_t readQuantity = 1)
        : frames_((items + itemsPerFrame - 1) / itemsPerFrame),
          itemsPerFrame_(itemsPerFrame),
          readQuantity_(readQuantity)
    {
        StartFrame();
        Word(code);
        for (const std::uint16_t word : head) {
            Word(word);
        }
    }

    /// Begins the next item, in a new frame where the last one is full.
    SplitCommand& NextItem()
    {
        if (item_ != 0 && item_ % itemsPerFrame_ == 0) StartFrame();
        ++item_;
        return *this;
    }

    template <std::integral T>
    SplitCommand& Word(T value)
    {
        request_.AppendRegister(static_cast<std::uint16_t>(value));
        return *this;
    }

    template <std::integral T>
    SplitCommand& Long(T value)
    {
        request_.AppendRegister32(static_cast<std::uint32_t>(value));
        return *this;
    }

    [[nodiscard]] short Run(short zelNo, ReplyData* reply = nullptr)
    {
        return Transact(zelNo, request_, reply);
    }

    /// Runs with the engine's own result, which tells a code of the library from a result of the
    /// controller that only looks like it in 16 bits.
    [[nodiscard]] int RunUncut(short zelNo, ReplyData* reply)
    {
        return TransactFrames(zelNo, request_, reply);
    }

  private:
    void StartFrame()
    {
        request_.StartCommandFrame(readQuantity_);
        ++frame_;
        Word(frames_ << 8 | frame_);
    }

    RequestBuffer request_;
    int frames_;
    int itemsPerFrame_;
    std::uint16_t readQuantity_;
    int frame_ = 0;
    int item_ = 0;
};

} // namespace zelq
