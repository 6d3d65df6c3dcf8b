// From a host's name to its addresses.
//
//     const auto addresses = resolve("radius.example.net", 1812, {.family = Family::IPv4});
//     if (!addresses) {
//         report(addresses.error().text());
//     }
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/net/address.h"
#include "quarn/utils/result.h"

namespace quarn::net {

/// The kind of socket that an address is for.
enum class SocketType { Datagram, Stream };

/// Which addresses are wanted.
struct ResolveOptions {
    std::optional<Family> family = {};              ///< nothing: both
    SocketType socket_type = SocketType::Datagram;  ///< what the addresses are for
};

/// Why a name has no addresses.
struct ResolveError {
    int code = 0;          ///< of `getaddrinfo`, such as EAI_NONAME
    int system_error = 0;  ///< an errno value when the code is EAI_SYSTEM, else 0

    /// The text of `gai_strerror` for the code.
    std::string text() const;

    bool operator==(const ResolveError&) const = default;
};

/// All addresses of a host in the resolver's order, at least one, each with the port. The host is a name or a
/// numeric address without brackets. Asks the system's resolver, which may take as long as its own time-outs.
utils::Result<std::vector<Address>, ResolveError> resolve(std::string_view host, std::uint16_t port,
                                                          const ResolveOptions& options);

/// A host whose addresses are wanted.
struct ResolveQuestion {
    std::string host;  ///< a name or a numeric address without brackets
    std::uint16_t port = 0;
    ResolveOptions options = {};
};

/// The addresses of hosts, or why one has none.
using Resolved = utils::Result<std::vector<Address>, ResolveError>;

/// Resolves all hosts at the same time. Returns an answer each, in order. Gives up when the time is over,
/// with the code EAI_AGAIN and the system error ETIMEDOUT for each host that is still without an answer.
/// Numeric addresses are read at once. A name is resolved by a thread of its own, which goes on in the
/// background when it is given up, and holds nothing but memory of its own.
std::vector<Resolved> resolve_within(std::span<const ResolveQuestion> questions,
                                     std::chrono::nanoseconds time);

}  // namespace quarn::net
