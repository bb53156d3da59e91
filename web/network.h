// The one network library of simulator, tool and tests: sockets, timers, signals.
#pragma once

// clang-format off
#include <utility> // Asio's coroutines use it without a word
#include <boost/asio.hpp>
// clang-format on

namespace asio = boost::asio;

using ErrorCode = boost::system::error_code;
using NetworkError = boost::system::system_error;

#ifdef _WIN32
// There it would let two programs share one port.
constexpr bool kReuseAddress = false;
#else
constexpr bool kReuseAddress = true;
#endif
