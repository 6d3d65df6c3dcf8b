#include "authprobe/leading_number.h"

#include <gtest/gtest.h>

#include <limits>

namespace quarn::authprobe {
namespace {

TEST(LeadingInt, ReadsADecimalNumber) {
    EXPECT_EQ(leading_int("0"), 0);
    EXPECT_EQ(leading_int("17"), 17);
    EXPECT_EQ(leading_int("007"), 7);
}

TEST(LeadingInt, AcceptsWhiteSpaceAndASignBeforeTheNumber) {
    EXPECT_EQ(leading_int(" 5"), 5);
    EXPECT_EQ(leading_int("\t\n\v\f\r 5"), 5);
    EXPECT_EQ(leading_int("+5"), 5);
    EXPECT_EQ(leading_int("-5"), -5);
    EXPECT_EQ(leading_int(" -5"), -5);
}

TEST(LeadingInt, StopsAtTheFirstCharacterThatIsNoDigit) {
    EXPECT_EQ(leading_int("7s"), 7);
    EXPECT_EQ(leading_int("2x3"), 2);
    EXPECT_EQ(leading_int("1.9"), 1);
    EXPECT_EQ(leading_int("1 2"), 1);
    EXPECT_EQ(leading_int("0x10"), 0);
}

TEST(LeadingInt, IsNothingWithoutDigits) {
    for (const char* const text : {"", " ", "abc", "-", "+", "- 5", "+-5", "x7", "--5"}) {
        EXPECT_EQ(leading_int(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(LeadingInt, IsNothingOutsideOf32Bits) {
    EXPECT_EQ(leading_int("2147483647"), std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(leading_int("2147483648"), std::nullopt);
    EXPECT_EQ(leading_int("-2147483648"), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(leading_int("-2147483649"), std::nullopt);
    EXPECT_EQ(leading_int("99999999999999999999999999"), std::nullopt);
}

TEST(LeadingUnsigned, ReadsADecimalNumber) {
    EXPECT_EQ(leading_unsigned("0"), 0U);
    EXPECT_EQ(leading_unsigned("1812"), 1812U);
    EXPECT_EQ(leading_unsigned("01812"), 1812U);
}

TEST(LeadingUnsigned, AcceptsWhiteSpaceAndASignBeforeTheNumber) {
    EXPECT_EQ(leading_unsigned("\t 5"), 5U);
    EXPECT_EQ(leading_unsigned("+5"), 5U);
}

TEST(LeadingUnsigned, WrapsANegativeNumber) {
    EXPECT_EQ(leading_unsigned("-1"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(leading_unsigned("-2"), std::numeric_limits<std::uint64_t>::max() - 1);
}

TEST(LeadingUnsigned, StopsAtTheFirstCharacterThatIsNoDigit) {
    EXPECT_EQ(leading_unsigned("1812/udp"), 1812U);
    EXPECT_EQ(leading_unsigned("0x10"), 0U);
}

TEST(LeadingUnsigned, IsNothingWithoutDigits) {
    for (const char* const text : {"", " ", "x", "-", "+", "PPP"}) {
        EXPECT_EQ(leading_unsigned(text), std::nullopt) << '"' << text << '"';
    }
}

TEST(LeadingUnsigned, IsNothingOutsideOf64Bits) {
    EXPECT_EQ(leading_unsigned("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(leading_unsigned("18446744073709551616"), std::nullopt);
    EXPECT_EQ(leading_unsigned("-18446744073709551616"), std::nullopt);
}

}  // namespace
}  // namespace quarn::authprobe
