// Received and sent values as text: the tag apart from the value, numbers by name, bytes in hexadecimal.
//
//     Tunnel-Type:1 = VLAN
//     Tunnel-Private-Group-ID:1 = "42"
//     Class = 0x0102
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "quarn/radius/attribute.h"
#include "quarn/radius/dictionary.h"
#include "quarn/utils/bytes.h"

namespace quarn::quarn_radius {

/// A value without its tag.
struct UntaggedValue {
    std::optional<std::uint8_t> tag;  ///< 1 to 31; nothing when there is none, or tag 0, which means none
    utils::byte_span bytes;           ///< views the value's data
};

/// Takes a value apart. The first byte of a text whose tag is optional is a tag when it is at most 0x1F (RFC
/// 2868, section 3.6).
UntaggedValue without_tag(const subscriber::radius::RadiusAttribute& attribute,
                          const subscriber::radius::RadiusValue& value);

/// The attribute's name and, when the value has a tag, ":" and the tag.
std::string name_with_tag(const subscriber::radius::RadiusAttribute& attribute,
                          const subscriber::radius::RadiusValue& value);

/// A value in readable form.
struct ValueText {
    std::string text;        ///< without quotes; may hold any character that UTF-8 has
    bool is_quoted = false;  ///< whether it is a text, to be shown between quotes
};

/// The value without its tag: a number by its name in the dictionary, a text as it is, everything that cannot
/// be shown as text in hexadecimal. The dictionary may be null.
ValueText value_text(const subscriber::radius::RadiusAttribute& attribute,
                     const subscriber::radius::RadiusValue& value,
                     const subscriber::radius::RadiusDictionary* dictionary);

/// "NAME:TAG = VALUE" as `tools::terminal_text`, texts between quotes.
std::string attribute_line(const subscriber::radius::RadiusAttribute& attribute,
                           const subscriber::radius::RadiusValue& value,
                           const subscriber::radius::RadiusDictionary* dictionary);

/// Whether the dictionary has the value hidden on the wire.
bool is_hidden_value(const subscriber::radius::RadiusAttribute& attribute);

}  // namespace quarn::quarn_radius
