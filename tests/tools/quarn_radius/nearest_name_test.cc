#include "quarn_radius/nearest_name.h"

#include <gtest/gtest.h>

#include <array>

namespace quarn::quarn_radius {
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

TEST(EditDistance, IgnoresCase) {
    EXPECT_EQ(edit_distance("TYPE", "type"), 0U);
}

TEST(NearestName, FindsWhatWasMeant) {
    EXPECT_EQ(nearest_name("encript", keys), "encrypt");
    EXPECT_EQ(nearest_name("has-tag", keys), "has_tag");
    EXPECT_EQ(nearest_name("cod", keys), "code");
}

TEST(NearestName, FindsNothingWhenNothingIsNear) {
    EXPECT_EQ(nearest_name("vendor", keys), std::nullopt);
    EXPECT_EQ(nearest_name("", keys), std::nullopt);
}

TEST(Suggestion, IsAQuestionOrNothing) {
    EXPECT_EQ(suggestion("encript", keys), ", did you mean \"encrypt\"?");
    EXPECT_EQ(suggestion("description", keys), "");
}

}  // namespace
}  // namespace quarn::quarn_radius
