#include "dictionary/dictionary_tables.h"

#include <algorithm>
#include <utility>

namespace quarn::subscriber::radius {

namespace {

bool is_same_name(std::string_view left, std::string_view right) {
    return utils::CaseInsensitiveEqual()(left, right);
}

}  // namespace

const DictionaryTables& DictionaryTables::empty() {
    static const DictionaryTables tables;
    return tables;
}

std::optional<std::uint32_t> DictionaryTables::definition_by_name(std::string_view name) const {
    return attributes_by_name_.find(name_hash_(name),
                                    [&](std::uint32_t other) { return has_name(other, name); });
}

const AttributeMetadata& DictionaryTables::attribute_by_name(std::string_view name) const {
    const auto position = definition_by_name(name);
    return position ? definitions[*position].metadata : RadiusDictionary::unknown_definition();
}

const AttributeMetadata& DictionaryTables::attribute_by_code(std::span<const std::uint32_t> code,
                                                             std::size_t hash) const {
    const auto position =
        attributes_by_code_.find(hash, [&](std::uint32_t other) { return has_code(other, code); });
    return position ? definitions[*position].metadata : RadiusDictionary::unknown_definition();
}

const AttributeMetadata& DictionaryTables::attribute_by_wide_type(std::uint32_t type) const {
    const CodePath code = {type};
    return attribute_by_code(code, code_hash(code));
}

std::size_t DictionaryTables::code_hash(std::span<const std::uint32_t> code) const {
    std::size_t hash = seed_;
    for (const std::uint32_t element : code) {
        hash = extended_code_hash(hash, element);
    }
    return hash;
}

std::size_t DictionaryTables::value_hash(std::uint32_t name_number, std::string_view value_name) const {
    return utils::scattered(name_hash_(value_name) ^ name_number);
}

std::size_t DictionaryTables::value_hash(std::uint32_t name_number, std::uint32_t number) const {
    return utils::scattered(seed_ ^ (std::uint64_t{name_number} << 32 | number));
}

template <typename Key>
const NamedValue* DictionaryTables::find_value(const HashIndex& index, std::string_view attribute_name,
                                               Key key) const {
    const auto definition = definition_by_name(attribute_name);
    if (!definition) {
        return nullptr;
    }
    const std::uint32_t name_number = definitions[*definition].name_number;
    const auto position = index.find(value_hash(name_number, key),
                                     [&](std::uint32_t other) { return is_value(other, name_number, key); });
    return position ? &values[*position] : nullptr;
}

const NamedValue* DictionaryTables::value_by_name(std::string_view attribute_name,
                                                  std::string_view value_name) const {
    return find_value(values_by_name_, attribute_name, value_name);
}

const NamedValue* DictionaryTables::value_by_number(std::string_view attribute_name,
                                                    std::uint32_t number) const {
    return find_value(values_by_number_, attribute_name, number);
}

const DefinedVendor* DictionaryTables::vendor_by_name(std::string_view name) const {
    const auto position = vendors_by_name_.find(
        name_hash_(name), [&](std::uint32_t other) { return is_same_name(vendors[other].info->name, name); });
    return position ? &vendors[*position] : nullptr;
}

const DefinedVendor* DictionaryTables::vendor_by_id(std::uint32_t id) const {
    const auto position = vendors_by_id_.find(
        utils::scattered(seed_ ^ id), [&](std::uint32_t other) { return vendors[other].info->id == id; });
    return position ? &vendors[*position] : nullptr;
}

bool DictionaryTables::has_name(std::uint32_t definition, std::string_view name) const {
    return is_same_name(definitions[definition].metadata.name, name);
}

bool DictionaryTables::has_code(std::uint32_t definition, std::span<const std::uint32_t> code) const {
    const CodePath& defined = definitions[definition].metadata.code;
    return std::equal(defined.begin(), defined.end(), code.begin(), code.end());
}

bool DictionaryTables::is_value(std::uint32_t value, std::uint32_t name_number, std::string_view name) const {
    return definitions[values[value].definition].name_number == name_number &&
           is_same_name(values[value].name, name);
}

bool DictionaryTables::is_value(std::uint32_t value, std::uint32_t name_number, std::uint32_t number) const {
    return values[value].number == number && definitions[values[value].definition].name_number == name_number;
}

void DictionaryTables::index_last_definition() {
    const auto position = static_cast<std::uint32_t>(definitions.size() - 1);
    Definition& definition = definitions.back();
    const AttributeMetadata& record = definition.metadata;
    const auto namesake = attributes_by_name_.insert_or_assign(
        name_hash_(record.name), position, [&](std::uint32_t other) { return has_name(other, record.name); });
    definition.namesake = namesake.value_or(Definition::none);
    definition.name_number = namesake ? definitions[*namesake].name_number : position;
    if (record.code.empty()) {
        return;
    }
    attributes_by_code_.insert_or_assign(code_hash(record.code), position,
                                         [&](std::uint32_t other) { return has_code(other, record.code); });
    if (record.code.size() == 1 && record.code.front() < top_level_attributes.size()) {
        top_level_attributes[record.code.front()] = &record;
    }
}

void DictionaryTables::add_value(std::string_view name, std::uint32_t number, std::uint32_t line) {
    const auto position = static_cast<std::uint32_t>(values.size());
    const auto definition = static_cast<std::uint32_t>(definitions.size() - 1);
    const std::uint32_t name_number = definitions[definition].name_number;
    values.emplace_back(NamedValue{value_names.keep(name), number, definition, line});
    values_by_name_.insert_or_assign(value_hash(name_number, name), position,
                                     [&](std::uint32_t other) { return is_value(other, name_number, name); });
    values_by_number_.insert_or_assign(value_hash(name_number, number), position, [&](std::uint32_t other) {
        return is_value(other, name_number, number);
    });
}

void DictionaryTables::add_vendor(DefinedVendor vendor) {
    const auto position = static_cast<std::uint32_t>(vendors.size());
    const VendorInfo& info = *vendors.emplace_back(std::move(vendor)).info;
    vendors_by_name_.insert_or_assign(name_hash_(info.name), position, [&](std::uint32_t other) {
        return is_same_name(vendors[other].info->name, info.name);
    });
    vendors_by_id_.insert_or_assign(utils::scattered(seed_ ^ info.id), position,
                                    [&](std::uint32_t other) { return vendors[other].info->id == info.id; });
}

bool DictionaryTables::holds(std::uint32_t value) const {
    const NamedValue& named = values[value];
    const std::uint32_t name_number = definitions[named.definition].name_number;
    return values_by_name_.find(value_hash(name_number, named.name), [&](std::uint32_t other) {
        return is_value(other, name_number, named.name);
    }) == value;
}

}  // namespace quarn::subscriber::radius
