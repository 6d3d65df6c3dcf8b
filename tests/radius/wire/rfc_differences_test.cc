// Where encoder and decoder differ from the RFCs: what docs/wire-formats.md lists under that title, byte for
// byte.
#include <gtest/gtest.h>

#include "quarn/radius/packet_code.h"
#include "testing/codec_dictionary.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"

namespace quarn::subscriber::radius {
namespace {

using test::attribute_digits_of;
using test::datagram;
using test::decode;
using test::digits;
using test::Lines;
using test::repeat;

/// The packet's attributes on the wire; none is truncated.
Bytes encoded(const RadiusPacket& packet) {
    std::vector<ParseIssue> issues;
    Bytes wire = pkt_dump(packet, "", issues);
    EXPECT_EQ(issues, std::vector<ParseIssue>());
    return wire;
}

RadiusPacket new_packet(const test::SharedDictionary& dictionary = test::shipped_dictionary()) {
    return test::new_packet(dictionary, ACCESS_ACCEPT);
}

TEST(RfcDifferences, EveryFragmentOfAnExtendedVendorValueRepeatsVendorAndType) {
    RadiusPacket packet = new_packet(test::codec_dictionary());
    packet.add_attribute("Long-Vendor-Octets", std::string(300, 'a'));
    const Bytes wire = encoded(packet);
    EXPECT_EQ(attribute_digits_of(wire), digits("f5 ff 1a 80 00000065 01") + repeat("61", 246) +
                                             digits("f5 3f 1a 00 00000065 01") + repeat("61", 54));
    EXPECT_EQ(decode(test::codec_dictionary(), wire).lines(),
              (Lines{"Long-Vendor-Octets (245.26.101.1) " + repeat("61", 300)}));
}

TEST(RfcDifferences, ALaterFragmentWithoutVendorAndTypeIsReadAsAnotherAttribute) {
    const Bytes wire = datagram(ACCESS_ACCEPT, "f5 0b 1a 80 00000065 01 6162  f5 0b 1a 00 00000063 64 6566");
    const test::Decoded decoded = decode(test::codec_dictionary(), wire);
    EXPECT_EQ(decoded.lines(), (Lines{"attr-245.26.99.100 (245.26.99.100) 6566"}));
    EXPECT_EQ(decoded.issues, (test::Issues{{"unterminated long-extended value", "245", "1"}}));
}

TEST(RfcDifferences, TwoValuesOfAConcatAttributeAreReadAsOne) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("NAS-Filter-Rule", "ab");
    packet.add_attribute("NAS-Filter-Rule", "cd");
    const Bytes wire = encoded(packet);
    EXPECT_EQ(attribute_digits_of(wire), digits("5c 04 6162  5c 04 6364"));
    EXPECT_EQ(decode(test::shipped_dictionary(), wire).lines(), (Lines{"NAS-Filter-Rule (92) 61626364"}));
}

TEST(RfcDifferences, AZeroByteBetweenTwoFilterRulesIsTheCallersToAdd) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("NAS-Filter-Rule", std::string_view("ab\0cd", 5));
    const Bytes wire = encoded(packet);
    EXPECT_EQ(attribute_digits_of(wire), digits("5c 07 6162 00 6364"));
    EXPECT_EQ(decode(test::shipped_dictionary(), wire).lines(), (Lines{"NAS-Filter-Rule (92) 6162006364"}));
}

TEST(RfcDifferences, EachTlvHasAParentOfItsOwn) {
    RadiusPacket packet = new_packet(test::codec_dictionary());
    packet.add_attribute("Extended-Tlv-Number", "1");
    packet.add_attribute("Extended-Tlv-Tlv-Text", "a");
    const Bytes apart = encoded(packet);
    EXPECT_EQ(attribute_digits_of(apart), digits("f1 09 02 01 06 00000001  f1 08 02 02 05 01 03 61"));
    const Bytes packed = datagram(ACCESS_ACCEPT, "f1 0e 02 01 06 00000001 02 05 01 03 61");
    EXPECT_EQ(decode(test::codec_dictionary(), apart).lines(),
              decode(test::codec_dictionary(), packed).lines());
}

TEST(RfcDifferences, PrefixesKeepTheBitsBehindTheirLength) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("PMIP6-Home-IPv4-HoA", "10.1.2.3/8");
    packet.add_attribute("Framed-IPv6-Prefix", "2001:db8:ffff::/33");
    const Bytes wire = encoded(packet);
    EXPECT_EQ(attribute_digits_of(wire), digits("9b 08 00 08 0a010203  61 09 00 21 20010db8 ff"));
    EXPECT_EQ(decode(test::shipped_dictionary(), wire).packet.attributes()[0]->values[0].as_string(),
              "10.1.2.3/8");
}

TEST(RfcDifferences, ATextWhoseTagIsOptionalKeepsTheTagOctet) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("Tunnel-Private-Group-ID",
                         "\x01"
                         "1");
    packet.add_attribute("Tunnel-Private-Group-ID", "2");
    const Bytes wire = encoded(packet);
    EXPECT_EQ(attribute_digits_of(wire), digits("51 04 01 31  51 03 32"));
    EXPECT_EQ(decode(test::shipped_dictionary(), wire).lines(),
              (Lines{"Tunnel-Private-Group-ID (81) 0131 32"}));
}

}  // namespace
}  // namespace quarn::subscriber::radius
