// How a top-level type and a vendor are framed, whether the dictionary defines them or not. Encoder and
// decoder both ask here, so that each reads what the other writes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/code_path.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/value_type.h"
#include "quarn/radius/vendor_info.h"
#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

/// The container kind of a top-level type: the dictionary's or, for a type that it lacks, `kind_of_type`. A
/// null dictionary lacks everything.
ContainerKind top_level_container(const RadiusDictionary* dictionary, std::uint32_t type);

/// The container kind of a top-level type whose record, or the unknown one, is at hand.
ContainerKind top_level_container(const AttributeMetadata& record, std::uint32_t type);

/// The sub-attribute format of a vendor: the dictionary's or, for a vendor that it lacks, a 1-byte type, a
/// 1-byte length and no continuation byte (RFC 2865, section 5.26). Valid for as long as the dictionary is.
const VendorInfo& vendor_format(const RadiusDictionary* dictionary, std::uint32_t vendor_id);

/// The same, of a dictionary's tables.
const VendorInfo& vendor_format(const DictionaryTables& tables, std::uint32_t vendor_id);

/// Bytes of a sub-attribute of a vendor before its data.
constexpr std::size_t vendor_header_size(const VendorInfo& vendor) {
    return vendor.type_size + vendor.length_size + (vendor.continuation ? 1 : 0);
}

/// Bytes of an extended attribute between its Length and its data.
constexpr std::size_t extended_header_size(bool long_form, bool vendor_specific) {
    return 1 + (long_form ? 1 : 0) + (vendor_specific ? vendor_id_size + extended_vendor_type_size : 0);
}

/// How the encoder frames the values of an attribute.
struct Framing {
    /// `Vsa`, `Extended` or `LongExtended`; `None` for a plain attribute, also for one that is a list of
    /// TLVs.
    ContainerKind container;
    const VendorInfo* vendor;  ///< the vendor's format for `Vsa`, else null
    bool vendor_specific;  ///< a vendor and its type are in the header: always for `Vsa`, never for `None`
    std::size_t nesting_start;  ///< each element of the code path from here on wraps the value in a TLV
    std::size_t room;           ///< bytes of the value and its TLVs that one attribute on the wire carries
    bool may_split;             ///< a longer value is carried in several attributes, not truncated
};

/// The framing of an attribute that has this record and code path. Valid for as long as the dictionary is.
Framing framing_of(const RadiusDictionary* dictionary, const AttributeMetadata& record, const CodePath& path);

/// True if the tag of a value takes the place of its first byte (RFC 2868, section 3.1): of a number in the
/// width of its type.
bool tag_replaces_first_byte(const AttributeMetadata& record, std::size_t value_size);

}  // namespace quarn::subscriber::radius
