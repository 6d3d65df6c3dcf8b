// Hiding attribute values on the wire: the values are XOR-ed with an MD5 key stream made from the shared
// secret and an authenticator. Which values are hidden is for the dictionary to say
// (`AttributeMetadata::encrypt`). No function here sees attribute headers, tags or fragments, and revealing
// never fails: bytes of an impossible length give an empty result, a wrong secret gives garbage. Where
// OpenSSL lacks MD5 the key stream is all zero: a program that may run without MD5 has to check for it before
// it sends a password.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "quarn/radius/authenticator.h"

namespace quarn::subscriber::radius {

/// The hiding methods that `AttributeMetadata::encrypt` can name; any other number hides nothing.
inline constexpr std::uint32_t hidden_as_user_password = 1;    ///< RFC 2865, section 5.2
inline constexpr std::uint32_t hidden_as_tunnel_password = 2;  ///< RFC 2868, section 3.5

/// Whether the method `encrypt` hides anything.
constexpr bool is_hidden(std::uint32_t encrypt) {
    return encrypt == hidden_as_user_password || encrypt == hidden_as_tunnel_password;
}

/// The size of a hidden value on the wire, for a method that hides.
std::size_t hidden_size(std::uint32_t encrypt, std::size_t value_size);

/// Hides a value as User-Password: padded with zero bytes to a multiple of 16, at least 16, of any length.
Bytes encrypt_user_password(byte_span value, std::string_view secret, const Authenticator& authenticator);

/// Reveals a value hidden as User-Password. Trailing zero bytes are not told from padding and are dropped.
/// Empty when the cipher is empty or its length is no multiple of 16.
std::string decrypt_user_password(byte_span cipher, std::string_view secret,
                                  const Authenticator& authenticator);

/// Hides a value as Tunnel-Password: a random salt of two bytes, then a length byte (the low 8 bits of the
/// value's length) and the value, padded with zero bytes to a multiple of 16. Throws when there are no random
/// bytes (see `random_salt`).
Bytes encrypt_tunnel_password(byte_span value, std::string_view secret, const Authenticator& authenticator);

/// Reveals a value hidden as Tunnel-Password. A length byte that claims more than there is gives all that
/// there is. Empty when there is no salt and whole number of blocks, at least one.
std::string decrypt_tunnel_password(byte_span value, std::string_view secret,
                                    const Authenticator& authenticator);

/// Reveals one value by the method `encrypt`; with an empty secret or another method the bytes stay as they
/// are.
Bytes decrypt_leaf(Bytes value, std::uint32_t encrypt, std::string_view secret,
                   const Authenticator& authenticator);

}  // namespace quarn::subscriber::radius
