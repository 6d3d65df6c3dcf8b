// How a top-level type and a vendor are framed, whether the dictionary defines them or not. Encoder and
// decoder both ask here, so that each reads what the other writes.
#pragma once

#include <cstdint>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/value_type.h"
#include "quarn/radius/vendor_info.h"

namespace quarn::subscriber::radius {

/// The container kind of a top-level type: the dictionary's or, for a type that it lacks, `Vsa` for 26,
/// `Extended` for 241 to 246 (RFC 6929; the long form needs a definition) and `None` for the rest. A null
/// dictionary lacks everything.
ContainerKind top_level_container(const RadiusDictionary* dictionary, std::uint32_t type);

/// The same for the dictionary's record of the type, or the unknown one.
ContainerKind top_level_container(const AttributeMetadata& record, std::uint32_t type);

/// The sub-attribute format of a vendor: the dictionary's or, for a vendor that it lacks, a 1-byte type, a
/// 1-byte length and no continuation byte (RFC 2865, section 5.26). Valid for as long as the dictionary is.
const VendorInfo& vendor_format(const RadiusDictionary* dictionary, std::uint32_t vendor_id);

}  // namespace quarn::subscriber::radius
