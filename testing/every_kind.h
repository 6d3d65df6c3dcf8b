// A dictionary with an attribute of every kind.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "quarn/radius/authenticator.h"
#include "quarn/radius/dictionary.h"

namespace quarn::fuzz {

/// Loaded once a process. In every place that can hold attributes (alone, in each of the vendors below, in
/// extended and long-extended types and the vendors' spaces in these) it defines each value type, tagged,
/// hidden, joined and nested ones, under the codes that `Code` names.
const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary_of_every_kind();

/// The value types' names, and a name that is no type's. The first has the code `first_type`, and so on.
inline constexpr std::array<std::string_view, 18> type_names = {
    "string",   "octets",     "text",     "integer", "enum",     "time",
    "signed",   "integer64",  "short",    "byte",    "ipv4addr", "ipv4prefix",
    "ipv6addr", "ipv6prefix", "combo-ip", "ether",   "ifid",     "no-type"};

/// Codes that mean the same in every place. 26 is left free: in an extended type it begins a vendor's space.
enum Code : std::uint8_t {
    first_type = 101,
    first_tagged_type = 121,
    hidden_as_user_password_text = 141,
    hidden_as_tunnel_password_octets = 142,
    hidden_tagged_number = 143,
    hidden_tagged_text = 144,
    hidden_concat = 145,
    concat_octets = 146,
    tagged_concat = 147,
    tagged_concat_number = 148,
    unknown_hiding_method = 149,
    tlv = 150,            ///< has the codes above inside, and another `tlv`, which has some
    concat_tlv = 151,     ///< the same
    structure = 152,      ///< a container that is opaque to the codec
    bottomless_tlv = 153  ///< a `tlv` inside a `tlv`, under code 1 each, as deep as an attribute can be
};

/// How often `bottomless_tlv` is defined inside itself: its innermost value is empty, its attribute full.
inline constexpr std::size_t tlv_levels = 126;

/// A vendor and the format of its sub-attributes.
struct Vendor {
    std::uint32_t id;
    std::uint8_t type_size;
    std::uint8_t length_size;
    bool continuation;
};

inline constexpr std::array vendors = std::to_array<Vendor>({
    {1110, 1, 1, false},
    {1111, 1, 1, true},
    {1120, 1, 2, false},
    {1121, 1, 2, true},
    {1141, 1, 4, true},
    {1210, 2, 1, false},
    {1211, 2, 1, true},
    {1220, 2, 2, false},
    {1221, 2, 2, true},
    {1310, 3, 1, false},
    {1331, 3, 3, true},
    {1410, 4, 1, false},
    {1420, 4, 2, false},
    {1440, 4, 4, false},
    {1441, 4, 4, true},
});

/// The vendor whose attributes are also in the extended types; another one is not in any dictionary.
inline constexpr std::uint32_t extended_vendor = 1110;
inline constexpr std::uint32_t unknown_vendor = 9999;

/// Extended, undefined, long-extended and undefined types; 243 is plain octets here.
inline constexpr std::array<std::uint8_t, 6> extended_types = {241, 242, 243, 244, 245, 246};

/// What the packets of the corpora are made with: that of the examples in RFC 2865, section 7.
inline constexpr std::string_view shared_secret = "xyzzy5461";

/// The Request Authenticator that replies are checked with: the one of RFC 2865, section 7.1.
inline constexpr subscriber::radius::Authenticator request_authenticator = {
    0x0f, 0x40, 0x3f, 0x94, 0x73, 0x97, 0x80, 0x57, 0xbd, 0x83, 0xd5, 0xcb, 0x98, 0xf4, 0x22, 0x7a};

}  // namespace quarn::fuzz
