// Comparing what an attacker must not learn byte by byte.
#pragma once

#include "quarn/radius/authenticator.h"

namespace quarn::subscriber::radius {

/// Whether two runs of bytes are equal, in a time that depends on their lengths alone. Every comparison of a
/// digest or a password with received bytes is made with it.
bool equal_in_constant_time(byte_span left, byte_span right);

}  // namespace quarn::subscriber::radius
