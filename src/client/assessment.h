// What a packet that arrived is worth: the reply, or one of several that are not. Internal to the layer.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "quarn/client/conversation.h"
#include "quarn/client/judgement.h"
#include "quarn/client/transport.h"
#include "quarn/net/address.h"
#include "quarn/radius/dictionary.h"

namespace quarn::client {

/// A packet that arrived, and what it is.
struct Assessed {
    ReceivedPacket packet;
    Judgement judgement;
    Duration round_trip;

    /// How telling the packet is: of several that are no reply, the one with the highest rank stands. Bytes
    /// from another address than the server's have rank 0, unless they are authentic: they say nothing of the
    /// server.
    int rank;

    bool is_trusted() const { return judgement.is_trusted(); }

    /// One sentence that says that the packet was not accepted, and why.
    std::string refusal_text() const;
};

/// Judges a packet that arrived after `round_trip`. It is trusted when it is authentic, answers the request
/// and came from the server's address.
Assessed assess(const ReceivedPacket& packet, const net::Address& server, const Ask& ask, Duration round_trip,
                std::string_view secret,
                const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary,
                RequireMessageAuthenticator requirement);

}  // namespace quarn::client
