#include "quarn/radius/value_encoding.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "testing/codec_dictionary.h"
#include "testing/dictionaries.h"

namespace quarn::subscriber::radius {
namespace {

using test::digits;

/// An attribute for each type that has enumerated values here, and none for any other.
const RadiusDictionary& dictionary() {
    static const test::SharedDictionary shared = test::dictionary_from(R"(
attributes:
  Enum: {type: enum, values: {PPP: 1, "12": 99, Big: 4294967295, "": 7}}
  Integer: {type: integer, values: {One: 1}}
  Time: {type: time, values: {Epoch: 0, Tomorrow: 86400}}
  Signed: {type: signed, values: {Minus-One: 4294967295}}
  Integer64: {type: integer64, values: {Low: 5}}
  Short: {type: short, values: {Port: 1812, Too-Big: 65537}}
  Byte: {type: byte, values: {Full: 255, Too-Big: 258}}
)");
    return *shared;
}

AttributeMetadata record_of(std::string type, std::string name = "Any") {
    AttributeMetadata record;
    record.name = std::move(name);
    record.type = std::move(type);
    record.derive_fields();
    return record;
}

/// What became of a text: the digits of its bytes, "nothing", or the message of the exception.
std::string encoded(const AttributeMetadata& record, std::string_view text) {
    try {
        const std::optional<Bytes> bytes = encode_text_value(dictionary(), record, text);
        return bytes ? "=" + test::to_hex(*bytes) : "nothing";
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
}

struct Row {
    std::string_view text;
    std::string result;
};

void expect_results(const std::string& type, std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        EXPECT_EQ(encoded(record_of(type), row.text), row.result) << type << " of " << row.text;
    }
}

std::string bytes(std::string_view grouped) {
    return "=" + digits(grouped);
}

TEST(TextEncoding, TakesAnyUtf8AsItIs) {
    expect_results("text", {
                               {"", "="},
                               {"hello", bytes("68 65 6c 6c 6f")},
                               {"\xc3\xa9", bytes("c3 a9")},
                               {"\xf4\x8f\xbf\xbf", bytes("f4 8f bf bf")},
                               {"0xabc", bytes("30 78 61 62 63")},
                           });
}

TEST(TextEncoding, TakesControlCharacters) {
    expect_results("text", {{"a\nb\tc\x7f", bytes("61 0a 62 09 63 7f")},
                            {std::string_view("a\0b", 3), bytes("61 00 62")}});
}

TEST(TextEncoding, DropsWhatIsNotUtf8) {
    expect_results("text", {
                               {"\xff", "nothing"},
                               {"\xc0\x80", "nothing"},
                               {"\xed\xa0\x80", "nothing"},
                               {"\xf4\x90\x80\x80", "nothing"},
                               {"abc\xc3", "nothing"},
                               {"\xe9t\xe9", "nothing"},
                           });
}

TEST(OctetsEncoding, DecodesHexadecimalLiterals) {
    expect_results("octets", {
                                 {"0x00ff", bytes("00 ff")},
                                 {"0X1F", bytes("1f")},
                                 {"0xAbCd", bytes("ab cd")},
                             });
}

TEST(OctetsEncoding, PutsAZeroBeforeAnOddNumberOfDigits) {
    expect_results("octets",
                   {{"0xabc", bytes("0a bc")}, {"0x1", bytes("01")}, {"0x12345", bytes("01 23 45")}});
}

TEST(OctetsEncoding, TakesEveryOtherTextAsItsBytes) {
    expect_results("octets", {
                                 {"", "="},
                                 {"hello", bytes("68 65 6c 6c 6f")},
                                 {"0x", bytes("30 78")},
                                 {"0x1g", bytes("30 78 31 67")},
                                 {"0x 12", bytes("30 78 20 31 32")},
                                 {" 0x12", bytes("20 30 78 31 32")},
                                 {"01", bytes("30 31")},
                                 {"\xff\xfe", bytes("ff fe")},
                                 {std::string_view("a\0b", 3), bytes("61 00 62")},
                             });
}

TEST(OctetsEncoding, ServesEveryTypeNameWithoutAMeaningOfItsOwn) {
    for (const std::string type :
         {"string", "Octets", "", "vsa", "tlv", "struct", "no-such-type", " integer"}) {
        EXPECT_EQ(encoded(record_of(type), "0xabc"), "=0abc") << type;
        EXPECT_EQ(encoded(record_of(type), "12"), "=3132") << type;
    }
}

TEST(IntegerEncoding, TakesTheDecimalNumbersOf32Bits) {
    expect_results("integer", {
                                  {"0", bytes("00 00 00 00")},
                                  {"1", bytes("00 00 00 01")},
                                  {"16909060", bytes("01 02 03 04")},
                                  {"2147483648", bytes("80 00 00 00")},
                                  {"4294967295", bytes("ff ff ff ff")},
                                  {"007", bytes("00 00 00 07")},
                              });
}

TEST(IntegerEncoding, DropsEveryOtherText) {
    expect_results("integer", {
                                  {"", "nothing"},
                                  {"4294967296", "nothing"},
                                  {"18446744073709551616", "nothing"},
                                  {"99999999999999999999999999", "nothing"},
                                  {"-1", "nothing"},
                                  {"-0", "nothing"},
                                  {"PPP", "nothing"},
                                  {"1x", "nothing"},
                                  {"1 ", "nothing"},
                                  {" 5", "nothing"},
                                  {"+5", "nothing"},
                                  {"0x10", "nothing"},
                                  {"1.0", "nothing"},
                                  {"-", "nothing"},
                                  {std::string_view("1\0", 2), "nothing"},
                              });
}

TEST(SignedEncoding, TakesTheDecimalNumbersOf32BitsInTwosComplement) {
    expect_results("signed", {
                                 {"0", bytes("00 00 00 00")},
                                 {"-1", bytes("ff ff ff ff")},
                                 {"-2", bytes("ff ff ff fe")},
                                 {"2147483647", bytes("7f ff ff ff")},
                                 {"-2147483648", bytes("80 00 00 00")},
                             });
}

TEST(SignedEncoding, DropsEveryOtherText) {
    expect_results("signed", {
                                 {"2147483648", "nothing"},
                                 {"-2147483649", "nothing"},
                                 {"4294967295", "nothing"},
                                 {"", "nothing"},
                                 {"-", "nothing"},
                                 {"--1", "nothing"},
                                 {"-1x", "nothing"},
                             });
}

TEST(Integer64Encoding, TakesTheDecimalNumbersOf64Bits) {
    expect_results("integer64", {
                                    {"0", bytes("00 00 00 00 00 00 00 00")},
                                    {"4294967296", bytes("00 00 00 01 00 00 00 00")},
                                    {"18446744073709551615", bytes("ff ff ff ff ff ff ff ff")},
                                });
}

TEST(Integer64Encoding, DropsEveryOtherText) {
    expect_results(
        "integer64",
        {{"18446744073709551616", "nothing"}, {"-1", "nothing"}, {"", "nothing"}, {"1x", "nothing"}});
}

TEST(ShortEncoding, TakesTheDecimalNumbersOf16Bits) {
    expect_results("short", {{"0", bytes("00 00")}, {"256", bytes("01 00")}, {"65535", bytes("ff ff")}});
}

TEST(ShortEncoding, DropsEveryOtherText) {
    expect_results("short", {{"65536", "nothing"}, {"-1", "nothing"}, {"", "nothing"}, {"1x", "nothing"}});
}

TEST(ByteEncoding, TakesTheDecimalNumbersOf8Bits) {
    expect_results("byte", {{"0", bytes("00")}, {"255", bytes("ff")}});
}

TEST(ByteEncoding, DropsEveryOtherText) {
    expect_results("byte", {{"256", "nothing"}, {"-1", "nothing"}, {"", "nothing"}, {"1x", "nothing"}});
}

TEST(EnumeratedEncoding, TakesTheNameOfAValueWhateverItsCase) {
    EXPECT_EQ(encoded(record_of("enum", "Enum"), "PPP"), bytes("00 00 00 01"));
    EXPECT_EQ(encoded(record_of("enum", "Enum"), "ppp"), bytes("00 00 00 01"));
    EXPECT_EQ(encoded(record_of("enum", "eNUM"), "Big"), bytes("ff ff ff ff"));
}

TEST(EnumeratedEncoding, DropsAnUnknownName) {
    EXPECT_EQ(encoded(record_of("enum", "Enum"), "PPX"), "nothing");
}

TEST(EnumeratedEncoding, TakesANumberThatHasNoName) {
    EXPECT_EQ(encoded(record_of("enum", "Enum"), "3"), bytes("00 00 00 03"));
}

TEST(EnumeratedEncoding, LetsANameOfDigitsWinOverTheNumber) {
    EXPECT_EQ(encoded(record_of("enum", "Enum"), "12"), bytes("00 00 00 63"));
    EXPECT_EQ(encoded(record_of("enum", "Enum"), "012"), bytes("00 00 00 0c"));
}

TEST(EnumeratedEncoding, KnowsAnEmptyName) {
    EXPECT_EQ(encoded(record_of("enum", "Enum"), ""), bytes("00 00 00 07"));
}

TEST(EnumeratedEncoding, ServesNumbersOfEveryTypeInTheWidthOfTheType) {
    EXPECT_EQ(encoded(record_of("integer", "Integer"), "one"), bytes("00 00 00 01"));
    EXPECT_EQ(encoded(record_of("time", "Time"), "epoch"), bytes("00 00 00 00"));
    EXPECT_EQ(encoded(record_of("signed", "Signed"), "minus-one"), bytes("ff ff ff ff"));
    EXPECT_EQ(encoded(record_of("integer64", "Integer64"), "low"), bytes("00 00 00 00 00 00 00 05"));
    EXPECT_EQ(encoded(record_of("short", "Short"), "port"), bytes("07 14"));
    EXPECT_EQ(encoded(record_of("byte", "Byte"), "full"), bytes("ff"));
}

TEST(EnumeratedEncoding, DoesNotCheckThatANamedNumberFits) {
    EXPECT_EQ(encoded(record_of("short", "Short"), "Too-Big"), bytes("00 01"));
    EXPECT_EQ(encoded(record_of("byte", "Byte"), "Too-Big"), bytes("02"));
}

TEST(EnumeratedEncoding, KeepsTheNamesOfAttributesApart) {
    EXPECT_EQ(encoded(record_of("enum", "Enum"), "One"), "nothing");
    EXPECT_EQ(encoded(record_of("enum", "Other"), "PPP"), "nothing");
}

TEST(EnumeratedEncoding, LooksNoNameUpForAnAttributeWithoutOne) {
    const test::SharedDictionary nameless = test::dictionary_from(R"(
attributes:
  "": {type: integer, values: {One: 1}}
)");
    EXPECT_EQ(encode_text_value(*nameless, record_of("integer", ""), "One"), std::nullopt);
    EXPECT_EQ(encode_text_value(*nameless, record_of("integer", ""), "1"), test::hex("00000001"));
}

TEST(TimeEncoding, TakesTheDecimalNumbersOf32Bits) {
    expect_results("time", {
                               {"0", bytes("00 00 00 00")},
                               {"4294967295", bytes("ff ff ff ff")},
                               {"4294967296", "nothing"},
                               {"-1", "nothing"},
                               {"", "nothing"},
                               {"2024-01-01", "nothing"},
                               {"now", "nothing"},
                           });
}

TEST(TimeEncoding, TakesADateAndTimeInUtc) {
    expect_results("time", {
                               {"1970-01-01T00:00:00", bytes("00 00 00 00")},
                               {"1970-01-01T00:00:00Z", bytes("00 00 00 00")},
                               {"2024-01-01T00:00:00Z", bytes("65 92 00 80")},
                               {"2024-01-01T00:00:00", bytes("65 92 00 80")},
                               {"2024-02-29T09:58:24Z", bytes("65 e0 55 40")},
                               {"2038-01-19T03:14:08Z", bytes("80 00 00 00")},
                               {"2106-02-07T06:28:15Z", bytes("ff ff ff ff")},
                           });
}

TEST(TimeEncoding, TakesOffAnOffsetFromUtc) {
    expect_results("time", {
                               {"2024-01-01T02:00:00+02:00", bytes("65 92 00 80")},
                               {"2024-01-01T02:00:00+0200", bytes("65 92 00 80")},
                               {"2023-12-31T18:30:00-05:30", bytes("65 92 00 80")},
                               {"2024-01-01T00:00:00+00:00", bytes("65 92 00 80")},
                               {"2024-01-01T00:00:00-0000", bytes("65 92 00 80")},
                               {"2024-01-01T02:00:00+:0:2:0:0:", bytes("65 92 00 80")},
                               {"2024-01-05T03:39:00+99:99", bytes("6591f270")},
                           });
}

TEST(TimeEncoding, PassesOverAFractionOfASecond) {
    expect_results("time", {
                               {"2024-01-01T00:00:00.5Z", bytes("65 92 00 80")},
                               {"2024-01-01T00:00:00.999999999", bytes("65 92 00 80")},
                               {"2024-01-01T02:00:00.25+02:00", bytes("65 92 00 80")},
                               {"2024-01-01T00:00:00.", bytes("65 92 00 80")},
                               {"2024-01-01T00:00:00.Z", bytes("65 92 00 80")},
                           });
}

TEST(TimeEncoding, RefusesAMalformedDateAndTime) {
    for (const std::string text :
         {"T", "Today", "2024-01-01T", "2024-01-01T00:00", "2024-13-01T00:00:00Z", "2024-01-01T25:00:00Z",
          "2024-01-01 T00:00:00Z x", "2024-01-01T00:00:00z", "2024-01-01T00:00:00Zulu",
          "2024-01-01T00:00:00 Z", "2024-01-01T00:00:00.5x", "2024-01-01T00:00:00,5Z"}) {
        EXPECT_EQ(encoded(record_of("time"), text), "invalid ISO 8601 time: " + text);
    }
}

TEST(TimeEncoding, RefusesWhatFollowsAnEmbeddedZeroByte) {
    const std::string text("2024-01-01T00:00:00\0Z", 21);
    // The message is a C string and ends where the text's zero byte is.
    EXPECT_EQ(encoded(record_of("time"), text), "invalid ISO 8601 time: 2024-01-01T00:00:00");
}

TEST(TimeEncoding, RefusesAMalformedOffset) {
    for (const std::string text :
         {"2024-01-01T00:00:00+2", "2024-01-01T00:00:00+", "2024-01-01T00:00:00-020",
          "2024-01-01T00:00:00+02000", "2024-01-01T00:00:00+02:0x", "2024-01-01T00:00:00+02:00Z",
          "2024-01-01T00:00:00+ 200", "2024-01-01T00:00:00.5-2", "2024-01-01T00:00:00+-200"}) {
        EXPECT_EQ(encoded(record_of("time"), text), "invalid ISO 8601 offset: " + text);
    }
}

TEST(TimeEncoding, RefusesTimesBefore1970AndBeyond32Bits) {
    for (const std::string text :
         {"1969-12-31T23:59:59Z", "1900-01-01T00:00:00Z", "1970-01-01T00:00:00+00:01", "2106-02-07T06:28:16Z",
          "2106-02-07T06:28:15-00:01", "9999-12-31T23:59:59Z"}) {
        EXPECT_EQ(encoded(record_of("time"), text), "time out of range: " + text);
    }
}

TEST(TimeEncoding, BringsATimeIntoRangeByItsOffset) {
    expect_results("time", {{"1969-12-31T23:59:00-00:01", bytes("00 00 00 00")},
                            {"2106-02-07T06:29:15+00:01", bytes("ff ff ff ff")}});
}

TEST(TimeEncoding, ReadsAnyTextWithACapitaltThatNamesNoValueAsADate) {
    // Even one that names a value: only a text without "T" is looked up.
    EXPECT_EQ(encoded(record_of("time", "Time"), "Tomorrow"), "invalid ISO 8601 time: Tomorrow");
    EXPECT_EQ(encoded(record_of("time", "Time"), "tomorrow"), bytes("00 01 51 80"));
}

TEST(Ipv4AddressEncoding, TakesDottedQuads) {
    expect_results("ipv4addr", {{"192.168.1.16", bytes("c0 a8 01 10")},
                                {"0.0.0.0", bytes("00 00 00 00")},
                                {"255.255.255.255", bytes("ff ff ff ff")}});
}

TEST(Ipv4AddressEncoding, RefusesEverythingElse) {
    for (const std::string text : {"", "1.2.3", "1.2.3.4.5", "256.1.1.1", "1.2.3.4 ", " 1.2.3.4", "1.2.3.x",
                                   "::1", "16909060", "1.2.3.4/32", "localhost"}) {
        EXPECT_EQ(encoded(record_of("ipv4addr"), text), "invalid ipv4addr: " + text);
    }
    EXPECT_EQ(encoded(record_of("ipv4addr"), std::string_view("1.2.3.4\0x", 9)), "invalid ipv4addr: 1.2.3.4");
}

TEST(Ipv4PrefixEncoding, IsAZeroByteTheLengthAndTheWholeAddress) {
    expect_results("ipv4prefix", {
                                     {"10.0.0.0/8", bytes("00 08 0a 00 00 00")},
                                     {"10.0.0.0/08", bytes("00 08 0a 00 00 00")},
                                     {"10.1.2.3/0", bytes("00 00 0a 01 02 03")},
                                     {"10.1.2.3/32", bytes("00 20 0a 01 02 03")},
                                 });
}

TEST(Ipv4PrefixEncoding, RefusesEverythingElse) {
    for (const std::string text : {"10.0.0.0/33", "10.0.0.0", "", "/", "/24", "10.0.0.0/", "10.0.0.0/-1",
                                   "10.0.0.0/+8", "10.0.0.0/8x", "10.0.0.0/8/8", "10.0.0/8", "10.0.0.0 /8",
                                   "10.0.0.0/ 8", "10.0.0.0/256", "10.0.0.0/264", "2001:db8::/32"}) {
        EXPECT_EQ(encoded(record_of("ipv4prefix"), text), "invalid ipv4prefix: " + text);
    }
}

TEST(Ipv6AddressEncoding, TakesWhatInetPtonTakes) {
    expect_results("ipv6addr", {
                                   {"::", bytes("00000000000000000000000000000000")},
                                   {"::1", bytes("00000000000000000000000000000001")},
                                   {"2001:DB8::1", bytes("20010db8000000000000000000000001")},
                                   {"::ffff:192.0.2.1", bytes("00000000000000000000ffffc0000201")},
                               });
}

TEST(Ipv6AddressEncoding, RefusesEverythingElse) {
    for (const std::string text :
         {"", ":", "1.2.3.4", "2001:db8", "::1%lo", "[::1]", "2001:db8::1::2", "::1 "}) {
        EXPECT_EQ(encoded(record_of("ipv6addr"), text), "invalid ipv6addr: " + text);
    }
}

TEST(Ipv6PrefixEncoding, IsAZeroByteTheLengthAndAsManyBytesAsTheLengthCovers) {
    expect_results("ipv6prefix", {
                                     {"2001:db8::/32", bytes("00 20 20 01 0d b8")},
                                     {"2001:db8::/0", bytes("00 00")},
                                     {"2001:db8::/1", bytes("00 01 20")},
                                     {"2001:db8::/8", bytes("00 08 20")},
                                     {"2001:db8::/9", bytes("00 09 20 01")},
                                     {"2001:db8:1234::/33", bytes("00 21 20 01 0d b8 12")},
                                     {"2001:db8::1/127", bytes("00 7f 20010db8000000000000000000000001")},
                                     {"2001:db8::1/128", bytes("00 80 20010db8000000000000000000000001")},
                                 });
}

TEST(Ipv6PrefixEncoding, RefusesEverythingElse) {
    for (const std::string text : {"2001:db8::/129", "2001:db8::", "", "/64", "2001:db8::/", "2001:db8::/-1",
                                   "2001:db8::/64x", "2001:db8::/256", "10.0.0.0/8", "2001:db8::/64/64"}) {
        EXPECT_EQ(encoded(record_of("ipv6prefix"), text), "invalid ipv6prefix: " + text);
    }
}

TEST(ComboIpEncoding, TakesAddressesOfEitherKind) {
    expect_results("combo-ip", {{"192.168.1.16", bytes("c0 a8 01 10")},
                                {"2001:db8::1", bytes("20010db8000000000000000000000001")}});
}

TEST(ComboIpEncoding, RefusesEverythingElse) {
    for (const std::string text : {"", "1.2.3", "2001:db8", "host", "10.0.0.0/8"}) {
        EXPECT_EQ(encoded(record_of("combo-ip"), text), "invalid combo-ip: " + text);
    }
}

TEST(HexGroupEncoding, TakesDigitsAndPassesOverSeparators) {
    for (const std::string type : {"ether", "ifid"}) {
        expect_results(type, {
                                 {"00:11:22:33:44:55", bytes("00 11 22 33 44 55")},
                                 {"00-11-22", bytes("00 11 22")},
                                 {"0011.", "invalid hex: 0011."},
                                 {"Aa Bb\tcC\n", bytes("aa bb cc")},
                                 {"0123456789abcdefABCDEF", bytes("0123456789abcdefABCDEF")},
                                 {"::--", "="},
                                 {"", "="},
                             });
    }
}

TEST(HexGroupEncoding, PutsAZeroBeforeAnOddNumberOfDigits) {
    expect_results("ether", {{"1", bytes("01")}, {"0:11:22", bytes("00 11 22")}, {"abc", bytes("0a bc")}});
}

TEST(HexGroupEncoding, RefusesEveryOtherCharacter) {
    for (const std::string text : {"00:1g", "0x00", "00.11", "xyz", "\xc3\xa9"}) {
        EXPECT_EQ(encoded(record_of("ether"), text), "invalid hex: " + text);
        EXPECT_EQ(encoded(record_of("ifid"), text), "invalid hex: " + text);
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
