#include "quarn/radius/auth.h"

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <algorithm>
#include <initializer_list>
#include <new>
#include <span>

#include "crypto/openssl_handles.h"
#include "quarn/radius/authenticator.h"
#include "quarn/utils/secret.h"

namespace quarn::subscriber::radius::auth {

namespace {

constexpr std::size_t des_block_size = 8;
constexpr std::size_t des_key_bits_size = 7;  // 56 bits, before they are spread over 8 bytes

// The common layout of both response values (RFC 2548, sections 2.1.3 and 2.3.2).
constexpr std::size_t response_size = 50;
constexpr std::size_t flags_offset = 1;
constexpr std::size_t peer_challenge_offset = 2;
constexpr std::size_t nt_response_offset = 26;
constexpr char use_nt_response = 1;

/// The digest of the concatenation of the parts, its first bytes put into `result`. Leaves `result` as it is
/// when the algorithm is not available.
void digest_into(std::span<std::uint8_t> result, const EVP_MD* algorithm,
                 std::initializer_list<byte_span> parts) {
    if (algorithm == nullptr) {
        return;
    }
    const DigestContext context(EVP_MD_CTX_new());
    if (!context) {
        throw std::bad_alloc();
    }
    if (EVP_DigestInit_ex(context.get(), algorithm, nullptr) != 1) {
        return;
    }
    std::array<std::uint8_t, EVP_MAX_MD_SIZE> digest{};
    const utils::WipedAtEnd wipe_digest(digest);
    for (const byte_span part : parts) {
        EVP_DigestUpdate(context.get(), part.data(), part.size());
    }
    EVP_DigestFinal_ex(context.get(), digest.data(), nullptr);
    std::copy_n(digest.begin(), result.size(), result.begin());
}

/// Spreads 56 key bits over eight bytes; the low bit of each, DES's parity bit, is left as it falls.
std::array<std::uint8_t, des_block_size> des_key(std::span<const std::uint8_t, des_key_bits_size> bits) {
    std::array<std::uint8_t, des_block_size> key{};
    key[0] = bits[0];
    for (std::size_t i = 1; i < des_key_bits_size; ++i) {
        key[i] = static_cast<std::uint8_t>(bits[i - 1] << (8 - i) | bits[i] >> i);
    }
    key[7] = static_cast<std::uint8_t>(bits[6] << 1);
    return key;
}

/// One DES block in ECB mode; leaves `result` as it is where DES is not available.
void des_encrypt(std::span<std::uint8_t, des_block_size> result,
                 std::span<const std::uint8_t, des_key_bits_size> key_bits, const MsChapChallenge& block) {
    const CipherAlgorithm des(EVP_CIPHER_fetch(nullptr, "DES-ECB", nullptr));
    if (!des) {
        return;
    }
    const CipherContext context(EVP_CIPHER_CTX_new());
    if (!context) {
        throw std::bad_alloc();
    }
    auto key = des_key(key_bits);
    const utils::WipedAtEnd wipe_key(key);
    if (EVP_EncryptInit_ex(context.get(), des.get(), nullptr, key.data(), nullptr) != 1) {
        return;
    }
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    int length = 0;
    EVP_EncryptUpdate(context.get(), result.data(), &length, block.data(), static_cast<int>(block.size()));
}

/// The proof that the password is known. The NT hash is wiped: an attacker can use it in place of the
/// password.
ChallengeResponse nt_response(const MsChapChallenge& challenge, std::string_view password) {
    NtPasswordHash hash = nt_password_hash(password);
    const utils::WipedAtEnd wipe_hash(hash);
    return challenge_response(challenge, hash);
}

/// What an MS-CHAPv2 response really answers (RFC 2759, section 8.2).
MsChapChallenge challenge_hash(std::string_view user_name, const MsChapV2Challenge& authenticator_challenge,
                               const MsChapV2Challenge& peer_challenge) {
    MsChapChallenge hash{};
    digest_into(hash, EVP_sha1(), {peer_challenge, authenticator_challenge, utils::as_bytes(user_name)});
    return hash;
}

std::string put_at(std::string value, std::size_t offset, byte_span bytes) {
    return value.replace(offset, bytes.size(), utils::as_text(bytes));
}

}  // namespace

std::string chap_password(std::uint8_t identifier, std::string_view password, std::string_view challenge) {
    std::array<std::uint8_t, 16> digest{};
    digest_into(digest, EVP_md5(), {{&identifier, 1}, utils::as_bytes(password), utils::as_bytes(challenge)});
    return static_cast<char>(identifier) + utils::to_text(digest);
}

NtPasswordHash nt_password_hash(std::string_view password) {
    Bytes widened;
    widened.reserve(2 * password.size());
    for (const std::uint8_t byte : utils::as_bytes(password)) {
        widened.insert(widened.end(), {byte, 0});
    }
    const utils::WipedAtEnd wipe_widened(widened);
    NtPasswordHash hash{};
    const DigestAlgorithm md4(EVP_MD_fetch(nullptr, "MD4", nullptr));
    digest_into(hash, md4.get(), {widened});
    return hash;
}

ChallengeResponse challenge_response(const MsChapChallenge& challenge, const NtPasswordHash& hash) {
    std::array<std::uint8_t, 3 * des_key_bits_size> keys{};
    const utils::WipedAtEnd wipe_keys(keys);
    std::copy(hash.begin(), hash.end(), keys.begin());

    ChallengeResponse response{};
    const std::span<std::uint8_t, 24> blocks(response);
    const std::span<const std::uint8_t, 21> key_bits(keys);
    des_encrypt(blocks.subspan<0, 8>(), key_bits.subspan<0, 7>(), challenge);
    des_encrypt(blocks.subspan<8, 8>(), key_bits.subspan<7, 7>(), challenge);
    des_encrypt(blocks.subspan<16, 8>(), key_bits.subspan<14, 7>(), challenge);
    return response;
}

std::string mschap_response(std::uint8_t identifier, std::string_view password,
                            const MsChapChallenge& challenge) {
    std::string value(response_size, '\0');
    value[0] = static_cast<char>(identifier);
    value[flags_offset] = use_nt_response;
    return put_at(std::move(value), nt_response_offset, nt_response(challenge, password));
}

std::string mschapv2_response(std::uint8_t identifier, std::string_view user_name, std::string_view password,
                              const MsChapV2Challenge& authenticator_challenge,
                              const MsChapV2Challenge& peer_challenge) {
    const MsChapChallenge challenge = challenge_hash(user_name, authenticator_challenge, peer_challenge);
    std::string value(response_size, '\0');
    value[0] = static_cast<char>(identifier);
    value = put_at(std::move(value), peer_challenge_offset, peer_challenge);
    return put_at(std::move(value), nt_response_offset, nt_response(challenge, password));
}

MsChapV2AuthenticatorResponse mschapv2_authenticator_response(
    std::string_view user_name, std::string_view password, const MsChapV2Challenge& authenticator_challenge,
    const MsChapV2Challenge& peer_challenge) {
    // Magic1 and Magic2 of RFC 2759, section 8.7.
    constexpr std::string_view server_to_client = "Magic server to client signing constant";
    constexpr std::string_view one_more_iteration = "Pad to make it do more than one iteration";

    NtPasswordHash hash = nt_password_hash(password);
    const utils::WipedAtEnd wipe_hash(hash);
    std::array<std::uint8_t, 16> hash_of_hash{};
    const utils::WipedAtEnd wipe_hash_of_hash(hash_of_hash);
    const DigestAlgorithm md4(EVP_MD_fetch(nullptr, "MD4", nullptr));
    digest_into(hash_of_hash, md4.get(), {hash});

    const MsChapChallenge challenge = challenge_hash(user_name, authenticator_challenge, peer_challenge);
    const ChallengeResponse response = challenge_response(challenge, hash);
    MsChapV2AuthenticatorResponse result{};
    digest_into(result, EVP_sha1(), {hash_of_hash, response, utils::as_bytes(server_to_client)});
    const MsChapV2AuthenticatorResponse inner = result;
    digest_into(result, EVP_sha1(), {inner, challenge, utils::as_bytes(one_more_iteration)});
    return result;
}

bool load_mschap_algorithms() {
    // A provider loaded by name turns off the implicit loading of the default one, so that comes first. Their
    // handles are kept and never given back.
    static const OSSL_PROVIDER* const default_provider = OSSL_PROVIDER_load(nullptr, "default");
    if (default_provider == nullptr) {
        return false;
    }
    static const OSSL_PROVIDER* const legacy_provider = OSSL_PROVIDER_load(nullptr, "legacy");
    return legacy_provider != nullptr;
}

}  // namespace quarn::subscriber::radius::auth
