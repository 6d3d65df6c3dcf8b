#include "quarn/radius/hiding.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>

#include "crypto/digest.h"
#include "quarn/radius/random.h"
#include "quarn/utils/secret.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::size_t block_size = 16;
constexpr std::size_t salt_size = 2;

enum class Direction { Hide, Reveal };

/// The length rounded up to whole blocks.
std::size_t padded_length(std::size_t length) {
    return (length + block_size - 1) / block_size * block_size;
}

/// XORs whole blocks in place with their key stream. Each block's key is MD5(secret, previous ciphertext
/// block), the first one's MD5(secret, first_previous).
void apply_key_stream(Direction direction, std::span<std::uint8_t> blocks, std::string_view secret,
                      byte_span first_previous) {
    std::array<std::uint8_t, block_size> ciphertext{};
    for (byte_span previous = first_previous; !blocks.empty(); blocks = blocks.subspan(block_size)) {
        // The key and the ciphertext together give the password away.
        Authenticator key = md5_spans({utils::as_bytes(secret), previous});
        const utils::WipedAtEnd wipe_key(key);
        // Hiding chains on what it has just written, revealing on what it is about to overwrite.
        for (std::size_t i = 0; i < block_size; ++i) {
            const auto result = static_cast<std::uint8_t>(blocks[i] ^ key[i]);
            ciphertext[i] = direction == Direction::Hide ? result : blocks[i];
            blocks[i] = result;
        }
        previous = ciphertext;
    }
}

/// The first Tunnel-Password block chains on this: the authenticator followed by the salt.
std::array<std::uint8_t, block_size + salt_size> salted(const Authenticator& authenticator, byte_span salt) {
    std::array<std::uint8_t, block_size + salt_size> previous{};
    std::copy(authenticator.begin(), authenticator.end(), previous.begin());
    std::copy(salt.begin(), salt.end(), previous.begin() + block_size);
    return previous;
}

Bytes reveal_user_password(Bytes bytes, std::string_view secret, const Authenticator& authenticator) {
    if (bytes.size() % block_size != 0) {
        return {};
    }
    apply_key_stream(Direction::Reveal, bytes, secret, authenticator);
    while (!bytes.empty() && bytes.back() == 0) {
        bytes.pop_back();
    }
    return bytes;
}

Bytes reveal_tunnel_password(byte_span value, std::string_view secret, const Authenticator& authenticator) {
    if (value.size() < salt_size + block_size || (value.size() - salt_size) % block_size != 0) {
        return {};
    }
    const byte_span cipher = value.subspan(salt_size);
    Bytes plain(cipher.begin(), cipher.end());
    const utils::WipedAtEnd wipe_plain(plain);
    apply_key_stream(Direction::Reveal, plain, secret, salted(authenticator, value.first(salt_size)));

    const byte_span text = byte_span(plain).subspan(1);
    const byte_span shown = text.first(std::min<std::size_t>(plain[0], text.size()));
    return {shown.begin(), shown.end()};
}

}  // namespace

std::size_t hidden_size(std::uint32_t encrypt, std::size_t value_size) {
    return encrypt == hidden_as_user_password ? std::max(block_size, padded_length(value_size))
                                              : salt_size + padded_length(1 + value_size);
}

Bytes encrypt_user_password(byte_span value, std::string_view secret, const Authenticator& authenticator) {
    Bytes blocks(hidden_size(hidden_as_user_password, value.size()));
    std::copy(value.begin(), value.end(), blocks.begin());
    apply_key_stream(Direction::Hide, blocks, secret, authenticator);
    return blocks;
}

std::string decrypt_user_password(byte_span cipher, std::string_view secret,
                                  const Authenticator& authenticator) {
    Bytes plain = reveal_user_password({cipher.begin(), cipher.end()}, secret, authenticator);
    const utils::WipedAtEnd wipe_plain(plain);
    return utils::to_text(plain);
}

Bytes encrypt_tunnel_password(byte_span value, std::string_view secret, const Authenticator& authenticator) {
    const std::uint16_t salt = random_salt();
    Bytes wire(hidden_size(hidden_as_tunnel_password, value.size()));
    wire[0] = static_cast<std::uint8_t>(salt >> 8);
    wire[1] = static_cast<std::uint8_t>(salt);
    wire[salt_size] = static_cast<std::uint8_t>(value.size());
    std::copy(value.begin(), value.end(), wire.begin() + salt_size + 1);
    const std::span<std::uint8_t> bytes = wire;
    apply_key_stream(Direction::Hide, bytes.subspan(salt_size), secret,
                     salted(authenticator, bytes.first(salt_size)));
    return wire;
}

std::string decrypt_tunnel_password(byte_span value, std::string_view secret,
                                    const Authenticator& authenticator) {
    Bytes plain = reveal_tunnel_password(value, secret, authenticator);
    const utils::WipedAtEnd wipe_plain(plain);
    return utils::to_text(plain);
}

Bytes decrypt_leaf(Bytes value, std::uint32_t encrypt, std::string_view secret,
                   const Authenticator& authenticator) {
    if (secret.empty()) {
        return value;
    }
    switch (encrypt) {
        case hidden_as_user_password:
            return reveal_user_password(std::move(value), secret, authenticator);
        case hidden_as_tunnel_password:
            return reveal_tunnel_password(value, secret, authenticator);
        default:
            return value;
    }
}

}  // namespace quarn::subscriber::radius
