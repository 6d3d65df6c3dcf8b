#include "quarn_radius/dictionary/writer.h"

#include <gtest/gtest.h>

#include <array>

namespace quarn::quarn_radius {
namespace {

TEST(DictionaryWriter, WritesJsonWithAnAttributeALine) {
    DictionaryContent content;
    content.vendor.emplace();
    content.vendor->id = 64496;
    content.vendor->name = "Example \"& Sons\"";
    content.vendor->format = "2,1";
    content.attributes = {
        {"Plain", {26, 64496, 1}, "text", 0, false, false, {}},
        {"Full", {26, 64496, 2}, "enum", 2, true, true, {{"Off", 0}, {"On", 1}}},
    };
    EXPECT_EQ(dictionary_file_text(content, "../dictionary.schema.json"),
              R"({
"$schema": "../dictionary.schema.json",
"vendor": {"id": 64496, "name": "Example \"& Sons\"", "format": "2,1"},
"attributes": {
  "Plain": {"code": "26.64496.1", "type": "text"},
  "Full": {"code": "26.64496.2", "type": "enum", "encrypt": 2, "has_tag": true, "concat": true, "values": {"Off": 0, "On": 1}}
}
}
)");
}

TEST(DictionaryWriter, WritesARootForPeopleToEdit) {
    const std::array<std::string, 2> includes = {"vendor/a.yaml", "standard.yaml"};
    EXPECT_EQ(root_file_text(includes, "dictionary.schema.json"),
              "# yaml-language-server: $schema=dictionary.schema.json\n"
              "includes:\n"
              "  - \"vendor/a.yaml\"\n"
              "  - \"standard.yaml\"\n");
}

}  // namespace
}  // namespace quarn::quarn_radius
