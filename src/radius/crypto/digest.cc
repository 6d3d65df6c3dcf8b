#include "crypto/digest.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "crypto/openssl_handles.h"
#include "quarn/utils/secret.h"

namespace quarn::subscriber::radius {

namespace {

EVP_MD_CTX* thread_md5_ctx() {
    thread_local const DigestContext context(EVP_MD_CTX_new());
    return context.get();
}

const EVP_MD* thread_md5_algorithm() {
    thread_local const DigestAlgorithm algorithm(EVP_MD_fetch(nullptr, "MD5", nullptr));
    return algorithm.get();
}

/// A new HMAC-MD5 context keyed with the secret, or null.
MacContext new_hmac_md5_ctx(EVP_MAC* hmac, std::string_view secret) {
    MacContext context(EVP_MAC_CTX_new(hmac));
    if (!context) {
        return nullptr;
    }
    char digest_name[] = "MD5";
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest_name, 0),
                                     OSSL_PARAM_construct_end()};
    // OpenSSL takes a key without an address for none at all, not for the empty one.
    const byte_span key = utils::as_bytes(secret.empty() ? std::string_view("") : secret);
    if (EVP_MAC_init(context.get(), key.data(), key.size(), parameters) != 1) {
        return nullptr;
    }
    return context;
}

/// The standard hash of a string; transparent, so that finding a secret copies nothing.
struct SecretHash : std::hash<std::string_view> {
    using is_transparent = void;
};

/// Keyed HMAC contexts, at most `max_keyed_contexts`: a further one takes the place of the context that was
/// not used for the longest time, whose secret is wiped.
class KeyedContexts {
  public:
    /// The context for the secret, freshly keyed or used before; null when there can be none. Valid until the
    /// next call.
    EVP_MAC_CTX* context_for(std::string_view secret) {
        if (!hmac_) {
            return nullptr;
        }
        const std::uint64_t now = ++uses_;
        if (const auto found = contexts_.find(secret); found != contexts_.end()) {
            found->second.last_use = now;
            return found->second.context.get();
        }
        MacContext context = new_hmac_md5_ctx(hmac_.get(), secret);
        if (!context) {
            return nullptr;
        }
        if (contexts_.size() == max_keyed_contexts) {
            contexts_.erase(std::min_element(contexts_.begin(), contexts_.end(), used_earlier));
        }
        return contexts_.emplace(secret, KeyedContext{std::move(context), now}).first->second.context.get();
    }

  private:
    struct KeyedContext {
        MacContext context;
        std::uint64_t last_use;  // the value of `uses_` then
    };
    using Contexts = std::unordered_map<utils::SecretText, KeyedContext, SecretHash, std::equal_to<>>;

    static bool used_earlier(const Contexts::value_type& left, const Contexts::value_type& right) {
        return left.second.last_use < right.second.last_use;
    }

    MacAlgorithm hmac_{EVP_MAC_fetch(nullptr, "HMAC", nullptr)};
    Contexts contexts_;
    std::uint64_t uses_ = 0;
};

EVP_MAC_CTX* thread_hmac_md5_ctx_for(std::string_view secret) {
    thread_local KeyedContexts contexts;
    return contexts.context_for(secret);
}

/// Whether a keyed HMAC context can be restarted without giving the key again: OpenSSL releases up to 3.0.2
/// cannot.
bool reinit_works() {
    static const bool works = OpenSSL_version_num() > 0x3000002F;
    return works;
}

}  // namespace

Authenticator md5_spans(std::initializer_list<byte_span> spans) {
    EVP_MD_CTX* const context = thread_md5_ctx();
    const EVP_MD* const algorithm = thread_md5_algorithm();
    Authenticator digest{};
    if (context == nullptr || algorithm == nullptr || EVP_DigestInit_ex(context, algorithm, nullptr) != 1) {
        return digest;
    }
    for (const byte_span span : spans) {
        if (!span.empty()) {
            EVP_DigestUpdate(context, span.data(), span.size());
        }
    }
    if (EVP_DigestFinal_ex(context, digest.data(), nullptr) != 1) {
        return {};
    }
    return digest;
}

Authenticator hmac_md5_spans(std::string_view secret, std::initializer_list<byte_span> spans) {
    EVP_MAC_CTX* context = thread_hmac_md5_ctx_for(secret);
    if (context == nullptr) {
        return {};
    }
    MacContext duplicate;
    if (reinit_works()) {
        // Should it fail, out of memory, the context would go on from the message before.
        if (EVP_MAC_init(context, nullptr, 0, nullptr) != 1) {
            return {};
        }
    } else {
        duplicate.reset(EVP_MAC_CTX_dup(context));
        if (!duplicate) {
            return {};
        }
        context = duplicate.get();
    }
    for (const byte_span span : spans) {
        if (!span.empty() && EVP_MAC_update(context, span.data(), span.size()) != 1) {
            return {};
        }
    }
    Authenticator digest{};
    std::size_t length = 0;
    if (EVP_MAC_final(context, digest.data(), &length, digest.size()) != 1) {
        return {};
    }
    return digest;
}

}  // namespace quarn::subscriber::radius
