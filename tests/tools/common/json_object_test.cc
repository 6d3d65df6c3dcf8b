#include "common/json_object.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

TEST(JsonObject, HoldsFractionsListsAndNothing) {
    JsonObject object;
    object.add("fraction", 1.27549);
    object.add("whole", 3.0);
    object.add_null("nothing");
    object.add_list("list", std::vector<std::string>{"1", "{}"});
    object.add_list("none", std::vector<std::string>());
    EXPECT_EQ(object.text(),
              R"({"fraction": 1.275, "whole": 3.000, "nothing": null, "list": [1, {}], "none": []})");
}

TEST(JsonObject, IsEmptyWithoutMembers) {
    EXPECT_TRUE(JsonObject().empty());
    EXPECT_EQ(JsonObject().text(), "{}");
}

TEST(JsonString, EscapesWhatJsonWantsEscapedAndKeepsUtf8) {
    EXPECT_EQ(json_string("a\"b\\c\t\x01 \xC3\xA9"), "\"a\\\"b\\\\c\\t\\u0001 \xC3\xA9\"");
}

TEST(JsonString, UsesTheShortEscapesWhereThereAreSome) {
    EXPECT_EQ(json_string("\b\f\n\r\t\v/"), R"("\b\f\n\r\t\u000B/")");
}

TEST(JsonString, EscapesBothSetsOfControlCharacters) {
    EXPECT_EQ(json_string(std::string_view("\0\x1f\x20\x7e\x7f", 5)), R"("\u0000\u001F ~\u007F")");
    EXPECT_EQ(json_string("\xc2\x80\xc2\x9f\xc2\xa0"), "\"\\u0080\\u009F\xc2\xa0\"");
}

// Programs that read line by line may take U+2028 for the end of one, and a terminal reorders what U+202E
// begins.
TEST(JsonString, EscapesWhatEndsOrReordersALine) {
    EXPECT_EQ(json_string("a\u2028\u2029\u202e\u2066\u061c\u200f"),
              R"("a\u2028\u2029\u202E\u2066\u061C\u200F")");
    EXPECT_EQ(json_string("\u200d\u3000\xf0\x9f\x98\x80"), "\"\u200d\u3000\xf0\x9f\x98\x80\"");
}

// The example of Unicode, section 3.9, table 3-8.
TEST(JsonString, PutsOneReplacementCharacterForEachMaximalSubpartThatIsNotUtf8) {
    EXPECT_EQ(json_string("a\xf1\x80\x80\xe1\x80\xc2"
                          "b\x80"
                          "c\x80\xbf"
                          "d"),
              "\"a\ufffd\ufffd\ufffdb\ufffdc\ufffd\ufffdd\"");
    EXPECT_EQ(json_string("\xff\n\xc3"), "\"\ufffd\\n\ufffd\"");
    EXPECT_EQ(json_string("\xc3\""), "\"\ufffd\\\"\"");
}

TEST(JsonObject, EscapesItsKeysToo) {
    JsonObject object;
    object.add("a\x85\"\n", 1U);
    EXPECT_EQ(object.text(), "{\"a\ufffd\\\"\\n\": 1}");
}

}  // namespace
}  // namespace quarn::tools
