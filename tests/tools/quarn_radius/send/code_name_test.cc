#include "quarn_radius/send/code_name.h"

#include <gtest/gtest.h>

namespace quarn::quarn_radius {
namespace {

TEST(CodeName, IsThatOfTheRfcsOrTheNumber) {
    EXPECT_EQ(code_name(1), "Access-Request");
    EXPECT_EQ(code_name(45), "CoA-NAK");
    EXPECT_EQ(code_name(52), "Protocol-Error");
    EXPECT_EQ(code_name(99), "code 99");
}

}  // namespace
}  // namespace quarn::quarn_radius
