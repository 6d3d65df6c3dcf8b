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

#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/yaml_number.h"
#include "quarn/utils/app.h"
#include "quarn/utils/ascii.h"
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

/// The block under `key`, or an undefined node when it is absent or null; fails for one of another kind.
YAML::Node find_block(const std::string& file, const YAML::Node& parent, const char* key,
                      YAML::NodeType::value kind) {
    const YAML::Node block = parent[key];
    if (!block || block.IsNull()) {
        return YAML::Node(YAML::NodeType::Undefined);
    }
    if (block.Type() != kind) {
        fail(file, std::string("'") + key + "' must be a " +
                       (kind == YAML::NodeType::Sequence ? "sequence" : "map"));
    }
    return block;
}

std::uint32_t line_of(const YAML::Node& node) {
    return static_cast<std::uint32_t>(node.Mark().line + 1);
}

/// Reads a code path written in full, such as "26.9.1"; blanks around the numbers are ignored. A number keeps
/// its low 32 bits. Throws `std::invalid_argument` or `std::out_of_range` for anything else.
CodePath parse_code_path(const std::string& text) {
    CodePath path;
    for (std::string& element : utils::split(text, '.')) {
        const std::string number = utils::trim(std::move(element));
        std::size_t length = 0;
        if (number.empty()) {
            throw std::invalid_argument("invalid RADIUS code path");
        }
        const unsigned long code = std::stoul(number, &length);
        if (length != number.size()) {
            throw std::invalid_argument("invalid RADIUS code path");
        }
        path.push_back(static_cast<std::uint32_t>(code));
    }
    return path;
}

AttributeMetadata read_metadata(const std::string& name, const YAML::Node& definition) {
    if (!definition.IsMap() && !definition.IsNull()) {
        throw std::invalid_argument("attribute definition must be a map");
    }
    AttributeMetadata metadata;
    metadata.name = name;
    if (const YAML::Node code = definition["code"]) {
        metadata.code = parse_code_path(code.as<std::string>());
    }
    if (const YAML::Node type = definition["type"]) {
        metadata.type = type.as<std::string>();
    }
    if (const YAML::Node encrypt = definition["encrypt"]) {
        metadata.encrypt = node_to_u32(encrypt);
    }
    if (const YAML::Node has_tag = definition["has_tag"]) {
        metadata.has_tag = has_tag.as<bool>();
    }
    if (const YAML::Node concat = definition["concat"]) {
        metadata.concat = concat.as<bool>();
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
    for (const auto& [code, metadata] : attributes_by_code_) {
        if (code.size() == 1) {
            top_level_attributes_.emplace(code.front(), &metadata);
        }
    }
}

void RadiusDictionary::_load_file(const std::string& path, VisitedFiles& visited) {
    const std::string file = canonical_path(path);
    bool& seen = visited[file];
    if (seen) {
        return;
    }
    seen = true;

    const YAML::Node root = read_document(file);
    _load_includes(file, root, visited);
    const std::optional<VendorInfo> vendor = _load_vendor(file, root);
    _load_attributes(file, root, vendor);
}

void RadiusDictionary::_load_includes(const std::string& file, const YAML::Node& root,
                                      VisitedFiles& visited) {
    const YAML::Node includes = find_block(file, root, "includes", YAML::NodeType::Sequence);
    if (!includes) {
        return;
    }
    std::vector<std::string> entries;
    for (const YAML::Node& entry : includes) {
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

std::optional<VendorInfo> RadiusDictionary::_load_vendor(const std::string& file, const YAML::Node& root) {
    const YAML::Node block = find_block(file, root, "vendor", YAML::NodeType::Map);
    if (!block) {
        return std::nullopt;
    }
    VendorInfo vendor;
    std::string format_error;
    try {
        vendor.id = node_to_u32(block["id"]);
        if (const YAML::Node name = block["name"]) {
            vendor.name = name.as<std::string>();
        }
        if (const YAML::Node format = block["format"]) {
            vendor.format = format.as<std::string>();
        }
        parse_vendor_format(vendor.format, vendor.type_size, vendor.length_size, vendor.continuation,
                            format_error);
    } catch (const std::exception& error) {
        fail(file, std::string("invalid 'vendor' block: ") + error.what());
    }
    if (!format_error.empty()) {
        fail(file,
             "vendor '" + vendor.name + "' (line " + std::to_string(line_of(block)) + "): " + format_error);
    }
    vendors_by_name_.insert_or_assign(vendor.name, vendor);
    vendors_by_id_.insert_or_assign(vendor.id, vendor);
    return vendor;
}

void RadiusDictionary::_load_attributes(const std::string& file, const YAML::Node& root,
                                        const std::optional<VendorInfo>& vendor) {
    const YAML::Node attributes = find_block(file, root, "attributes", YAML::NodeType::Map);
    if (!attributes) {
        return;
    }
    for (const auto& entry : attributes) {
        const std::uint32_t line = line_of(entry.first);
        const YAML::Node& definition = entry.second;

        std::string name;
        try {
            name = entry.first.as<std::string>();
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

        sources_.push_back({name, metadata.code, file, line});
        if (!metadata.code.empty()) {
            attributes_by_code_.insert_or_assign(metadata.code, metadata);
        }
        attributes_by_name_.insert_or_assign(name, std::move(metadata));

        _load_values(file, name, definition);
    }
}

void RadiusDictionary::_load_values(const std::string& file, const std::string& attribute_name,
                                    const YAML::Node& definition) {
    const YAML::Node values = find_block(file, definition, "values", YAML::NodeType::Map);
    if (!values) {
        return;
    }
    try {
        ValuesByName& numbers = enum_values_[attribute_name];
        NamesByValue& names = enum_names_[attribute_name];
        NamesByValue& names_lower = enum_names_lower_[attribute_name];
        for (const auto& entry : values) {
            std::string name;
            try {
                name = entry.first.as<std::string>();
            } catch (const std::exception& error) {
                throw std::runtime_error(std::string("invalid 'values' attribute name: ") + error.what());
            }
            const std::uint32_t number = node_to_u32(entry.second);
            numbers.insert_or_assign(name, number);
            names.insert_or_assign(number, name);
            names_lower.insert_or_assign(number, utils::ascii_lower(name));
        }
    } catch (const std::exception& error) {
        fail(file, "values for attribute '" + attribute_name + "': " + error.what());
    }
}

}  // namespace quarn::subscriber::radius
