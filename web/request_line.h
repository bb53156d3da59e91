// What stands in a request's first line and in the headers that say where it comes from.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace web {

// "/a/b?x=1&y" as path and query, with %XX and + turned back.
struct Target
{
    std::string path;
    std::map<std::string, std::string, std::less<>> query;
};
Target ParseTarget(std::string_view text);

// Whether a request with this Host header means a server that listens at `address`: by a loopback
// address or "localhost", or by the address itself. Who listens everywhere is known by any address,
// but by no name: a stranger's name may lead here, too.
bool HostIsOwn(std::string_view host, const std::string& address);

// A browser names the page that a request comes from; no page but the server's own may send one.
bool OriginIsOwn(std::string_view origin, std::string_view host);

} // namespace web
