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

/// Does so at the end of its scope, however it is left. A packet that was moved from is left alone.
class WipedUserPassword {
  public:
    explicit WipedUserPassword(subscriber::radius::RadiusPacket& packet) : packet_(packet) {}
    ~WipedUserPassword() { wipe_user_password(packet_); }
    WipedUserPassword(const WipedUserPassword&) = delete;
    WipedUserPassword& operator=(const WipedUserPassword&) = delete;

  private:
    subscriber::radius::RadiusPacket& packet_;
};

}  // namespace quarn::authprobe
