// A server as somebody typed it: how to talk to it, its name or address, and its port.
//
//     const auto server = parse_server("tcp://[::1]:1812");
//     if (!server) {
//         return usage(server.error().message);
//     }
//     server->transport;                                         // TransportKind::Tcp
//     server->port.value_or(default_port(ACCOUNTING_REQUEST));   // 1812; 1813 if none had been typed
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/utils/result.h"

namespace quarn::client {

/// How packets travel.
enum class TransportKind : std::uint8_t {
    Udp,  ///< RFC 2865
    Tcp,  ///< RFC 6613
};

/// "udp" or "tcp": the scheme before "://", and the word for programs.
std::string_view transport_name(TransportKind kind);

/// A server, not yet resolved.
struct Server {
    std::string text;                              ///< as it was typed
    std::string host;                              ///< a name, or a numeric address without brackets
    std::optional<std::uint16_t> port = {};        ///< 1 to 65535; nothing when none was typed
    TransportKind transport = TransportKind::Udp;  ///< UDP unless a scheme said otherwise

    /// Member by member.
    bool operator==(const Server&) const = default;
};

/// Why a text is no server.
struct ServerError {
    std::string message;  ///< without the text typed

    /// Member by member.
    bool operator==(const ServerError&) const = default;
};

/// Reads "udp://" or "tcp://", case not mattering, or no scheme, and then what `net::parse_endpoint` reads.
/// Nothing is resolved. The errors are those of `net::parse_endpoint` and
///
///     "unknown transport before \"://\" (udp, tcp)"
utils::Result<Server, ServerError> parse_server(std::string_view text);

/// The port that servers listen on for requests of this code, over UDP and TCP alike: 1813 for
/// Accounting-Request (RFC 2866, section 3), 3799 for Disconnect- and CoA-Request (RFC 5176, section 2.1),
/// else 1812 (RFC 2865, section 3).
std::uint16_t default_port(std::uint8_t code);

}  // namespace quarn::client
