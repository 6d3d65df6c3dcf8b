#include "quarn/utils/text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "testing/thrown_text.h"

namespace quarn::utils {
namespace {

using namespace std::string_view_literals;
using test::thrown_text;

using Texts = std::vector<std::string>;

std::string text_of_byte(unsigned byte) {
    return std::string(1, static_cast<char>(byte));
}

// trim

TEST(Trim, RemovesWhiteSpaceAtBothEndsAndKeepsItInside) {
    EXPECT_EQ(trim("\t a b \n"), "a b");
    EXPECT_EQ(trim("a  \t b"), "a  \t b");
}

TEST(Trim, RemovesAtEitherEndAlone) {
    EXPECT_EQ(trim("  a"), "a");
    EXPECT_EQ(trim("a  "), "a");
}

TEST(Trim, OfWhiteSpaceAloneIsEmpty) {
    EXPECT_EQ(trim("   "), "");
    EXPECT_EQ(trim(" \t\n\v\f\r"), "");
}

TEST(Trim, OfAnEmptyTextIsEmpty) {
    EXPECT_EQ(trim(""), "");
}

TEST(Trim, LeavesATextWithoutWhiteSpace) {
    EXPECT_EQ(trim("26.9.1"), "26.9.1");
}

TEST(Trim, RemovesTheSixWhiteSpaceBytesAndNoOther) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE("byte " + std::to_string(byte));
        const bool is_white_space = byte == 0x20 || (byte >= 0x09 && byte <= 0x0D);
        const std::string surrounded = text_of_byte(byte) + "x" + text_of_byte(byte);
        EXPECT_EQ(trim(surrounded), is_white_space ? "x" : surrounded);
    }
}

// split

TEST(Split, CutsAtEveryDelimiter) {
    EXPECT_EQ(split("26.9.1", '.'), (Texts{"26", "9", "1"}));
}

TEST(Split, OfATextWithoutDelimiterIsThatText) {
    EXPECT_EQ(split("26", '.'), (Texts{"26"}));
}

TEST(Split, KeepsAnEmptyPieceInTheMiddle) {
    EXPECT_EQ(split("a,,b", ','), (Texts{"a", "", "b"}));
}

TEST(Split, BeginsWithAnEmptyPieceBeforeALeadingDelimiter) {
    EXPECT_EQ(split(",a", ','), (Texts{"", "a"}));
}

TEST(Split, EndsWithAnEmptyPieceAfterATrailingDelimiter) {
    EXPECT_EQ(split("a,", ','), (Texts{"a", ""}));
}

TEST(Split, OfAnEmptyTextIsOneEmptyPiece) {
    EXPECT_EQ(split("", ','), (Texts{""}));
}

TEST(Split, OfDelimitersAloneIsOneEmptyPieceMore) {
    EXPECT_EQ(split(",", ','), (Texts{"", ""}));
    EXPECT_EQ(split(",,,", ','), (Texts{"", "", "", ""}));
}

TEST(Split, DoesNotTrim) {
    EXPECT_EQ(split(" 1 , 2\t", ','), (Texts{" 1 ", " 2\t"}));
}

TEST(Split, CutsAtTheGivenDelimiterOnly) {
    EXPECT_EQ(split("a.b,c", ','), (Texts{"a.b", "c"}));
    EXPECT_EQ(split("a b", ' '), (Texts{"a", "b"}));
}

TEST(Split, TakesNulAsAnyOtherByte) {
    EXPECT_EQ(split("a\0b"sv, '\0'), (Texts{"a", "b"}));
    EXPECT_EQ(split("a\0b,c"sv, ','), (Texts{std::string("a\0b", 3), "c"}));
}

// hex_to_bytes

TEST(HexToBytes, ReadsBothCasesHighDigitFirst) {
    EXPECT_EQ(hex_to_bytes("0A1b"), "\x0A\x1B");
    EXPECT_EQ(hex_to_bytes("f0"), "\xF0");
}

TEST(HexToBytes, OfAnEmptyTextIsEmpty) {
    EXPECT_EQ(hex_to_bytes(""), "");
}

TEST(HexToBytes, ReadsEveryByte) {
    constexpr std::string_view small = "0123456789abcdef";
    constexpr std::string_view capitals = "0123456789ABCDEF";
    for (unsigned byte = 0; byte < 256; ++byte) {
        const std::string wanted = text_of_byte(byte);
        EXPECT_EQ(hex_to_bytes({small[byte / 16], small[byte % 16]}), wanted);
        EXPECT_EQ(hex_to_bytes({capitals[byte / 16], capitals[byte % 16]}), wanted);
        EXPECT_EQ(hex_to_bytes({small[byte / 16], capitals[byte % 16]}), wanted);
    }
}

TEST(HexToBytes, RefusesAnOddNumberOfDigits) {
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { hex_to_bytes("abc"); }),
              "odd number of hex digits: abc");
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { hex_to_bytes("0"); }), "odd number of hex digits: 0");
}

TEST(HexToBytes, RefusesWhatIsNoDigit) {
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { hex_to_bytes("zz"); }), "invalid hex digit in: zz");
}

TEST(HexToBytes, ChecksTheLengthBeforeTheDigits) {
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { hex_to_bytes("zzz"); }),
              "odd number of hex digits: zzz");
}

TEST(HexToBytes, QuotesTheWholeTextWhereverTheBadDigitIs) {
    for (const char* const text : {"g012", "0g12", "01g2", "012g", "01 2", "+1", "-1", "\xC3\xA9", "1."}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(thrown_text<std::invalid_argument>([text] { hex_to_bytes(text); }),
                  std::string("invalid hex digit in: ") + text);
    }
}

TEST(HexToBytes, RefusesAPrefix) {
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { hex_to_bytes("0x1f"); }), "invalid hex digit in: 0x1f");
}

TEST(HexToBytes, RefusesTheNeighboursOfTheDigits) {
    for (const char neighbour : {'/', ':', '@', 'G', '`', 'g'}) {
        const std::string text{'0', neighbour};
        EXPECT_EQ(thrown_text<std::invalid_argument>([&text] { hex_to_bytes(text); }),
                  "invalid hex digit in: " + text);
    }
}

// bytes_to_hex

TEST(BytesToHex, WritesTwoSmallDigitsAByte) {
    const std::uint8_t bytes[] = {0x00, 0x01, 0x0A, 0x1B, 0x7F, 0x80, 0xFF};
    EXPECT_EQ(bytes_to_hex(bytes, sizeof bytes), "00010a1b7f80ff");
}

TEST(BytesToHex, WritesNoMoreThanTheGivenLength) {
    const std::uint8_t bytes[] = {0xAB, 0xCD};
    EXPECT_EQ(bytes_to_hex(bytes, 1), "ab");
}

TEST(BytesToHex, OfNothingIsEmpty) {
    EXPECT_EQ(bytes_to_hex(nullptr, 0), "");
}

// is_hex_literal

TEST(IsHexLiteral, HoldsForAPrefixAndDigits) {
    for (const char* const text : {"0x1", "0X1F", "0x0", "0xabcdef", "0XABCDEF", "0x0123456789"}) {
        EXPECT_TRUE(is_hex_literal(text)) << text;
    }
}

TEST(IsHexLiteral, HoldsForAnOddNumberOfDigits) {
    EXPECT_TRUE(is_hex_literal("0xabc"));
}

TEST(IsHexLiteral, WantsADigitAfterThePrefix) {
    EXPECT_FALSE(is_hex_literal("0x"));
    EXPECT_FALSE(is_hex_literal("0X"));
}

TEST(IsHexLiteral, WantsDigitsAlone) {
    for (const char* const text : {"0x1g", "0xg1", "0x1 ", "0x 1", "0x1.", "0x-1", "0x1x", "0x0x"}) {
        EXPECT_FALSE(is_hex_literal(text)) << text;
    }
    EXPECT_FALSE(is_hex_literal("0x1\0"sv));
}

TEST(IsHexLiteral, WantsThePrefixAtTheStart) {
    for (const char* const text : {"", "0", "01", "012", "x12", "1x2", "00x1", " 0x1", "abc", "Ox1", "0y1"}) {
        EXPECT_FALSE(is_hex_literal(text)) << text;
    }
}

// is_printable

TEST(IsPrintable, HoldsForSpaceToTildeAndNoOtherByte) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE("byte " + std::to_string(byte));
        EXPECT_EQ(is_printable(text_of_byte(byte)), byte >= 0x20 && byte <= 0x7E);
    }
}

TEST(IsPrintable, HoldsForTheEmptyText) {
    EXPECT_TRUE(is_printable(""));
}

TEST(IsPrintable, HoldsForALoneTilde) {
    EXPECT_TRUE(is_printable("~"));
}

TEST(IsPrintable, FailsForOneBadByteAnywhere) {
    EXPECT_FALSE(is_printable("a\tb"));
    EXPECT_FALSE(is_printable("\nab"));
    EXPECT_FALSE(is_printable("ab\x7F"));
    EXPECT_FALSE(is_printable("caf\xC3\xA9"));
    EXPECT_FALSE(is_printable("ab\0"sv));
}

// first_utf8_character

void expect_first(std::string_view text, std::size_t size, std::optional<char32_t> code_point) {
    SCOPED_TRACE(bytes_to_hex(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    const Utf8Character character = first_utf8_character(text);
    EXPECT_EQ(character.size, size);
    EXPECT_EQ(character.code_point, code_point);
}

TEST(FirstUtf8Character, DecodesTheFirstAndLastOfEachLength) {
    expect_first("\0a"sv, 1, 0x00);
    expect_first("\x7F\x80", 1, 0x7F);
    expect_first("\xC2\x80\x80", 2, 0x80);
    expect_first("\xDF\xBFz", 2, 0x7FF);
    expect_first("\xE0\xA0\x80z", 3, 0x800);
    expect_first("\xE2\x80\xAE", 3, 0x202E);
    expect_first("\xEF\xBF\xBF", 3, 0xFFFF);
    expect_first("\xF0\x90\x80\x80z", 4, 0x10000);
    expect_first("\xF4\x8F\xBF\xBF", 4, 0x10FFFF);
}

// The example of Unicode, section 3.9, table 3-8, and sequences that end too early.
TEST(FirstUtf8Character, TakesTheMaximalSubpartOfWhatIsIllFormed) {
    std::string_view text =
        "a\xF1\x80\x80\xE1\x80\xC2"
        "b\x80"
        "c\x80\xBF"
        "d";
    std::vector<std::size_t> sizes;
    while (!text.empty()) {
        sizes.push_back(first_utf8_character(text).size);
        text.remove_prefix(sizes.back());
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t>{1, 3, 2, 1, 1, 1, 1, 1, 1, 1}));
    expect_first("\xC1\xBF", 1, std::nullopt);
    expect_first("\xED\xA0\x80", 1, std::nullopt);
    expect_first("\xF4\x90\x80\x80", 1, std::nullopt);
    expect_first("\xF5\x80", 1, std::nullopt);
    expect_first("\xFF", 1, std::nullopt);
    expect_first("\xF0\x9F\x98", 3, std::nullopt);
    expect_first("\xE2\x82", 2, std::nullopt);
    expect_first("\xC3", 1, std::nullopt);
}

// is_well_formed_utf8 and is_utf8_text

/// The limits of one row of the table of well-formed sequences (RFC 3629, section 4).
struct Utf8Row {
    unsigned first_lead;
    unsigned last_lead;
    unsigned length;
    unsigned second_min;
    unsigned second_max;
};

constexpr Utf8Row utf8_rows[] = {
    {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF}, {0xE1, 0xEC, 3, 0x80, 0xBF},
    {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF}, {0xF0, 0xF0, 4, 0x90, 0xBF},
    {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

/// A sequence of the row's length: lead byte, second byte, then the last byte as often as needed.
std::string sequence_of(const Utf8Row& row, unsigned lead, unsigned second, unsigned last = 0x80) {
    return text_of_byte(lead) + text_of_byte(second) + std::string(row.length - 2, static_cast<char>(last));
}

/// Expects one result from both functions, as bytes of 0x80 and above are no controls to either.
void expect_utf8(const std::string& text, bool wanted) {
    SCOPED_TRACE(bytes_to_hex(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    EXPECT_EQ(is_utf8_text(text), wanted);
    EXPECT_EQ(is_well_formed_utf8(text), wanted);
}

TEST(Utf8, SecondByteLiesWithinTheLimitsOfItsLeadByte) {
    for (const Utf8Row& row : utf8_rows) {
        for (unsigned lead = row.first_lead; lead <= row.last_lead; ++lead) {
            for (unsigned second = 0; second < 256; ++second) {
                expect_utf8(sequence_of(row, lead, second),
                            second >= row.second_min && second <= row.second_max);
            }
        }
    }
}

TEST(Utf8, LaterBytesLieFrom80ToBf) {
    for (const Utf8Row& row : utf8_rows) {
        for (std::size_t place = 2; place < row.length; ++place) {
            for (unsigned byte = 0; byte < 256; ++byte) {
                std::string text = sequence_of(row, row.first_lead, row.second_min);
                text[place] = static_cast<char>(byte);
                expect_utf8(text, byte >= 0x80 && byte <= 0xBF);
            }
        }
    }
}

TEST(Utf8, SequenceIsNotCutShort) {
    for (const Utf8Row& row : utf8_rows) {
        for (unsigned lead = row.first_lead; lead <= row.last_lead; ++lead) {
            const std::string whole = sequence_of(row, lead, row.second_max, 0xBF);
            expect_utf8(whole, true);
            for (std::size_t length = 1; length < whole.size(); ++length) {
                expect_utf8(whole.substr(0, length), false);
                expect_utf8(whole.substr(0, length) + "a", false);
            }
        }
    }
}

TEST(Utf8, SequenceDoesNotReadPastTheEndOfItsView) {
    constexpr std::string_view whole = "\xF0\x9F\x98\x80";
    for (std::size_t length = 1; length < whole.size(); ++length) {
        EXPECT_FALSE(is_utf8_text(whole.substr(0, length)));
    }
}

TEST(Utf8, LeadByteIsNeither80ToC1NorF5ToFf) {
    for (unsigned lead = 0x80; lead < 256; ++lead) {
        if (lead >= 0xC2 && lead <= 0xF4) {
            continue;
        }
        for (const std::string_view rest : {"", "\x80", "\x80\x80", "\x80\x80\x80", "\xBF\xBF\xBF"}) {
            expect_utf8(text_of_byte(lead) + std::string(rest), false);
        }
    }
}

/// The bytes of UTF-8's scheme for a number, in a given length even when a shorter one would do.
std::string encode_utf8(unsigned number, unsigned length) {
    constexpr unsigned lead_marks[] = {0, 0, 0xC0, 0xE0, 0xF0};
    std::string text;
    text += static_cast<char>(lead_marks[length] | number >> (6 * (length - 1)));
    for (unsigned left = length - 1; left > 0; --left) {
        text += static_cast<char>(0x80 | (number >> (6 * (left - 1)) & 0x3F));
    }
    return text;
}

TEST(Utf8, HasEveryCharacterInItsShortestForm) {
    for (unsigned number = 0x80; number <= 0x10FFFF; ++number) {
        if (number >= 0xD800 && number <= 0xDFFF) {
            continue;
        }
        const unsigned length = number < 0x800 ? 2 : number < 0x10000 ? 3 : 4;
        ASSERT_TRUE(is_utf8_text(encode_utf8(number, length))) << std::hex << number;
    }
}

TEST(Utf8, HasNoOverlongForm) {
    for (unsigned number = 0; number < 0x80; ++number) {
        ASSERT_FALSE(is_utf8_text(encode_utf8(number, 2))) << std::hex << number;
    }
    for (unsigned number = 0; number < 0x800; ++number) {
        ASSERT_FALSE(is_utf8_text(encode_utf8(number, 3))) << std::hex << number;
    }
    for (unsigned number = 0; number < 0x10000; ++number) {
        ASSERT_FALSE(is_utf8_text(encode_utf8(number, 4))) << std::hex << number;
    }
}

TEST(Utf8, HasNoSurrogates) {
    for (unsigned number = 0xD800; number <= 0xDFFF; ++number) {
        ASSERT_FALSE(is_utf8_text(encode_utf8(number, 3))) << std::hex << number;
    }
}

TEST(Utf8, EndsAt10Ffff) {
    for (unsigned number = 0x110000; number <= 0x1FFFFF; ++number) {
        ASSERT_FALSE(is_utf8_text(encode_utf8(number, 4))) << std::hex << number;
    }
}

TEST(Utf8, KnownSequences) {
    expect_utf8("\xC3\xA9", true);
    expect_utf8("\xC0\x80", false);          // overlong
    expect_utf8("\xED\xA0\x80", false);      // a surrogate
    expect_utf8("\xF4\x90\x80\x80", false);  // above U+10FFFF
    expect_utf8("\xF4\x8F\xBF\xBF", true);   // U+10FFFF
}

TEST(Utf8, ChecksEverySequenceOfAText) {
    expect_utf8("na\xC3\xAFve \xE2\x82\xAC \xF0\x9F\x98\x80 end", true);
    expect_utf8("\xC3\xA9\xC3\xA9\xC3", false);
    expect_utf8("\x80valid", false);
    expect_utf8("valid\xFF", false);
}

TEST(Utf8Text, HoldsForTheEmptyText) {
    EXPECT_TRUE(is_utf8_text(""));
    EXPECT_TRUE(is_well_formed_utf8(""));
}

TEST(Utf8Text, HoldsForPrintableAsciiAndNoControl) {
    for (unsigned byte = 0; byte < 0x80; ++byte) {
        SCOPED_TRACE("byte " + std::to_string(byte));
        EXPECT_EQ(is_utf8_text(text_of_byte(byte)), byte >= 0x20 && byte != 0x7F);
    }
}

TEST(Utf8Text, FailsForAControlAmongOtherCharacters) {
    EXPECT_FALSE(is_utf8_text("a\nb"));
    EXPECT_FALSE(is_utf8_text("a\tb"));
    EXPECT_FALSE(is_utf8_text("\xC3\xA9\x7F"));
    EXPECT_FALSE(is_utf8_text("\xC3\xA9\x1F\xC3\xA9"));
    EXPECT_FALSE(is_utf8_text("ab\0"sv));
}

TEST(Utf8Text, HoldsForControlsOf80AndAbove) {
    expect_utf8("\xC2\x80", true);  // U+0080
    expect_utf8("\xC2\x9F", true);  // U+009F
}

TEST(WellFormedUtf8, HoldsForEveryAsciiByteControlsIncluded) {
    for (unsigned byte = 0; byte < 0x80; ++byte) {
        EXPECT_TRUE(is_well_formed_utf8(text_of_byte(byte)));
    }
    EXPECT_TRUE(is_well_formed_utf8("a\r\nb\0\x7F"sv));
}

TEST(ParseDecimal, TakesAWholeTextOfDigits) {
    EXPECT_EQ(parse_decimal<std::uint32_t>("0"), 0U);
    EXPECT_EQ(parse_decimal<std::uint32_t>("007"), 7U);
    EXPECT_EQ(parse_decimal<std::uint32_t>("4294967295"), 4294967295U);
    EXPECT_EQ(parse_decimal<std::int32_t>("-2147483648"), std::numeric_limits<std::int32_t>::min());
}

TEST(ParseDecimal, RefusesAnythingElse) {
    for (const char* const text : {"", " 1", "1 ", "+1", "-1", "0x10", "1a", "4294967296"}) {
        EXPECT_EQ(parse_decimal<std::uint32_t>(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace quarn::utils
