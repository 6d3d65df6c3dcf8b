#include "quarn/utils/nearest_name.h"

#include <gtest/gtest.h>

#include <array>

namespace quarn::utils {
namespace {

constexpr std::array keys = std::to_array<std::string_view>({"code", "type", "encrypt", "has_tag"});

TEST(EditDistance, CountsSlipsOfEveryKind) {
    EXPECT_EQ(edit_distance("encrypt", "encrypt"), 0U);
    EXPECT_EQ(edit_distance("encript", "encrypt"), 1U);   // replaced
    EXPECT_EQ(edit_distance("encrpt", "encrypt"), 1U);    // left out
    EXPECT_EQ(edit_distance("enccrypt", "encrypt"), 1U);  // put in
    EXPECT_EQ(edit_distance("encyrpt", "encrypt"), 1U);   // swapped
    EXPECT_EQ(edit_distance("", "code"), 4U);
}

TEST(EditDistance, TakesTwoLettersForSwappedIfBothAre) {
    EXPECT_EQ(edit_distance("xa", "ay"), 2U);
    EXPECT_EQ(edit_distance("ax", "ya"), 2U);
    EXPECT_EQ(edit_distance("xab", "xba"), 1U);
    EXPECT_EQ(edit_distance("abx", "bax"), 1U);
    EXPECT_EQ(edit_distance("abc", "cba"), 2U);
    EXPECT_EQ(edit_distance("abab", "baba"), 2U);
}

TEST(EditDistance, IgnoresCase) {
    EXPECT_EQ(edit_distance("TYPE", "type"), 0U);
}

TEST(NearestName, FindsWhatWasMeant) {
    EXPECT_EQ(nearest_name("encript", keys), "encrypt");
    EXPECT_EQ(nearest_name("has-tag", keys), "has_tag");
    EXPECT_EQ(nearest_name("cod", keys), "code");
}

TEST(NearestName, TakesTheFirstOfSeveralThatAreEquallyNear) {
    constexpr std::array names = std::to_array<std::string_view>({"abcdefxyz", "abcdeg", "abcdeh", "abcde"});
    EXPECT_EQ(nearest_name("abcdef", names), "abcdeg");
    EXPECT_EQ(nearest_name("abcd", names), "abcde");
}

TEST(NearestName, TakesANameThatIsLongerOrShorterByOneInThree) {
    EXPECT_EQ(nearest_name("abcdef", std::to_array<std::string_view>({"abcdefgh"})), "abcdefgh");
    EXPECT_EQ(nearest_name("abcdef", std::to_array<std::string_view>({"abcdefghi"})), std::nullopt);
    EXPECT_EQ(nearest_name("abcdef", std::to_array<std::string_view>({"abcd"})), "abcd");
    EXPECT_EQ(nearest_name("abcdef", std::to_array<std::string_view>({"abc"})), std::nullopt);
}

TEST(NearestName, FindsNothingWhenNothingIsNear) {
    EXPECT_EQ(nearest_name("vendor", keys), std::nullopt);
    EXPECT_EQ(nearest_name("", keys), std::nullopt);
}

TEST(Suggestion, IsAQuestionOrNothing) {
    EXPECT_EQ(suggestion("encript", keys), ", did you mean \"encrypt\"?");
    EXPECT_EQ(suggestion("description", keys), "");
    EXPECT_EQ(suggestion(std::string_view("encrypt")), ", did you mean \"encrypt\"?");
    EXPECT_EQ(suggestion(std::nullopt), "");
}

}  // namespace
}  // namespace quarn::utils
