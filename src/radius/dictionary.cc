#include "quarn/radius/dictionary.h"

#include "quarn/utils/app.h"

namespace quarn::subscriber::radius {

namespace {

/// The entry under `key`, or null.
template <typename Map, typename Key>
const typename Map::mapped_type* find_entry(const Map& map, const Key& key) {
    const auto entry = map.find(key);
    return entry == map.end() ? nullptr : &entry->second;
}

/// The entry under `inner` of the map under `outer`, or nothing.
template <typename Map, typename InnerKey>
auto find_nested(const Map& map, std::string_view outer, const InnerKey& inner)
    -> std::optional<typename Map::mapped_type::mapped_type> {
    if (const auto* const entries = find_entry(map, outer)) {
        if (const auto* const value = find_entry(*entries, inner)) {
            return *value;
        }
    }
    return std::nullopt;
}

const AttributeMetadata& known_or_unknown(const AttributeMetadata* record) {
    return record != nullptr ? *record : RadiusDictionary::unknown_definition();
}

/// Every type name with a container kind is one of an attribute that may have children.
bool can_hold_children(const AttributeMetadata& attribute) {
    return attribute.kind != ContainerKind::None;
}

/// The longest code path whose parent needs no check: a top-level attribute, an extended one, or a vendor's.
constexpr std::size_t max_unchecked_path = 3;

}  // namespace

const AttributeMetadata& RadiusDictionary::attribute_by_name(std::string_view name) const {
    return known_or_unknown(find_entry(attributes_by_name_, name));
}

const AttributeMetadata& RadiusDictionary::attribute_by_code(const CodePath& code) const {
    return known_or_unknown(find_entry(attributes_by_code_, code));
}

const AttributeMetadata& RadiusDictionary::top_level_attribute(std::uint32_t type) const {
    const auto* const record = find_entry(top_level_attributes_, type);
    return record != nullptr ? **record : unknown_definition();
}

const VendorInfo* RadiusDictionary::vendor_by_name(std::string_view name) const {
    return find_entry(vendors_by_name_, name);
}

const VendorInfo* RadiusDictionary::vendor_by_id(std::uint32_t id) const {
    return find_entry(vendors_by_id_, id);
}

std::optional<std::uint32_t> RadiusDictionary::enum_value(std::string_view attribute_name,
                                                          std::string_view value_name) const {
    return find_nested(enum_values_, attribute_name, value_name);
}

std::optional<std::string> RadiusDictionary::enum_name(std::string_view attribute_name,
                                                       std::uint32_t number) const {
    return find_nested(enum_names_, attribute_name, number);
}

std::optional<std::string> RadiusDictionary::enum_name_lower(std::string_view attribute_name,
                                                             std::uint32_t number) const {
    return find_nested(enum_names_lower_, attribute_name, number);
}

const AttributeMetadata& RadiusDictionary::unknown_definition() {
    static const AttributeMetadata record = [] {
        AttributeMetadata unknown;
        unknown.type = "octets";
        unknown.known = false;
        return unknown;
    }();
    return record;
}

void RadiusDictionary::_validate_nesting() const {
    for (const AttributeSource& source : sources_) {
        if (source.code.size() <= max_unchecked_path) {
            continue;
        }
        const CodePath parent_code(source.code.begin(), source.code.end() - 1);
        const AttributeMetadata& parent = attribute_by_code(parent_code);
        if (parent.known && can_hold_children(parent)) {
            continue;
        }
        App::Fields fields = {{"file", source.file},
                              {"line", std::to_string(source.line)},
                              {"attribute", source.name},
                              {"code", radius_code_path_to_string(source.code)},
                              {"parent_code", radius_code_path_to_string(parent_code)}};
        if (!parent.known) {
            App::warn("parent attribute is not defined", fields);
        } else {
            fields.emplace_back("parent_type", parent.type);
            App::warn("parent attribute cannot hold children", fields);
        }
    }
}

}  // namespace quarn::subscriber::radius
