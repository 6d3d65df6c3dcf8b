#include "quarn/client/error_cause.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace quarn::client {
namespace {

TEST(ErrorCauses, AreFoundByNumber) {
    EXPECT_EQ(find_error_cause(503)->name, "Session Context Not Found");
    EXPECT_EQ(find_error_cause(0), nullptr);
    EXPECT_EQ(find_error_cause(4000000000), nullptr);
    std::uint32_t last = 0;
    for (const ErrorCauseRow& row : error_causes()) {
        EXPECT_LT(last, row.number);
        last = row.number;
        EXPECT_EQ(find_error_cause(row.number)->name, row.name);
        EXPECT_TRUE(row.explanation.ends_with('.')) << row.number;
    }
}

}  // namespace
}  // namespace quarn::client
