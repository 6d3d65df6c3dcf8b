#include "wire/container_format.h"

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

Framing framing_of(const RadiusDictionary* dictionary, const AttributeMetadata& record,
                   const CodePath& path) {
    const std::uint32_t type = path.empty() ? 0 : path.front();
    const ContainerKind container = top_level_container(dictionary, type);

    if (container == ContainerKind::Vsa && path.size() >= 3) {
        constexpr std::size_t nesting_start = 3;
        const VendorInfo& vendor = vendor_format(dictionary, path[1]);
        return {.container = container,
                .vendor = &vendor,
                .nesting_start = nesting_start,
                .room = max_value_size - vendor_id_size - vendor_header_size(vendor),
                .may_split = vendor.continuation || path.size() == nesting_start};
    }
    const bool long_form = container == ContainerKind::LongExtended;
    if ((container == ContainerKind::Extended || long_form) && path.size() >= 2) {
        const bool vendor_specific = is_extended_vendor(path);
        const std::size_t nesting_start = vendor_specific ? 4 : 2;
        return {.container = container,
                .vendor = nullptr,
                .nesting_start = nesting_start,
                .room = max_value_size - extended_header_size(long_form, vendor_specific),
                .may_split = long_form || path.size() == nesting_start};
    }
    // A plain attribute may be a list of TLVs, as IPv6-6rd-Configuration is (RFC 6930, section 4). Then the
    // whole list is split and joined, not the TLV inside.
    const bool is_tlv = container == ContainerKind::Tlv && path.size() > 1;  // so a dictionary says
    const AttributeMetadata& split_record = is_tlv ? dictionary->top_level_attribute(type) : record;
    return {.container = ContainerKind::None,
            .vendor = nullptr,
            .nesting_start = is_tlv ? 1 : path.size(),
            .room = max_value_size,
            .may_split = dictionary != nullptr && (split_record.concat || split_record.continuation)};
}

bool tag_replaces_first_byte(const AttributeMetadata& record, std::size_t value_size) {
    return record.fixed_size > 1 && value_size == record.fixed_size;
}

}  // namespace quarn::subscriber::radius
