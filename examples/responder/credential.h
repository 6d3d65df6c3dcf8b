// Checking that a request proves knowledge of a password.
#pragma once

#include <string>

#include "quarn/radius/packet.h"

namespace responder {

/// Whether the request carries a PAP, CHAP, MS-CHAP or MS-CHAPv2 credential made with this user's password.
/// MS-CHAP needs OpenSSL's "legacy" provider.
bool credential_matches(const quarn::subscriber::radius::RadiusPacket& request, const std::string& user_name,
                        const std::string& password);

}  // namespace responder
