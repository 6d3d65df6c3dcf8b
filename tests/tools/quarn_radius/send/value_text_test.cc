#include "quarn_radius/send/value_text.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/dictionaries.h"

namespace quarn::quarn_radius {
namespace {

using subscriber::radius::CodePath;
using subscriber::radius::RadiusAttribute;
using subscriber::radius::RadiusDictionary;
using subscriber::radius::RadiusValue;
using utils::Bytes;

const RadiusDictionary& dictionary() {
    return *test::shipped_dictionary();
}

/// The line of one received value.
std::string line(const char* name, Bytes data, std::uint8_t tag = 0) {
    const auto& record = dictionary().attribute_by_name(name);
    RadiusAttribute attribute(record, record.code, std::string());
    attribute.values.emplace_back(record, std::move(data), tag);
    return attribute_line(attribute, attribute.values.front(), &dictionary());
}

TEST(AttributeLine, ShowsNumbersByName) {
    EXPECT_EQ(line("Service-Type", {0, 0, 0, 2}), "Service-Type = Framed-User");
    EXPECT_EQ(line("Service-Type", {0, 0, 1, 0}), "Service-Type = 256");
    EXPECT_EQ(line("Session-Timeout", {0, 0, 0, 60}), "Session-Timeout = 60");
}

TEST(AttributeLine, ShowsHexadecimalWhereTheBytesAreNoneOfTheType) {
    EXPECT_EQ(line("Session-Timeout", {1, 2}), "Session-Timeout = 0x0102");
    EXPECT_EQ(line("Reply-Message", {0xFF, 0x41}), "Reply-Message = 0xff41");
    EXPECT_EQ(line("Class", {'a', 'b'}), "Class = 0x6162");
    EXPECT_EQ(line("Framed-IP-Address", {1, 2, 3}), "Framed-IP-Address = 0x010203");
}

TEST(AttributeLine, LetsNothingControlTheTerminal) {
    EXPECT_EQ(line("Reply-Message", {'a', '\n', 0x1B, '[', '2', 'J'}), "Reply-Message = \"a\\n\\x1b[2J\"");
}

TEST(AttributeLine, ShowsTagsBesideTheName) {
    EXPECT_EQ(line("Tunnel-Type", {0, 0, 0, 13}, 1), "Tunnel-Type:1 = VLAN");
    EXPECT_EQ(line("Tunnel-Type", {0, 0, 0, 13}, 0), "Tunnel-Type = VLAN");
}

// RFC 2868, section 3.6: up to 0x1F the first octet is a tag, above it is the text's own.
TEST(AttributeLine, TakesAnOptionalTagOffTheText) {
    EXPECT_EQ(line("Tunnel-Private-Group-ID", {1, '4', '2'}), "Tunnel-Private-Group-ID:1 = \"42\"");
    EXPECT_EQ(line("Tunnel-Private-Group-ID", {0x1F, '4'}), "Tunnel-Private-Group-ID:31 = \"4\"");
    EXPECT_EQ(line("Tunnel-Private-Group-ID", {0, '4', '2'}), "Tunnel-Private-Group-ID = \"42\"");
    EXPECT_EQ(line("Tunnel-Private-Group-ID", {'4', '2'}), "Tunnel-Private-Group-ID = \"42\"");
    EXPECT_EQ(line("Tunnel-Private-Group-ID", {' ', '2'}), "Tunnel-Private-Group-ID = \" 2\"");
    EXPECT_EQ(line("Tunnel-Private-Group-ID", {}), "Tunnel-Private-Group-ID = \"\"");
    EXPECT_EQ(line("Filter-Id", {1, 'a'}), "Filter-Id = \"\\x01a\"");
}

TEST(AttributeLine, ShowsAnAttributeThatNoDictionaryHas) {
    RadiusAttribute attribute(RadiusDictionary::unknown_definition(), CodePath{26, 32473, 7}, std::string());
    attribute.values.emplace_back(RadiusDictionary::unknown_definition(), Bytes{1, 2}, std::uint8_t{0});
    EXPECT_EQ(attribute_line(attribute, attribute.values.front(), nullptr), "attr-26.32473.7 = 0x0102");
}

TEST(IsHiddenValue, IsWhatTheDictionaryHides) {
    const auto hidden = [](const char* name) {
        const auto& record = dictionary().attribute_by_name(name);
        return is_hidden_value(RadiusAttribute(record, record.code, std::string()));
    };
    EXPECT_TRUE(hidden("User-Password"));
    EXPECT_TRUE(hidden("Tunnel-Password"));
    EXPECT_TRUE(hidden("MS-MPPE-Send-Key"));
    EXPECT_FALSE(hidden("Reply-Message"));
}

}  // namespace
}  // namespace quarn::quarn_radius
