#include "quarn/radius/listing.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "testing/dictionaries.h"
#include "testing/hex.h"

namespace quarn::subscriber::radius {
namespace {

using test::hex;

// One attribute of each type, at 200 and above.
constexpr char every_type[] = R"(
attributes:
  Octets: {code: 200, type: octets}
  String: {code: 201, type: string}
  Text: {code: 202, type: text}
  Integer: {code: 203, type: integer}
  Enum: {code: 204, type: enum, values: {One: 1, All: 4294967295}}
  Time: {code: 205, type: time}
  Signed: {code: 206, type: signed, values: {One: 1}}
  Integer64: {code: 207, type: integer64, values: {One: 1}}
  Short: {code: 208, type: short, values: {One: 1}}
  Byte: {code: 209, type: byte, values: {One: 1}}
  Ipv4Addr: {code: 210, type: ipv4addr}
  Ipv4Prefix: {code: 211, type: ipv4prefix}
  Ipv6Addr: {code: 212, type: ipv6addr}
  Ipv6Prefix: {code: 213, type: ipv6prefix}
  ComboIp: {code: 214, type: combo-ip}
  Ether: {code: 215, type: ether}
  Ifid: {code: 216, type: ifid}
  Tagged: {code: 217, type: enum, has_tag: true, values: {One: 1}}
  Hidden: {code: 218, type: text, encrypt: 1}
)";

std::shared_ptr<const RadiusDictionary> dictionary() {
    static const auto loaded = test::dictionary_from(every_type);
    return loaded;
}

/// An attribute of the dictionary with these values.
RadiusAttribute attribute(const std::string& name, const std::vector<utils::Bytes>& values) {
    const auto& record = dictionary()->attribute_by_name(name);
    EXPECT_TRUE(record.known) << name;
    RadiusAttribute built(record, record.code, "");
    for (const utils::Bytes& value : values) {
        built.values.emplace_back(record.type, value, std::uint8_t{0}, record.has_tag);
    }
    return built;
}

/// An attribute that no dictionary defines.
RadiusAttribute unknown_attribute(CodePath path, std::string name, const utils::Bytes& value) {
    const auto& record = RadiusDictionary::unknown_definition();
    RadiusAttribute built(record, std::move(path), std::move(name));
    built.values.emplace_back(record.type, value, std::uint8_t{0}, false);
    return built;
}

/// The listing of an attribute, which is the same as a text and in a stream.
std::string listing_of(RadiusAttribute built, const RadiusDictionary* with = dictionary().get()) {
    RadiusPacket packet(dictionary());
    packet.add_attribute(std::move(built));
    std::ostringstream stream;
    write_listing(stream, packet, with);
    EXPECT_EQ(stream.str(), attribute_listing(packet, with));
    return stream.str();
}

std::string listing_of(const std::string& name, const utils::Bytes& value) {
    return listing_of(attribute(name, {value}));
}

std::string listing_of(const std::string& name, std::string_view value) {
    return listing_of(name, utils::to_bytes(value));
}

TEST(AttributeListing, IsEmptyWithoutAttributes) {
    EXPECT_EQ(attribute_listing(RadiusPacket(dictionary()), dictionary().get()), "");
    EXPECT_EQ(attribute_listing(RadiusPacket(), nullptr), "");
}

TEST(AttributeListing, SkipsAnAttributeWithoutValues) {
    EXPECT_EQ(listing_of(attribute("Text", {})), "");
}

TEST(AttributeListing, HasALineForEachValueInTheOrderOfTheAttributes) {
    RadiusPacket packet(dictionary());
    packet.add_attribute(attribute("Text", {utils::to_bytes("one")}));
    packet.add_attribute(attribute("Octets", {hex("00")}));
    packet.add_attribute(attribute("Text", {utils::to_bytes("two"), utils::to_bytes("three")}));
    EXPECT_EQ(attribute_listing(packet, dictionary().get()),
              "     Text = \"one\"\n"
              "     Text = \"two\"\n"
              "     Text = \"three\"\n"
              "     Octets = 0x00\n");
}

TEST(AttributeListing, ShowsOctetsInHexadecimal) {
    EXPECT_EQ(listing_of("Octets", hex("00ff10")), "     Octets = 0x00ff10\n");
    EXPECT_EQ(listing_of("Octets", "text"), "     Octets = 0x74657874\n");
    EXPECT_EQ(listing_of("Octets", ""), "     Octets = 0x\n");
    EXPECT_EQ(listing_of("String", "text"), "     String = 0x74657874\n");
}

TEST(AttributeListing, ShowsTextBetweenQuotationMarks) {
    EXPECT_EQ(listing_of("Text", "Hello, bob"), "     Text = \"Hello, bob\"\n");
    EXPECT_EQ(listing_of("Text", "längrö \xf0\x9f\x94\x91"), "     Text = \"längrö \xf0\x9f\x94\x91\"\n");
    EXPECT_EQ(listing_of("Text", "a \"quoted\" \\ word"), "     Text = \"a \"quoted\" \\ word\"\n");
    EXPECT_EQ(listing_of("Text", ""), "     Text = \"\"\n");
    EXPECT_EQ(listing_of("Hidden", "hello"), "     Hidden = \"hello\"\n");
}

TEST(AttributeListing, ShowsUnreadableTextInHexadecimalBetweenQuotationMarks) {
    EXPECT_EQ(listing_of("Text", "a\tb"), "     Text = \"0x610962\"\n");
    EXPECT_EQ(listing_of("Text", "a\n"), "     Text = \"0x610a\"\n");
    EXPECT_EQ(listing_of("Text", hex("1b5b33316d")), "     Text = \"0x1b5b33316d\"\n");
    EXPECT_EQ(listing_of("Text", hex("00")), "     Text = \"0x00\"\n");
    EXPECT_EQ(listing_of("Text", hex("7f")), "     Text = \"0x7f\"\n");
    EXPECT_EQ(listing_of("Text", hex("ff")), "     Text = \"0xff\"\n");
    EXPECT_EQ(listing_of("Text", hex("c080")), "     Text = \"0xc080\"\n");
    EXPECT_EQ(listing_of("Text", hex("eda080")), "     Text = \"0xeda080\"\n");
}

TEST(AttributeListing, ShowsANumberByItsNameWhereItHasOne) {
    EXPECT_EQ(listing_of("Enum", hex("00000001")), "     Enum = One\n");
    EXPECT_EQ(listing_of("Enum", hex("ffffffff")), "     Enum = All\n");
    EXPECT_EQ(listing_of("Enum", hex("00000002")), "     Enum = 2\n");
    EXPECT_EQ(listing_of("Integer", hex("00000001")), "     Integer = 1\n");
    EXPECT_EQ(listing_of("Integer", hex("ffffffff")), "     Integer = 4294967295\n");
    EXPECT_EQ(listing_of("Tagged", hex("00000001")), "     Tagged = One\n");
}

TEST(AttributeListing, NamesOnly32BitUnsignedNumbers) {
    EXPECT_EQ(listing_of("Signed", hex("00000001")), "     Signed = 1\n");
    EXPECT_EQ(listing_of("Integer64", hex("0000000000000001")), "     Integer64 = 1\n");
    EXPECT_EQ(listing_of("Short", hex("0001")), "     Short = 1\n");
    EXPECT_EQ(listing_of("Byte", hex("01")), "     Byte = 1\n");
}

TEST(AttributeListing, TakesTheFirst4BytesOfALongNumber) {
    EXPECT_EQ(listing_of("Enum", hex("00000001ff")), "     Enum = One\n");
    EXPECT_EQ(listing_of("Integer", hex("00000100ff")), "     Integer = 256\n");
}

TEST(AttributeListing, ShowsNothingForAValueOfAnImpossibleLength) {
    EXPECT_EQ(listing_of("Integer", hex("000001")), "     Integer = \n");
    EXPECT_EQ(listing_of("Enum", hex("01")), "     Enum = \n");
    EXPECT_EQ(listing_of("Ipv4Addr", hex("c00002")), "     Ipv4Addr = \n");
    EXPECT_EQ(listing_of("Time", hex("00")), "     Time = \n");
    EXPECT_EQ(listing_of("Ether", ""), "     Ether = \n");
}

TEST(AttributeListing, ShowsEveryOtherTypeInItsTextForm) {
    EXPECT_EQ(listing_of("Time", hex("7fffffff")), "     Time = 2038-01-19T03:14:07Z\n");
    EXPECT_EQ(listing_of("Signed", hex("ffffffff")), "     Signed = -1\n");
    EXPECT_EQ(listing_of("Integer64", hex("ffffffffffffffff")), "     Integer64 = 18446744073709551615\n");
    EXPECT_EQ(listing_of("Short", hex("ffff")), "     Short = 65535\n");
    EXPECT_EQ(listing_of("Byte", hex("ff")), "     Byte = 255\n");
    EXPECT_EQ(listing_of("Ipv4Addr", hex("c0000205")), "     Ipv4Addr = 192.0.2.5\n");
    EXPECT_EQ(listing_of("Ipv4Prefix", hex("0018c0000200")), "     Ipv4Prefix = 192.0.2.0/24\n");
    EXPECT_EQ(listing_of("Ipv6Addr", hex("20010db8000000000000000000000001")),
              "     Ipv6Addr = 2001:db8::1\n");
    EXPECT_EQ(listing_of("Ipv6Prefix", hex("002020010db8")), "     Ipv6Prefix = 2001:db8::/32\n");
    EXPECT_EQ(listing_of("ComboIp", hex("c0000205")), "     ComboIp = 192.0.2.5\n");
    EXPECT_EQ(listing_of("ComboIp", hex("20010db8000000000000000000000001")), "     ComboIp = 2001:db8::1\n");
    EXPECT_EQ(listing_of("Ether", hex("001a2b3c4d5e")), "     Ether = 00:1a:2b:3c:4d:5e\n");
    EXPECT_EQ(listing_of("Ifid", hex("0102030405060708")), "     Ifid = 01:02:03:04:05:06:07:08\n");
}

TEST(AttributeListing, ShowsAnUnprintableTextFormInHexadecimal) {
    // What the text form was is remembered with the value: a stranger's text may stand there.
    for (const std::string& text : {std::string("a\tb"), std::string("\xc3\xa4")}) {
        RadiusAttribute number = attribute("Short", {hex("0102")});
        number.values.front().string_cache = text;
        EXPECT_EQ(listing_of(std::move(number)), "     Short = 0x0102\n");
    }
}

TEST(AttributeListing, KeepsTheTextOfANumberThatIsNone) {
    for (const std::string text : {"1x", "-1", "4294967296", ""}) {
        RadiusAttribute number = attribute("Enum", {hex("00000001")});
        number.values.front().string_cache = text;
        EXPECT_EQ(listing_of(std::move(number)), "     Enum = " + text + "\n");
    }
}

TEST(AttributeListing, NamesAnUnknownAttributeAsTheDecoderDid) {
    EXPECT_EQ(listing_of(unknown_attribute({26, 9, 77}, "", hex("01"))), "     attr-26.9.77 = 0x01\n");
    EXPECT_EQ(listing_of(unknown_attribute({250}, "My-Own", hex("01"))), "     My-Own = 0x01\n");
}

TEST(AttributeListing, NamesAnAttributeWithoutAnyName) {
    RadiusAttribute nameless = unknown_attribute({250}, "x", hex("01"));
    nameless.name.clear();
    RadiusPacket packet(dictionary());
    packet.attribute_order.push_back(&nameless);
    EXPECT_EQ(attribute_listing(packet, dictionary().get()), "     Attr-Unknown = 0x01\n");
    EXPECT_EQ(attribute_listing(packet, nullptr), "     Attr-Unknown = 0x01\n");
}

TEST(AttributeListing, QuotesByWhatTheDictionarySaysOfTheName) {
    // An attribute of another dictionary under a name that this one gives to a text, and the reverse.
    EXPECT_EQ(listing_of(unknown_attribute({250}, "text", hex("01"))), "     text = \"0x01\"\n");
    const auto other = test::dictionary_from("attributes: {Text: {code: 202, type: octets}}");
    EXPECT_EQ(listing_of(attribute("Text", {utils::to_bytes("plain")}), other.get()), "     Text = plain\n");
}

TEST(AttributeListing, ShowsNeitherQuotationMarksNorNamesOfNumbersWithoutADictionary) {
    EXPECT_EQ(listing_of(attribute("Text", {utils::to_bytes("plain")}), nullptr), "     Text = plain\n");
    EXPECT_EQ(listing_of(attribute("Text", {hex("09")}), nullptr), "     Text = 0x09\n");
    EXPECT_EQ(listing_of(attribute("Enum", {hex("00000001")}), nullptr), "     Enum = 1\n");
    EXPECT_EQ(listing_of(attribute("Octets", {hex("01")}), nullptr), "     Octets = 0x01\n");
}

TEST(AttributeListing, ShowsTheRequestsMessageAuthenticatorInHexadecimal) {
    RadiusPacket packet(test::shipped_dictionary());
    packet.add_attribute("Message-Authenticator", std::string(16, '\0'));
    EXPECT_EQ(attribute_listing(packet, packet.dictionary.get()),
              "     Message-Authenticator = 0x00000000000000000000000000000000\n");
}

}  // namespace
}  // namespace quarn::subscriber::radius
