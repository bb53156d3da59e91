#include "common/byte_order.h"
#include "fuzz/input.h"
#include "transport/frame.h"

// An input is a row of building steps, a byte each, with its arguments behind it: a read frame
// (start, quantity), a command frame (read quantity), registers (how many, value).

namespace zelq::fuzz {

namespace {

constexpr unsigned kMostRead = 125;
constexpr unsigned kMostWritten = 121;

/// A frame as it was asked for.
struct Wanted
{
    std::uint8_t function;
    std::uint16_t start;
    std::uint16_t quantity;
    std::vector<std::uint16_t> written;

    [[nodiscard]] bool Valid() const
    {
        if (function == kReadRegisters) return quantity >= 1 && quantity <= kMostRead;
        return !written.empty() && written.size() <= kMostWritten;
    }
};

void PutWord(Bytes& bytes, std::size_t value)
{
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

/// How it must travel, with transaction id 0.
Bytes Encoded(const Wanted& wanted)
{
    Bytes body{kUnitId, wanted.function};
    PutWord(body, wanted.start);
    PutWord(body, wanted.quantity);
    if (wanted.function == kReadWriteRegisters) {
        PutWord(body, 0);
        PutWord(body, wanted.written.size());
        body.push_back(static_cast<std::uint8_t>(2 * wanted.written.size()));
        for (const std::uint16_t value : wanted.written) {
            PutWord(body, value);
        }
    }
    Bytes frame{0, 0, 0, 0};
    PutWord(frame, body.size());
    frame.insert(frame.end(), body.begin(), body.end());
    return frame;
}

void Append(RequestBuffer& request, std::vector<Wanted>& wanted, unsigned count,
            std::uint16_t value)
{
    for (; count > 0 && !wanted.empty(); --count) {
        request.AppendRegister(value);
        if (wanted.back().function == kReadWriteRegisters) wanted.back().written.push_back(value);
    }
}

/// Takes the steps until the input is at its end or a frame has found no room.
std::vector<Wanted> Build(RequestBuffer& request, Input& input)
{
    std::vector<Wanted> wanted;
    while (!input.AtEnd() && !request.Overflowed()) {
        switch (input.Next() & 3U) {
        case 0: {
            const std::uint16_t start = input.NextWord();
            const std::uint16_t quantity = input.Next();
            const bool added = request.StartReadFrame(start, quantity);
            Require(added || request.Overflowed() || !wanted.empty(), "there is room at first");
            if (!request.Overflowed()) wanted.push_back({kReadRegisters, start, quantity, {}});
            break;
        }
        case 1: {
            const std::uint16_t quantity = input.Next();
            request.StartCommandFrame(quantity);
            wanted.push_back({kReadWriteRegisters, kResultRegister, quantity, {}});
            break;
        }
        case 2:
            Append(request, wanted, input.Next(), input.NextWord());
            break;
        default:
            Append(request, wanted, 1, input.NextWord());
            break;
        }
    }
    return wanted;
}

/// What will be sent are the frames that were asked for, up to the first that must not be sent.
void Check(Input input)
{
    RequestBuffer request;
    const std::vector<Wanted> wanted = Build(request, input);
    if (request.Overflowed()) return; // and so will not be sent
    Bytes wire(request.Bytes().begin(), request.Bytes().end());
    std::size_t at = 0;
    for (const Wanted& frame : wanted) {
        const std::size_t size = ValidateFrame(std::span(wire).subspan(at), true);
        Require((size != 0) == frame.Valid(), "a frame within its limits is valid");
        if (size == 0) return;
        const Bytes sent(wire.begin() + static_cast<std::ptrdiff_t>(at),
                         wire.begin() + static_cast<std::ptrdiff_t>(at + size));
        Require(sent == Encoded(frame), "a frame travels as it was asked for");
        at += size;
    }
    Require(ValidateFrame(std::span(wire).subspan(at), false) == 0, "no frame behind the last");
}

} // namespace

} // namespace zelq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zelq::fuzz::Check(zelq::fuzz::Input(data, size));
    return 0;
}
