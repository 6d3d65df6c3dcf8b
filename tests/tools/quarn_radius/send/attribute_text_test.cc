#include "quarn_radius/send/attribute_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "quarn_radius/send/value_text.h"
#include "testing/dictionaries.h"
#include "testing/hex.h"

namespace quarn::quarn_radius {
namespace {

using subscriber::radius::CodePath;
using subscriber::radius::RadiusPacket;

/// What becomes of NAME=VALUE in an empty packet: its lines or, when it is refused, the reason.
std::string added(std::string_view argument) {
    RadiusPacket packet(test::shipped_dictionary());
    const auto attribute = split_attribute(argument);
    if (!attribute) {
        return "no attribute";
    }
    const std::string problem = add_attribute(packet, *attribute);
    std::string lines;
    for (const auto* const entry : packet.attributes()) {
        for (const auto& value : entry->values) {
            lines += attribute_line(*entry, value, packet.dictionary.get()) + "\n";
        }
    }
    EXPECT_TRUE(problem.empty() || lines.empty()) << "refused and added";
    return problem + lines;
}

/// The bytes of the value's data.
std::string data_of(std::string_view argument) {
    RadiusPacket packet(test::shipped_dictionary());
    EXPECT_EQ(add_attribute(packet, *split_attribute(argument)), "");
    return packet.attributes().front()->values.front().as_hex();
}

TEST(SplitAttribute, CutsAtTheFirstEqualsSign) {
    const auto attribute = split_attribute("Cisco-AVPair=shell:priv-lvl=15");
    ASSERT_TRUE(attribute);
    EXPECT_EQ(attribute->name, "Cisco-AVPair");
    EXPECT_EQ(attribute->value, "shell:priv-lvl=15");
}

TEST(SplitAttribute, WantsANameAndMayHaveNoValue) {
    EXPECT_FALSE(split_attribute("User-Name"));
    EXPECT_FALSE(split_attribute("=bob"));
    EXPECT_FALSE(split_attribute(" =bob"));
    EXPECT_FALSE(split_attribute(""));
    EXPECT_EQ(split_attribute("User-Name=")->value, "");
    EXPECT_EQ(split_attribute(" User-Name = bob")->name, "User-Name");
    EXPECT_EQ(split_attribute(" User-Name = bob")->value, " bob");
}

TEST(ParseRawName, ReadsPathsWithAndWithoutTheirPrefix) {
    EXPECT_EQ(parse_raw_name("26.9.1"), (CodePath{26, 9, 1}));
    EXPECT_EQ(parse_raw_name("Attr-26.9.1"), (CodePath{26, 9, 1}));
    EXPECT_EQ(parse_raw_name("attr-245"), (CodePath{245}));
    EXPECT_EQ(parse_raw_name("Vendor-9-Attr-1"), (CodePath{26, 9, 1}));
    for (const char* const text :
         {"Vendor-9-Attr-", "Vendor--Attr-1", "Vendor-Attr-1", "Vendor-x-Attr-1", "Vendor-9-Attr-1.2", "",
          "26.", ".26", "26..1", "26.x", "attr-", "-1", "User-Name", "4294967296"}) {
        EXPECT_FALSE(parse_raw_name(text)) << text;
    }
}

TEST(SplitTag, TakesANumberUpTo31) {
    EXPECT_EQ(split_tag("Tunnel-Type:1").name, "Tunnel-Type");
    EXPECT_EQ(split_tag("Tunnel-Type:1").tag, 1);
    EXPECT_EQ(split_tag("Tunnel-Type:31").tag, 31);
    for (const char* const text :
         {"Tunnel-Type", "Tunnel-Type:", "Tunnel-Type:32", "Tunnel-Type:x", ":1", ""}) {
        EXPECT_EQ(split_tag(text).name, text);
        EXPECT_FALSE(split_tag(text).tag) << text;
    }
}

TEST(AddAttribute, TakesValuesAsTheDictionaryTypesThem) {
    EXPECT_EQ(added("User-Name=bob"), "User-Name = \"bob\"\n");
    EXPECT_EQ(added("user-name=b=b"), "User-Name = \"b=b\"\n");
    EXPECT_EQ(added("NAS-IP-Address=192.0.2.1"), "NAS-IP-Address = 192.0.2.1\n");
    EXPECT_EQ(added("NAS-IPv6-Address=2001:db8::1"), "NAS-IPv6-Address = 2001:db8::1\n");
    EXPECT_EQ(added("Service-Type=framed-user"), "Service-Type = Framed-User\n");
    EXPECT_EQ(added("Service-Type=2"), "Service-Type = Framed-User\n");
    EXPECT_EQ(added("NAS-Port=70"), "NAS-Port = 70\n");
    EXPECT_EQ(added("Event-Timestamp=2024-01-31T12:00:00Z"), "Event-Timestamp = 2024-01-31T12:00:00Z\n");
    EXPECT_EQ(added("Cisco-AVPair=shell:priv-lvl=15"), "Cisco-AVPair = \"shell:priv-lvl=15\"\n");
}

TEST(AddAttribute, TakesHexadecimalForOctetsAndNumbers) {
    EXPECT_EQ(added("Class=0x0102"), "Class = 0x0102\n");
    EXPECT_EQ(added("NAS-Port=0x10"), "NAS-Port = 16\n");
    EXPECT_EQ(added("NAS-Port=0x100000000"), "NAS-Port: \"4294967296\" is out of range: 0 to 4294967295");
    // A text is what it says.
    EXPECT_EQ(added("User-Name=0x626f62"), "User-Name = \"0x626f62\"\n");
}

TEST(AddAttribute, TakesTimesAsLogsHaveThem) {
    EXPECT_EQ(added("Event-Timestamp=Nov 22 2026 10:00:00 UTC"), "Event-Timestamp = 2026-11-22T10:00:00Z\n");
    EXPECT_EQ(added("Event-Timestamp=Nov  2 2026 10:00:00"), "Event-Timestamp = 2026-11-02T10:00:00Z\n");
    EXPECT_EQ(added("Event-Timestamp=Nov 22 2026 10:00:00 CET"),
              "Event-Timestamp: \"Nov 22 2026 10:00:00 CET\" is not a time such as 2024-01-31T12:00:00Z");
    EXPECT_EQ(added("Event-Timestamp=1700000000"), "Event-Timestamp = 2023-11-14T22:13:20Z\n");
}

TEST(AddAttribute, TakesInterfaceIdsAsGroups) {
    EXPECT_EQ(added("Framed-Interface-Id=0:0:0:1"), "Framed-Interface-Id = 00:00:00:00:00:00:00:01\n");
    EXPECT_EQ(added("Framed-Interface-Id=fe80:2:30:0004"), "Framed-Interface-Id = fe:80:00:02:00:30:00:04\n");
    EXPECT_EQ(added("Framed-Interface-Id=0x0000000000000001"),
              "Framed-Interface-Id = 00:00:00:00:00:00:00:01\n");
    EXPECT_EQ(added("Framed-Interface-Id=01:02:03:04:05:06:07:08"),
              "Framed-Interface-Id = 01:02:03:04:05:06:07:08\n");
    EXPECT_NE(added("Framed-Interface-Id=0:0:0:12345"), "");
}

// What cannot be read back would be sent and not be shown.
TEST(AddAttribute, TakesVendorSpecificThatCanBeReadBack) {
    const std::string reason =
        ": no vendor's attributes are in the value; write 26.VENDOR.TYPE=0x... or an attribute's name";
    EXPECT_EQ(added("Vendor-Specific=x"), "Vendor-Specific" + reason);
    EXPECT_EQ(added("26=0x00000009"), "26" + reason);
    EXPECT_EQ(added("26=0x000000090109"), "26" + reason);
    EXPECT_NE(added("26=0x000000090103613d").find("0x000000090103613d"), std::string::npos);
}

TEST(AddAttribute, TakesTags) {
    EXPECT_EQ(added("Tunnel-Type:1=VLAN"), "Tunnel-Type:1 = VLAN\n");
    EXPECT_EQ(added("Tunnel-Type=VLAN"), "Tunnel-Type = VLAN\n");
    EXPECT_EQ(added("Tunnel-Type:0=VLAN"), "Tunnel-Type = VLAN\n");
    EXPECT_EQ(added("Tunnel-Type:1=0xD"), "Tunnel-Type:1 = VLAN\n");
    EXPECT_EQ(added("User-Name:1=bob"), "User-Name: takes no tag");
    EXPECT_EQ(added("Tunnel-Type:32=VLAN"), "Tunnel-Type: \"32\" is not a tag from 0 to 31");
}

// RFC 2868, section 3.6: the tag of these may be there or not.
TEST(AddAttribute, PutsAnOptionalTagInFrontOfTheText) {
    EXPECT_EQ(added("Tunnel-Private-Group-ID:1=42"), "Tunnel-Private-Group-ID:1 = \"42\"\n");
    EXPECT_EQ(data_of("Tunnel-Private-Group-ID:1=42"), "0x013432");
    EXPECT_EQ(data_of("Tunnel-Private-Group-ID:0=42"), "0x3432");
    EXPECT_EQ(data_of("Tunnel-Private-Group-ID=42"), "0x3432");
}

TEST(AddAttribute, TellsATagThatIsNone) {
    EXPECT_EQ(added("Tunnel-Private-Group-ID:32=42"),
              "Tunnel-Private-Group-ID: \"32\" is not a tag from 0 to 31");
    EXPECT_EQ(added("Tunnel-Private-Group-ID:x=42"),
              "Tunnel-Private-Group-ID: \"x\" is not a tag from 0 to 31");
}

TEST(AddAttribute, TakesAttributesByNumber) {
    EXPECT_EQ(added("Vendor-9-Attr-1=0x613d31"), "Cisco-AVPair = \"a=1\"\n");
    EXPECT_EQ(added("26.9.1=0x613d31"), "Cisco-AVPair = \"a=1\"\n");
    EXPECT_EQ(added("Attr-26.9.1=0x613d31"), "Cisco-AVPair = \"a=1\"\n");
    EXPECT_EQ(added("26.32473.7=0x00ff"), "attr-26.32473.7 = 0x00ff\n");
    EXPECT_EQ(added("1=0xff"), "User-Name = 0xff\n");
    EXPECT_EQ(added("5=0x01"), "NAS-Port = 0x01\n");
    EXPECT_EQ(added("64=0x0100000d"), "Tunnel-Type:1 = VLAN\n");
    EXPECT_EQ(added("81=0x013432"), "Tunnel-Private-Group-ID:1 = \"42\"\n");
}

TEST(AddAttribute, RefusesNumbersThatNoPacketCarriesAndValuesThatAreNoBytes) {
    EXPECT_EQ(added("0=0x00"), "\"0\" is no place for an attribute: attribute type 0 is not within 1 to 255");
    EXPECT_EQ(added("256=0x00"),
              "\"256\" is no place for an attribute: attribute type 256 is not within 1 to 255");
    EXPECT_EQ(
        added("26.9=0x00"),
        "\"26.9\" is no place for an attribute: a vendor's attribute needs a number after the vendor's");
    const std::string wants_bytes =
        "26.9.1: an attribute by number takes 0x and an even number of hexadecimal digits";
    EXPECT_EQ(added("26.9.1=text"), wants_bytes);
    EXPECT_EQ(added("26.9.1=0x1"), wants_bytes);
    EXPECT_EQ(added("26.9.1=0x"), wants_bytes);
    EXPECT_EQ(added("26.9.1="), wants_bytes);
}

TEST(AddAttribute, SuggestsWhatWasMeant) {
    EXPECT_EQ(added("NAS-Prot=1"), "unknown attribute \"NAS-Prot\", did you mean \"NAS-Port\"?");
    EXPECT_EQ(added("Service-Type=Framde-User"),
              "Service-Type: unknown value \"Framde-User\", did you mean \"Framed-User\"?");
    EXPECT_EQ(added("NAS-IP-Address=1.2.3"), "NAS-IP-Address: \"1.2.3\" is not an IPv4 address");
    EXPECT_EQ(added("NAS-Port=many"), "NAS-Port: \"many\" is not a number from 0 to 4294967295");
}

}  // namespace
}  // namespace quarn::quarn_radius
