#include "quarn_radius/dictionary/importer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "quarn/radius/dictionary.h"
#include "quarn_radius/dictionary/checker.h"
#include "testing/scratch_folder.h"
#include "testing/warnings.h"
#include "tools/quarn_radius/dictionary/problems.h"

namespace quarn::quarn_radius {
namespace {

using Lines = std::vector<std::string>;

std::string content_of(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Every file below a folder.
std::map<std::string, std::string> contents_below(const std::filesystem::path& folder) {
    std::map<std::string, std::string> contents;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            contents[entry.path().lexically_relative(folder).string()] = content_of(entry.path());
        }
    }
    return contents;
}

class DictionaryImportTest : public testing::Test {
  protected:
    /// Imports a text dictionary into the folder "out".
    ImportSummary import(std::string_view text, const std::vector<std::string>& vendors = {},
                         bool force = false) {
        return import_dictionary({.source = folder_.write("dictionary", text),
                                  .directory = folder_.path() / "out",
                                  .vendors = vendors,
                                  .schema = "dictionary.schema.json",
                                  .force = force},
                                 problems_);
    }
    Lines reported() const { return test::lines_of(problems_, folder_.path()); }
    std::string written(const std::string& name) const { return content_of(folder_.path() / "out" / name); }

    test::ScratchFolder folder_;
    Problems problems_;
};

/// The lines of a vendor's file that follow its head.
std::string vendor_file(const std::string& attributes) {
    return "{\n\"$schema\": \"../dictionary.schema.json\",\n"
           "\"vendor\": {\"id\": 64496, \"name\": \"Example\", \"format\": \"1,1\"},\n"
           "\"attributes\": {\n" +
           attributes + "\n}\n}\n";
}

std::string in_vendor(const std::string& lines) {
    return "VENDOR Example 64496\nBEGIN-VENDOR Example\n" + lines + "END-VENDOR Example\n";
}

TEST_F(DictionaryImportTest, WritesAFileForEachVendorOneForTheRestAndARoot) {
    const ImportSummary summary = import(
        "VENDOR Example 64496\nVENDOR An-Other.One 64497 format=1,1,c\n"
        "ATTRIBUTE User-Name 1 string\n"
        "BEGIN-VENDOR Example\nATTRIBUTE Example-Role 1 string\nEND-VENDOR Example\n"
        "BEGIN-VENDOR An-Other.One\nATTRIBUTE Other-Mode 2 integer\nVALUE Other-Mode On 1\n"
        "VALUE Other-Mode Off 0\nEND-VENDOR An-Other.One\n");
    EXPECT_EQ(reported(), Lines{});
    EXPECT_EQ(summary.files, (std::vector<std::string>{"vendor/an-other-one.yaml", "vendor/example.yaml",
                                                       "standard.yaml", "dictionary.yaml"}));
    EXPECT_EQ(summary.attributes, 3U);
    EXPECT_EQ(summary.values, 2U);
    EXPECT_EQ(written("vendor/example.yaml"),
              vendor_file(R"(  "Example-Role": {"code": "26.64496.1", "type": "text"})"));
    EXPECT_EQ(written("vendor/an-other-one.yaml"), R"({
"$schema": "../dictionary.schema.json",
"vendor": {"id": 64497, "name": "An-Other.One", "format": "1,1,c"},
"attributes": {
  "Other-Mode": {"code": "26.64497.2", "type": "enum", "values": {"Off": 0, "On": 1}}
}
}
)");
    EXPECT_EQ(written("standard.yaml"), R"({
"$schema": "dictionary.schema.json",
"attributes": {
  "User-Name": {"code": "1", "type": "text"}
}
}
)");
    EXPECT_EQ(written("dictionary.yaml"),
              "# yaml-language-server: $schema=dictionary.schema.json\nincludes:\n"
              "  - \"vendor/an-other-one.yaml\"\n  - \"vendor/example.yaml\"\n  - \"standard.yaml\"\n");
}

TEST_F(DictionaryImportTest, OfVendorsWithOneNumberTheLastHolds) {
    import(
        "VENDOR Early 64496 format=1,1\nVENDOR Late 64496 format=2,1\n"
        "BEGIN-VENDOR Early\nATTRIBUTE Early-One 1 string\nEND-VENDOR Early\n"
        "VENDOR Same 64497 format=1,1\nVENDOR Same 64497 format=1,2\n"
        "BEGIN-VENDOR Same\nATTRIBUTE Same-One 1 string\nEND-VENDOR Same\n");
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:1: note: vendor Early goes by the name Late of the same number, "
                              "given at dictionary:2",
                              "dictionary:6: note: vendor Same has the format 1,2 given at dictionary:7",
                          }));
    EXPECT_NE(written("vendor/late.yaml").find(R"({"id": 64496, "name": "Late", "format": "2,1"})"),
              std::string::npos);
    EXPECT_NE(written("vendor/same.yaml").find(R"({"id": 64497, "name": "Same", "format": "1,2"})"),
              std::string::npos);
}

TEST_F(DictionaryImportTest, NoTwoVendorsShareAFile) {
    const ImportSummary summary = import(
        "VENDOR -- 64498\nVENDOR A.b. 64499\nVENDOR a-b 64500\n"
        "BEGIN-VENDOR --\nATTRIBUTE Dash 1 string\nEND-VENDOR --\n"
        "BEGIN-VENDOR A.b.\nATTRIBUTE Dot 1 string\nEND-VENDOR A.b.\n"
        "BEGIN-VENDOR a-b\nATTRIBUTE Minus 1 string\nEND-VENDOR a-b\n");
    EXPECT_EQ(reported(), Lines{});
    std::vector<std::string> files = summary.files;
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, (std::vector<std::string>{"dictionary.yaml", "vendor/64498.yaml",
                                               "vendor/a-b-64499.yaml", "vendor/a-b.yaml"}));
}

/// A text dictionary of vendors with these names, numbered from 1 on, an attribute each.
std::string vendors_named(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 1; i <= names.size(); ++i) {
        const std::string number = std::to_string(i);
        text.append("VENDOR ").append(names[i - 1]).append(" ").append(number).append("\n");
        text.append("ATTRIBUTE Of-").append(number).append(" 1 string ").append(names[i - 1]).append("\n");
    }
    return text;
}

TEST_F(DictionaryImportTest, AVendorsLongNameMakesAShortNameOfAFile) {
    const std::string name(300, 'v');
    import(vendors_named({name, name + "w"}));
    EXPECT_NE(written("vendor/" + std::string(100, 'v') + ".yaml"), "");
    EXPECT_NE(written("vendor/" + std::string(100, 'v') + "-2.yaml"), "");
}

// The number that tells "x!" from "X" gives the name that "X-2" has by itself.
TEST_F(DictionaryImportTest, NoVendorIsLostWhereANumberMakesAnotherVendorsName) {
    const ImportSummary summary = import(vendors_named({"X", "x!", "X-2", "x-2-3"}));
    EXPECT_EQ(reported(), Lines{});
    EXPECT_EQ(summary.files, (Lines{"vendor/x.yaml", "vendor/x-2.yaml", "vendor/x-2-3.yaml",
                                    "vendor/x-2-3-4.yaml", "dictionary.yaml"}));
    subscriber::radius::RadiusDictionary dictionary;
    dictionary.load(folder_.path() / "out/dictionary.yaml");
    for (const char* const number : {"1", "2", "3", "4"}) {
        EXPECT_EQ(dictionary.attribute_by_name("Of-" + std::string(number)).name,
                  "Of-" + std::string(number));
    }
    EXPECT_NE(written("vendor/x-2.yaml").find(R"("name": "x!")"), std::string::npos);
    EXPECT_NE(written("vendor/x-2-3.yaml").find(R"("name": "X-2")"), std::string::npos);
}

TEST_F(DictionaryImportTest, NoVendorIsLostWhoseNumberIsAnothersName) {
    EXPECT_EQ(import(vendors_named({"--", "1", "!"})).files,
              (Lines{"vendor/3.yaml", "vendor/1.yaml", "vendor/1-2.yaml", "dictionary.yaml"}));
}

TEST_F(DictionaryImportTest, AVendorsFileHasOneNameWhateverElseIsImported) {
    EXPECT_EQ(import(vendors_named({"X", "x!", "X-2"}), {"X-2"}).files,
              (Lines{"vendor/x-2-3.yaml", "dictionary.yaml"}));
}

TEST_F(DictionaryImportTest, DropsTheFlagsThatATypeHasNoUseFor) {
    import(in_vendor("ATTRIBUTE Box 1 tlv has_tag\nATTRIBUTE List 2 string array\n"));
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:3: note: the flags of Box are dropped: it is a container",
                              "dictionary:4: note: the flag array of List is dropped",
                          }));
    EXPECT_EQ(written("vendor/example.yaml"),
              vendor_file("  \"Box\": {\"code\": \"26.64496.1\", \"type\": \"tlv\"},\n"
                          "  \"List\": {\"code\": \"26.64496.2\", \"type\": \"text\"}"));
}

TEST_F(DictionaryImportTest, TranslatesEveryType) {
    import(
        in_vendor("ATTRIBUTE T-1 1 string\nATTRIBUTE T-2 2 octets\nATTRIBUTE T-3 3 ipaddr\n"
                  "ATTRIBUTE T-4 4 date\nATTRIBUTE T-5 5 integer\nATTRIBUTE T-6 6 String\n"
                  "ATTRIBUTE T-7 7 ipv6addr\nATTRIBUTE T-8 8 ipv6prefix\nATTRIBUTE T-9 9 ipv4prefix\n"
                  "ATTRIBUTE T-10 10 ifid\nATTRIBUTE T-11 11 ether\nATTRIBUTE T-12 12 combo-ip\n"
                  "ATTRIBUTE T-13 13 integer64\nATTRIBUTE T-14 14 short\nATTRIBUTE T-15 15 byte\n"
                  "ATTRIBUTE T-16 16 signed\nATTRIBUTE T-17 17 tlv\n"));
    EXPECT_EQ(reported(), Lines{});
    subscriber::radius::RadiusDictionary dictionary;
    dictionary.load(folder_.path() / "out/dictionary.yaml");
    const std::vector<std::string> expected = {
        "text", "octets", "ipv4addr", "time",      "integer", "text", "ipv6addr", "ipv6prefix", "ipv4prefix",
        "ifid", "ether",  "combo-ip", "integer64", "short",   "byte", "signed",   "tlv"};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const std::string name = "T-" + std::to_string(i + 1);
        EXPECT_EQ(dictionary.attribute_by_name(name).type, expected[i]) << name;
    }
}

// What is on the wire has to be listed truthfully: not a tag as a part of a number, nor ciphertext as an
// address.
TEST_F(DictionaryImportTest, ShipsHiddenTaggedAndOddAttributesInAFormThatIsListedTruthfully) {
    import(
        in_vendor("ATTRIBUTE Text-Hidden 1 string encrypt=1\n"
                  "ATTRIBUTE Number-Hidden 2 integer encrypt=2\nVALUE Number-Hidden On 1\n"
                  "ATTRIBUTE Address-Hidden 3 ipaddr encrypt=2\n"
                  "ATTRIBUTE Otherwise-Hidden 4 string encrypt=3\n"
                  "ATTRIBUTE Text-Tagged 5 string has_tag\n"
                  "ATTRIBUTE Number-Tagged 6 integer has_tag\nVALUE Number-Tagged Small 1\n"
                  "VALUE Number-Tagged Largest 0xFFFFFF\n"
                  "VALUE Number-Tagged Large 0x1000000\n"
                  "ATTRIBUTE Password-Tagged 7 string has_tag,encrypt=2\n"
                  "ATTRIBUTE Sized 8 octets[16]\n"
                  "ATTRIBUTE Filter 9 abinary\n"
                  "ATTRIBUTE Many 10 ipaddr array\n"
                  "ATTRIBUTE Small 11 byte\nVALUE Small One 1\n"
                  "ATTRIBUTE Joined 12 octets concat\n"
                  "ATTRIBUTE Address-Tagged 13 ipaddr has_tag\n"));
    EXPECT_EQ(written("vendor/example.yaml"),
              vendor_file(R"(  "Text-Hidden": {"code": "26.64496.1", "type": "text", "encrypt": 1},
  "Number-Hidden": {"code": "26.64496.2", "type": "octets", "encrypt": 2},
  "Address-Hidden": {"code": "26.64496.3", "type": "octets", "encrypt": 2},
  "Otherwise-Hidden": {"code": "26.64496.4", "type": "octets"},
  "Text-Tagged": {"code": "26.64496.5", "type": "text", "optional_tag": true},
  "Number-Tagged": {"code": "26.64496.6", "type": "enum", "has_tag": true, "values": {"Small": 1, "Largest": 16777215}},
  "Password-Tagged": {"code": "26.64496.7", "type": "text", "encrypt": 2, "has_tag": true},
  "Sized": {"code": "26.64496.8", "type": "octets"},
  "Filter": {"code": "26.64496.9", "type": "octets"},
  "Many": {"code": "26.64496.10", "type": "octets"},
  "Small": {"code": "26.64496.11", "type": "byte"},
  "Joined": {"code": "26.64496.12", "type": "octets"},
  "Address-Tagged": {"code": "26.64496.13", "type": "ipv4addr"})"));
    EXPECT_EQ(
        reported(),
        (Lines{
            "dictionary:4: note: Number-Hidden becomes octets: it is hidden on the wire, where it is "
            "no integer",
            "dictionary:5: note: the value On of Number-Hidden is left out: values of type octets are "
            "listed as "
            "they are",
            "dictionary:6: note: Address-Hidden becomes octets: it is hidden on the wire, where it is "
            "no ipv4addr",
            "dictionary:7: note: Otherwise-Hidden becomes octets: it is hidden by the unknown method 3",
            "dictionary:8: note: Text-Tagged: has_tag becomes optional_tag, as the tag of a text may be "
            "missing",
            "dictionary:12: note: the value Large of Number-Tagged is left out: beside a tag there is "
            "no room for "
            "its number",
            "dictionary:14: note: the length of Sized is dropped: octets[16]",
            "dictionary:15: note: Filter becomes octets: there is no type abinary",
            "dictionary:16: note: Many becomes octets: an array cannot be taken apart",
            "dictionary:18: note: the value One of Small is left out: values of type byte are listed "
            "as they are",
            "dictionary:19: note: Joined loses concat: only a plain attribute's bytes are joined",
            "dictionary:20: note: Address-Tagged loses has_tag: it is no text and no integer",
        }));
}

TEST_F(DictionaryImportTest, KeepsTheLaterOfTwoDefinitions) {
    import(
        in_vendor("ATTRIBUTE Old-Name 1 string\n"
                  "ATTRIBUTE New-Name 1 string\n"
                  "ATTRIBUTE Moved 2 string\n"
                  "ATTRIBUTE Moved 3 string\n"
                  "ATTRIBUTE Mode 4 integer\n"
                  "VALUE Mode On 1\nVALUE Mode Enabled 1\nVALUE Mode Auto 2\nVALUE Mode Auto 3\n"
                  "VALUE Old-Name On 1\nVALUE Nobody On 1\n"));
    EXPECT_EQ(written("vendor/example.yaml"),
              vendor_file(R"(  "New-Name": {"code": "26.64496.1", "type": "text"},
  "Moved": {"code": "26.64496.3", "type": "text"},
  "Mode": {"code": "26.64496.4", "type": "enum", "values": {"On": 1, "Enabled": 1, "Auto": 3}})"));
    EXPECT_EQ(reported(),
              (Lines{
                  "dictionary:3: warning: Old-Name is left out: its code is already used by New-Name "
                  "(dictionary:4)",
                  "dictionary:5: note: Moved has the code 26.64496.3 given at dictionary:6",
                  "dictionary:11: note: Mode Auto = 2 gives way to Auto = 3",
                  "dictionary:12: note: the value On of Old-Name is left out with its attribute",
                  "dictionary:13: warning: the value On of Nobody is left out: there is no such "
                  "attribute",
              }));
}

TEST_F(DictionaryImportTest, LeavesOutWhatHasNoPlaceInAPacket) {
    import("ATTRIBUTE Internal 1000 string\nVENDOR Empty 64497\n" +
           in_vendor("ATTRIBUTE Large 256 string\n"
                     "ATTRIBUTE Leaf 1 string\n"
                     "ATTRIBUTE In-Leaf 1.1 string\n"
                     "ATTRIBUTE In-Nothing 2.1 string\n"));
    EXPECT_EQ(written("vendor/example.yaml"),
              vendor_file(R"(  "Leaf": {"code": "26.64496.1", "type": "text"})"));
    EXPECT_EQ(reported(),
              (Lines{
                  "dictionary:1: warning: Internal is left out: attribute type 1000 is not within 1 to 255",
                  "dictionary:2: note: vendor Empty is left out: it has no attributes",
                  "dictionary:5: warning: Large is left out: vendor type 256 is above 255",
                  "dictionary:7: warning: In-Leaf is left out: Leaf of type text cannot hold it",
                  "dictionary:8: warning: In-Nothing is left out: nothing is defined at 26.64496.2",
              }));
}

// RFC 6929 gives the types 241 to 246 to extended attributes, and no others.
TEST_F(DictionaryImportTest, LeavesOutVendorAttributesOfTypesThatAreNotExtended) {
    import(
        "ATTRIBUTE Below 240.26.9 string\nATTRIBUTE First 241.26.9 string\nATTRIBUTE Last 246.26.9 string\n"
        "ATTRIBUTE Above 247.26.9 string\nATTRIBUTE Odd 250.26.9 string\n");
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:1: warning: Below is left out: nothing is defined at 240.26",
                              "dictionary:4: warning: Above is left out: nothing is defined at 247.26",
                              "dictionary:5: warning: Odd is left out: nothing is defined at 250.26",
                          }));
    EXPECT_EQ(written("standard.yaml"), R"({
"$schema": "dictionary.schema.json",
"attributes": {
  "First": {"code": "241.26.9", "type": "text"},
  "Last": {"code": "246.26.9", "type": "text"}
}
}
)");
    const CheckResult checked = check_dictionary(folder_.path() / "out/dictionary.yaml");
    EXPECT_EQ(test::lines_of(checked.problems, folder_.path()), Lines{});
}

TEST_F(DictionaryImportTest, LeavesOutNamesThatAreNotValidUtf8) {
    const ImportSummary summary = import(
        "VENDOR Ex\xFF 64497\n"
        "BEGIN-VENDOR Ex\xFF\nATTRIBUTE Inside 1 integer\nVALUE Inside On 1\nEND-VENDOR Ex\xFF\n"
        "ATTRIBUTE Old-Style 2 string Ex\xFF\n"
        "ATTRIBUTE Plain\xFF 3 string\n"
        "ATTRIBUTE Mode 4 integer\nVALUE Mode On\xFF 1\n");
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:1: warning: a vendor is left out: its name is not valid UTF-8",
                              "dictionary:3: note: Inside is left out with its vendor",
                              "dictionary:4: note: the value On of Inside is left out with its attribute",
                              "dictionary:6: note: Old-Style is left out with its vendor",
                              "dictionary:7: warning: an attribute is left out: its name is not valid UTF-8",
                              "dictionary:9: warning: a value of Mode is left out: it is not valid UTF-8",
                          }));
    EXPECT_EQ(summary.files, (std::vector<std::string>{"standard.yaml", "dictionary.yaml"}));
    for (const auto& [name, content] : contents_below(folder_.path() / "out")) {
        EXPECT_EQ(content.find('\xFF'), std::string::npos) << name;
    }
}

// "N\nauthprobe: Success" would print a verdict of its own.
TEST_F(DictionaryImportTest, RefusesNamesWithControlCharacters) {
    import(
        "ATTRIBUTE N\x01 1 string\nATTRIBUTE Mode\xC2\x9B 2 integer\nVALUE Mode\xC2\x9B On 1\n"
        "ATTRIBUTE Sound 3 integer\nVALUE Sound On\x7F 1\nVALUE Sound Off 0\n"
        "ATTRIBUTE N\x1B\xFF 4 string\n");
    EXPECT_EQ(reported(),
              (Lines{
                  "dictionary:1: error: an attribute is left out: its name has a control character",
                  "dictionary:2: error: an attribute is left out: its name has a control character",
                  "dictionary:3: note: the value On of Mode\\xc2\\x9b is left out with its attribute",
                  "dictionary:5: error: a value of Sound is left out: it has a control character",
                  "dictionary:7: error: an attribute is left out: its name has a control character",
              }));
    EXPECT_EQ(written("standard.yaml"), R"({
"$schema": "dictionary.schema.json",
"attributes": {
  "Sound": {"code": "3", "type": "enum", "values": {"Off": 0}}
}
}
)");
}

TEST_F(DictionaryImportTest, LeavesOutNamesThatAreTooLongForAKey) {
    const std::string longest(998, 'A');
    import("ATTRIBUTE " + longest + " 1 string\nATTRIBUTE " + longest + "A 2 string\n" +
           "ATTRIBUTE Mode 4 integer\nVALUE Mode " + longest + " 1\nVALUE Mode " + longest + "A 2\n" +
           "ATTRIBUTE " + std::string(500, '"') + " 5 string\n");
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:2: warning: an attribute is left out: its name is too long",
                              "dictionary:5: warning: a value of Mode is left out: it is too long",
                              "dictionary:6: warning: an attribute is left out: its name is too long",
                          }));
    const CheckResult checked = check_dictionary(folder_.path() / "out/dictionary.yaml");
    EXPECT_EQ(test::lines_of(checked.problems, folder_.path()), Lines{});
}

TEST_F(DictionaryImportTest, KeepsAVendorUnderItsNameInUtf8) {
    import(
        "VENDOR Example 64496\nVENDOR Ex\xFF 64496\n"
        "BEGIN-VENDOR Ex\xFF\nATTRIBUTE Inside 1 string\nEND-VENDOR Ex\xFF\n");
    EXPECT_EQ(reported(),
              (Lines{"dictionary:2: warning: a vendor is left out: its name is not valid UTF-8"}));
    EXPECT_EQ(written("vendor/example.yaml"),
              vendor_file(R"(  "Inside": {"code": "26.64496.1", "type": "text"})"));
}

TEST_F(DictionaryImportTest, WritesTheVendorsAskedForOnly) {
    const std::string source =
        "VENDOR A 1\nVENDOR B 2\nATTRIBUTE User-Name 1 string\n"
        "BEGIN-VENDOR A\nATTRIBUTE A-1 1 string\nEND-VENDOR A\n"
        "BEGIN-VENDOR B\nATTRIBUTE B-1 1 string\nEND-VENDOR B\n";
    EXPECT_EQ(import(source, {"b"}).files, (std::vector<std::string>{"vendor/b.yaml", "dictionary.yaml"}));
    try {
        import(source, {"C"});
        FAIL() << "an unknown vendor is accepted";
    } catch (const FileError& error) {
        EXPECT_EQ(error.what(),
                  (folder_.path() / "dictionary").string() + ": has no attributes of a vendor C");
    }
}

TEST_F(DictionaryImportTest, GivesTheSameBytesTwiceAndFilesWithoutAProblem) {
    const std::string source =
        in_vendor(
            "ATTRIBUTE Box 9 tlv\nATTRIBUTE Box-Name 9.1 string has_tag\nATTRIBUTE Box-Mode 9.2 integer\n"
            "VALUE Box-Mode Two 2\nVALUE Box-Mode One 1\nATTRIBUTE Key 1 octets encrypt=2\n") +
        "BEGIN-VENDOR Example format=Extended-Vendor-Specific-6\nATTRIBUTE Far 1 string\nEND-VENDOR "
        "Example\n";
    import(source);
    const auto first = contents_below(folder_.path() / "out");
    std::filesystem::remove_all(folder_.path() / "out");
    import(source);
    EXPECT_EQ(contents_below(folder_.path() / "out"), first);

    const CheckResult checked = check_dictionary(folder_.path() / "out/dictionary.yaml");
    EXPECT_EQ(test::lines_of(checked.problems, folder_.path()), Lines{});
    const test::WarningRecorder recorder;
    subscriber::radius::RadiusDictionary dictionary;
    dictionary.load(folder_.path() / "out/dictionary.yaml");
    EXPECT_TRUE(recorder.warnings().empty());
    EXPECT_EQ(dictionary.enum_value("Box-Mode", "Two"), 2U);
    EXPECT_EQ(dictionary.attribute_by_name("Far").code, (subscriber::radius::CodePath{246, 26, 64496, 1}));
}

TEST_F(DictionaryImportTest, ReplacesWhatAnImportWrote) {
    import(in_vendor("ATTRIBUTE A 1 string\nATTRIBUTE B 2 integer\nVALUE B On 1\n") +
           "ATTRIBUTE User-Name 1 string\n");
    import(in_vendor("ATTRIBUTE C 3 string\n") + "ATTRIBUTE Class 25 octets\n");
    EXPECT_EQ(written("vendor/example.yaml"),
              vendor_file(R"(  "C": {"code": "26.64496.3", "type": "text"})"));
    EXPECT_NE(written("standard.yaml").find("Class"), std::string::npos);
}

TEST_F(DictionaryImportTest, ReplacesNothingElseUnlessForced) {
    const std::string source = in_vendor("ATTRIBUTE A 1 string\n") + "ATTRIBUTE User-Name 1 string\n";
    const std::filesystem::path out = folder_.path() / "out";
    for (const std::string name : {"vendor/example.yaml", "standard.yaml", "dictionary.yaml"}) {
        SCOPED_TRACE(name);
        std::filesystem::remove_all(out);
        import(source);
        const auto imported = contents_below(out);
        folder_.write("out/" + name, "# mine\n" + imported.at(name));
        const auto before = contents_below(out);
        try {
            import(source);
            FAIL() << "a file of one's own is replaced";
        } catch (const FileError& error) {
            EXPECT_EQ(error.what(),
                      (out / name).string() + ": no import wrote this; it is replaced with --force only");
        }
        EXPECT_EQ(contents_below(out), before);

        import(source, {}, true);
        EXPECT_EQ(contents_below(out), imported);
    }
}

TEST_F(DictionaryImportTest, ReplacesALinkOnlyIfForced) {
    const std::string source = "ATTRIBUTE User-Name 1 string\n";
    import(source);
    const std::filesystem::path file = folder_.path() / "out/standard.yaml";
    std::filesystem::rename(file, folder_.path() / "elsewhere");
    std::filesystem::create_symlink("../elsewhere", file);
    EXPECT_THROW(import(source), FileError);
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    import(source, {}, true);
    EXPECT_FALSE(std::filesystem::is_symlink(file));
}

TEST_F(DictionaryImportTest, ThrowsWhenItCannotWrite) {
    folder_.write("out", "a file where the folder should be");
    EXPECT_THROW(import("ATTRIBUTE User-Name 1 string\n"), FileError);
}

}  // namespace
}  // namespace quarn::quarn_radius
