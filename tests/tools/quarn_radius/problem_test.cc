#include "quarn/tools/quarn_radius/problem.h"

#include <gtest/gtest.h>

namespace quarn::companion {
namespace {

TEST(Problem, PrintsAsCompilersDo) {
    EXPECT_EQ(problem_line({"a/b.yaml", 12, Severity::Error, "it is wrong"}),
              "a/b.yaml:12: error: it is wrong");
    EXPECT_EQ(problem_line({"b.yaml", 1, Severity::Warning, "odd"}), "b.yaml:1: warning: odd");
    EXPECT_EQ(problem_line({"b.yaml", 1, Severity::Note, "so"}), "b.yaml:1: note: so");
}

// A name from a file must not pass for a problem of its own, nor colour, clear or retitle the terminal.
TEST(Problem, PrintsControlCharactersAsEscapes) {
    EXPECT_EQ(problem_line({"a\n.yaml", 1, Severity::Error, "A\nb.yaml:1: note: B\x1b[2J\x7f"}),
              "a\\n.yaml:1: error: A\\nb.yaml:1: note: B\\x1b[2J\\x7f");
    EXPECT_EQ(terminal_text(std::string_view("\r\t\0\x1f ~", 6)), "\\r\\t\\x00\\x1f ~");
}

TEST(Problem, PrintsTextOfOtherScriptsAsItIs) {
    EXPECT_EQ(terminal_text("Zürich \xc2\xa0 日本 \\n"), "Zürich \xc2\xa0 日本 \\n");
    EXPECT_EQ(terminal_text("ü\xc2\x9b"
                            "2J"),
              "ü\\xc2\\x9b2J");
    EXPECT_EQ(terminal_text("\x9b"
                            "2J\xc2"),
              "\\x9b2J\\xc2");
}

TEST(Problem, PrintsAsOneLineOfJson) {
    EXPECT_EQ(problem_json({"a\"b.yaml", 12, Severity::Error, "two\nlines"}),
              R"({"file": "a\"b.yaml", "line": 12, "severity": "error", "text": "two\nlines"})");
}

}  // namespace
}  // namespace quarn::companion
