// The two roots of the shipped dictionary: the default one, and the one with every vendor.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "quarn/radius/dictionary.h"
#include "quarn/radius/dictionary_files.h"
#include "quarn/utils/ascii.h"
#include "quarn_radius/dictionary/checker.h"
#include "testing/warnings.h"
#include "tools/quarn_radius/dictionary/problems.h"
#include "tools/quarn_radius/dictionary/vendor_facts.h"

namespace quarn::quarn_radius {
namespace {

using subscriber::radius::AttributeMetadata;
using subscriber::radius::CodePath;
using subscriber::radius::DictionaryDocument;
using subscriber::radius::DictionaryFiles;
using subscriber::radius::FileFault;
using subscriber::radius::RadiusDictionary;
using subscriber::radius::WrittenAttribute;

const std::string share_folder = QUARN_SOURCE_DIR "/share/quarn/radius/";

/// Codes that are meant to have two names. There are none so far.
const std::set<std::string> codes_with_an_alias = {};

class ShippedRoot : public testing::TestWithParam<const char*> {
  protected:
    std::string path() const { return share_folder + GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Roots, ShippedRoot, testing::Values("dictionary.yaml", "full.yaml"),
                         [](const auto& root) {
                             const std::string name = root.param;
                             return name.substr(0, name.find('.'));
                         });

TEST_P(ShippedRoot, IsCleanToTheChecker) {
    EXPECT_EQ(test::lines_of(check_dictionary(path()).problems, share_folder), std::vector<std::string>{});
}

TEST_P(ShippedRoot, LoadsWithoutAWarning) {
    const test::WarningRecorder recorder;
    RadiusDictionary dictionary;
    dictionary.load(path());
    EXPECT_TRUE(recorder.warnings().empty()) << recorder.warnings().front();
}

// Written without the checker, which might be wrong in the same way.
TEST_P(ShippedRoot, HasOneCodeForEachNameAndOneNameForEachCode) {
    std::map<std::string, std::string> code_of;
    std::map<std::string, std::string> name_of;
    DictionaryFiles files(path(),
                          [](const FileFault& fault) { FAIL() << fault.file << ": " << fault.problem; });
    while (const DictionaryDocument* const document = files.next()) {
        for (const WrittenAttribute& attribute : document->attributes) {
            const std::string name(attribute.name.text);
            const std::string code(attribute.code.text);
            EXPECT_TRUE(code_of.emplace(utils::ascii_lower(name), code).second)
                << name << " is defined twice";
            if (!name_of.emplace(code, name).second) {
                EXPECT_TRUE(codes_with_an_alias.contains(code))
                    << code << " is " << name_of[code] << " and " << name;
            }
        }
    }
    EXPECT_GT(code_of.size(), 1700U);
}

TEST_P(ShippedRoot, NamesThatAreNoVendorsAreThoseOfTheStandardFile) {
    RadiusDictionary standard;
    standard.load(share_folder + "standard.yaml");
    RadiusDictionary dictionary;
    dictionary.load(path());
    EXPECT_GT(standard.attributes().size(), 100U);
    for (const RadiusDictionary::AttributeSource& source : standard.attributes()) {
        const AttributeMetadata& expected = standard.attribute_by_name(source.name);
        EXPECT_EQ(dictionary.attribute_by_name(source.name), expected);
        EXPECT_EQ(dictionary.attribute_by_code(expected.code), expected);
    }
}

TEST(ShippedRoots, TheDefaultOneHasTheVendorsThatAreMetMost) {
    RadiusDictionary dictionary;
    dictionary.load(share_folder + "dictionary.yaml");
    for (const std::uint32_t vendor :
         {311U,   9U,     14122U, 14823U, 14988U, 10415U, 3561U, 25053U, 11U,   12356U, 25461U, 2636U,
          14179U, 29671U, 30065U, 1916U,  25506U, 3375U,  66U,   1991U,  1588U, 26928U, 14559U, 17713U,
          2620U,  8741U,  890U,   171U,   674U,   8744U,  2011U, 4874U,  2352U, 6527U,  3902U}) {
        EXPECT_NE(dictionary.vendor_by_id(vendor), nullptr) << vendor;
    }
    EXPECT_EQ(dictionary.vendor_by_id(529), nullptr);
    EXPECT_EQ(check_dictionary(share_folder + "dictionary.yaml").counts.vendors, 35U);
}

TEST(ShippedRoots, TheFullOneHasVendorsOfEveryFormat) {
    RadiusDictionary dictionary;
    dictionary.load(share_folder + "full.yaml");
    const std::map<std::uint32_t, std::string> formats = {
        {9, "1,1"},    {3076, "1,1"},  {529, "1,1"},  {8164, "2,2"},    {637, "2,1"},
        {4846, "2,1"}, {16445, "2,1"}, {5535, "1,1"}, {24757, "1,1,c"}, {5323, "1,1,c"}};
    for (const auto& [id, format] : formats) {
        ASSERT_NE(dictionary.vendor_by_id(id), nullptr) << id;
        EXPECT_EQ(dictionary.vendor_by_id(id)->format, format) << id;
    }
    EXPECT_EQ(dictionary.vendor_by_id(429), nullptr);  // it writes no length
}

TEST(ShippedRoots, AgreeWithTheVendorsDocuments) {
    RadiusDictionary dictionary;
    dictionary.load(share_folder + "full.yaml");
    std::set<std::uint32_t> vendors;
    for (const test::VendorFact& fact : test::vendor_facts()) {
        const AttributeMetadata& attribute = dictionary.attribute_by_name(fact.name);
        EXPECT_TRUE(attribute.known) << fact.name;
        EXPECT_EQ(attribute.name, fact.name);
        EXPECT_EQ(attribute.code, fact.code) << fact.name;
        EXPECT_EQ(attribute.value_type, fact.type) << fact.name;
        ASSERT_TRUE(attribute.vendor) << fact.name;
        EXPECT_EQ(attribute.vendor->id, fact.code[1]) << fact.name;
        vendors.insert(fact.code[1]);
    }
    EXPECT_GE(test::vendor_facts().size(), 60U);
    EXPECT_GE(vendors.size(), 30U);
}

// RFC 2548, sections 2.4.2 and 2.4.3: the keys are hidden as Tunnel-Password is, without a tag.
TEST(ShippedRoots, HideWhatTheDocumentsHide) {
    RadiusDictionary dictionary;
    dictionary.load(share_folder + "full.yaml");
    for (const char* const name : {"MS-MPPE-Send-Key", "MS-MPPE-Recv-Key", "WiMAX-MSK"}) {
        EXPECT_EQ(dictionary.attribute_by_name(name).encrypt, 2U) << name;
        EXPECT_FALSE(dictionary.attribute_by_name(name).has_tag) << name;
    }
    EXPECT_EQ(dictionary.attribute_by_name("MS-CHAP-MPPE-Keys").encrypt, 1U);
    EXPECT_EQ(dictionary.attribute_by_name("Cisco-AVPair").encrypt, 0U);
}

TEST(ShippedRoots, NameTheNumbersThatTheDocumentsName) {
    RadiusDictionary dictionary;
    dictionary.load(share_folder + "full.yaml");
    EXPECT_EQ(dictionary.enum_name("MS-MPPE-Encryption-Policy", 2), "Encryption-Required");
    EXPECT_EQ(dictionary.enum_name("MS-MPPE-Encryption-Types", 4), "RC4-128bit-Allowed");
    EXPECT_EQ(dictionary.enum_name("MS-BAP-Usage", 0), "Not-Allowed");
    EXPECT_EQ(dictionary.enum_value("Airespace-QOS-Level", "Platinum"), 2U);
    EXPECT_EQ(dictionary.enum_value("NS-Admin-Privilege", "Root-Admin"), 1U);
}

}  // namespace
}  // namespace quarn::quarn_radius
