// The files of a dictionary as YAML trees, for what the loaded dictionary does not keep: lines, keys without
// a meaning, and definitions that later ones replace.
#pragma once

#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

struct DictionaryFile {
    std::string path;  ///< canonical
    YAML::Node root;   ///< a map
};

/// Reads a file and those that it includes, in the order in which the loader takes their definitions: each
/// file once, after the files that it includes. A file that has no top-level map is not among the result.
///
/// Appends to `problems` what the loader fails for (files that cannot be read or parsed, a malformed
/// "includes") and what it passes over (cycles, further documents in a file); reading goes on after each.
/// Throws `FileError` when the file at `path` itself cannot be opened.
std::vector<DictionaryFile> read_dictionary_files(const std::string& path, Problems& problems);

/// Why the file cannot be opened; empty when it can.
std::string open_failure(const std::string& file);

/// The 1-based line on which a node begins.
std::uint32_t line_of(const YAML::Node& node);

/// A scalar's text, "null" for a null node as the loader has it, or nothing for any other node.
std::optional<std::string> text_of(const YAML::Node& node);

/// A key of a map and its value. Problems of a value are reported on the line of its key: a null value's own
/// mark is where the parser went on, and a map's is that of its first entry.
struct Field {
    YAML::Node key;
    YAML::Node value;
};

/// The entry under a key of a map, the first of several as the loader has it.
std::optional<Field> find_field(const YAML::Node& map, std::string_view key);

}  // namespace quarn::quarn_radius
