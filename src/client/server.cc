#include "quarn/client/server.h"

#include <algorithm>
#include <array>
#include <utility>

#include "quarn/net/endpoint.h"
#include "quarn/radius/packet_code.h"
#include "quarn/utils/case_insensitive.h"

namespace quarn::client {

namespace {

struct TransportRow {
    TransportKind kind;
    std::string_view name;
};

constexpr std::array transports = std::to_array<TransportRow>({
    {TransportKind::Udp, "udp"},
    {TransportKind::Tcp, "tcp"},
});

}  // namespace

std::string_view transport_name(TransportKind kind) {
    return transports[static_cast<std::size_t>(kind)].name;
}

utils::Result<Server, ServerError> parse_server(std::string_view text) {
    constexpr std::string_view end_of_scheme = "://";
    Server server{.text = std::string(text), .host = {}};
    std::string_view rest = text;
    if (const std::size_t colon = text.find(end_of_scheme); colon != text.npos) {
        const auto* const row =
            std::find_if(transports.begin(), transports.end(), [&](const TransportRow& transport) {
                return utils::CaseInsensitiveEqual{}(transport.name, text.substr(0, colon));
            });
        if (row == transports.end()) {
            return ServerError{"unknown transport before \"://\" (udp, tcp)"};
        }
        server.transport = row->kind;
        rest = text.substr(colon + end_of_scheme.size());
    }
    auto endpoint = net::parse_endpoint(rest);
    if (!endpoint) {
        return ServerError{endpoint.error().message};
    }
    server.host = std::move(endpoint->host);
    server.port = endpoint->port;
    return server;
}

std::uint16_t default_port(std::uint8_t code) {
    switch (code) {
        case subscriber::radius::ACCOUNTING_REQUEST:
            return 1813;
        case subscriber::radius::DISCONNECT_REQUEST:
        case subscriber::radius::COA_REQUEST:
            return 3799;
        default:
            return 1812;
    }
}

}  // namespace quarn::client
