// One attribute's definition in the dictionary.
#pragma once

#include <cstdint>
#include <string>

#include "quarn/radius/code_path.h"
#include "quarn/radius/value_type.h"
#include "quarn/radius/vendor_info.h"

namespace quarn::subscriber::radius {

/// Where an attribute lives in the code space, how its values are typed, and whether they are hidden, tagged,
/// split or joined. The dictionary loader fills the records; everything else only reads them.
struct AttributeMetadata {
    std::string name;             ///< as written in the dictionary
    std::string name_lower;       ///< `name` with A to Z lowered
    CodePath code;                ///< empty when the dictionary gives none
    std::string type = "string";  ///< the type name as written in the dictionary
    std::uint32_t encrypt = 0;    ///< 1: hidden as User-Password (RFC 2865, section 5.2); 2: hidden as
                                  ///< Tunnel-Password (RFC 2868, section 3.5); anything else: not hidden
    bool has_tag = false;         ///< a tag byte precedes the value (RFC 2868, section 3)
    bool continuation = false;    ///< the vendor's sub-attributes carry a continuation byte
    bool concat = false;    ///< a long value is carried in several attributes of this type, joined on reading
    OptionalVendor vendor;  ///< the vendor block in which the attribute was defined
    ContainerKind kind = ContainerKind::None;  ///< what it can contain, by `type`
    ValueType value_type = ValueType::Octets;  ///< what its values mean, by `type`
    std::uint32_t fixed_size = 0;              ///< wire width in bytes of a number, else 0
    bool is_signed = false;                    ///< true exactly when `value_type` is `Signed`
    bool known = true;          ///< false only for the record that stands for what no dictionary defines
    bool optional_tag = false;  ///< a text that may or may not begin with a tag byte (RFC 2868, section 3.6),
                                ///< which the codec leaves in the value

    /// Fills `name_lower`, `kind`, `value_type`, `fixed_size` and `is_signed` from `name` and `type`.
    void derive_fields();

    bool operator==(const AttributeMetadata&) const = default;
};

}  // namespace quarn::subscriber::radius
