#pragma once

#include "support/scripted_controller.h"
#include "transport/reply.h"
#include "transport/request.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace zelq::test {

/// Gives the frames the ids 1, 2, 3 ... as the engine does.
inline RequestBuffer Numbered(RequestBuffer request, std::uint16_t first = 1)
{
    request.Finish();
    request.Number(first);
    return request;
}

/// The reply to a read, or to a command whose first word is its result.
inline Bytes RegistersReply(std::uint16_t id, std::uint8_t function, const Words& words)
{
    Bytes body{static_cast<std::uint8_t>(2 * words.size())};
    for (const std::uint16_t word : words) {
        body.push_back(static_cast<std::uint8_t>(word >> 8));
        body.push_back(static_cast<std::uint8_t>(word));
    }
    return FrameBytes(id, function, body);
}

inline Bytes WriteReply(std::uint16_t id, std::uint16_t quantity)
{
    return FrameBytes(
        id, kWriteRegisters,
        {0, 0, static_cast<std::uint8_t>(quantity >> 8), static_cast<std::uint8_t>(quantity)});
}

/// An exception that carries the controller's error code.
inline Bytes ExceptionReply(std::uint16_t id, unsigned function, std::uint16_t errorCode)
{
    return FrameBytes(
        id, static_cast<std::uint8_t>(function | kExceptionBit),
        {3, static_cast<std::uint8_t>(errorCode >> 8), static_cast<std::uint8_t>(errorCode)});
}

/// The same bytes with one of them changed.
inline Bytes With(Bytes bytes, std::size_t at, std::uint8_t value)
{
    bytes.at(at) = value;
    return bytes;
}

inline Bytes Joined(std::initializer_list<Bytes> parts)
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
    Words words;
    ReplyReader reader(data);
    for (std::uint16_t word = 0; reader.Read(word);) {
        words.push_back(word);
    }
    return words;
}

} // namespace zelq::test
