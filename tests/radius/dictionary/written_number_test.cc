#include "quarn/radius/written_number.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "testing/thrown_text.h"

namespace quarn::subscriber::radius {
namespace {

using test::thrown_text;

/// The number that a scalar of this text reads as.
std::uint32_t number_of(const std::string& scalar) {
    return node_to_u32({scalar, 1, 1, 1, WrittenKind::Text});
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
    EXPECT_EQ(thrown_text<std::invalid_argument>([] {
                  node_to_u32({"null", 1, 1, 1, WrittenKind::Null});
              }),
              "invalid unsigned integer");
}

TEST(NodeToU32, RefusesANodeThatIsNoScalar) {
    for (const WrittenKind kind : {WrittenKind::Map, WrittenKind::Sequence}) {
        EXPECT_EQ(thrown_text<std::invalid_argument>([kind] {
                      node_to_u32({"", 2, 3, 4, kind});
                  }),
                  "yaml-cpp: error at line 3, column 4: bad conversion");
    }
}

TEST(ReadFileNumber, TellsWhatHasMoreThan32Bits) {
    const auto is_cut = [](const char* text) { return read_file_number(text).value().is_cut; };
    for (const char* const text :
         {"0", "4294967295", "0xFFFFFFFF", "00000000000000000000000000001", "' 1'"}) {
        if (const auto number = read_file_number(text)) {
            EXPECT_FALSE(number->is_cut) << text;
        }
    }
    for (const char* const text : {"4294967296", "0x100000000", "'4294967296'", "18446744073709551616",
                                   "340282366920938463463374607431768211456"}) {
        EXPECT_TRUE(is_cut(text)) << text;
    }
}

TEST(ReadNumber, DropsNothing) {
    EXPECT_EQ(read_number("12").value().low_bits, 12U);
    EXPECT_EQ(read_number("0X1f").value().low_bits, 31U);
    for (const char* const text : {"", " 1", "1 ", "'1'", "+1", "-1", "0x", "1.0"}) {
        EXPECT_FALSE(read_number(text)) << text;
    }
}

TEST(ReadFlag, ReadsTheBooleansOfYaml) {
    const auto flag = [](std::string_view text) { return read_flag({text, 1, 1, 1, WrittenKind::Text}); };
    for (const char* const text : {"true", "True", "TRUE", "yes", "Yes", "YES", "on", "On", "ON", "y", "Y"}) {
        EXPECT_EQ(flag(text), true) << text;
    }
    for (const char* const text :
         {"false", "False", "FALSE", "no", "No", "NO", "off", "Off", "OFF", "n", "N"}) {
        EXPECT_EQ(flag(text), false) << text;
    }
    for (const char* const text :
         {"", "tRUE", "TRue", "oN", "yeS", "1", "0", "maybe", " true", "true ", "t"}) {
        EXPECT_EQ(flag(text), std::nullopt) << text;
    }
    EXPECT_EQ(read_flag({"null", 1, 1, 1, WrittenKind::Null}), std::nullopt);
    EXPECT_EQ(read_flag({"", 1, 1, 1, WrittenKind::Sequence}), std::nullopt);
}

TEST(ReadCodePath, ReadsNumbersWithBlanksAndSigns) {
    struct Row {
        const char* text;
        CodePath path;
        bool is_cut;
    };
    const Row rows[] = {
        {"1", {1}, false},
        {"26.9.1", {26, 9, 1}, false},
        {" 26 .\t9. 1\n", {26, 9, 1}, false},
        {"+4", {4}, false},
        {"-0", {0}, false},
        {"4294967297", {1}, true},
        {"241.-1", {241, 4294967295}, true},
        {"-4294967294", {2}, true},
        {"18446744073709551615", {4294967295}, true},
    };
    for (const Row& row : rows) {
        const WrittenCode code = read_code_path(row.text);
        EXPECT_EQ(code.fault, CodeFault::None) << row.text;
        EXPECT_EQ(code.path, row.path) << row.text;
        EXPECT_EQ(code.is_cut, row.is_cut) << row.text;
    }
}

TEST(ReadCodePath, TellsWhatIsNoCodePath) {
    const auto fault = [](std::string_view text) { return read_code_path(text).fault; };
    for (const char* const text : {"", " ", ".", "1.", ".1", "26..1", "1x", "1 2", "0x1", "1,2"}) {
        EXPECT_EQ(fault(text), CodeFault::NoCode) << text;
    }
    for (const char* const text : {"x", "26.x.1", "-", "+", "+-5", "- 5", "null", "99999999999999999999x"}) {
        EXPECT_EQ(fault(text), CodeFault::NoNumber) << text;
    }
    for (const char* const text :
         {"18446744073709551616", "-18446744073709551616", "1.99999999999999999999"}) {
        EXPECT_EQ(fault(text), CodeFault::OutOfRange) << text;
    }
}

TEST(ReadPlainCodePath, ReadsNumbersOf32BitsAndNothingElse) {
    EXPECT_EQ(read_plain_code_path("1"), CodePath{1});
    EXPECT_EQ(read_plain_code_path("26.0x9.4294967295"), (CodePath{26, 9, 4294967295}));
    for (const char* const text : {"", "1.", ".1", "1..2", " 1", "+1", "4294967296", "x"}) {
        EXPECT_EQ(read_plain_code_path(text), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
