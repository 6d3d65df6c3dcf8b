#include "quarn_radius/dictionary/code_text.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace quarn::quarn_radius {
namespace {

using subscriber::radius::CodePath;

/// A letter as its place in the alphabet.
std::optional<std::uint32_t> parse_letter(std::string_view text) {
    const bool is_letter = text.size() == 1 && text[0] >= 'a' && text[0] <= 'z';
    return is_letter ? std::optional(static_cast<std::uint32_t>(text[0] - 'a' + 1)) : std::nullopt;
}

TEST(ParseCode, ReadsEveryElementWithTheFunctionGiven) {
    EXPECT_EQ(parse_code("z", parse_letter), CodePath{26});
    EXPECT_EQ(parse_code("z.i.a", parse_letter), (CodePath{26, 9, 1}));
}

TEST(ParseCode, GivesNothingWhenAnElementIsNoNumber) {
    for (const char* const text : {"", "1", "z.", ".z", "z..a", "z.A.a", "z a"}) {
        EXPECT_EQ(parse_code(text, parse_letter), std::nullopt) << text;
    }
}

}  // namespace
}  // namespace quarn::quarn_radius
