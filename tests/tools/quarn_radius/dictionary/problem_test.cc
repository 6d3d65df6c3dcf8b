#include "quarn_radius/dictionary/problem.h"

#include <gtest/gtest.h>

namespace quarn::quarn_radius {
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
}

TEST(Problem, PrintsAsOneLineOfJson) {
    EXPECT_EQ(problem_json({"a\"b.yaml", 12, Severity::Error, "two\nlines"}),
              R"({"file": "a\"b.yaml", "line": 12, "severity": "error", "text": "two\nlines"})");
}

}  // namespace
}  // namespace quarn::quarn_radius
