#include "quarn_radius/name_pattern.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

TEST(NamePattern, MatchesAPartOfANameInAnyCase) {
    EXPECT_TRUE(NamePattern("bandwidth").matches("WISPr-Bandwidth-Max-Up"));
    EXPECT_TRUE(NamePattern("^wispr.*(up|down)$").matches("WISPr-Bandwidth-Max-Up"));
    EXPECT_FALSE(NamePattern("^bandwidth").matches("WISPr-Bandwidth-Max-Up"));
}

TEST(NamePattern, RefusesWhatIsNoExpression) {
    try {
        const NamePattern pattern("(");
        FAIL() << "an open parenthesis is accepted";
    } catch (const std::invalid_argument& error) {
        EXPECT_EQ(std::string(error.what()).substr(0, 33), "invalid regular expression /(/: U")
            << error.what();
    }
}

TEST(NamePattern, RefusesAnExpressionThatIsTooLong) {
    EXPECT_TRUE(NamePattern(std::string(256, 'a')).matches(std::string(300, 'A')));
    EXPECT_EQ(
        test::thrown_text<std::invalid_argument>([] { const NamePattern pattern(std::string(257, '(')); }),
        "invalid regular expression: more than 256 characters");
}

// Each of these would take gigabytes, or more time than anybody has.
TEST(NamePattern, RefusesExpressionsThatCostTooMuch) {
    const auto refusal = [](const std::string& expression) {
        return test::thrown_text<std::invalid_argument>([&] { const NamePattern pattern(expression); });
    };
    EXPECT_EQ(refusal(R"((a*)*\1b)"),
              R"(invalid regular expression /(a*)*\1b/: back-references are not supported)");
    EXPECT_EQ(refusal("(((a{255}){255}){255}){9}"),
              "invalid regular expression /(((a{255}){255}){255}){9}/: repeats more than 1024 times");
    EXPECT_EQ(refusal("a{1,99999999999999999999}"),
              "invalid regular expression /a{1,99999999999999999999}/: repeats more than 1024 times");
    EXPECT_TRUE(NamePattern(R"(^\\1(a{2}){3,4}$)").matches(R"(\1aaaaaa)"));
    EXPECT_TRUE(NamePattern("^a{255}$").matches(std::string(255, 'a')));
}

}  // namespace
}  // namespace quarn::quarn_radius
