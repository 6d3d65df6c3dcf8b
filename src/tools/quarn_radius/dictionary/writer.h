// Writing dictionary files: the attributes in the flow style of YAML that is also JSON, one attribute a line.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quarn/radius/code_path.h"
#include "quarn/radius/vendor_info.h"

namespace quarn::quarn_radius {

/// An attribute as a dictionary file defines it.
struct AttributeEntry {
    std::string name;
    subscriber::radius::CodePath code;
    std::string type;
    std::uint32_t encrypt = 0;
    bool has_tag = false;
    bool optional_tag = false;
    bool concat = false;
    std::vector<std::pair<std::string, std::uint32_t>> values;

    bool operator==(const AttributeEntry&) const = default;
};

/// The content of one dictionary file.
struct DictionaryContent {
    std::optional<subscriber::radius::VendorInfo> vendor;
    std::vector<AttributeEntry> attributes;
};

/// The text of a file. `schema` is what its "$schema" names; keys with their default value are left out.
std::string dictionary_file_text(const DictionaryContent& content, const std::string& schema);

/// The text of a root file that includes others, in block style, for people to add to.
std::string root_file_text(std::span<const std::string> includes, const std::string& schema);

/// Whether a text has, line by line, the form of `dictionary_file_text` or `root_file_text`. A comment or a
/// line that somebody added, other than in that form, makes the text somebody's own.
bool is_generated_text(std::string_view text);

}  // namespace quarn::quarn_radius
