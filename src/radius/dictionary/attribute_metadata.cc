#include "quarn/radius/attribute_metadata.h"

#include "quarn/utils/ascii.h"

namespace quarn::subscriber::radius {

void AttributeMetadata::derive_fields() {
    name_lower = utils::ascii_lower(name);
    const TypeRow* const row = find_type(type);
    kind = row != nullptr ? row->kind : ContainerKind::None;
    value_type = row != nullptr ? row->value_type : ValueType::Octets;
    fixed_size = row != nullptr ? row->width : 0;
    is_signed = value_type == ValueType::Signed;
}

}  // namespace quarn::subscriber::radius
