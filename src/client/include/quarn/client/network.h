// Everything that a conversation needs of the world outside: time, names, transports, and waiting.
//
//     SystemNetwork network;
//     const auto conversations = converse(job, secret, dictionary, {}, network);
//
// A test hands in a network of its own, with a clock that stands still and transports that follow a script.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "quarn/client/server.h"
#include "quarn/client/transport.h"
#include "quarn/net/address.h"
#include "quarn/net/resolve.h"
#include "quarn/net/udp_socket.h"
#include "quarn/utils/result.h"

namespace quarn::client {

/// What a transport is opened with.
struct TransportOptions {
    TransportKind kind = TransportKind::Udp;
    std::optional<net::Address> source = {};  ///< bound to; port 0 leaves the port to the kernel
    std::string interface = {};               ///< the only network interface to use; empty: any
};

/// The world outside.
class Network {
  public:
    Network() = default;
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;
    virtual ~Network() = default;

    virtual TimePoint now() = 0;  ///< the time; never goes back

    /// Resolves all hosts at the same time: an answer each, in order. Gives up at the deadline with the code
    /// `EAI_AGAIN` and the system error `ETIMEDOUT`.
    virtual std::vector<net::Resolved> resolve(std::span<const net::ResolveQuestion> questions,
                                               TimePoint deadline) = 0;

    /// Opens a transport to an address. A connection need not be there yet: `receive` tells of its failure.
    virtual utils::Result<std::unique_ptr<PollableTransport>, net::OpenError> open(
        const net::Address& server, const TransportOptions& options) = 0;

    /// Waits until one of the transports may have something to do, or the time has come. Returns the places
    /// of those transports in the list. May return early.
    virtual std::vector<std::size_t> wait(std::span<PollableTransport* const> transports,
                                          TimePoint deadline) = 0;
};

/// This machine's network: UDP sockets that are not connected and read their error queue, TCP connections
/// that are made without blocking, the system's resolver with a deadline. Numeric addresses are resolved at
/// once, without a thread.
class SystemNetwork : public Network {
  public:
    TimePoint now() override;
    std::vector<net::Resolved> resolve(std::span<const net::ResolveQuestion> questions,
                                       TimePoint deadline) override;
    utils::Result<std::unique_ptr<PollableTransport>, net::OpenError> open(
        const net::Address& server, const TransportOptions& options) override;
    std::vector<std::size_t> wait(std::span<PollableTransport* const> transports,
                                  TimePoint deadline) override;
};

}  // namespace quarn::client
