// User-Password in a packet, before it is listed and after.
#pragma once

#include <string_view>

#include "quarn/radius/packet.h"

namespace quarn::authprobe {

/// Reveals the password that a server may send back, which is hidden with the request's authenticator and not
/// with the reply's own. The reply's `request_authenticator` has to be set.
void reveal_user_password(subscriber::radius::RadiusPacket& reply, std::string_view secret);

/// Overwrites a password that is in clear in the packet: it has been listed, and nobody needs it any more.
void wipe_user_password(subscriber::radius::RadiusPacket& packet);

}  // namespace quarn::authprobe
