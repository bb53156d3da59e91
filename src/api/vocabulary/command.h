#pragma once

#include "common/result_codes.h"
#include "transport/engine.h"

#include <algorithm>
#include <concepts>
#include <cstdint>

namespace zelq {

/// Runs a request, and gives its result as the exported functions return it: cut to 16 bits, so
/// that trace line and return value agree.
inline short Transact(short zelNo, RequestBuffer& request, ReplyData* reply = nullptr,
                      ExchangeTimes times = {}, TurnAction onSuccess = {})
{
    return static_cast<short>(TransactFrames(zelNo, request, reply, times, onSuccess));
}

/// How a command over many items is cut into frames.
struct Split
{
    int items;
    int itemsPerFrame;
    int readQuantity = 1; ///< registers that every frame reads back, the result being the first,
    int readPerItem = 0;  ///< and how many more for each item that it carries
};

/// A command: its code, then the fields appended to it. It has one frame, unless it is split. Each
/// frame starts with its mark (how many there are, and which it is), by which the controller joins
/// them; only the first carries the code and the fields ahead of the items.
class Command
{
  public:
    explicit Command(std::uint16_t code, int readQuantity = 1)
        : Command(code, Split{.items = 1, .itemsPerFrame = 1, .readQuantity = readQuantity})
    {}

    Command(std::uint16_t code, const Split& split)
        : split_(split), frames_((split.items + split.itemsPerFrame - 1) / split.itemsPerFrame)
    {
        StartFrame();
        Word(code);
    }

    /// Begins the next item of a split command, in a new frame where the last one is full.
    Command& NextItem()
    {
        if (item_ != 0 && item_ % split_.itemsPerFrame == 0) StartFrame();
        ++item_;
        return *this;
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

    /// A read behind the command's frames, in the same exchange.
    Command& ThenRead(int start, int quantity)
    {
        request_.StartReadFrame(static_cast<std::uint16_t>(start),
                                static_cast<std::uint16_t>(quantity));
        return *this;
    }

    [[nodiscard]] short Run(short zelNo, ReplyData* reply = nullptr, ExchangeTimes times = {},
                            TurnAction onSuccess = {})
    {
        return Transact(zelNo, request_, reply, times, onSuccess);
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
        const int items = std::min(split_.items - item_, split_.itemsPerFrame);
        const int quantity = split_.readQuantity + split_.readPerItem * items;
        request_.StartCommandFrame(static_cast<std::uint16_t>(quantity));
        ++frame_;
        Word(frames_ << 8 | frame_);
    }

    RequestBuffer request_;
    Split split_;
    int frames_;
    int frame_ = 0;
    int item_ = 0;
};

/// A read of blocks of registers in one exchange; their data follow one another.
class RegisterRead
{
  public:
    RegisterRead& Block(std::uint16_t start, std::uint16_t quantity)
    {
        request_.StartReadFrame(start, quantity);
        return *this;
    }

    [[nodiscard]] short Run(short zelNo, ReplyData& reply)
    {
        return Transact(zelNo, request_, &reply);
    }

  private:
    RequestBuffer request_;
};

/// Reads one block of registers.
inline short ReadRegisters(short zelNo, std::uint16_t start, std::uint16_t quantity,
                           ReplyData& reply)
{
    return RegisterRead().Block(start, quantity).Run(zelNo, reply);
}

} // namespace zelq
