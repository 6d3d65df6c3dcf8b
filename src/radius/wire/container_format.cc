#include "wire/container_format.h"

#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

ContainerKind top_level_container(const AttributeMetadata& record, std::uint32_t type) {
    if (record.known) {
        return record.kind;
    }
    if (type == VSA_TYPE) {
        return ContainerKind::Vsa;
    }
    return is_extended_type(type) ? ContainerKind::Extended : ContainerKind::None;
}

ContainerKind top_level_container(const RadiusDictionary* dictionary, std::uint32_t type) {
    return top_level_container(dictionary != nullptr ? dictionary->top_level_attribute(type)
                                                     : RadiusDictionary::unknown_definition(),
                               type);
}

const VendorInfo& vendor_format(const RadiusDictionary* dictionary, std::uint32_t vendor_id) {
    static const VendorInfo unknown_vendor;
    const VendorInfo* const vendor = dictionary != nullptr ? dictionary->vendor_by_id(vendor_id) : nullptr;
    return vendor != nullptr ? *vendor : unknown_vendor;
}

}  // namespace quarn::subscriber::radius
