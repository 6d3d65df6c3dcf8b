// OpenSSL's reference-counted objects as values that free themselves.
#pragma once

#include <openssl/evp.h>

#include <memory>

namespace quarn::subscriber::radius {

template <auto free_function>
struct FreedBy {
    template <typename Object>
    void operator()(Object* object) const {
        free_function(object);
    }
};

using DigestContext = std::unique_ptr<EVP_MD_CTX, FreedBy<EVP_MD_CTX_free>>;
using DigestAlgorithm = std::unique_ptr<EVP_MD, FreedBy<EVP_MD_free>>;
using MacContext = std::unique_ptr<EVP_MAC_CTX, FreedBy<EVP_MAC_CTX_free>>;
using MacAlgorithm = std::unique_ptr<EVP_MAC, FreedBy<EVP_MAC_free>>;
using CipherContext = std::unique_ptr<EVP_CIPHER_CTX, FreedBy<EVP_CIPHER_CTX_free>>;
using CipherAlgorithm = std::unique_ptr<EVP_CIPHER, FreedBy<EVP_CIPHER_free>>;

}  // namespace quarn::subscriber::radius
