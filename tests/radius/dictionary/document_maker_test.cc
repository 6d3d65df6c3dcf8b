// Documents with their lines, made of YAML and of JSON.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "dictionary/document_items.h"

namespace quarn::subscriber::radius {
namespace {

using Lines = std::vector<std::string>;

std::string shown(WrittenKind kind) {
    switch (kind) {
        case WrittenKind::Absent:
            return "absent";
        case WrittenKind::Null:
            return "null";
        case WrittenKind::Text:
            return "text";
        case WrittenKind::Map:
            return "map";
        case WrittenKind::Sequence:
            return "list";
    }
    return "?";
}

std::string shown(const WrittenBlock& block) {
    return shown(block.kind) + " " + std::to_string(block.key_line) + "/" + std::to_string(block.line);
}

std::string shown(const WrittenText& text) {
    return shown(text.kind) + " '" + std::string(text.text) + "' " + std::to_string(text.key_line) + "/" +
           std::to_string(text.line) + ":" + std::to_string(text.column);
}

/// All that is there, each with the line of its key, its own line, and its column if it is a text.
Lines shown(const DictionaryDocument& document) {
    Lines lines;
    const auto add = [&lines](const std::string& name, const auto& written) {
        if (written.kind != WrittenKind::Absent) {
            lines.push_back(name + ": " + shown(written));
        }
    };
    add("root", document.root);
    add("includes", document.includes);
    for (const WrittenText& entry : document.included) {
        add("- ", entry);
    }
    add("vendor", document.vendor);
    add("id", document.vendor.id);
    add("name", document.vendor.name);
    add("format", document.vendor.format);
    add("attributes", document.attribute_block);
    for (const WrittenAttribute& attribute : document.attributes) {
        add(std::string(attribute.name.text), attribute);
        add("  code", attribute.code);
        add("  type", attribute.type);
        add("  encrypt", attribute.encrypt);
        add("  has_tag", attribute.has_tag);
        add("  concat", attribute.concat);
        add("  values", attribute.values);
        for (const WrittenValue& value : document.values_of(attribute)) {
            add("    " + std::string(value.name.text), value.number);
        }
    }
    for (const StrayKey& key : document.stray_keys) {
        const std::string owner = key.owner == StrayKey::file     ? "file"
                                  : key.owner == StrayKey::vendor ? "vendor"
                                                                  : std::to_string(key.owner);
        const std::string reason = key.reason == StrayKey::Reason::NoText    ? "no text"
                                   : key.reason == StrayKey::Reason::Unknown ? "unknown"
                                                                             : "repeated";
        lines.push_back("stray key of " + owner + ": '" + std::string(key.text) + "' " + reason + " " +
                        std::to_string(key.line));
    }
    return lines;
}

/// The document of a text that only the YAML reader takes.
Lines made(const std::string& text) {
    ParsedFile file;
    file.text = text;
    file.size = text.size();
    EXPECT_FALSE(read_json(file.text, file.items));
    const auto fault = read_yaml(file);
    EXPECT_FALSE(fault) << fault->reason;
    DictionaryDocument document;
    Repeatable repeatable;
    make_document(file, repeatable, document);
    return shown(document);
}

/// The document of a text that both readers take, as each makes it.
Lines made_by_both(const std::string& text) {
    ParsedFile file;
    file.text = text;
    file.size = text.size();
    EXPECT_TRUE(read_json(file.text, file.items));
    DictionaryDocument document;
    Repeatable repeatable;
    make_document(file, repeatable, document);
    const Lines by_json = shown(document);
    EXPECT_FALSE(read_yaml(file));
    make_document(file, repeatable, document);
    EXPECT_EQ(shown(document), by_json);
    return by_json;
}

TEST(Document, HoldsAllThatAFileDefinesWithItsLines) {
    const Lines expected = {"root: map 1/1",
                            "includes: list 2/2",
                            "- : text 'a.yaml' 2/2:14",
                            "- : null 'null' 3/3:3",
                            "vendor: map 4/5",
                            "id: text '9' 5/5:10",
                            "name: text 'V' 5/5:21",
                            "format: text '1,1' 6/6:14",
                            "attributes: map 7/7",
                            "A: map 8/9",
                            "  code: text '26.9.1' 9/9:14",
                            "  type: text 'enum' 9/9:32",
                            "  encrypt: text '1' 10/10:16",
                            "  has_tag: text 'true' 10/10:30",
                            "  concat: text 'false' 10/10:46",
                            "  values: map 11/11",
                            "    On: text '1' 11/11:22",
                            "    Off: text '0' 12/12:12",
                            "B: map 14/14",
                            "  values: map 14/14",
                            "    Up: text '2' 14/14:26"};
    const std::string text = R"({
"includes": ["a.yaml",
  null],
"vendor":
  {"id": 9, "name": "V",
   "format": "1,1"},
"attributes": {
  "A":
    {"code": "26.9.1", "type": "enum",
    "encrypt": 1, "has_tag": true, "concat": false,
    "values": {"On": 1,
    "Off": 0}
  },
  "B": {"values": {"Up": 2}}
}
}
)";
    EXPECT_EQ(made_by_both(text), expected);
    EXPECT_EQ(made(text + "# no JSON\n"), expected);
}

TEST(Document, TellsEachKeyThatHasNoEffectAndTakesTheFirstOfEqualOnes) {
    EXPECT_EQ(made(R"(
x: 1
vendor: {id: 1, id: 2, y: [3], [z]: 4}
vendor: {}
attributes:
  A:
    code: 1
    code: 2
    {k: v}: 3
    ~: 4
    values: {On: 1}
    values: {Off: 2}
  B: {type: text, Type: text}
attributes: {C: {}}
$schema: s
)"),
              (Lines{"root: map 2/2",
                     "vendor: map 3/3",
                     "id: text '1' 3/3:14",
                     "attributes: map 5/6",
                     "A: map 6/7",
                     "  code: text '1' 7/7:11",
                     "  values: map 11/11",
                     "    On: text '1' 11/11:18",
                     "B: map 13/13",
                     "  type: text 'text' 13/13:13",
                     "stray key of file: 'x' unknown 2",
                     "stray key of file: 'vendor' repeated 4",
                     "stray key of file: 'attributes' repeated 14",
                     "stray key of vendor: 'id' repeated 3",
                     "stray key of vendor: 'y' unknown 3",
                     "stray key of vendor: '' no text 3",
                     "stray key of 0: 'code' repeated 8",
                     "stray key of 0: '' no text 9",
                     "stray key of 0: 'null' unknown 10",
                     "stray key of 0: 'values' repeated 12",
                     "stray key of 1: 'Type' unknown 13"}));
}

TEST(Document, KeepsWhatIsOfTheWrongKind) {
    EXPECT_EQ(
        made("includes: {a: b}\nvendor: [9]\nattributes: {A: 1, [B]: {}, C: {code: [1], values: [x]}}\n"),
        (Lines{"root: map 1/1", "includes: map 1/1", "vendor: list 2/2", "attributes: map 3/3", "A: text 3/3",
               ": map 3/3", "C: map 3/3", "  code: list '' 3/3:39", "  values: list 3/3"}));
    EXPECT_EQ(made("- vendor\n"), Lines{"root: list 1/1"});
    EXPECT_EQ(made("# nothing\n"), Lines{"root: null 0/0"});
    EXPECT_EQ(made("vendor:\nattributes: ~\n"),
              (Lines{"root: map 1/1", "vendor: null 1/2", "attributes: null 2/2"}));
}

TEST(Document, HasTheLinesOfWhatAnAliasRepeatsAndOfTheKeyBeforeIt) {
    EXPECT_EQ(
        made("attributes:\n  A: &a\n    code: &code 1\n    values: {On: 1}\n  B: *a\n  C: {code: *code}\n"),
        (Lines{"root: map 1/1", "attributes: map 1/2", "A: map 2/2", "  code: text '1' 3/3:11",
               "  values: map 4/4", "    On: text '1' 4/4:18", "B: map 5/2", "  code: text '1' 3/3:11",
               "  values: map 4/4", "    On: text '1' 4/4:18", "C: map 6/6", "  code: text '1' 6/3:11"}));
}

TEST(Document, ReplacesTheOneBefore) {
    ParsedFile file;
    DictionaryDocument document;
    Repeatable repeatable;
    for (const std::string text : {"{\"includes\": [1], \"vendor\": {\"id\": 1}, \"x\": 1, \"attributes\": "
                                   "{\"A\": {\"values\": {\"B\": 1}}}}",
                                   "{}"}) {
        file.text = text;
        ASSERT_TRUE(read_json(file.text, file.items));
        make_document(file, repeatable, document);
    }
    EXPECT_EQ(shown(document), Lines{"root: map 1/1"});
    EXPECT_TRUE(document.values.empty());
}

}  // namespace
}  // namespace quarn::subscriber::radius
