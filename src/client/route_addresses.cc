#include "route_addresses.h"

#include <algorithm>
#include <utility>

namespace quarn::client {

namespace {

/// A packet for any address of this machine goes to the loopback one, and is answered from there.
net::Address reachable(const net::Address& address) {
    if (!address.is_any()) {
        return address;
    }
    return *net::Address::parse(address.family() == net::Family::IPv4 ? "127.0.0.1" : "::1", address.port());
}

net::ResolveQuestion question_for(const Route& route) {
    std::optional<net::Family> family = route.family;
    if (!family && route.source) {
        family = route.source->family();
    }
    const bool is_stream = route.server.transport == TransportKind::Tcp;
    return {.host = route.server.host,
            .options = {.family = family,
                        .socket_type = is_stream ? net::SocketType::Stream : net::SocketType::Datagram}};
}

}  // namespace

std::vector<net::Address> RouteAddresses::distinct() const {
    std::vector<net::Address> addresses;
    for (const net::Address& resolved : *resolved_) {
        const net::Address address = reachable(resolved);
        if (std::find(addresses.begin(), addresses.end(), address) == addresses.end()) {
            addresses.push_back(address);
        }
    }
    return addresses;
}

std::vector<net::Address> RouteAddresses::with_port(std::uint16_t port) const {
    std::vector<net::Address> addresses = distinct();
    addresses.resize(std::min(addresses.size(), max_addresses));
    if (preferred_) {
        const auto preferred = std::find(addresses.begin(), addresses.end(), *preferred_);
        if (preferred != addresses.end()) {
            std::rotate(addresses.begin(), preferred, preferred + 1);
        }
    }
    for (net::Address& address : addresses) {
        address = address.with_port(port);
    }
    return addresses;
}

std::size_t RouteAddresses::left_out() const {
    const std::size_t count = distinct().size();
    return count - std::min(count, max_addresses);
}

std::vector<RouteAddresses> resolve_routes(std::span<const Route> routes, TimePoint deadline,
                                           Network& network) {
    std::vector<net::ResolveQuestion> questions;
    questions.reserve(routes.size());
    for (const Route& route : routes) {
        questions.push_back(question_for(route));
    }
    std::vector<RouteAddresses> addresses;
    addresses.reserve(routes.size());
    for (net::Resolved& resolved : network.resolve(questions, deadline)) {
        addresses.emplace_back(std::move(resolved));
    }
    return addresses;
}

}  // namespace quarn::client
