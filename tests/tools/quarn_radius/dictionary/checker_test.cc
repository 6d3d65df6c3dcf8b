#include "quarn_radius/dictionary/checker.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <set>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/value_type.h"
#include "testing/scratch_folder.h"
#include "tools/quarn_radius/dictionary/problems.h"

namespace quarn::quarn_radius {
namespace {

using Lines = std::vector<std::string>;

class DictionaryCheckTest : public testing::Test {
  protected:
    Lines check(std::string_view root) {
        result_ = check_dictionary(folder_.write("root.yaml", root));
        return test::lines_of(result_.problems, folder_.path());
    }

    test::ScratchFolder folder_;
    CheckResult result_;
};

TEST_F(DictionaryCheckTest, FindsNothingInASoundDictionary) {
    folder_.write("base.yaml", R"(# yaml-language-server: $schema=dictionary.schema.json
attributes:
  Service-Type: {code: 6, type: Enum, values: {Login-User: 1, Login: 1, Framed-User: 0x2}}
  Vendor-Specific: {code: 26, type: vsa}
  Tunnel-Type: {code: "64", type: enum, has_tag: yes, values: {PPTP: 1}}
  Tunnel-Password: {code: 69, type: text, has_tag: true, encrypt: 2}
  EAP-Message: {code: 79, type: octets, concat: true}
  Extended-1: {code: 241, type: extended}
  Frag: {code: 241.1, type: octets}
  Box: {code: 241.5, type: tlv}
  In-Box: {code: 241.5.1, type: integer}
)");
    EXPECT_EQ(check(R"({
"$schema": "dictionary.schema.json",
"includes": ["base.yaml"],
"vendor": {"id": 64496, "name": "Example", "format": "2,1"},
"attributes": {
  "Example-Role": {"code": "26.64496.300", "type": "text"},
  "Example-Bytes": {"code": "26.64496.301"},
  "Example-Far": {"code": "245.26.64496", "type": "evs"},
  "Example-Farther": {"code": "245.26.64496.1", "type": "string"},
  "service-type": {"code": "6", "type": "enum", "values": {"LOGIN": 1}}
}
}
)"),
              (Lines{"root.yaml:10: warning: service-type at 6 is outside of its vendor's 26.64496"}));
    EXPECT_EQ(result_.counts, (DictionaryCounts{2, 1, 13, 4}));
}

// One dictionary with a problem of every kind, all of which are told in one run.
TEST_F(DictionaryCheckTest, FindsEveryPlantedProblemOnItsLine) {
    folder_.write("other.yaml", R"(vendor:
  id: 64497
  name: Example
attributes:
  Other-One: {code: 26.64497.1, type: text}
  Outside: {code: 26.9.1, type: text}
includes:
  - root.yaml
)");
    folder_.write("broken.yaml", "attributes: [\n");
    folder_.write("format.yaml", R"(vendor:
  id: 64498
  name: Odd
  format: "1,0"
)");
    folder_.write("vendor.yaml", R"(vendor:
  nmae: Nameless
attributes: nothing
)");
    EXPECT_EQ(
        check(R"(includes:
  - other.yaml
  - missing.yaml
  - broken.yaml
  - format.yaml
  - vendor.yaml
vendor:
  id: 64496
  name: Example
  format: 1,1
atributes: {}
attributes:
  Empty-Element: {code: 26..1, type: text}
  No-Number:
    type: text
    code: 26.x.1
  Null-Code:
    code:
    type: text
  No-Code: {type: text}
  Huge-Code: {code: 26.64496.99999999999999999999, type: text}
  Large-Code: {code: 26.64496.256, type: text}
  No-Definition:
  Not-A-Map: 12
  Misspelt:
    code: 26.64496.1
    type: text
    encript: 2
  Bad-Type: {code: 26.64496.2, type: intger}
  Bad-Encrypt: {code: 26.64496.3, type: text, encrypt: two}
  Odd-Encrypt: {code: 26.64496.4, type: text, encrypt: 3}
  Number-Encrypt: {code: 26.64496.5, type: integer, encrypt: 2}
  Box-Encrypt: {code: 26.64496.6, type: tlv, encrypt: 1}
  Bad-Tag:
    code: 26.64496.7
    type: text
    has_tag: maybe
  Address-Tag: {code: 26.64496.8, type: ipv4addr, has_tag: true}
  Bad-Concat: {code: 26.64496.9, type: text, concat: 1}
  Number-Concat: {code: 26.64496.10, type: integer, concat: true}
  In-Text: {code: 26.64496.1.1, type: text}
  In-Nothing: {code: 26.64496.77.1, type: text}
  Misspelt: {code: 26.64496.11, type: text}
  Same-Code: {code: 26.64496.11, type: text}
  Mode:
    code: 26.64496.12
    type: enum
    values:
      Off: 0
      On: one
      Auto: 4294967296
      off: 2
      Half: -1
  Tagged: {code: 26.64496.13, type: enum, has_tag: true, values: {Large: 0x1000000}}
  Byte: {code: 26.64496.14, type: byte, values: {Two-Bytes: 256}}
  Text: {code: 26.64496.15, type: text, values: {One: 1}}
  Values: {code: 26.64496.16, type: enum, values: [One, Two]}
  Elsewhere: {code: 26.9.1, type: text}
  [List]: {code: 26.64496.17, type: text}
  Twice: {code: 26.64496.18, type: text, type: octets}
  Type-List: {code: 26.64496.19, type: [text]}
  Code-List: {code: [26, 64496, 20], type: text}
  Again: {code: 26.64496.21, type: text}
  again: {code: 26.64496.21, type: text}
  In-User-Name: {code: 1.1, type: text}
  Vendor-Alone: {code: 26.64496, type: text}
  Perhaps-Tagged: {code: 26.64496.22, type: text, optional_tag: true}
  Bad-Optional-Tag: {code: 26.64496.23, type: text, optional_tag: perhaps}
  Number-Optional-Tag: {code: 26.64496.24, type: integer, optional_tag: true}
  Two-Tags: {code: 26.64496.25, type: text, has_tag: true, optional_tag: true}
)"),
        (Lines{
            "broken.yaml:2: error: not valid YAML: end of sequence flow not found",
            "other.yaml:6: warning: Outside at 26.9.1 is outside of its vendor's 26.64497",
            "other.yaml:8: warning: include cycle: root.yaml includes this file in turn",
            "format.yaml:4: error: vendor format length size must be 1..4, got 0",
            "vendor.yaml:1: warning: the vendor has no 'name'",
            "vendor.yaml:1: error: the vendor has no 'id'",
            "vendor.yaml:2: warning: unknown key \"nmae\" of the vendor, did you mean \"name\"?",
            "vendor.yaml:3: error: 'attributes' must be a map",
            "root.yaml:3: error: cannot load missing.yaml: no such file",
            "root.yaml:7: warning: vendor Example has the number 64496 here and 64497 at other.yaml:1",
            "root.yaml:11: warning: unknown key \"atributes\" of the file, did you mean \"attributes\"?",
            "root.yaml:13: error: 'code' of Empty-Element is no valid code path: \"26..1\"",
            "root.yaml:16: error: 'code' of No-Number is no valid code path: \"26.x.1\"",
            "root.yaml:18: error: 'code' of Null-Code is no valid code path: \"null\"",
            "root.yaml:20: warning: No-Code has no 'code'",
            "root.yaml:21: error: 'code' of Huge-Code is out of range: \"26.64496.99999999999999999999\"",
            "root.yaml:22: warning: code 26.64496.256 of Large-Code does not fit: vendor type 256 is above "
            "255",
            "root.yaml:23: warning: No-Definition has no definition",
            "root.yaml:24: error: the definition of Not-A-Map must be a map",
            "root.yaml:28: warning: unknown key \"encript\" of Misspelt, did you mean \"encrypt\"?",
            "root.yaml:29: warning: unknown type \"intger\" of Bad-Type, which is read as octets, did you "
            "mean \"integer\"?",
            "root.yaml:30: error: 'encrypt' of Bad-Encrypt must be an unsigned integer, not \"two\"",
            "root.yaml:31: warning: 'encrypt' 3 of Odd-Encrypt hides nothing: there are the methods 1 and "
            "2",
            "root.yaml:32: warning: 'encrypt' makes no sense for Number-Encrypt, which is of type integer: "
            "what is hidden is listed truthfully as text or octets only",
            "root.yaml:33: warning: 'encrypt' makes no sense for Box-Encrypt, which is of type tlv and "
            "holds other attributes",
            "root.yaml:37: error: 'has_tag' of Bad-Tag must be true or false, not \"maybe\"",
            "root.yaml:38: warning: 'has_tag' makes no sense for Address-Tag, which is of type ipv4addr: "
            "only texts, octets and integers carry a tag",
            "root.yaml:39: error: 'concat' of Bad-Concat must be true or false, not \"1\"",
            "root.yaml:40: warning: 'concat' makes no sense for Number-Concat, which is of type integer: "
            "only texts and octets are joined",
            "root.yaml:41: warning: the parent 26.64496.1 of In-Text is Misspelt of type text, which cannot "
            "hold other attributes",
            "root.yaml:42: warning: the parent 26.64496.77 of In-Nothing is not defined",
            "root.yaml:43: warning: Misspelt is defined again with code \"26.64496.11\"; it had "
            "\"26.64496.1\" at root.yaml:25",
            "root.yaml:44: warning: code 26.64496.11 is defined again as Same-Code; it was Misspelt at "
            "root.yaml:43",
            "root.yaml:50: error: value \"On\" of Mode must be an unsigned integer, not \"one\"",
            "root.yaml:51: warning: value \"Auto\" of Mode is out of range: 4294967296 is read as 0",
            "root.yaml:52: warning: value \"off\" of Mode is defined again with the number 2; it had 0 at "
            "root.yaml:49",
            "root.yaml:53: error: value \"Half\" of Mode must be an unsigned integer, not \"-1\"",
            "root.yaml:54: warning: value \"Large\" of Tagged is out of range: 16777216 is above 16777215",
            "root.yaml:55: warning: the values of Byte are never shown: its type is byte, not enum",
            "root.yaml:55: warning: value \"Two-Bytes\" of Byte is out of range: 256 is above 255",
            "root.yaml:56: warning: the values of Text are never shown: its type is text, not enum",
            "root.yaml:57: error: 'values' must be a map",
            "root.yaml:58: warning: Elsewhere at 26.9.1 is outside of its vendor's 26.64496",
            "root.yaml:58: warning: code 26.9.1 is defined again as Elsewhere; it was Outside at "
            "other.yaml:6",
            "root.yaml:59: error: an attribute's name must be a text",
            "root.yaml:60: warning: \"type\" of Twice is given twice; the first one holds",
            "root.yaml:61: error: 'type' of Type-List must be a text",
            "root.yaml:62: error: 'code' of Code-List must be a text such as \"26.9.1\"",
            "root.yaml:64: warning: again is defined again; it was at root.yaml:63",
            "root.yaml:65: warning: In-User-Name at 1.1 is outside of its vendor's 26.64496",
            "root.yaml:65: warning: the parent 1 of In-User-Name is not defined",
            "root.yaml:66: warning: code 26.64496 of Vendor-Alone does not fit: a vendor's attribute needs a "
            "number after the vendor's",
            "root.yaml:68: error: 'optional_tag' of Bad-Optional-Tag must be true or false, not \"perhaps\"",
            "root.yaml:69: warning: 'optional_tag' makes no sense for Number-Optional-Tag, which is of type "
            "integer: only a text may or may not begin with a tag",
            "root.yaml:70: warning: 'optional_tag' of Two-Tags is of no use beside 'has_tag'",
        }));
}

TEST_F(DictionaryCheckTest, ListsAndMapsInThePlaceOfTextsAreTold) {
    EXPECT_EQ(check(R"(? [a]
: 1
vendor:
  ? [x]
  : 1
  id: 64496
  name: [N]
  format: [1, 1]
attributes:
  Mode:
    code: 26.64496.6
    type: enum
    values:
      ? [On]
      : 1
      Off: 0
)"),
              (Lines{
                  "root.yaml:1: warning: a key of the file is not a text",
                  "root.yaml:4: warning: a key of the vendor is not a text",
                  "root.yaml:7: error: 'name' of the vendor must be a text",
                  "root.yaml:8: error: 'format' of the vendor must be a text such as \"1,1\"",
                  "root.yaml:14: error: the name of a value of Mode must be a text",
              }));
}

// A program that lists such a name would print a line that the sender of a packet chose.
TEST_F(DictionaryCheckTest, NamesHaveNoControlCharacters) {
    EXPECT_EQ(
        check("attributes:\n"
              "  \"N\\nauthprobe: Success\": {code: 1, type: text}\n"
              "  \"A\\x7f\":\n"
              "    code: 2\n"
              "    type: enum\n"
              "    values:\n"
              "      Sound: 0\n"
              "      \"On\\u009b\": 1\n"
              "  \"Sound\\u00a0~\": {code: 3, type: text}\n"),
        (Lines{"root.yaml:2: error: the name \"N\\nauthprobe: Success\" has a control character",
               "root.yaml:3: error: the name \"A\\x7f\" has a control character",
               "root.yaml:8: error: value \"On\\xc2\\x9b\" of A\\x7f has a control character in its name"}));
}

TEST_F(DictionaryCheckTest, ValuesAreMeasuredByTheTypeOfTheirAttribute) {
    EXPECT_EQ(check(R"(attributes:
  Small: {code: 7, type: short, values: {Fits: 65535, Large: 65536}}
  Mode:
    code: 6
    type: enum
    values:
      Off: 0
      off: 0
      Quoted: "'4294967297'"
)"),
              (Lines{
                  "root.yaml:2: warning: the values of Small are never shown: its type is short, not enum",
                  "root.yaml:2: warning: value \"Large\" of Small is out of range: 65536 is above 65535",
                  "root.yaml:8: warning: value \"off\" of Mode is defined again; it was at root.yaml:7",
                  "root.yaml:9: warning: value \"Quoted\" of Mode is out of range: '4294967297' is read as 1",
              }));
}

TEST_F(DictionaryCheckTest, AnAttributeWithoutItsParentIsToldOnce) {
    EXPECT_EQ(check("attributes:\n"
                    "  Inner: {code: 1.1, type: text}\n"
                    "  Deeper: {code: 241.1.2, type: text}\n"),
              (Lines{"root.yaml:2: warning: the parent 1 of Inner is not defined",
                     "root.yaml:3: warning: the parent 241.1 of Deeper is not defined"}));
}

TEST_F(DictionaryCheckTest, TellsWhenVendorsContradictEachOther) {
    folder_.write("a.yaml", "vendor: {id: 1, name: A, format: '1,1'}\n");
    folder_.write("b.yaml", "vendor: {id: 1, name: B}\n");
    folder_.write("c.yaml", "vendor: {id: 1, name: b, format: '2,1'}\n");
    folder_.write("d.yaml", "vendor: {id: 1, name: b, format: ' 2 , 1 '}\n");
    EXPECT_EQ(check("includes: [a.yaml, b.yaml, c.yaml, d.yaml]\n"),
              (Lines{"b.yaml:1: warning: vendor 1 is named \"B\" here and \"A\" at a.yaml:1",
                     "c.yaml:1: warning: vendor b has the format \"2,1\" here and \"1,1\" at b.yaml:1"}));
}

TEST_F(DictionaryCheckTest, ReplacingAnAttributeOfAnIncludedFileIsNoProblem) {
    folder_.write("base.yaml", "attributes: {Filter-Id: {code: 11, type: text}}\n");
    EXPECT_EQ(check("includes: [base.yaml]\nattributes: {Filter-Id: {code: 11, type: octets}}\n"), Lines{});
}

// The vendor's format decides how large the number of its attributes may be, wherever it is given.
TEST_F(DictionaryCheckTest, CodesAreMeasuredByTheFormatOfTheirVendor) {
    folder_.write("wide.yaml", "vendor: {id: 1, name: Wide, format: '2,2'}\n");
    EXPECT_EQ(
        check("includes: [wide.yaml]\n"
              "attributes:\n"
              "  Wide-One: {code: 26.1.65535, type: text}\n"
              "  Wide-Two: {code: 26.1.65536, type: text}\n"),
        (Lines{"root.yaml:4: warning: code 26.1.65536 of Wide-Two does not fit: vendor type 65536 is above "
               "65535"}));
}

// The loader keeps such an attribute, under the code that is left.
TEST_F(DictionaryCheckTest, CodesOfMoreThan32BitsAreToldAsWhatTheyAreReadAs) {
    const std::string root = R"(attributes:
  Wrapped: {code: "4294967297", type: text}
  Below: {code: "241.-1", type: text}
  Far-Below: {code: "-4294967294", type: text}
  Signed: {code: "+4", type: text}
  Lost: {code: "18446744073709551616", type: text}
  Lost-Below: {code: "-18446744073709551616", type: text}
  Two-Signs: {code: "+-5", type: text}
  Sign: {code: "-", type: text}
)";
    const Lines lines = check(root);
    const auto tells = [&lines](const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    EXPECT_TRUE(
        tells("root.yaml:2: warning: 'code' of Wrapped is out of range: \"4294967297\" is read as 1"));
    EXPECT_TRUE(
        tells("root.yaml:3: warning: 'code' of Below is out of range: \"241.-1\" is read as 241.4294967295"));
    EXPECT_TRUE(
        tells("root.yaml:4: warning: 'code' of Far-Below is out of range: \"-4294967294\" is read as 2"));
    EXPECT_TRUE(tells("root.yaml:6: error: 'code' of Lost is out of range: \"18446744073709551616\""));
    EXPECT_TRUE(tells("root.yaml:7: error: 'code' of Lost-Below is out of range: \"-18446744073709551616\""));
    EXPECT_TRUE(tells("root.yaml:8: error: 'code' of Two-Signs is no valid code path: \"+-5\""));
    EXPECT_TRUE(tells("root.yaml:9: error: 'code' of Sign is no valid code path: \"-\""));
    EXPECT_TRUE(std::none_of(lines.begin(), lines.end(),
                             [](const std::string& line) { return line.starts_with("root.yaml:5:"); }));

    subscriber::radius::RadiusDictionary dictionary;
    dictionary.load(folder_.path() / "root.yaml");
    EXPECT_EQ(dictionary.attribute_by_code({1}).name, "Wrapped");
    EXPECT_EQ(dictionary.attribute_by_code({241, 4294967295}).name, "Below");
    EXPECT_EQ(dictionary.attribute_by_code({2}).name, "Far-Below");
    EXPECT_EQ(dictionary.attribute_by_code({4}).name, "Signed");
    for (const char* const lost : {"Lost", "Lost-Below", "Two-Signs", "Sign"}) {
        EXPECT_FALSE(dictionary.attribute_by_name(lost).known) << lost;
    }
}

TEST_F(DictionaryCheckTest, ANegativeZeroInACodeIsZero) {
    EXPECT_EQ(check("vendor: {id: 0, name: Zero}\nattributes:\n  A: {code: 26.-0.1, type: text}\n"), Lines{});
    EXPECT_EQ(
        check("vendor: {id: 0, name: Zero}\nattributes:\n  A: {code: 26.0.-1, type: text}\n"),
        (Lines{"root.yaml:3: warning: 'code' of A is out of range: \"26.0.-1\" is read as "
               "26.0.4294967295",
               "root.yaml:3: warning: code 26.0.4294967295 of A does not fit: vendor type 4294967295 is "
               "above 255"}));
}

TEST_F(DictionaryCheckTest, KnowsTheTypesOfTheSchemaAndNoOthers) {
    const YAML::Node schema = YAML::LoadFile(QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.schema.json");
    const YAML::Node types = schema["definitions"]["attribute"]["properties"]["type"]["anyOf"][0]["enum"];
    std::set<std::string> in_schema;
    for (const YAML::Node& type : types) {
        in_schema.insert(type.as<std::string>());
    }
    std::set<std::string> known;
    for (const subscriber::radius::TypeRow& row : subscriber::radius::type_rows()) {
        known.emplace(row.name);
    }
    EXPECT_EQ(in_schema, known);
    for (const std::string& name : in_schema) {
        for (const std::string& line : check("attributes:\n  A: {code: 241.1, type: " + name + "}\n")) {
            EXPECT_EQ(line.find("unknown type"), std::string::npos) << line;
        }
    }
}

// The loader takes a null entry for the name "null".
TEST_F(DictionaryCheckTest, WhatStopsTheLoaderIsToldBesideTheErrorsOfOtherFiles) {
    folder_.write("null", "attributes: 1\n");
    EXPECT_EQ(check("includes:\n  - ~\n"),
              (Lines{"null:1: error: 'attributes' must be a map",
                     "root.yaml:2: error: 'includes' entry must be a file name"}));
}

TEST_F(DictionaryCheckTest, WhatStopsTheLoaderIsToldOnce) {
    folder_.write("map.yaml", "\nattributes: 1\n");
    EXPECT_EQ(check("includes: [map.yaml]\n"), (Lines{"map.yaml:2: error: 'attributes' must be a map"}));
    EXPECT_EQ(check("includes:\n  - nowhere.yaml\n"),
              (Lines{"root.yaml:2: error: cannot load nowhere.yaml: no such file"}));
}

TEST_F(DictionaryCheckTest, ThrowsForAFileThatIsNotThere) {
    EXPECT_THROW(check_dictionary(folder_.path() / "nowhere.yaml"), FileError);
}

// Files that cannot be read cost no finding about others.
TEST_F(DictionaryCheckTest, IncludedFilesThatNeverEndAreErrorsAmongTheOthers) {
    ASSERT_EQ(mkfifo((folder_.path() / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(check("includes:\n  - /proc/self/mem\n  - /dev/zero\n  - pipe\nattributes: {A: {code: x}}\n"),
              (Lines{"root.yaml:2: error: cannot load /proc/self/mem: cannot be read: Input/output error",
                     "root.yaml:3: error: cannot load /dev/zero: is not a regular file",
                     "root.yaml:4: error: cannot load pipe: is not a regular file",
                     "root.yaml:5: error: 'code' of A is no valid code path: \"x\""}));
}

TEST_F(DictionaryCheckTest, AliasesThatRepeatTooMuchAreAnErrorWithTheirLine) {
    std::string yaml = "attributes:\n  A: {code: &code '" + std::string(10'000, '1') + "'}\n";
    for (int i = 0; i < 100; ++i) {
        yaml += "  A" + std::to_string(i) + ": {code: *code}\n";
    }
    // 16 times the 12 KB of the file and 64 KB are about 26 repeated texts.
    const std::size_t most = (std::size_t{64} << 10) + 16 * yaml.size();
    EXPECT_EQ(check(yaml), Lines{"root.yaml:" + std::to_string(most / 10'016 + 3) +
                                 ": error: aliases repeat more than 16 times the file's size"});
}

}  // namespace
}  // namespace quarn::quarn_radius
