// HTTP and WebSocket as client and server use them.
#pragma once

#include "network.h"

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

namespace web {

namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using asio::ip::tcp;

/// Awaits, with the error given there in place of thrown.
inline asio::redirect_error_t<asio::use_awaitable_t<>> Into(ErrorCode& error)
{
    return {asio::use_awaitable, error};
}

} // namespace web
