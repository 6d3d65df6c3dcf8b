#include "quarn/radius/dictionary.h"

#include "dictionary/dictionary_tables.h"
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

/// Every type name with a container kind is one of an attribute that may have children.
bool can_hold_children(const AttributeMetadata& attribute) {
    return attribute.kind != ContainerKind::None;
}

/// The longest code path whose parent needs no check: a top-level attribute, an extended one, or a vendor's.
constexpr std::size_t max_unchecked_path = 3;

}  // namespace

RadiusDictionary::RadiusDictionary() noexcept = default;
RadiusDictionary::RadiusDictionary(RadiusDictionary&&) noexcept = default;
RadiusDictionary& RadiusDictionary::operator=(RadiusDictionary&&) noexcept = default;
RadiusDictionary::~RadiusDictionary() = default;

const AttributeMetadata& RadiusDictionary::attribute_by_name(std::string_view name) const {
    return DictionaryTables::of(*this).attribute_by_name(name);
}

const AttributeMetadata& RadiusDictionary::attribute_by_code(const CodePath& code) const {
    return DictionaryTables::of(*this).attribute_by_code(code, CodePathHash()(code));
}

const AttributeMetadata& RadiusDictionary::top_level_attribute(std::uint32_t type) const {
    return DictionaryTables::of(*this).top_level_attribute(type);
}

const VendorInfo* RadiusDictionary::vendor_by_name(std::string_view name) const {
    return find_entry(DictionaryTables::of(*this).vendors_by_name, name);
}

const VendorInfo* RadiusDictionary::vendor_by_id(std::uint32_t id) const {
    return find_entry(DictionaryTables::of(*this).vendors_by_id, id);
}

std::optional<std::uint32_t> RadiusDictionary::enum_value(std::string_view attribute_name,
                                                          std::string_view value_name) const {
    const NamedValue* const value = DictionaryTables::of(*this).value_by_name(attribute_name, value_name);
    return value != nullptr ? std::optional(value->number) : std::nullopt;
}

std::optional<std::string> RadiusDictionary::enum_name(std::string_view attribute_name,
                                                       std::uint32_t number) const {
    const NamedValue* const value = DictionaryTables::of(*this).value_by_number(attribute_name, number);
    return value != nullptr ? std::optional(value->name) : std::nullopt;
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

void RadiusDictionary::_validate_nesting(const Sources& sources) const {
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const AttributeSource& source = sources[i];
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
