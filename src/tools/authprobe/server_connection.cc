#include "authprobe/server_connection.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "authprobe/client_error.h"
#include "quarn/net/address.h"
#include "quarn/net/resolve.h"

namespace quarn::authprobe {

namespace {

constexpr std::size_t max_datagram_size = 4096;  // RFC 2865, section 3

net::Address resolve_server(const ClientSettings& settings) {
    const auto addresses = net::resolve(settings.server, settings.server_port, {.family = net::Family::IPv4});
    if (!addresses) {
        throw ClientError("authprobe: cannot resolve \"" + settings.server +
                          "\": " + addresses.error().text() + "\n");
    }
    return addresses->front();
}

/// A dotted quad; nothing for any other text.
std::optional<net::Address> parse_source(const std::string& text) {
    const auto address = net::Address::parse(text, 0);
    return address && address->family() == net::Family::IPv4 ? address : std::nullopt;
}

[[noreturn]] void fail_to_open(const net::OpenError& error) {
    switch (error.step) {
        case net::OpenStep::Bind:
            throw SystemCallError("authprobe: bind (--source-ip must be a local address)", error.number);
        case net::OpenStep::Connect:
            throw SystemCallError("authprobe: connect", error.number);
        default:
            throw SystemCallError("authprobe: socket", error.number);
    }
}

client::UdpTransport open_transport(const ClientSettings& settings) {
    const net::Address server = resolve_server(settings);
    const auto source = parse_source(settings.source_ip);
    auto transport =
        client::UdpTransport::open(server, {.source = source, .max_datagram_size = max_datagram_size});
    // A malformed source address is told where it would have been bound to: when there is a socket.
    const bool has_socket = transport || transport.error().step != net::OpenStep::Socket;
    if (has_socket && !settings.source_ip.empty() && !source) {
        throw ClientError("authprobe: invalid --source-ip \"" + settings.source_ip + "\"\n");
    }
    if (!transport) {
        fail_to_open(transport.error());
    }
    return *std::move(transport);
}

}  // namespace

ServerConnection::ServerConnection(const ClientSettings& settings) : transport_(open_transport(settings)) {}

}  // namespace quarn::authprobe
