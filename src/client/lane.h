// Transports that requests to one server use one after the other. Internal to the layer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "quarn/client/conversation.h"
#include "quarn/client/network.h"
#include "quarn/client/note.h"
#include "quarn/client/request.h"
#include "quarn/client/transport.h"
#include "quarn/net/address.h"
#include "quarn/radius/authenticator.h"
#include "quarn/utils/result.h"

namespace quarn::client {

/// A transport to one address, and what was sent over it so far.
class Lane {
  public:
    Lane(std::size_t route, const net::Address& address, std::unique_ptr<PollableTransport> transport);

    std::size_t route() const { return route_; }  ///< the number of the route that it belongs to
    const net::Address& address() const { return address_; }
    PollableTransport& transport() { return *transport_; }

    /// Whether a request was made on it before.
    bool is_used() const { return !past_.empty(); }

    /// The request was made, and is over.
    void remember(const EncodedRequest& request, bool is_answered);

    /// A note when the packet answers an earlier request of this lane, and not the present one: a late reply,
    /// or a second one.
    std::optional<Note> earlier_reply(const ReceivedPacket& received, const EncodedRequest& present,
                                      std::string_view secret) const;

  private:
    /// A request that was made earlier: as much of it as its replies are verified with.
    struct PastRequest {
        std::uint8_t identifier;
        subscriber::radius::Authenticator authenticator;
        bool is_answered;
    };

    std::size_t route_;
    net::Address address_;
    std::unique_ptr<PollableTransport> transport_;
    std::deque<PastRequest> past_;  // the newest last, one for each Identifier at most
};

/// The lanes that no request uses at the moment.
class IdleLanes {
  public:
    explicit IdleLanes(Network& network) : network_(network) {}

    /// An idle lane of the route to the address, or a new one. What has arrived on an idle lane cannot answer
    /// a request that was not sent yet: it is thrown away, and noted where it answers an earlier one.
    utils::Result<std::unique_ptr<Lane>, net::OpenError> take(std::size_t number, const Route& route,
                                                              const net::Address& address,
                                                              const EncodedRequest& request,
                                                              std::string_view secret,
                                                              std::vector<Note>& notes);

    void give_back(std::unique_ptr<Lane> lane) { lanes_.push_back(std::move(lane)); }

  private:
    std::unique_ptr<Lane> take_idle(std::size_t number, const net::Address& address);
    utils::Result<std::unique_ptr<Lane>, net::OpenError> open(std::size_t number, const Route& route,
                                                              const net::Address& address);

    Network& network_;
    std::vector<std::unique_ptr<Lane>> lanes_;
};

/// Whether a transport could not be opened because there are too many, or because another one has the port.
bool is_shortage(const net::OpenError& error);

}  // namespace quarn::client
