// MD5 and HMAC-MD5 in one call each, straight from OpenSSL: what tests check the library's own digests
// against.
#pragma once

#include <openssl/evp.h>

#include <stdexcept>
#include <string_view>

#include "quarn/radius/bytes.h"

namespace quarn::test {

inline utils::Bytes joined(std::initializer_list<utils::byte_span> parts) {
    utils::Bytes bytes;
    for (const utils::byte_span part : parts) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

inline subscriber::radius::Authenticator reference_md5(std::initializer_list<utils::byte_span> parts) {
    const utils::Bytes message = joined(parts);
    subscriber::radius::Authenticator digest{};
    std::size_t size = digest.size();
    if (EVP_Q_digest(nullptr, "MD5", nullptr, message.data(), message.size(), digest.data(), &size) != 1) {
        throw std::runtime_error("no MD5");
    }
    return digest;
}

inline subscriber::radius::Authenticator reference_hmac_md5(std::string_view key,
                                                            std::initializer_list<utils::byte_span> parts) {
    const utils::Bytes message = joined(parts);
    subscriber::radius::Authenticator digest{};
    std::size_t size = 0;
    if (EVP_Q_mac(nullptr, "HMAC", nullptr, "MD5", nullptr, key.data(), key.size(), message.data(),
                  message.size(), digest.data(), digest.size(), &size) == nullptr) {
        throw std::runtime_error("no HMAC-MD5");
    }
    return digest;
}

}  // namespace quarn::test
