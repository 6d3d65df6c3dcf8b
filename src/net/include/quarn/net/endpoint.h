// A server as somebody typed it: a name or an address, with or without a port.
//
//     const auto server = parse_endpoint("radius.example.net:1645");
//     if (!server) {
//         report(server.error().message);
//     } else {
//         resolve(server->host, server->port.value_or(1812), {});
//     }
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/utils/result.h"

namespace quarn::net {

/// A host and, when one was typed, a port.
struct Endpoint {
    std::string host;                        ///< a name, or a numeric address without brackets; never empty
    std::optional<std::uint16_t> port = {};  ///< 1 to 65535, in host order

    bool operator==(const Endpoint&) const = default;
};

/// Why a text is no endpoint.
struct EndpointError {
    std::string message;  ///< one of the texts that `parse_endpoint` lists, without the text typed

    bool operator==(const EndpointError&) const = default;
};

/// Reads "name", "name:1812", "10.0.0.1:1812", "::1", "[::1]", "[::1]:1812" and "fe80::1%eth0". Nothing is
/// resolved, and a scope's interface need not exist. The errors:
///
///     "no host"
///     "blank or control character in the host"
///     "no port after the last colon"
///     "port is not a number from 1 to 65535"
///     "no closing bracket"
///     "only a port may follow the closing bracket"
///     "not an IPv6 address in brackets"
///     "not an IPv6 address; a port follows one in brackets: [ADDRESS]:PORT"    two colons or more
utils::Result<Endpoint, EndpointError> parse_endpoint(std::string_view text);

}  // namespace quarn::net
