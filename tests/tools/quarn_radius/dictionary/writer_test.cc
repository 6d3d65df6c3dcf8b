#include "quarn_radius/dictionary/writer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace quarn::quarn_radius {
namespace {

TEST(DictionaryWriter, WritesJsonWithAnAttributeALine) {
    DictionaryContent content;
    content.vendor.emplace();
    content.vendor->id = 64496;
    content.vendor->name = "Example \"& Sons\"";
    content.vendor->format = "2,1";
    content.attributes = {
        {"Plain", {26, 64496, 1}, "text", 0, false, false, false, {}},
        {"Full", {26, 64496, 2}, "enum", 2, true, true, true, {{"Off", 0}, {"On", 1}}},
    };
    EXPECT_EQ(dictionary_file_text(content, "../dictionary.schema.json"),
              R"({
"$schema": "../dictionary.schema.json",
"vendor": {"id": 64496, "name": "Example \"& Sons\"", "format": "2,1"},
"attributes": {
  "Plain": {"code": "26.64496.1", "type": "text"},
  "Full": {"code": "26.64496.2", "type": "enum", "encrypt": 2, "has_tag": true, "optional_tag": true, "concat": true, "values": {"Off": 0, "On": 1}}
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

TEST(GeneratedText, IsWhatIsWritten) {
    const AttributeEntry entry{"A", {1}, "text", 0, false, false, false, {}};
    subscriber::radius::VendorInfo vendor;
    vendor.id = 9;
    vendor.name = "Cisco";
    const std::vector<DictionaryContent> contents = {
        {}, {{}, {entry}}, {vendor, {entry}}, {vendor, {entry, entry, entry}}};
    for (const DictionaryContent& content : contents) {
        const std::string text = dictionary_file_text(content, "s.json");
        EXPECT_TRUE(is_generated_text(text)) << text;
    }
    const std::vector<std::string> includes = {"vendor/a.yaml", "vendor/b-c.yaml", "standard.yaml"};
    EXPECT_TRUE(is_generated_text(root_file_text(includes, "s.json")));
    EXPECT_TRUE(is_generated_text(root_file_text({}, "s.json")));
}

std::string text_of(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

TEST(GeneratedText, HasNoLineOfAnotherForm) {
    const std::vector<std::string> sound = {"{",
                                            "\"$schema\": \"s\",",
                                            "\"vendor\": {\"id\": 9},",
                                            "\"attributes\": {",
                                            "  \"A\": {},",
                                            "  \"B\": {}",
                                            "}",
                                            "}"};
    ASSERT_TRUE(is_generated_text(text_of(sound)));
    EXPECT_FALSE(is_generated_text(text_of(sound) + "# mine\n"));
    EXPECT_FALSE(is_generated_text(text_of(sound) + "\n"));
    for (std::size_t i = 0; i < sound.size(); ++i) {
        std::vector<std::string> lines = sound;
        lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(i), "# mine");
        EXPECT_FALSE(is_generated_text(text_of(lines))) << text_of(lines);
        lines = sound;
        lines[i] += " # mine";
        EXPECT_FALSE(is_generated_text(text_of(lines))) << text_of(lines);
        lines[i] = " " + sound[i];
        EXPECT_FALSE(is_generated_text(text_of(lines))) << text_of(lines);
        lines.resize(i);
        EXPECT_FALSE(is_generated_text(text_of(lines))) << text_of(lines);
    }
    const std::string root = "# yaml-language-server: $schema=s\nincludes:\n";
    ASSERT_TRUE(is_generated_text(root));
    for (const char* const added :
         {"  - \"mine.yaml\"\n", "  - vendor/a.yaml\n", "  - \"vendor/a.json\"\n", "# mine\n", "\n",
          "attributes: {}\n", "  - \"vendor/\n", "  - \"standard.yaml\""}) {
        EXPECT_FALSE(is_generated_text(root + added)) << added;
        EXPECT_FALSE(is_generated_text(added + root)) << added;
    }
    for (const char* const text : {"", "\n", "{", "{\n", "{\n}\n", "includes:\n", "attributes: {}\n"}) {
        EXPECT_FALSE(is_generated_text(text)) << text;
    }
}

}  // namespace
}  // namespace quarn::quarn_radius
