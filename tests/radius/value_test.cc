#include "quarn/radius/value.h"

#include <gtest/gtest.h>

#include <utility>

#include "testing/packets.h"

namespace quarn::subscriber::radius {
namespace {

using test::hex;

RadiusValue value_of(std::string type, std::string_view data) {
    return {std::move(type), hex(data), 0, false};
}

struct Row {
    std::string type;
    std::string_view data;
    std::string text;
};

void expect_texts(std::initializer_list<Row> rows) {
    for (const Row& row : rows) {
        const RadiusValue value = value_of(row.type, row.data);
        EXPECT_EQ(value.as_string(), row.text) << row.type << " of " << row.data;
        EXPECT_EQ(value.string_cache, row.text) << row.type << " of " << row.data;
    }
}

TEST(ValueText, OfOctetsIsTheBytesUnchanged) {
    expect_texts({
        {"octets", "", ""},
        {"octets", "00 ff", std::string("\0\xff", 2)},
        {"string", "68 65 6c 6c 6f", "hello"},
        {"text", "c3 a9", "\xc3\xa9"},
        {"text", "c0 80 0a 7f", "\xc0\x80\n\x7f"},
    });
}

TEST(ValueText, OfATypeNameWithoutAMeaningOfItsOwnIsTheBytesUnchanged) {
    expect_texts({
        {"", "41", "A"},
        {"tlv", "01 03 41", "\x01\x03\x41"},
        {"vsa", "00 00 00 09", std::string("\0\0\0\x09", 4)},
        {"no-such-type", "41 42", "AB"},
        {" integer", "00 00 00 01", std::string("\0\0\0\x01", 4)},
    });
}

TEST(ValueText, OfAnIntegerIsItsFirstFourBytesInDecimal) {
    expect_texts({
        {"integer", "00 00 00 00", "0"},
        {"integer", "00 00 00 01", "1"},
        {"integer", "01 02 03 04", "16909060"},
        {"integer", "7f ff ff ff", "2147483647"},
        {"integer", "80 00 00 00", "2147483648"},
        {"integer", "ff ff ff ff", "4294967295"},
        {"integer", "00 00 01 00 ff", "256"},
        {"enum", "00 00 00 02", "2"},
        {"ENUM", "00 00 00 02", "2"},
    });
}

TEST(ValueText, OfAnIntegerOfFewerThanFourBytesIsEmpty) {
    expect_texts({{"integer", "", ""}, {"integer", "01", ""}, {"integer", "00 00 01", ""}});
}

TEST(ValueText, OfATimeIsIso8601InUtc) {
    expect_texts({
        {"time", "00 00 00 00", "1970-01-01T00:00:00Z"},
        {"time", "00 00 00 01", "1970-01-01T00:00:01Z"},
        {"time", "7f ff ff ff", "2038-01-19T03:14:07Z"},
        {"time", "80 00 00 00", "2038-01-19T03:14:08Z"},
        {"time", "ff ff ff ff", "2106-02-07T06:28:15Z"},
        {"time", "65 e0 55 40", "2024-02-29T09:58:24Z"},
        {"time", "00 00 00 01 ff", "1970-01-01T00:00:01Z"},
        {"time", "00 00 01", ""},
    });
}

TEST(ValueText, OfASignedNumberHasAMinusWhenItIsNegative) {
    expect_texts({
        {"signed", "ff ff ff ff", "-1"},
        {"signed", "00 00 00 00", "0"},
        {"signed", "7f ff ff ff", "2147483647"},
        {"signed", "80 00 00 00", "-2147483648"},
        {"signed", "ff ff ff fe 00", "-2"},
        {"signed", "ff ff ff", ""},
    });
}

TEST(ValueText, OfAnInteger64IsItsLastEightBytesInDecimal) {
    expect_texts({
        {"integer64", "00 00 00 00 00 00 00 00", "0"},
        {"integer64", "00 00 00 01 00 00 00 00", "4294967296"},
        {"integer64", "80 00 00 00 00 00 00 00", "9223372036854775808"},
        {"integer64", "ff ff ff ff ff ff ff ff", "18446744073709551615"},
        {"integer64", "01 00 00 00 00 00 00 00 05", "5"},
        {"integer64", "ff ff ff ff ff ff ff", ""},
        {"integer64", "", ""},
    });
}

TEST(ValueText, OfAShortIsItsFirstTwoBytesInDecimal) {
    expect_texts({
        {"short", "00 00", "0"},
        {"short", "01 00", "256"},
        {"short", "ff ff", "65535"},
        {"short", "00 01 ff", "1"},
        {"short", "01", ""},
        {"short", "", ""},
    });
}

TEST(ValueText, OfAByteIsItsFirstByteInDecimal) {
    expect_texts({{"byte", "00", "0"}, {"byte", "ff", "255"}, {"byte", "07 ff", "7"}, {"byte", "", ""}});
}

TEST(ValueText, OfAnIpv4AddressNeedsExactlyFourBytes) {
    expect_texts({
        {"ipv4addr", "c0 a8 01 10", "192.168.1.16"},
        {"ipv4addr", "00 00 00 00", "0.0.0.0"},
        {"ipv4addr", "ff ff ff ff", "255.255.255.255"},
        {"ipv4addr", "c0 a8 01", ""},
        {"ipv4addr", "c0 a8 01 10 00", ""},
        {"ipv4addr", "", ""},
    });
}

TEST(ValueText, OfAnIpv4PrefixNeedsSixBytesAndALengthOfAtMost32) {
    expect_texts({
        {"ipv4prefix", "00 18 0a 00 00 00", "10.0.0.0/24"},
        {"ipv4prefix", "00 00 00 00 00 00", "0.0.0.0/0"},
        {"ipv4prefix", "00 20 0a 01 02 03", "10.1.2.3/32"},
        {"ipv4prefix", "00 21 0a 00 00 00", ""},
        {"ipv4prefix", "00 ff 0a 00 00 00", ""},
        {"ipv4prefix", "ff 08 0a 00 00 00", "10.0.0.0/8"},
        {"ipv4prefix", "00 18 0a 00 00", ""},
        {"ipv4prefix", "00 18 0a 00 00 00 00", ""},
        {"ipv4prefix", "", ""},
    });
}

TEST(ValueText, OfAnIpv6AddressNeedsExactlySixteenBytes) {
    expect_texts({
        {"ipv6addr", "20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00 01", "2001:db8::1"},
        {"ipv6addr", "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00", "::"},
        {"ipv6addr", "20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00", ""},
        {"ipv6addr", "20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00 01 00", ""},
        {"ipv6addr", "c0 a8 01 10", ""},
    });
}

TEST(ValueText, OfAnIpv6PrefixFillsTheMissingBytesWithZeros) {
    expect_texts({
        {"ipv6prefix", "00 40 20 01 0d b8", "2001:db8::/64"},
        {"ipv6prefix", "00 00", "::/0"},
        {"ipv6prefix", "ff 20 20 01 0d b8", "2001:db8::/32"},
        {"ipv6prefix", "00 80 20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00 01", "2001:db8::1/128"},
        {"ipv6prefix", "00 10 20 01 0d b8", "2001:db8::/16"},
    });
}

TEST(ValueText, OfAnIpv6PrefixIsEmptyWhenLengthOrSizeIsImpossible) {
    expect_texts({
        {"ipv6prefix", "", ""},
        {"ipv6prefix", "00", ""},
        {"ipv6prefix", "00 81", ""},
        {"ipv6prefix", "00 ff 20 01", ""},
        {"ipv6prefix", "00 80 20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00 01 00", ""},
    });
}

TEST(ValueText, OfAComboIpGoesByItsSize) {
    expect_texts({
        {"combo-ip", "c0 a8 01 10", "192.168.1.16"},
        {"combo-ip", "20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00 01", "2001:db8::1"},
        {"combo-ip", "c0 a8 01 10 00", ""},
        {"combo-ip", "c0 a8 01", ""},
        {"combo-ip", "20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00", ""},
        {"combo-ip", "20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00 01 00", ""},
        {"combo-ip", "", ""},
    });
}

TEST(ValueText, OfEtherAndIfidIsPairsOfDigitsOfAnyNumber) {
    expect_texts({
        {"ether", "0A 0B 0C", "0a:0b:0c"},
        {"ether", "00 1a 2b 3c 4d 5e", "00:1a:2b:3c:4d:5e"},
        {"ether", "ff", "ff"},
        {"ether", "", ""},
        {"ifid", "00 00 00 ff fe 00 00 01", "00:00:00:ff:fe:00:00:01"},
        {"ifid", "", ""},
    });
}

TEST(ValueText, IsKeptFromTheFirstCall) {
    RadiusValue value = value_of("integer", "00 00 00 01");
    EXPECT_EQ(value.string_cache, std::nullopt);
    const std::string& first = value.as_string();
    EXPECT_EQ(first, "1");
    value.data = hex("00 00 00 02");
    EXPECT_EQ(value.as_string(), "1");
    EXPECT_EQ(&value.as_string(), &first);
}

TEST(ValueText, IsKeptWhenItIsEmptyToo) {
    RadiusValue value = value_of("integer", "00");
    EXPECT_EQ(value.as_string(), "");
    EXPECT_EQ(value.string_cache, "");
    value.data = hex("00 00 00 02");
    EXPECT_EQ(value.as_string(), "");
}

TEST(ValueHex, Is0xAndTwoSmallDigitsAByteWhateverTheType) {
    EXPECT_EQ(value_of("octets", "00 ff").as_hex(), "0x00ff");
    EXPECT_EQ(value_of("integer", "00 00 00 0A").as_hex(), "0x0000000a");
    EXPECT_EQ(value_of("ipv4addr", "01").as_hex(), "0x01");
    EXPECT_EQ(value_of("text", "").as_hex(), "0x");
}

TEST(ValueHex, IsNeverKept) {
    RadiusValue value = value_of("octets", "01");
    EXPECT_EQ(value.as_hex(), "0x01");
    EXPECT_EQ(value.string_cache, std::nullopt);
    value.data = hex("02");
    EXPECT_EQ(value.as_hex(), "0x02");
}

TEST(Value, KnowsWhatItsTypeNameStandsFor) {
    EXPECT_EQ(value_of("Enum", "").value_type, ValueType::Integer);
    EXPECT_EQ(value_of("Enum", "").type, "Enum");
    EXPECT_EQ(value_of("ifid", "").value_type, ValueType::Ifid);
    EXPECT_EQ(value_of("whatever", "").value_type, ValueType::Octets);
}

TEST(Value, KeepsDataAndTag) {
    const RadiusValue value("text", hex("41 42"), 31, true);
    EXPECT_EQ(test::to_hex(value.data), "4142");
    EXPECT_EQ(value.tag, 31);
    EXPECT_TRUE(value.has_tag);
}

TEST(Value, IsCopiedAndMovedWithEveryField) {
    RadiusValue original("integer", hex("00 00 00 05"), 9, true);
    original.as_string();

    const RadiusValue copy = original;
    EXPECT_EQ(copy.type, "integer");
    EXPECT_EQ(copy.value_type, ValueType::Integer);
    EXPECT_EQ(copy.data, original.data);
    EXPECT_EQ(copy.tag, 9);
    EXPECT_TRUE(copy.has_tag);
    EXPECT_EQ(copy.string_cache, "5");

    const RadiusValue moved = std::move(original);
    EXPECT_EQ(moved.type, "integer");
    EXPECT_EQ(moved.data, copy.data);
    EXPECT_EQ(moved.tag, 9);
    EXPECT_TRUE(moved.has_tag);
    EXPECT_EQ(moved.string_cache, "5");
}

TEST(Ipv6FromBytes, IsTheCompressedForm) {
    const auto text = [](std::string_view digits) {
        return ipv6_from_bytes(test::authenticator_from(digits));
    };
    EXPECT_EQ(text("00000000000000000000000000000000"), "::");
    EXPECT_EQ(text("00000000000000000000000000000001"), "::1");
    EXPECT_EQ(text("20010db8000000000001000000000001"), "2001:db8::1:0:0:1");
    EXPECT_EQ(text("00000000000000000000ffffc0000201"), "::ffff:192.0.2.1");
    EXPECT_EQ(text("ffffffffffffffffffffffffffffffff"), "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
}

}  // namespace
}  // namespace quarn::subscriber::radius
