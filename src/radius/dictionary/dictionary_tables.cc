#include "dictionary/dictionary_tables.h"

#include <utility>

namespace quarn::subscriber::radius {

namespace {

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

bool has_key(const NamedValue& value, std::string_view name) {
    return is_same_name(value.name, name);
}

bool has_key(const NamedValue& value, std::uint32_t number) {
    return value.number == number;
}

}  // namespace

const DictionaryTables& DictionaryTables::empty() {
    static const DictionaryTables tables;
    return tables;
}

const AttributeMetadata& DictionaryTables::attribute_by_name(std::string_view name) const {
    const auto position =
        attributes_by_name.find(name_hash(name), [&](std::uint32_t other) { return has_name(other, name); });
    return position ? records[*position] : RadiusDictionary::unknown_definition();
}

const AttributeMetadata& DictionaryTables::attribute_by_code(const CodePath& code, std::size_t hash) const {
    const auto position =
        attributes_by_code.find(hash, [&](std::uint32_t other) { return has_code(other, code); });
    return position ? records[*position] : RadiusDictionary::unknown_definition();
}

const AttributeMetadata& DictionaryTables::attribute_by_wide_type(std::uint32_t type) const {
    const CodePath code = {type};
    return attribute_by_code(code, CodePathHash()(code));
}

const NamedValue* DictionaryTables::value_by_name(std::string_view attribute_name,
                                                  std::string_view value_name) const {
    const auto position =
        values_by_name.find(value_hash(name_hash(attribute_name), value_name),
                            [&](std::uint32_t other) { return is_value(other, attribute_name, value_name); });
    return position ? &values[*position] : nullptr;
}

const NamedValue* DictionaryTables::value_by_number(std::string_view attribute_name,
                                                    std::uint32_t number) const {
    const auto position =
        values_by_number.find(value_hash(name_hash(attribute_name), number),
                              [&](std::uint32_t other) { return is_value(other, attribute_name, number); });
    return position ? &values[*position] : nullptr;
}

bool DictionaryTables::has_name(std::uint32_t position, std::string_view name) const {
    return is_same_name(records[position].name, name);
}

bool DictionaryTables::has_code(std::uint32_t position, const CodePath& code) const {
    return records[position].code == code;
}

template <typename Key>
bool DictionaryTables::is_value(std::uint32_t position, std::string_view attribute_name, Key key) const {
    return has_key(values[position], key) && has_name(values[position].attribute, attribute_name);
}

void DictionaryTables::index_attribute(std::uint32_t position) {
    const AttributeMetadata& record = records[position];
    attributes_by_name.insert_or_assign(name_hash(record.name), position,
                                        [&](std::uint32_t other) { return has_name(other, record.name); });
    if (record.code.empty()) {
        return;
    }
    attributes_by_code.insert_or_assign(CodePathHash()(record.code), position,
                                        [&](std::uint32_t other) { return has_code(other, record.code); });
    if (record.code.size() == 1 && record.code.front() < top_level_attributes.size()) {
        top_level_attributes[record.code.front()] = &record;
    }
}

void DictionaryTables::add_value(std::uint32_t attribute, std::size_t attribute_hash, std::string name,
                                 std::uint32_t number) {
    const auto position = static_cast<std::uint32_t>(values.size());
    const NamedValue& value = values.emplace_back(NamedValue{std::move(name), number, attribute});
    const std::string& attribute_name = records[attribute].name;
    values_by_name.insert_or_assign(
        value_hash(attribute_hash, value.name), position,
        [&](std::uint32_t other) { return is_value(other, attribute_name, std::string_view(value.name)); });
    values_by_number.insert_or_assign(value_hash(attribute_hash, number), position, [&](std::uint32_t other) {
        return is_value(other, attribute_name, number);
    });
}

void DictionaryTables::add_vendor(const VendorInfo& vendor) {
    vendors_by_name.insert_or_assign(vendor.name, vendor);
    vendors_by_id.insert_or_assign(vendor.id, vendor);
}

}  // namespace quarn::subscriber::radius
