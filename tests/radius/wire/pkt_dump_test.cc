#include "quarn/radius/pkt_dump.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "quarn/radius/hiding.h"
#include "quarn/radius/packet_code.h"
#include "testing/codec_dictionary.h"
#include "testing/fixed_random.h"
#include "testing/wire.h"

namespace quarn::subscriber::radius {
namespace {

using test::add_unknown;
using test::add_value;
using test::attribute_digits_of;
using test::codec_dictionary;
using test::digits;
using test::hex;
using test::Issues;
using test::pattern;
using test::repeat;
using test::to_hex;

constexpr std::string_view secret = "xyzzy5461";

RadiusPacket new_packet(std::uint8_t code = ACCESS_REQUEST) {
    return test::new_packet(codec_dictionary(), code);
}

struct Dumped {
    Bytes wire;
    Issues issues;
};

Dumped dump(const RadiusPacket& packet, std::string_view with_secret = "") {
    Dumped result;
    result.wire = pkt_dump(packet, with_secret, result.issues);
    return result;
}

/// The wire form of a packet that can be encoded without an issue.
Bytes wire_of(const RadiusPacket& packet, std::string_view with_secret = "") {
    Dumped result = dump(packet, with_secret);
    EXPECT_EQ(result.issues, Issues());
    return std::move(result.wire);
}

/// The attributes that carry one value, as digits.
std::string framed(std::string_view name, Bytes data, std::uint8_t tag = 0) {
    RadiusPacket packet = new_packet();
    add_value(packet, name, std::move(data), tag);
    return attribute_digits_of(wire_of(packet));
}

std::string framed_at(CodePath path, Bytes data, test::SharedDictionary dictionary = codec_dictionary()) {
    RadiusPacket packet = test::new_packet(std::move(dictionary), ACCESS_REQUEST);
    add_unknown(packet, std::move(path), std::move(data));
    return attribute_digits_of(wire_of(packet));
}

/// The attributes that carry what of a value can be carried; the one issue must be its truncation.
std::string truncated(std::string_view name, Bytes data, std::uint8_t tag = 0) {
    RadiusPacket packet = new_packet();
    add_value(packet, name, std::move(data), tag);
    const Dumped result = dump(packet);
    EXPECT_EQ(result.issues, (Issues{{"value truncated on the wire", std::string(name), ""}}));
    return attribute_digits_of(result.wire);
}

/// Some bytes of `pattern`, as digits.
std::string part(std::size_t first, std::size_t count) {
    return test::hex_part(pattern(first + count), first, count);
}

template <typename Work>
std::string runtime_error_of(Work work) {
    try {
        work();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

// ---------------------------------------------------------------------------------------------- the header

TEST(DumpHeader, IsCodeIdentifierLengthAndAuthenticator) {
    RadiusPacket packet = new_packet();
    packet.identifier = 0xfe;
    EXPECT_EQ(to_hex(wire_of(packet)), digits("01 fe 0014 101112131415161718191a1b1c1d1e1f"));
}

TEST(DumpHeader, OfANewPacketIsAllZeroButForTheLength) {
    EXPECT_EQ(to_hex(wire_of(RadiusPacket())), digits("00 00 0014 00000000000000000000000000000000"));
}

TEST(DumpHeader, CountsEveryByteInTheLength) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Class", pattern(253));
    add_value(packet, "Class", pattern(253));
    EXPECT_EQ(test::hex_part(wire_of(packet), 2, 2), digits("0212"));  // 20 + 2 * 255
}

TEST(DumpHeader, KeepsTheLow16BitsOfALengthThatIsTooLarge) {
    RadiusPacket packet = new_packet();
    for (int i = 0; i < 257; ++i) {
        add_value(packet, "Class", pattern(253));
    }
    const Bytes wire = wire_of(packet);
    EXPECT_EQ(wire.size(), 20 + 257 * 255U);
    EXPECT_EQ(test::hex_part(wire, 2, 2), digits("0013"));  // 65555 - 65536
}

TEST(Dump, LeavesEarlierIssuesInTheList) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Class", pattern(254));
    Issues issues = {{"an earlier one", "a", "b"}};
    pkt_dump(packet, "", issues);
    EXPECT_EQ(issues, (Issues{{"an earlier one", "a", "b"}, {"value truncated on the wire", "Class", ""}}));
}

TEST(Dump, WritesAttributesInTheirOrderAndTheValuesOfEachSideBySide) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("Reply-Message", "a");
    packet.add_attribute("NAS-Port", "3");
    packet.add_attribute("Reply-Message", "b");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)), digits("12 03 61  12 03 62  05 06 00000003"));
}

TEST(Dump, WritesNothingForAnAttributeWithoutValues) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("NAS-Port", "no number");
    packet.add_attribute("User-Name", "a");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)), digits("01 03 61"));
}

// ----------------------------------------------------------------------------------------- plain attributes

TEST(DumpPlain, IsTypeLengthAndValue) {
    EXPECT_EQ(framed("User-Name", hex("61 62")), digits("01 04 61 62"));
}

TEST(DumpPlain, HasLength2WithoutAValue) {
    EXPECT_EQ(framed("User-Name", {}), digits("01 02"));
}

TEST(DumpPlain, Holds253Bytes) {
    EXPECT_EQ(framed("Class", pattern(253)), "19ff" + part(0, 253));
}

TEST(DumpPlain, IsTruncatedTo253Bytes) {
    EXPECT_EQ(truncated("Class", pattern(254)), "19ff" + part(0, 253));
    EXPECT_EQ(truncated("Class", pattern(300)), "19ff" + part(0, 253));
}

TEST(DumpPlain, IsNamedInItsIssueByItsOwnNameWhereNoDictionaryNamesIt) {
    RadiusPacket packet = new_packet();
    add_unknown(packet, {222}, pattern(254));
    add_unknown(packet, {223}, pattern(254), "Given-Name");
    EXPECT_EQ(dump(packet).issues, (Issues{{"value truncated on the wire", "attr-222", ""},
                                           {"value truncated on the wire", "Given-Name", ""}}));
}

TEST(DumpPlain, OfAConcatAttributeIsSplitAt253Bytes) {
    EXPECT_EQ(framed("EAP-Message", pattern(253)), "4fff" + part(0, 253));
    EXPECT_EQ(framed("EAP-Message", pattern(254)), "4fff" + part(0, 253) + "4f03" + part(253, 1));
    EXPECT_EQ(framed("EAP-Message", pattern(300)), "4fff" + part(0, 253) + "4f31" + part(253, 47));
    EXPECT_EQ(framed("EAP-Message", pattern(506)), "4fff" + part(0, 253) + "4fff" + part(253, 253));
    EXPECT_EQ(framed("EAP-Message", pattern(507)),
              "4fff" + part(0, 253) + "4fff" + part(253, 253) + "4f03" + part(506, 1));
}

TEST(DumpPlain, OfAVendorWithContinuationIsSplitToo) {
    EXPECT_EQ(framed("Continued-Plain", pattern(254)), "d2ff" + part(0, 253) + "d203" + part(253, 1));
}

TEST(DumpPlain, IsTruncatedWhereNoDictionaryIsAttachedWhateverItsRecordSays) {
    RadiusPacket packet = new_packet();
    add_value(packet, "EAP-Message", pattern(300));
    const auto keeps_the_record_alive = packet.dictionary;
    packet.dictionary = nullptr;
    const Dumped result = dump(packet);
    EXPECT_EQ(attribute_digits_of(result.wire), "4fff" + part(0, 253));
    EXPECT_EQ(result.issues, (Issues{{"value truncated on the wire", "EAP-Message", ""}}));
}

TEST(DumpPlain, ServesTypesThatNoDictionaryDefines) {
    EXPECT_EQ(framed_at({222}, hex("61")), digits("de 03 61"));
    EXPECT_EQ(framed_at({222}, hex("61"), nullptr), digits("de 03 61"));
    EXPECT_EQ(framed_at({0}, hex("61")), digits("00 03 61"));
    EXPECT_EQ(framed_at({255}, hex("61")), digits("ff 03 61"));
}

TEST(DumpPlain, HasType0WhereThePathIsEmpty) {
    EXPECT_EQ(framed("Codeless", hex("61")), digits("00 03 61"));
}

TEST(DumpPlain, TakesNoMoreOfAPathThanItsFirstElement) {
    EXPECT_EQ(framed_at({222, 1, 2}, hex("61")), digits("de 03 61"));
    EXPECT_EQ(framed_at({1, 2}, hex("61")), digits("01 03 61"));
    EXPECT_EQ(framed_at({199, 1}, hex("61"), nullptr), digits("c7 03 61"));
}

TEST(DumpPlain, OfTypeTlvWrapsTheRestOfThePathInTlvs) {
    EXPECT_EQ(framed("Tlv-Top-Number", hex("00000005")), digits("c7 08  01 06 00000005"));
    EXPECT_EQ(framed_at({199, 2, 3}, hex("61")), digits("c7 07  02 05  03 03 61"));
    EXPECT_EQ(framed("Tlv-Top", hex("01 03 61")), digits("c7 05  01 03 61"));
}

TEST(DumpPlain, OfTypeTlvTruncatesTlvsThatDoNotFit) {
    EXPECT_EQ(framed("Tlv-Top-Number", pattern(251)), digits("c7ff 01fd") + part(0, 251));
    EXPECT_EQ(truncated("Tlv-Top-Number", pattern(252)), digits("c7ff 01fe") + part(0, 251));
}

TEST(DumpPlain, OfTypeTlvDoesNotSplitATlvThatIsItselfConcat) {
    // A reader would take each piece for a list of TLVs.
    EXPECT_EQ(truncated("Tlv-Top-Concat", pattern(252)), digits("c7ff 02fe") + part(0, 251));
}

TEST(DumpPlain, OfTypeTlvIsSplitWhereTheWholeListIsConcat) {
    EXPECT_EQ(framed("Tlv-Concat-Octets", pattern(252)),
              digits("c8ff 01fe") + part(0, 251) + "c803" + part(251, 1));
}

// -------------------------------------------------------------------------------------------------- tags

TEST(DumpTag, TakesThePlaceOfTheFirstByteOfANumber) {
    EXPECT_EQ(framed("Tunnel-Type", hex("00000006"), 1), digits("40 06 01 000006"));
    EXPECT_EQ(framed("Tunnel-Type", hex("00000006"), 0), digits("40 06 00 000006"));
    EXPECT_EQ(framed("Tunnel-Type", hex("ff000006"), 255), digits("40 06 ff 000006"));
    EXPECT_EQ(framed("Tagged-Short", hex("1234"), 1), digits("c2 04 01 34"));
    EXPECT_EQ(framed("Tagged-Integer64", hex("0102030405060708"), 1), digits("c3 0a 01 02030405060708"));
}

TEST(DumpTag, PrecedesANumberOfOneByte) {
    EXPECT_EQ(framed("Tagged-Byte", hex("05"), 1), digits("c1 04 01 05"));
}

TEST(DumpTag, PrecedesANumberOfAWidthThatIsNotItsOwn) {
    EXPECT_EQ(framed("Tunnel-Type", hex("000006"), 1), digits("40 06 01 000006"));
    EXPECT_EQ(framed("Tunnel-Type", hex("0000000006"), 1), digits("40 08 01 0000000006"));
    EXPECT_EQ(framed("Tunnel-Type", {}, 1), digits("40 03 01"));
}

TEST(DumpTag, PrecedesAText) {
    EXPECT_EQ(framed("Tunnel-Client-Endpoint", hex("61 62"), 1), digits("42 05 01 61 62"));
    EXPECT_EQ(framed("Tunnel-Client-Endpoint", {}, 31), digits("42 03 1f"));
}

TEST(DumpTag, TakesRoomFromTheValue) {
    EXPECT_EQ(framed("Tunnel-Client-Endpoint", pattern(252), 1), "42ff01" + part(0, 252));
    EXPECT_EQ(truncated("Tunnel-Client-Endpoint", pattern(253), 1), "42ff01" + part(0, 252));
}

TEST(DumpTag, StandsOnceBeforeAValueThatIsSplit) {
    EXPECT_EQ(framed("Tagged-Concat", pattern(300), 5), "c4ff05" + part(0, 252) + "c432" + part(252, 48));
}

TEST(DumpTag, StandsInsideVendorAndExtendedAttributes) {
    EXPECT_EQ(framed("One-Tagged", hex("00000005"), 1), digits("1a 0c 00000065  06 06 01 000005"));
    EXPECT_EQ(framed("Extended-Tagged", hex("00000005"), 1), digits("f1 07 04 01 000005"));
    EXPECT_EQ(framed("Long-Tagged", hex("61"), 1), digits("f5 06 04 00 01 61"));
}

/// A value of type text with a tag, and one without.
std::string framed_pair(bool first_tagged, bool second_tagged) {
    RadiusPacket packet = new_packet();
    const AttributeMetadata& record = packet.dictionary->attribute_by_name("Tunnel-Client-Endpoint");
    RadiusAttribute attribute(record, record.code, "");
    attribute.values.emplace_back(record.type, hex("61"), std::uint8_t{1}, first_tagged);
    attribute.values.emplace_back(record.type, hex("62"), std::uint8_t{2}, second_tagged);
    packet.add_attribute(std::move(attribute));
    return attribute_digits_of(wire_of(packet));
}

TEST(DumpTag, IsWrittenForAllValuesOrNoneAsTheFirstOneSays) {
    EXPECT_EQ(framed_pair(true, false), digits("42 04 01 61  42 04 02 62"));
    EXPECT_EQ(framed_pair(false, true), digits("42 03 61  42 03 62"));
}

// ---------------------------------------------------------------------------------------- Vendor-Specific

TEST(DumpVendorSpecific, OfFormat11) {
    EXPECT_EQ(framed("One-Text", hex("61 62")), digits("1a 0a 00000065  01 04 61 62"));
}

TEST(DumpVendorSpecific, OfFormat22) {
    EXPECT_EQ(framed("Two-Text", hex("61 62")), digits("1a 0c 00000066  0102 0006 61 62"));
}

TEST(DumpVendorSpecific, OfFormat44) {
    EXPECT_EQ(framed("Four-Text", hex("61 62")), digits("1a 10 00000067  01020304 0000000a 61 62"));
}

TEST(DumpVendorSpecific, OfFormat11C) {
    EXPECT_EQ(framed("Continued-Octets", hex("61 62")), digits("1a 0b 00000068  01 05 00 61 62"));
}

TEST(DumpVendorSpecific, OfFormat21) {
    EXPECT_EQ(framed("Long-Type-Text", hex("61 62")), digits("1a 0b 00000069  0203 05 61 62"));
}

TEST(DumpVendorSpecific, OfAnUnknownVendorIsFormat11) {
    // 429 is known for a 4-byte type without a length, which no dictionary can define: it stays unknown.
    EXPECT_EQ(framed_at({26, 429, 7}, hex("61")), digits("1a 09 000001ad  07 03 61"));
    EXPECT_EQ(framed_at({26, 0xffffffff, 255}, hex("61")), digits("1a 09 ffffffff  ff 03 61"));
}

TEST(DumpVendorSpecific, KeepsTheLowBytesOfATypeThatIsTooLarge) {
    EXPECT_EQ(framed_at({26, 429, 0x0102}, hex("61")), digits("1a 09 000001ad  02 03 61"));
    EXPECT_EQ(framed_at({26, 102, 0x01020304}, hex("61")), digits("1a 0b 00000066  0304 0005 61"));
}

TEST(DumpVendorSpecific, IsWrittenWithoutAnyDictionary) {
    EXPECT_EQ(framed_at({26, 102, 7}, hex("61"), nullptr), digits("1a 09 00000066  07 03 61"));
}

TEST(DumpVendorSpecific, IsWrittenWhereTheDictionaryLacksType26) {
    EXPECT_EQ(framed_at({26, 9, 7}, hex("61"), std::make_shared<RadiusDictionary>()),
              digits("1a 09 00000009  07 03 61"));
}

TEST(DumpVendorSpecific, IsPlainWhereTheDictionaryDefinesType26AsOctets) {
    EXPECT_EQ(framed_at({26, 9, 7}, hex("61"), test::dictionary_without_vendor_specific()),
              digits("1a 03 61"));
}

TEST(DumpVendorSpecific, IsPlainWhereThePathNamesNoVendorAttribute) {
    EXPECT_EQ(framed("Vendor-Specific", hex("00000065 01 03 61")), digits("1a 09 00000065 01 03 61"));
    EXPECT_EQ(framed_at({26, 101}, hex("61")), digits("1a 03 61"));
}

TEST(DumpVendorSpecific, MayBeEmpty) {
    EXPECT_EQ(framed("One-Text", {}), digits("1a 08 00000065  01 02"));
    EXPECT_EQ(framed("Two-Text", {}), digits("1a 0a 00000066  0102 0004"));
    EXPECT_EQ(framed("Continued-Octets", {}), digits("1a 09 00000068  01 03 00"));
}

TEST(DumpVendorSpecific, NeverHoldsTwoAttributesOfTheVendor) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("One-Text", "a");
    packet.add_attribute("One-Text", "b");
    packet.add_attribute("One-Number", "5");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)),
              digits("1a 09 00000065 01 03 61  1a 09 00000065 01 03 62  1a 0c 00000065 02 06 00000005"));
}

TEST(DumpVendorSpecific, WrapsTheRestOfThePathInTlvs) {
    EXPECT_EQ(framed("One-Tlv-Number", hex("00000005")), digits("1a 0e 00000065  03 08  01 06 00000005"));
    EXPECT_EQ(framed("One-Tlv-Tlv-Text", hex("61")), digits("1a 0d 00000065  03 07  02 05  05 03 61"));
}

TEST(DumpVendorSpecific, IsFilledUpAndThenSplitIntoCompleteAttributes) {
    EXPECT_EQ(framed("One-Text", pattern(247)), digits("1aff00000065 01f9") + part(0, 247));
    EXPECT_EQ(framed("One-Text", pattern(248)),
              digits("1aff00000065 01f9") + part(0, 247) + digits("1a0900000065 0103") + part(247, 1));
    EXPECT_EQ(framed("Two-Text", pattern(246)), digits("1aff00000066 0102 00f9") + part(0, 245) +
                                                    digits("1a0b00000066 0102 0005") + part(245, 1));
    EXPECT_EQ(framed("Four-Text", pattern(242)), digits("1aff00000067 01020304 000000f9") + part(0, 241) +
                                                     digits("1a0f00000067 01020304 00000009") + part(241, 1));
    EXPECT_EQ(framed("Long-Type-Text", pattern(247)),
              digits("1aff00000069 0203 f9") + part(0, 246) + digits("1a0a00000069 0203 04") + part(246, 1));
}

TEST(DumpVendorSpecific, WithContinuationMarksEveryFragmentButTheLast) {
    EXPECT_EQ(framed("Continued-Octets", pattern(246)), digits("1aff00000068 01f900") + part(0, 246));
    EXPECT_EQ(framed("Continued-Octets", pattern(247)),
              digits("1aff00000068 01f980") + part(0, 246) + digits("1a0a00000068 010400") + part(246, 1));
    EXPECT_EQ(framed("Continued-Octets", pattern(300)),
              digits("1aff00000068 01f980") + part(0, 246) + digits("1a3f00000068 013900") + part(246, 54));
    EXPECT_EQ(framed("Continued-Octets", pattern(500)), digits("1aff00000068 01f980") + part(0, 246) +
                                                            digits("1aff00000068 01f980") + part(246, 246) +
                                                            digits("1a1100000068 010b00") + part(492, 8));
}

TEST(DumpVendorSpecific, TruncatesNestedTlvsThatDoNotFit) {
    // The headers of the TLVs still tell the sizes that they had: 244 + 2 and that + 2.
    EXPECT_EQ(framed("One-Tlv-Tlv-Text", pattern(243)), digits("1aff00000065 03f9 02f7 05f5") + part(0, 243));
    EXPECT_EQ(truncated("One-Tlv-Tlv-Text", pattern(244)),
              digits("1aff00000065 03f9 02f8 05f6") + part(0, 243));
}

TEST(DumpVendorSpecific, WithContinuationSplitsNestedTlvs) {
    EXPECT_EQ(framed("Continued-Tlv-Octets", pattern(244)),
              digits("1aff00000068 03f900 01f6") + part(0, 244));
    EXPECT_EQ(
        framed("Continued-Tlv-Octets", pattern(245)),
        digits("1aff00000068 03f980 01f7") + part(0, 244) + digits("1a0a00000068 030400") + part(244, 1));
}

TEST(DumpVendorSpecific, KeepsTheLow8BitsOfTheSizeAndTypeOfANestedTlv) {
    EXPECT_EQ(
        framed("Continued-Tlv-Octets", pattern(300)),
        digits("1aff00000068 03f980 012e") + part(0, 244) + digits("1a4100000068 033b00") + part(244, 56));
    EXPECT_EQ(framed_at({26, 101, 3, 0x0105}, hex("61")), digits("1a0b00000065 0305 050361"));
}

// ------------------------------------------------------------------------------ extended and long-extended

TEST(DumpExtended, HasItsExtendedTypeBeforeTheValue) {
    EXPECT_EQ(framed("Extended-Text", hex("61 62")), digits("f1 05 01 61 62"));
    EXPECT_EQ(framed("Extended-Text", {}), digits("f1 03 01"));
}

TEST(DumpExtended, IsFilledUpAndThenSplitIntoCompleteAttributes) {
    EXPECT_EQ(framed("Extended-Text", pattern(252)), "f1ff01" + part(0, 252));
    EXPECT_EQ(framed("Extended-Text", pattern(253)), "f1ff01" + part(0, 252) + "f10401" + part(252, 1));
}

TEST(DumpExtended, WrapsTheRestOfThePathInTlvs) {
    EXPECT_EQ(framed("Extended-Tlv-Number", hex("00000005")), digits("f1 09 02  01 06 00000005"));
    EXPECT_EQ(framed("Extended-Tlv-Tlv-Text", hex("61")), digits("f1 08 02  02 05  01 03 61"));
}

TEST(DumpExtended, TruncatesNestedTlvsThatDoNotFit) {
    EXPECT_EQ(framed("Extended-Tlv-Tlv-Text", pattern(248)), digits("f1ff02 02fc 01fa") + part(0, 248));
    EXPECT_EQ(truncated("Extended-Tlv-Tlv-Text", pattern(249)), digits("f1ff02 02fd 01fb") + part(0, 248));
}

TEST(DumpExtended, IsTheShortFormForTypesThatNoDictionaryDefines) {
    for (std::uint32_t type = 241; type <= 246; ++type) {
        const Bytes first = {static_cast<std::uint8_t>(type)};
        EXPECT_EQ(framed_at({type, 5}, hex("61"), nullptr), to_hex(first) + digits("04 05 61"));
        EXPECT_EQ(framed_at({type, 5}, hex("61"), std::make_shared<RadiusDictionary>()),
                  to_hex(first) + digits("04 05 61"));
    }
    EXPECT_EQ(framed_at({242, 5}, hex("61")), digits("f2 04 05 61"));
    EXPECT_EQ(framed_at({246, 5}, hex("61")), digits("f6 04 05 61"));
}

TEST(DumpExtended, IsPlainForNeighbouringTypes) {
    EXPECT_EQ(framed_at({240, 5}, hex("61")), digits("f0 03 61"));
    EXPECT_EQ(framed_at({247, 5}, hex("61")), digits("f7 03 61"));
}

TEST(DumpExtended, IsPlainWhereThePathHasNoExtendedType) {
    EXPECT_EQ(framed("Extended-1", hex("01 61")), digits("f1 04 01 61"));
    EXPECT_EQ(framed_at({242}, hex("61")), digits("f2 03 61"));
}

TEST(DumpExtended, IsPlainWhereTheDictionaryDefinesTheTypeAsOctets) {
    EXPECT_EQ(framed_at({241, 5}, hex("61"), test::dictionary_without_vendor_specific()), digits("f1 03 61"));
}

TEST(DumpExtendedVendor, HasVendorAndVendorTypeBeforeTheValue) {
    EXPECT_EQ(framed("Extended-Vendor-Text", hex("61 62")), digits("f1 0a 1a 00000065 01 61 62"));
    EXPECT_EQ(framed_at({242, 26, 0xfffffffe, 255}, hex("61")), digits("f2 09 1a fffffffe ff 61"));
}

TEST(DumpExtendedVendor, IsFilledUpAndThenSplitIntoCompleteAttributes) {
    EXPECT_EQ(framed("Extended-Vendor-Text", pattern(247)), digits("f1ff1a00000065 01") + part(0, 247));
    EXPECT_EQ(framed("Extended-Vendor-Text", pattern(248)),
              digits("f1ff1a00000065 01") + part(0, 247) + digits("f1091a00000065 01") + part(247, 1));
}

TEST(DumpExtendedVendor, WrapsTheRestOfThePathInTlvs) {
    EXPECT_EQ(framed("Extended-Vendor-Tlv-Number", hex("00000005")),
              digits("f1 0e 1a 00000065 02  01 06 00000005"));
}

TEST(DumpExtendedVendor, TruncatesNestedTlvsThatDoNotFit) {
    EXPECT_EQ(framed("Extended-Vendor-Tlv-Number", pattern(245)),
              digits("f1ff1a00000065 02 01f7") + part(0, 245));
    EXPECT_EQ(truncated("Extended-Vendor-Tlv-Number", pattern(246)),
              digits("f1ff1a00000065 02 01f8") + part(0, 245));
}

TEST(DumpExtendedVendor, IsAnOrdinaryExtendedType26WhereThePathIsTooShort) {
    EXPECT_EQ(framed_at({241, 26}, hex("61")), digits("f1 04 1a 61"));
    EXPECT_EQ(framed_at({241, 26, 9}, hex("61")), digits("f1 06 1a  09 03 61"));
}

TEST(DumpLongExtended, HasExtendedTypeAndFlagsBeforeTheValue) {
    EXPECT_EQ(framed("Long-Octets", hex("61 62")), digits("f5 06 01 00 61 62"));
    EXPECT_EQ(framed("Long-Octets", {}), digits("f5 04 01 00"));
}

TEST(DumpLongExtended, MarksEveryFragmentButTheLast) {
    EXPECT_EQ(framed("Long-Octets", pattern(251)), "f5ff0100" + part(0, 251));
    EXPECT_EQ(framed("Long-Octets", pattern(252)), "f5ff0180" + part(0, 251) + "f5050100" + part(251, 1));
    EXPECT_EQ(framed("Long-Octets", pattern(600)),
              "f5ff0180" + part(0, 251) + "f5ff0180" + part(251, 251) + "f5660100" + part(502, 98));
}

TEST(DumpLongExtended, WrapsAndSplitsNestedTlvs) {
    EXPECT_EQ(framed("Long-Tlv-Octets", hex("61")), digits("f5 07 02 00  01 03 61"));
    EXPECT_EQ(framed("Long-Tlv-Octets", pattern(250)),
              digits("f5ff0280 01fc") + part(0, 249) + digits("f5050200") + part(249, 1));
}

TEST(DumpLongExtendedVendor, HasTheFlagsBeforeTheVendor) {
    EXPECT_EQ(framed("Long-Vendor-Octets", hex("61 62")), digits("f5 0b 1a 00 00000065 01 61 62"));
    EXPECT_EQ(framed("Long-Vendor-Tlv-Number", hex("00000005")),
              digits("f5 0f 1a 00 00000065 02  01 06 00000005"));
}

TEST(DumpLongExtendedVendor, RepeatsTheVendorInEveryFragment) {
    EXPECT_EQ(framed("Long-Vendor-Octets", pattern(246)), digits("f5ff1a0000000065 01") + part(0, 246));
    EXPECT_EQ(framed("Long-Vendor-Octets", pattern(500)), digits("f5ff1a8000000065 01") + part(0, 246) +
                                                              digits("f5ff1a8000000065 01") + part(246, 246) +
                                                              digits("f5111a0000000065 01") + part(492, 8));
}

// ------------------------------------------------------------------------------------------------- hiding

TEST(DumpHidden, HidesAUserPasswordWithThePacketsAuthenticator) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Password", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 af2741ea86c71740aa48394cc64b61d7"));
}

TEST(DumpHidden, SendsEverythingInClearWithoutASecret) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Password", "arctangent");
    packet.add_attribute("Tunnel-Password", "hello");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)),
              digits("02 0c 61726374616e67656e74  45 08 00 68656c6c6f"));
}

TEST(DumpHidden, HidesAnEmptyUserPasswordInABlock) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Password", "");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 ce55229ee7a97025c43c394cc64b61d7"));
}

TEST(DumpHidden, HidesWithTheRandomAuthenticatorOfAnAccessRequest) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    packet.add_attribute("User-Password", "arctangent");
    const test::FixedRandom random(0x01);
    EXPECT_EQ(to_hex(wire_of(packet, secret)),
              digits("01 07 0026 0102030405060708090a0b0c0d0e0f10  02 12 dc09955fba07f30ec35150888c30d173"));
}

TEST(DumpHidden, HidesInAnAccountingRequestWithAZeroAuthenticator) {
    RadiusPacket packet = new_packet(ACCOUNTING_REQUEST);
    packet.add_attribute("User-Password", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 7c3fc14b73fe2c4bf6e12cb37f163fb1"));
}

TEST(DumpHidden, HidesInAReplyWithTheRequestsAuthenticator) {
    RadiusPacket packet = new_packet(ACCESS_ACCEPT);
    packet.request_authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
    packet.add_attribute("User-Password", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 0dbe708d93d413ce3196e43f782a0aee"));
}

TEST(DumpHidden, PutsTheTagOfATunnelPasswordBeforeItsSalt) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Tunnel-Password", hex("68656c6c6f"), 3);
    const test::FixedRandom random(0x01);
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("45 15 03 8102 88c70cf8e6657bee559c41491c97da77"));
}

TEST(DumpHidden, DrawsASaltForEachValue) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Hidden-Octets", hex("61"));
    add_value(packet, "Hidden-Octets", hex("61"));
    const test::FixedRandom random(0x81);
    const Bytes wire = wire_of(packet, secret);
    EXPECT_EQ(test::hex_part(wire, 20, 4), digits("be 14 8182"));
    EXPECT_EQ(test::hex_part(wire, 40, 4), digits("be 14 8384"));
    EXPECT_NE(test::hex_part(wire, 24, 16), test::hex_part(wire, 44, 16));
}

TEST(DumpHidden, HidesVendorAndExtendedValuesBeforeTheyAreFramed) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("One-Hidden", "arctangent");
    packet.add_attribute("Extended-Hidden", "arctangent");
    packet.add_attribute("Long-Hidden", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("1a 18 00000065 04 12 af2741ea86c71740aa48394cc64b61d7  f1 13 05 "
                     "af2741ea86c71740aa48394cc64b61d7  f5 14 03 00 af2741ea86c71740aa48394cc64b61d7"));
}

TEST(DumpHidden, SplitsAfterHiding) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Hidden-Concat", pattern(300));
    const test::FixedRandom random(0x01);
    const Bytes wire = wire_of(packet, secret);
    // Salt, length byte and 300 bytes, padded to 304: 306 bytes in two attributes.
    EXPECT_EQ(wire.size(), 20 + 2 + 253 + 2 + 53U);
    EXPECT_EQ(test::hex_part(wire, 20, 4), digits("c5 ff 8102"));
    EXPECT_EQ(test::hex_part(wire, 275, 2), digits("c5 37"));
    const Bytes cipher =
        test::joined({{wire.begin() + 22, wire.begin() + 275}, {wire.begin() + 277, wire.end()}});
    EXPECT_EQ(utils::to_bytes(decrypt_tunnel_password(cipher, secret, packet.authenticator)),
              pattern(300 - 256));
}

TEST(DumpHidden, TruncatesAUserPasswordThatIsTooLongOnceHidden) {
    RadiusPacket packet = new_packet();
    add_value(packet, "User-Password", pattern(240));
    EXPECT_EQ(wire_of(packet, secret).size(), 20 + 242U);

    packet.set_attribute("User-Password", std::string(241, 'a'));
    const Dumped result = dump(packet, secret);
    EXPECT_EQ(result.issues, (Issues{{"value truncated on the wire", "User-Password", ""}}));
    EXPECT_EQ(result.wire.size(), 20 + 255U);
    const Bytes cipher = encrypt_user_password(Bytes(241, 'a'), secret, packet.authenticator);
    EXPECT_EQ(attribute_digits_of(result.wire), "02ff" + test::hex_part(cipher, 0, 253));
}

TEST(DumpHidden, KeepsATaggedNumberWholeWhereItIsHidden) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Hidden-Number", hex("01020304"), 5);
    const test::FixedRandom random(0x01);
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("bf 15 05 8102 89ae6b978e0a7bee559c41491c97da77"));
}

TEST(DumpHidden, DoesNotHideByAnUnknownMethod) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("Unhidden-Octets", "abc");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("c0 05 616263"));
}

TEST(Dump, FailsWithoutRandomBytesForAnAuthenticator) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    const test::NoRandom none;
    EXPECT_EQ(runtime_error_of([&] { dump(packet, secret); }),
              "random_authenticator: RAND_bytes failed (CSPRNG unavailable)");
    EXPECT_EQ(to_hex(wire_of(packet)), digits("01 07 0014 00000000000000000000000000000000"));
}

TEST(Dump, FailsWithoutRandomBytesForASalt) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("Tunnel-Password", "hello");
    const test::NoRandom none;
    EXPECT_EQ(runtime_error_of([&] { dump(packet, secret); }),
              "random_salt: RAND_bytes failed (CSPRNG unavailable)");
}

// --------------------------------------------------------------------------------- Message-Authenticator

TEST(DumpMessageAuthenticator, Is18BytesWhateverItsValue) {
    for (const Bytes& value : {Bytes(), Bytes(16), hex("01"), pattern(16), pattern(20), pattern(300)}) {
        RadiusPacket packet = new_packet();
        add_value(packet, "Message-Authenticator", value);
        EXPECT_EQ(attribute_digits_of(wire_of(packet)), "5012" + repeat("00", 16));
    }
}

TEST(DumpMessageAuthenticator, StaysZeroWithoutASecret) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    packet.add_attribute("Message-Authenticator", std::string(16, '\0'));
    EXPECT_EQ(attribute_digits_of(wire_of(packet)), digits("01 06 6e656d6f  50 12") + repeat("00", 16));
}

TEST(DumpMessageAuthenticator, IsNeverAddedByTheEncoder) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("01 06 6e656d6f"));
}

TEST(DumpMessageAuthenticator, WithoutAValueIsNotWritten) {
    RadiusPacket packet = new_packet();
    const AttributeMetadata& record = packet.dictionary->attribute_by_name("Message-Authenticator");
    packet.add_attribute(RadiusAttribute(record, record.code, ""));
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), "");
}

TEST(DumpMessageAuthenticator, CoversTheWholeAccessRequestAtItsPlaceInTheOrder) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    packet.add_attribute("Message-Authenticator", std::string(16, '\0'));
    packet.add_attribute("NAS-Port", "3");
    EXPECT_EQ(to_hex(wire_of(packet, secret)),
              digits("01 07 0032 101112131415161718191a1b1c1d1e1f"
                     "01 06 6e656d6f  50 12 665b847fdaef2c231dbfadb6b8a8d999  05 06 00000003"));
}

TEST(DumpMessageAuthenticator, IsComputedOverZeroBytesWhateverItsValue) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    add_value(packet, "Message-Authenticator", pattern(20));
    packet.add_attribute("NAS-Port", "3");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("01 06 6e656d6f  50 12 665b847fdaef2c231dbfadb6b8a8d999  05 06 00000003"));
}

TEST(DumpMessageAuthenticator, IsFilledInWithoutADictionary) {
    RadiusPacket packet = test::new_packet(nullptr, ACCESS_REQUEST);
    add_unknown(packet, {1}, hex("6e656d6f"));
    add_unknown(packet, {80}, Bytes(16));
    add_unknown(packet, {5}, hex("00000003"));
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("01 06 6e656d6f  50 12 665b847fdaef2c231dbfadb6b8a8d999  05 06 00000003"));
}

TEST(DumpMessageAuthenticator, IsFilledInAtTheLastPlaceWhereThereAreSeveral) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Message-Authenticator", Bytes(16));
    add_value(packet, "Message-Authenticator", Bytes(16));
    const Bytes wire = wire_of(packet, secret);
    Bytes zeroed = wire;
    std::fill(zeroed.end() - 16, zeroed.end(), std::uint8_t{0});
    EXPECT_EQ(attribute_digits_of(wire),
              "5012" + repeat("00", 16) + "5012" + to_hex(test::hmac_md5(secret, zeroed)));
}

TEST(DumpMessageAuthenticator, IsOfPath80Alone) {
    EXPECT_EQ(framed_at({80, 1}, hex("61")), digits("50 03 61"));
}

TEST(DumpMessageAuthenticator, CoversTheRandomAuthenticator) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    packet.add_attribute("Message-Authenticator", "");
    const test::FixedRandom random(0x01);
    EXPECT_EQ(to_hex(wire_of(packet, secret)),
              digits("01 07 0026 0102030405060708090a0b0c0d0e0f10  50 12 4b0b1f606adabc191e1b8e7fd011ea6b"));
}

// ------------------------------------------------------------------------------------- the Authenticator

TEST(DumpAuthenticator, IsWrittenAsStoredWithoutASecretWhateverTheCode) {
    for (int code = 0; code <= 255; ++code) {
        RadiusPacket packet = new_packet(static_cast<std::uint8_t>(code));
        packet.request_authenticator = Authenticator{1, 2, 3};
        EXPECT_EQ(test::hex_part(wire_of(packet), 4, 16), to_hex(test::test_authenticator)) << code;
    }
}

TEST(DumpAuthenticator, IsWrittenAsStoredInRequestsThatChooseItAndForUnknownCodes) {
    for (int number = 0; number <= 255; ++number) {
        const auto code = static_cast<std::uint8_t>(number);
        if (!is_response_code(code) && !is_zero_authenticator_code(code)) {
            EXPECT_EQ(test::hex_part(wire_of(new_packet(code), secret), 4, 16),
                      to_hex(test::test_authenticator))
                << number;
        }
    }
}

TEST(DumpAuthenticator, IsRandomInAnAccessRequestThatChoseNone) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    const test::FixedRandom random(0x01);
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("01 07 0014 0102030405060708090a0b0c0d0e0f10"));
    EXPECT_EQ(packet.authenticator, ZERO16);
}

TEST(DumpAuthenticator, StaysZeroInOtherPacketsThatChoseNone) {
    for (const PacketCode code : {STATUS_SERVER, PacketCode(6), PacketCode(255)}) {
        RadiusPacket packet = new_packet(code);
        packet.authenticator = ZERO16;
        EXPECT_EQ(test::hex_part(wire_of(packet, secret), 4, 16), repeat("00", 16));
    }
}

TEST(DumpAuthenticator, OfAccountingDisconnectAndCoaRequestsIsADigestOverZeroBytes) {
    const std::pair<PacketCode, std::string_view> rows[] = {
        {ACCOUNTING_REQUEST, "baa38d7a19e2501b1e4955464b9cbb4c"},
        {DISCONNECT_REQUEST, "7a00e27270f38dfb34341950fefd1ddd"},
        {COA_REQUEST, "d1256a8ac0dd208cabb8486cf69236cb"},
    };
    for (const auto& [code, expected] : rows) {
        RadiusPacket packet = new_packet(code);
        packet.request_authenticator = Authenticator{1, 2, 3};
        packet.add_attribute("User-Name", "nemo");
        EXPECT_EQ(to_hex(wire_of(packet, secret)),
                  to_hex(Bytes{code}) + digits("07 001a") + std::string(expected) + digits("01 06 6e656d6f"));
    }
}

TEST(DumpAuthenticator, OfRepliesIsADigestOverTheRequestsAuthenticator) {
    for (const PacketCode code : {ACCESS_ACCEPT, ACCESS_REJECT, ACCOUNTING_RESPONSE, ACCESS_CHALLENGE,
                                  DISCONNECT_ACK, DISCONNECT_NAK, COA_ACK, COA_NAK}) {
        RadiusPacket packet = new_packet(code);
        packet.request_authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
        packet.add_attribute("Reply-Message", "hi");
        const Bytes header = {code, 7, 0, 24};
        const Bytes attributes = hex("12 04 68 69");
        const Authenticator expected = test::md5(
            test::joined({header,
                          {packet.request_authenticator->begin(), packet.request_authenticator->end()},
                          attributes,
                          utils::to_bytes(secret)}));
        EXPECT_EQ(to_hex(wire_of(packet, secret)), to_hex(header) + to_hex(expected) + to_hex(attributes));
    }
}

TEST(DumpAuthenticator, OfAReplyToAnUnknownRequestIsADigestOverZeroBytes) {
    RadiusPacket packet = new_packet(ACCESS_ACCEPT);
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("02 07 0014 97b81b1de6ebfb424b1751f1d8942cb5"));
}

TEST(DumpAuthenticator, OfAReplyCoversTheMessageAuthenticatorThatWasComputedBefore) {
    RadiusPacket packet = new_packet(ACCESS_ACCEPT);
    packet.request_authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
    packet.add_attribute("Message-Authenticator", "");
    packet.add_attribute("Reply-Message", "hi");
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("02 07 002a 4e96cc56abf2f114a42600d7c24beb38  50 12 "
                                                      "2e487381fe11839b2f36121800c1c919  12 04 6869"));
}

TEST(DumpAuthenticator, OfACoaRequestCoversTheMessageAuthenticatorThatWasComputedBefore) {
    RadiusPacket packet = new_packet(COA_REQUEST);
    packet.add_attribute("Message-Authenticator", "");
    packet.add_attribute("User-Name", "nemo");
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("2b 07 002c 305dc5df4f57f29dab7e5320a06d5f6b  50 12 "
                                                      "d6350873063c558a02892b5d841702c8  01 06 6e656d6f"));
}

}  // namespace
}  // namespace quarn::subscriber::radius
