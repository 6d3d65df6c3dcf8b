#include "quarn/radius/dictionary.h"

#include "dictionary/dictionary_tables.h"
#include "quarn/radius/path_shape.h"
#include "quarn/utils/app.h"
#include "quarn/utils/ascii.h"

namespace quarn::subscriber::radius {

namespace {

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
    const DictionaryTables& tables = DictionaryTables::of(*this);
    return tables.attribute_by_code(code, tables.code_hash(code));
}

const AttributeMetadata& RadiusDictionary::top_level_attribute(std::uint32_t type) const {
    return DictionaryTables::of(*this).top_level_attribute(type);
}

const VendorInfo* RadiusDictionary::vendor_by_name(std::string_view name) const {
    const DefinedVendor* const vendor = DictionaryTables::of(*this).vendor_by_name(name);
    return vendor != nullptr ? vendor->info.get() : nullptr;
}

const VendorInfo* RadiusDictionary::vendor_by_id(std::uint32_t id) const {
    const DefinedVendor* const vendor = DictionaryTables::of(*this).vendor_by_id(id);
    return vendor != nullptr ? vendor->info.get() : nullptr;
}

std::optional<std::uint32_t> RadiusDictionary::enum_value(std::string_view attribute_name,
                                                          std::string_view value_name) const {
    const NamedValue* const value = DictionaryTables::of(*this).value_by_name(attribute_name, value_name);
    return value != nullptr ? std::optional(value->number) : std::nullopt;
}

std::optional<std::string> RadiusDictionary::enum_name(std::string_view attribute_name,
                                                       std::uint32_t number) const {
    const NamedValue* const value = DictionaryTables::of(*this).value_by_number(attribute_name, number);
    return value != nullptr ? std::optional(std::string(value->name)) : std::nullopt;
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

std::vector<RadiusDictionary::AttributeSource> RadiusDictionary::attributes() const {
    const DictionaryTables& tables = DictionaryTables::of(*this);
    std::vector<AttributeSource> sources;
    for (std::uint32_t i = 0; i < tables.definitions.size(); ++i) {
        const Definition& definition = tables.definitions[i];
        if (tables.definition_by_name(definition.metadata.name) == i) {
            sources.push_back({definition.metadata.name, definition.metadata.code,
                               tables.files[definition.file], definition.line});
        }
    }
    return sources;
}

std::vector<RadiusDictionary::ValueSource> RadiusDictionary::values_of(
    std::string_view attribute_name) const {
    const DictionaryTables& tables = DictionaryTables::of(*this);
    std::vector<std::uint32_t> definitions;
    for (auto i = tables.definition_by_name(attribute_name).value_or(Definition::none); i != Definition::none;
         i = tables.definitions[i].namesake) {
        definitions.push_back(i);
    }
    std::vector<ValueSource> sources;
    for (auto i = definitions.rbegin(); i != definitions.rend(); ++i) {
        const Definition& definition = tables.definitions[*i];
        const std::size_t end = tables.values_end(*i);
        for (std::uint32_t value = definition.first_value; value < end; ++value) {
            const NamedValue& named = tables.values[value];
            if (tables.holds(value)) {
                sources.push_back({named.name, named.number, tables.files[definition.file], named.line});
            }
        }
    }
    return sources;
}

std::vector<RadiusDictionary::VendorSource> RadiusDictionary::vendors() const {
    const DictionaryTables& tables = DictionaryTables::of(*this);
    std::vector<VendorSource> sources;
    for (std::size_t i = 0; i < tables.vendors.size(); ++i) {
        const DefinedVendor& vendor = tables.vendors[i];
        if (tables.vendor_by_id(vendor.info->id) == &vendor) {
            sources.push_back({vendor.info.get(), tables.files[vendor.file], vendor.line});
        }
    }
    return sources;
}

void RadiusDictionary::_validate_nesting() const {
    if (!App::is_heard()) {
        return;
    }
    const DictionaryTables& tables = DictionaryTables::of(*this);
    for (std::size_t i = 0; i < tables.definitions.size(); ++i) {
        const Definition& definition = tables.definitions[i];
        const CodePath& code = definition.metadata.code;
        if (code.size() <= max_unchecked_path) {
            continue;
        }
        const CodePath parent_code(code.begin(), code.end() - 1);
        const AttributeMetadata& parent = attribute_by_code(parent_code);
        const NestingFault fault =
            nesting_fault(code, parent.known ? std::optional(parent.kind) : std::nullopt);
        if (fault == NestingFault::None) {
            continue;
        }
        App::Fields fields = {{"file", tables.files[definition.file]},
                              {"line", std::to_string(definition.line)},
                              {"attribute", definition.metadata.name},
                              {"code", radius_code_path_to_string(code)},
                              {"parent_code", radius_code_path_to_string(parent_code)}};
        if (fault == NestingFault::NoParent) {
            App::warn("parent attribute is not defined", fields);
        } else {
            fields.emplace_back("parent_type", parent.type);
            App::warn("parent attribute cannot hold children", fields);
        }
    }
}

}  // namespace quarn::subscriber::radius
