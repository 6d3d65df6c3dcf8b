#include "quarn_radius/dictionary/writer.h"

#include <algorithm>

#include "common/json_object.h"
#include "quarn/utils/text.h"

namespace quarn::quarn_radius {

namespace {

std::string definition_text(const AttributeEntry& attribute) {
    tools::JsonObject definition;
    definition.add("code", subscriber::radius::radius_code_path_to_string(attribute.code));
    definition.add("type", attribute.type);
    if (attribute.encrypt != 0) {
        definition.add("encrypt", attribute.encrypt);
    }
    if (attribute.has_tag) {
        definition.add("has_tag", true);
    }
    if (attribute.optional_tag) {
        definition.add("optional_tag", true);
    }
    if (attribute.concat) {
        definition.add("concat", true);
    }
    if (!attribute.values.empty()) {
        tools::JsonObject values;
        for (const auto& [name, number] : attribute.values) {
            values.add(name, number);
        }
        definition.add("values", values);
    }
    return tools::json_string(attribute.name) + ": " + definition.text();
}

constexpr std::string_view root_start = "# yaml-language-server: $schema=";

/// A line by its two ends.
struct LineForm {
    std::string_view start;
    std::string_view end;

    bool fits(std::string_view line) const {
        return line.size() >= start.size() + end.size() && line.starts_with(start) && line.ends_with(end);
    }
};

using Lines = std::span<const std::string>;

bool is_generated_root(Lines lines) {
    constexpr LineForm vendor_file{"  - \"vendor/", ".yaml\""};
    return lines.size() >= 2 && lines[0].starts_with(root_start) && lines[1] == "includes:" &&
           std::all_of(lines.begin() + 2, lines.end(), [&](const std::string& line) {
               return vendor_file.fits(line) || line == "  - \"standard.yaml\"";
           });
}

bool is_generated_dictionary(Lines lines) {
    constexpr LineForm schema{"\"$schema\": \"", "\","};
    constexpr LineForm vendor{"\"vendor\": {", "},"};
    constexpr LineForm attribute{"  \"", "},"};
    constexpr LineForm last_attribute{"  \"", "}"};
    constexpr std::size_t foot = 2;
    const std::size_t head = lines.size() > 2 && vendor.fits(lines[2]) ? 4 : 3;
    if (lines.size() < head + foot || lines[0] != "{" || !schema.fits(lines[1]) ||
        lines[head - 1] != "\"attributes\": {" || lines[lines.size() - 2] != "}" || lines.back() != "}") {
        return false;
    }
    const Lines attributes = lines.subspan(head, lines.size() - head - foot);
    return attributes.empty() || (last_attribute.fits(attributes.back()) &&
                                  std::all_of(attributes.begin(), attributes.end() - 1,
                                              [&](const std::string& line) { return attribute.fits(line); }));
}

}  // namespace

std::string dictionary_file_text(const DictionaryContent& content, const std::string& schema) {
    std::string text = "{\n\"$schema\": " + tools::json_string(schema) + ",\n";
    if (content.vendor) {
        tools::JsonObject vendor;
        vendor.add("id", content.vendor->id);
        vendor.add("name", content.vendor->name);
        vendor.add("format", content.vendor->format);
        text += "\"vendor\": " + vendor.text() + ",\n";
    }
    text += "\"attributes\": {";
    const char* separator = "\n  ";
    for (const AttributeEntry& attribute : content.attributes) {
        text += separator + definition_text(attribute);
        separator = ",\n  ";
    }
    return text + "\n}\n}\n";
}

std::string root_file_text(std::span<const std::string> includes, const std::string& schema) {
    std::string text = std::string(root_start) + schema + "\nincludes:\n";
    for (const std::string& include : includes) {
        text += "  - " + tools::json_string(include) + "\n";
    }
    return text;
}

bool is_generated_text(std::string_view text) {
    if (!text.ends_with('\n')) {
        return false;
    }
    text.remove_suffix(1);
    const std::vector<std::string> lines = utils::split(text, '\n');
    return is_generated_root(lines) || is_generated_dictionary(lines);
}

}  // namespace quarn::quarn_radius
