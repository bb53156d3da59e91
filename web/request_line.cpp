#include "request_line.h"

#include "network.h"

#include <charconv>

namespace web {

namespace {

std::string Decoded(std::string_view text)
{
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned value = 0;
        const char* digits = text.data() + at + 1;
        if (text[at] == '%' && at + 2 < text.size() &&
            std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
            decoded += static_cast<char>(value);
            at += 2;
        } else {
            decoded += text[at] == '+' ? ' ' : text[at];
        }
    }
    return decoded;
}

// "127.0.0.1:8080" and "[::1]:8080" without their ports.
std::string WithoutPort(std::string_view host)
{
    if (host.starts_with('[')) return std::string(host.substr(1, host.find(']') - 1));
    return std::string(host.substr(0, host.find(':')));
}

} // namespace

Target ParseTarget(std::string_view text)
{
    const std::size_t question = text.find('?');
    Target target{Decoded(text.substr(0, question)), {}};
    if (question == std::string_view::npos) return target;
    for (std::string_view rest = text.substr(question + 1); !rest.empty();) {
        const std::string_view pair = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(pair.size() + 1, rest.size()));
        const std::size_t equals = std::min(pair.find('='), pair.size());
        const std::size_t value = std::min(equals + 1, pair.size());
        target.query[Decoded(pair.substr(0, equals))] = Decoded(pair.substr(value));
    }
    return target;
}

bool HostIsOwn(std::string_view host, const std::string& address)
{
    const std::string name = WithoutPort(host);
    ErrorCode noAddress;
    const asio::ip::address asked = asio::ip::make_address(name, noAddress);
    if (noAddress) return name == "localhost";
    const asio::ip::address own = asio::ip::make_address(address);
    return asked.is_loopback() || own.is_unspecified() || asked == own;
}

bool OriginIsOwn(std::string_view origin, std::string_view host)
{
    return origin == "http://" + std::string(host);
}

} // namespace web
