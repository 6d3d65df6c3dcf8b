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

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "dictionary/dictionary_tables.h"
#include "dictionary/json_document.h"
#include "dictionary/stable_vector.h"
#include "quarn/radius/dictionary.h"
#include "quarn/radius/yaml_number.h"
#include "quarn/utils/app.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

/// Far more than all known dictionaries have together. A YAML alias repeats thousands of values in a word or
/// two: without a limit a short file could use up the memory.
constexpr std::size_t max_values = 200'000;

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

/// Canonical paths for files of which most lie in a few folders: each folder is followed up once.
class CanonicalFolders {
  public:
    /// The canonical path of a file that is no symbolic link itself.
    std::string path_of(const std::string& path) {
        const std::size_t slash = path.rfind('/');
        if (slash == std::string::npos || slash == 0) {
            return canonical_path(path);
        }
        const std::string name = path.substr(slash + 1);
        if (name.empty() || name == "." || name == "..") {
            return canonical_path(path);
        }
        const std::string folder = path.substr(0, slash);
        std::string& real = folders_[folder];
        if (real.empty()) {
            try {
                real = canonical_path(folder);
            } catch (const std::runtime_error&) {
                return canonical_path(path);  // which fails as well, and tells of the whole path
            }
        }
        return real + (real.ends_with('/') ? "" : "/") + name;
    }

  private:
    std::unordered_map<std::string, std::string> folders_;
};

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
    std::optional<Node> block = find_block(parent, key);
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
std::uint32_t parse_code(const std::string& element) {
    const std::string trimmed = utils::trim(element);
    if (trimmed.empty()) {
        throw std::invalid_argument("invalid RADIUS code path");
    }
    // For what does not begin with a number, the conversion's own words are told.
    std::size_t length = 0;
    const std::uint64_t code = std::stoul(trimmed, &length);
    if (length != trimmed.size()) {
        throw std::invalid_argument("invalid RADIUS code path");
    }
    return static_cast<std::uint32_t>(code);
}

/// Reads a code path written in full, such as "26.9.1"; blanks around the numbers are ignored. Throws
/// `std::invalid_argument` or `std::out_of_range`.
CodePath parse_code_path(std::string_view text) {
    // Hardly ever is there more than digits and dots, which need no copies.
    CodePath path;
    const char* const end = text.data() + text.size();
    for (const char* element = text.data();; ++element) {
        std::uint64_t code = 0;
        const auto [stop, status] = std::from_chars(element, end, code);
        if (status != std::errc{} || (stop != end && *stop != '.')) {
            break;
        }
        path.push_back(static_cast<std::uint32_t>(code));
        if (stop == end) {
            return path;
        }
        element = stop;
    }

    path.clear();
    for (const std::string& element : utils::split(text, '.')) {
        path.push_back(parse_code(element));
    }
    return path;
}

/// The known keys of a definition. If a key is repeated, the first wins.
template <typename Node>
struct Definition {  // NOLINT(bugprone-exception-escape): no node is assigned that could throw
    std::optional<Node> code;
    std::optional<Node> type;
    std::optional<Node> encrypt;
    std::optional<Node> has_tag;
    std::optional<Node> optional_tag;
    std::optional<Node> concat;
    std::optional<Node> values;

    std::optional<Node>* place_of(std::string_view key) {
        return key == "code"           ? &code
               : key == "type"         ? &type
               : key == "encrypt"      ? &encrypt
               : key == "has_tag"      ? &has_tag
               : key == "optional_tag" ? &optional_tag
               : key == "concat"       ? &concat
               : key == "values"       ? &values
                                       : nullptr;
    }
};

/// Finds all keys on one walk: yaml-cpp's own look-up of a key makes copies of the keys on the way to it.
template <typename Node>
Definition<Node> find_definition(const Node& map) {
    Definition<Node> definition;
    for (const auto& entry : map) {
        if (!entry.first.IsScalar()) {
            continue;
        }
        if (std::optional<Node>* const place = definition.place_of(entry.first.Scalar()); place && !*place) {
            *place = entry.second;
        }
    }
    return definition;
}

/// Whether a flag is set that only says how values are shown. One that cannot be read costs nothing else.
template <typename Node>
bool is_true(const Node& flag) {
    try {
        return flag.template as<bool>();
    } catch (const YAML::Exception&) {
        return false;
    }
}

template <typename Node>
void read_metadata(const Definition<Node>& definition, AttributeMetadata& metadata) {
    if (definition.code) {
        metadata.code = parse_code_path(definition.code->template as<std::string>());
    }
    if (definition.type) {
        metadata.type = definition.type->template as<std::string>();
    }
    if (definition.encrypt) {
        metadata.encrypt = node_to_u32(*definition.encrypt);
    }
    if (definition.has_tag) {
        metadata.has_tag = definition.has_tag->template as<bool>();
    }
    if (definition.optional_tag) {
        metadata.optional_tag = is_true(*definition.optional_tag);
    }
    if (definition.concat) {
        metadata.concat = definition.concat->template as<bool>();
    }
}

/// The paths of the files that a file includes.
std::vector<std::string> read_includes(const std::string& file, const YAML::Node& root) {
    std::vector<std::string> paths;
    const std::optional<YAML::Node> includes = find_block(root, "includes");
    if (!includes) {
        return paths;
    }
    if (!includes->IsSequence()) {
        fail(file, "'includes' must be a sequence");
    }
    const std::filesystem::path directory = std::filesystem::path(file).parent_path();
    for (const YAML::Node& entry : *includes) {
        try {
            paths.push_back((directory / entry.as<std::string>()).string());
        } catch (const std::exception& error) {
            fail(file, std::string("invalid 'includes' entry: ") + error.what());
        }
    }
    return paths;
}

using Sources = StableVector<RadiusDictionary::AttributeSource>;

template <typename Node>
std::optional<VendorInfo> load_vendor(DictionaryTables& tables, const std::string& file, const Node& root) {
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
    tables.add_vendor(vendor);
    return vendor;
}

template <typename Node>
void load_values(DictionaryTables& tables, const std::string& file, std::uint32_t attribute,
                 const Node& values) {
    if (values.IsNull()) {
        return;
    }
    if (!values.IsMap()) {
        fail(file, "'values' must be a map");
    }
    const std::size_t attribute_hash = utils::CaseInsensitiveHash()(tables.records[attribute].name);
    try {
        for (const auto& entry : values) {
            std::string name;
            try {
                name = entry.first.template as<std::string>();
            } catch (const std::exception& error) {
                throw std::runtime_error(std::string("invalid 'values' attribute name: ") + error.what());
            }
            if (tables.values.size() == max_values) {
                throw std::runtime_error("more than " + std::to_string(max_values) + " values in all");
            }
            tables.add_value(attribute, attribute_hash, std::move(name), node_to_u32(entry.second));
        }
    } catch (const std::exception& error) {
        fail(file, "values for attribute '" + tables.records[attribute].name + "': " + error.what());
    }
}

template <typename Node>
void load_attributes(DictionaryTables& tables, const std::string& file, const Node& root,
                     const std::optional<VendorInfo>& vendor, Sources& sources) {
    const std::optional<Node> attributes = find_map(file, root, "attributes");
    if (!attributes) {
        return;
    }
    for (const auto& entry : *attributes) {
        const std::uint32_t line = line_of(entry.first);
        std::string name;
        try {
            name = entry.first.template as<std::string>();
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            App::warn(std::string("invalid attribute name: ") + error.what(),
                      {{"file", file}, {"line", std::to_string(line)}, {"reason", error.what()}});
            continue;
        }

        const auto position = static_cast<std::uint32_t>(tables.records.size());
        AttributeMetadata& record = tables.records.emplace_back();
        Definition<Node> definition;
        try {
            if (!entry.second.IsMap() && !entry.second.IsNull()) {
                throw std::invalid_argument("attribute definition must be a map");
            }
            definition = find_definition(Node(entry.second));
            read_metadata(definition, record);
        } catch (const std::bad_alloc&) {
            throw;  // no fault of the attribute's, which would be missing from then on
        } catch (const std::exception& error) {
            tables.records.pop_back();
            App::warn(error.what(), {{"file", file},
                                     {"line", std::to_string(line)},
                                     {"attribute", name},
                                     {"reason", error.what()}});
            continue;
        }
        record.name = std::move(name);
        if (vendor) {
            record.vendor = vendor;
            record.continuation = vendor->continuation;
        }
        record.derive_fields();

        tables.index_attribute(position);
        sources.emplace_back(RadiusDictionary::AttributeSource{record.name, record.code, file, line});
        if (definition.values) {
            load_values(tables, file, position, *definition.values);
        }
    }
}

template <typename Node>
void load_blocks(DictionaryTables& tables, const std::string& file, const Node& root, Sources& sources) {
    const std::optional<VendorInfo> vendor = load_vendor(tables, file, root);
    load_attributes(tables, file, root, vendor, sources);
}

}  // namespace

/// The state of one load.
struct RadiusDictionary::LoadState {
    CanonicalFolders folders;
    std::unordered_set<std::string> visited_files;  // canonical paths; the sources view them
    Sources sources;
    JsonDocument document;
};

void RadiusDictionary::load(const std::string& path) {
    tables_ = std::make_unique<DictionaryTables>();

    LoadState state;
    _load_file(path, state);
    _validate_nesting(state.sources);
}

void RadiusDictionary::_load_file(const std::string& path, LoadState& state) {
    // A file is loaded behind all that it includes. It waits for them here and not on the call stack, which a
    // long chain of files would overflow.
    struct OpenFile {
        const std::string& file;
        YAML::Node root;
        std::vector<std::string> includes;
        std::size_t next_include = 0;
    };
    std::vector<OpenFile> open_files;

    const auto open = [&](const std::string& requested) {
        const std::string likely = state.folders.path_of(requested);
        if (state.visited_files.contains(likely)) {
            return;
        }
        if (state.document.read(likely)) {  // so it is no link, and includes no other file
            const std::string& file = *state.visited_files.insert(likely).first;
            load_blocks(*tables_, file, state.document.root(), state.sources);
            return;
        }
        const auto [visit, is_first] = state.visited_files.insert(canonical_path(requested));
        if (is_first) {
            const std::string& file = *visit;
            const YAML::Node root = read_document(file);
            open_files.push_back({file, root, read_includes(file, root)});
        }
    };
    open(path);
    while (!open_files.empty()) {
        OpenFile& current = open_files.back();
        if (current.next_include < current.includes.size()) {
            open(std::string(current.includes[current.next_include++]));
        } else {
            load_blocks(*tables_, current.file, current.root, state.sources);
            open_files.pop_back();
        }
    }
}

}  // namespace quarn::subscriber::radius
