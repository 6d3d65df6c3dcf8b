// Look-ups in a loaded dictionary, and the check of its nesting.
#include "quarn/radius/dictionary.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "testing/scratch_folder.h"
#include "testing/warnings.h"

namespace quarn::subscriber::radius {
namespace {

using test::ScratchFolder;
using test::Warning;
using test::WarningRecorder;

using Warnings = std::vector<Warning>;

RadiusDictionary load(std::string_view yaml) {
    const ScratchFolder folder;
    RadiusDictionary dictionary;
    dictionary.load(folder.write("dictionary.yaml", yaml));
    return dictionary;
}

// Attributes

constexpr std::string_view some_attributes = R"(attributes:
  User-Name: {code: 1, type: text}
  Vendor-Specific: {code: 26, type: vsa}
  Vendor-Thing: {code: 26.9.1, type: integer}
  Extended-Attribute-1: {code: 241, type: extended}
  Extended-Thing: {code: 241.1, type: text}
  No-Code: {type: text}
)";

TEST(AttributeByName, IgnoresCase) {
    const RadiusDictionary dictionary = load(some_attributes);
    for (const char* const name : {"User-Name", "user-name", "USER-NAME", "uSER-nAME"}) {
        EXPECT_EQ(dictionary.attribute_by_name(name).name, "User-Name") << name;
    }
}

TEST(AttributeByName, FindsEveryAttribute) {
    const RadiusDictionary dictionary = load(some_attributes);
    EXPECT_EQ(dictionary.attribute_by_name("Vendor-Thing").code, (CodePath{26, 9, 1}));
    EXPECT_EQ(dictionary.attribute_by_name("Extended-Thing").code, (CodePath{241, 1}));
    EXPECT_EQ(dictionary.attribute_by_name("No-Code").code, CodePath{});
}

TEST(AttributeByName, MatchesTheWholeName) {
    const RadiusDictionary dictionary = load(some_attributes);
    for (const char* const name : {"", "User", "User-Name ", " User-Name", "User-Names", "1"}) {
        EXPECT_EQ(&dictionary.attribute_by_name(name), &RadiusDictionary::unknown_definition()) << name;
    }
}

TEST(AttributeByCode, MatchesTheWholePath) {
    const RadiusDictionary dictionary = load(some_attributes);
    EXPECT_EQ(dictionary.attribute_by_code({1}).name, "User-Name");
    EXPECT_EQ(dictionary.attribute_by_code({26, 9, 1}).name, "Vendor-Thing");
    EXPECT_EQ(dictionary.attribute_by_code({241, 1}).name, "Extended-Thing");
    for (const CodePath& code :
         {CodePath{}, CodePath{2}, CodePath{26, 9}, CodePath{26, 9, 2}, CodePath{26, 9, 1, 1}, CodePath{9, 1},
          CodePath{1, 26, 9}, CodePath{1, 0}, CodePath{241, 1, 0}}) {
        EXPECT_EQ(&dictionary.attribute_by_code(code), &RadiusDictionary::unknown_definition())
            << radius_code_path_to_string(code);
    }
}

TEST(TopLevelAttribute, IsOneWhosePathIsItsTypeAlone) {
    const RadiusDictionary dictionary = load(some_attributes);
    EXPECT_EQ(dictionary.top_level_attribute(1).name, "User-Name");
    EXPECT_EQ(dictionary.top_level_attribute(26).name, "Vendor-Specific");
    EXPECT_EQ(dictionary.top_level_attribute(241).name, "Extended-Attribute-1");
    for (const std::uint32_t type : {0U, 2U, 9U, 240U, 242U, 4294967295U}) {
        EXPECT_EQ(&dictionary.top_level_attribute(type), &RadiusDictionary::unknown_definition()) << type;
    }
}

TEST(TopLevelAttribute, IsTheRecordOfTheIndexByCode) {
    const RadiusDictionary dictionary = load(some_attributes);
    EXPECT_EQ(&dictionary.top_level_attribute(1), &dictionary.attribute_by_code({1}));
}

TEST(TopLevelAttribute, IsUnknownWhenOnlyItsChildrenAreDefined) {
    const RadiusDictionary dictionary = load("attributes: {X: {code: 241.1}}");
    EXPECT_FALSE(dictionary.top_level_attribute(241).known);
}

void expect_empty(const RadiusDictionary& dictionary) {
    EXPECT_FALSE(dictionary.attribute_by_name("User-Name").known);
    EXPECT_FALSE(dictionary.attribute_by_code({1}).known);
    EXPECT_FALSE(dictionary.top_level_attribute(1).known);
    EXPECT_FALSE(dictionary.top_level_attribute(256).known);
    EXPECT_EQ(dictionary.vendor_by_name("Example"), nullptr);
    EXPECT_EQ(dictionary.vendor_by_id(9), nullptr);
    EXPECT_EQ(dictionary.enum_value("Service-Type", "Login-User"), std::nullopt);
    EXPECT_EQ(dictionary.enum_name("Service-Type", 1), std::nullopt);
    EXPECT_EQ(dictionary.enum_name_lower("Service-Type", 1), std::nullopt);
}

constexpr char one_of_each[] = R"(
vendor: {id: 9, name: Example}
attributes:
  User-Name: {code: 1}
  Wide: {code: 256}
  Service-Type: {code: 6, type: enum, values: {Login-User: 1}}
)";

TEST(RadiusDictionary, FindsNothingBeforeItIsLoaded) {
    expect_empty(RadiusDictionary());
}

TEST(RadiusDictionary, IsEmptyWhenMovedFrom) {
    RadiusDictionary original = load(one_of_each);
    RadiusDictionary constructed = std::move(original);
    expect_empty(original);  // NOLINT(bugprone-use-after-move): that is what is tested
    EXPECT_TRUE(constructed.attribute_by_name("User-Name").known);

    RadiusDictionary assigned = load("attributes: {Other: {code: 1}}");
    assigned = std::move(constructed);
    expect_empty(constructed);  // NOLINT(bugprone-use-after-move): that is what is tested
    EXPECT_TRUE(assigned.attribute_by_name("User-Name").known);
    EXPECT_FALSE(assigned.attribute_by_name("Other").known);
    EXPECT_TRUE(assigned.top_level_attribute(256).known);
    EXPECT_EQ(assigned.enum_value("Service-Type", "Login-User"), 1U);
    EXPECT_NE(assigned.vendor_by_id(9), nullptr);
    EXPECT_NE(assigned.vendor_by_name("Example"), nullptr);
}

TEST(RadiusDictionary, CanBeLoadedAfterItWasMovedFrom) {
    const ScratchFolder folder;
    const std::string file = folder.write("dictionary.yaml", one_of_each);
    RadiusDictionary dictionary;
    dictionary.load(file);
    const RadiusDictionary taken = std::move(dictionary);
    dictionary.load(file);
    EXPECT_TRUE(dictionary.attribute_by_name("User-Name").known);
    EXPECT_NE(&dictionary.attribute_by_name("User-Name"), &taken.attribute_by_name("User-Name"));
}

TEST(RadiusDictionary, MovesWithoutAnException) {
    EXPECT_TRUE(std::is_nothrow_default_constructible_v<RadiusDictionary>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<RadiusDictionary>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<RadiusDictionary>);
}

TEST(RadiusDictionary, KeepsItsRecordsWhenMoved) {
    RadiusDictionary original = load(some_attributes);
    const AttributeMetadata* const record = &original.attribute_by_code({1});
    const RadiusDictionary moved = std::move(original);
    EXPECT_EQ(&moved.top_level_attribute(1), record);
    EXPECT_EQ(&moved.attribute_by_code({1}), record);
}

TEST(AttributeSource, HasItsFieldsInOrder) {
    const RadiusDictionary::AttributeSource source = {"Example", {26, 9, 1}, "/dictionary.yaml", 12};
    EXPECT_EQ(source.name, "Example");
    EXPECT_EQ(source.code, (CodePath{26, 9, 1}));
    EXPECT_EQ(source.file, "/dictionary.yaml");
    EXPECT_EQ(source.line, 12U);
}

TEST(AttributeSource, StartsWithoutPlace) {
    const RadiusDictionary::AttributeSource source{};
    EXPECT_EQ(source.name, "");
    EXPECT_EQ(source.code, CodePath{});
    EXPECT_EQ(source.file, "");
    EXPECT_EQ(source.line, 0U);
}

// The unknown record

TEST(UnknownDefinition, HasDefaultsButForTypeAndKnown) {
    AttributeMetadata wanted;
    wanted.type = "octets";
    wanted.known = false;
    EXPECT_EQ(RadiusDictionary::unknown_definition(), wanted);
    EXPECT_EQ(RadiusDictionary::unknown_definition().name, "");
    EXPECT_EQ(RadiusDictionary::unknown_definition().type, "octets");
    EXPECT_EQ(RadiusDictionary::unknown_definition().value_type, ValueType::Octets);
    EXPECT_FALSE(RadiusDictionary::unknown_definition().known);
}

TEST(UnknownDefinition, IsOneRecordForAll) {
    const AttributeMetadata* const record = &RadiusDictionary::unknown_definition();
    EXPECT_EQ(&RadiusDictionary::unknown_definition(), record);
    EXPECT_EQ(&RadiusDictionary().attribute_by_name("X"), record);
    EXPECT_EQ(&RadiusDictionary().attribute_by_code({1}), record);
    EXPECT_EQ(&RadiusDictionary().top_level_attribute(1), record);
}

TEST(UnknownDefinition, IsOneRecordForAllThreads) {
    const AttributeMetadata* seen_there = nullptr;
    std::thread other([&seen_there] { seen_there = &RadiusDictionary::unknown_definition(); });
    const AttributeMetadata* const seen_here = &RadiusDictionary::unknown_definition();
    other.join();
    EXPECT_EQ(seen_there, seen_here);
}

TEST(UnknownDefinition, IsNotWhatADefinedAttributeOfTypeOctetsIs) {
    const RadiusDictionary dictionary = load("attributes: {X: {code: 200, type: octets}}");
    EXPECT_TRUE(dictionary.attribute_by_code({200}).known);
}

// Vendors

TEST(VendorLookUp, FindsByNumberAndByNameInAnyCase) {
    const RadiusDictionary dictionary = load("vendor: {id: 9, name: Example-Vendor, format: '4,2'}");
    ASSERT_NE(dictionary.vendor_by_id(9), nullptr);
    EXPECT_EQ(dictionary.vendor_by_id(9)->name, "Example-Vendor");
    EXPECT_EQ(dictionary.vendor_by_id(9)->type_size, 4U);
    for (const char* const name : {"Example-Vendor", "example-vendor", "EXAMPLE-VENDOR"}) {
        ASSERT_NE(dictionary.vendor_by_name(name), nullptr) << name;
        EXPECT_EQ(*dictionary.vendor_by_name(name), *dictionary.vendor_by_id(9));
    }
}

TEST(VendorLookUp, FindsNoOther) {
    const RadiusDictionary dictionary = load("vendor: {id: 9, name: Example-Vendor}");
    EXPECT_EQ(dictionary.vendor_by_id(0), nullptr);
    EXPECT_EQ(dictionary.vendor_by_id(10), nullptr);
    EXPECT_EQ(dictionary.vendor_by_name(""), nullptr);
    EXPECT_EQ(dictionary.vendor_by_name("Example"), nullptr);
}

// Enumerated values

constexpr std::string_view some_values =
    "attributes: {Framed-Protocol: {code: 7, type: enum, values: {PPP: 1, SLIP: 2, X.75-Synchronous: 6}}}";

TEST(EnumValue, IgnoresTheCaseOfBothNames) {
    const RadiusDictionary dictionary = load(some_values);
    EXPECT_EQ(dictionary.enum_value("Framed-Protocol", "PPP"), 1U);
    EXPECT_EQ(dictionary.enum_value("Framed-Protocol", "ppp"), 1U);
    EXPECT_EQ(dictionary.enum_value("framed-protocol", "Ppp"), 1U);
    EXPECT_EQ(dictionary.enum_value("FRAMED-PROTOCOL", "x.75-SYNCHRONOUS"), 6U);
}

TEST(EnumValue, IsAbsentForAnyOtherName) {
    const RadiusDictionary dictionary = load(some_values);
    EXPECT_EQ(dictionary.enum_value("Framed-Protocol", "PP"), std::nullopt);
    EXPECT_EQ(dictionary.enum_value("Framed-Protocol", "PPP "), std::nullopt);
    EXPECT_EQ(dictionary.enum_value("Framed-Protocol", ""), std::nullopt);
    EXPECT_EQ(dictionary.enum_value("Framed-Protocol", "1"), std::nullopt);
    EXPECT_EQ(dictionary.enum_value("Framed-Routing", "PPP"), std::nullopt);
    EXPECT_EQ(dictionary.enum_value("", "PPP"), std::nullopt);
}

TEST(EnumName, IsAsWrittenWhateverTheCaseOfTheAttribute) {
    const RadiusDictionary dictionary = load(some_values);
    EXPECT_EQ(dictionary.enum_name("Framed-Protocol", 1), "PPP");
    EXPECT_EQ(dictionary.enum_name("framed-protocol", 1), "PPP");
    EXPECT_EQ(dictionary.enum_name("FRAMED-PROTOCOL", 6), "X.75-Synchronous");
}

TEST(EnumName, IsAbsentForAnyOtherNumberOrAttribute) {
    const RadiusDictionary dictionary = load(some_values);
    EXPECT_EQ(dictionary.enum_name("Framed-Protocol", 0), std::nullopt);
    EXPECT_EQ(dictionary.enum_name("Framed-Protocol", 3), std::nullopt);
    EXPECT_EQ(dictionary.enum_name("Framed-Protocol", 4294967295), std::nullopt);
    EXPECT_EQ(dictionary.enum_name("Framed-Routing", 1), std::nullopt);
}

TEST(EnumNameLower, IsTheNameWithItsAsciiLettersLowered) {
    const RadiusDictionary dictionary =
        load("attributes: {X: {values: {X.75-Synchronous: 6, \xC3\x89T\xC3\x89: 7}}}");
    EXPECT_EQ(dictionary.enum_name_lower("x", 6), "x.75-synchronous");
    EXPECT_EQ(dictionary.enum_name_lower("X", 7), "\xC3\x89t\xC3\x89");
}

TEST(EnumNameLower, IsAbsentForAnyOtherNumberOrAttribute) {
    const RadiusDictionary dictionary = load(some_values);
    EXPECT_EQ(dictionary.enum_name_lower("Framed-Protocol", 3), std::nullopt);
    EXPECT_EQ(dictionary.enum_name_lower("Framed-Routing", 1), std::nullopt);
}

// Nesting

/// Loads YAML and collects what the check of its nesting reports.
class Nesting : public testing::Test {
  protected:
    void load(std::string_view yaml) { dictionary.load(folder.write("dictionary.yaml", yaml)); }

    std::string path() const { return (folder.path() / "dictionary.yaml").string(); }

    Warning undefined_parent(const std::string& line, const std::string& attribute, const std::string& code,
                             const std::string& parent_code) const {
        return {"parent attribute is not defined",
                {{"file", path()},
                 {"line", line},
                 {"attribute", attribute},
                 {"code", code},
                 {"parent_code", parent_code}}};
    }

    Warning unfit_parent(const std::string& line, const std::string& attribute, const std::string& code,
                         const std::string& parent_code, const std::string& parent_type) const {
        return {"parent attribute cannot hold children",
                {{"file", path()},
                 {"line", line},
                 {"attribute", attribute},
                 {"code", code},
                 {"parent_code", parent_code},
                 {"parent_type", parent_type}}};
    }

    ScratchFolder folder;
    RadiusDictionary dictionary;
    WarningRecorder recorder;
};

TEST_F(Nesting, IsFineUnderEveryKindOfContainer) {
    for (const char* const type :
         {"tlv", "vsa", "struct", "evs", "extended", "long-extended", "TLV", "Struct", "Long-Extended"}) {
        SCOPED_TRACE(type);
        load(std::string("attributes:\n  Parent: {code: 26.9.1, type: ") + type +
             "}\n  Child: {code: 26.9.1.2}\n");
        EXPECT_EQ(recorder.warnings(), Warnings{});
    }
}

TEST_F(Nesting, IsReportedUnderAnyOtherType) {
    for (const char* const type :
         {"string", "octets", "text", "integer", "enum", "concat", "String", "tlvs"}) {
        SCOPED_TRACE(type);
        const WarningRecorder reported;
        load(std::string("attributes:\n  Parent: {code: 26.9.1, type: ") + type +
             "}\n  Child: {code: 26.9.1.2}\n");
        EXPECT_EQ(reported.warnings(), Warnings{unfit_parent("3", "Child", "26.9.1.2", "26.9.1", type)});
    }
}

TEST_F(Nesting, IsReportedUnderAParentWithoutType) {
    load("attributes:\n  Parent: {code: 26.9.1}\n  Child: {code: 26.9.1.2}\n");
    EXPECT_EQ(recorder.warnings(), Warnings{unfit_parent("3", "Child", "26.9.1.2", "26.9.1", "string")});
}

TEST_F(Nesting, IsReportedUnderAParentThatIsNotDefined) {
    load("attributes:\n  Child: {code: 26.9.1.2}\n");
    EXPECT_EQ(recorder.warnings(), Warnings{undefined_parent("2", "Child", "26.9.1.2", "26.9.1")});
}

TEST_F(Nesting, IsReportedUnderAParentThatWasSkipped) {
    load("attributes:\n  Parent: {code: 26.9.1, type: tlv, encrypt: x}\n  Child: {code: 26.9.1.2}\n");
    ASSERT_EQ(recorder.warnings().size(), 2U);
    EXPECT_EQ(recorder.warnings()[1], undefined_parent("3", "Child", "26.9.1.2", "26.9.1"));
}

TEST_F(Nesting, OfThreeElementsOrFewerIsNotExamined) {
    load(R"(attributes:
  One: {code: 1}
  Two: {code: 240.1}
  Three: {code: 26.9.1}
  Four: {code: 241, type: text}
  Five: {code: 241.1, type: text}
  Six: {code: 241.1.2}
  Seven: {type: text}
)");
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(Nesting, IsExaminedAgainstTheNearestParentAlone) {
    load(R"(attributes:
  Deep: {code: 241.9.1.4.10}
  Parent: {code: 241.9.1.4, type: tlv}
)");
    EXPECT_EQ(recorder.warnings(), Warnings{undefined_parent("3", "Parent", "241.9.1.4", "241.9.1")});
}

TEST_F(Nesting, MayDefineTheParentAfterTheChild) {
    load("attributes:\n  Child: {code: 245.1.2.3}\n  Parent: {code: 245.1.2, type: tlv}\n");
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(Nesting, MayDefineTheParentInAnotherFile) {
    folder.write("child.yaml", "attributes: {Child: {code: 245.1.2.3}}");
    load("includes: [child.yaml]\nattributes: {Parent: {code: 245.1.2, type: tlv}}\n");
    EXPECT_EQ(recorder.warnings(), Warnings{});
}

TEST_F(Nesting, IsExaminedAgainstTheLastDefinitionOfTheParent) {
    load(R"(attributes:
  Parent: {code: 26.9.1, type: tlv}
  Child: {code: 26.9.1.2}
  Other: {code: 26.9.1, type: text}
)");
    EXPECT_EQ(recorder.warnings(), Warnings{unfit_parent("3", "Child", "26.9.1.2", "26.9.1", "text")});
}

TEST_F(Nesting, IsReportedInTheOrderOfDefinition) {
    const std::string included = folder.write("included.yaml", "\nattributes: {Z: {code: 9.8.7.6}}\n");
    load(R"(includes: [included.yaml]
attributes:
  B: {code: 1.2.3.4}
  Leaf: {code: 5.6.7, type: Octets}
  A: {code: 5.6.7.8}
  C: {code: 1.2.3.5}
)");
    Warning of_included = undefined_parent("2", "Z", "9.8.7.6", "9.8.7");
    of_included.fields[0].second = included;
    EXPECT_EQ(recorder.warnings(), (Warnings{of_included, undefined_parent("3", "B", "1.2.3.4", "1.2.3"),
                                             unfit_parent("5", "A", "5.6.7.8", "5.6.7", "Octets"),
                                             undefined_parent("6", "C", "1.2.3.5", "1.2.3")}));
}

TEST_F(Nesting, IsReportedForEveryDefinition) {
    load("attributes:\n  X: {code: 1.2.3.4}\n  x: {code: 1.2.3.4}\n");
    EXPECT_EQ(recorder.warnings(), (Warnings{undefined_parent("2", "X", "1.2.3.4", "1.2.3"),
                                             undefined_parent("3", "x", "1.2.3.4", "1.2.3")}));
}

TEST_F(Nesting, ThatIsReportedChangesNothing) {
    load("attributes: {Child: {code: 26.9.1.2, type: integer}}");
    ASSERT_EQ(recorder.warnings().size(), 1U);
    EXPECT_EQ(dictionary.attribute_by_name("Child").code, (CodePath{26, 9, 1, 2}));
    EXPECT_EQ(dictionary.attribute_by_code({26, 9, 1, 2}).value_type, ValueType::Integer);
    EXPECT_FALSE(dictionary.attribute_by_code({26, 9, 1}).known);
}

TEST_F(Nesting, IsReportedAnewByEachLoad) {
    load("attributes: {Child: {code: 26.9.1.2}}");
    load("attributes: {Other: {code: 1}}");
    EXPECT_EQ(recorder.warnings().size(), 1U);
}

TEST_F(Nesting, IsReportedAfterEverythingIsRead) {
    load("attributes:\n  Child: {code: 1.2.3.4}\n  Bad: {code: x}\n");
    ASSERT_EQ(recorder.warnings().size(), 2U);
    EXPECT_EQ(recorder.warnings()[0].message, "stoul");
    EXPECT_EQ(recorder.warnings()[1], undefined_parent("2", "Child", "1.2.3.4", "1.2.3"));
}

/// What a dictionary lists, a line each.
std::vector<std::string> listed(const RadiusDictionary& dictionary, const std::string& attribute = "") {
    const auto place = [](const auto& source) {
        return " " + std::filesystem::path(source.file).filename().string() + ":" +
               std::to_string(source.line);
    };
    std::vector<std::string> lines;
    for (const auto& vendor : dictionary.vendors()) {
        lines.push_back("vendor " + vendor.vendor->name + place(vendor));
    }
    for (const auto& source : dictionary.attributes()) {
        lines.push_back(std::string(source.name) + " " + radius_code_path_to_string(source.code) +
                        place(source));
    }
    for (const auto& value : dictionary.values_of(attribute)) {
        lines.push_back(std::string(value.name) + "=" + std::to_string(value.number) + place(value));
    }
    return lines;
}

TEST(Enumeration, ListsWhatHoldsWithItsPlace) {
    const test::ScratchFolder folder;
    folder.write("one.yaml", R"(vendor:
  id: 9
  name: Old
attributes:
  A: {code: 26.9.1}
  Mode:
    code: 26.9.2
    values:
      Off: 0
      On: 1
      Up: 2
  Plain: {code: 1}
)");
    folder.write("two.yaml", R"({
"vendor": {"id": 9, "name": "New"},
"attributes": {
  "a": {"code": "26.9.3"},
  "MODE": {"code": "26.9.2", "values": {"on": 3,
     "Auto": 1}},
  "Bad": {"code": "x"}
}
})");
    RadiusDictionary dictionary;
    dictionary.load(folder.write("root.yaml", "includes: [one.yaml, two.yaml]\n"));
    EXPECT_EQ(listed(dictionary, "mode"),
              (std::vector<std::string>{"vendor New two.yaml:2", "Plain 1 one.yaml:12", "a 26.9.3 two.yaml:4",
                                        "MODE 26.9.2 two.yaml:5", "Off=0 one.yaml:9", "Up=2 one.yaml:11",
                                        "on=3 two.yaml:5", "Auto=1 two.yaml:6"}));
}

TEST(Enumeration, ListsNothingOfAnEmptyDictionary) {
    EXPECT_EQ(listed(RadiusDictionary(), "A"), std::vector<std::string>{});
}

// Names and formats were once copied into every attribute: a file of 300 KB took a gigabyte.
TEST(AttributesOfAVendor, ShareIt) {
    const RadiusDictionary dictionary =
        load("vendor: {id: 9, name: Example}\nattributes: {A: {code: 26.9.1}, B: {code: 26.9.2}}\n");
    const OptionalVendor& vendor = dictionary.attribute_by_name("A").vendor;
    ASSERT_TRUE(vendor);
    EXPECT_EQ(&*vendor, &*dictionary.attribute_by_name("B").vendor);
    EXPECT_EQ(&*vendor, dictionary.vendor_by_id(9));

    AttributeMetadata copy = dictionary.attribute_by_name("A");
    copy.vendor->name = "Other";
    EXPECT_EQ(vendor->name, "Example");
    EXPECT_EQ(copy.vendor->name, "Other");
}

}  // namespace
}  // namespace quarn::subscriber::radius
