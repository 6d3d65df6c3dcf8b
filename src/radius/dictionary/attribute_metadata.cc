#include "quarn/radius/attribute_metadata.h"

#include "quarn/utils/ascii.h"

namespace quarn::subscriber::radius {

void AttributeMetadata::derive_fields() {
    name_lower = utils::ascii_lower(name);
    kind = classify_container_kind(type);
    value_type = classify_value_type(type);
    fixed_size = fixed_size_of(value_type);
    is_signed = value_type == ValueType::Signed;
}

}  // namespace quarn::subscriber::radius
