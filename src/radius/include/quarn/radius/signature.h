// The digests that sign packets, checked over the bytes as they were received.
//
//     if (verify_reply(datagram, request_authenticator, secret) == SignatureStatus::Valid) {
//         AttributeReader attributes(datagram);
//         ...
//     }
//
// A reply is signed by its Response Authenticator and, when it carries one, by its Message-Authenticator.
// Both cover the Request Authenticator, so that a reply fits one request only. All bytes given are covered,
// those after the packet's Length included, as in `RadiusPacket::validate`. A digest that cannot be computed
// fits nothing; comparisons take the same time whatever the bytes are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "quarn/radius/authenticator.h"

namespace quarn::subscriber::radius {

/// A copy of the Authenticator field of a packet of at least 20 bytes.
Authenticator authenticator_in(byte_span packet);

/// Whether the Authenticator field of a reply is MD5 over the reply with the Request Authenticator in that
/// field, followed by the secret (RFC 2865, section 3). With `ZERO16` for the Request Authenticator, the same
/// for an Accounting-, Disconnect- or CoA-Request (RFC 2866, section 3; RFC 5176, section 2.3). False for
/// fewer than 20 bytes.
bool response_authenticator_fits(byte_span reply, const Authenticator& request_authenticator,
                                 std::string_view secret);

/// Whether the 16 bytes from `digest_offset` on, the value of a Message-Authenticator, are HMAC-MD5 keyed
/// with the secret over the packet with zero bytes in their place and `header_authenticator` in the
/// Authenticator field (RFC 3579, section 3.2). False when the digest does not lie between the header and the
/// end.
bool message_authenticator_fits(byte_span packet, std::size_t digest_offset,
                                const Authenticator& header_authenticator, std::string_view secret);

/// What is known of the sender of a packet.
enum class SignatureStatus : std::uint8_t {
    Valid,           ///< knows the secret: every digest fits, and there is one
    Unsigned,        ///< nothing to check: a request with a random Authenticator and no Message-Authenticator
    Malformed,       ///< cannot be read to its end (see `AttributeReader::fault`)
    UnexpectedCode,  ///< not the code of a reply or of a request, whichever was asked for
    MessageAuthenticatorMalformed,  ///< not of 16 bytes, or there is a second one
    MessageAuthenticatorWrong,
    AuthenticatorWrong,  ///< the Response Authenticator, or the digest in a request's Authenticator field
};

/// Verifies a reply without decoding it: its Message-Authenticator, if it has one (RFC 3579, section 3.2;
/// RFC 5176, section 3.4), and its Response Authenticator (RFC 2865, section 3). Never `Unsigned`. Bytes
/// behind the packet's Length are no part of it and are not covered. Allocates nothing. Caution: with an
/// empty secret anybody's reply can be valid, and without a Message-Authenticator a reply to an
/// Access-Request can be forged (CVE-2024-3596).
SignatureStatus verify_reply(byte_span datagram, const Authenticator& request_authenticator,
                             std::string_view secret);

/// Verifies a request in the same way: the digest in the Authenticator field of an Accounting-, Disconnect-
/// or CoA-Request (RFC 2866, section 3; RFC 5176, section 2.3), and the Message-Authenticator, if there is
/// one, of any but an Accounting-Request, for which no RFC says how it is computed.
SignatureStatus verify_request(byte_span datagram, std::string_view secret);

}  // namespace quarn::subscriber::radius
