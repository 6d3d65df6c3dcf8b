#include "quarn_radius/dictionary/writer.h"

#include "common/json_object.h"

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
    std::string text = "# yaml-language-server: $schema=" + schema + "\nincludes:\n";
    for (const std::string& include : includes) {
        text += "  - " + tools::json_string(include) + "\n";
    }
    return text;
}

}  // namespace quarn::quarn_radius
