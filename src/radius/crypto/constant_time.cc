#include "quarn/radius/constant_time.h"

#include <openssl/crypto.h>

namespace quarn::subscriber::radius {

bool equal_in_constant_time(byte_span left, byte_span right) {
    return left.size() == right.size() && CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}

}  // namespace quarn::subscriber::radius
