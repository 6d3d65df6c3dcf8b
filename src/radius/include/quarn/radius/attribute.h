// An attribute of a packet: what it is, and its values.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quarn/radius/attribute_metadata.h"
#include "quarn/radius/code_path.h"
#include "quarn/radius/value.h"
#include "quarn/utils/small_vector.h"

namespace quarn::subscriber::radius {

/// The key under which a packet keeps an attribute: its name or, when that is empty, "attr-" and the code
/// path, such as "attr-26.9.77".
std::string attribute_key(const CodePath& code_path, std::string_view name);

/// The identity of an attribute, and all the values that a packet has of it.
struct RadiusAttribute {
    /// `record` is a dictionary's record or the unknown one; it must outlive the attribute. The given name
    /// counts only for an attribute that no dictionary defines.
    RadiusAttribute(const AttributeMetadata& record, CodePath path, std::string given_name);

    RadiusAttribute(const AttributeMetadata&& temporary, CodePath, std::string) = delete;

    /// The dictionary's name, or `name` for an attribute that no dictionary defines.
    const std::string& display_name() const;

    const AttributeMetadata* metadata;  ///< never null
    CodePath code_path;                 ///< for a decoded unknown attribute, the path found on the wire
    std::string
        name;  ///< empty when `metadata` is known; otherwise the given name, else "attr-" and the path
    utils::SmallVector<RadiusValue, 1> values;  ///< in the order in which they were added
};

}  // namespace quarn::subscriber::radius
