#include "quarn/radius/yaml_number.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <stdexcept>
#include <string>

#include "testing/thrown_text.h"

namespace quarn::subscriber::radius {
namespace {

using test::thrown_text;

/// The number that a scalar of this text reads as.
std::uint32_t number_of(const std::string& scalar) {
    return node_to_u32(YAML::Node(scalar));
}

TEST(NodeToU32, ReadsNumbers) {
    struct Row {
        const char* scalar;
        std::uint32_t number;
    };
    constexpr Row rows[] = {
        // decimal
        {"0", 0},
        {"7", 7},
        {"4294967295", 4294967295},
        {"000", 0},
        {"010", 10},
        // hexadecimal
        {"0x0", 0},
        {"0x2", 2},
        {"0X1f", 31},
        {"0x1F", 31},
        {"0xdeadBEEF", 0xDEADBEEF},
        {"0x00000010", 16},
        // blanks
        {" 7 ", 7},
        {"\t0x10\n", 16},
        // quotes within the text
        {"\"12\"", 12},
        {"'12'", 12},
        {"\"0x2\"", 2},
        {"'0X2'", 2},
        {" '12' ", 12},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.scalar);
        EXPECT_EQ(number_of(row.scalar), row.number);
    }
}

TEST(NodeToU32, KeepsTheLow32Bits) {
    EXPECT_EQ(number_of("4294967296"), 0U);
    EXPECT_EQ(number_of("4294967297"), 1U);
    EXPECT_EQ(number_of("8589934591"), 4294967295U);
    EXPECT_EQ(number_of("18446744073709551615"), 4294967295U);
    EXPECT_EQ(number_of("0x100000000"), 0U);
    EXPECT_EQ(number_of("0x1FFFFFFFE"), 0xFFFFFFFEU);
    EXPECT_EQ(number_of("0xFFFFFFFF00000003"), 3U);
}

TEST(NodeToU32, RefusesWhatIsNoNumberAsAWhole) {
    for (const char* const scalar :
         {"abc", "12abc", "abc12", "1.0", "1,0", "1 2",  "1e3",  "1_000", "-1",    "+1", "12h", "x10",
          "0b1", "1f",    "0x",    "0X",  "0xg", "0x1g", "0x 1", "0x0x1", "0x1.0", "",   " "}) {
        SCOPED_TRACE(scalar);
        EXPECT_EQ(thrown_text<std::invalid_argument>([scalar] { number_of(scalar); }),
                  "invalid unsigned integer");
    }
}

TEST(NodeToU32, DropsOnePairOfEqualQuotesOnly) {
    for (const char* const scalar :
         {"\"12'", "'12\"", "\"12", "12\"", "\"", "'", "\"\"", "''", "\"'12'\"", "''12''", "'12", "`12`"}) {
        SCOPED_TRACE(scalar);
        EXPECT_EQ(thrown_text<std::invalid_argument>([scalar] { number_of(scalar); }),
                  "invalid unsigned integer");
    }
}

TEST(NodeToU32, DoesNotTrimWithinQuotes) {
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { number_of("'12 '"); }), "invalid unsigned integer");
}

TEST(NodeToU32, ReadsANullNodeAsTheTextNull) {
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { node_to_u32(YAML::Load("~")); }),
              "invalid unsigned integer");
    EXPECT_EQ(thrown_text<std::invalid_argument>([] { node_to_u32(YAML::Node()); }),
              "invalid unsigned integer");
}

TEST(NodeToU32, ReadsPlainAndQuotedYamlAlike) {
    EXPECT_EQ(node_to_u32(YAML::Load("16")), 16U);
    EXPECT_EQ(node_to_u32(YAML::Load("'16'")), 16U);
    EXPECT_EQ(node_to_u32(YAML::Load("\"0x10\"")), 16U);
    EXPECT_EQ(node_to_u32(YAML::Load("'\"0x10\"'")), 16U);
    EXPECT_EQ(node_to_u32(YAML::Load("!!int 16")), 16U);
}

TEST(NodeToU32, RefusesANodeThatIsNoScalar) {
    EXPECT_EQ(thrown_text<YAML::BadConversion>([] { node_to_u32(YAML::Load("[1]")); }),
              "yaml-cpp: error at line 1, column 1: bad conversion");
    EXPECT_EQ(thrown_text<YAML::BadConversion>([] { node_to_u32(YAML::Load("{a: 1}")); }),
              "yaml-cpp: error at line 1, column 1: bad conversion");
}

TEST(NodeToU32, RefusesANodeThatIsNotThere) {
    const YAML::Node map = YAML::Load("{a: 1}");
    EXPECT_EQ(thrown_text<YAML::InvalidNode>([&map] { node_to_u32(map["b"]); }),
              "invalid node; first invalid key: \"b\"");
}

}  // namespace
}  // namespace quarn::subscriber::radius
