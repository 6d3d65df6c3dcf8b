// Attributes as people write them: NAME=VALUE, NAME:TAG=VALUE and, by number, 26.9.1=0x... or
// Vendor-9-Attr-1=0x....
//
//     const auto attribute = split_attribute("Tunnel-Type:1=VLAN");
//     if (const std::string problem = add_attribute(packet, *attribute); !problem.empty()) {
//         return usage(problem);    // unknown attribute "Tunel-Type", did you mean "Tunnel-Type"?
//     }
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/radius/code_path.h"
#include "quarn/radius/packet.h"
#include "quarn/utils/secret.h"

namespace quarn::quarn_radius {

/// An attribute as it was written, not yet looked up. The value may be a password.
struct AttributeText {
    std::string name;         ///< "NAS-Port", "Tunnel-Type:1", "26.9.1", "Vendor-9-Attr-1"; never empty
    utils::SecretText value;  ///< without quotes and escapes
};

/// Takes NAME=VALUE apart at its first "=". Nothing when there is none, or nothing in front of it.
std::optional<AttributeText> split_attribute(std::string_view argument);

/// The path of an attribute that is named by number: "26.9.1", "Attr-26.9.1", "Vendor-9-Attr-1". Nothing for
/// any other text.
std::optional<subscriber::radius::CodePath> parse_raw_name(std::string_view name);

/// A name and the tag behind it.
struct TaggedName {
    std::string_view name;            ///< views the text that was taken apart
    std::optional<std::uint8_t> tag;  ///< 0 to 31 (RFC 2868, section 3.1); nothing when none was written
};

/// Takes NAME:TAG apart. A text that has no ":" and a number up to 31 behind it is a name as a whole.
TaggedName split_tag(std::string_view name);

/// Adds the value to the packet, or tells in one line why not; empty when it was added. The packet is
/// unchanged then.
///
/// An attribute by name takes what `RadiusPacket::try_add` takes; a number also as "0x10", a time also as
/// "Nov 22 2026 10:00:00 UTC", an interface id also as "0:0:0:1" (four groups of 16 bits) or behind "0x". A
/// tag may stand behind the name of a text whose tag is optional, too: tag 0 sends none. An attribute by
/// number takes "0x" and an even number of hexadecimal digits: the bytes of its value, a tag byte included,
/// before they are hidden if the dictionary says so. Vendor-Specific as a whole (RFC 2865, section 5.26) is
/// taken when the dictionary can read its vendor and the vendor's attributes.
std::string add_attribute(subscriber::radius::RadiusPacket& packet, const AttributeText& attribute);

/// The dictionary's record for a name as `add_attribute` takes it, without its tag; the unknown record when
/// there is none.
const subscriber::radius::AttributeMetadata& find_attribute_record(
    const subscriber::radius::RadiusDictionary& dictionary, std::string_view name);

}  // namespace quarn::quarn_radius
