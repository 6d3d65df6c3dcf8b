#include "quarn/radius/random.h"

#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace quarn::subscriber::radius {

Authenticator random_authenticator() {
    Authenticator bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("random_authenticator: RAND_bytes failed (CSPRNG unavailable)");
    }
    return bytes;
}

std::uint16_t random_salt() {
    std::array<std::uint8_t, 2> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("random_salt: RAND_bytes failed (CSPRNG unavailable)");
    }
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1] | 0x8000);
}

}  // namespace quarn::subscriber::radius
