#include "wire/container_format.h"

#include "dictionary/dictionary_tables.h"
#include "quarn/radius/path_shape.h"

namespace quarn::subscriber::radius {

ContainerKind top_level_container(const AttributeMetadata& record, std::uint32_t type) {
    return record.known ? record.kind : kind_of_type(type);
}

ContainerKind top_level_container(const RadiusDictionary* dictionary, std::uint32_t type) {
    return top_level_container(dictionary != nullptr ? dictionary->top_level_attribute(type)
                                                     : RadiusDictionary::unknown_definition(),
                               type);
}

const VendorInfo& vendor_format(const RadiusDictionary* dictionary, std::uint32_t vendor_id) {
    static const RadiusDictionary empty;
    return vendor_format(DictionaryTables::of(dictionary != nullptr ? *dictionary : empty), vendor_id);
}

const VendorInfo& vendor_format(const DictionaryTables& tables, std::uint32_t vendor_id) {
    static const VendorInfo unknown_vendor;
    const DefinedVendor* const vendor = tables.vendor_by_id(vendor_id);
    return vendor != nullptr ? *vendor->info : unknown_vendor;
}

Framing framing_of(const RadiusDictionary* dictionary, const AttributeMetadata& record,
                   const CodePath& path) {
    const std::uint32_t type = path.empty() ? 0 : path.front();
    const ContainerKind container = top_level_container(dictionary, type);

    const PathShape shape = shape_of(path, container);
    // Without a type behind it, a vendor's number is framed like the type of a nested TLV.
    const bool vendor_specific = shape.vendor_at != 0 && !shape.ends_with_vendor(path);

    if (shape.space == PathShape::Space::Vendor && vendor_specific) {
        const VendorInfo& vendor = vendor_format(dictionary, path[shape.vendor_at]);
        return {.container = container,
                .vendor = &vendor,
                .vendor_specific = true,
                .nesting_start = shape.nesting_start,
                .room = max_value_size - vendor_id_size - vendor_header_size(vendor),
                .may_split = vendor.continuation || path.size() == shape.nesting_start};
    }
    if (shape.space == PathShape::Space::Extended || shape.space == PathShape::Space::ExtendedVendor) {
        const bool long_form = container == ContainerKind::LongExtended;
        const std::size_t nesting_start = vendor_specific ? shape.nesting_start : 2;
        return {.container = container,
                .vendor = nullptr,
                .vendor_specific = vendor_specific,
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
            .vendor_specific = false,
            .nesting_start = is_tlv ? 1 : path.size(),
            .room = max_value_size,
            .may_split = dictionary != nullptr && (split_record.concat || split_record.continuation)};
}

bool tag_replaces_first_byte(const AttributeMetadata& record, std::size_t value_size) {
    return record.fixed_size > 1 && value_size == record.fixed_size;
}

}  // namespace quarn::subscriber::radius
