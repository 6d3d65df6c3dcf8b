// The dictionary that is shipped with the program, against tables of what the RFCs assign.
#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "quarn/radius/dictionary.h"
#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/warnings.h"

namespace quarn::subscriber::radius {
namespace {

using Cells = std::vector<std::string>;

/// The rows of a table in tests/data, without its header line.
std::vector<Cells> rows_of(const std::string& table, std::size_t columns) {
    std::ifstream file(QUARN_SOURCE_DIR "/tests/data/" + table);
    std::vector<Cells> rows;
    std::string line;
    std::getline(file, line);
    while (std::getline(file, line)) {
        rows.push_back(utils::split(line, '\t'));
        if (rows.back().size() != columns) {
            throw std::runtime_error(table + ": unexpected row: " + line);
        }
    }
    if (rows.empty()) {
        throw std::runtime_error(table + ": no rows");
    }
    return rows;
}

CodePath code_path_of(const std::string& text) {
    CodePath path;
    for (const std::string& element : utils::split(text, '.')) {
        path.push_back(static_cast<std::uint32_t>(std::stoul(element)));
    }
    return path;
}

struct AttributeRow {
    CodePath code;
    std::string name;
    std::string type;
    std::uint32_t encrypt = 0;
    bool has_tag = false;
    bool concat = false;
};

/// The standard attributes: code, name, type, flags and RFC of each.
std::vector<AttributeRow> standard_attributes() {
    std::vector<AttributeRow> attributes;
    for (const Cells& cells : rows_of("standard-attributes.tsv", 5)) {
        AttributeRow row;
        row.code = code_path_of(cells[0]);
        row.name = cells[1];
        row.type = cells[2];
        for (const std::string& flag : utils::split(cells[3], ',')) {
            if (flag == "has_tag") {
                row.has_tag = true;
            } else if (flag == "concat") {
                row.concat = true;
            } else if (flag.starts_with("encrypt=")) {
                row.encrypt = static_cast<std::uint32_t>(std::stoul(flag.substr(flag.find('=') + 1)));
            } else if (!flag.empty()) {
                throw std::runtime_error("unexpected flag: " + flag);
            }
        }
        attributes.push_back(row);
    }
    return attributes;
}

struct ValueRow {
    std::string attribute;
    std::string name;
    std::uint32_t number;
};

/// The values of the standard attributes.
std::vector<ValueRow> standard_values() {
    std::vector<ValueRow> values;
    for (const Cells& cells : rows_of("standard-values.tsv", 3)) {
        values.push_back({cells[0], cells[1], static_cast<std::uint32_t>(std::stoul(cells[2]))});
    }
    return values;
}

/// Tunnel attributes whose text may come without a Tag field: a first byte above 0x1F already belongs to the
/// text (RFC 2868, section 3.3). As has_tag always takes the first byte for a tag, which would cost such a
/// text its first character, they are shipped without it.
const std::set<CodePath> tunnel_texts = {{66}, {67}, {81}, {82}, {90}, {91}};

const RadiusDictionary& dictionary() {
    static const auto shipped = test::shipped_dictionary();
    return *shipped;
}

YAML::Node yaml_of(const std::string& file) {
    return YAML::LoadFile(QUARN_SOURCE_DIR "/share/quarn/radius/" + file);
}

/// The attribute files that the root includes.
std::vector<std::string> included_files() {
    return yaml_of("dictionary.yaml")["includes"].as<std::vector<std::string>>();
}

TEST(ShippedDictionary, LoadsWithoutAnyWarning) {
    const test::WarningRecorder recorder;
    RadiusDictionary fresh;
    fresh.load(test::shipped_dictionary_path());
    EXPECT_EQ(recorder.warnings(), std::vector<test::Warning>{});
    EXPECT_TRUE(fresh.attribute_by_name("User-Name").known);
}

TEST(ShippedDictionary, DefinesEveryStandardAttributeByNameAndByCode) {
    for (const AttributeRow& row : standard_attributes()) {
        SCOPED_TRACE(row.name);
        const AttributeMetadata& attribute = dictionary().attribute_by_name(row.name);
        EXPECT_TRUE(attribute.known);
        EXPECT_EQ(attribute.name, row.name);
        EXPECT_EQ(attribute.code, row.code);
        EXPECT_EQ(attribute.type, row.type);
        EXPECT_EQ(attribute.encrypt, row.encrypt);
        EXPECT_EQ(attribute.concat, row.concat);
        EXPECT_EQ(attribute.has_tag, row.has_tag && !tunnel_texts.contains(row.code));
        EXPECT_FALSE(attribute.continuation);
        EXPECT_FALSE(attribute.vendor.has_value());
        EXPECT_EQ(dictionary().attribute_by_code(row.code), attribute);
        if (row.code.size() == 1) {
            EXPECT_EQ(dictionary().top_level_attribute(row.code.front()), attribute);
        }
    }
}

TEST(ShippedDictionary, TagsTheTunnelAttributesThatAlwaysCarryATag) {
    std::set<std::string> tagged;
    for (std::uint32_t type = 0; type < 256; ++type) {
        if (dictionary().top_level_attribute(type).has_tag) {
            tagged.insert(dictionary().top_level_attribute(type).name);
        }
    }
    const std::set<std::string> wanted = {"Tunnel-Type", "Tunnel-Medium-Type", "Tunnel-Password",
                                          "Tunnel-Preference"};
    EXPECT_EQ(tagged, wanted);
}

TEST(ShippedDictionary, LeavesTheTagOfTunnelTextsInTheirText) {
    std::set<CodePath> texts_with_a_tag;
    for (const AttributeRow& row : standard_attributes()) {
        if (row.has_tag && row.type == "text" && row.encrypt == 0) {
            texts_with_a_tag.insert(row.code);
        }
    }
    EXPECT_EQ(texts_with_a_tag, tunnel_texts);
}

TEST(ShippedDictionary, DefinesNoStandardAttributeThatTheTableLacks) {
    std::set<std::string> in_table;
    for (const AttributeRow& row : standard_attributes()) {
        in_table.insert(row.name);
    }
    std::set<std::string> in_file;
    for (const auto& entry : yaml_of("standard.yaml")["attributes"]) {
        in_file.insert(entry.first.as<std::string>());
    }
    EXPECT_EQ(in_file, in_table);
}

TEST(ShippedDictionary, KnowsATypeForEveryAttribute) {
    const std::set<std::string> untyped = {"octets", "vsa", "tlv", "extended", "long-extended", "evs"};
    for (const std::string& file : included_files()) {
        for (const auto& entry : yaml_of(file)["attributes"]) {
            const std::string name = entry.first.as<std::string>();
            SCOPED_TRACE(name);
            const AttributeMetadata& attribute = dictionary().attribute_by_name(name);
            ASSERT_TRUE(attribute.known);
            EXPECT_TRUE(attribute.value_type != ValueType::Octets || untyped.contains(attribute.type))
                << attribute.type;
        }
    }
}

TEST(ShippedDictionary, DefinesNoNameAndNoCodeTwice) {
    std::set<std::string> names;
    std::set<std::string> codes;
    for (const std::string& file : included_files()) {
        for (const auto& entry : yaml_of(file)["attributes"]) {
            const std::string name = entry.first.as<std::string>();
            EXPECT_TRUE(names.insert(dictionary().attribute_by_name(name).name_lower).second) << name;
            EXPECT_TRUE(codes.insert(entry.second["code"].as<std::string>()).second) << name;
        }
    }
}

TEST(ShippedDictionary, DefinesEveryStandardValueByName) {
    for (const ValueRow& row : standard_values()) {
        SCOPED_TRACE(row.attribute + " " + row.name);
        EXPECT_EQ(dictionary().enum_value(row.attribute, row.name), row.number);
    }
}

TEST(ShippedDictionary, NamesEveryStandardValueByNumber) {
    // A number may have several names, such as the Alive and Interim-Update of Acct-Status-Type.
    std::map<std::pair<std::string, std::uint32_t>, std::set<std::string>> names;
    for (const ValueRow& row : standard_values()) {
        names[{row.attribute, row.number}].insert(row.name);
    }
    for (const auto& [key, candidates] : names) {
        SCOPED_TRACE(key.first + " " + std::to_string(key.second));
        const std::optional<std::string> name = dictionary().enum_name(key.first, key.second);
        ASSERT_TRUE(name.has_value());
        EXPECT_TRUE(candidates.contains(*name)) << *name;
    }
}

TEST(ShippedDictionary, DefinesNoStandardValueThatTheTableLacks) {
    std::set<std::pair<std::string, std::string>> in_table;
    for (const ValueRow& row : standard_values()) {
        in_table.insert({row.attribute, row.name});
    }
    std::set<std::pair<std::string, std::string>> in_file;
    for (const auto& attribute : yaml_of("standard.yaml")["attributes"]) {
        for (const auto& value : attribute.second["values"]) {
            in_file.insert({attribute.first.as<std::string>(), value.first.as<std::string>()});
        }
    }
    EXPECT_EQ(in_file, in_table);
}

TEST(ShippedDictionary, GivesValuesToEveryEnumAndToNothingElse) {
    std::set<std::string> with_values;
    for (const ValueRow& row : standard_values()) {
        with_values.insert(row.attribute);
    }
    std::set<std::string> enums;
    for (const AttributeRow& row : standard_attributes()) {
        if (row.type == "enum") {
            enums.insert(row.name);
        }
    }
    EXPECT_EQ(enums, with_values);
}

// Vendors

void expect_vendor(std::uint32_t id, const std::string& name) {
    SCOPED_TRACE(name);
    const VendorInfo* const vendor = dictionary().vendor_by_id(id);
    ASSERT_NE(vendor, nullptr);
    VendorInfo wanted;
    wanted.id = id;
    wanted.name = name;
    EXPECT_EQ(*vendor, wanted);
    ASSERT_NE(dictionary().vendor_by_name(name), nullptr);
    EXPECT_EQ(*dictionary().vendor_by_name(name), wanted);
}

TEST(ShippedVendors, HaveTheirNumbersAndTheRecommendedFormat) {
    expect_vendor(9, "Cisco");
    expect_vendor(311, "Microsoft");
    expect_vendor(14122, "WISPr");
}

TEST(ShippedVendors, OwnTheirAttributes) {
    struct Row {
        const char* file;
        std::uint32_t vendor;
    };
    constexpr Row rows[] = {
        {"vendor/cisco.yaml", 9}, {"vendor/microsoft.yaml", 311}, {"vendor/wispr.yaml", 14122}};
    for (const Row& row : rows) {
        for (const auto& entry : yaml_of(row.file)["attributes"]) {
            const std::string name = entry.first.as<std::string>();
            SCOPED_TRACE(name);
            const AttributeMetadata& attribute = dictionary().attribute_by_name(name);
            ASSERT_EQ(attribute.code.size(), 3U);
            EXPECT_EQ(attribute.code[0], 26U);
            EXPECT_EQ(attribute.code[1], row.vendor);
            ASSERT_TRUE(attribute.vendor.has_value());
            EXPECT_EQ(attribute.vendor->id, row.vendor);
            EXPECT_EQ(dictionary().attribute_by_code(attribute.code), attribute);
        }
    }
}

TEST(ShippedVendors, DefineWhatCiscoAndWisprAreKnownFor) {
    EXPECT_EQ(dictionary().attribute_by_code({26, 9, 1}).name, "Cisco-AVPair");
    EXPECT_EQ(dictionary().attribute_by_code({26, 9, 1}).value_type, ValueType::Text);
    EXPECT_EQ(dictionary().attribute_by_code({26, 14122, 7}).name, "WISPr-Bandwidth-Max-Up");
    EXPECT_EQ(dictionary().attribute_by_code({26, 14122, 8}).name, "WISPr-Bandwidth-Max-Down");
}

TEST(ShippedMicrosoft, HasTheAttributesOfRfc2548) {
    struct Row {
        std::uint32_t type;
        const char* name;
        ValueType value_type;
        std::uint32_t encrypt;
    };
    constexpr Row rows[] = {
        // MS-CHAP
        {1, "MS-CHAP-Response", ValueType::Octets, 0},
        {2, "MS-CHAP-Error", ValueType::Octets, 0},
        {3, "MS-CHAP-CPW-1", ValueType::Octets, 0},
        {4, "MS-CHAP-CPW-2", ValueType::Octets, 0},
        {5, "MS-CHAP-LM-Enc-PW", ValueType::Octets, 0},
        {6, "MS-CHAP-NT-Enc-PW", ValueType::Octets, 0},
        {10, "MS-CHAP-Domain", ValueType::Octets, 0},
        {11, "MS-CHAP-Challenge", ValueType::Octets, 0},
        // MS-CHAPv2
        {25, "MS-CHAP2-Response", ValueType::Octets, 0},
        {26, "MS-CHAP2-Success", ValueType::Octets, 0},
        {27, "MS-CHAP2-CPW", ValueType::Octets, 0},
        // MPPE: one key attribute hidden as User-Password is, two as Tunnel-Password is
        {7, "MS-MPPE-Encryption-Policy", ValueType::Integer, 0},
        {8, "MS-MPPE-Encryption-Types", ValueType::Integer, 0},
        {12, "MS-CHAP-MPPE-Keys", ValueType::Octets, 1},
        {16, "MS-MPPE-Send-Key", ValueType::Octets, 2},
        {17, "MS-MPPE-Recv-Key", ValueType::Octets, 2},
        // BAP
        {13, "MS-BAP-Usage", ValueType::Integer, 0},
        {14, "MS-Link-Utilization-Threshold", ValueType::Integer, 0},
        {15, "MS-Link-Drop-Time-Limit", ValueType::Integer, 0},
        // ARAP
        {19, "MS-Old-ARAP-Password", ValueType::Octets, 0},
        {20, "MS-New-ARAP-Password", ValueType::Octets, 0},
        {21, "MS-ARAP-PW-Change-Reason", ValueType::Integer, 0},
        {33, "MS-ARAP-Challenge", ValueType::Octets, 0},
        // Miscellaneous
        {9, "MS-RAS-Vendor", ValueType::Integer, 0},
        {18, "MS-RAS-Version", ValueType::Text, 0},
        {22, "MS-Filter", ValueType::Octets, 0},
        {23, "MS-Acct-Auth-Type", ValueType::Integer, 0},
        {24, "MS-Acct-EAP-Type", ValueType::Integer, 0},
        {28, "MS-Primary-DNS-Server", ValueType::Ipv4Addr, 0},
        {29, "MS-Secondary-DNS-Server", ValueType::Ipv4Addr, 0},
        {30, "MS-Primary-NBNS-Server", ValueType::Ipv4Addr, 0},
        {31, "MS-Secondary-NBNS-Server", ValueType::Ipv4Addr, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const AttributeMetadata& attribute = dictionary().attribute_by_code({26, 311, row.type});
        EXPECT_EQ(attribute.name, row.name);
        EXPECT_EQ(attribute.value_type, row.value_type);
        EXPECT_EQ(attribute.encrypt, row.encrypt);
        EXPECT_FALSE(attribute.has_tag);
        EXPECT_FALSE(attribute.concat);
    }
}

// RFC 2868, sections 3.3 to 3.9; texts of vendors that do the same.
TEST(ShippedDictionary, MarksTheTextsThatMayBeginWithATag) {
    const std::vector<CodePath> optional = {
        {66},
        {67},
        {81},
        {82},
        {90},
        {91},
        {26, 2352, 190},
        {26, 2352, 192},
        {26, 2352, 194},
        {26, 2352, 204},
        {26, 4874, 8},
        {26, 4874, 9},
        {26, 4874, 65},
        {26, 4874, 180},
        {26, 6527, 144},
    };
    for (const CodePath& code : optional) {
        const AttributeMetadata& attribute = dictionary().attribute_by_code(code);
        EXPECT_TRUE(attribute.optional_tag) << radius_code_path_to_string(code);
        EXPECT_FALSE(attribute.has_tag) << radius_code_path_to_string(code);
        EXPECT_EQ(attribute.value_type, ValueType::Text) << radius_code_path_to_string(code);
    }
    EXPECT_FALSE(dictionary().attribute_by_name("Tunnel-Type").optional_tag);
    EXPECT_FALSE(dictionary().attribute_by_name("Tunnel-Password").optional_tag);
    EXPECT_FALSE(dictionary().attribute_by_name("Filter-Id").optional_tag);
}

TEST(ShippedMicrosoft, HasTheValuesOfRfc2548) {
    struct Row {
        const char* attribute;
        std::uint32_t number;
        const char* name;
    };
    constexpr Row rows[] = {
        {"MS-MPPE-Encryption-Policy", 1, "Encryption-Allowed"},
        {"MS-MPPE-Encryption-Policy", 2, "Encryption-Required"},
        // the bits L (40-bit keys) and S (128-bit keys)
        {"MS-MPPE-Encryption-Types", 2, "RC4-40bit-Allowed"},
        {"MS-MPPE-Encryption-Types", 4, "RC4-128bit-Allowed"},
        {"MS-MPPE-Encryption-Types", 6, "RC4-40or128-bit-Allowed"},
        {"MS-BAP-Usage", 0, "Not-Allowed"},
        {"MS-BAP-Usage", 1, "Allowed"},
        {"MS-BAP-Usage", 2, "Required"},
        {"MS-ARAP-PW-Change-Reason", 1, "Just-Change-Password"},
        {"MS-ARAP-PW-Change-Reason", 2, "Expired-Password"},
        {"MS-ARAP-PW-Change-Reason", 3, "Admin-Requires-Password-Change"},
        {"MS-ARAP-PW-Change-Reason", 4, "Password-Too-Short"},
        {"MS-Acct-Auth-Type", 1, "PAP"},
        {"MS-Acct-Auth-Type", 2, "CHAP"},
        {"MS-Acct-Auth-Type", 3, "MS-CHAP-1"},
        {"MS-Acct-Auth-Type", 4, "MS-CHAP-2"},
        {"MS-Acct-Auth-Type", 5, "EAP"},
        {"MS-Acct-EAP-Type", 4, "MD5"},
        {"MS-Acct-EAP-Type", 5, "OTP"},
        {"MS-Acct-EAP-Type", 6, "Generic-Token-Card"},
        {"MS-Acct-EAP-Type", 13, "TLS"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.attribute) + " " + row.name);
        EXPECT_EQ(dictionary().enum_value(row.attribute, row.name), row.number);
        EXPECT_EQ(dictionary().enum_name(row.attribute, row.number), row.name);
    }
}

TEST(ShippedDictionary, MayBeIncludedByADictionaryOfOnesOwn) {
    const test::WarningRecorder recorder;
    const auto own = test::dictionary_from("includes: ['" + test::shipped_dictionary_path() + R"(']
vendor: {id: 32473, name: Example}
attributes:
  Example-Role: {code: 26.32473.1, type: text}
  Example-Access: {code: 26.32473.2, type: enum, values: {Guest: 1, Staff: 2}}
)");
    EXPECT_EQ(recorder.warnings(), std::vector<test::Warning>{});
    EXPECT_EQ(own->attribute_by_code({26, 32473, 1}).name, "Example-Role");
    EXPECT_EQ(own->enum_value("Example-Access", "Staff"), 2U);
    EXPECT_TRUE(own->attribute_by_name("MS-CHAP2-Response").known);
}

}  // namespace
}  // namespace quarn::subscriber::radius
