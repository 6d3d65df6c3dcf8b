// Reading plain JSON, and whether it means what the same text means to yaml-cpp.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "dictionary/document_items.h"
#include "testing/loaded_dictionary.h"
#include "testing/scratch_folder.h"

namespace quarn::subscriber::radius {
namespace {

using test::ScratchFolder;

bool is_plain(const std::string& text) {
    std::vector<Item> items;
    return read_json(text, items);
}

/// The text's items, one after the other: its line and column, and what it is.
std::vector<std::string> items_of(const std::string& text) {
    std::vector<Item> items;
    EXPECT_TRUE(read_json(text, items)) << text;
    std::vector<std::string> told;
    for (const Item& item : items) {
        const std::string what = item.kind == Item::Kind::Map        ? "map to " + std::to_string(item.next)
                                 : item.kind == Item::Kind::Sequence ? "list to " + std::to_string(item.next)
                                 : item.kind == Item::Kind::Null     ? "null"
                                                                     : "'" + std::string(item.text) + "'";
        told.push_back(std::to_string(item.line) + ":" + std::to_string(item.column) + " " + what);
    }
    return told;
}

/// An object in an object, and so on.
std::string deeply_nested(int depth) {
    std::string text = "1";
    for (int level = 0; level < depth; ++level) {
        text = R"({"a": )" + text + "}";
    }
    return text;
}

TEST(JsonReader, ListsWhatATextHoldsWithItsPlaces) {
    EXPECT_EQ(items_of(R"({
"vendor": {"id": 9},

  "x": [true, null,
    "b"], "y": {}
})"),
              (std::vector<std::string>{"1:1 map to 12", "2:1 'vendor'", "2:11 map to 5", "2:12 'id'",
                                        "2:18 '9'", "4:3 'x'", "4:8 list to 10", "4:9 'true'", "4:15 null",
                                        "5:5 'b'", "5:11 'y'", "5:16 map to 12"}));
}

TEST(JsonReader, ReadsOneTextAfterTheOther) {
    std::vector<Item> items;
    ASSERT_TRUE(read_json(R"({"x": {"a": 1, "b": 2, "c": 3}})", items));
    EXPECT_EQ(items.size(), 9U);
    ASSERT_TRUE(read_json(R"({"y": 4})", items));
    EXPECT_EQ(items.size(), 3U);
}

TEST(JsonReader, TakesAnEmptyObject) {
    EXPECT_TRUE(is_plain("{}"));
    EXPECT_TRUE(is_plain(" {\n}\n\n"));
    EXPECT_TRUE(is_plain(R"({"vendor": {"id": 1}, "attributes": {}})"));
}

TEST(JsonReader, LeavesWhatIsNotPlainToYaml) {
    const std::vector<std::string> rows = {
        "",                                  // no object
        "[]",                                // a sequence
        "1",                                 // a scalar
        "{} {}",                             // more than one document
        "{}\n# a comment",                   //
        "{",                                 // incomplete
        "attributes:\n  A:\n    code: 1\n",  // block style
        "{attributes: {}}",                  // a plain key
        R"({'attributes': {}})",             // single quotes
        R"({"a": [1,]})",                    //
        R"({"a": [,1]})",                    //
        R"({"a": [1 2]})",                   //
        R"({"a": [1})",                      //
        R"({"a" 1})",                        //
        R"({"a"
: 1})",                                      // yaml-cpp wants the colon with the key
        "{\"a\": \"b\nc\"}",                 // a string of two lines
        R"({"a": True})",                    //
        R"({"a": nullx})",                   //
        R"({"a": 1"b": 2})",                 //
        R"({,"a": 1})",                      //
        R"({"attributes": {},})",            // a comma too many
        R"({"a": -1})",                      //
        R"({"a": 1.5})",                     //
        R"({"a": 1e3})",                     //
        R"({"a": 007})",                     //
        R"({"a": 0x10})",                    //
        R"({"a": "\n"})",                    // an escape
        "{\"a\": \"caf\xC3\xA9\"}",          // no ASCII
        "{\t\"a\": 1}",                      // a tab
        "{\"a\": 1}\r\n",                    // a carriage return
        std::string("{\"a\": 1}\0", 9),      // a NUL
        "\xEF\xBB\xBF{}",                    // a byte order mark
        deeply_nested(200),                  // deeper than yaml-cpp may go
        R"({"attributes": {")" + std::string(1001, 'A') + R"(": {}}})"  // a key too long for yaml-cpp
    };
    for (const std::string& row : rows) {
        EXPECT_FALSE(is_plain(row)) << row;
    }
}

/// Loads a text once as it is, and once with a comment behind it that only yaml-cpp takes, under one path.
void expect_same_dictionary_from_both_readers(const std::string& text) {
    const ScratchFolder folder;
    const std::string file = folder.write("file.yaml", text);
    const std::string by_json = test::describe_loaded(file, text);
    folder.write("file.yaml", text + "\n# for yaml-cpp\n");
    ASSERT_FALSE(is_plain(text + "\n# for yaml-cpp\n"));
    const std::string by_yaml = test::describe_loaded(file, text);
    EXPECT_EQ(by_json, by_yaml) << text;
}

TEST(BothReaders, GiveTheSameDictionaryForEveryShippedFile) {
    int plain = 0;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(QUARN_SOURCE_DIR "/share/quarn/radius")) {
        const std::string name = entry.path().filename();
        if (entry.path().extension() != ".yaml" || name == "dictionary.yaml" || name == "full.yaml") {
            continue;  // the roots are block YAML
        }
        SCOPED_TRACE(entry.path().string());
        std::ifstream stream(entry.path(), std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
        EXPECT_TRUE(is_plain(text)) << name;
        expect_same_dictionary_from_both_readers(text);
        ++plain;
    }
    EXPECT_GE(plain, 4);
}

TEST(BothReaders, GiveTheSameDictionaryAndWarningsForFaultyContent) {
    const std::vector<std::string> rows = {
        R"({"attributes": {"A": {"code": "26..1"}, "B": {"code": "x"}, "C": {"code": "1x"}, "D": {"code": ""}}})",
        R"({"attributes": {"A": {"code": " 26. 9 .1 "}, "B": {"code": "-1"}, "C": {"code": "4294967297"}}})",
        R"({"attributes": {"A": {"code": "99999999999999999999999"}}})",
        R"({"attributes": {"A": {"encrypt": "0x2"}, "B": {"encrypt": "two"}, "C": {"encrypt": 4294967297}}})",
        R"({"attributes": {"A": {"code": 1, "type": "Enum", "values": {"V": "x"}}}})",
        R"({"attributes": {"A": {"code": 1, "values": {"V": 1, "v": 2, "W": 1}}, "a": {"code": 1}}})",
        R"({"attributes": {"A": {"code": "26.9.1.2"}, "B": {"code": "26.9.2", "type": "text"},)"
        "\n"
        R"("C": {"code": "26.9.2.1"}}})",
        R"({"attributes": {"": {"code": 1}, " ": {"code": 2}, "true": {"code": 3}, "~": {"code": 4}}})",
        R"({"attributes": {"A":{"code":"1"},"B" : {"code" : "2"}}})",
        R"({"attributes": {"A")" + std::string(998, ' ') + R"(: {"code": 1}}})",
        R"({"attributes": {"A")" + std::string(1021, ' ') + R"(: {"code": 1}}})",
        R"({"attributes": {"A")" + std::string(1022, ' ') + R"(: {"code": 1}}})",
        R"({"vendor": {"id": 9, "format": "1,0"}})",
        R"({"vendor": {"id": "x"}})",
        R"({"vendor": {"id": 9, "name": "N", "format": "2,2,c"}, "attributes": {"A": {"code": "26.9.1"}}})",
        R"({"attributes": {"A": {"code": 1}}, "attributes": {"B": {"code": 2}}})",
        R"({"$schema": "x", "other": {"deep": {"er": {"still": true}}}, "attributes": {"A": {"more": {}}}})",
        R"({"attributes": {"A": {"type": true}, "B": {"type": 1}, "C": {"code": true}}})",
        R"({"includes": "x"})",
        R"({"includes": {}})",
        R"({"includes": [["x"]]})",
        R"({"includes": []})",
        R"({"vendor": 1})",
        R"({"vendor": null, "attributes": null, "includes": null})",
        R"({"vendor": {"name": "no id"}})",
        R"({"vendor": {"id": {}}})",
        R"({"vendor": {"id": null}})",
        R"({"vendor": {"id": 9, "name": [1]}})",
        R"({"vendor":
   {"id": 9, "format": "0,1"}})",
        R"({"attributes": "x"})",
        R"({"attributes": {"A": 1, "B": null, "C": []}})",
        R"({"attributes": {"A": {"code": {}}, "B": {"code": ["1"]}, "C": {"code": null}}})",
        R"({"attributes": {"A": {"has_tag": "true"}, "B": {"has_tag": 1}, "C": {"concat": null}}})",
        R"({"attributes": {"A": {"concat": 1}}})",
        R"({"attributes": {"A": {"values": 1}}})",
        R"({"attributes": {"A": {"values": null}}})",
        R"({"attributes": {"A": {"values": {"V": {}}}}})",
        R"({"attributes": {"A": {"values": {"V": null}}}})",
        R"({"a": [1, [true, {}], "x"], "attributes": {"A": {"code": 1}}})",
        R"({"attributes": {"--- x": {"code": 1}, "# no comment": {"code": 2}, "a: b": {"code": 3}}})",
    };
    for (const std::string& row : rows) {
        expect_same_dictionary_from_both_readers(row);
    }
}

TEST(BothReaders, GiveTheSameDictionaryForRandomlyDamagedFiles) {
    const std::string whole = R"({
"vendor": {"id": 9, "name": "Example", "format": "1,1"},
"attributes": {
  "Avpair": {"code": "26.9.1", "type": "text"},
  "Mode": {"code": "26.9.2", "type": "enum", "values": {"Off": 0, "On": 1}},
  "Tagged": {"code": "64", "type": "integer", "has_tag": true, "encrypt": 2},
  "Long": {"code": "79", "concat": true}
}
})";
    constexpr std::string_view pieces[] = {"\"", "{", "}", ":",    ",", " ", "\n",
                                           "1",  "0", ".", "true", "x", "-", "#"};
    int plain = 0;
    for (std::uint32_t seed = 0; seed < 800; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        std::string text = whole;
        for (std::uint32_t damage = 0; damage <= seed % 3; ++damage) {
            const std::size_t place = random() % text.size();
            text.replace(place, random() % 3, pieces[random() % std::size(pieces)]);
        }
        if (is_plain(text)) {
            ++plain;
            expect_same_dictionary_from_both_readers(text);
        }
    }
    EXPECT_GT(plain, 50);
}

}  // namespace
}  // namespace quarn::subscriber::radius
