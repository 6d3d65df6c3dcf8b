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

std::size_t name_hash(std::string_view name) {
    return utils::CaseInsensitiveHash()(name);
}

bool is_same_name(std::string_view left, std::string_view right) {
    return utils::CaseInsensitiveEqual()(left, right);
}

std::size_t value_hash(std::size_t attribute_hash, std::string_view value_name) {
    return (attribute_hash * utils::fnv_prime) ^ name_hash(value_name);
}

std::size_t value_hash(std::size_t attribute_hash, std::uint32_t number) {
    return (attribute_hash ^ number) * utils::fnv_prime;
}

bool has_key(const auto& value, std::string_view name) {
    return is_same_name(value.name, name);
}

bool has_key(const auto& value, std::uint32_t number) {
    return value.number == number;
}

/// Every type name with a container kind is one of an attribute that may have children.
bool can_hold_children(const AttributeMetadata& attribute) {
    return attribute.kind != ContainerKind::None;
}

/// The longest code path whose parent needs no check: a top-level attribute, an extended one, or a vendor's.
constexpr std::size_t max_unchecked_path = 3;

}  // namespace

const AttributeMetadata& RadiusDictionary::attribute_by_name(std::string_view name) const {
    const auto position = attributes_by_name_.find(
        name_hash(name), [&](std::uint32_t other) { return _has_name(other, name); });
    return position ? records_[*position] : unknown_definition();
}

const AttributeMetadata& RadiusDictionary::attribute_by_code(const CodePath& code) const {
    return attribute_by_code(code, CodePathHash{}(code));
}

const AttributeMetadata& RadiusDictionary::attribute_by_code(const CodePath& code, std::size_t hash) const {
    const auto position =
        attributes_by_code_.find(hash, [&](std::uint32_t other) { return _has_code(other, code); });
    return position ? records_[*position] : unknown_definition();
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
    const auto position = values_by_name_.find(
        value_hash(name_hash(attribute_name), value_name),
        [&](std::uint32_t other) { return _is_value(other, attribute_name, value_name); });
    return position ? std::optional(values_[*position].number) : std::nullopt;
}

std::optional<std::string> RadiusDictionary::enum_name(std::string_view attribute_name,
                                                       std::uint32_t number) const {
    const auto position =
        values_by_number_.find(value_hash(name_hash(attribute_name), number),
                               [&](std::uint32_t other) { return _is_value(other, attribute_name, number); });
    return position ? std::optional(values_[*position].name) : std::nullopt;
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

bool RadiusDictionary::_has_name(std::uint32_t position, std::string_view name) const {
    return is_same_name(records_[position].name, name);
}

bool RadiusDictionary::_has_code(std::uint32_t position, const CodePath& code) const {
    return records_[position].code == code;
}

template <typename Key>
bool RadiusDictionary::_is_value(std::uint32_t position, std::string_view attribute_name, Key key) const {
    return has_key(values_[position], key) && _has_name(values_[position].attribute, attribute_name);
}

void RadiusDictionary::_index_attribute(std::uint32_t position) {
    const AttributeMetadata& record = records_[position];
    attributes_by_name_.insert_or_assign(name_hash(record.name), position,
                                         [&](std::uint32_t other) { return _has_name(other, record.name); });
    if (record.code.empty()) {
        return;
    }
    attributes_by_code_.insert_or_assign(CodePathHash()(record.code), position,
                                         [&](std::uint32_t other) { return _has_code(other, record.code); });
    if (record.code.size() == 1 && record.code.front() < top_level_attributes_.size()) {
        top_level_attributes_[record.code.front()] = &record;
    }
}

void RadiusDictionary::_add_value(std::uint32_t attribute, std::size_t attribute_hash, std::string name,
                                  std::uint32_t number) {
    const auto position = static_cast<std::uint32_t>(values_.size());
    const NamedValue& value = values_.emplace_back(NamedValue{std::move(name), number, attribute});
    const std::string& attribute_name = records_[attribute].name;
    values_by_name_.insert_or_assign(
        value_hash(attribute_hash, value.name), position,
        [&](std::uint32_t other) { return _is_value(other, attribute_name, std::string_view(value.name)); });
    values_by_number_.insert_or_assign(
        value_hash(attribute_hash, number), position,
        [&](std::uint32_t other) { return _is_value(other, attribute_name, number); });
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
