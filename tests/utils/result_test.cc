#include "quarn/utils/result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <variant>

namespace quarn::utils {
namespace {

using Number = Result<int, std::string>;

TEST(Result, HoldsAValue) {
    const Number result = 7;
    EXPECT_TRUE(result.has_value());
    EXPECT_TRUE(result);
    EXPECT_EQ(*result, 7);
    EXPECT_THROW(static_cast<void>(result.error()), std::bad_variant_access);
}

TEST(Result, HoldsAnError) {
    const Number result = std::string("too large");
    EXPECT_FALSE(result.has_value());
    EXPECT_FALSE(result);
    EXPECT_EQ(result.error(), "too large");
    EXPECT_THROW(static_cast<void>(*result), std::bad_variant_access);
}

TEST(Result, GivesAccessToTheMembersOfItsValue) {
    Result<std::string, int> result = std::string("text");
    result->push_back('!');
    EXPECT_EQ(result->size(), 5U);
    *result += "?";
    EXPECT_EQ(*result, "text!?");
}

TEST(Result, CanBeMovedFrom) {
    Result<std::unique_ptr<int>, int> result = std::make_unique<int>(7);
    const std::unique_ptr<int> value = *std::move(result);
    EXPECT_EQ(*value, 7);
}

}  // namespace
}  // namespace quarn::utils
