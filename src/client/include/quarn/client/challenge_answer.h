// The answer to an Access-Challenge (RFC 2865, section 4.4).
//
//     challenge_answer(packet, *report.decoded->verified(), "123456");
//     return Ask{.request = encode_request(packet, secret)};
#pragma once

#include <string_view>

#include "quarn/radius/packet.h"

namespace quarn::client {

/// Prepares the packet that answers a challenge: State is carried on as received, or removed when the
/// challenge has none (RFC 2865, section 5.24); the answer becomes the User-Password; CHAP and MS-CHAP
/// attributes and EAP-Message are removed. The packet is the last request's, to be changed in place; its
/// Identifier becomes the next one and its Authenticator a new random one.
void challenge_answer(subscriber::radius::RadiusPacket& packet,
                      const subscriber::radius::RadiusPacket& challenge, std::string_view answer);

}  // namespace quarn::client
