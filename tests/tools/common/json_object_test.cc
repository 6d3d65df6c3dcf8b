#include "common/json_object.h"

#include <gtest/gtest.h>

namespace quarn::tools {
namespace {

TEST(JsonObject, KeepsItsMembersInOrder) {
    JsonObject inner;
    inner.add("On", 1U);
    JsonObject object;
    object.add("name", "x");
    object.add("id", 4294967295U);
    object.add("flag", false);
    object.add("values", inner);
    EXPECT_EQ(object.text(), R"({"name": "x", "id": 4294967295, "flag": false, "values": {"On": 1}})");
}

TEST(JsonObject, IsEmptyWithoutMembers) {
    EXPECT_TRUE(JsonObject().empty());
    EXPECT_EQ(JsonObject().text(), "{}");
}

TEST(JsonString, EscapesWhatJsonWantsEscapedAndKeepsUtf8) {
    EXPECT_EQ(json_string("a\"b\\c\t\x01 \xC3\xA9"), "\"a\\\"b\\\\c\\t\\u0001 \xC3\xA9\"");
}

}  // namespace
}  // namespace quarn::tools
