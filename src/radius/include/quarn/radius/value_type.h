// How an attribute's type name says what its values are and what it can contain.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace quarn::subscriber::radius {

/// The meaning of a value's bytes. The numbers are part of the interface.
enum class ValueType : std::uint8_t {
    Octets = 0,
    Text = 1,
    Integer = 2,  ///< unsigned 32-bit; an enumerated attribute is one too
    Time = 3,     ///< unsigned 32-bit, seconds since 1970-01-01 UTC
    Signed = 4,   ///< 32-bit, two's complement
    Integer64 = 5,
    Short = 6,
    Byte = 7,
    Ipv4Addr = 8,
    Ipv4Prefix = 9,
    Ipv6Addr = 10,
    Ipv6Prefix = 11,
    ComboIp = 12,  ///< an IPv4 or an IPv6 address, told apart by its length
    Ether = 13,
    Ifid = 14,
};

/// The parts that an attribute can contain besides a value.
enum class ContainerKind : std::uint8_t {
    None = 0,
    Vsa = 1,           ///< Vendor-Specific (RFC 2865, section 5.26)
    Tlv = 2,           ///< nested TLVs (RFC 6929, section 2.3)
    Extended = 3,      ///< RFC 6929, section 2.1
    LongExtended = 4,  ///< RFC 6929, section 2.2
    Evs = 5,           ///< Extended-Vendor-Specific (RFC 6929, section 2.4)
    Struct = 6,
};

/// What one type name means.
struct TypeRow {
    std::string_view name;  ///< as dictionaries have it, in lower case
    ValueType value_type = ValueType::Octets;
    ContainerKind kind = ContainerKind::None;
    std::uint32_t width =
        0;  ///< bytes of a number on the wire; 0 for a type of variable or type-specific width
    std::array<std::string_view, 3> foreign_names =
        {};  ///< in the text format that most RADIUS servers share
};

/// Every type name with a meaning of its own, and those that are written for plain bytes. Of the rows with
/// one value type the first is the one to write.
std::span<const TypeRow> type_rows();

/// The row of a type name, compared without regard to ASCII case and without trimming; null for a name that
/// is in no row, and then means octets.
const TypeRow* find_type(std::string_view type_name);

/// The value type of a type name, by its row. Every name without one, the empty one included, is `Octets`.
ValueType classify_value_type(std::string_view type_name);

/// The container kind of a type name, by its row; `None` for every other name.
ContainerKind classify_container_kind(std::string_view type_name);

/// The wire width in bytes of a number; 0 for a type of variable or type-specific width.
std::uint32_t fixed_size_of(ValueType type);

/// The largest of an attribute's enumerated values, which have at most 32 bits, that a number of this type
/// has room for. A tag takes the first of an integer's four bytes (RFC 2868, section 3.1).
std::uint32_t largest_number_of(ValueType type, bool has_tag);

}  // namespace quarn::subscriber::radius
