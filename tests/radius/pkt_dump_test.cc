#include "quarn/radius/pkt_dump.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "quarn/radius/hiding.h"
#include "quarn/radius/packet_code.h"
#include "radius/codec_dictionary.h"
#include "support/fixed_random.h"
#include "support/wire.h"

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

TEST(DumpHeader, is_code_identifier_length_and_authenticator) {
    RadiusPacket packet = new_packet();
    packet.identifier = 0xfe;
    EXPECT_EQ(to_hex(wire_of(packet)), digits("01 fe 0014 101112131415161718191a1b1c1d1e1f"));
}

TEST(DumpHeader, of_a_new_packet_is_all_zero_but_for_the_length) {
    EXPECT_EQ(to_hex(wire_of(RadiusPacket())), digits("00 00 0014 00000000000000000000000000000000"));
}

TEST(DumpHeader, counts_every_byte_in_the_length) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Class", pattern(253));
    add_value(packet, "Class", pattern(253));
    EXPECT_EQ(test::hex_part(wire_of(packet), 2, 2), digits("0212"));  // 20 + 2 * 255
}

TEST(DumpHeader, keeps_the_low_16_bits_of_a_length_that_is_too_large) {
    RadiusPacket packet = new_packet();
    for (int i = 0; i < 257; ++i) {
        add_value(packet, "Class", pattern(253));
    }
    const Bytes wire = wire_of(packet);
    EXPECT_EQ(wire.size(), 20 + 257 * 255U);
    EXPECT_EQ(test::hex_part(wire, 2, 2), digits("0013"));  // 65555 - 65536
}

TEST(Dump, leaves_earlier_issues_in_the_list) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Class", pattern(254));
    Issues issues = {{"an earlier one", "a", "b"}};
    pkt_dump(packet, "", issues);
    EXPECT_EQ(issues, (Issues{{"an earlier one", "a", "b"}, {"value truncated on the wire", "Class", ""}}));
}

TEST(Dump, writes_attributes_in_their_order_and_the_values_of_each_side_by_side) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("Reply-Message", "a");
    packet.add_attribute("NAS-Port", "3");
    packet.add_attribute("Reply-Message", "b");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)), digits("12 03 61  12 03 62  05 06 00000003"));
}

TEST(Dump, writes_nothing_for_an_attribute_without_values) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("NAS-Port", "no number");
    packet.add_attribute("User-Name", "a");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)), digits("01 03 61"));
}

// ----------------------------------------------------------------------------------------- plain attributes

TEST(DumpPlain, is_type_length_and_value) {
    EXPECT_EQ(framed("User-Name", hex("61 62")), digits("01 04 61 62"));
}

TEST(DumpPlain, has_length_2_without_a_value) {
    EXPECT_EQ(framed("User-Name", {}), digits("01 02"));
}

TEST(DumpPlain, holds_253_bytes) {
    EXPECT_EQ(framed("Class", pattern(253)), "19ff" + part(0, 253));
}

TEST(DumpPlain, is_truncated_to_253_bytes) {
    EXPECT_EQ(truncated("Class", pattern(254)), "19ff" + part(0, 253));
    EXPECT_EQ(truncated("Class", pattern(300)), "19ff" + part(0, 253));
}

TEST(DumpPlain, is_named_in_its_issue_by_its_own_name_where_no_dictionary_names_it) {
    RadiusPacket packet = new_packet();
    add_unknown(packet, {222}, pattern(254));
    add_unknown(packet, {223}, pattern(254), "Given-Name");
    EXPECT_EQ(dump(packet).issues, (Issues{{"value truncated on the wire", "attr-222", ""},
                                           {"value truncated on the wire", "Given-Name", ""}}));
}

TEST(DumpPlain, of_a_concat_attribute_is_split_at_253_bytes) {
    EXPECT_EQ(framed("EAP-Message", pattern(253)), "4fff" + part(0, 253));
    EXPECT_EQ(framed("EAP-Message", pattern(254)), "4fff" + part(0, 253) + "4f03" + part(253, 1));
    EXPECT_EQ(framed("EAP-Message", pattern(300)), "4fff" + part(0, 253) + "4f31" + part(253, 47));
    EXPECT_EQ(framed("EAP-Message", pattern(506)), "4fff" + part(0, 253) + "4fff" + part(253, 253));
    EXPECT_EQ(framed("EAP-Message", pattern(507)),
              "4fff" + part(0, 253) + "4fff" + part(253, 253) + "4f03" + part(506, 1));
}

TEST(DumpPlain, of_a_vendor_with_continuation_is_split_too) {
    EXPECT_EQ(framed("Continued-Plain", pattern(254)), "d2ff" + part(0, 253) + "d203" + part(253, 1));
}

TEST(DumpPlain, is_truncated_where_no_dictionary_is_attached_whatever_its_record_says) {
    RadiusPacket packet = new_packet();
    add_value(packet, "EAP-Message", pattern(300));
    const auto keeps_the_record_alive = packet.dictionary;
    packet.dictionary = nullptr;
    const Dumped result = dump(packet);
    EXPECT_EQ(attribute_digits_of(result.wire), "4fff" + part(0, 253));
    EXPECT_EQ(result.issues, (Issues{{"value truncated on the wire", "EAP-Message", ""}}));
}

TEST(DumpPlain, serves_types_that_no_dictionary_defines) {
    EXPECT_EQ(framed_at({222}, hex("61")), digits("de 03 61"));
    EXPECT_EQ(framed_at({222}, hex("61"), nullptr), digits("de 03 61"));
    EXPECT_EQ(framed_at({0}, hex("61")), digits("00 03 61"));
    EXPECT_EQ(framed_at({255}, hex("61")), digits("ff 03 61"));
}

TEST(DumpPlain, has_type_0_where_the_path_is_empty) {
    EXPECT_EQ(framed("Codeless", hex("61")), digits("00 03 61"));
}

TEST(DumpPlain, takes_no_more_of_a_path_than_its_first_element) {
    EXPECT_EQ(framed_at({222, 1, 2}, hex("61")), digits("de 03 61"));
    EXPECT_EQ(framed_at({1, 2}, hex("61")), digits("01 03 61"));
    EXPECT_EQ(framed_at({199, 1}, hex("61"), nullptr), digits("c7 03 61"));
}

TEST(DumpPlain, of_type_tlv_wraps_the_rest_of_the_path_in_tlvs) {
    EXPECT_EQ(framed("Tlv-Top-Number", hex("00000005")), digits("c7 08  01 06 00000005"));
    EXPECT_EQ(framed_at({199, 2, 3}, hex("61")), digits("c7 07  02 05  03 03 61"));
    EXPECT_EQ(framed("Tlv-Top", hex("01 03 61")), digits("c7 05  01 03 61"));
}

TEST(DumpPlain, of_type_tlv_truncates_tlvs_that_do_not_fit) {
    EXPECT_EQ(framed("Tlv-Top-Number", pattern(251)), digits("c7ff 01fd") + part(0, 251));
    EXPECT_EQ(truncated("Tlv-Top-Number", pattern(252)), digits("c7ff 01fe") + part(0, 251));
}

TEST(DumpPlain, of_type_tlv_does_not_split_a_tlv_that_is_itself_concat) {
    // A reader would take each piece for a list of TLVs.
    EXPECT_EQ(truncated("Tlv-Top-Concat", pattern(252)), digits("c7ff 02fe") + part(0, 251));
}

TEST(DumpPlain, of_type_tlv_is_split_where_the_whole_list_is_concat) {
    EXPECT_EQ(framed("Tlv-Concat-Octets", pattern(252)),
              digits("c8ff 01fe") + part(0, 251) + "c803" + part(251, 1));
}

// -------------------------------------------------------------------------------------------------- tags

TEST(DumpTag, takes_the_place_of_the_first_byte_of_a_number) {
    EXPECT_EQ(framed("Tunnel-Type", hex("00000006"), 1), digits("40 06 01 000006"));
    EXPECT_EQ(framed("Tunnel-Type", hex("00000006"), 0), digits("40 06 00 000006"));
    EXPECT_EQ(framed("Tunnel-Type", hex("ff000006"), 255), digits("40 06 ff 000006"));
    EXPECT_EQ(framed("Tagged-Short", hex("1234"), 1), digits("c2 04 01 34"));
    EXPECT_EQ(framed("Tagged-Integer64", hex("0102030405060708"), 1), digits("c3 0a 01 02030405060708"));
}

TEST(DumpTag, precedes_a_number_of_one_byte) {
    EXPECT_EQ(framed("Tagged-Byte", hex("05"), 1), digits("c1 04 01 05"));
}

TEST(DumpTag, precedes_a_number_of_a_width_that_is_not_its_own) {
    EXPECT_EQ(framed("Tunnel-Type", hex("000006"), 1), digits("40 06 01 000006"));
    EXPECT_EQ(framed("Tunnel-Type", hex("0000000006"), 1), digits("40 08 01 0000000006"));
    EXPECT_EQ(framed("Tunnel-Type", {}, 1), digits("40 03 01"));
}

TEST(DumpTag, precedes_a_text) {
    EXPECT_EQ(framed("Tunnel-Client-Endpoint", hex("61 62"), 1), digits("42 05 01 61 62"));
    EXPECT_EQ(framed("Tunnel-Client-Endpoint", {}, 31), digits("42 03 1f"));
}

TEST(DumpTag, takes_room_from_the_value) {
    EXPECT_EQ(framed("Tunnel-Client-Endpoint", pattern(252), 1), "42ff01" + part(0, 252));
    EXPECT_EQ(truncated("Tunnel-Client-Endpoint", pattern(253), 1), "42ff01" + part(0, 252));
}

TEST(DumpTag, stands_once_before_a_value_that_is_split) {
    EXPECT_EQ(framed("Tagged-Concat", pattern(300), 5), "c4ff05" + part(0, 252) + "c432" + part(252, 48));
}

TEST(DumpTag, stands_inside_vendor_and_extended_attributes) {
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

TEST(DumpTag, is_written_for_all_values_or_none_as_the_first_one_says) {
    EXPECT_EQ(framed_pair(true, false), digits("42 04 01 61  42 04 02 62"));
    EXPECT_EQ(framed_pair(false, true), digits("42 03 61  42 03 62"));
}

// ---------------------------------------------------------------------------------------- Vendor-Specific

TEST(DumpVendorSpecific, of_format_1_1) {
    EXPECT_EQ(framed("One-Text", hex("61 62")), digits("1a 0a 00000065  01 04 61 62"));
}

TEST(DumpVendorSpecific, of_format_2_2) {
    EXPECT_EQ(framed("Two-Text", hex("61 62")), digits("1a 0c 00000066  0102 0006 61 62"));
}

TEST(DumpVendorSpecific, of_format_4_4) {
    EXPECT_EQ(framed("Four-Text", hex("61 62")), digits("1a 10 00000067  01020304 0000000a 61 62"));
}

TEST(DumpVendorSpecific, of_format_1_1_c) {
    EXPECT_EQ(framed("Continued-Octets", hex("61 62")), digits("1a 0b 00000068  01 05 00 61 62"));
}

TEST(DumpVendorSpecific, of_format_2_1) {
    EXPECT_EQ(framed("Long-Type-Text", hex("61 62")), digits("1a 0b 00000069  0203 05 61 62"));
}

TEST(DumpVendorSpecific, of_an_unknown_vendor_is_format_1_1) {
    // 429 is known for a 4-byte type without a length, which no dictionary can define: it stays unknown.
    EXPECT_EQ(framed_at({26, 429, 7}, hex("61")), digits("1a 09 000001ad  07 03 61"));
    EXPECT_EQ(framed_at({26, 0xffffffff, 255}, hex("61")), digits("1a 09 ffffffff  ff 03 61"));
}

TEST(DumpVendorSpecific, keeps_the_low_bytes_of_a_type_that_is_too_large) {
    EXPECT_EQ(framed_at({26, 429, 0x0102}, hex("61")), digits("1a 09 000001ad  02 03 61"));
    EXPECT_EQ(framed_at({26, 102, 0x01020304}, hex("61")), digits("1a 0b 00000066  0304 0005 61"));
}

TEST(DumpVendorSpecific, is_written_without_any_dictionary) {
    EXPECT_EQ(framed_at({26, 102, 7}, hex("61"), nullptr), digits("1a 09 00000066  07 03 61"));
}

TEST(DumpVendorSpecific, is_written_where_the_dictionary_lacks_type_26) {
    EXPECT_EQ(framed_at({26, 9, 7}, hex("61"), std::make_shared<RadiusDictionary>()),
              digits("1a 09 00000009  07 03 61"));
}

TEST(DumpVendorSpecific, is_plain_where_the_dictionary_defines_type_26_as_octets) {
    EXPECT_EQ(framed_at({26, 9, 7}, hex("61"), test::dictionary_without_vendor_specific()),
              digits("1a 03 61"));
}

TEST(DumpVendorSpecific, is_plain_where_the_path_names_no_vendor_attribute) {
    EXPECT_EQ(framed("Vendor-Specific", hex("00000065 01 03 61")), digits("1a 09 00000065 01 03 61"));
    EXPECT_EQ(framed_at({26, 101}, hex("61")), digits("1a 03 61"));
}

TEST(DumpVendorSpecific, may_be_empty) {
    EXPECT_EQ(framed("One-Text", {}), digits("1a 08 00000065  01 02"));
    EXPECT_EQ(framed("Two-Text", {}), digits("1a 0a 00000066  0102 0004"));
    EXPECT_EQ(framed("Continued-Octets", {}), digits("1a 09 00000068  01 03 00"));
}

TEST(DumpVendorSpecific, never_holds_two_attributes_of_the_vendor) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("One-Text", "a");
    packet.add_attribute("One-Text", "b");
    packet.add_attribute("One-Number", "5");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)),
              digits("1a 09 00000065 01 03 61  1a 09 00000065 01 03 62  1a 0c 00000065 02 06 00000005"));
}

TEST(DumpVendorSpecific, wraps_the_rest_of_the_path_in_tlvs) {
    EXPECT_EQ(framed("One-Tlv-Number", hex("00000005")), digits("1a 0e 00000065  03 08  01 06 00000005"));
    EXPECT_EQ(framed("One-Tlv-Tlv-Text", hex("61")), digits("1a 0d 00000065  03 07  02 05  05 03 61"));
}

TEST(DumpVendorSpecific, is_filled_up_and_then_split_into_complete_attributes) {
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

TEST(DumpVendorSpecific, with_continuation_marks_every_fragment_but_the_last) {
    EXPECT_EQ(framed("Continued-Octets", pattern(246)), digits("1aff00000068 01f900") + part(0, 246));
    EXPECT_EQ(framed("Continued-Octets", pattern(247)),
              digits("1aff00000068 01f980") + part(0, 246) + digits("1a0a00000068 010400") + part(246, 1));
    EXPECT_EQ(framed("Continued-Octets", pattern(300)),
              digits("1aff00000068 01f980") + part(0, 246) + digits("1a3f00000068 013900") + part(246, 54));
    EXPECT_EQ(framed("Continued-Octets", pattern(500)), digits("1aff00000068 01f980") + part(0, 246) +
                                                            digits("1aff00000068 01f980") + part(246, 246) +
                                                            digits("1a1100000068 010b00") + part(492, 8));
}

TEST(DumpVendorSpecific, truncates_nested_tlvs_that_do_not_fit) {
    // The headers of the TLVs still tell the sizes that they had: 244 + 2 and that + 2.
    EXPECT_EQ(framed("One-Tlv-Tlv-Text", pattern(243)), digits("1aff00000065 03f9 02f7 05f5") + part(0, 243));
    EXPECT_EQ(truncated("One-Tlv-Tlv-Text", pattern(244)),
              digits("1aff00000065 03f9 02f8 05f6") + part(0, 243));
}

TEST(DumpVendorSpecific, with_continuation_splits_nested_tlvs) {
    EXPECT_EQ(framed("Continued-Tlv-Octets", pattern(244)),
              digits("1aff00000068 03f900 01f6") + part(0, 244));
    EXPECT_EQ(
        framed("Continued-Tlv-Octets", pattern(245)),
        digits("1aff00000068 03f980 01f7") + part(0, 244) + digits("1a0a00000068 030400") + part(244, 1));
}

TEST(DumpVendorSpecific, keeps_the_low_8_bits_of_the_size_and_type_of_a_nested_tlv) {
    EXPECT_EQ(
        framed("Continued-Tlv-Octets", pattern(300)),
        digits("1aff00000068 03f980 012e") + part(0, 244) + digits("1a4100000068 033b00") + part(244, 56));
    EXPECT_EQ(framed_at({26, 101, 3, 0x0105}, hex("61")), digits("1a0b00000065 0305 050361"));
}

// ------------------------------------------------------------------------------ extended and long-extended

TEST(DumpExtended, has_its_extended_type_before_the_value) {
    EXPECT_EQ(framed("Extended-Text", hex("61 62")), digits("f1 05 01 61 62"));
    EXPECT_EQ(framed("Extended-Text", {}), digits("f1 03 01"));
}

TEST(DumpExtended, is_filled_up_and_then_split_into_complete_attributes) {
    EXPECT_EQ(framed("Extended-Text", pattern(252)), "f1ff01" + part(0, 252));
    EXPECT_EQ(framed("Extended-Text", pattern(253)), "f1ff01" + part(0, 252) + "f10401" + part(252, 1));
}

TEST(DumpExtended, wraps_the_rest_of_the_path_in_tlvs) {
    EXPECT_EQ(framed("Extended-Tlv-Number", hex("00000005")), digits("f1 09 02  01 06 00000005"));
    EXPECT_EQ(framed("Extended-Tlv-Tlv-Text", hex("61")), digits("f1 08 02  02 05  01 03 61"));
}

TEST(DumpExtended, truncates_nested_tlvs_that_do_not_fit) {
    EXPECT_EQ(framed("Extended-Tlv-Tlv-Text", pattern(248)), digits("f1ff02 02fc 01fa") + part(0, 248));
    EXPECT_EQ(truncated("Extended-Tlv-Tlv-Text", pattern(249)), digits("f1ff02 02fd 01fb") + part(0, 248));
}

TEST(DumpExtended, is_the_short_form_for_types_that_no_dictionary_defines) {
    for (std::uint32_t type = 241; type <= 246; ++type) {
        const Bytes first = {static_cast<std::uint8_t>(type)};
        EXPECT_EQ(framed_at({type, 5}, hex("61"), nullptr), to_hex(first) + digits("04 05 61"));
        EXPECT_EQ(framed_at({type, 5}, hex("61"), std::make_shared<RadiusDictionary>()),
                  to_hex(first) + digits("04 05 61"));
    }
    EXPECT_EQ(framed_at({242, 5}, hex("61")), digits("f2 04 05 61"));
    EXPECT_EQ(framed_at({246, 5}, hex("61")), digits("f6 04 05 61"));
}

TEST(DumpExtended, is_plain_for_neighbouring_types) {
    EXPECT_EQ(framed_at({240, 5}, hex("61")), digits("f0 03 61"));
    EXPECT_EQ(framed_at({247, 5}, hex("61")), digits("f7 03 61"));
}

TEST(DumpExtended, is_plain_where_the_path_has_no_extended_type) {
    EXPECT_EQ(framed("Extended-1", hex("01 61")), digits("f1 04 01 61"));
    EXPECT_EQ(framed_at({242}, hex("61")), digits("f2 03 61"));
}

TEST(DumpExtended, is_plain_where_the_dictionary_defines_the_type_as_octets) {
    EXPECT_EQ(framed_at({241, 5}, hex("61"), test::dictionary_without_vendor_specific()), digits("f1 03 61"));
}

TEST(DumpExtendedVendor, has_vendor_and_vendor_type_before_the_value) {
    EXPECT_EQ(framed("Extended-Vendor-Text", hex("61 62")), digits("f1 0a 1a 00000065 01 61 62"));
    EXPECT_EQ(framed_at({242, 26, 0xfffffffe, 255}, hex("61")), digits("f2 09 1a fffffffe ff 61"));
}

TEST(DumpExtendedVendor, is_filled_up_and_then_split_into_complete_attributes) {
    EXPECT_EQ(framed("Extended-Vendor-Text", pattern(247)), digits("f1ff1a00000065 01") + part(0, 247));
    EXPECT_EQ(framed("Extended-Vendor-Text", pattern(248)),
              digits("f1ff1a00000065 01") + part(0, 247) + digits("f1091a00000065 01") + part(247, 1));
}

TEST(DumpExtendedVendor, wraps_the_rest_of_the_path_in_tlvs) {
    EXPECT_EQ(framed("Extended-Vendor-Tlv-Number", hex("00000005")),
              digits("f1 0e 1a 00000065 02  01 06 00000005"));
}

TEST(DumpExtendedVendor, truncates_nested_tlvs_that_do_not_fit) {
    EXPECT_EQ(framed("Extended-Vendor-Tlv-Number", pattern(245)),
              digits("f1ff1a00000065 02 01f7") + part(0, 245));
    EXPECT_EQ(truncated("Extended-Vendor-Tlv-Number", pattern(246)),
              digits("f1ff1a00000065 02 01f8") + part(0, 245));
}

TEST(DumpExtendedVendor, is_an_ordinary_extended_type_26_where_the_path_is_too_short) {
    EXPECT_EQ(framed_at({241, 26}, hex("61")), digits("f1 04 1a 61"));
    EXPECT_EQ(framed_at({241, 26, 9}, hex("61")), digits("f1 06 1a  09 03 61"));
}

TEST(DumpLongExtended, has_extended_type_and_flags_before_the_value) {
    EXPECT_EQ(framed("Long-Octets", hex("61 62")), digits("f5 06 01 00 61 62"));
    EXPECT_EQ(framed("Long-Octets", {}), digits("f5 04 01 00"));
}

TEST(DumpLongExtended, marks_every_fragment_but_the_last) {
    EXPECT_EQ(framed("Long-Octets", pattern(251)), "f5ff0100" + part(0, 251));
    EXPECT_EQ(framed("Long-Octets", pattern(252)), "f5ff0180" + part(0, 251) + "f5050100" + part(251, 1));
    EXPECT_EQ(framed("Long-Octets", pattern(600)),
              "f5ff0180" + part(0, 251) + "f5ff0180" + part(251, 251) + "f5660100" + part(502, 98));
}

TEST(DumpLongExtended, wraps_and_splits_nested_tlvs) {
    EXPECT_EQ(framed("Long-Tlv-Octets", hex("61")), digits("f5 07 02 00  01 03 61"));
    EXPECT_EQ(framed("Long-Tlv-Octets", pattern(250)),
              digits("f5ff0280 01fc") + part(0, 249) + digits("f5050200") + part(249, 1));
}

TEST(DumpLongExtendedVendor, has_the_flags_before_the_vendor) {
    EXPECT_EQ(framed("Long-Vendor-Octets", hex("61 62")), digits("f5 0b 1a 00 00000065 01 61 62"));
    EXPECT_EQ(framed("Long-Vendor-Tlv-Number", hex("00000005")),
              digits("f5 0f 1a 00 00000065 02  01 06 00000005"));
}

TEST(DumpLongExtendedVendor, repeats_the_vendor_in_every_fragment) {
    EXPECT_EQ(framed("Long-Vendor-Octets", pattern(246)), digits("f5ff1a0000000065 01") + part(0, 246));
    EXPECT_EQ(framed("Long-Vendor-Octets", pattern(500)), digits("f5ff1a8000000065 01") + part(0, 246) +
                                                              digits("f5ff1a8000000065 01") + part(246, 246) +
                                                              digits("f5111a0000000065 01") + part(492, 8));
}

// ------------------------------------------------------------------------------------------------- hiding

TEST(DumpHidden, hides_a_user_password_with_the_packet_s_authenticator) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Password", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 af2741ea86c71740aa48394cc64b61d7"));
}

TEST(DumpHidden, sends_everything_in_clear_without_a_secret) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Password", "arctangent");
    packet.add_attribute("Tunnel-Password", "hello");
    EXPECT_EQ(attribute_digits_of(wire_of(packet)),
              digits("02 0c 61726374616e67656e74  45 08 00 68656c6c6f"));
}

TEST(DumpHidden, hides_an_empty_user_password_in_a_block) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Password", "");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 ce55229ee7a97025c43c394cc64b61d7"));
}

TEST(DumpHidden, hides_with_the_random_authenticator_of_an_access_request) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    packet.add_attribute("User-Password", "arctangent");
    const test::FixedRandom random(0x01);
    EXPECT_EQ(to_hex(wire_of(packet, secret)),
              digits("01 07 0026 0102030405060708090a0b0c0d0e0f10  02 12 dc09955fba07f30ec35150888c30d173"));
}

TEST(DumpHidden, hides_in_an_accounting_request_with_a_zero_authenticator) {
    RadiusPacket packet = new_packet(ACCOUNTING_REQUEST);
    packet.add_attribute("User-Password", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 7c3fc14b73fe2c4bf6e12cb37f163fb1"));
}

TEST(DumpHidden, hides_in_a_reply_with_the_request_s_authenticator) {
    RadiusPacket packet = new_packet(ACCESS_ACCEPT);
    packet.request_authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
    packet.add_attribute("User-Password", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("02 12 0dbe708d93d413ce3196e43f782a0aee"));
}

TEST(DumpHidden, puts_the_tag_of_a_tunnel_password_before_its_salt) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Tunnel-Password", hex("68656c6c6f"), 3);
    const test::FixedRandom random(0x01);
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("45 15 03 8102 88c70cf8e6657bee559c41491c97da77"));
}

TEST(DumpHidden, draws_a_salt_for_each_value) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Hidden-Octets", hex("61"));
    add_value(packet, "Hidden-Octets", hex("61"));
    const test::FixedRandom random(0x81);
    const Bytes wire = wire_of(packet, secret);
    EXPECT_EQ(test::hex_part(wire, 20, 4), digits("be 14 8182"));
    EXPECT_EQ(test::hex_part(wire, 40, 4), digits("be 14 8384"));
    EXPECT_NE(test::hex_part(wire, 24, 16), test::hex_part(wire, 44, 16));
}

TEST(DumpHidden, hides_vendor_and_extended_values_before_they_are_framed) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("One-Hidden", "arctangent");
    packet.add_attribute("Extended-Hidden", "arctangent");
    packet.add_attribute("Long-Hidden", "arctangent");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("1a 18 00000065 04 12 af2741ea86c71740aa48394cc64b61d7  f1 13 05 "
                     "af2741ea86c71740aa48394cc64b61d7  f5 14 03 00 af2741ea86c71740aa48394cc64b61d7"));
}

TEST(DumpHidden, splits_after_hiding) {
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

TEST(DumpHidden, truncates_a_user_password_that_is_too_long_once_hidden) {
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

TEST(DumpHidden, keeps_a_tagged_number_whole_where_it_is_hidden) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Hidden-Number", hex("01020304"), 5);
    const test::FixedRandom random(0x01);
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("bf 15 05 8102 89ae6b978e0a7bee559c41491c97da77"));
}

TEST(DumpHidden, does_not_hide_by_an_unknown_method) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("Unhidden-Octets", "abc");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("c0 05 616263"));
}

TEST(Dump, fails_without_random_bytes_for_an_authenticator) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    const test::NoRandom none;
    EXPECT_EQ(runtime_error_of([&] { dump(packet, secret); }),
              "random_authenticator: RAND_bytes failed (CSPRNG unavailable)");
    EXPECT_EQ(to_hex(wire_of(packet)), digits("01 07 0014 00000000000000000000000000000000"));
}

TEST(Dump, fails_without_random_bytes_for_a_salt) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("Tunnel-Password", "hello");
    const test::NoRandom none;
    EXPECT_EQ(runtime_error_of([&] { dump(packet, secret); }),
              "random_salt: RAND_bytes failed (CSPRNG unavailable)");
}

// --------------------------------------------------------------------------------- Message-Authenticator

TEST(DumpMessageAuthenticator, is_18_bytes_whatever_its_value) {
    for (const Bytes& value : {Bytes(), Bytes(16), hex("01"), pattern(16), pattern(20), pattern(300)}) {
        RadiusPacket packet = new_packet();
        add_value(packet, "Message-Authenticator", value);
        EXPECT_EQ(attribute_digits_of(wire_of(packet)), "5012" + repeat("00", 16));
    }
}

TEST(DumpMessageAuthenticator, stays_zero_without_a_secret) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    packet.add_attribute("Message-Authenticator", std::string(16, '\0'));
    EXPECT_EQ(attribute_digits_of(wire_of(packet)), digits("01 06 6e656d6f  50 12") + repeat("00", 16));
}

TEST(DumpMessageAuthenticator, is_never_added_by_the_encoder) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), digits("01 06 6e656d6f"));
}

TEST(DumpMessageAuthenticator, without_a_value_is_not_written) {
    RadiusPacket packet = new_packet();
    const AttributeMetadata& record = packet.dictionary->attribute_by_name("Message-Authenticator");
    packet.add_attribute(RadiusAttribute(record, record.code, ""));
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)), "");
}

TEST(DumpMessageAuthenticator, covers_the_whole_access_request_at_its_place_in_the_order) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    packet.add_attribute("Message-Authenticator", std::string(16, '\0'));
    packet.add_attribute("NAS-Port", "3");
    EXPECT_EQ(to_hex(wire_of(packet, secret)),
              digits("01 07 0032 101112131415161718191a1b1c1d1e1f"
                     "01 06 6e656d6f  50 12 665b847fdaef2c231dbfadb6b8a8d999  05 06 00000003"));
}

TEST(DumpMessageAuthenticator, is_computed_over_zero_bytes_whatever_its_value) {
    RadiusPacket packet = new_packet();
    packet.add_attribute("User-Name", "nemo");
    add_value(packet, "Message-Authenticator", pattern(20));
    packet.add_attribute("NAS-Port", "3");
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("01 06 6e656d6f  50 12 665b847fdaef2c231dbfadb6b8a8d999  05 06 00000003"));
}

TEST(DumpMessageAuthenticator, is_filled_in_without_a_dictionary) {
    RadiusPacket packet = test::new_packet(nullptr, ACCESS_REQUEST);
    add_unknown(packet, {1}, hex("6e656d6f"));
    add_unknown(packet, {80}, Bytes(16));
    add_unknown(packet, {5}, hex("00000003"));
    EXPECT_EQ(attribute_digits_of(wire_of(packet, secret)),
              digits("01 06 6e656d6f  50 12 665b847fdaef2c231dbfadb6b8a8d999  05 06 00000003"));
}

TEST(DumpMessageAuthenticator, is_filled_in_at_the_last_place_where_there_are_several) {
    RadiusPacket packet = new_packet();
    add_value(packet, "Message-Authenticator", Bytes(16));
    add_value(packet, "Message-Authenticator", Bytes(16));
    const Bytes wire = wire_of(packet, secret);
    Bytes zeroed = wire;
    std::fill(zeroed.end() - 16, zeroed.end(), std::uint8_t{0});
    EXPECT_EQ(attribute_digits_of(wire),
              "5012" + repeat("00", 16) + "5012" + to_hex(test::hmac_md5(secret, zeroed)));
}

TEST(DumpMessageAuthenticator, is_of_path_80_alone) {
    EXPECT_EQ(framed_at({80, 1}, hex("61")), digits("50 03 61"));
}

TEST(DumpMessageAuthenticator, covers_the_random_authenticator) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    packet.add_attribute("Message-Authenticator", "");
    const test::FixedRandom random(0x01);
    EXPECT_EQ(to_hex(wire_of(packet, secret)),
              digits("01 07 0026 0102030405060708090a0b0c0d0e0f10  50 12 4b0b1f606adabc191e1b8e7fd011ea6b"));
}

// ------------------------------------------------------------------------------------- the Authenticator

TEST(DumpAuthenticator, is_written_as_stored_without_a_secret_whatever_the_code) {
    for (int code = 0; code <= 255; ++code) {
        RadiusPacket packet = new_packet(static_cast<std::uint8_t>(code));
        packet.request_authenticator = Authenticator{1, 2, 3};
        EXPECT_EQ(test::hex_part(wire_of(packet), 4, 16), to_hex(test::test_authenticator)) << code;
    }
}

TEST(DumpAuthenticator, is_written_as_stored_in_requests_that_choose_it_and_for_unknown_codes) {
    for (int number = 0; number <= 255; ++number) {
        const auto code = static_cast<std::uint8_t>(number);
        if (!is_response_code(code) && !is_zero_authenticator_code(code)) {
            EXPECT_EQ(test::hex_part(wire_of(new_packet(code), secret), 4, 16),
                      to_hex(test::test_authenticator))
                << number;
        }
    }
}

TEST(DumpAuthenticator, is_random_in_an_access_request_that_chose_none) {
    RadiusPacket packet = new_packet();
    packet.authenticator = ZERO16;
    const test::FixedRandom random(0x01);
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("01 07 0014 0102030405060708090a0b0c0d0e0f10"));
    EXPECT_EQ(packet.authenticator, ZERO16);
}

TEST(DumpAuthenticator, stays_zero_in_other_packets_that_chose_none) {
    for (const PacketCode code : {STATUS_SERVER, PacketCode(6), PacketCode(255)}) {
        RadiusPacket packet = new_packet(code);
        packet.authenticator = ZERO16;
        EXPECT_EQ(test::hex_part(wire_of(packet, secret), 4, 16), repeat("00", 16));
    }
}

TEST(DumpAuthenticator, of_accounting_disconnect_and_coa_requests_is_a_digest_over_zero_bytes) {
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

TEST(DumpAuthenticator, of_replies_is_a_digest_over_the_request_s_authenticator) {
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

TEST(DumpAuthenticator, of_a_reply_to_an_unknown_request_is_a_digest_over_zero_bytes) {
    RadiusPacket packet = new_packet(ACCESS_ACCEPT);
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("02 07 0014 97b81b1de6ebfb424b1751f1d8942cb5"));
}

TEST(DumpAuthenticator, of_a_reply_covers_the_message_authenticator_that_was_computed_before) {
    RadiusPacket packet = new_packet(ACCESS_ACCEPT);
    packet.request_authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
    packet.add_attribute("Message-Authenticator", "");
    packet.add_attribute("Reply-Message", "hi");
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("02 07 002a 4e96cc56abf2f114a42600d7c24beb38  50 12 "
                                                      "2e487381fe11839b2f36121800c1c919  12 04 6869"));
}

TEST(DumpAuthenticator, of_a_coa_request_covers_the_message_authenticator_that_was_computed_before) {
    RadiusPacket packet = new_packet(COA_REQUEST);
    packet.add_attribute("Message-Authenticator", "");
    packet.add_attribute("User-Name", "nemo");
    EXPECT_EQ(to_hex(wire_of(packet, secret)), digits("2b 07 002c 305dc5df4f57f29dab7e5320a06d5f6b  50 12 "
                                                      "d6350873063c558a02892b5d841702c8  01 06 6e656d6f"));
}

}  // namespace
}  // namespace quarn::subscriber::radius
