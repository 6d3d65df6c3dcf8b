#include "common/control_characters.h"

#include <gtest/gtest.h>

#include <vector>

namespace quarn::tools {
namespace {

/// First and last code points of the ranges below U+3000 that `is_member` holds for.
template <typename Predicate>
std::vector<char32_t> ranges_of(Predicate is_member) {
    std::vector<char32_t> ends;
    bool inside = false;
    for (char32_t code_point = 0; code_point < 0x3000; ++code_point) {
        if (is_member(code_point) != inside) {
            inside = !inside;
            ends.push_back(inside ? code_point : code_point - 1);
        }
    }
    return ends;
}

TEST(ControlCharacters, AreThoseOfAsciiAndOfLatin1) {
    EXPECT_EQ(ranges_of(is_control_character), (std::vector<char32_t>{0x00, 0x1F, 0x7F, 0x9F}));
}

TEST(ControlCharacters, OfLayoutAreThoseOfTheBidirectionalAlgorithmAndTheSeparators) {
    EXPECT_EQ(ranges_of(is_layout_control),
              (std::vector<char32_t>{0x061C, 0x061C, 0x200E, 0x200F, 0x2028, 0x202E, 0x2066, 0x2069}));
}

TEST(ControlCharacters, AreFoundAnywhereInAText) {
    for (const char* const text : {"\n", "ab\x1b",
                                   "a\x7f"
                                   "b",
                                   "日\xc2\x85本", "\xff\t"}) {
        EXPECT_TRUE(has_control_character(text)) << text;
    }
    for (const char* const text : {"", "Filter-Id", "日本 \xc2\xa0~", "\x85\xff", "\xe2\x80\xae"}) {
        EXPECT_FALSE(has_control_character(text)) << text;
    }
}

}  // namespace
}  // namespace quarn::tools
