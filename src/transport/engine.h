#pragma once

#include "transport/reply.h"
#include "transport/request.h"

#include <cstdint>

namespace zelq {

class DeviceSession;

/// Waits of one call in milliseconds; 0 stands for the session's own.
struct ExchangeTimes
{
    std::uint32_t send = 0;
    std::uint32_t receive = 0;
};

/// What a call has to do to the session once it has succeeded, before the next call's turn. Refers
/// to a function object of the caller's.
class TurnAction
{
  public:
    TurnAction() = default;
    template <typename Function>
    explicit TurnAction(const Function& function)
        : object_(&function), call_([](const void* object, DeviceSession& session) {
              (*static_cast<const Function*>(object))(session);
          })
    {}

    void operator()(DeviceSession& session) const
    {
        if (call_ != nullptr) call_(object_, session);
    }

  private:
    const void* object_ = nullptr;
    void (*call_)(const void*, DeviceSession&) = nullptr;
};

/// The one path to a controller: numbers the frames of `request`, takes the turn, sends them in one
/// piece over the controller's connection, pairs the replies with them and collects their data in
/// `reply`, which may be null. With kAllControllers in place of a controller's number the one frame
/// goes to everyone whom the open discovery reaches, and all their answers are collected.
///
/// A lost reply makes the engine connect and send again, up to three times in all: a controller
/// that executed the command the first time executes it once more.
///
/// Returns 0, a code of the library, or the controller's own result (16 bits, not sign-extended).
int TransactFrames(short zelNo, RequestBuffer& request, ReplyData* reply = nullptr,
                   ExchangeTimes times = {}, TurnAction onSuccess = {});

} // namespace zelq
