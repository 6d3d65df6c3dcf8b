#include "common/terminal_text.h"

#include <gtest/gtest.h>

namespace quarn::tools {
namespace {

// A name from a file must not colour, clear or retitle the terminal.
TEST(TerminalText, ShowsControlCharactersAsEscapes) {
    EXPECT_EQ(terminal_text(std::string_view("\r\t\0\x1f ~", 6)), "\\r\\t\\x00\\x1f ~");
    EXPECT_EQ(terminal_text("A\nB\x1b[2J\x7f"), "A\\nB\\x1b[2J\\x7f");
}

TEST(TerminalText, ShowsOtherScriptsAsTheyAre) {
    EXPECT_EQ(terminal_text("Zürich \xc2\xa0 日本 \\n"), "Zürich \xc2\xa0 日本 \\n");
    EXPECT_EQ(terminal_text("ü\xc2\x9b"
                            "2J"),
              "ü\\xc2\\x9b2J");
    EXPECT_EQ(terminal_text("\x9b"
                            "2J\xc2"),
              "\\x9b2J\\xc2");
}

}  // namespace
}  // namespace quarn::tools
