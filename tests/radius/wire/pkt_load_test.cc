#include "quarn/radius/pkt_load.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "quarn/radius/hiding.h"
#include "quarn/radius/packet_code.h"
#include "testing/codec_dictionary.h"
#include "testing/dictionaries.h"

namespace quarn::subscriber::radius {
namespace {

using test::codec_dictionary;
using test::datagram;
using test::decode;
using test::Decoded;
using test::digits;
using test::hex;
using test::Issues;
using test::Lines;
using test::pattern;
using test::repeat;
using test::to_hex;

constexpr std::string_view secret = "xyzzy5461";

/// The listing of what a packet with these attributes holds; it must decode without an issue.
Lines lines_of(std::string_view attributes, std::string_view with_secret = "") {
    const Decoded decoded = decode(codec_dictionary(), datagram(ACCESS_ACCEPT, attributes), with_secret);
    EXPECT_EQ(decoded.issues, Issues());
    return decoded.lines();
}

Lines lines_with(test::SharedDictionary dictionary, std::string_view attributes) {
    const Decoded decoded = decode(std::move(dictionary), datagram(ACCESS_ACCEPT, attributes));
    EXPECT_EQ(decoded.issues, Issues());
    return decoded.lines();
}

/// What a packet with damaged attributes yields all the same.
struct Outcome {
    Issues issues;
    Lines lines;
};

Outcome outcome_of(std::string_view attributes) {
    const Decoded decoded = decode(codec_dictionary(), datagram(ACCESS_ACCEPT, attributes));
    return {decoded.issues, decoded.lines()};
}

/// The one issue of a packet of which nothing else is left.
void expect_only_issue(std::string_view attributes, const ParseIssue& issue) {
    const Outcome outcome = outcome_of(attributes);
    EXPECT_EQ(outcome.issues, Issues{issue}) << attributes;
    EXPECT_EQ(outcome.lines, Lines()) << attributes;
}

std::string error_of(byte_span bytes, test::SharedDictionary dictionary = codec_dictionary()) {
    try {
        decode(std::move(dictionary), bytes);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

std::string part(std::size_t first, std::size_t count) {
    return test::hex_part(pattern(first + count), first, count);
}

/// A datagram whose Length field says something else than its size.
Bytes with_length(Bytes bytes, std::size_t length) {
    bytes[2] = static_cast<std::uint8_t>(length >> 8);
    bytes[3] = static_cast<std::uint8_t>(length);
    return bytes;
}

Bytes cut(Bytes bytes, std::size_t size) {
    bytes.resize(size);
    return bytes;
}

// ---------------------------------------------------------------------------------------------- the header

TEST(LoadHeader, FillsInCodeIdentifierAuthenticatorAndRaw) {
    const Bytes bytes = hex("0b fe 0014 000102030405060708090a0b0c0d0e0f");
    const Decoded decoded = decode(codec_dictionary(), bytes);
    EXPECT_EQ(decoded.packet.code, ACCESS_CHALLENGE);
    EXPECT_EQ(decoded.packet.identifier, 0xfe);
    EXPECT_EQ(to_hex(decoded.packet.authenticator), "000102030405060708090a0b0c0d0e0f");
    EXPECT_EQ(decoded.packet.raw, bytes);
    EXPECT_EQ(decoded.issues, Issues());
}

TEST(LoadHeader, OfExactly20BytesIsAPacketWithoutAttributes) {
    EXPECT_EQ(lines_of(""), Lines());
}

TEST(LoadHeader, TakesAnyCode) {
    for (int code = 0; code <= 255; ++code) {
        EXPECT_EQ(decode(codec_dictionary(), datagram(static_cast<std::uint8_t>(code), "")).packet.code,
                  code);
    }
}

TEST(LoadHeader, LeavesTheRequestAuthenticatorAlone) {
    RadiusPacket packet(codec_dictionary());
    packet.request_authenticator = Authenticator{1, 2, 3};
    const Bytes bytes = datagram(ACCESS_ACCEPT, "");
    pkt_load(packet, bytes.data(), bytes.size(), "");
    EXPECT_EQ(packet.request_authenticator, (Authenticator{1, 2, 3}));
    EXPECT_EQ(decode(codec_dictionary(), bytes).packet.request_authenticator, std::nullopt);
}

TEST(LoadHeader, ReplacesWhatThePacketHeldBefore) {
    RadiusPacket packet(codec_dictionary());
    packet.add_attribute("User-Name", "bob");
    packet.add_attribute("Class", "a");
    const Bytes bytes = datagram(ACCESS_ACCEPT, "19 03 62");
    EXPECT_EQ(pkt_load(packet, bytes.data(), bytes.size(), ""), Issues());
    EXPECT_EQ(test::listing(packet), (Lines{"Class (25) 62"}));
    EXPECT_EQ(packet.attribute_map.size(), 1U);
}

TEST(LoadHeader, MayReadFromThePacketsOwnRawBytes) {
    Decoded decoded = decode(codec_dictionary(), datagram(ACCESS_ACCEPT, "19 03 62"));
    const Bytes before = decoded.packet.raw;
    EXPECT_EQ(pkt_load(decoded.packet, decoded.packet.raw.data(), decoded.packet.raw.size(), ""), Issues());
    EXPECT_EQ(decoded.packet.raw, before);
    EXPECT_EQ(decoded.lines(), (Lines{"Class (25) 62"}));
}

TEST(LoadHeader, NeedsADictionaryBeforeAnythingElse) {
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, ""), nullptr), "pkt_load: dictionary required");
    EXPECT_EQ(error_of({}, nullptr), "pkt_load: dictionary required");
}

TEST(LoadHeader, Needs20Bytes) {
    const Bytes whole = datagram(ACCESS_ACCEPT, "");
    for (std::size_t size = 0; size < 20; ++size) {
        EXPECT_EQ(error_of(cut(whole, size)), "pkt_load: malformed packet") << size;
    }
    EXPECT_EQ(error_of(whole), "nothing thrown");
}

TEST(LoadHeader, RefusesALengthBelow20) {
    for (std::size_t length = 0; length < 20; ++length) {
        EXPECT_EQ(error_of(with_length(datagram(ACCESS_ACCEPT, "19 03 61"), length)),
                  "pkt_load: invalid packet length")
            << length;
    }
}

TEST(LoadHeader, RefusesALengthOfMoreThanWasReceived) {
    const Bytes bytes = datagram(ACCESS_ACCEPT, "19 03 61");
    EXPECT_EQ(error_of(with_length(bytes, 23)), "nothing thrown");
    EXPECT_EQ(error_of(with_length(bytes, 24)), "pkt_load: invalid packet length");
    EXPECT_EQ(error_of(with_length(bytes, 65535)), "pkt_load: invalid packet length");
}

TEST(LoadHeader, IgnoresWhatFollowsTheLength) {
    Bytes bytes = datagram(ACCESS_ACCEPT, "19 03 61");
    bytes.insert(bytes.end(), {0x19, 0x03, 0x62, 0xff});
    const Decoded decoded = decode(codec_dictionary(), bytes);
    EXPECT_EQ(decoded.issues, Issues());
    EXPECT_EQ(decoded.lines(), (Lines{"Class (25) 61"}));
    EXPECT_EQ(decoded.packet.raw, bytes);
}

// ------------------------------------------------------------------------------------- walking attributes

TEST(LoadAttributes, KeepsThemInTheOrderOfTheirFirstAppearance) {
    EXPECT_EQ(lines_of("12 03 61  05 06 00000003  12 03 62  01 03 63"),
              (Lines{"Reply-Message (18) 61 62", "NAS-Port (5) 00000003", "User-Name (1) 63"}));
}

TEST(LoadAttributes, GivesEachValueTheTypeOfTheDictionary) {
    const Decoded decoded = decode(codec_dictionary(), datagram(ACCESS_ACCEPT, "05 06 00000003 de 03 61"));
    const RadiusAttribute& port = *decoded.packet.attributes().at(0);
    EXPECT_EQ(port.metadata, &decoded.packet.dictionary->attribute_by_code({5}));
    EXPECT_EQ(port.values.at(0).type, "integer");
    EXPECT_EQ(port.values.at(0).as_string(), "3");
    const RadiusAttribute& unknown = *decoded.packet.attributes().at(1);
    EXPECT_EQ(unknown.metadata, &RadiusDictionary::unknown_definition());
    EXPECT_EQ(unknown.values.at(0).type, "octets");
}

TEST(LoadAttributes, NamesWhatTheDictionaryLacksAfterItsPath) {
    EXPECT_EQ(lines_of("de 03 61  de 04 62 63  00 03 64"),
              (Lines{"attr-222 (222) 61 6263", "attr-0 (0) 64"}));
}

TEST(LoadAttributes, GivesAnEmptyValueForLength2) {
    EXPECT_EQ(lines_of("01 02"), (Lines{"User-Name (1) -"}));
}

TEST(LoadAttributes, TakesValuesOf253Bytes) {
    EXPECT_EQ(lines_of("19ff" + part(0, 253)), (Lines{"Class (25) " + part(0, 253)}));
}

TEST(LoadAttributes, TakesNumbersOfAnySizeAsTheyAre) {
    EXPECT_EQ(lines_of("05 05 000003"), (Lines{"NAS-Port (5) 000003"}));
    EXPECT_EQ(lines_of("05 08 000000000003"), (Lines{"NAS-Port (5) 000000000003"}));
}

TEST(LoadAttributes, MergesPathsWhoseAttributesShareAName) {
    const auto dictionary = test::dictionary_from(R"(
attributes:
  attr-222: {code: "25", type: octets}
)");
    // 222 is undefined, and so its key is the name that the dictionary gives to 25.
    EXPECT_EQ(lines_with(dictionary, "19 03 61  05 03 62  de 03 63"),
              (Lines{"attr-222 (25) 61 63", "attr-5 (5) 62"}));
}

TEST(LoadAttributes, JoinsTheValuesOfOneUnknownPath) {
    EXPECT_EQ(lines_of("1a 09 00000009 4d 03 61  01 03 63  1a 09 00000009 4d 03 62"),
              (Lines{"attr-26.9.77 (26.9.77) 61 62", "User-Name (1) 63"}));
}

TEST(LoadAttributes, PutsTheValuesOfOnePathBeforeThoseOfALaterOneOfTheSameName) {
    const auto dictionary = test::dictionary_from(R"(
attributes:
  attr-222: {code: "25", type: octets}
  Attr-223: {code: "222", type: text}
  attr-223: {code: "26.9.1", type: integer}
)");
    // 25 and 222 come in turns, and so do 222's namesakes 26.9.1 and 223.
    EXPECT_EQ(lines_with(dictionary, "19 03 61  19 03 62"), (Lines{"attr-222 (25) 61 62"}));
    EXPECT_EQ(lines_with(dictionary,
                         "df 03 01  1a 09 00000009 01 03 02  de 03 03"
                         "de 03 04  1a 09 00000009 01 03 05  df 03 06"),
              (Lines{"attr-223 (223) 01 06 02 05 03 04"}));
}

TEST(LoadAttributes, RefusesALengthBelow2) {
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "19 01")), "pkt_load: invalid attribute length");
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "19 00")), "pkt_load: invalid attribute length");
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "01 03 61 19 01")), "pkt_load: invalid attribute length");
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "1a 01")), "pkt_load: invalid attribute length");
}

TEST(LoadAttributes, RefusesALengthPastTheEndOfThePacket) {
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "19 04 61")), "pkt_load: invalid attribute length");
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "19 ff 61")), "pkt_load: invalid attribute length");
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "19 03")), "pkt_load: invalid attribute length");
}

TEST(LoadAttributes, RefusesALengthPastTheLengthFieldAlthoughMoreBytesWereReceived) {
    const Bytes bytes = datagram(ACCESS_ACCEPT, "19 05 61 62 63");
    EXPECT_EQ(error_of(bytes), "nothing thrown");
    EXPECT_EQ(error_of(with_length(bytes, 24)), "pkt_load: invalid attribute length");
    EXPECT_EQ(error_of(with_length(bytes, 22)), "pkt_load: invalid attribute length");
    EXPECT_EQ(error_of(with_length(bytes, 21)), "pkt_load: invalid attribute length");
}

TEST(LoadAttributes, RefusesASingleByteAtTheEndOfTheDatagram) {
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "19")), "pkt_load: malformed attribute");
    EXPECT_EQ(error_of(datagram(ACCESS_ACCEPT, "19 03 61 19")), "pkt_load: malformed attribute");
}

// -------------------------------------------------------------------------------------------------- tags

TEST(LoadTag, IsTakenOffANumberThatKeepsItsWidth) {
    EXPECT_EQ(lines_of("40 06 01 000006"), (Lines{"Tunnel-Type (64) #1:00000006"}));
    EXPECT_EQ(lines_of("40 06 00 000006"), (Lines{"Tunnel-Type (64) #0:00000006"}));
    EXPECT_EQ(lines_of("40 06 ff ffffff"), (Lines{"Tunnel-Type (64) #255:00ffffff"}));
    EXPECT_EQ(lines_of("c2 04 01 34"), (Lines{"Tagged-Short (194) #1:0034"}));
    EXPECT_EQ(lines_of("c3 0a 01 02030405060708"), (Lines{"Tagged-Integer64 (195) #1:0002030405060708"}));
}

TEST(LoadTag, IsTakenOffANumberOfAnotherWidthWithoutFillingItUp) {
    EXPECT_EQ(lines_of("40 07 01 00000006"), (Lines{"Tunnel-Type (64) #1:00000006"}));
    EXPECT_EQ(lines_of("40 05 01 0006"), (Lines{"Tunnel-Type (64) #1:0006"}));
    EXPECT_EQ(lines_of("40 03 01"), (Lines{"Tunnel-Type (64) #1:-"}));
    EXPECT_EQ(lines_of("c1 04 01 05"), (Lines{"Tagged-Byte (193) #1:05"}));
    EXPECT_EQ(lines_of("c1 03 01"), (Lines{"Tagged-Byte (193) #1:-"}));
}

TEST(LoadTag, IsTheFirstByteOfATextWhateverItIs) {
    EXPECT_EQ(lines_of("42 05 01 61 62"), (Lines{"Tunnel-Client-Endpoint (66) #1:6162"}));
    EXPECT_EQ(lines_of("42 04 61 62"), (Lines{"Tunnel-Client-Endpoint (66) #97:62"}));
    EXPECT_EQ(lines_of("42 03 1f"), (Lines{"Tunnel-Client-Endpoint (66) #31:-"}));
}

TEST(LoadTag, Is0WhereThereIsNoByteForIt) {
    EXPECT_EQ(lines_of("42 02  40 02"), (Lines{"Tunnel-Client-Endpoint (66) #0:-", "Tunnel-Type (64) #0:-"}));
}

TEST(LoadTag, IsEachValuesOwn) {
    EXPECT_EQ(lines_of("40 06 01 000003  40 06 02 000004"),
              (Lines{"Tunnel-Type (64) #1:00000003 #2:00000004"}));
}

TEST(LoadTag, StandsInsideVendorAndExtendedAttributes) {
    EXPECT_EQ(lines_of("1a 0c 00000065  06 06 01 000005  f1 07 04 01 000005  f5 06 04 00 01 61"),
              (Lines{"One-Tagged (26.101.6) #1:00000005", "Extended-Tagged (241.4) #1:00000005",
                     "Long-Tagged (245.4) #1:61"}));
}

// ------------------------------------------------------------------------------------------------- concat

TEST(LoadConcat, JoinsAttributesThatFollowEachOtherDirectly) {
    EXPECT_EQ(lines_of("4f 04 61 62  4f 03 63  4f 04 64 65"), (Lines{"EAP-Message (79) 6162636465"}));
    EXPECT_EQ(lines_of("4fff" + part(0, 253) + "4f31" + part(253, 47)),
              (Lines{"EAP-Message (79) " + part(0, 300)}));
}

TEST(LoadConcat, KeepsValuesApartThatAnotherAttributeSeparates) {
    EXPECT_EQ(lines_of("4f 03 61  01 03 62  4f 03 63  4f 03 64"),
              (Lines{"EAP-Message (79) 61 6364", "User-Name (1) 62"}));
}

TEST(LoadConcat, KeepsValuesApartThatADroppedAttributeSeparates) {
    const Outcome outcome = outcome_of("4f 03 61  f1 02  4f 03 62");
    EXPECT_EQ(outcome.lines, (Lines{"EAP-Message (79) 61 62"}));
    EXPECT_EQ(outcome.issues, (Issues{{"extended attribute too short", "241", ""}}));
}

TEST(LoadConcat, KeepsTwoAttributesApart) {
    EXPECT_EQ(lines_of("4f 03 61  c6 03 62  c6 03 63  4f 03 64"),
              (Lines{"EAP-Message (79) 61 64", "Second-Concat (198) 6263"}));
}

TEST(LoadConcat, JoinsEmptyOnesToo) {
    EXPECT_EQ(lines_of("4f 02"), (Lines{"EAP-Message (79) -"}));
    EXPECT_EQ(lines_of("4f 02  4f 02"), (Lines{"EAP-Message (79) -"}));
    EXPECT_EQ(lines_of("4f 02  4f 03 61  4f 02"), (Lines{"EAP-Message (79) 61"}));
}

TEST(LoadConcat, LeavesOtherAttributesUnjoined) {
    EXPECT_EQ(lines_of("19 03 61  19 03 62"), (Lines{"Class (25) 61 62"}));
}

TEST(LoadConcat, TakesTheTagFromTheJoinedValue) {
    EXPECT_EQ(lines_of("c4 04 05 61  c4 03 62"), (Lines{"Tagged-Concat (196) #5:6162"}));
}

TEST(LoadConcat, RevealsTheJoinedValue) {
    const Bytes cipher = encrypt_tunnel_password(pattern(200), secret, test::test_authenticator);
    const byte_span bytes = cipher;
    const std::string first = "c566" + to_hex(bytes.first(100));
    const std::string second = "c56e" + to_hex(bytes.subspan(100, 108));
    ASSERT_EQ(bytes.size(), 210U);
    EXPECT_EQ(lines_of(first + second + "c504" + to_hex(bytes.subspan(208)), secret),
              (Lines{"Hidden-Concat (197) " + part(0, 200)}));
}

TEST(LoadConcat, JoinsAttributesInsideOneVendorSpecificAttribute) {
    EXPECT_EQ(lines_of("1a 0c 00000065  07 03 61  07 03 62"), (Lines{"One-Concat (26.101.7) 6162"}));
    EXPECT_EQ(lines_of("1a 0f 00000065  07 03 61  01 03 62  07 03 63"),
              (Lines{"One-Concat (26.101.7) 61 63", "One-Text (26.101.1) 62"}));
}

TEST(LoadConcat, JoinsTheListsOfTlvsOfAnAttribute) {
    EXPECT_EQ(lines_of("c8 05 01 04 61  c8 03 62"), (Lines{"Tlv-Concat-Octets (200.1) 6162"}));
    EXPECT_EQ(lines_of("c7 05 01 03 61  c7 05 01 03 62"), (Lines{"Tlv-Top-Number (199.1) 61 62"}));
}

TEST(LoadConcat, JoinsNothingWhereTheContainerMarksTheEndOfAValue) {
    EXPECT_EQ(lines_of("1a0a00000068 040480 61  1a0a00000068 040400 62  1a0a00000068 040400 63"),
              (Lines{"Continued-Concat (26.104.4) 6162 63"}));
    EXPECT_EQ(lines_of("f5 05 05 80 61  f5 05 05 00 62  f5 05 05 00 63"),
              (Lines{"Long-Concat (245.5) 6162 63"}));
}

TEST(LoadConcat, JoinsVendorAndExtendedAttributesToo) {
    EXPECT_EQ(lines_of("1a 09 00000065 07 03 61  1a 09 00000065 07 03 62  1a 09 00000065 01 03 63"),
              (Lines{"One-Concat (26.101.7) 6162", "One-Text (26.101.1) 63"}));
    EXPECT_EQ(lines_of("f1 04 03 61  f1 04 03 62"), (Lines{"Extended-Concat (241.3) 6162"}));
}

// ---------------------------------------------------------------------------------------- Vendor-Specific

TEST(LoadVendorSpecific, OfFormat11) {
    EXPECT_EQ(lines_of("1a 0a 00000065  01 04 61 62"), (Lines{"One-Text (26.101.1) 6162"}));
}

TEST(LoadVendorSpecific, OfFormat22) {
    EXPECT_EQ(lines_of("1a 0c 00000066  0102 0006 61 62"), (Lines{"Two-Text (26.102.258) 6162"}));
}

TEST(LoadVendorSpecific, OfFormat44) {
    EXPECT_EQ(lines_of("1a 10 00000067  01020304 0000000a 61 62"),
              (Lines{"Four-Text (26.103.16909060) 6162"}));
}

TEST(LoadVendorSpecific, OfFormat11C) {
    EXPECT_EQ(lines_of("1a 0b 00000068  01 05 00 61 62"), (Lines{"Continued-Octets (26.104.1) 6162"}));
}

TEST(LoadVendorSpecific, OfFormat21) {
    EXPECT_EQ(lines_of("1a 0b 00000069  0203 05 61 62"), (Lines{"Long-Type-Text (26.105.515) 6162"}));
}

TEST(LoadVendorSpecific, OfAnUnknownVendorIsFormat11) {
    EXPECT_EQ(lines_of("1a 09 000001ad  07 03 61"), (Lines{"attr-26.429.7 (26.429.7) 61"}));
    EXPECT_EQ(lines_of("1a 09 ffffffff  ff 03 61"), (Lines{"attr-26.4294967295.255 (26.4294967295.255) 61"}));
}

TEST(LoadVendorSpecific, OfAKnownVendorMayHoldAnUnknownAttribute) {
    EXPECT_EQ(lines_of("1a 09 00000065  63 03 61"), (Lines{"attr-26.101.99 (26.101.99) 61"}));
}

TEST(LoadVendorSpecific, IsReadWhereTheDictionaryLacksType26) {
    EXPECT_EQ(lines_with(std::make_shared<RadiusDictionary>(), "1a 09 00000065  01 03 61"),
              (Lines{"attr-26.101.1 (26.101.1) 61"}));
}

TEST(LoadVendorSpecific, IsOpaqueWhereTheDictionaryDefinesType26AsOctets) {
    EXPECT_EQ(lines_with(test::dictionary_without_vendor_specific(), "1a 09 00000065  01 03 61  1a 02"),
              (Lines{"Opaque-26 (26) 00000065010361 -"}));
}

TEST(LoadVendorSpecific, MayHoldSeveralAttributes) {
    EXPECT_EQ(lines_of("1a 11 00000065  01 03 61  02 06 00000005  01 02"),
              (Lines{"One-Text (26.101.1) 61 -", "One-Number (26.101.2) 00000005"}));
}

TEST(LoadVendorSpecific, MayBeFilledToTheLastByte) {
    EXPECT_EQ(lines_of("1aff00000065 01f9" + part(0, 247)), (Lines{"One-Text (26.101.1) " + part(0, 247)}));
}

TEST(LoadVendorSpecific, WithoutRoomForAVendorIsReported) {
    for (const std::string_view attribute : {"1a 02", "1a 03 00", "1a 04 00 00", "1a 05 00 00 00"}) {
        expect_only_issue(attribute, {"vendor-specific attribute too short", "26", ""});
    }
}

TEST(LoadVendorSpecific, WithoutRoomForAnAttributeHeaderIsDroppedWithoutAWord) {
    EXPECT_EQ(lines_of("1a 06 00000065"), Lines());
    EXPECT_EQ(lines_of("1a 07 00000065 01"), Lines());
    EXPECT_EQ(lines_of("1a 09 00000066 010200"), Lines());
    EXPECT_EQ(lines_of("1a 0d 00000067 01020304000000"), Lines());
    EXPECT_EQ(lines_of("1a 07 000001ad 01"), Lines());
}

TEST(LoadVendorSpecific, WithADamagedLengthIsReportedAndLeft) {
    // Too small for its own header, by one and altogether; past the end, by one and by far.
    for (const std::string_view attribute :
         {"1a 09 00000065 01 01 61", "1a 09 00000065 01 00 61", "1a 09 00000065 01 04 61",
          "1a 09 00000065 01 ff 61", "1a 08 00000065 01 03"}) {
        expect_only_issue(attribute, {"malformed vendor attribute length", "Vendor-101", "1"});
    }
    for (const std::string_view attribute : {"1a 0b 00000066 0102 0003 61", "1a 0b 00000066 0102 0000 61",
                                             "1a 0b 00000066 0102 0006 61", "1a 0b 00000066 0102 ffff 61"}) {
        expect_only_issue(attribute, {"malformed vendor attribute length", "Vendor-102", "258"});
    }
    for (const std::string_view attribute :
         {"1a 0f 00000067 01020304 00000007 61", "1a 0f 00000067 01020304 00000000 61",
          "1a 0f 00000067 01020304 0000000a 61", "1a 0f 00000067 01020304 ffffffff 61"}) {
        expect_only_issue(attribute, {"malformed vendor attribute length", "Vendor-103", "16909060"});
    }
    expect_only_issue("1a 09 000001ad ff 01 61", {"malformed vendor attribute length", "Vendor-429", "255"});
}

TEST(LoadVendorSpecific, KeepsWhatPrecedesADamagedLength) {
    const Outcome outcome = outcome_of("1a 0f 00000065  01 03 61  02 01  01 03 62 00  01 03 63");
    EXPECT_EQ(outcome.issues, (Issues{{"malformed vendor attribute length", "Vendor-101", "2"}}));
    EXPECT_EQ(outcome.lines, (Lines{"One-Text (26.101.1) 61", "User-Name (1) 63"}));
}

TEST(LoadVendorSpecific, PassesOverAByteTooFewForAnotherHeader) {
    EXPECT_EQ(lines_of("1a 0a 00000065  01 03 61  01"), (Lines{"One-Text (26.101.1) 61"}));
}

TEST(LoadContinuation, JoinsFragments) {
    EXPECT_EQ(lines_of("1aff00000068 01f980" + part(0, 246) + "1a3f00000068 013900" + part(246, 54)),
              (Lines{"Continued-Octets (26.104.1) " + part(0, 300)}));
    EXPECT_EQ(lines_of("1a0a00000068 010480 61  1a0a00000068 010480 62  1a0a00000068 010400 63"),
              (Lines{"Continued-Octets (26.104.1) 616263"}));
}

TEST(LoadContinuation, JoinsFragmentsInsideOneAttribute) {
    EXPECT_EQ(lines_of("1a0e00000068  010480 61  010400 62"), (Lines{"Continued-Octets (26.104.1) 6162"}));
}

TEST(LoadContinuation, JoinsFragmentsWhateverComesBetween) {
    EXPECT_EQ(
        lines_of("1a0a00000068 010480 61  1a0a00000068 020480 62  01 03 63"
                 "1a0a00000068 010400 64  1a0a00000068 020400 65"),
        (Lines{"User-Name (1) 63", "Continued-Octets (26.104.1) 6164", "Continued-Other (26.104.2) 6265"}));
}

TEST(LoadContinuation, IsToldByTheTopBitAlone) {
    EXPECT_EQ(lines_of("1a0a00000068 01047f 61"), (Lines{"Continued-Octets (26.104.1) 61"}));
    EXPECT_EQ(lines_of("1a0a00000068 0104ff 61  1a0a00000068 010401 62"),
              (Lines{"Continued-Octets (26.104.1) 6162"}));
}

TEST(LoadContinuation, TakesEmptyFragments) {
    EXPECT_EQ(lines_of("1a0900000068 010300"), (Lines{"Continued-Octets (26.104.1) -"}));
    EXPECT_EQ(lines_of("1a0900000068 010380  1a0a00000068 010400 61"),
              (Lines{"Continued-Octets (26.104.1) 61"}));
    EXPECT_EQ(lines_of("1a0a00000068 010480 61  1a0900000068 010300"),
              (Lines{"Continued-Octets (26.104.1) 61"}));
}

TEST(LoadContinuation, BeginsAnewAfterACompleteValue) {
    EXPECT_EQ(lines_of("1a0a00000068 010480 61  1a0a00000068 010400 62  1a0a00000068 010400 63"),
              (Lines{"Continued-Octets (26.104.1) 6162 63"}));
}

TEST(LoadContinuation, WithoutAByteForTheFlagIsReportedAndTheWalkGoesOn) {
    expect_only_issue("1a 08 00000068 01 02", {"vendor continuation byte missing", "Vendor-104", "1"});
    const Outcome outcome = outcome_of("1a 0c 00000068  02 02  01 04 00 61");
    EXPECT_EQ(outcome.issues, (Issues{{"vendor continuation byte missing", "Vendor-104", "2"}}));
    EXPECT_EQ(outcome.lines, (Lines{"Continued-Octets (26.104.1) 61"}));
}

TEST(LoadContinuation, ThatNeverEndsIsReportedAndGivesNoValue) {
    expect_only_issue("1a 0a 00000068 01 04 80 61", {"unterminated continuation value", "Vendor-104", "1"});
    const Outcome outcome =
        outcome_of("1a0a00000068 020480 61  1a0a00000068 010480 61  1a0a00000068 010480 62  01 03 63");
    EXPECT_EQ(outcome.issues, (Issues{{"unterminated continuation value", "Vendor-104", "1"},
                                      {"unterminated continuation value", "Vendor-104", "2"}}));
    EXPECT_EQ(outcome.lines, (Lines{"User-Name (1) 63"}));
}

TEST(LoadContinuation, ReadsNestedTlvsFromTheJoinedValue) {
    EXPECT_EQ(lines_of("1a0b00000068 030580 0104  1a0b00000068 030500 6162"),
              (Lines{"Continued-Tlv-Octets (26.104.3.1) 6162"}));
}

// ------------------------------------------------------------------------------ extended and long-extended

TEST(LoadExtended, ReadsTheExtendedTypeBeforeTheValue) {
    EXPECT_EQ(lines_of("f1 05 01 61 62"), (Lines{"Extended-Text (241.1) 6162"}));
    EXPECT_EQ(lines_of("f1 03 01"), (Lines{"Extended-Text (241.1) -"}));
    EXPECT_EQ(lines_of("f1 04 63 61"), (Lines{"attr-241.99 (241.99) 61"}));
}

TEST(LoadExtended, GivesAValueForEachAttribute) {
    EXPECT_EQ(lines_of("f1ff01" + part(0, 252) + "f10401" + part(252, 1)),
              (Lines{"Extended-Text (241.1) " + part(0, 252) + " " + part(252, 1)}));
}

TEST(LoadExtended, WithoutAnExtendedTypeIsReported) {
    for (const auto& [attribute, type] : {std::pair("f1 02", "241"), std::pair("f2 02", "242"),
                                          std::pair("f5 02", "245"), std::pair("f6 02", "246")}) {
        expect_only_issue(attribute, {"extended attribute too short", type, ""});
    }
}

TEST(LoadExtended, IsTheShortFormForTypesThatTheDictionaryLacks) {
    const auto empty = std::make_shared<RadiusDictionary>();
    EXPECT_EQ(lines_with(empty, "f1 04 05 61  f2 04 05 61  f3 04 05 61"),
              (Lines{"attr-241.5 (241.5) 61", "attr-242.5 (242.5) 61", "attr-243.5 (243.5) 61"}));
    EXPECT_EQ(lines_with(empty, "f4 04 05 61  f5 04 05 80  f6 04 05 80"),
              (Lines{"attr-244.5 (244.5) 61", "attr-245.5 (245.5) 80", "attr-246.5 (246.5) 80"}));
    EXPECT_EQ(lines_of("f6 05 05 80 61"), (Lines{"attr-246.5 (246.5) 8061"}));
}

TEST(LoadExtended, IsNotSeenInNeighbouringTypes) {
    EXPECT_EQ(lines_of("f0 04 05 61  f7 04 05 61"), (Lines{"attr-240 (240) 0561", "attr-247 (247) 0561"}));
}

TEST(LoadExtended, IsOpaqueWhereTheDictionaryDefinesTheTypeAsOctets) {
    EXPECT_EQ(lines_with(test::dictionary_without_vendor_specific(), "f1 04 01 61  f1 02"),
              (Lines{"Opaque-241 (241) 0161 -"}));
}

TEST(LoadExtendedVendor, ReadsVendorAndVendorTypeBeforeTheValue) {
    EXPECT_EQ(lines_of("f1 0a 1a 00000065 01 61 62"), (Lines{"Extended-Vendor-Text (241.26.101.1) 6162"}));
    EXPECT_EQ(lines_of("f1 08 1a 00000065 01"), (Lines{"Extended-Vendor-Text (241.26.101.1) -"}));
    EXPECT_EQ(lines_of("f2 09 1a fffffffe ff 61"),
              (Lines{"attr-242.26.4294967294.255 (242.26.4294967294.255) 61"}));
}

TEST(LoadExtendedVendor, WithoutRoomForItsHeaderIsReported) {
    const std::string header = "1a 00 00 00 65 01";
    for (std::size_t size = 1; size < 6; ++size) {
        const std::string value = digits(header).substr(0, 2 * size);
        const Bytes length = {static_cast<std::uint8_t>(2 + size)};
        expect_only_issue("f1" + to_hex(length) + value,
                          {"extended-vendor-specific header too short", "241", ""});
        expect_only_issue("f6" + to_hex(length) + value,
                          {"extended-vendor-specific header too short", "246", ""});
    }
}

TEST(LoadLongExtended, ReadsExtendedTypeAndFlagsBeforeTheValue) {
    EXPECT_EQ(lines_of("f5 06 01 00 61 62"), (Lines{"Long-Octets (245.1) 6162"}));
    EXPECT_EQ(lines_of("f5 04 01 00"), (Lines{"Long-Octets (245.1) -"}));
}

TEST(LoadLongExtended, WithoutFlagsIsReported) {
    expect_only_issue("f5 03 01", {"long-extended attribute too short", "245", ""});
    expect_only_issue("f5 03 1a", {"long-extended attribute too short", "245", ""});
}

TEST(LoadLongExtended, JoinsFragments) {
    EXPECT_EQ(lines_of("f5 05 01 80 61  f5 05 01 00 62"), (Lines{"Long-Octets (245.1) 6162"}));
    EXPECT_EQ(lines_of("f5ff0180" + part(0, 251) + "f5ff0180" + part(251, 251) + "f5660100" + part(502, 98)),
              (Lines{"Long-Octets (245.1) " + part(0, 600)}));
}

TEST(LoadLongExtended, IsToldToGoOnByTheTopBitAlone) {
    EXPECT_EQ(lines_of("f5 05 01 7f 61"), (Lines{"Long-Octets (245.1) 61"}));
    EXPECT_EQ(lines_of("f5 05 01 ff 61  f5 05 01 7f 62"), (Lines{"Long-Octets (245.1) 6162"}));
}

TEST(LoadLongExtended, JoinsFragmentsWhateverComesBetween) {
    EXPECT_EQ(lines_of("f5 05 01 80 61  f5 05 03 80 62  01 03 63  f5 05 01 00 64  f5 05 03 00 65"),
              (Lines{"User-Name (1) 63", "Long-Octets (245.1) 6164", "Long-Hidden (245.3) 6265"}));
}

TEST(LoadLongExtended, TakesEmptyFragments) {
    EXPECT_EQ(lines_of("f5 04 01 80  f5 04 01 00"), (Lines{"Long-Octets (245.1) -"}));
    EXPECT_EQ(lines_of("f5 05 01 80 61  f5 04 01 80  f5 05 01 00 62"), (Lines{"Long-Octets (245.1) 6162"}));
}

TEST(LoadLongExtended, BeginsAnewAfterACompleteValue) {
    EXPECT_EQ(lines_of("f5 05 01 80 61  f5 05 01 00 62  f5 05 01 00 63"),
              (Lines{"Long-Octets (245.1) 6162 63"}));
}

TEST(LoadLongExtended, ThatNeverEndsIsReportedAndGivesNoValue) {
    expect_only_issue("f5 05 01 80 61", {"unterminated long-extended value", "245", ""});
    const Outcome outcome = outcome_of("f5 05 01 80 61  01 03 62  f5 05 01 80 63");
    EXPECT_EQ(outcome.issues, (Issues{{"unterminated long-extended value", "245", ""}}));
    EXPECT_EQ(outcome.lines, (Lines{"User-Name (1) 62"}));
}

TEST(LoadLongExtended, ReadsNestedTlvsFromTheJoinedValue) {
    EXPECT_EQ(lines_of("f5 05 02 80 01  f5 07 02 00 04 61 62"), (Lines{"Long-Tlv-Octets (245.2.1) 6162"}));
}

TEST(LoadLongExtendedVendor, ReadsTheVendorBehindTheFlags) {
    EXPECT_EQ(lines_of("f5 0b 1a 00 00000065 01 61 62"), (Lines{"Long-Vendor-Octets (245.26.101.1) 6162"}));
    EXPECT_EQ(lines_of("f5 0a 1a 00 00000066 07 61"), (Lines{"attr-245.26.102.7 (245.26.102.7) 61"}));
}

TEST(LoadLongExtendedVendor, JoinsTheFragmentsOfEachAttribute) {
    EXPECT_EQ(lines_of("f5 0a 1a 80 00000065 01 61  f5 0a 1a 80 00000065 07 62"
                       "f5 0a 1a 00 00000065 01 63  f5 0a 1a 00 00000065 07 64"),
              (Lines{"Long-Vendor-Octets (245.26.101.1) 6163", "attr-245.26.101.7 (245.26.101.7) 6264"}));
}

TEST(LoadLongExtendedVendor, WithoutRoomForItsHeaderIsReported) {
    for (const std::string_view attribute :
         {"f5 04 1a 00", "f5 05 1a 00 00", "f5 08 1a 00 00000065", "f5 08 1a 80 00000065"}) {
        expect_only_issue(attribute, {"extended-vendor-specific header too short", "245", ""});
    }
}

TEST(LoadLongExtendedVendor, ThatNeverEndsIsReportedWithItsVendorType) {
    expect_only_issue("f5 0a 1a 80 00000065 07 61", {"unterminated long-extended value", "245", "7"});
}

TEST(LoadFragments, AreReportedAtTheEndThoseOfVendorsFirst) {
    const Outcome outcome = outcome_of("f5 05 01 80 61  1a0a00000068 010480 61  f1 02  de 03 61");
    EXPECT_EQ(outcome.issues, (Issues{{"extended attribute too short", "241", ""},
                                      {"unterminated continuation value", "Vendor-104", "1"},
                                      {"unterminated long-extended value", "245", ""}}));
    EXPECT_EQ(outcome.lines, (Lines{"attr-222 (222) 61"}));
}

// ---------------------------------------------------------------------------------------------- nested TLVs

TEST(LoadTlv, ReadsTheTlvsOfEveryContainer) {
    EXPECT_EQ(lines_of("1a 0e 00000065  03 08  01 06 00000005"),
              (Lines{"One-Tlv-Number (26.101.3.1) 00000005"}));
    EXPECT_EQ(lines_of("f1 09 02  01 06 00000005"), (Lines{"Extended-Tlv-Number (241.2.1) 00000005"}));
    EXPECT_EQ(lines_of("f1 0e 1a 00000065 02  01 06 00000005"),
              (Lines{"Extended-Vendor-Tlv-Number (241.26.101.2.1) 00000005"}));
    EXPECT_EQ(lines_of("f5 0f 1a 00 00000065 02  01 06 00000005"),
              (Lines{"Long-Vendor-Tlv-Number (245.26.101.2.1) 00000005"}));
    EXPECT_EQ(lines_of("c7 08  01 06 00000005"), (Lines{"Tlv-Top-Number (199.1) 00000005"}));
}

TEST(LoadTlv, ReadsTlvsInTlvs) {
    EXPECT_EQ(lines_of("1a 0d 00000065  03 07  02 05  05 03 61"),
              (Lines{"One-Tlv-Tlv-Text (26.101.3.2.5) 61"}));
    EXPECT_EQ(lines_of("f1 08 02  02 05  01 03 61"), (Lines{"Extended-Tlv-Tlv-Text (241.2.2.1) 61"}));
}

TEST(LoadTlv, ReadsSeveralInOneList) {
    EXPECT_EQ(lines_of("1a 17 00000065  03 11  01 06 00000005  02 05 05 03 61  01 04 0006"),
              (Lines{"One-Tlv-Number (26.101.3.1) 00000005 0006", "One-Tlv-Tlv-Text (26.101.3.2.5) 61"}));
}

TEST(LoadTlv, GivesNothingForAnEmptyList) {
    EXPECT_EQ(lines_of("1a 08 00000065 03 02"), Lines());
    EXPECT_EQ(lines_of("f1 03 02"), Lines());
}

TEST(LoadTlv, MayBeEmptyOrUnknown) {
    EXPECT_EQ(lines_of("1a 0a 00000065  03 04  01 02"), (Lines{"One-Tlv-Number (26.101.3.1) -"}));
    EXPECT_EQ(lines_of("1a 0b 00000065  03 05  63 03 61"), (Lines{"attr-26.101.3.99 (26.101.3.99) 61"}));
}

TEST(LoadTlv, IgnoresASingleByteAtTheEndOfTheList) {
    EXPECT_EQ(lines_of("1a 0c 00000065  03 06  63 03 61  01"), (Lines{"attr-26.101.3.99 (26.101.3.99) 61"}));
    EXPECT_EQ(lines_of("1a 09 00000065  03 03  01"), Lines());
}

TEST(LoadTlv, WithADamagedLengthIsReportedAndLeft) {
    for (const std::string_view tlv : {"01 01 61", "01 00 61", "01 04 61", "01 ff 61"}) {
        expect_only_issue("1a 0b 00000065 03 05" + digits(tlv),
                          {"malformed nested TLV length", "Vendor-101", "1"});
        expect_only_issue("f1 06 02" + digits(tlv), {"malformed nested TLV length", "241", "1"});
        expect_only_issue("f1 0b 1a 00000065 02" + digits(tlv), {"malformed nested TLV length", "241", "1"});
        expect_only_issue("f5 07 02 00" + digits(tlv), {"malformed nested TLV length", "245", "1"});
        expect_only_issue("c7 05" + digits(tlv), {"malformed nested TLV length", "199", "1"});
    }
}

TEST(LoadTlv, KeepsWhatPrecedesAndWhatFollowsADamagedList) {
    // A list inside a list: the inner one ends, the outer one goes on.
    const Outcome outcome =
        outcome_of("1a 18 00000065  03 12  01 06 00000005  02 07 05 03 61 05 09  63 03 62  01 03 64");
    EXPECT_EQ(outcome.issues, (Issues{{"malformed nested TLV length", "Vendor-101", "5"}}));
    EXPECT_EQ(outcome.lines,
              (Lines{"One-Tlv-Number (26.101.3.1) 00000005", "One-Tlv-Tlv-Text (26.101.3.2.5) 61",
                     "attr-26.101.3.99 (26.101.3.99) 62", "User-Name (1) 64"}));
}

TEST(LoadTlv, NestsAsDeepAsAnAttributeCan) {
    // Two bytes a level in the 252 of an extended attribute.
    constexpr int levels = 126;
    std::string yaml = "attributes:\n";
    std::string path = "241";
    yaml += "  L0: {code: \"241\", type: extended}\n";
    for (int level = 1; level <= levels; ++level) {
        path += ".1";
        yaml += "  L" + std::to_string(level) + ": {code: \"" + path + "\", type: tlv}\n";
    }
    std::string value;
    for (int level = 0; level < levels; ++level) {
        const Bytes header = {1, static_cast<std::uint8_t>(2 + value.size() / 2)};
        value.insert(0, to_hex(header));
    }
    const Bytes outer = {0xf1, static_cast<std::uint8_t>(3 + value.size() / 2), 1};
    EXPECT_EQ(lines_with(test::dictionary_from(yaml), to_hex(outer) + value),
              (Lines{"attr-" + path + ".1 (" + path + ".1) -"}));
}

// ---------------------------------------------------------------------------------------------- revealing

constexpr std::string_view hidden_password =
    "af2741ea86c71740aa48394cc64b61d7";  // "arctangent" with the test's Authenticator

TEST(LoadHidden, RevealsAUserPasswordWithTheDatagramsAuthenticator) {
    EXPECT_EQ(lines_of("02 12" + digits(hidden_password), secret),
              (Lines{"User-Password (2) 61726374616e67656e74"}));
}

TEST(LoadHidden, RevealsInAReplyWithTheReplysOwnAuthenticator) {
    RadiusPacket packet(codec_dictionary());
    packet.request_authenticator = Authenticator{1, 2, 3};
    const Bytes bytes = datagram(ACCESS_ACCEPT, "45 15 03 8102 88c70cf8e6657bee559c41491c97da77");
    EXPECT_EQ(pkt_load(packet, bytes.data(), bytes.size(), secret), Issues());
    EXPECT_EQ(test::listing(packet), (Lines{"Tunnel-Password (69) #3:68656c6c6f"}));
}

TEST(LoadHidden, KeepsWireBytesWithoutASecret) {
    EXPECT_EQ(lines_of("02 12" + digits(hidden_password) + "45 15 03 8102 88c70cf8e6657bee559c41491c97da77"),
              (Lines{"User-Password (2) " + digits(hidden_password),
                     "Tunnel-Password (69) #3:810288c70cf8e6657bee559c41491c97da77"}));
}

TEST(LoadHidden, GivesAnEmptyValueForAnImpossibleLength) {
    EXPECT_EQ(lines_of("02 03 61  45 03 01  be 13" + repeat("61", 17), secret),
              (Lines{"User-Password (2) -", "Tunnel-Password (69) #1:-", "Hidden-Octets (190) -"}));
}

TEST(LoadHidden, RevealsVendorExtendedAndLongExtendedValues) {
    const std::string password = digits(hidden_password);
    EXPECT_EQ(
        lines_of("1a 18 00000065 04 12" + password + "f1 13 05" + password + "f5 0c 03 80" +
                     password.substr(0, 16) + "f5 0c 03 00" + password.substr(16),
                 secret),
        (Lines{"One-Hidden (26.101.4) 61726374616e67656e74", "Extended-Hidden (241.5) 61726374616e67656e74",
               "Long-Hidden (245.3) 61726374616e67656e74"}));
}

TEST(LoadHidden, RevealsATaggedNumber) {
    EXPECT_EQ(lines_of("bf 15 05 8102 89ae6b978e0a7bee559c41491c97da77", secret),
              (Lines{"Hidden-Number (191) #5:01020304"}));
}

TEST(LoadHidden, LeavesValuesOfAnUnknownMethodAlone) {
    EXPECT_EQ(lines_of("c0 05 616263", secret), (Lines{"Unhidden-Octets (192) 616263"}));
}

// ----------------------------------------------------------------------------------------- hostile datagrams

TEST(LoadHostile, SurvivesEveryCutOfAPacketOfEveryKind) {
    const std::string attributes = digits(
        "01 03 61  40 06 01 000006  4f 03 61  4f 03 62"
        "1a 0a 00000065 01 04 6162  1a 0e 00000065 03 08 01 06 00000005"
        "1a 0c 00000066 0102 0006 6162  1a 10 00000067 01020304 0000000a 6162"
        "1a0a00000068 010480 61  1a0a00000068 010400 62"
        "f1 08 02 02 05 01 03 61  f1 0a 1a 00000065 01 6162"
        "f5 05 01 80 61  f5 05 01 00 62  f5 0b 1a 00 00000065 01 6162");
    const Bytes whole = datagram(ACCESS_ACCEPT, attributes);
    std::size_t decoded = 0;
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const Bytes bytes = with_length(cut(whole, std::max<std::size_t>(size, 4)), size);
        const std::string error = error_of(cut(bytes, size));
        if (size < 20) {
            EXPECT_EQ(error, "pkt_load: malformed packet");
        } else if (error != "nothing thrown") {
            EXPECT_TRUE(error == "pkt_load: malformed attribute" ||
                        error == "pkt_load: invalid attribute length")
                << size << ": " << error;
        } else {
            ++decoded;
        }
    }
    EXPECT_EQ(decoded, 16U);  // before each attribute, and the whole
}

TEST(LoadHostile, NeverReadsOutsideTheDatagramWhateverOneByteSays) {
    const Bytes whole = datagram(
        ACCESS_ACCEPT,
        "1a 15 00000065 03 0f 01 06 00000005 02 05 05 03 61 00 00"
        "1a 0c 00000066 0102 0006 6162  1a0a00000068 010480 61  1a0a00000068 010400 62"
        "f1 08 02 02 05 01 03 61  f1 0a 1a 00000065 01 6162  f5 05 01 80 61  f5 0b 1a 00 00000065 01 6162");
    std::size_t refused = 0;
    for (std::size_t position = 0; position < whole.size(); ++position) {
        const std::uint8_t original = whole[position];
        for (const int value :
             {0, 1, 2, 3, 26, 80, 127, 128, 241, 245, 254, 255, original - 1, original + 1}) {
            Bytes bytes = whole;
            bytes[position] = static_cast<std::uint8_t>(value);
            // A heap block of exactly this size, so that a sanitizer sees the first byte read beyond it.
            const std::unique_ptr<std::uint8_t[]> block(new std::uint8_t[bytes.size()]);
            std::copy(bytes.begin(), bytes.end(), block.get());
            RadiusPacket packet(codec_dictionary());
            try {
                pkt_load(packet, block.get(), bytes.size(), secret);
                EXPECT_EQ(packet.raw, bytes);
            } catch (const std::runtime_error& error) {
                const std::string text = error.what();
                EXPECT_TRUE(text == "pkt_load: invalid packet length" ||
                            text == "pkt_load: invalid attribute length" ||
                            text == "pkt_load: malformed attribute")
                    << text;
                ++refused;
            }
        }
    }
    EXPECT_GT(refused, 0U);
}

}  // namespace
}  // namespace quarn::subscriber::radius
