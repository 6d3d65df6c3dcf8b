#include "quarn/utils/ascii.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quarn::utils {
namespace {

// Other constants are built from these.
static_assert(ascii_lower(static_cast<unsigned char>('Q')) == 'q');
static_assert(is_space('\v') && !is_space('\0'));
static_assert(is_digit('9') && !is_digit(':'));
static_assert(is_hex_digit('f') && !is_hex_digit('g'));
static_assert(hex_digit_value('F') == 15);

/// Expects of all 256 characters that the predicate holds for the given ones alone.
template <typename Predicate>
void expect_exactly(std::string_view expected, const Predicate& predicate) {
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE("byte " + std::to_string(byte));
        const char character = static_cast<char>(byte);
        EXPECT_EQ(predicate(character), expected.find(character) != std::string_view::npos);
    }
}

TEST(AsciiLower, LowersTheLettersAToZ) {
    const std::string_view capitals = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const std::string_view small = "abcdefghijklmnopqrstuvwxyz";
    for (std::size_t i = 0; i < capitals.size(); ++i) {
        EXPECT_EQ(ascii_lower(static_cast<unsigned char>(capitals[i])), static_cast<unsigned char>(small[i]));
    }
}

TEST(AsciiLower, LeavesEveryOtherByteAsItIs) {
    for (int byte = 0; byte < 256; ++byte) {
        if (byte < 65 || byte > 90) {
            EXPECT_EQ(ascii_lower(static_cast<unsigned char>(byte)), byte);
        }
    }
}

TEST(AsciiLower, LeavesTheNeighboursOfTheCapitals) {
    EXPECT_EQ(ascii_lower("@AZ["), "@az[");
    EXPECT_EQ(ascii_lower("`az{"), "`az{");
}

TEST(AsciiLower, LowersAWholeTextIntoACopy) {
    const std::string original = "MS-CHAP2-Response 26.311.25";
    EXPECT_EQ(ascii_lower(original), "ms-chap2-response 26.311.25");
    EXPECT_EQ(original, "MS-CHAP2-Response 26.311.25");
}

TEST(AsciiLower, LeavesMultiByteCharacters) {
    EXPECT_EQ(ascii_lower("\xC3\x89T\xC3\x89"), "\xC3\x89t\xC3\x89");  // U+00C9
}

TEST(AsciiLower, KeepsNulBytes) {
    using namespace std::string_view_literals;
    EXPECT_EQ(ascii_lower("A\0B"sv), std::string("a\0b", 3));
}

TEST(AsciiLower, OfAnEmptyTextIsEmpty) {
    EXPECT_EQ(ascii_lower(""), "");
}

TEST(IsSpace, HoldsForTheSixWhiteSpaceCharacters) {
    expect_exactly(" \t\n\v\f\r", [](char character) { return is_space(character); });
}

TEST(IsDigit, HoldsForZeroToNine) {
    expect_exactly("0123456789", [](char character) { return is_digit(character); });
}

TEST(IsHexDigit, HoldsForDigitsAndBothCasesOfAToF) {
    expect_exactly("0123456789abcdefABCDEF", [](char character) { return is_hex_digit(character); });
}

TEST(HexDigitValue, IsZeroToFifteenInEitherCase) {
    const std::string_view small = "0123456789abcdef";
    const std::string_view capitals = "0123456789ABCDEF";
    for (unsigned value = 0; value < 16; ++value) {
        EXPECT_EQ(hex_digit_value(small[value]), value);
        EXPECT_EQ(hex_digit_value(capitals[value]), value);
    }
}

}  // namespace
}  // namespace quarn::utils
