// The numbers of the RADIUS wire format that its encoder, decoder and validator share.
//
//      0                   1                   2                   3
//      0 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 1
//     +---------------+---------------+-------------------------------+
//     |     Code      |  Identifier   |            Length             |
//     +---------------+---------------+-------------------------------+
//     |                    Authenticator, 16 bytes                    |
//     +---------------+---------------+-------------------------------+
//     |     Type      |    Length     |  Value, Length - 2 bytes ...
//     +---------------+---------------+---------------
//
// Length of the packet counts from Code, Length of an attribute from Type (RFC 2865, sections 3 and 5). The
// value of a container begins with a header of its own:
//
//     Vendor-Specific (RFC 2865, 5.26)    Vendor-Id (4), vendor type (1 to 4), vendor length (1 to 4,
//                                         from the vendor type on), continuation (1, some vendors), data
//     extended (RFC 6929, 2.1)            Extended-Type (1), data
//     long-extended (RFC 6929, 2.2)       Extended-Type (1), flags (1), data
//     extended vendor (RFC 6929, 2.4)     either of the two with Extended-Type 26, and before the data
//                                         Vendor-Id (4), vendor type (1)
#pragma once

#include <cstddef>
#include <cstdint>

namespace quarn::subscriber::radius {

/// The packet's header: Identifier is this byte.
inline constexpr std::size_t identifier_offset = 1;

/// Length, 2 bytes, from this byte on.
inline constexpr std::size_t length_offset = 2;

/// Authenticator, from this byte on.
inline constexpr std::size_t authenticator_offset = 4;
inline constexpr std::size_t authenticator_size = 16;  ///< bytes

/// Bytes before the first attribute, and so the size of the smallest packet.
inline constexpr std::size_t header_size = authenticator_offset + authenticator_size;

/// Type and Length of an attribute or nested TLV.
inline constexpr std::size_t attribute_header_size = 2;
inline constexpr std::size_t max_attribute_size = 255;  ///< what the Length of one byte can say
inline constexpr std::size_t max_value_size =
    max_attribute_size - attribute_header_size;  ///< bytes of a value that one attribute carries

/// Bytes of a Vendor-Id.
inline constexpr std::size_t vendor_id_size = 4;

/// Vendor-Specific as a top-level type, and as the Extended-Type of an extended vendor attribute.
inline constexpr std::uint32_t VSA_TYPE = 26;

/// The vendor type that follows the Vendor-Id in an extended vendor attribute.
inline constexpr std::size_t extended_vendor_type_size = 1;

/// The types that RFC 6929 gives to extended attributes, also where no dictionary defines them.
inline constexpr std::uint32_t first_extended_type = 241;
inline constexpr std::uint32_t last_extended_type = 246;

/// Whether the type is one of these.
constexpr bool is_extended_type(std::uint32_t type) {
    return type >= first_extended_type && type <= last_extended_type;
}

/// "More follows": the top bit of a vendor's continuation byte and of the long-extended flags.
inline constexpr std::uint8_t more_flag = 0x80;

/// Message-Authenticator (RFC 3579, section 3.2): a digest of 16 bytes, always 18 on the wire.
inline constexpr std::uint32_t message_authenticator_type = 80;
inline constexpr std::size_t message_authenticator_size =
    attribute_header_size + 16;  ///< with type and length

}  // namespace quarn::subscriber::radius
