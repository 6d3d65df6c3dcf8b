// A request that is ready to be sent.
//
//     const EncodedRequest request = encode_request(packet, "testing123");
//     transport.send(request.datagram());
//     ... decode_reply(received, request, "testing123", dictionary) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "quarn/radius/authenticator.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/parse_issue.h"
#include "quarn/utils/bytes.h"

namespace quarn::client {

/// The smallest packet is a header alone: this many bytes (RFC 2865, section 3).
inline constexpr std::size_t min_packet_size = 20;

/// The bytes of a request, and the fields on which its reply depends. A plain value; one that was moved from
/// may only be assigned to or destroyed. The datagram holds passwords in the hidden form in which everybody
/// on the way may see them.
class EncodedRequest {
  public:
    /// Takes over a datagram, and what the encoder had to say of it. Only the header is looked at, but not
    /// its Length. Throws `std::invalid_argument` "EncodedRequest: fewer than 20 bytes".
    explicit EncodedRequest(utils::Bytes datagram, std::vector<subscriber::radius::ParseIssue> issues = {});

    utils::byte_span datagram() const { return datagram_; }   ///< the bytes to send, valid as long as this
    std::uint8_t code() const { return datagram_[0]; }        ///< such as `ACCESS_REQUEST`
    std::uint8_t identifier() const { return datagram_[1]; }  ///< the one that a reply repeats

    /// The Request Authenticator as it is sent: the one that the encoder was given, chose or computed.
    const subscriber::radius::Authenticator& authenticator() const { return authenticator_; }

    /// The encoder's report: values that had to be truncated.
    const std::vector<subscriber::radius::ParseIssue>& issues() const { return issues_; }

    bool operator==(const EncodedRequest&) const = default;

  private:
    utils::Bytes datagram_;
    subscriber::radius::Authenticator authenticator_{};
    std::vector<subscriber::radius::ParseIssue> issues_;
};

/// Encodes a packet as `pkt_dump` does. An Access-Request whose `authenticator` is all zero gets a random
/// one; Accounting-, Disconnect- and CoA-Requests get the digest that they need. Throws `std::runtime_error`
/// when random bytes are needed and there are none.
EncodedRequest encode_request(const subscriber::radius::RadiusPacket& packet, std::string_view secret);

}  // namespace quarn::client
