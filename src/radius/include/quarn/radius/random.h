// Random bytes from OpenSSL's generator.
#pragma once

#include <cstdint>

#include "quarn/radius/authenticator.h"

namespace quarn::subscriber::radius {

/// Sixteen random bytes, for a Request Authenticator or a challenge. Throws `std::runtime_error`
/// "random_authenticator: RAND_bytes failed (CSPRNG unavailable)".
Authenticator random_authenticator();

/// For the codec alone: a salt for Tunnel-Password hiding (RFC 2868, section 3.5), its most significant bit
/// set; written most significant byte first. Throws `std::runtime_error` "random_salt: RAND_bytes failed
/// (CSPRNG unavailable)".
std::uint16_t random_salt();

}  // namespace quarn::subscriber::radius
