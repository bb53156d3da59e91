#pragma once

#include "transport/reply.h"

namespace zelq {

// What comes back from a command: its result, which is never taken for data, then the data.

inline ReplyReader DataOf(const ReplyData& reply)
{
    ReplyReader reader(reply);
    reader.SkipResult();
    return reader;
}

/// Reads single values, in order; false where the data end before the last of them.
template <typename... Values>
[[nodiscard]] bool ReadData(const ReplyData& reply, Values&... values)
{
    ReplyReader reader = DataOf(reply);
    return (reader.Read(values) && ...);
}

/// Reads `count` values; those in front of the first missing one are stored.
template <typename Value>
[[nodiscard]] bool ReadValues(const ReplyData& reply, Value* values, int count)
{
    ReplyReader reader = DataOf(reply);
    for (int i = 0; i < count; ++i) {
        if (!reader.Read(values[i])) return false;
    }
    return true;
}

} // namespace zelq
