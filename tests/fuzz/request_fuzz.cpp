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

/// How it must travel.
Bytes Encoded(const Wanted& wanted, std::size_t id)
{
    Bytes body;
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
    return Frame(id, kUnitId, wanted.function, body);
}

/// Takes the steps until the input is at its end or a frame has found no room.
std::vector<Wanted> Build(RequestBuffer& request, Input& input)
{
    std::vector<Wanted> wanted;
    while (!input.AtEnd() && !request.TooLong()) {
        const unsigned step = input.Next() & 3U;
        if (step == 0) {
            const std::uint16_t start = input.NextWord();
            const std::uint16_t quantity = input.Next();
            request.StartReadFrame(start, quantity);
            if (!request.TooLong()) wanted.push_back({kReadRegisters, start, quantity, {}});
            continue;
        }
        if (step == 1) {
            wanted.push_back({kReadWriteRegisters, kResultRegister, input.Next(), {}});
            request.StartCommandFrame(wanted.back().quantity);
            continue;
        }
        const unsigned count = step == 2 ? input.Next() : 1;
        const std::uint16_t value = input.NextWord();
        for (unsigned i = 0; i < count && !wanted.empty(); ++i) {
            request.AppendRegister(value);
            if (wanted.back().function == kReadWriteRegisters)
                wanted.back().written.push_back(value);
        }
    }
    return wanted;
}

} // namespace

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
        Append(expected, Encoded(wanted[frames], kFirstId + frames));
        ++frames;
    }
    Require(request.Frames() == frames, "frames within their limits are valid");
    Require(std::ranges::equal(request.Bytes(), expected), "they travel as they were asked for");
}

} // namespace zelq::fuzz
