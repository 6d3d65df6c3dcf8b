// Reading dictionary files: their form, their order, and every way in which they fail.
#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "quarn/radius/dictionary.h"
#include "testing/scratch_folder.h"
#include "testing/thrown_text.h"
#include "testing/warnings.h"

namespace quarn::subscriber::radius {
namespace {

using test::ScratchFolder;
using test::thrown_text;
using test::Warning;
using test::WarningRecorder;

using Warnings = std::vector<Warning>;

/// A dictionary, a folder for its files, and what loading it warned of.
class DictionaryLoader : public testing::Test {
  protected:
    std::string write(const std::filesystem::path& name, std::string_view yaml) const {
        return folder.write(name, yaml);
    }

    std::string path_of(const std::filesystem::path& name) const { return (folder.path() / name).string(); }

    void load(std::string_view yaml) { dictionary.load(write("dictionary.yaml", yaml)); }

    /// The text with which loading fails.
    std::string failure_of_file(const std::string& path) {
        return thrown_text<std::runtime_error>([&] { dictionary.load(path); });
    }

    /// The text with which loading this YAML fails, its path shown as "<path>".
    std::string failure_of(std::string_view yaml) {
        const std::string path = write("dictionary.yaml", yaml);
        std::string text = failure_of_file(path);
        return text.starts_with(path) ? "<path>" + text.substr(path.size()) : text;
    }

    const AttributeMetadata& named(std::string_view name) const { return dictionary.attribute_by_name(name); }
    const AttributeMetadata& at(const CodePath& code) const { return dictionary.attribute_by_code(code); }

    ScratchFolder folder;
    RadiusDictionary dictionary;
    WarningRecorder recorder;
};

// What a file may hold

using DictionaryFile = DictionaryLoader;

TEST_F(DictionaryFile, DefinesVendorAttributesAndValues) {
    write("base.yaml", "attributes: {Vendor-Specific: {code: 26, type: vsa}}");
    load(R"(includes:
  - base.yaml
vendor:
  id: 9
  name: Example-Vendor
  format: "1,1"
attributes:
  Example-Avpair:
    code: 26.9.1
    type: string
  Example-Mode:
    code: 26.9.2
    type: enum
    values:
      Off: 0
      On: 1
      Auto: 0x10
)");
    EXPECT_EQ(named("Vendor-Specific").code, (CodePath{26}));
    EXPECT_EQ(named("Vendor-Specific").kind, ContainerKind::Vsa);
    EXPECT_EQ(named("Example-Avpair").code, (CodePath{26, 9, 1}));
    EXPECT_EQ(named("Example-Mode").value_type, ValueType::Integer);
    EXPECT_EQ(named("Example-Mode").vendor->name, "Example-Vendor");
    EXPECT_EQ(dictionary.enum_value("Example-Mode", "Auto"), 16U);
    EXPECT_EQ(dictionary.enum_name("Example-Mode", 1), "On");
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(DictionaryFile, FillsEveryFieldOfARecord) {
    load(R"(vendor: {id: 9, name: Example, format: "2,1,c"}
attributes:
  Example-Key: {code: 26.9.300, type: Signed, encrypt: 2, has_tag: true, concat: true}
)");
    VendorInfo vendor;
    vendor.id = 9;
    vendor.name = "Example";
    vendor.format = "2,1,c";
    vendor.type_size = 2;
    vendor.continuation = true;

    AttributeMetadata wanted;
    wanted.name = "Example-Key";
    wanted.name_lower = "example-key";
    wanted.code = {26, 9, 300};
    wanted.type = "Signed";
    wanted.encrypt = 2;
    wanted.has_tag = true;
    wanted.continuation = true;
    wanted.concat = true;
    wanted.vendor = vendor;
    wanted.value_type = ValueType::Signed;
    wanted.fixed_size = 4;
    wanted.is_signed = true;
    EXPECT_EQ(named("Example-Key"), wanted);
    EXPECT_EQ(at({26, 9, 300}), wanted);
}

TEST_F(DictionaryFile, GivesAnAttributeDefaults) {
    load("attributes: {Bare: {code: 200}}");
    AttributeMetadata wanted;
    wanted.name = "Bare";
    wanted.name_lower = "bare";
    wanted.code = {200};
    EXPECT_EQ(named("Bare"), wanted);
    EXPECT_EQ(named("Bare").type, "string");
    EXPECT_EQ(named("Bare").value_type, ValueType::Octets);
    EXPECT_EQ(named("Bare").fixed_size, 0U);
    EXPECT_TRUE(named("Bare").known);
}

TEST_F(DictionaryFile, MayDefineAnAttributeByItsNameAlone) {
    load("attributes:\n  Empty: {}\n  Null:\n  Other: {code: 1}\n");
    EXPECT_TRUE(named("Empty").known);
    EXPECT_EQ(named("Empty").code, CodePath{});
    EXPECT_TRUE(named("Other").known);
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(DictionaryFile, FindsAnAttributeWithoutCodeByNameOnly) {
    load("attributes: {No-Code: {type: text}}");
    EXPECT_TRUE(named("No-Code").known);
    EXPECT_EQ(named("No-Code").value_type, ValueType::Text);
    EXPECT_FALSE(at({}).known);
}

TEST_F(DictionaryFile, MayBeFlowStyle) {
    load(R"({"attributes": {"User-Name": {"code": "1", "type": "text"}}})");
    EXPECT_EQ(named("User-Name").code, (CodePath{1}));
    EXPECT_EQ(named("User-Name").type, "text");
}

TEST_F(DictionaryFile, MayHoldUnknownKeys) {
    load(R"(version: 3
vendor: {id: 9, homepage: [example]}
attributes:
  X: {code: 1, comment: {some: thing}, Encrypt: 2}
)");
    EXPECT_EQ(named("X").code, (CodePath{1}));
    EXPECT_EQ(named("X").encrypt, 0U);
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(DictionaryFile, TakesTheFirstOfTwoEqualKeys) {
    const std::string lines[] = {
        R"(  "A": {"code": "11", "code": "12", "type": "text", "type": "octets", "encrypt": 1, "encrypt": 2},)",
        R"(  "B": {"code": "13", "has_tag": true, "has_tag": false, "concat": true, "concat": false},)",
        R"(  "C": {"code": "14", "type": "enum", "values": {"On": 1}, "values": {"Off": 2}})"};
    const std::string json =
        "{\n\"vendor\": {\"id\": 9, \"id\": 10, \"name\": \"V\", \"name\": \"W\", \"format\": \"2,1\", "
        "\"format\": \"1,1\"},\n\"attributes\": {\n" +
        lines[0] + "\n" + lines[1] + "\n" + lines[2] +
        "\n},\n\"attributes\": {\"D\": {\"code\": \"15\"}}\n}\n";
    for (const std::string& text : {json, json + "# for YAML's reader\n"}) {
        SCOPED_TRACE(text);
        RadiusDictionary loaded;
        loaded.load(write("keys.yaml", text));
        const AttributeMetadata& first = loaded.attribute_by_name("A");
        EXPECT_EQ(first.code, CodePath{11});
        EXPECT_EQ(first.type, "text");
        EXPECT_EQ(first.encrypt, 1U);
        EXPECT_TRUE(loaded.attribute_by_name("B").has_tag);
        EXPECT_TRUE(loaded.attribute_by_name("B").concat);
        EXPECT_EQ(loaded.enum_value("C", "On"), 1U);
        EXPECT_EQ(loaded.enum_value("C", "Off"), std::nullopt);
        EXPECT_FALSE(loaded.attribute_by_name("D").known);
        ASSERT_NE(loaded.vendor_by_id(9), nullptr);
        EXPECT_EQ(loaded.vendor_by_id(9)->name, "V");
        EXPECT_EQ(loaded.vendor_by_id(9)->format, "2,1");
        EXPECT_EQ(loaded.vendor_by_id(10), nullptr);
    }
}

TEST_F(DictionaryFile, MayBeEmpty) {
    for (const char* const yaml : {"", "\n", "# nothing here\n", "---\n", "~\n", "{}\n"}) {
        SCOPED_TRACE(yaml);
        EXPECT_NO_THROW(load(yaml));
        EXPECT_EQ(recorder.warnings(), Warnings{});
    }
}

TEST_F(DictionaryFile, MayHoldNullBlocks) {
    load("includes:\nvendor: ~\nattributes: null\n");
    EXPECT_EQ(recorder.warnings(), Warnings{});
    load("attributes: {X: {code: 1, values: ~}}");
    EXPECT_EQ(named("X").code, (CodePath{1}));
}

TEST_F(DictionaryFile, MayHoldEmptyBlocks) {
    load("includes: []\nattributes: {}\n");
    load("attributes: {X: {code: 1, values: {}}}");
    EXPECT_EQ(named("X").code, (CodePath{1}));
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(DictionaryFile, ReadsItsBlocksInTheOrderOfLoadingNotOfWriting) {
    write("base.yaml", "attributes: {X: {code: 1}}");
    load("attributes: {X: {code: 2}}\nvendor: {id: 9}\nincludes: [base.yaml]\n");
    EXPECT_EQ(named("X").code, (CodePath{2}));
    ASSERT_TRUE(named("X").vendor.has_value());
    EXPECT_EQ(named("X").vendor->id, 9U);
}

TEST_F(DictionaryFile, ReadsCodes) {
    struct Row {
        const char* written;
        CodePath code;
    };
    const Row rows[] = {
        {"1", {1}},
        {"26.9.1", {26, 9, 1}},
        {"'241.9.1.4.10'", {241, 9, 1, 4, 10}},
        {"26. 9 .1", {26, 9, 1}},
        {"' 26 . 9 . 1 '", {26, 9, 1}},
        {"\"\\t26.\\n9.1\"", {26, 9, 1}},
        {"0", {0}},
        {"026.009", {26, 9}},
        {"4294967295", {4294967295}},
        {"4294967296", {0}},
        {"26.4294967297.2", {26, 1, 2}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.written);
        load(std::string("attributes: {X: {code: ") + row.written + "}}");
        EXPECT_EQ(named("X").code, row.code);
        EXPECT_EQ(at(row.code).name, "X");
    }
}

TEST_F(DictionaryFile, ReadsEncrypt) {
    struct Row {
        const char* written;
        std::uint32_t encrypt;
    };
    constexpr Row rows[] = {
        {"0", 0},   {"1", 1},       {"2", 2},       {"0x2", 2},        {"\"0x2\"", 2},
        {"'2'", 2}, {"'\"2\"'", 2}, {"'  1  '", 1}, {"4294967297", 1}, {"4294967295", 4294967295},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.written);
        load(std::string("attributes: {X: {encrypt: ") + row.written + "}}");
        EXPECT_EQ(named("X").encrypt, row.encrypt);
    }
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(DictionaryFile, ReadsYamlBooleans) {
    for (const char* const written : {"true", "True", "TRUE", "yes", "on", "y", "'true'"}) {
        SCOPED_TRACE(written);
        load(std::string("attributes: {X: {has_tag: ") + written + "}, Y: {concat: " + written + "}}");
        EXPECT_TRUE(named("X").has_tag);
        EXPECT_FALSE(named("X").concat);
        EXPECT_TRUE(named("Y").concat);
        EXPECT_FALSE(named("Y").has_tag);
        load(std::string("attributes: {X: {optional_tag: ") + written + "}}");
        EXPECT_TRUE(named("X").optional_tag);
        EXPECT_FALSE(named("X").has_tag);
    }
    for (const char* const written : {"false", "False", "FALSE", "no", "off", "n"}) {
        SCOPED_TRACE(written);
        load(std::string("attributes: {X: {has_tag: ") + written + ", concat: " + written + "}}");
        EXPECT_TRUE(named("X").known);
        EXPECT_FALSE(named("X").has_tag);
        EXPECT_FALSE(named("X").concat);
    }
}

TEST_F(DictionaryFile, LosesNothingToAnOptionalTagThatCannotBeRead) {
    for (const char* const written : {"false", "maybe", "1", "[true]", "{a: true}", "null"}) {
        SCOPED_TRACE(written);
        load(std::string("attributes: {X: {code: 81, type: text, optional_tag: ") + written + "}}");
        EXPECT_TRUE(named("X").known);
        EXPECT_FALSE(named("X").optional_tag);
    }
}

TEST_F(DictionaryFile, KeepsTheSpellingOfNamesAndTypes) {
    load("attributes: {ExAmPle-NAME: {code: 1, type: EnUm}}");
    EXPECT_EQ(named("example-name").name, "ExAmPle-NAME");
    EXPECT_EQ(named("example-name").name_lower, "example-name");
    EXPECT_EQ(named("example-name").type, "EnUm");
    EXPECT_EQ(named("example-name").value_type, ValueType::Integer);
    EXPECT_EQ(named("example-name").fixed_size, 4U);
}

TEST_F(DictionaryFile, DoesNotTrimTypes) {
    load("attributes: {X: {type: ' integer'}}");
    EXPECT_EQ(named("X").type, " integer");
    EXPECT_EQ(named("X").value_type, ValueType::Octets);
}

TEST_F(DictionaryFile, MayNameAttributesInAnyScript) {
    load("attributes: {\xC3\x89t\xC3\xA9: {code: 1}, 42: {code: 2}}");
    EXPECT_EQ(named("\xC3\x89T\xC3\xA9").name_lower, "\xC3\x89t\xC3\xA9");
    EXPECT_EQ(named("42").code, (CodePath{2}));
}

// Vendors

using DictionaryVendor = DictionaryLoader;

TEST_F(DictionaryVendor, OwnsEveryAttributeOfItsFile) {
    load(R"(vendor: {id: 9, name: Example, format: "4,2"}
attributes:
  A: {code: 26.9.1}
  B: {type: text}
  C: {code: 1}
)");
    for (const char* const name : {"A", "B", "C"}) {
        SCOPED_TRACE(name);
        ASSERT_TRUE(named(name).vendor.has_value());
        EXPECT_EQ(named(name).vendor->id, 9U);
        EXPECT_EQ(named(name).vendor->name, "Example");
        EXPECT_EQ(named(name).vendor->format, "4,2");
        EXPECT_EQ(named(name).vendor->type_size, 4U);
        EXPECT_EQ(named(name).vendor->length_size, 2U);
        EXPECT_FALSE(named(name).vendor->continuation);
        EXPECT_FALSE(named(name).continuation);
    }
}

TEST_F(DictionaryVendor, DoesNotChangeTheWrittenCode) {
    load("vendor: {id: 9}\nattributes: {A: {code: 1}}\n");
    EXPECT_EQ(named("A").code, (CodePath{1}));
    EXPECT_TRUE(at({1}).known);
    EXPECT_FALSE(at({26, 9, 1}).known);
}

TEST_F(DictionaryVendor, DoesNotOwnAttributesOfOtherFiles) {
    write("vendor.yaml", "vendor: {id: 9, format: '1,1,c'}\nattributes: {Theirs: {code: 26.9.1}}\n");
    write("plain.yaml", "attributes: {Plain: {code: 2}}");
    load("includes: [vendor.yaml, plain.yaml]\nattributes: {Ours: {code: 1}}\n");
    EXPECT_TRUE(named("Theirs").vendor.has_value());
    EXPECT_TRUE(named("Theirs").continuation);
    EXPECT_FALSE(named("Plain").vendor.has_value());
    EXPECT_FALSE(named("Plain").continuation);
    EXPECT_FALSE(named("Ours").vendor.has_value());
}

TEST_F(DictionaryVendor, DoesNotOwnAttributesOfTheFilesItsFileIncludes) {
    write("plain.yaml", "attributes: {Plain: {code: 2}}");
    load("includes: [plain.yaml]\nvendor: {id: 9}\nattributes: {Theirs: {code: 26.9.1}}\n");
    EXPECT_FALSE(named("Plain").vendor.has_value());
    EXPECT_TRUE(named("Theirs").vendor.has_value());
}

TEST_F(DictionaryVendor, HandsItsContinuationFlagToItsAttributes) {
    load("vendor: {id: 9, format: '1,1,C'}\nattributes: {A: {code: 26.9.1}}\n");
    EXPECT_TRUE(named("A").continuation);
    EXPECT_TRUE(named("A").vendor->continuation);
    EXPECT_EQ(named("A").vendor->format, "1,1,C");
}

TEST_F(DictionaryVendor, HasDefaults) {
    load("vendor: {id: 9}");
    const VendorInfo* const vendor = dictionary.vendor_by_id(9);
    ASSERT_NE(vendor, nullptr);
    VendorInfo wanted;
    wanted.id = 9;
    EXPECT_EQ(*vendor, wanted);
    ASSERT_NE(dictionary.vendor_by_name(""), nullptr);
    EXPECT_EQ(*dictionary.vendor_by_name(""), wanted);
}

TEST_F(DictionaryVendor, ReadsItsNumberLikeEveryNumber) {
    load("vendor: {id: 0x137, name: M}");
    EXPECT_EQ(dictionary.vendor_by_name("M")->id, 311U);
    load("vendor: {id: \"'311'\", name: M}");
    EXPECT_EQ(dictionary.vendor_by_name("M")->id, 311U);
    load("vendor: {id: 4294967297, name: M}");
    EXPECT_EQ(dictionary.vendor_by_name("M")->id, 1U);
}

TEST_F(DictionaryVendor, KeepsItsFormatAsWritten) {
    load("vendor: {id: 9, format: ' 2 , 1 '}");
    EXPECT_EQ(dictionary.vendor_by_id(9)->format, " 2 , 1 ");
    EXPECT_EQ(dictionary.vendor_by_id(9)->type_size, 2U);
}

TEST_F(DictionaryVendor, IsReplacedByALaterOneOfTheSameNumber) {
    write("old.yaml", "vendor: {id: 9, name: Old}");
    write("new.yaml", "vendor: {id: 9, name: New, format: '2,2'}");
    load("includes: [old.yaml, new.yaml]");
    EXPECT_EQ(dictionary.vendor_by_id(9)->name, "New");
    EXPECT_EQ(dictionary.vendor_by_name("New")->type_size, 2U);
    EXPECT_EQ(dictionary.vendor_by_name("Old")->type_size, 1U);
}

TEST_F(DictionaryVendor, IsReplacedByALaterOneOfTheSameNameInAnyCase) {
    write("old.yaml", "vendor: {id: 9, name: Example}");
    write("new.yaml", "vendor: {id: 10, name: EXAMPLE}");
    load("includes: [old.yaml, new.yaml]");
    EXPECT_EQ(dictionary.vendor_by_name("example")->id, 10U);
    EXPECT_EQ(dictionary.vendor_by_name("example")->name, "EXAMPLE");
    EXPECT_EQ(dictionary.vendor_by_id(9)->name, "Example");
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(DictionaryVendor, WithABadFormatFailsTheLoad) {
    struct Row {
        const char* format;
        const char* error;
    };
    constexpr Row rows[] = {
        {"1", "vendor format must be 't,l' or 't,l,c', got '1'"},
        {"1,1,c,c", "vendor format must be 't,l' or 't,l,c', got '1,1,c,c'"},
        {"", "vendor format must be 't,l' or 't,l,c', got ''"},
        {"x,1", "vendor format type size is not a number: 'x'"},
        {"5,1", "vendor format type size must be 1..4, got 5"},
        {"1,", "vendor format length size is not a number: ''"},
        {"1,0", "vendor format length size must be 1..4, got 0"},
        {"1,1,x", "vendor format continuation flag must be 'c', got 'x'"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.format);
        EXPECT_EQ(failure_of(std::string("vendor: {id: 9, name: Example, format: \"") + row.format + "\"}"),
                  std::string("<path>: vendor 'Example' (line 1): ") + row.error);
    }
}

TEST_F(DictionaryVendor, WithABadFormatIsNamedWithTheLineOfItsMap) {
    EXPECT_EQ(failure_of("# a comment\n\nvendor:\n  id: 9\n  name: Example\n  format: 1,0\n"),
              "<path>: vendor 'Example' (line 4): vendor format length size must be 1..4, got 0");
    EXPECT_EQ(failure_of("# a comment\n\nvendor: {id: 9, name: Example,\n  format: '1,0'}\n"),
              "<path>: vendor 'Example' (line 3): vendor format length size must be 1..4, got 0");
}

TEST_F(DictionaryVendor, WithABadFormatAndNoNameIsShownWithoutName) {
    EXPECT_EQ(failure_of("vendor: {id: 9, format: '1,0'}"),
              "<path>: vendor '' (line 1): vendor format length size must be 1..4, got 0");
}

TEST_F(DictionaryVendor, WithAnyOtherErrorFailsTheLoad) {
    struct Row {
        const char* block;
        const char* reason;
    };
    constexpr Row rows[] = {
        {"{name: Example}", "invalid node; first invalid key: \"id\""},
        {"{}", "invalid node; first invalid key: \"id\""},
        {"{id: abc}", "invalid unsigned integer"},
        {"{id: }", "invalid unsigned integer"},
        {"{id: 9x, format: '1,0'}", "invalid unsigned integer"},
        {"{id: [9]}", "yaml-cpp: error at line 1, column 14: bad conversion"},
        {"{id: 9, name: [x]}", "yaml-cpp: error at line 1, column 23: bad conversion"},
        {"{id: 9, format: {a: b}}", "yaml-cpp: error at line 1, column 25: bad conversion"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.block);
        EXPECT_EQ(failure_of(std::string("vendor: ") + row.block),
                  std::string("<path>: invalid 'vendor' block: ") + row.reason);
    }
}

TEST_F(DictionaryVendor, ThatFailsIsNotStored) {
    failure_of("vendor: {id: 9, name: Example, format: '1,0'}");
    EXPECT_EQ(dictionary.vendor_by_id(9), nullptr);
    EXPECT_EQ(dictionary.vendor_by_name("Example"), nullptr);
}

// Attributes that are skipped

using SkippedAttribute = DictionaryLoader;

TEST_F(SkippedAttribute, LeavesTheOthersOfItsFile) {
    const std::string path = write("dictionary.yaml", R"(attributes:
  Before: {code: 1}
  Bad: {code: 26..1}
  After: {code: 2}
)");
    dictionary.load(path);
    EXPECT_TRUE(named("Before").known);
    EXPECT_FALSE(named("Bad").known);
    EXPECT_TRUE(named("After").known);
    EXPECT_EQ(recorder.warnings(), (Warnings{{"invalid RADIUS code path",
                                              {{"file", path},
                                               {"line", "3"},
                                               {"attribute", "Bad"},
                                               {"reason", "invalid RADIUS code path"}}}}));
}

TEST_F(SkippedAttribute, IsReportedWithItsReason) {
    struct Row {
        const char* definition;
        const char* reason;
    };
    constexpr Row rows[] = {
        // a piece that is empty
        {"{code: ''}", "invalid RADIUS code path"},
        {"{code: ' '}", "invalid RADIUS code path"},
        {"{code: '.'}", "invalid RADIUS code path"},
        {"{code: 26..1}", "invalid RADIUS code path"},
        {"{code: '26. .1'}", "invalid RADIUS code path"},
        {"{code: '26.9.'}", "invalid RADIUS code path"},
        {"{code: '.26'}", "invalid RADIUS code path"},
        // characters left over behind a number
        {"{code: 26x}", "invalid RADIUS code path"},
        {"{code: 26.9.1a}", "invalid RADIUS code path"},
        {"{code: 26 9}", "invalid RADIUS code path"},
        {"{code: 0x1a}", "invalid RADIUS code path"},
        {"{code: '26,9'}", "invalid RADIUS code path"},
        // a piece that does not start with a number
        {"{code: abc}", "stoul"},
        {"{code: 26.x.1}", "stoul"},
        {"{code: 26.x9}", "stoul"},
        // a number beyond 64 bits
        {"{code: 18446744073709551616}", "stoul"},
        // what is no text
        {"{code: [26]}", "yaml-cpp: error at line 2, column 15: bad conversion"},
        {"{code: {a: b}}", "yaml-cpp: error at line 2, column 15: bad conversion"},
        {"{type: [text]}", "yaml-cpp: error at line 2, column 15: bad conversion"},
        // what is no number
        {"{encrypt: abc}", "invalid unsigned integer"},
        {"{encrypt: 2x}", "invalid unsigned integer"},
        {"{encrypt: ''}", "invalid unsigned integer"},
        {"{encrypt: 0x}", "invalid unsigned integer"},
        {"{encrypt: ~}", "invalid unsigned integer"},
        {"{encrypt: [2]}", "yaml-cpp: error at line 2, column 18: bad conversion"},
        // what is no YAML bool
        {"{has_tag: maybe}", "yaml-cpp: error at line 2, column 18: bad conversion"},
        {"{has_tag: 1}", "yaml-cpp: error at line 2, column 18: bad conversion"},
        {"{has_tag: ~}", "yaml-cpp: error at line 2, column 18: bad conversion"},
        {"{concat: 1}", "yaml-cpp: error at line 2, column 17: bad conversion"},
        {"{concat: [true]}", "yaml-cpp: error at line 2, column 17: bad conversion"},
        // the first problem counts, in the order in which the keys are read
        {"{concat: 1, has_tag: 1, encrypt: x, type: [x], code: x}", "stoul"},
        {"{concat: 1, has_tag: 1, encrypt: x, code: 1}", "invalid unsigned integer"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.definition);
        const WarningRecorder warned;
        const std::string path = write("dictionary.yaml", std::string("attributes:\n  Bad: ") +
                                                              row.definition + "\n  Good: {code: 7}\n");
        dictionary.load(path);
        EXPECT_EQ(
            warned.warnings(),
            (Warnings{{row.reason,
                       {{"file", path}, {"line", "2"}, {"attribute", "Bad"}, {"reason", row.reason}}}}));
        EXPECT_FALSE(named("Bad").known);
        EXPECT_EQ(named("Good").code, (CodePath{7}));
    }
}

TEST_F(SkippedAttribute, IsOneWhoseDefinitionIsNoMap) {
    for (const char* const definition : {"26.9.1", "''", "[26, 9, 1]", "[]"}) {
        SCOPED_TRACE(definition);
        const WarningRecorder warned;
        const std::string path = write(
            "dictionary.yaml", std::string("attributes:\n  Bad: ") + definition + "\n  Good: {code: 7}\n");
        dictionary.load(path);
        const std::string reason = "attribute definition must be a map";
        EXPECT_EQ(
            warned.warnings(),
            (Warnings{{reason, {{"file", path}, {"line", "2"}, {"attribute", "Bad"}, {"reason", reason}}}}));
        EXPECT_FALSE(named("Bad").known);
        EXPECT_TRUE(named("Good").known);
    }
}

TEST_F(SkippedAttribute, IsOneWhoseNameIsNoText) {
    const std::string path = write("dictionary.yaml", R"(attributes:
  Before: {code: 1}
  ? [a, b]
  : {code: 2}
  After: {code: 3}
)");
    dictionary.load(path);
    const std::string reason = "yaml-cpp: error at line 3, column 5: bad conversion";
    EXPECT_EQ(recorder.warnings(), (Warnings{{"invalid attribute name: " + reason,
                                              {{"file", path}, {"line", "3"}, {"reason", reason}}}}));
    EXPECT_TRUE(named("Before").known);
    EXPECT_FALSE(at({2}).known);
    EXPECT_TRUE(named("After").known);
}

TEST_F(SkippedAttribute, LeavesAnEarlierDefinitionOfItsName) {
    load("attributes:\n  X: {code: 1, type: text}\n  x: {code: 2, encrypt: bad}\n");
    EXPECT_EQ(named("X").name, "X");
    EXPECT_EQ(named("X").code, (CodePath{1}));
    EXPECT_FALSE(at({2}).known);
}

TEST_F(SkippedAttribute, HasItsValuesSkippedToo) {
    load("attributes:\n  Bad: {code: x, values: {On: 1, Off: none}}\n  Good: {code: 1}\n");
    EXPECT_EQ(recorder.warnings().size(), 1U);
    EXPECT_EQ(dictionary.enum_value("Bad", "On"), std::nullopt);
    EXPECT_TRUE(named("Good").known);
}

TEST_F(SkippedAttribute, IsNotCheckedForItsNesting) {
    load("attributes: {Bad: {code: 26.9.1.2, encrypt: x}}");
    ASSERT_EQ(recorder.warnings().size(), 1U);
    EXPECT_EQ(recorder.warnings()[0].message, "invalid unsigned integer");
}

TEST_F(SkippedAttribute, IsReportedInTheOrderOfTheFile) {
    load("attributes:\n  A: {code: x}\n  B: {code: 1}\n  C: {encrypt: x}\n  D: {code: ''}\n");
    ASSERT_EQ(recorder.warnings().size(), 3U);
    EXPECT_EQ(recorder.warnings()[0].message, "stoul");
    EXPECT_EQ(recorder.warnings()[1].message, "invalid unsigned integer");
    EXPECT_EQ(recorder.warnings()[2].message, "invalid RADIUS code path");
}

TEST_F(SkippedAttribute, OfAnIncludedFileIsReportedWithThatFile) {
    const std::string included = write("sub/included.yaml", "\n\nattributes:\n  Bad: {code: x}\n");
    load("includes: [sub/included.yaml]");
    EXPECT_EQ(recorder.warnings(),
              (Warnings{{"stoul",
                         {{"file", included}, {"line", "4"}, {"attribute", "Bad"}, {"reason", "stoul"}}}}));
}

TEST_F(SkippedAttribute, IsReportedWithTheCanonicalPathOfItsFile) {
    const std::string real = write("real.yaml", "attributes: {Bad: {code: x}}");
    std::filesystem::create_symlink(real, folder.path() / "link.yaml");
    dictionary.load(path_of("link.yaml"));
    ASSERT_EQ(recorder.warnings().size(), 1U);
    EXPECT_EQ(recorder.warnings()[0].fields[0], (std::pair<std::string, std::string>("file", real)));
}

// Values

using DictionaryValues = DictionaryLoader;

TEST_F(DictionaryValues, AreLimitedInNumberSoThatAliasesCannotMultiplyThem) {
    std::string yaml = "attributes:\n  A0:\n    code: 26.9.0\n    values: &values\n";
    for (int i = 0; i < 1000; ++i) {
        yaml += "      V" + std::to_string(i) + ": " + std::to_string(i) + "\n";
    }
    for (int i = 1; i < 200; ++i) {
        yaml += "  A" + std::to_string(i) + ": {code: 26.9." + std::to_string(i) + ", values: *values}\n";
    }
    load(yaml);
    EXPECT_EQ(dictionary.enum_value("A199", "v999"), 999U);

    EXPECT_EQ(failure_of(yaml + "  A200: {code: 26.9.200, values: {One-More: 1}}\n"),
              "<path>: values for attribute 'A200': more than 200000 values in all");
}

TEST_F(DictionaryValues, OfOneAttributeMayBeVeryMany) {
    std::string json = R"({"attributes": {"A": {"code": "1", "values": {)";
    for (int i = 0; i < 150'000; ++i) {
        json += (i > 0 ? ",\n\"V" : "\"V") + std::to_string(i) + "\": " + std::to_string(i);
    }
    load(json + "}}}}");
    EXPECT_EQ(dictionary.enum_value("A", "v149999"), 149'999U);
    EXPECT_EQ(dictionary.enum_name("A", 77), "V77");
}

TEST_F(DictionaryValues, AreFoundInBothDirections) {
    load("attributes: {Mode: {code: 1, type: enum, values: {Off: 0, On: 1, Auto: 0x10, Max: 4294967295}}}");
    EXPECT_EQ(dictionary.enum_value("Mode", "Off"), 0U);
    EXPECT_EQ(dictionary.enum_value("Mode", "On"), 1U);
    EXPECT_EQ(dictionary.enum_value("Mode", "Auto"), 16U);
    EXPECT_EQ(dictionary.enum_value("Mode", "Max"), 4294967295U);
    EXPECT_EQ(dictionary.enum_name("Mode", 0), "Off");
    EXPECT_EQ(dictionary.enum_name("Mode", 16), "Auto");
    EXPECT_EQ(dictionary.enum_name("Mode", 4294967295), "Max");
    EXPECT_EQ(dictionary.enum_name_lower("Mode", 16), "auto");
}

TEST_F(DictionaryValues, HaveNumbersLikeEveryNumber) {
    load("attributes: {X: {values: {A: '0x2', B: \"'3'\", C: ' 4 ', D: 4294967301}}}");
    EXPECT_EQ(dictionary.enum_value("X", "A"), 2U);
    EXPECT_EQ(dictionary.enum_value("X", "B"), 3U);
    EXPECT_EQ(dictionary.enum_value("X", "C"), 4U);
    EXPECT_EQ(dictionary.enum_value("X", "D"), 5U);
}

TEST_F(DictionaryValues, AreKeptForAttributesOfAnyType) {
    load("attributes: {X: {type: text, values: {A: 1}}}");
    EXPECT_EQ(dictionary.enum_value("X", "A"), 1U);
}

TEST_F(DictionaryValues, MayHaveNumbersAsNames) {
    load("attributes: {X: {values: {10: 1, 0x10: 2}}}");
    EXPECT_EQ(dictionary.enum_value("X", "10"), 1U);
    EXPECT_EQ(dictionary.enum_name("X", 2), "0x10");
}

TEST_F(DictionaryValues, WithALaterNumberTakeTheirNameAlong) {
    load("attributes: {X: {values: {On: 1, on: 2}}}");
    EXPECT_EQ(dictionary.enum_value("X", "On"), 2U);
    EXPECT_EQ(dictionary.enum_name("X", 1), "On");
    EXPECT_EQ(dictionary.enum_name("X", 2), "on");
}

TEST_F(DictionaryValues, WithALaterNameTakeTheirNumberAlong) {
    load("attributes: {X: {values: {Alive: 3, Interim-Update: 3}}}");
    EXPECT_EQ(dictionary.enum_name("X", 3), "Interim-Update");
    EXPECT_EQ(dictionary.enum_name_lower("X", 3), "interim-update");
    EXPECT_EQ(dictionary.enum_value("X", "Alive"), 3U);
    EXPECT_EQ(dictionary.enum_value("X", "Interim-Update"), 3U);
}

TEST_F(DictionaryValues, OfARedefinedAttributeJoinTheEarlierOnes) {
    write("base.yaml", "attributes: {X: {code: 1, values: {Off: 0, On: 1}}}");
    load("includes: [base.yaml]\nattributes: {x: {code: 1, values: {on: 2, Auto: 3}}}\n");
    EXPECT_EQ(dictionary.enum_value("X", "Off"), 0U);
    EXPECT_EQ(dictionary.enum_value("X", "On"), 2U);
    EXPECT_EQ(dictionary.enum_value("X", "Auto"), 3U);
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(DictionaryValues, OfOneAttributeAreNoneOfAnother) {
    load("attributes: {X: {values: {On: 1}}, Y: {values: {Off: 2}}}");
    EXPECT_EQ(dictionary.enum_value("X", "Off"), std::nullopt);
    EXPECT_EQ(dictionary.enum_name("Y", 1), std::nullopt);
}

TEST_F(DictionaryValues, ThatAreNoMapFailTheLoad) {
    EXPECT_EQ(failure_of("attributes: {X: {values: [On, Off]}}"), "<path>: 'values' must be a map");
    EXPECT_EQ(failure_of("attributes: {X: {values: On}}"), "<path>: 'values' must be a map");
    EXPECT_EQ(failure_of("attributes: {X: {values: ''}}"), "<path>: 'values' must be a map");
}

TEST_F(DictionaryValues, WithABadNumberFailTheLoad) {
    struct Row {
        const char* number;
        const char* reason;
    };
    constexpr Row rows[] = {
        {"abc", "invalid unsigned integer"},
        {"1x", "invalid unsigned integer"},
        {"''", "invalid unsigned integer"},
        {"~", "invalid unsigned integer"},
        {"[1]", "yaml-cpp: error at line 1, column 36: bad conversion"},
        {"{a: 1}", "yaml-cpp: error at line 1, column 36: bad conversion"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.number);
        EXPECT_EQ(failure_of(std::string("attributes: {Mode-X: {values: {On: ") + row.number + "}}}"),
                  std::string("<path>: values for attribute 'Mode-X': ") + row.reason);
    }
}

TEST_F(DictionaryValues, WithANameThatIsNoTextFailTheLoad) {
    EXPECT_EQ(failure_of("attributes:\n  Mode-X:\n    values:\n      ? [a, b]\n      : 1\n"),
              "<path>: values for attribute 'Mode-X': invalid 'values' attribute name: "
              "yaml-cpp: error at line 4, column 9: bad conversion");
}

TEST_F(DictionaryValues, ThatFailLeaveWhatWasReadBefore) {
    failure_of("attributes:\n  A: {code: 1}\n  B: {code: 2, values: {On: 1, Off: x}}\n  C: {code: 3}\n");
    EXPECT_TRUE(named("A").known);
    EXPECT_TRUE(named("B").known);
    EXPECT_FALSE(named("C").known);
}

// Definitions that replace others

using Redefinition = DictionaryLoader;

TEST_F(Redefinition, OfANameInAnyCaseReplacesTheRecord) {
    load("attributes:\n  User-Name: {code: 1, type: text}\n  USER-name: {code: 2, type: integer}\n");
    EXPECT_EQ(named("user-name").name, "USER-name");
    EXPECT_EQ(named("User-Name").code, (CodePath{2}));
    EXPECT_EQ(named("User-Name").type, "integer");
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(Redefinition, OfANameLeavesTheOldCodeInTheIndexByCode) {
    load("attributes:\n  X: {code: 1, type: text}\n  x: {code: 2, type: integer}\n");
    EXPECT_EQ(at({1}).name, "X");
    EXPECT_EQ(at({1}).type, "text");
    EXPECT_EQ(at({2}).name, "x");
}

TEST_F(Redefinition, OfACodeReplacesTheRecordInTheIndexByCodeAlone) {
    load("attributes:\n  Old: {code: 1, type: text}\n  New: {code: 1, type: integer}\n");
    EXPECT_EQ(at({1}).name, "New");
    EXPECT_EQ(dictionary.top_level_attribute(1).name, "New");
    EXPECT_EQ(named("Old").type, "text");
    EXPECT_EQ(named("New").type, "integer");
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(Redefinition, WithoutCodeLeavesTheIndexByCode) {
    load("attributes:\n  X: {code: 1, type: text}\n  x: {type: integer}\n");
    EXPECT_EQ(named("X").code, CodePath{});
    EXPECT_EQ(at({1}).type, "text");
}

TEST_F(Redefinition, StartsFromDefaults) {
    load(
        "attributes:\n  X: {code: 1, type: text, encrypt: 1, has_tag: true, concat: true}\n  x: {code: 1}\n");
    EXPECT_EQ(named("X").type, "string");
    EXPECT_EQ(named("X").encrypt, 0U);
    EXPECT_FALSE(named("X").has_tag);
    EXPECT_FALSE(named("X").concat);
}

TEST_F(Redefinition, OfOneFileByTheSameKeyTakesTheLast) {
    load("attributes:\n  X: {code: 1}\n  X: {code: 2}\n");
    EXPECT_EQ(named("X").code, (CodePath{2}));
}

// Includes

using DictionaryIncludes = DictionaryLoader;

TEST_F(DictionaryIncludes, MayChainAnyNumberOfFiles) {
    constexpr int files = 10'000;
    for (int i = 0; i < files; ++i) {
        write("f" + std::to_string(i) + ".yaml", "includes: [f" + std::to_string(i + 1) +
                                                     ".yaml]\nattributes: {A" + std::to_string(i) +
                                                     ": {code: 1}}\n");
    }
    dictionary.load(write("f" + std::to_string(files) + ".yaml", "attributes: {Last: {code: 1}}"));
    EXPECT_TRUE(named("Last").known);

    dictionary.load(path_of("f0.yaml"));
    EXPECT_TRUE(named("Last").known);
    EXPECT_EQ(at({1}).name, "A0");  // read last, behind all that it includes
}

TEST_F(DictionaryIncludes, AreLoadedBeforeTheFilesOwnContent) {
    write("base.yaml", "attributes: {X: {code: 1}}");
    load("includes: [base.yaml]\nattributes: {X: {code: 2}}\n");
    EXPECT_EQ(named("X").code, (CodePath{2}));
    EXPECT_TRUE(at({1}).known);
}

TEST_F(DictionaryIncludes, AreLoadedInTheOrderWritten) {
    write("one.yaml", "attributes: {X: {code: 1}}");
    write("two.yaml", "attributes: {X: {code: 2}}");
    load("includes: [one.yaml, two.yaml]");
    EXPECT_EQ(named("X").code, (CodePath{2}));
    load("includes: [two.yaml, one.yaml]");
    EXPECT_EQ(named("X").code, (CodePath{1}));
}

TEST_F(DictionaryIncludes, AreLoadedWithTheirOwnIncludesFirst) {
    write("deep.yaml", "attributes: {X: {code: 3}, Y: {code: 13}}");
    write("one.yaml", "includes: [deep.yaml]\nattributes: {X: {code: 1}}\n");
    write("two.yaml", "attributes: {Z: {code: 2}}");
    load("includes: [one.yaml, two.yaml]\nattributes: {Z: {code: 4}}\n");
    EXPECT_EQ(named("X").code, (CodePath{1}));
    EXPECT_EQ(named("Y").code, (CodePath{13}));
    EXPECT_EQ(named("Z").code, (CodePath{4}));
}

TEST_F(DictionaryIncludes, AreRelativeToTheFileThatNamesThem) {
    write("sub/one.yaml", "includes: [two.yaml, deeper/three.yaml, ../four.yaml]");
    write("sub/two.yaml", "attributes: {Two: {code: 2}}");
    write("sub/deeper/three.yaml", "attributes: {Three: {code: 3}}");
    write("four.yaml", "attributes: {Four: {code: 4}}");
    load("includes: [sub/one.yaml]");
    EXPECT_TRUE(named("Two").known);
    EXPECT_TRUE(named("Three").known);
    EXPECT_TRUE(named("Four").known);
}

TEST_F(DictionaryIncludes, MayBeAbsolute) {
    const std::string absolute = write("elsewhere/base.yaml", "attributes: {X: {code: 1}}");
    const std::string root = write("sub/root.yaml", "includes: ['" + absolute + "']");
    dictionary.load(root);
    EXPECT_TRUE(named("X").known);
}

TEST_F(DictionaryIncludes, AreRelativeToTheRealFileBehindASymbolicLink) {
    write("real/base.yaml", "attributes: {X: {code: 1}}");
    write("linked/base.yaml", "attributes: {X: {code: 2}}");
    const std::string real = write("real/root.yaml", "includes: [base.yaml]");
    std::filesystem::create_symlink(real, folder.path() / "linked/root.yaml");
    dictionary.load(path_of("linked/root.yaml"));
    EXPECT_EQ(named("X").code, (CodePath{1}));
}

TEST_F(DictionaryIncludes, ThatAreSymbolicLinksAreLoadedFromWhereTheyPoint) {
    write("real/sub/base.yaml", "attributes: {X: {code: 1}}");
    const std::string real = write("real/next.yaml", "includes: [sub/base.yaml]");
    std::filesystem::create_symlink(real, folder.path() / "link.yaml");
    load("includes: [link.yaml]");
    EXPECT_TRUE(named("X").known);
}

TEST_F(DictionaryIncludes, MayFollowSymbolicLinksToFolders) {
    write("real/base.yaml", "attributes: {X: {code: 1}}");
    std::filesystem::create_directory_symlink(folder.path() / "real", folder.path() / "link");
    load("includes: [link/base.yaml]");
    EXPECT_TRUE(named("X").known);
}

/// A file whose attribute is skipped with a warning: one warning for each time that it is loaded.
constexpr const char* counted = "attributes: {Bad: {code: x}}\n";

TEST_F(DictionaryIncludes, OfTheFileItselfAreIgnored) {
    load(std::string("includes: [dictionary.yaml]\n") + counted);
    EXPECT_EQ(recorder.warnings().size(), 1U);
}

TEST_F(DictionaryIncludes, OfEachOtherAreLoadedOnceEach) {
    write("a.yaml", std::string("includes: [b.yaml]\n") + counted);
    write("b.yaml", std::string("includes: [a.yaml]\n") + counted);
    dictionary.load(path_of("a.yaml"));
    ASSERT_EQ(recorder.warnings().size(), 2U);
    EXPECT_EQ(recorder.warnings()[0].fields[0].second, path_of("b.yaml"));
    EXPECT_EQ(recorder.warnings()[1].fields[0].second, path_of("a.yaml"));
}

TEST_F(DictionaryIncludes, InACircleLetTheFirstFileWin) {
    write("a.yaml", "includes: [b.yaml]\nattributes: {X: {code: 1}}\n");
    write("b.yaml", "includes: [c.yaml]\nattributes: {X: {code: 2}}\n");
    write("c.yaml", "includes: [a.yaml]\nattributes: {X: {code: 3}}\n");
    dictionary.load(path_of("a.yaml"));
    EXPECT_EQ(named("X").code, (CodePath{1}));
    dictionary.load(path_of("b.yaml"));
    EXPECT_EQ(named("X").code, (CodePath{2}));
}

TEST_F(DictionaryIncludes, ReachedTwiceAreLoadedOnce) {
    write("base.yaml", std::string("attributes: {X: {code: 1}, Bad: {code: x}}\n"));
    write("left.yaml", "includes: [base.yaml]\nattributes: {X: {code: 2}}\n");
    write("right.yaml", "includes: [base.yaml]\n");
    load("includes: [left.yaml, right.yaml]");
    EXPECT_EQ(named("X").code, (CodePath{2}));
    EXPECT_EQ(recorder.warnings().size(), 1U);
}

TEST_F(DictionaryIncludes, NamedTwiceAreLoadedOnce) {
    write("base.yaml", counted);
    load("includes: [base.yaml, base.yaml]");
    EXPECT_EQ(recorder.warnings().size(), 1U);
}

TEST_F(DictionaryIncludes, ReachedUnderSeveralNamesAreLoadedOnce) {
    const std::string base = write("base.yaml", counted);
    std::filesystem::create_symlink(base, folder.path() / "link.yaml");
    std::filesystem::create_directory(folder.path() / "sub");
    std::filesystem::create_directory_symlink(folder.path(), folder.path() / "here");
    load("includes: [base.yaml, ./base.yaml, sub/../base.yaml, link.yaml, here/base.yaml, '" + base + "']");
    EXPECT_EQ(recorder.warnings().size(), 1U);
}

TEST_F(DictionaryIncludes, ThatAreNoSequenceFailTheLoad) {
    EXPECT_EQ(failure_of("includes: base.yaml"), "<path>: 'includes' must be a sequence");
    EXPECT_EQ(failure_of("includes: {base: yaml}"), "<path>: 'includes' must be a sequence");
    EXPECT_EQ(failure_of("includes: ''"), "<path>: 'includes' must be a sequence");
}

TEST_F(DictionaryIncludes, WithAnEntryThatIsNoTextFailTheLoad) {
    EXPECT_EQ(failure_of("includes:\n  - [base.yaml]\n"),
              "<path>: invalid 'includes' entry: yaml-cpp: error at line 2, column 5: bad conversion");
    EXPECT_EQ(failure_of("includes:\n  - {file: base.yaml}\n"),
              "<path>: invalid 'includes' entry: yaml-cpp: error at line 2, column 5: bad conversion");
}

TEST_F(DictionaryIncludes, AreAllReadBeforeTheFirstIsLoaded) {
    EXPECT_EQ(failure_of("includes:\n  - missing.yaml\n  - [base.yaml]\n"),
              "<path>: invalid 'includes' entry: yaml-cpp: error at line 3, column 5: bad conversion");
}

TEST_F(DictionaryIncludes, ThatAreMissingFailTheLoadUnderTheirOwnPath) {
    const std::string root = write("root.yaml", "includes: [sub/missing.yaml]");
    const std::string missing = path_of("sub/missing.yaml");
    EXPECT_EQ(failure_of_file(root), missing + ": cannot load: bad file: " + missing);
}

TEST_F(DictionaryIncludes, ThatAreBadFailTheLoadUnderTheirOwnPath) {
    struct Row {
        const char* content;
        const char* error;
    };
    constexpr Row rows[] = {
        {"vendor: {id: 9, name: E, format: '1,0'}",
         ": vendor 'E' (line 1): vendor format length size must be 1..4, got 0"},
        {"vendor: {id: x}", ": invalid 'vendor' block: invalid unsigned integer"},
        {"attributes: []", ": 'attributes' must be a map"},
        {"includes: x", ": 'includes' must be a sequence"},
        {"attributes: {X: {values: {On: x}}}", ": values for attribute 'X': invalid unsigned integer"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.content);
        const std::string bad = write("bad.yaml", row.content);
        const std::string root = write("root.yaml", "includes: [bad.yaml]");
        EXPECT_EQ(failure_of_file(root), bad + row.error);
    }
}

TEST_F(DictionaryIncludes, ThatFailStopTheLoadWhereItIs) {
    write("good.yaml", "attributes: {Good: {code: 1}}");
    write("bad.yaml", "attributes: []");
    write("later.yaml", "attributes: {Later: {code: 2}}");
    const std::string root =
        write("root.yaml", "includes: [good.yaml, bad.yaml, later.yaml]\nattributes: {Own: {code: 3}}\n");
    EXPECT_EQ(failure_of_file(root), path_of("bad.yaml") + ": 'attributes' must be a map");
    EXPECT_TRUE(named("Good").known);
    EXPECT_FALSE(named("Later").known);
    EXPECT_FALSE(named("Own").known);
}

// Files that cannot be loaded

using UnloadableFile = DictionaryLoader;

TEST_F(UnloadableFile, IsOneThatIsMissing) {
    const std::string missing = path_of("missing.yaml");
    EXPECT_EQ(failure_of_file(missing), missing + ": cannot load: bad file: " + missing);
}

TEST_F(UnloadableFile, IsNamedByItsCanonicalPath) {
    const std::string missing = path_of("missing.yaml");
    std::filesystem::create_directory_symlink(folder.path(), folder.path() / "here");
    EXPECT_EQ(failure_of_file(path_of("./missing.yaml")), missing + ": cannot load: bad file: " + missing);
    EXPECT_EQ(failure_of_file(path_of("no/such/../../missing.yaml")),
              missing + ": cannot load: bad file: " + missing);
    EXPECT_EQ(failure_of_file(path_of("here/missing.yaml")), missing + ": cannot load: bad file: " + missing);
}

TEST_F(UnloadableFile, GivenByARelativePathIsNamedByTheAbsoluteOne) {
    const std::string missing = path_of("missing.yaml");
    EXPECT_EQ(failure_of_file(std::filesystem::relative(folder.path()).string() + "/missing.yaml"),
              missing + ": cannot load: bad file: " + missing);
}

TEST_F(UnloadableFile, IsADanglingSymbolicLink) {
    std::filesystem::create_symlink("missing.yaml", folder.path() / "link.yaml");
    const std::string link = path_of("link.yaml");
    EXPECT_EQ(failure_of_file(link), link + ": cannot load: bad file: " + link);
}

TEST_F(UnloadableFile, IsASymbolicLinkToItself) {
    std::filesystem::create_symlink("loop.yaml", folder.path() / "loop.yaml");
    const std::string loop = path_of("loop.yaml");
    EXPECT_EQ(
        failure_of_file(loop),
        loop + ": cannot load: " + std::make_error_code(std::errc::too_many_symbolic_link_levels).message());
}

TEST_F(UnloadableFile, IsOneInAFolderThatIsASymbolicLinkToItself) {
    std::filesystem::create_symlink("loop", folder.path() / "loop");
    const std::string file = path_of("loop/file.yaml");
    EXPECT_EQ(
        failure_of_file(file),
        file + ": cannot load: " + std::make_error_code(std::errc::too_many_symbolic_link_levels).message());
}

TEST_F(UnloadableFile, IsAFolder) {
    EXPECT_EQ(failure_of_file(folder.path().string()),
              folder.path().string() + ": cannot load: is a directory");
}

TEST_F(UnloadableFile, IsAnEmptyPath) {
    EXPECT_EQ(failure_of_file(""),
              ": cannot load: " + std::make_error_code(std::errc::invalid_argument).message());
}

TEST_F(UnloadableFile, IsOneThatDoesNotParse) {
    for (const char* const yaml :
         {"attributes: {X: {code: 1}", "attributes: [1", "a: b: c", "\tattributes:\n",
          "attributes:\n  X: {code: 1}\n Y: {code: 2}\n", "\"unclosed"}) {
        SCOPED_TRACE(yaml);
        const std::string path = write("dictionary.yaml", yaml);
        const std::string reason = thrown_text<YAML::ParserException>([&] { YAML::LoadFile(path); });
        ASSERT_TRUE(reason.starts_with("yaml-cpp: error at line ")) << reason;
        EXPECT_EQ(failure_of_file(path), path + ": cannot load: " + reason);
    }
}

TEST_F(UnloadableFile, IsOneThatIsNoMap) {
    for (const char* const yaml : {"just text", "42", "[includes, attributes]", "- attributes\n", "''"}) {
        SCOPED_TRACE(yaml);
        EXPECT_EQ(failure_of(yaml), "<path>: cannot load: top level must be a map");
    }
}

TEST_F(UnloadableFile, IsOneWithABlockOfTheWrongKind) {
    EXPECT_EQ(failure_of("vendor: 9"), "<path>: 'vendor' must be a map");
    EXPECT_EQ(failure_of("vendor: [9]"), "<path>: 'vendor' must be a map");
    EXPECT_EQ(failure_of("attributes: X"), "<path>: 'attributes' must be a map");
    EXPECT_EQ(failure_of("attributes: [X]"), "<path>: 'attributes' must be a map");
}

TEST_F(UnloadableFile, IsReportedForItsFirstBadBlockInTheOrderOfLoading) {
    EXPECT_EQ(failure_of("attributes: 1\nvendor: 1\nincludes: 1\n"), "<path>: 'includes' must be a sequence");
    EXPECT_EQ(failure_of("attributes: 1\nvendor: 1\n"), "<path>: 'vendor' must be a map");
}

// Files in plain JSON, which is YAML too

/// What became of loading one file.
struct Outcome {
    std::string failure;
    Warnings warnings;
    std::vector<AttributeMetadata> attributes;
    std::vector<std::optional<VendorInfo>> vendors;
    std::vector<std::optional<std::uint32_t>> numbers;
    std::vector<std::optional<std::string>> names;
};

class JsonFile : public DictionaryLoader {
  protected:
    /// Loads a text and looks up everything that the texts of these tests define.
    Outcome outcome_of(std::string_view text) {
        const WarningRecorder warned;
        Outcome outcome;
        outcome.failure = failure_of(text);
        outcome.warnings = warned.warnings();
        for (const char* const name : {"A", "B", "C", "Bad", "10", "true", ""}) {
            outcome.attributes.push_back(dictionary.attribute_by_name(name));
            for (const char* const value : {"On", "Off", "10", "true", ""}) {
                outcome.numbers.push_back(dictionary.enum_value(name, value));
            }
            for (const std::uint32_t number : {0U, 1U, 2U, 16U}) {
                outcome.names.push_back(dictionary.enum_name(name, number));
                outcome.names.push_back(dictionary.enum_name_lower(name, number));
            }
        }
        for (const CodePath& code : {CodePath{0}, CodePath{1}, CodePath{2}, CodePath{26, 9, 1}}) {
            outcome.attributes.push_back(dictionary.attribute_by_code(code));
        }
        for (const std::uint32_t id : {0U, 1U, 9U, 16U}) {
            const VendorInfo* const vendor = dictionary.vendor_by_id(id);
            outcome.vendors.push_back(vendor != nullptr ? std::optional(*vendor) : std::nullopt);
        }
        return outcome;
    }
};

TEST_F(JsonFile, MeansWhatItMeansWithAYamlCommentBehindIt) {
    for (const char* const json : {
             "{}",
             " { } ",
             "{\"attributes\": {}}",
             "{\"attributes\": {\"A\": {\"code\": \"1\", \"type\": \"text\"}}}",
             "{\"attributes\":{\"A\":{\"code\":\"1\",\"type\":\"text\"},\"B\":{\"code\":2}}}",
             // every key
             R"({"vendor": {"id": 9, "name": "Example", "format": "2,1,c"},
"attributes": {
  "A": {"code": "26.9.1", "type": "Signed", "encrypt": 2, "has_tag": true, "concat": false, "optional_tag": true},
  "B": {"code": "2", "type": "enum", "values": {"On": 1, "Off": "0x0", "10": 16}},
  "C": {}
}})",
             // the order of blocks, unknown keys, repeated keys and names
             R"({"attributes": {"A": {"code": "1"}}, "vendor": {"id": 9}, "other": {"x": {"y": "z"}}})",
             R"({"other": [1, {"a": null}], "attributes": {"A": {"code": "1", "note": {"values": 1}}}})",
             R"({"attributes": {"A": {"code": "1"}, "a": {"code": "2"}, "A": {"type": "text"}}})",
             R"({"attributes": {"A": {"code": "1", "code": "2"}}, "attributes": {"B": {"code": "2"}}})",
             R"({"attributes": {"A": {"values": {"On": 1, "ON": 2, "Off": 1}}, "a": {"values": {"On": 0}}}})",
             R"({"attributes": {"A": {"VALUES": {"On": "x"}, "Code": "x"}}})",
             // scalars of other kinds
             R"({"attributes": {"10": {"code": 1}, "true": {"code": 2, "type": true}, "": {"code": 0}}})",
             R"({"attributes": {"A": {"type": 10, "encrypt": "0x2", "has_tag": "yes", "concat": "true"}}})",
             R"({"attributes": {"A": {"code": 26.9, "encrypt": 4294967297}, "B": {"code": -1}}})",
             R"({"vendor": {"id": "16", "name": 10, "format": "1,1"}, "attributes": {"A": {"type": 1e3}}})",
             R"({"vendor": {"id": " '9' ", "name": false}})",
             R"({"attributes": {"A": {"values": {"true": 1, "": 2, "10": " 16 "}}}})",
             // nulls
             R"({"includes": null, "vendor": null, "attributes": null})",
             R"({"attributes": {"A": null, "B": {"code": "2", "values": null}}})",
             // what is skipped, on which line
             R"({
"attributes": {

  "A": {"code": "1"}, "Bad": {"code": "26..1"},
  "B": {"code": "x", "values": {"On": "x"}},
  "C":
    {"encrypt": "x"},
  "Bad": {"has_tag": "maybe"}, "Bad": {"has_tag": 1},
  "Bad": {"concat": {}}, "Bad": {"type": ["text"]}, "Bad": "26", "Bad": true, "Bad": []
}
})",
             // nesting
             "{\"attributes\": {\n\n\"Bad\"\n:\n{\"code\": \"1.2.3.4\"}, \"A\": {\"code\": \"5.6.7.8\"}}}",
             R"({"attributes": {"A": {"code": "26.9.1", "type": "TLV"}, "B": {"code": "26.9.1.2"}}})",
             // text beyond plain ASCII
             "{\"attributes\": {\"A\": {\"code\": \"1\", \"type\": \"\xC3\xA9\"}}}",
             R"({"attributes": {"\u0041": {"code": "1", "type": "a\tb\\\"c\/"}}})",
             "{\t\"attributes\" :\r\n{\"A\": {\"code\": \"1\"}}}",
             "{\"attributes\": {\"A\": {\"type\": \"te\nxt # ,: {}\"}}}",
             "{\"attributes\": {\"A\": {\"type\": \"a # b, c: {d} [e] & * ! | > % @\"}}}",
             // failures
             "[]",
             "\"text\"",
             "1",
             "true",
             R"({"includes": "x"})",
             R"({"includes": {}})",
             R"({"includes": [["x"]]})",
             R"({"includes": [{"x": 1}]})",
             R"({"vendor": 9})",
             R"({"vendor": []})",
             R"({"vendor": {}})",
             R"({"vendor": {"name": "Example"}})",
             R"({"vendor": {"id": "x"}})",
             R"({"vendor": {"id": -9}})",
             R"({"vendor": {"id": null}})",
             R"({"vendor": {"id": {}}})",
             R"({"vendor": {"id": 9, "name": ["x"]}})",
             R"({"vendor": {"id": 9, "name": "Example", "format": "1,0"}})",
             "{\n\"vendor\": {\n\"id\": 9,\n\"name\": \"Example\",\n\"format\": \"1,1,x\"}}",
             "{\n\"vendor\":\n\n{\"id\": 9, \"format\": \"1\"}}",
             R"({"attributes": []})",
             R"({"attributes": "A"})",
             R"({"attributes": {"A": {"code": "1"}, "B": {"values": []}, "C": {"code": "2"}}})",
             R"({"attributes": {"A": {"values": "On"}}})",
             R"({"attributes": {"A": {"values": {"On": "x"}}}})",
             R"({"attributes": {"A": {"values": {"On": 1, "Off": null}}}})",
             R"({"attributes": {"A": {"values": {"On": {"x": 1}}}}})",
             R"({"attributes": {"A": {"values": {"On": 1.5}}}})",
             R"({"attributes": {"A": {"values": {"On": true}}}})",
         }) {
        SCOPED_TRACE(json);
        const Outcome plain = outcome_of(json);
        const Outcome commented = outcome_of(std::string(json) + " # JSON has no comments\n");
        EXPECT_EQ(plain.failure, commented.failure);
        EXPECT_EQ(plain.warnings, commented.warnings);
        EXPECT_TRUE(plain.attributes == commented.attributes);
        EXPECT_TRUE(plain.vendors == commented.vendors);
        EXPECT_EQ(plain.numbers, commented.numbers);
        EXPECT_EQ(plain.names, commented.names);
    }
}

TEST_F(JsonFile, ReportsTheLineOfASkippedAttribute) {
    const std::string path =
        write("dictionary.yaml",
              "{\n\"attributes\": {\n  \"A\": {\"code\": \"1\"},\n  \"Bad\": {\"code\": \"x\"}\n}\n}\n");
    dictionary.load(path);
    EXPECT_EQ(
        recorder.warnings(),
        (Warnings{{"stoul", {{"file", path}, {"line", "4"}, {"attribute", "Bad"}, {"reason", "stoul"}}}}));
    EXPECT_EQ(named("A").code, (CodePath{1}));
}

TEST_F(JsonFile, ReportsTheLineWhereItsVendorBegins) {
    EXPECT_EQ(failure_of("{\n\"vendor\":\n{\"id\": 9, \"name\": \"E\", \"format\": \"1,0\"}\n}\n"),
              "<path>: vendor 'E' (line 3): vendor format length size must be 1..4, got 0");
}

TEST_F(JsonFile, ThatIsCutShortFailsTheLoad) {
    const std::string whole = R"({"attributes": {"A": {"code": "1"}}})";
    for (std::size_t length = 1; length < whole.size(); ++length) {
        SCOPED_TRACE(whole.substr(0, length));
        EXPECT_TRUE(
            failure_of(whole.substr(0, length)).starts_with("<path>: cannot load: yaml-cpp: error at line "));
    }
}

TEST_F(JsonFile, MayBeIncludedAndInclude) {
    write("plain.yaml", R"({"attributes": {"A": {"code": "1"}, "B": {"code": "2"}}})");
    write("middle.yaml", R"({"includes": ["plain.yaml"], "attributes": {"A": {"code": "3"}}})");
    load("includes: [middle.yaml]\nattributes: {B: {code: 4}}\n");
    EXPECT_EQ(named("A").code, (CodePath{3}));
    EXPECT_EQ(named("B").code, (CodePath{4}));
}

// Loading as a whole

using LoadingADictionary = DictionaryLoader;

TEST_F(LoadingADictionary, TakesARelativePath) {
    write("dictionary.yaml", "attributes: {X: {code: 1}}");
    dictionary.load(std::filesystem::relative(folder.path()).string() + "/dictionary.yaml");
    EXPECT_TRUE(named("X").known);
}

constexpr const char* full_dictionary =
    "vendor: {id: 9, name: Example}\nattributes: {X: {code: 1, values: {On: 1}}}\n";

TEST_F(LoadingADictionary, ReplacesTheWholeContent) {
    load(full_dictionary);
    ASSERT_TRUE(named("X").known);
    load("attributes: {Y: {code: 2}}");
    EXPECT_FALSE(named("X").known);
    EXPECT_FALSE(at({1}).known);
    EXPECT_FALSE(dictionary.top_level_attribute(1).known);
    EXPECT_EQ(dictionary.enum_value("X", "On"), std::nullopt);
    EXPECT_EQ(dictionary.enum_name("X", 1), std::nullopt);
    EXPECT_EQ(dictionary.enum_name_lower("X", 1), std::nullopt);
    EXPECT_EQ(dictionary.vendor_by_id(9), nullptr);
    EXPECT_EQ(dictionary.vendor_by_name("Example"), nullptr);
    EXPECT_EQ(dictionary.top_level_attribute(2).name, "Y");
}

TEST_F(LoadingADictionary, ThatFailsLeavesNothingOfTheOldContent) {
    load(full_dictionary);
    failure_of("attributes: []");
    EXPECT_FALSE(named("X").known);
    EXPECT_FALSE(dictionary.top_level_attribute(1).known);
    EXPECT_EQ(dictionary.vendor_by_id(9), nullptr);
}

TEST_F(LoadingADictionary, ReadsAFileAnewEachTime) {
    load("attributes: {X: {code: 1}}");
    load("attributes: {X: {code: 2}}");
    EXPECT_EQ(named("X").code, (CodePath{2}));
}

TEST_F(LoadingADictionary, MayFollowAFailedLoad) {
    failure_of("attributes:\n  Deep: {code: 1.2.3.4}\n  Bad: {values: []}\n");
    load("attributes: {X: {code: 1}}");
    EXPECT_TRUE(named("X").known);
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(LoadingADictionary, PrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    load("attributes: {Bad: {code: x}, Deep: {code: 1.2.3.4}}");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace quarn::subscriber::radius
