#include "quarn_radius/dictionary/code_path_limits.h"

#include <gtest/gtest.h>

namespace quarn::quarn_radius {
namespace {

TEST(CodePathProblem, IsEmptyForWhatFits) {
    EXPECT_EQ(code_path_problem({}, 1), "");
    EXPECT_EQ(code_path_problem({255}, 1), "");
    EXPECT_EQ(code_path_problem({26}, 1), "");
    EXPECT_EQ(code_path_problem({26, 4294967295, 255}, 1), "");
    EXPECT_EQ(code_path_problem({26, 8744, 0}, 1), "");
    EXPECT_EQ(code_path_problem({26, 637, 65535, 255}, 2), "");
    EXPECT_EQ(code_path_problem({26, 429, 4294967295}, 4), "");
    EXPECT_EQ(code_path_problem({241, 26, 64496, 255, 1}, 1), "");
    EXPECT_EQ(code_path_problem({246, 26, 64496, 255, 1}, 1), "");
}

TEST(CodePathProblem, TellsWhatDoesNotFit) {
    EXPECT_EQ(code_path_problem({0}, 1), "attribute type 0 is not within 1 to 255");
    EXPECT_EQ(code_path_problem({1000}, 1), "attribute type 1000 is not within 1 to 255");
    EXPECT_EQ(code_path_problem({26, 9}, 1), "a vendor's attribute needs a number after the vendor's");
    EXPECT_EQ(code_path_problem({26, 9, 256}, 1), "vendor type 256 is above 255");
    EXPECT_EQ(code_path_problem({26, 9, 65536}, 2), "vendor type 65536 is above 65535");
    EXPECT_EQ(code_path_problem({26, 9, 1, 300}, 1), "type 300 is above 255");
    EXPECT_EQ(code_path_problem({241, 256}, 1), "type 256 is above 255");
    EXPECT_EQ(code_path_problem({241, 26, 64496, 256}, 1), "type 256 is above 255");
    EXPECT_EQ(code_path_problem({240, 26, 64496}, 1), "type 64496 is above 255");
    EXPECT_EQ(code_path_problem({247, 26, 64496}, 1), "type 64496 is above 255");
}

}  // namespace
}  // namespace quarn::quarn_radius
