// Reading a dictionary from YAML files. A file is a map of up to three blocks, loaded in this order:
//
//     includes:               # further files, relative to this one
//       - base.yaml
//     vendor:                 # the owner of every attribute of this file
//       id: 9
//       name: Example-Vendor
//       format: "1,1"
//     attributes:
//       Example-Mode:
//         code: 26.9.2
//         type: enum
//         values:
//           Off: 0
//           Auto: 0x10
#include <yaml-cpp/yaml.h>

#include <charconv>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/json_document.h"
#include "quarn/radius/yaml_number.h"
#include "quarn/utils/app.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

[[noreturn]] void fail(const std::string& file, const std::string& problem) {
    throw std::runtime_error(file + ": " + problem);
}

/// The one name under which a file is opened, reported and remembered, however it was reached.
std::string canonical_path(const std::string& path) {
    try {
        return std::filesystem::weakly_canonical(std::filesystem::absolute(path)).string();
    } catch (const std::filesystem::filesystem_error& error) {
        fail(path, "cannot load: " + error.code().message());
    }
}

YAML::Node read_document(const std::string& file) {
    // A directory opens like a file and reads like an empty one.
    std::error_code not_there;  // reported better by the attempt to load it
    if (std::filesystem::is_directory(file, not_there)) {
        fail(file, "cannot load: is a directory");
    }
    YAML::Node root;
    try {
        root = YAML::LoadFile(file);
        if (!root.IsNull() && !root.IsMap()) {
            throw std::runtime_error("top level must be a map");
        }
    } catch (const std::exception& error) {
        fail(file, std::string("cannot load: ") + error.what());
    }
    return root;
}

/// The block under `key`; nothing when it is absent or null.
template <typename Node>
std::optional<Node> find_block(const Node& parent, const char* key) {
    const Node block = parent[key];
    return block && !block.IsNull() ? std::optional(block) : std::nullopt;
}

/// The map under `key`; nothing when it is absent or null, a failure when it is anything else.
template <typename Node>
std::optional<Node> find_map(const std::string& file, const Node& parent, const char* key) {
    const std::optional<Node> block = find_block(parent, key);
    if (block && !block->IsMap()) {
        fail(file, std::string("'") + key + "' must be a map");
    }
    return block;
}

std::uint32_t line_of(const YAML::Node& node) {
    return static_cast<std::uint32_t>(node.Mark().line + 1);
}

std::uint32_t line_of(const JsonNode& node) {
    return node.line();
}

/// Reads one element of a code path; the low 32 bits of the number are kept.
std::uint32_t parse_code(std::string_view element) {
    std::uint64_t code = 0;
    const char* const end = element.data() + element.size();
    if (const auto [stop, status] = std::from_chars(element.data(), end, code);
        status == std::errc{} && stop == end) {
        return static_cast<std::uint32_t>(code);
    }
    if (element.empty()) {
        throw std::invalid_argument("invalid RADIUS code path");
    }
    // A sign, or a mistake. For what does not begin with a number, the conversion's own words are told.
    std::size_t length = 0;
    code = std::stoul(std::string(element), &length);
    if (length != element.size()) {
        throw std::invalid_argument("invalid RADIUS code path");
    }
    return static_cast<std::uint32_t>(code);
}

/// Reads a code path written in full, such as "26.9.1"; blanks around the numbers are ignored. Throws
/// `std::invalid_argument` or `std::out_of_range`.
CodePath parse_code_path(const std::string& text) {
    CodePath path;
    for (std::string& element : utils::split(text, '.')) {
        path.push_back(parse_code(utils::trim(std::move(element))));
    }
    return path;
}

template <typename Node>
AttributeMetadata read_metadata(const std::string& name, const Node& definition) {
    if (!definition.IsMap() && !definition.IsNull()) {
        throw std::invalid_argument("attribute definition must be a map");
    }
    AttributeMetadata metadata;
    metadata.name = name;
    if (const auto code = definition["code"]) {
        metadata.code = parse_code_path(code.template as<std::string>());
    }
    if (const auto type = definition["type"]) {
        metadata.type = type.template as<std::string>();
    }
    if (const auto encrypt = definition["encrypt"]) {
        metadata.encrypt = node_to_u32(encrypt);
    }
    if (const auto has_tag = definition["has_tag"]) {
        metadata.has_tag = has_tag.template as<bool>();
    }
    if (const auto concat = definition["concat"]) {
        metadata.concat = concat.template as<bool>();
    }
    return metadata;
}

}  // namespace

void RadiusDictionary::load(const std::string& path) {
    *this = RadiusDictionary();

    VisitedFiles visited;
    _load_file(path, visited);

    _validate_nesting();
    sources_.clear();  // they serve the check alone

    top_level_attributes_.reserve(attributes_by_code_.size());
    for (const AttributeMetadata* const metadata : attributes_by_code_) {
        if (metadata->code.size() == 1) {
            top_level_attributes_.emplace(metadata->code.front(), metadata);
        }
    }
}

void RadiusDictionary::_load_file(const std::string& path, VisitedFiles& visited) {
    const auto [visit, is_first] = visited.try_emplace(canonical_path(path), true);
    if (!is_first) {
        return;
    }
    const std::string& file = visit->first;  // stays where it is for as long as the load takes
    if (const std::optional<JsonDocument> document = JsonDocument::read(file)) {
        _load_blocks(file, document->root());  // a plain file includes no other
    } else {
        const YAML::Node root = read_document(file);
        _load_includes(file, root, visited);
        _load_blocks(file, root);
    }
}

template <typename Node>
void RadiusDictionary::_load_blocks(const std::string& file, const Node& root) {
    const std::optional<VendorInfo> vendor = _load_vendor(file, root);
    _load_attributes(file, root, vendor);
}

void RadiusDictionary::_load_includes(const std::string& file, const YAML::Node& root,
                                      VisitedFiles& visited) {
    const std::optional<YAML::Node> includes = find_block(root, "includes");
    if (!includes) {
        return;
    }
    if (!includes->IsSequence()) {
        fail(file, "'includes' must be a sequence");
    }
    std::vector<std::string> entries;
    for (const YAML::Node& entry : *includes) {
        try {
            entries.push_back(entry.as<std::string>());
        } catch (const std::exception& error) {
            fail(file, std::string("invalid 'includes' entry: ") + error.what());
        }
    }
    const std::filesystem::path directory = std::filesystem::path(file).parent_path();
    for (const std::string& entry : entries) {
        _load_file((directory / entry).string(), visited);
    }
}

template <typename Node>
std::optional<VendorInfo> RadiusDictionary::_load_vendor(const std::string& file, const Node& root) {
    const std::optional<Node> block = find_map(file, root, "vendor");
    if (!block) {
        return std::nullopt;
    }
    VendorInfo vendor;
    std::string format_error;
    try {
        vendor.id = node_to_u32((*block)["id"]);
        if (const auto name = (*block)["name"]) {
            vendor.name = name.template as<std::string>();
        }
        if (const auto format = (*block)["format"]) {
            vendor.format = format.template as<std::string>();
        }
        parse_vendor_format(vendor.format, vendor.type_size, vendor.length_size, vendor.continuation,
                            format_error);
    } catch (const std::exception& error) {
        fail(file, std::string("invalid 'vendor' block: ") + error.what());
    }
    if (!format_error.empty()) {
        fail(file,
             "vendor '" + vendor.name + "' (line " + std::to_string(line_of(*block)) + "): " + format_error);
    }
    vendors_by_name_.insert_or_assign(vendor.name, vendor);
    vendors_by_id_.insert_or_assign(vendor.id, vendor);
    return vendor;
}

template <typename Node>
void RadiusDictionary::_load_attributes(const std::string& file, const Node& root,
                                        const std::optional<VendorInfo>& vendor) {
    const std::optional<Node> attributes = find_map(file, root, "attributes");
    if (!attributes) {
        return;
    }
    for (const auto& entry : *attributes) {
        const std::uint32_t line = line_of(entry.first);
        const Node& definition = entry.second;

        std::string name;
        try {
            name = entry.first.template as<std::string>();
        } catch (const std::exception& error) {
            App::warn(std::string("invalid attribute name: ") + error.what(),
                      {{"file", file}, {"line", std::to_string(line)}, {"reason", error.what()}});
            continue;
        }

        AttributeMetadata metadata;
        try {
            metadata = read_metadata(name, definition);
        } catch (const std::exception& error) {
            App::warn(error.what(), {{"file", file},
                                     {"line", std::to_string(line)},
                                     {"attribute", name},
                                     {"reason", error.what()}});
            continue;
        }
        if (vendor) {
            metadata.vendor = vendor;
            metadata.continuation = vendor->continuation;
        }
        metadata.derive_fields();

        const AttributeMetadata& record = _store(std::move(metadata));
        sources_.push_back({record.name, record.code, file, line});
        _load_values(file, record.name, definition);
    }
}

const AttributeMetadata& RadiusDictionary::_store(AttributeMetadata&& metadata) {
    const AttributeMetadata& record = records_.emplace_back(std::move(metadata));
    attributes_by_name_.insert_or_assign(record.name, &record);
    if (!record.code.empty()) {
        const auto [place, is_new] = attributes_by_code_.insert(&record);
        if (!is_new) {
            attributes_by_code_.erase(place);
            attributes_by_code_.insert(&record);
        }
    }
    return record;
}

template <typename Node>
void RadiusDictionary::_load_values(const std::string& file, const std::string& attribute_name,
                                    const Node& definition) {
    const std::optional<Node> values = find_map(file, definition, "values");
    if (!values) {
        return;
    }
    try {
        EnumTable& table = enum_values_[attribute_name];
        for (const auto& entry : *values) {
            std::string name;
            try {
                name = entry.first.template as<std::string>();
            } catch (const std::exception& error) {
                throw std::runtime_error(std::string("invalid 'values' attribute name: ") + error.what());
            }
            table.add(std::move(name), node_to_u32(entry.second));
        }
    } catch (const std::exception& error) {
        fail(file, "values for attribute '" + attribute_name + "': " + error.what());
    }
}

}  // namespace quarn::subscriber::radius
