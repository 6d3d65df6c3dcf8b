// The addresses of the routes of a job, resolved all at once. Internal to the layer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "quarn/client/conversation.h"
#include "quarn/client/network.h"
#include "quarn/net/address.h"
#include "quarn/net/resolve.h"

namespace quarn::client {

/// Most addresses of a name that are tried: whoever answers for a name could have passwords sent to hundreds.
inline constexpr std::size_t max_addresses = 16;

/// The addresses of one route.
class RouteAddresses {
  public:
    explicit RouteAddresses(net::Resolved resolved) : resolved_(std::move(resolved)) {}

    /// Why there are none; null when there are.
    const net::ResolveError* error() const { return resolved_ ? nullptr : &resolved_.error(); }

    /// Where to send, with this port: each address once, the preferred one first, then in the resolver's
    /// order, `max_addresses` at most. There is no error.
    std::vector<net::Address> with_port(std::uint16_t port) const;

    /// How many addresses `with_port` leaves out.
    std::size_t left_out() const;

    /// This address answered: it comes first from now on, whatever the port.
    void prefer(const net::Address& address) { preferred_ = address.with_port(0); }

  private:
    std::vector<net::Address> distinct() const;

    net::Resolved resolved_;
    std::optional<net::Address> preferred_;
};

/// Resolves the servers of all routes, at the same time, until the deadline at the latest.
std::vector<RouteAddresses> resolve_routes(std::span<const Route> routes, TimePoint deadline,
                                           Network& network);

}  // namespace quarn::client
