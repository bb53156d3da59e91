#pragma once

#include "support/scripted_controller.h"
#include "transport/reply.h"
#include "transport/request.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace zelq::test {

/// Reads of two registers each.
inline RequestBuffer Reads(int frames, std::uint16_t start = 0x0138)
{
    RequestBuffer request;
    for (int i = 0; i < frames; ++i) {
        request.StartReadFrame(start, 2);
    }
    return request;
}

/// Commands that write so many registers each, behind what is asked for already.
inline RequestBuffer Commands(std::initializer_list<int> registers, std::uint16_t readQuantity = 1,
                              RequestBuffer request = {})
{
    for (const int count : registers) {
        request.StartCommandFrame(readQuantity);
        for (int i = 0; i < count; ++i) {
            request.AppendRegister(7);
        }
    }
    return request;
}

/// Gives the frames the ids from `first` on as the engine does.
inline RequestBuffer Numbered(RequestBuffer request, std::uint16_t first = 1)
{
    request.Finish();
    request.Number(first);
    return request;
}

inline Bytes ReadReply(std::uint16_t id, const Words& words, std::uint8_t function = kReadRegisters)
{
    Bytes body{static_cast<std::uint8_t>(2 * words.size())};
    for (const std::uint16_t word : words) {
        body.push_back(static_cast<std::uint8_t>(word >> 8));
        body.push_back(static_cast<std::uint8_t>(word));
    }
    return FrameBytes(id, function, body);
}

/// The reply to a command, whose first word is its result.
inline Bytes CommandReply(std::uint16_t id, const Words& words = {0})
{
    return ReadReply(id, words, kReadWriteRegisters);
}

/// The same bytes with one of them changed.
inline Bytes With(Bytes bytes, std::size_t at, unsigned value)
{
    bytes.at(at) = static_cast<std::uint8_t>(value);
    return bytes;
}

inline Bytes Joined(const std::vector<Bytes>& parts)
{
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

/// The registers that a call has collected.
inline Words DataWords(const ReplyData& data)
{
    Words words(data.Bytes().size() / 2);
    ReplyReader reader(data);
    bool right = true;
    for (std::uint16_t& word : words) {
        right = right && reader.Read(word);
    }
    return right ? words : Words();
}

} // namespace zelq::test
