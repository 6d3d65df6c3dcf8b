// RADIUS packets made and read by hand: what a peer does without the library, whose client is being tested.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/utils/bytes.h"

namespace quarn::test {

using Digest = std::array<std::uint8_t, 16>;

Digest md5(utils::byte_span data);
Digest hmac_md5(std::string_view key, utils::byte_span data);

struct WireAttribute {
    std::uint8_t type;
    utils::Bytes value;

    bool operator==(const WireAttribute&) const = default;
};

/// "type:hexadecimal digits"
std::ostream& operator<<(std::ostream& stream, const WireAttribute& attribute);

/// The attributes of a packet (RFC 2865, section 5). Throws when they do not fill it exactly.
std::vector<WireAttribute> attributes_of(utils::byte_span packet);

/// The types of these attributes, in order.
std::vector<int> types_of(const std::vector<WireAttribute>& attributes);

/// The value of the only attribute of this type. Throws when there is none, or another.
utils::Bytes value_of(utils::byte_span packet, std::uint8_t type);

/// The Authenticator field.
Digest authenticator_of(utils::byte_span packet);

/// One attribute's wire bytes.
utils::Bytes attribute(std::uint8_t type, utils::byte_span value);
utils::Bytes attribute(std::uint8_t type, std::string_view value);

/// One byte string after the other.
utils::Bytes joined(std::initializer_list<utils::Bytes> parts);

/// The password as it is hidden in User-Password (RFC 2865, section 5.2).
utils::Bytes hidden_password(std::string_view password, std::string_view secret, const Digest& authenticator);

/// Whether the request carries a Message-Authenticator that fits it (RFC 3579, section 3.2).
bool has_valid_message_authenticator(utils::Bytes request, std::string_view secret);

struct Reply {
    std::uint8_t code;
    utils::Bytes attributes = {};       ///< after a Message-Authenticator
    bool message_authenticator = true;  ///< comes first
    std::string secret = "testing123";  ///< what the reply is signed with
    int identifier_offset = 0;          ///< added to the request's Identifier
    utils::Bytes trailer = {};          ///< follows the packet that the Length field delimits; signed too
    bool spoil_message_authenticator = false;  ///< before the Response Authenticator is computed over it
    std::optional<Digest> authenticator = {};  ///< what is signed in the header's place, if not the request's
};

/// The reply to a request (RFC 2865, section 3; RFC 3579, section 3.2).
utils::Bytes reply_to(utils::byte_span request, const Reply& reply);

}  // namespace quarn::test
