#include "quarn_radius/dictionary/catalogue.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "testing/scratch_folder.h"

namespace quarn::quarn_radius {
namespace {

std::string findings_text(const Findings& findings) {
    std::ostringstream output;
    print_findings(findings, output);
    return output.str();
}

std::string findings_json(const Findings& findings) {
    std::ostringstream output;
    print_findings_json(findings, output);
    return output.str();
}

class DictionaryShowTest : public testing::Test {
  protected:
    std::string text(const std::string& query) const {
        return without_folder(findings_text(DictionaryCatalogue(root_).find(query)));
    }
    std::string json(const std::string& query) const {
        return without_folder(findings_json(DictionaryCatalogue(root_).find(query)));
    }

    test::ScratchFolder folder_;
    std::string vendor_ = folder_.write("vendor.yaml", R"({
"vendor": {"id": 64496, "name": "Example", "format": "1,1,c"},
"attributes": {
  "Example-Role": {"code": "26.64496.1", "type": "text"},
  "Example-Key": {"code": "26.64496.10", "type": "octets", "encrypt": 2, "has_tag": true},
  "Example-Mode": {"code": "26.64496.2", "type": "enum", "values": {"On": 1, "Off": 0, "Enabled": 1}}
}
}
)");
    std::string root_ = folder_.write("root.yaml", R"(includes: [vendor.yaml]
attributes:
  EAP-Message: {code: 79, type: octets, concat: true}
  Filter-Id: {code: 11}
  Filter-Id: {code: 11, type: text}
  Nowhere: {type: text}
  Tunnel-Private-Group-ID: {code: 81, type: text, optional_tag: true}
)");

  private:
    std::string without_folder(std::string shown) const {
        const std::string prefix = folder_.path().string() + "/";
        for (std::size_t at = 0; (at = shown.find(prefix)) != std::string::npos;) {
            shown.erase(at, prefix.size());
        }
        return shown;
    }
};

TEST_F(DictionaryShowTest, ShowsTheRecordOfAnAttributeInAnyCase) {
    EXPECT_EQ(text("example-MODE"),
              "Example-Mode\n"
              "  code      26.64496.2\n"
              "  type      enum\n"
              "  flags     continuation (its vendor's format has a continuation byte)\n"
              "  vendor    Example, number 64496, format 1,1,c\n"
              "  values    Off = 0\n"
              "            On = 1\n"
              "            Enabled = 1\n"
              "  defined   vendor.yaml:6\n");
}

TEST_F(DictionaryShowTest, PassesOverFilesWithoutAttributes) {
    folder_.write("vendor-alone.yaml", "vendor: {id: 64497, name: Alone}\nattributes:\n");
    root_ = folder_.write("more.yaml", "includes: [vendor-alone.yaml, vendor.yaml]\n");
    EXPECT_EQ(text("Example-Role"),
              "Example-Role\n"
              "  code      26.64496.1\n"
              "  type      text\n"
              "  flags     continuation (its vendor's format has a continuation byte)\n"
              "  vendor    Example, number 64496, format 1,1,c\n"
              "  defined   vendor.yaml:4\n");
}

TEST_F(DictionaryShowTest, PassesOverKeysThatAreNoNames) {
    root_ = folder_.write("lists.yaml",
                          "attributes:\n  ? [a]\n  : {code: 1}\n"
                          "  Plain:\n    ? [b]\n    : 1\n    code: 6\n    type: text\n");
    EXPECT_EQ(text("Plain"), "Plain\n  code      6\n  type      text\n  defined   lists.yaml:4\n");
}

TEST_F(DictionaryShowTest, ShowsTheAttributeAtACode) {
    EXPECT_EQ(text("26.64496.10"),
              "Example-Key\n"
              "  code      26.64496.10\n"
              "  type      octets\n"
              "  flags     encrypt 2 (hidden as Tunnel-Password is)\n"
              "            has_tag (begins with a tag byte)\n"
              "            continuation (its vendor's format has a continuation byte)\n"
              "  vendor    Example, number 64496, format 1,1,c\n"
              "  defined   vendor.yaml:5\n");
    EXPECT_EQ(text("79"),
              "EAP-Message\n"
              "  code      79\n"
              "  type      octets\n"
              "  flags     concat (several attributes carry one value)\n"
              "  defined   root.yaml:3\n");
    EXPECT_EQ(text("81"),
              "Tunnel-Private-Group-ID\n"
              "  code      81\n"
              "  type      text\n"
              "  flags     optional_tag (may begin with a tag byte)\n"
              "  defined   root.yaml:7\n");
}

TEST_F(DictionaryShowTest, ReadsTheNumbersOfACodeAsDecimal) {
    for (const char* const query : {"0x4F", "26.0xFBF0.1", "26..1", "26.64496.", "79 "}) {
        EXPECT_EQ(text(query), "") << query;
    }
}

TEST_F(DictionaryShowTest, TellsHowAValueIsHidden) {
    const std::string root = folder_.write("hiding.yaml",
                                           "attributes:\n"
                                           "  Plain: {code: 1, type: text, encrypt: 0}\n"
                                           "  As-User: {code: 2, type: text, encrypt: 1}\n"
                                           "  As-Tunnel: {code: 3, type: text, encrypt: 2}\n"
                                           "  Unknown: {code: 4, type: text, encrypt: 3}\n");
    const auto shown = [catalogue = DictionaryCatalogue(root)](const std::string& name) {
        return findings_text(catalogue.find(name));
    };
    EXPECT_EQ(shown("Plain").find("encrypt"), std::string::npos);
    EXPECT_NE(shown("As-User").find("encrypt 1 (hidden as User-Password is)\n"), std::string::npos);
    EXPECT_NE(shown("As-Tunnel").find("encrypt 2 (hidden as Tunnel-Password is)\n"), std::string::npos);
    EXPECT_NE(shown("Unknown").find("encrypt 3 (not hidden)\n"), std::string::npos);
}

TEST_F(DictionaryShowTest, ShowsWhereTheDefinitionThatHoldsStands) {
    EXPECT_EQ(text("Filter-Id"), "Filter-Id\n  code      11\n  type      text\n  defined   root.yaml:5\n");
    EXPECT_EQ(text("Nowhere"), "Nowhere\n  code      none\n  type      text\n  defined   root.yaml:6\n");
}

TEST_F(DictionaryShowTest, ListsTheAttributesOfAVendorByCode) {
    const std::string expected =
        "26.64496.1   Example-Role  text    continuation\n"
        "26.64496.2   Example-Mode  enum    continuation\n"
        "26.64496.10  Example-Key   octets  encrypt 2, has_tag, continuation\n";
    EXPECT_EQ(text("EXAMPLE"), expected);
    EXPECT_EQ(text("64496"), expected);
}

TEST_F(DictionaryShowTest, ListsTheAttributesOfAVendorWhoseNumberIsAnAttributesToo) {
    const std::string vendor = folder_.write("small.yaml",
                                             "vendor: {id: 9, name: Small}\n"
                                             "attributes: {Small-One: {code: 26.9.1, type: text}}\n");
    const std::string root = folder_.write("both.yaml",
                                           "includes: [small.yaml]\n"
                                           "attributes: {Framed-IP-Netmask: {code: 9, type: ipv4addr}}\n");
    const DictionaryCatalogue catalogue(root);
    EXPECT_EQ(catalogue.find("9").records.at(0).metadata.name, "Framed-IP-Netmask");
    EXPECT_EQ(findings_text(catalogue.find("26.9")), "26.9.1  Small-One  text\n");
    for (const char* const query : {"26.10", "25.9", "26.9.2"}) {
        EXPECT_TRUE(catalogue.find(query).records.empty()) << query;
    }
}

TEST_F(DictionaryShowTest, AnAttributeAtTheVendorsOwnPlaceComesFirst) {
    const std::string root = folder_.write("place.yaml",
                                           "vendor: {id: 9, name: Small}\n"
                                           "attributes: {All: {code: 26.9, type: vsa}, "
                                           "One: {code: 26.9.1, type: text}}\n");
    const Findings findings = DictionaryCatalogue(root).find("26.9");
    EXPECT_EQ(findings.kind, Findings::Kind::One);
    ASSERT_EQ(findings.records.size(), 1U);
    EXPECT_EQ(findings.records[0].metadata.name, "All");
}

TEST_F(DictionaryShowTest, PrintsControlCharactersAsEscapes) {
    const std::string root = folder_.write("odd.yaml",
                                           "vendor: {id: 64496, name: \"V\\e]0;\"}\n"
                                           "attributes:\n"
                                           "  \"A\\n\": {code: 26.64496.1, type: \"t\\e\", "
                                           "values: {\"O\\r\": 1}}\n"
                                           "  Plain: {code: 26.64496.2, type: text}\n");
    const DictionaryCatalogue catalogue(root);
    EXPECT_EQ(findings_text(catalogue.find("26.64496.1")),
              "A\\n\n"
              "  code      26.64496.1\n"
              "  type      t\\x1b\n"
              "  vendor    V\\x1b]0;, number 64496, format 1,1\n"
              "  values    O\\r = 1\n"
              "  defined   " +
                  root + ":3\n");
    EXPECT_EQ(findings_text(catalogue.find("64496")),
              "26.64496.1  A\\n    t\\x1b\n"
              "26.64496.2  Plain  text\n");
}

TEST_F(DictionaryShowTest, ListsWhatMatchesAPattern) {
    EXPECT_EQ(text("/^e.*-m/"),
              "26.64496.2  Example-Mode  enum    continuation\n"
              "79          EAP-Message   octets  concat\n");
}

TEST_F(DictionaryShowTest, PrintsJsonLines) {
    EXPECT_EQ(
        json("/role|mode/"),
        R"({"name": "Example-Role", "code": "26.64496.1", "type": "text", "encrypt": 0, "has_tag": false, )"
        R"("optional_tag": false, "concat": false, "continuation": true, )"
        R"("vendor": {"id": 64496, "name": "Example", "format": "1,1,c"}, "file": "vendor.yaml", "line": 4})"
        "\n"
        R"({"name": "Example-Mode", "code": "26.64496.2", "type": "enum", "encrypt": 0, "has_tag": false, )"
        R"("optional_tag": false, "concat": false, "continuation": true, )"
        R"("vendor": {"id": 64496, "name": "Example", "format": "1,1,c"}, )"
        R"("values": {"Off": 0, "On": 1, "Enabled": 1}, "file": "vendor.yaml", "line": 6})"
        "\n");
    EXPECT_EQ(
        json("Filter-Id"),
        R"({"name": "Filter-Id", "code": "11", "type": "text", "encrypt": 0, "has_tag": false, )"
        R"("optional_tag": false, "concat": false, "continuation": false, "file": "root.yaml", "line": 5})"
        "\n");
}

TEST_F(DictionaryShowTest, FindsNothingWhereNothingIs) {
    for (const char* const query : {"Example-Rolle", "26.64496.3", "26", "/^$/", "", "1.x"}) {
        EXPECT_EQ(text(query), "") << query;
    }
    EXPECT_EQ(DictionaryCatalogue(root_).suggestion_for("Example-Rolle"), ", did you mean \"Example-Role\"?");
    EXPECT_EQ(DictionaryCatalogue(root_).suggestion_for("exampel"), ", did you mean \"Example\"?");
}

TEST_F(DictionaryShowTest, RefusesABadPattern) {
    EXPECT_THROW(DictionaryCatalogue(root_).find("/(/"), std::invalid_argument);
}

TEST_F(DictionaryShowTest, ThrowsForADictionaryThatDoesNotLoad) {
    EXPECT_THROW(DictionaryCatalogue(folder_.path() / "nowhere.yaml"), FileError);
    EXPECT_THROW(DictionaryCatalogue(folder_.write("bad.yaml", "attributes: 1\n")), FileError);
}

// One long name is not paid for in every line.
TEST_F(DictionaryShowTest, ColumnsAreAsWideAs100CharactersAtMost) {
    const std::string name(100, 'n');
    root_ = folder_.write("long.yaml", "attributes:\n  A: {code: 1, type: text}\n  " + name +
                                           ": {code: 2, type: text}\n  " + name +
                                           "x: {code: 3, type: text, concat: true}\n");
    EXPECT_EQ(text("/./"), "1  A" + std::string(101, ' ') + "text\n2  " + name + "  text\n3  " + name +
                               "x  text  concat\n");
}

TEST(DictionaryShow, CutsTheNameOfAVendorInJson) {
    const test::ScratchFolder folder;
    const std::string file = folder.write("long.yaml", "vendor: {id: 9, name: " + std::string(5000, 'v') +
                                                           ", format: '1,1'}\n"
                                                           "attributes: {A: {code: 26.9.1, type: text}}\n");
    const std::string line = findings_json(DictionaryCatalogue(file).find("A"));
    EXPECT_NE(line.find("\"name\": \"" + std::string(200, 'v') + "...\""), std::string::npos) << line;
    EXPECT_LT(line.size(), 1000U);
}

}  // namespace
}  // namespace quarn::quarn_radius
