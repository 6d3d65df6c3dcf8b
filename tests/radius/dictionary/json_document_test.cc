#include "dictionary/json_document.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "testing/loaded_dictionary.h"
#include "testing/scratch_folder.h"

namespace quarn::subscriber::radius {
namespace {

using test::ScratchFolder;

bool is_plain(const std::string& text) {
    const ScratchFolder folder;
    return JsonDocument().read(folder.write("file.yaml", text));
}

/// An object in an object, and so on.
std::string deeply_nested(int depth) {
    std::string text = "1";
    for (int level = 0; level < depth; ++level) {
        text = R"({"a": )" + text + "}";
    }
    return text;
}

TEST(JsonDocument, HandsOutWhatAFileHolds) {
    const ScratchFolder folder;
    JsonDocument document;
    ASSERT_TRUE(document.read(folder.write("file.yaml", R"({
"vendor": {"id": 9, "name": "Example"},
"attributes": {
  "One": {"code": "26.9.1", "has_tag": true},

  "Two": {"code": "26.9.2", "has_tag": false, "values": {"Off": 0}}
}
})")));
    const JsonNode root = document.root();
    EXPECT_TRUE(root.IsMap());
    EXPECT_FALSE(root["includes"]);
    EXPECT_EQ(root["vendor"]["id"].as<std::string>(), "9");
    EXPECT_EQ(root["vendor"]["name"].as<std::string>(), "Example");
    EXPECT_FALSE(root["vendor"]["format"]);

    std::vector<std::string> names;
    std::vector<std::uint32_t> lines;
    std::vector<bool> tags;
    for (const JsonNode::Entry& entry : root["attributes"]) {
        names.push_back(entry.first.as<std::string>());
        lines.push_back(entry.first.line());
        tags.push_back(entry.second["has_tag"].as<bool>());
    }
    EXPECT_EQ(names, (std::vector<std::string>{"One", "Two"}));
    EXPECT_EQ(lines, (std::vector<std::uint32_t>{4, 6}));
    EXPECT_EQ(tags, (std::vector<bool>{true, false}));
    EXPECT_EQ(root["attributes"]["Two"]["values"]["Off"].as<std::string>(), "0");
}

TEST(JsonDocument, FindsTheFirstOfTwoEntriesOfOneKeyAndListsBoth) {
    const ScratchFolder folder;
    JsonDocument document;
    ASSERT_TRUE(document.read(folder.write("file.yaml", R"({"x": {"k": 1, "k": 2}})")));
    const JsonNode map = document.root()["x"];
    EXPECT_EQ(map["k"].as<std::string>(), "1");
    std::vector<std::string> values;
    for (const JsonNode::Entry& entry : map) {
        values.push_back(entry.second.as<std::string>());
    }
    EXPECT_EQ(values, (std::vector<std::string>{"1", "2"}));
}

TEST(JsonDocument, ReadsOneFileAfterTheOther) {
    const ScratchFolder folder;
    const std::string longer = folder.write("longer.yaml", R"({"x": {"a": 1, "b": 2, "c": 3}})");
    const std::string shorter = folder.write("shorter.yaml", R"({"y": 4})");
    const std::string faulty = folder.write("faulty.yaml", R"({"x": {"a": )");

    JsonDocument document;
    ASSERT_TRUE(document.read(longer));
    ASSERT_TRUE(document.read(shorter));
    EXPECT_FALSE(document.root()["x"]);
    EXPECT_EQ(document.root()["y"].as<std::string>(), "4");
    EXPECT_FALSE(document.read(faulty));
    ASSERT_TRUE(document.read(longer));
    EXPECT_EQ(document.root()["x"]["c"].as<std::string>(), "3");
    EXPECT_FALSE(document.root()["y"]);
}

TEST(JsonDocument, TakesAnEmptyObject) {
    EXPECT_TRUE(is_plain("{}"));
    EXPECT_TRUE(is_plain(" {\n}\n\n"));
    EXPECT_TRUE(is_plain(R"({"vendor": {"id": 1}, "attributes": {}})"));
}

TEST(JsonDocument, LeavesWhatIsNotPlainToYaml) {
    const std::vector<std::string> rows = {
        "",                                                             // no object
        "[]",                                                           // a sequence
        "1",                                                            // a scalar
        "{} {}",                                                        // more than one document
        "{}\n# a comment",                                              //
        "{",                                                            // incomplete
        "attributes:\n  A:\n    code: 1\n",                             // block style
        "{attributes: {}}",                                             // a plain key
        R"({'attributes': {}})",                                        // single quotes
        R"({"attributes": {},})",                                       // a comma too many
        R"({"a": null})",                                               //
        R"({"a": [1]})",                                                //
        R"({"a": -1})",                                                 //
        R"({"a": 1.5})",                                                //
        R"({"a": 1e3})",                                                //
        R"({"a": 007})",                                                //
        R"({"a": 0x10})",                                               //
        R"({"a": "\n"})",                                               // an escape
        "{\"a\": \"caf\xC3\xA9\"}",                                     // no ASCII
        "{\t\"a\": 1}",                                                 // a tab
        "{\"a\": 1}\r\n",                                               // a carriage return
        std::string("{\"a\": 1}\0", 9),                                 // a NUL
        "\xEF\xBB\xBF{}",                                               // a byte order mark
        R"({"includes": "x"})",                                         // what the loader refuses,
        R"({"includes": {}})",                                          // or skips with yaml-cpp's reason
        R"({"vendor": 1})",                                             //
        R"({"vendor": {"name": "no id"}})",                             //
        R"({"vendor": {"id": {}}})",                                    //
        R"({"attributes": "x"})",                                       //
        R"({"attributes": {"A": 1}})",                                  //
        R"({"attributes": {"A": {"code": {}}}})",                       //
        R"({"attributes": {"A": {"has_tag": "true"}}})",                //
        R"({"attributes": {"A": {"concat": 1}}})",                      //
        R"({"attributes": {"A": {"values": 1}}})",                      //
        R"({"attributes": {"A": {"values": {"V": {}}}}})",              //
        deeply_nested(200),                                             // deeper than yaml-cpp may go
        R"({"attributes": {")" + std::string(1001, 'A') + R"(": {}}})"  // a key too long for yaml-cpp
    };
    for (const std::string& row : rows) {
        EXPECT_FALSE(is_plain(row)) << row;
    }
}

TEST(JsonDocument, LeavesAHugeFileToYaml) {
    constexpr std::size_t most = std::size_t{64} << 20;
    std::string text(most, ' ');
    text[0] = '{';
    text[1] = '}';
    const ScratchFolder folder;
    EXPECT_TRUE(JsonDocument().read(folder.write("file.yaml", text)));
    text += ' ';
    EXPECT_FALSE(JsonDocument().read(folder.write("file.yaml", text)));
}

TEST(JsonDocument, LeavesWhatCannotBeReadToYaml) {
    const ScratchFolder folder;
    EXPECT_FALSE(JsonDocument().read((folder.path() / "missing.yaml").string()));
    EXPECT_FALSE(JsonDocument().read(folder.path().string()));
}

/// Loads a text once as it is, and once with a comment behind it that only yaml-cpp takes, under one path.
void expect_same_dictionary_from_both_readers(const std::string& text) {
    const ScratchFolder folder;
    const std::string file = folder.write("file.yaml", text);
    const std::string by_json = test::describe_loaded(file, text);
    folder.write("file.yaml", text + "\n# for yaml-cpp\n");
    ASSERT_FALSE(JsonDocument().read(file));
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
        EXPECT_TRUE(JsonDocument().read(entry.path().string())) << name;
        SCOPED_TRACE(entry.path().string());
        std::ifstream stream(entry.path(), std::ios::binary);
        expect_same_dictionary_from_both_readers(
            {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()});
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
