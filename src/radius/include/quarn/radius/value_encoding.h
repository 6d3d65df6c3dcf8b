// Making a value's wire bytes from text, the reverse of `RadiusValue::as_string`.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

#include "quarn/radius/add_result.h"
#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/authenticator.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/value_type.h"

namespace quarn::subscriber::radius {

/// The wire bytes of a text, or why there are none.
using TextValue = std::variant<Bytes, AddProblem>;

/// The largest number of an integer type, or of `Time`.
std::uint64_t largest_number(ValueType type);

/// The wire bytes (no tag byte, not hidden) of one value of `attribute`, by its type:
///
///     text                   any well-formed UTF-8, as it is
///     octets, string, ...    "0x" and hexadecimal digits, decoded; any other text as it is
///     integer, signed, integer64, short, byte
///                            the name of one of the attribute's enumerated values, or a decimal number of
///                            the type's range; big-endian in the type's width
///     time                   such a name or number, or an ISO 8601 date and time with "T";
///                            UTC unless an offset follows
///     ipv4addr, ipv6addr, combo-ip
///                            as `inet_pton` reads the address
///     ipv4prefix, ipv6prefix address "/" length; RFC 8044, sections 3.10 and 3.11
///     ether, ifid            hexadecimal digits, with ":", "-" and white space skipped
///
/// For any other text the problem: `NotUtf8`, `NotANumber`, `NumberOutOfRange`, or one of `BadIpv4Address` to
/// `BadHex`.
TextValue read_text_value(const RadiusDictionary& dictionary, const AttributeMetadata& attribute,
                          std::string_view text);

/// The bytes that `read_text_value` finds. Nothing for a number that is malformed or out of range and for a
/// text that is not UTF-8. Throws `std::invalid_argument` for any other malformed text, its message ending
/// with the whole text.
std::optional<Bytes> encode_text_value(const RadiusDictionary& dictionary, const AttributeMetadata& attribute,
                                       std::string_view text);

}  // namespace quarn::subscriber::radius
