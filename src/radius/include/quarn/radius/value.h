// One value of an attribute.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/authenticator.h"
#include "quarn/radius/value_type.h"

namespace quarn::subscriber::radius {

/// Wire bytes and the type that says how they read. A plain value: it is copied and moved member by member.
/// `as_string` writes the cache even through a const value, so two threads must not render one value at once.
struct RadiusValue {
    /// `type` is the dictionary's type name; `data` the wire bytes without a tag byte, revealed.
    RadiusValue(std::string type, Bytes data, std::uint8_t tag, bool has_tag);

    /// A value of this attribute, whose type it takes over.
    RadiusValue(const AttributeMetadata& attribute, Bytes data, std::uint8_t tag);

    /// The value in readable form, by its type: numbers in decimal, times in ISO 8601 UTC, addresses and
    /// prefixes as `inet_ntop` writes them, "ether" and "ifid" as hexadecimal pairs joined by ":", texts and
    /// octets as the bytes they are. Empty when the data have no length that the type allows. The first
    /// result is kept: later calls return it without looking at `data` again.
    const std::string& as_string() const;

    /// "0x" and two lower-case hexadecimal digits a byte, whatever the type.
    std::string as_hex() const;

    std::string type;      ///< the attribute's type name, such as "ipv4addr"
    ValueType value_type;  ///< what `type` stands for
    Bytes data;            ///< wire bytes without the tag byte; hiding happens only on the wire
    std::uint8_t tag = 0;  ///< tag number (RFC 2868, section 3); 0 for a value added from text
    bool has_tag = false;  ///< a tag byte precedes `data` on the wire
    mutable std::optional<std::string> string_cache;  ///< what `as_string` returned first
};

/// An IPv6 address in the compressed form of `inet_ntop`.
std::string ipv6_from_bytes(std::span<const std::uint8_t, 16> address);

}  // namespace quarn::subscriber::radius
