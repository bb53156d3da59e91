// The one network library of simulator, tool and tests: sockets, timers, signals.
#pragma once

#include <utility> // ahead of Asio, whose coroutines use it without a word

#include <boost/asio.hpp>

namespace asio = boost::asio;

using ErrorCode = boost::system::error_code;
using NetworkError = boost::system::system_error;
