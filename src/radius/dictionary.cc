#include "quarn/radius/dictionary.h"

#include "quarn/utils/app.h"
#include "quarn/utils/ascii.h"

namespace quarn::subscriber::radius {

namespace {

/// The entry under `key`, or null.
template <typename Map, typename Key>
const typename Map::mapped_type* find_entry(const Map& map, const Key& key) {
    const auto entry = map.find(key);
    return entry == map.end() ? nullptr : &entry->second;
}

const AttributeMetadata& known_or_unknown(const AttributeMetadata* const* record) {
    return record != nullptr ? **record : RadiusDictionary::unknown_definition();
}

std::optional<std::string> copied(const std::string* text) {
    return text != nullptr ? std::optional(*text) : std::nullopt;
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
    return attribute_by_code(code, CodePathHash{}(code));
}

const AttributeMetadata& RadiusDictionary::attribute_by_code(const CodePath& code, std::size_t hash) const {
    const auto record = attributes_by_code_.find(HashedPath{code, hash});
    return record != attributes_by_code_.end() ? **record : unknown_definition();
}

const AttributeMetadata& RadiusDictionary::top_level_attribute(std::uint32_t type) const {
    if (type >= top_level_attributes_.size()) {
        return attribute_by_code({type});
    }
    const AttributeMetadata* const record = top_level_attributes_[type];
    return record != nullptr ? *record : unknown_definition();
}

const VendorInfo* RadiusDictionary::vendor_by_name(std::string_view name) const {
    return find_entry(vendors_by_name_, name);
}

const VendorInfo* RadiusDictionary::vendor_by_id(std::uint32_t id) const {
    return find_entry(vendors_by_id_, id);
}

std::optional<std::uint32_t> RadiusDictionary::enum_value(std::string_view attribute_name,
                                                          std::string_view value_name) const {
    const EnumTable* const values = find_entry(enum_values_, attribute_name);
    return values != nullptr ? values->number_of(value_name) : std::nullopt;
}

std::optional<std::string> RadiusDictionary::enum_name(std::string_view attribute_name,
                                                       std::uint32_t number) const {
    const EnumTable* const values = find_entry(enum_values_, attribute_name);
    return values != nullptr ? copied(values->name_of(number)) : std::nullopt;
}

std::optional<std::string> RadiusDictionary::enum_name_lower(std::string_view attribute_name,
                                                             std::uint32_t number) const {
    std::optional<std::string> name = enum_name(attribute_name, number);
    if (name) {
        *name = utils::ascii_lower(*name);
    }
    return name;
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
        App::Fields fields = {{"file", std::string(source.file)},
                              {"line", std::to_string(source.line)},
                              {"attribute", std::string(source.name)},
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
