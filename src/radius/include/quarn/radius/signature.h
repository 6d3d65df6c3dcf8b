// The digests that sign packets, checked over the bytes as they were received.
//
// A reply is signed by its Response Authenticator and, when it carries one, by its Message-Authenticator.
// Both cover the Request Authenticator, so that a reply fits one request only. All bytes given are covered,
// those after the packet's Length included, as in `RadiusPacket::validate`. A digest that cannot be computed
// fits nothing; comparisons take the same time whatever the bytes are.
#pragma once

#include <cstddef>
#include <string_view>

#include "quarn/radius/authenticator.h"

namespace quarn::subscriber::radius {

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

}  // namespace quarn::subscriber::radius
