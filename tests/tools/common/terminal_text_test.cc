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

TEST(TerminalText, EscapesExactlyTheSecondSetOfControlCharacters) {
    EXPECT_EQ(terminal_text("\x7e\x7f\xc2\x80\xc2\x9e\xc2\x9f\xc2\xa0"),
              "~\\x7f\\xc2\\x80\\xc2\\x9e\\xc2\\x9f\xc2\xa0");
}

TEST(TerminalText, EscapesEveryByteFrom80OnOfATextThatIsNotUtf8) {
    EXPECT_EQ(terminal_text("\x7e\x80"), "~\\x80");
    EXPECT_EQ(terminal_text("\xff\xc3\xa9~"), "\\xff\\xc3\\xa9~");
    EXPECT_EQ(terminal_text("\xe6\x97"), "\\xe6\\x97");
}

// "Filter-Id" must not read "dI-retliF", nor an error as if it stood elsewhere on its line.
TEST(TerminalText, EscapesWhatChangesTheOrderOfALine) {
    EXPECT_EQ(terminal_text("a\u202eb\u2066c\u2069\u200e\u061c"),
              "a\\xe2\\x80\\xaeb\\xe2\\x81\\xa6c\\xe2\\x81\\xa9\\xe2\\x80\\x8e\\xd8\\x9c");
    EXPECT_EQ(terminal_text("a\u2028b\u2029"), "a\\xe2\\x80\\xa8b\\xe2\\x80\\xa9");
    EXPECT_EQ(terminal_text("\u200d\u2027\u202f"), "\u200d\u2027\u202f");
}

}  // namespace
}  // namespace quarn::tools
