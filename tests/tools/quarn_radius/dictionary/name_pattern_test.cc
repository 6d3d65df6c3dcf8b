#include "quarn_radius/dictionary/name_pattern.h"

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

}  // namespace
}  // namespace quarn::quarn_radius
