#include "common/colour.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/captured_output.h"

namespace quarn::tools {
namespace {

using test::CapturedOutput;
using test::Stream;

TEST(Colourise, ColoursOnATerminal) {
    CapturedOutput captured(Stream::Terminal);
    const std::string text = colourise(green, "text");
    const std::string empty = colourise(red, "");
    captured.finish();
    EXPECT_EQ(text, "\x1b[32mtext\x1b[0m");
    EXPECT_EQ(empty, "\x1b[31m\x1b[0m");
}

TEST(Colourise, LeavesTheTextAloneElsewhere) {
    CapturedOutput captured;
    const std::string text = colourise(green, "text");
    captured.finish();
    EXPECT_EQ(text, "text");
}

TEST(Colourise, LooksAtStandardOutputEachTime) {
    CapturedOutput on_terminal(Stream::Terminal);
    const std::string coloured = colourise(yellow, "text");
    on_terminal.finish();
    CapturedOutput elsewhere;
    const std::string plain = colourise(yellow, "text");
    elsewhere.finish();
    EXPECT_EQ(coloured, "\x1b[33mtext\x1b[0m");
    EXPECT_EQ(plain, "text");
}

}  // namespace
}  // namespace quarn::tools
