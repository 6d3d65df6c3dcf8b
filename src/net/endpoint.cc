#include "quarn/net/endpoint.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <utility>

#include "quarn/utils/text.h"

namespace quarn::net {

namespace {

using Parsed = utils::Result<Endpoint, EndpointError>;

EndpointError error(const char* message) {
    return {message};
}

bool is_blank_or_control(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte <= ' ' || byte == 0x7f;
}

/// Whether the text is a numeric IPv6 address, with or without a scope. The scope's interface may be any, but
/// no interface has a colon in its name: a colon there is the one before a port.
bool is_ipv6(std::string_view text) {
    const std::size_t percent = text.find('%');
    if (percent != text.npos && (percent + 1 == text.size() || text.find(':', percent) != text.npos)) {
        return false;
    }
    in6_addr address{};
    return inet_pton(AF_INET6, std::string(text.substr(0, percent)).c_str(), &address) == 1;
}

/// A host followed by `rest`, which is empty or begins with the colon before the port.
Parsed with_port(std::string_view host, std::string_view rest) {
    Endpoint endpoint{std::string(host)};
    if (rest.empty()) {
        return endpoint;
    }
    const std::string_view digits = rest.substr(1);
    if (digits.empty()) {
        return error("no port after the last colon");
    }
    endpoint.port = utils::parse_decimal<std::uint16_t>(digits);
    if (endpoint.port.value_or(0) == 0) {
        return error("port is not a number from 1 to 65535");
    }
    return endpoint;
}

Parsed parse_bracketed(std::string_view text) {
    const std::size_t close = text.find(']');
    if (close == text.npos) {
        return error("no closing bracket");
    }
    const std::string_view rest = text.substr(close + 1);
    if (!rest.empty() && !rest.starts_with(':')) {
        return error("only a port may follow the closing bracket");
    }
    const std::string_view host = text.substr(1, close - 1);
    if (!is_ipv6(host)) {
        return error("not an IPv6 address in brackets");
    }
    return with_port(host, rest);
}

}  // namespace

Parsed parse_endpoint(std::string_view text) {
    if (std::any_of(text.begin(), text.end(), is_blank_or_control)) {
        return error("blank or control character in the host");
    }
    if (text.starts_with('[')) {
        return parse_bracketed(text);
    }
    const auto colons = std::count(text.begin(), text.end(), ':');
    if (colons > 1) {
        if (!is_ipv6(text)) {
            return error("not an IPv6 address; a port follows one in brackets: [ADDRESS]:PORT");
        }
        return Endpoint{std::string(text)};
    }
    const std::size_t colon = std::min(text.find(':'), text.size());
    if (colon == 0) {
        return error("no host");
    }
    return with_port(text.substr(0, colon), text.substr(colon));
}

}  // namespace quarn::net
