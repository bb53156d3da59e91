#pragma once

#include "transport/frame.h"

#include <cstdint>

namespace zelq {

/// Waits of one call in milliseconds; 0 stands for the session's own.
struct ExchangeTimes
{
    std::uint32_t send = 0;
    std::uint32_t receive = 0;
};

/// The one path to a controller: numbers the frames of `request`, sends them in one piece over
/// the controller's connection, pairs the replies with them and collects their data in `reply`,
/// which may be null. With kAllControllers in place of a controller's number the one frame goes to
/// everyone whom the open discovery reaches, and all their answers are collected.
///
/// A lost reply makes the engine connect and send again, up to three times in all: a controller
/// that executed the command the first time executes it once more.
///
/// Returns 0, a code of the library, or the controller's own result (16 bits, not sign-extended).
int TransactFrames(short zelNo, RequestBuffer& request, ReplyData* reply = nullptr,
                   ExchangeTimes times = {});

} // namespace zelq
