#include "fuzz/input.h"
#include "transport/request.h"

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

/// How it must travel.
Bytes Encoded(const Wanted& wanted, std::uint16_t id)
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
    Bytes frame;
    PutWord(frame, id);
    PutWord(frame, 0);
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
    while (!input.AtEnd() && !request.TooLong()) {
        switch (input.Next() & 3U) {
        case 0: {
            const std::uint16_t start = input.NextWord();
            const std::uint16_t quantity = input.Next();
            request.StartReadFrame(start, quantity);
            if (!request.TooLong()) wanted.push_back({kReadRegisters, start, quantity, {}});
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
    constexpr std::uint16_t kFirstId = 0xFFFE; // and round
    RequestBuffer request;
    const std::vector<Wanted> wanted = Build(request, input);
    request.Finish();
    request.Number(kFirstId);
    if (request.TooLong()) return; // and so will not be sent
    Bytes expected;
    std::size_t frames = 0;
    while (frames < wanted.size() && wanted[frames].Valid()) {
        const Bytes frame = Encoded(wanted[frames], static_cast<std::uint16_t>(kFirstId + frames));
        expected.insert(expected.end(), frame.begin(), frame.end());
        ++frames;
    }
    Require(request.Frames() == frames, "frames within their limits are valid");
    Require(std::ranges::equal(request.Bytes(), expected), "they travel as they were asked for");
}

} // namespace

} // namespace zelq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zelq::fuzz::Check(zelq::fuzz::Input(data, size));
    return 0;
}
