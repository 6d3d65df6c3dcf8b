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

TEST(Problem, PrintsAsOneLineOfJson) {
    EXPECT_EQ(problem_json({"a\"b.yaml", 12, Severity::Error, "two\nlines"}),
              R"({"file": "a\"b.yaml", "line": 12, "severity": "error", "text": "two\nlines"})");
}

}  // namespace
}  // namespace quarn::companion
