// `RadiusPacket::try_add`: what is added, and every reason for which a value is refused.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/radius/packet.h"
#include "quarn/radius/packet_code.h"
#include "testing/codec_dictionary.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"

namespace quarn::subscriber::radius {

void PrintTo(AddProblem problem, std::ostream* out) {
    *out << "problem " << static_cast<int>(problem);
}

namespace {

using test::Lines;
using test::listing;

/// An attribute of each type of value, besides those of the codec's dictionary.
const test::SharedDictionary& types() {
    static const test::SharedDictionary dictionary = test::dictionary_from(R"(
attributes:
  Note: {code: "1", type: text}
  Count: {code: "2", type: integer}
  Temperature: {code: "3", type: signed}
  Octet-Count: {code: "4", type: integer64}
  Port: {code: "5", type: short, values: {Radius: 1812, Too-Big: 65537}}
  Level: {code: "6", type: byte}
  Since: {code: "7", type: time}
  Address: {code: "8", type: ipv4addr}
  Address-6: {code: "9", type: ipv6addr}
  Any-Address: {code: "10", type: combo-ip}
  Prefix: {code: "11", type: ipv4prefix}
  Prefix-6: {code: "12", type: ipv6prefix}
  Mac: {code: "13", type: ether}
  Interface: {code: "14", type: ifid}
  Service: {code: "15", type: enum, values: {Login: 1, Framed: 2}}
  Secret-Number: {code: "16", type: integer, encrypt: 1}
  Secret-Choice: {code: "17", type: enum, encrypt: 1, values: {Yes: 1}}
  Secret-Text: {code: "18", type: text, encrypt: 2}
  Tagged-Signed: {code: "19", type: signed, has_tag: true}
  Tagged-Time: {code: "20", type: time, has_tag: true}
  "With:1": {code: "21", type: text}
  Codeless: {type: text}
)");
    return dictionary;
}

/// What becomes of the value in an empty packet: the packet's listing or, unchanged, the message.
std::string outcome(const test::SharedDictionary& dictionary, std::string_view name, std::string_view value) {
    RadiusPacket packet(dictionary);
    const AddResult result = packet.try_add(name, value);
    const Lines lines = listing(packet);
    if (result) {
        EXPECT_EQ(result.message, "");
        EXPECT_EQ(result.nearest, "");
        EXPECT_EQ(lines.size(), 1U);
        return lines.empty() ? "nothing" : lines.front();
    }
    EXPECT_TRUE(lines.empty()) << "changed by what it refused";
    EXPECT_TRUE(packet.attribute_map.empty());
    return result.message;
}

std::string outcome(std::string_view name, std::string_view value) {
    return outcome(types(), name, value);
}

std::string codec_outcome(std::string_view name, std::string_view value) {
    return outcome(test::codec_dictionary(), name, value);
}

AddProblem problem_of(const test::SharedDictionary& dictionary, std::string_view name,
                      std::string_view value) {
    return RadiusPacket(dictionary).try_add(name, value).problem;
}

AddProblem problem_of(std::string_view name, std::string_view value) {
    return problem_of(types(), name, value);
}

TEST(TryAdd, AddsAValueOfEveryType) {
    EXPECT_EQ(outcome("Note", "h\xc3\xa9"), "Note (1) 68c3a9");
    EXPECT_EQ(outcome("Count", "4294967295"), "Count (2) ffffffff");
    EXPECT_EQ(outcome("Temperature", "-1"), "Temperature (3) ffffffff");
    EXPECT_EQ(outcome("Octet-Count", "18446744073709551615"), "Octet-Count (4) ffffffffffffffff");
    EXPECT_EQ(outcome("Port", "Radius"), "Port (5) 0714");
    EXPECT_EQ(outcome("Level", "255"), "Level (6) ff");
    EXPECT_EQ(outcome("Since", "2024-01-01T00:00:00Z"), "Since (7) 65920080");
    EXPECT_EQ(outcome("Since", "1"), "Since (7) 00000001");
    EXPECT_EQ(outcome("Address", "192.0.2.1"), "Address (8) c0000201");
    EXPECT_EQ(outcome("Address-6", "::1"), "Address-6 (9) 00000000000000000000000000000001");
    EXPECT_EQ(outcome("Any-Address", "192.0.2.1"), "Any-Address (10) c0000201");
    EXPECT_EQ(outcome("Prefix", "10.1.2.3/8"), "Prefix (11) 00080a010203");
    EXPECT_EQ(outcome("Prefix-6", "2001:db8::/32"), "Prefix-6 (12) 002020010db8");
    EXPECT_EQ(outcome("Mac", "00:11:22:33:44:55"), "Mac (13) 001122334455");
    EXPECT_EQ(outcome("Interface", "00:01-02:03-0405:06 7"), "Interface (14) 0000102030405067");
    EXPECT_EQ(outcome("Service", "framed"), "Service (15) 00000002");
    EXPECT_EQ(outcome("Secret-Number", "7"), "Secret-Number (16) 00000007");
}

TEST(TryAdd, JoinsWhatIsThere) {
    RadiusPacket packet(types());
    EXPECT_TRUE(packet.try_add("Note", "a"));
    EXPECT_TRUE(packet.try_add("Count", "1"));
    EXPECT_TRUE(packet.try_add("NOTE", "b"));
    EXPECT_EQ(listing(packet), (Lines{"Note (1) 61 62", "Count (2) 00000001"}));
}

TEST(TryAdd, ChangesNothingWhenItRefuses) {
    RadiusPacket packet(types());
    EXPECT_TRUE(packet.try_add("Count", "1"));
    const Lines before = listing(packet);
    for (const std::string_view name : {"Count", "Level", "Address", "No-Such"}) {
        EXPECT_FALSE(packet.try_add(name, "bad")) << name;
    }
    EXPECT_EQ(listing(packet), before);
    EXPECT_EQ(packet.attribute_map.size(), 1U);
}

// Names

TEST(TryAdd, RefusesAnUnknownNameAndSuggestsTheNearest) {
    EXPECT_EQ(outcome("Adress", "192.0.2.1"), "unknown attribute \"Adress\", did you mean \"Address\"?");
    EXPECT_EQ(problem_of("Adress", "192.0.2.1"), AddProblem::UnknownAttribute);
    EXPECT_EQ(RadiusPacket(types()).try_add("Adress", "").nearest, "Address");
}

TEST(TryAdd, SuggestsNothingWhereNoNameIsNear) {
    EXPECT_EQ(outcome("Quite-Another", ""), "unknown attribute \"Quite-Another\"");
    EXPECT_EQ(RadiusPacket(types()).try_add("Quite-Another", "").nearest, "");
    EXPECT_EQ(outcome("", ""), "unknown attribute \"\"");
}

TEST(TryAdd, KnowsNoNameWithoutADictionary) {
    EXPECT_EQ(outcome(nullptr, "Note", "a"), "unknown attribute \"Note\"");
    EXPECT_EQ(outcome(nullptr, "Note:1", "a"), "unknown attribute \"Note\"");
}

TEST(TryAdd, RefusesAnAttributeWithoutCode) {
    EXPECT_EQ(outcome("Codeless", "a"), "Codeless: the dictionary gives it no code");
    EXPECT_EQ(problem_of("Codeless", "a"), AddProblem::NoCode);
}

// Tags

TEST(TryAdd, TakesATagBehindTheName) {
    EXPECT_EQ(codec_outcome("Tunnel-Type:1", "L2TP"), "Tunnel-Type (64) #1:00000003");
    EXPECT_EQ(codec_outcome("Tunnel-Type:31", "3"), "Tunnel-Type (64) #31:00000003");
    EXPECT_EQ(codec_outcome("tunnel-type:0x1f", "3"), "Tunnel-Type (64) #31:00000003");
    EXPECT_EQ(codec_outcome("Tunnel-Type:0X01", "3"), "Tunnel-Type (64) #1:00000003");
    EXPECT_EQ(codec_outcome("Tunnel-Client-Endpoint:2", "a"), "Tunnel-Client-Endpoint (66) #2:61");
}

TEST(TryAdd, TakesTag0AsNoTagAtAll) {
    EXPECT_EQ(codec_outcome("Tunnel-Type:0", "3"), "Tunnel-Type (64) #0:00000003");
    EXPECT_EQ(codec_outcome("Tunnel-Type:0x00", "3"), "Tunnel-Type (64) #0:00000003");
    EXPECT_EQ(codec_outcome("Tunnel-Type", "3"), "Tunnel-Type (64) #0:00000003");
}

TEST(TryAdd, RefusesATagThatIsNoNumberFrom0To31) {
    for (const std::string tag : {"32", "255", "256", "-1", "", "x", "0x20", "0x100", "0x", "1 ", "+1"}) {
        EXPECT_EQ(codec_outcome("Tunnel-Type:" + tag, "3"),
                  "Tunnel-Type: \"" + tag + "\" is not a tag from 0 to 31");
        EXPECT_EQ(problem_of(test::codec_dictionary(), "Tunnel-Type:" + tag, "3"), AddProblem::BadTag);
    }
}

TEST(TryAdd, RefusesATagOfAnUntaggedAttribute) {
    for (const std::string_view name : {"User-Name:1", "User-Name:0", "User-Name:"}) {
        EXPECT_EQ(codec_outcome(name, "bob"), "User-Name: takes no tag");
        EXPECT_EQ(problem_of(test::codec_dictionary(), name, "bob"), AddProblem::TakesNoTag);
    }
}

TEST(TryAdd, LeavesANameWithAColonWhole) {
    EXPECT_EQ(outcome("With:1", "a"), "With:1 (21) 61");
    EXPECT_EQ(outcome("With:1:2", "a"), "With:1: takes no tag");
}

TEST(TryAdd, SuggestsANameForWhatPrecedesTheTag) {
    EXPECT_EQ(codec_outcome("Tunel-Type:1", "3"),
              "unknown attribute \"Tunel-Type\", did you mean \"Tunnel-Type\"?");
}

// Values

TEST(TryAdd, RefusesATextThatIsNotUtf8) {
    EXPECT_EQ(outcome("Note", "caf\xe9"), "Note: the value is not well-formed UTF-8");
    EXPECT_EQ(problem_of("Note", "caf\xe9"), AddProblem::NotUtf8);
}

TEST(TryAdd, RefusesWhatIsNotANumberAndTellsTheRange) {
    EXPECT_EQ(outcome("Count", "70x"), "Count: \"70x\" is not a number from 0 to 4294967295");
    EXPECT_EQ(outcome("Temperature", "-"),
              "Temperature: \"-\" is not a number from -2147483648 to 2147483647");
    EXPECT_EQ(outcome("Octet-Count", "1.5"),
              "Octet-Count: \"1.5\" is not a number from 0 to 18446744073709551615");
    EXPECT_EQ(outcome("Level", ""), "Level: \"\" is not a number from 0 to 255");
    EXPECT_EQ(problem_of("Count", "70x"), AddProblem::NotANumber);
}

TEST(TryAdd, RefusesANumberOutsideItsType) {
    EXPECT_EQ(outcome("Count", "-1"), "Count: \"-1\" is out of range: 0 to 4294967295");
    EXPECT_EQ(outcome("Count", "4294967296"), "Count: \"4294967296\" is out of range: 0 to 4294967295");
    EXPECT_EQ(outcome("Temperature", "2147483648"),
              "Temperature: \"2147483648\" is out of range: -2147483648 to 2147483647");
    EXPECT_EQ(outcome("Octet-Count", "18446744073709551616"),
              "Octet-Count: \"18446744073709551616\" is out of range: 0 to 18446744073709551615");
    EXPECT_EQ(outcome("Port", "65536"), "Port: \"65536\" is out of range: 0 to 65535");
    EXPECT_EQ(outcome("Level", "256"), "Level: \"256\" is out of range: 0 to 255");
    EXPECT_EQ(outcome("Since", "4294967296"), "Since: \"4294967296\" is out of range: 0 to 4294967295");
    EXPECT_EQ(outcome("Service", "99999999999"), "Service: \"99999999999\" is out of range: 0 to 4294967295");
    EXPECT_EQ(problem_of("Level", "256"), AddProblem::NumberOutOfRange);
}

TEST(TryAdd, RefusesANameWhoseNumberTheTypeCannotHold) {
    EXPECT_EQ(outcome("Port", "Too-Big"), "Port: \"Too-Big\" is out of range: 0 to 65535");
    EXPECT_EQ(problem_of("Port", "Too-Big"), AddProblem::NumberOutOfRange);
}

TEST(TryAdd, RefusesAnUnknownNameOfAValueAndSuggestsTheNearest) {
    EXPECT_EQ(outcome("Service", "Framd"), "Service: unknown value \"Framd\", did you mean \"Framed\"?");
    EXPECT_EQ(outcome("Service", "Voice"), "Service: unknown value \"Voice\"");
    EXPECT_EQ(problem_of("Service", "Framd"), AddProblem::UnknownValueName);
    EXPECT_EQ(RadiusPacket(types()).try_add("service", "Framd").nearest, "Framed");
    EXPECT_EQ(RadiusPacket(types()).try_add("Service", "Radius").nearest, "");
}

TEST(TryAdd, RefusesAMalformedAddress) {
    EXPECT_EQ(outcome("Address", "10.0.0"), "Address: \"10.0.0\" is not an IPv4 address");
    EXPECT_EQ(outcome("Address-6", "10.0.0.1"), "Address-6: \"10.0.0.1\" is not an IPv6 address");
    EXPECT_EQ(outcome("Any-Address", "host"), "Any-Address: \"host\" is not an IPv4 or IPv6 address");
    EXPECT_EQ(problem_of("Address", "10"), AddProblem::BadIpv4Address);
    EXPECT_EQ(problem_of("Address-6", "10"), AddProblem::BadIpv6Address);
    EXPECT_EQ(problem_of("Any-Address", "10"), AddProblem::BadComboIp);
}

TEST(TryAdd, RefusesAMalformedPrefix) {
    EXPECT_EQ(outcome("Prefix", "10.0.0.0/33"),
              "Prefix: \"10.0.0.0/33\" is not an IPv4 prefix such as 192.0.2.0/24");
    EXPECT_EQ(outcome("Prefix-6", "2001:db8::"),
              "Prefix-6: \"2001:db8::\" is not an IPv6 prefix such as 2001:db8::/32");
    EXPECT_EQ(problem_of("Prefix", "10.0.0.0"), AddProblem::BadIpv4Prefix);
    EXPECT_EQ(problem_of("Prefix-6", "::/129"), AddProblem::BadIpv6Prefix);
}

TEST(TryAdd, RefusesAMalformedTime) {
    EXPECT_EQ(outcome("Since", "Tuesday"), "Since: \"Tuesday\" is not a time such as 2024-01-31T12:00:00Z");
    EXPECT_EQ(outcome("Since", "now"), "Since: \"now\" is not a time such as 2024-01-31T12:00:00Z");
    EXPECT_EQ(outcome("Since", "2024-01-01T00:00:00+2"),
              "Since: \"2024-01-01T00:00:00+2\" has no offset from UTC such as +01:00 at its end");
    EXPECT_EQ(outcome("Since", "1969-12-31T23:59:59Z"),
              "Since: \"1969-12-31T23:59:59Z\" is out of range: 1970-01-01T00:00:00Z to "
              "2106-02-07T06:28:15Z");
    EXPECT_EQ(problem_of("Since", "now"), AddProblem::BadTime);
    EXPECT_EQ(problem_of("Since", "2024-01-01T00:00:00+2"), AddProblem::BadTimeOffset);
    EXPECT_EQ(problem_of("Since", "1969-12-31T23:59:59Z"), AddProblem::TimeOutOfRange);
}

TEST(TryAdd, RefusesMalformedHexadecimalDigits) {
    EXPECT_EQ(outcome("Mac", "00:1g"), "Mac: \"00:1g\" is not in hexadecimal digits");
    EXPECT_EQ(problem_of("Mac", "00:1g"), AddProblem::BadHex);
}

TEST(TryAdd, RefusesAMacAddressOrInterfaceIdentifierOfAnotherSize) {
    EXPECT_EQ(outcome("Mac", "00-11-22"), "Mac: \"00-11-22\" has 3 bytes, not 6");
    EXPECT_EQ(outcome("Interface", "00:11:22:33:44:55"),
              "Interface: \"00:11:22:33:44:55\" has 6 bytes, not 8");
    EXPECT_EQ(problem_of("Mac", ""), AddProblem::WrongSize);
}

TEST(TryAdd, LeavesTheValueOfAHiddenAttributeOutOfItsMessages) {
    EXPECT_EQ(outcome("Secret-Number", "hush"),
              "Secret-Number: the value is not a number from 0 to 4294967295");
    EXPECT_EQ(outcome("Secret-Number", "-7"), "Secret-Number: the value is out of range: 0 to 4294967295");
    EXPECT_EQ(outcome("Secret-Choice", "Yess"), "Secret-Choice: unknown value");
    EXPECT_EQ(outcome("Secret-Text", "hush\xff"), "Secret-Text: the value is not well-formed UTF-8");
    EXPECT_EQ(RadiusPacket(types()).try_add("Secret-Choice", "Yess").nearest, "");
}

// Values that would not arrive whole

TEST(TryAdd, RefusesATaggedNumberThatNeedsTheByteOfItsTag) {
    EXPECT_EQ(codec_outcome("Tunnel-Type:1", "16777215"), "Tunnel-Type (64) #1:00ffffff");
    EXPECT_EQ(codec_outcome("Tunnel-Type:1", "16777216"),
              "Tunnel-Type: \"16777216\" is out of range: a tagged number goes from 0 to 16777215");
    EXPECT_EQ(codec_outcome("Tunnel-Type", "16777216"),
              "Tunnel-Type: \"16777216\" is out of range: a tagged number goes from 0 to 16777215");
    EXPECT_EQ(codec_outcome("Tagged-Short", "256"),
              "Tagged-Short: \"256\" is out of range: a tagged number goes from 0 to 255");
    EXPECT_EQ(codec_outcome("Tagged-Integer64", "72057594037927936"),
              "Tagged-Integer64: \"72057594037927936\" is out of range: a tagged number goes from 0 to "
              "72057594037927935");
    EXPECT_EQ(outcome("Tagged-Signed", "-1"),
              "Tagged-Signed: \"-1\" is out of range: a tagged number goes from 0 to 16777215");
    EXPECT_EQ(
        outcome("Tagged-Time", "2024-01-01T00:00:00Z"),
        "Tagged-Time: \"2024-01-01T00:00:00Z\" is out of range: a tagged number goes from 0 to 16777215");
    EXPECT_EQ(problem_of(test::codec_dictionary(), "Tunnel-Type", "16777216"), AddProblem::TaggedOutOfRange);
}

TEST(TryAdd, TakesTaggedNumbersThatKeepAllTheirBytes) {
    EXPECT_EQ(codec_outcome("Tagged-Byte:1", "255"), "Tagged-Byte (193) #1:ff");
    EXPECT_EQ(codec_outcome("Hidden-Number:1", "4294967295"), "Hidden-Number (191) #1:ffffffff");
}

TEST(TryAdd, RefusesANestedTlvThatItsLengthByteCannotCount) {
    EXPECT_EQ(codec_outcome("Continued-Tlv-Octets", std::string(253, 'a')),
              "Continued-Tlv-Octets (26.104.3.1) " + test::repeat("61", 253));
    EXPECT_EQ(codec_outcome("Continued-Tlv-Octets", std::string(254, 'a')),
              "Continued-Tlv-Octets: too long: 254 bytes on the wire, where there is room for 253");
    EXPECT_EQ(codec_outcome("Long-Tlv-Octets", std::string(254, 'a')),
              "Long-Tlv-Octets: too long: 254 bytes on the wire, where there is room for 253");
    EXPECT_EQ(codec_outcome("Tlv-Concat-Octets", std::string(254, 'a')),
              "Tlv-Concat-Octets: too long: 254 bytes on the wire, where there is room for 253");
    // The TLV around the TLV counts both headers; the vendor's attribute has room for less still.
    EXPECT_EQ(codec_outcome("One-Tlv-Tlv-Text", std::string(252, 'a')),
              "One-Tlv-Tlv-Text: too long: 252 bytes on the wire, where there is room for 243");
    for (const std::string_view name :
         {"Continued-Tlv-Octets", "Long-Tlv-Octets", "Tlv-Concat-Octets", "One-Tlv-Tlv-Text"}) {
        EXPECT_EQ(problem_of(test::codec_dictionary(), name, std::string(254, 'a')), AddProblem::TlvTooLong);
    }
}

TEST(TryAdd, RefusesEveryValueWhereTheHeadersOfTlvsAloneAreTooLong) {
    const test::SharedDictionary dictionary = test::dictionary_from(R"(
attributes:
  Long: {code: "245", type: long-extended}
  Deep: {code: "245.1)" + test::repeat(".1", 128) + R"(", type: text}
)");
    EXPECT_EQ(outcome(dictionary, "Deep", ""),
              "Deep: too long: 0 bytes on the wire, where there is room for 0");
    EXPECT_EQ(problem_of(dictionary, "Deep", ""), AddProblem::TlvTooLong);
}

TEST(TryAdd, RefusesAValueThatTheEncoderWouldTruncate) {
    EXPECT_EQ(codec_outcome("Reply-Message", std::string(254, 'a')),
              "Reply-Message: too long: 254 bytes on the wire, where there is room for 253");
    EXPECT_EQ(codec_outcome("Tunnel-Client-Endpoint", std::string(253, 'a')),
              "Tunnel-Client-Endpoint: too long: 254 bytes on the wire, where there is room for 253");
    EXPECT_EQ(codec_outcome("User-Password", std::string(241, 'a')),
              "User-Password: too long: 256 bytes on the wire, where there is room for 253");
    EXPECT_EQ(codec_outcome("Tunnel-Password:1", std::string(240, 'a')),
              "Tunnel-Password: too long: 259 bytes on the wire, where there is room for 253");
    EXPECT_EQ(codec_outcome("One-Tlv-Tlv-Text", std::string(244, 'a')),
              "One-Tlv-Tlv-Text: too long: 244 bytes on the wire, where there is room for 243");
    EXPECT_EQ(problem_of(test::codec_dictionary(), "Reply-Message", std::string(254, 'a')),
              AddProblem::ValueTooLong);
    EXPECT_EQ(problem_of(test::codec_dictionary(), "One-Tlv-Tlv-Text", std::string(244, 'a')),
              AddProblem::ValueTooLong);
}

TEST(TryAdd, RefusesAHiddenValueThatItsLengthByteCannotCount) {
    EXPECT_EQ(codec_outcome("Hidden-Concat", std::string(255, 'a')),
              "Hidden-Concat (197) " + test::repeat("61", 255));
    EXPECT_EQ(codec_outcome("Hidden-Concat", std::string(256, 'a')),
              "Hidden-Concat: too long: 256 bytes, where at most 255 can be hidden");
    EXPECT_EQ(problem_of(test::codec_dictionary(), "Hidden-Concat", std::string(256, 'a')),
              AddProblem::ValueTooLong);
}

TEST(TryAdd, TakesAMessageAuthenticatorOfAnySize) {
    EXPECT_EQ(codec_outcome("Message-Authenticator", std::string(300, 'a')),
              "Message-Authenticator (80) " + test::repeat("61", 300));
}

/// True if the text arrives: nothing is truncated, and what is read says all of the text.
bool arrives(const std::string& name, const std::string& text) {
    RadiusPacket packet = test::new_packet(test::codec_dictionary(), ACCESS_REQUEST);
    packet.add_attribute(name, text);
    std::vector<ParseIssue> issues;
    const Bytes wire = pkt_dump(packet, "secret", issues);
    const test::Decoded decoded = test::decode(test::codec_dictionary(), wire, "secret");
    const RadiusAttribute* const read = decoded.packet.find_attribute(name);
    std::string all;
    for (const RadiusValue* value = read != nullptr ? read->values.begin() : nullptr;
         read != nullptr && value != read->values.end(); ++value) {
        all += value->as_string();
    }
    return issues.empty() && decoded.issues.empty() && all == text;
}

TEST(TryAdd, AddsALongValueExactlyWhereItArrives) {
    for (const std::string name : {"Reply-Message",
                                   "Class",
                                   "EAP-Message",
                                   "Tunnel-Client-Endpoint",
                                   "Tunnel-Password",
                                   "User-Password",
                                   "Tagged-Concat",
                                   "Hidden-Octets",
                                   "Hidden-Concat",
                                   "Tlv-Concat-Octets",
                                   "One-Text",
                                   "Two-Text",
                                   "Four-Text",
                                   "Long-Type-Text",
                                   "One-Tlv-Tlv-Text",
                                   "One-Hidden",
                                   "One-Salted",
                                   "One-Concat",
                                   "Continued-Octets",
                                   "Continued-Tlv-Octets",
                                   "Extended-Text",
                                   "Extended-Tlv-Tlv-Text",
                                   "Extended-Hidden",
                                   "Extended-Concat",
                                   "Extended-Vendor-Text",
                                   "Long-Octets",
                                   "Long-Tlv-Octets",
                                   "Long-Hidden",
                                   "Long-Tagged",
                                   "Long-Vendor-Octets"}) {
        for (std::size_t size = 200; size < 300; ++size) {
            const std::string text(size, 'a');
            RadiusPacket packet(test::codec_dictionary());
            EXPECT_EQ(static_cast<bool>(packet.try_add(name, text)), arrives(name, text))
                << name << " of " << size << " bytes";
        }
    }
}

TEST(TryAdd, RefusesATaggedOrHiddenValueWhosePiecesTheReaderWouldNotJoin) {
    const test::SharedDictionary dictionary = test::dictionary_from(R"(
vendor: {id: 9, name: Nine}
attributes:
  Tagged: {code: "26.9.1", type: text, has_tag: true}
  Tagged-Concat: {code: "26.9.2", type: text, has_tag: true, concat: true}
)");
    EXPECT_EQ(problem_of(dictionary, "Tagged:1", std::string(246, 'a')), AddProblem::None);
    EXPECT_EQ(outcome(dictionary, "Tagged:1", std::string(247, 'a')),
              "Tagged: too long: 248 bytes on the wire, where there is room for 247");
    EXPECT_EQ(problem_of(dictionary, "Tagged-Concat:1", std::string(300, 'a')), AddProblem::None);
    EXPECT_EQ(codec_outcome("One-Hidden", std::string(241, 'a')),
              "One-Hidden: too long: 256 bytes on the wire, where there is room for 247");
}

}  // namespace
}  // namespace quarn::subscriber::radius
