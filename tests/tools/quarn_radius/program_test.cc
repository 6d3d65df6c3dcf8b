// The program as a process: what a shell sees of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "testing/process.h"
#include "testing/scratch_folder.h"

namespace quarn::test {
namespace {

ProcessResult quarn_radius(const std::vector<std::string>& arguments) {
    return run_process({.program = QUARN_RADIUS_PROGRAM, .arguments = arguments});
}

TEST(QuarnRadiusProgram, ListsProblemsOnItsOutputAndASummaryOnItsErrors) {
    const ScratchFolder folder;
    const std::string file = folder.write("odd.yaml", "attributes:\n  Filter-Id: {code: 11., type: text}\n");
    const ProcessResult result = quarn_radius({"dictionary", "check", file});
    EXPECT_EQ(result.ending, exited_with(1));
    EXPECT_EQ(result.output, file + ":2: error: 'code' of Filter-Id is no valid code path: \"11.\"\n");
    EXPECT_EQ(result.errors, "1 error, 0 warnings in 1 attribute and 0 values of 0 vendors, 1 file\n");
}

TEST(QuarnRadiusProgram, ShowsAnAttributeOfTheShippedDictionary) {
    const std::string root = QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml";
    const ProcessResult result = quarn_radius({"dictionary", "show", "-d", root, "26.14122.8"});
    EXPECT_EQ(result.ending, exited_with(0));
    EXPECT_TRUE(
        result.output.starts_with("WISPr-Bandwidth-Max-Down\n"
                                  "  code      26.14122.8\n"
                                  "  type      integer\n"
                                  "  vendor    WISPr, number 14122, format 1,1\n"
                                  "  defined   " QUARN_SOURCE_DIR "/share/quarn/radius/vendor/wispr.yaml:"))
        << result.output;
    EXPECT_EQ(result.errors, "");
}

TEST(QuarnRadiusProgram, ImportsIntoAFolderThatItMakes) {
    const ScratchFolder folder;
    const std::string source = folder.write("dictionary", "ATTRIBUTE Filter-Id 11 string\n");
    const std::string target = folder.path() / "deep/down";
    EXPECT_EQ(quarn_radius({"dictionary", "import", source, "-o", target}).ending, exited_with(0));
    const ProcessResult shown =
        quarn_radius({"dictionary", "show", "--json", "-d", target + "/dictionary.yaml", "11"});
    EXPECT_EQ(shown.ending, exited_with(0));
    EXPECT_EQ(shown.output,
              R"({"name": "Filter-Id", "code": "11", "type": "text", "encrypt": 0, "has_tag": false, )"
              R"("optional_tag": false, "concat": false, "continuation": false, "file": ")" +
                  target + R"(/standard.yaml", "line": 4})" + "\n");
}

TEST(QuarnRadiusProgram, EndsWith2WithoutACommandAndWith3WithoutAFile) {
    EXPECT_EQ(quarn_radius({}).ending, exited_with(2));
    EXPECT_EQ(quarn_radius({"dictionary", "check", "/nonexistent/dictionary.yaml"}).ending, exited_with(3));
}

TEST(QuarnRadiusProgram, EndsWith3WhenItsOutputCannotBeWritten) {
    const ScratchFolder folder;
    const std::string sound = folder.write("sound.yaml", "attributes: {Filter-Id: {code: 11, type: text}}\n");
    const std::string odd = folder.write("odd.yaml", "attributes:\n  Filter-Id: {code: 11., type: text}\n");
    const std::string source = folder.write("dictionary", "ATTRIBUTE Filter-Id 11 string secret\n");
    const std::string target = folder.path() / "out";
    const std::vector<std::vector<std::string>> commands = {
        {"--help"},
        {"--version"},
        {"dictionary", "check", odd},
        {"dictionary", "show", "-d", sound, "Filter-Id"},
        {"dictionary", "import", source, "-o", target},
    };
    for (const std::vector<std::string>& command : commands) {
        std::vector<std::string> arguments = {"-c", "exec \"$0\" \"$@\" >/dev/full", QUARN_RADIUS_PROGRAM};
        arguments.insert(arguments.end(), command.begin(), command.end());
        const ProcessResult result = run_process({.program = "/bin/sh", .arguments = arguments});
        EXPECT_EQ(result.ending, exited_with(3)) << testing::PrintToString(command);
        EXPECT_TRUE(result.errors.ends_with("quarn-radius: standard output: cannot write\n"))
            << result.errors;
    }
    // Nothing to say, nothing lost.
    EXPECT_EQ(run_process({.program = "/bin/sh",
                           .arguments = {"-c", "exec \"$0\" dictionary check \"$1\" >/dev/full",
                                         QUARN_RADIUS_PROGRAM, sound}})
                  .ending,
              exited_with(0));
}

TEST(QuarnRadiusProgram, EndsQuietlyWhenNobodyReadsOn) {
    const ScratchFolder folder;
    const std::string odd = folder.write("odd.yaml", "attributes:\n  Filter-Id: {code: 11., type: text}\n");
    const std::string root = QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml";
    struct Row {
        std::vector<std::string> arguments;
        std::string errors;
        int status;
    };
    const std::vector<Row> rows = {
        {{"--help"}, "", 0},
        {{"dictionary", "show", "-d", root, "Filter-Id"}, "", 0},
        {{"dictionary", "show", "-d", root, "/./"}, "", 0},  // more than a pipe holds
        {{"dictionary", "check", odd},
         "1 error, 0 warnings in 1 attribute and 0 values of 0 vendors, 1 file\n",
         1},
    };
    for (const auto& [arguments, errors, status] : rows) {
        const ProcessResult result = run_process(
            {.program = QUARN_RADIUS_PROGRAM, .arguments = arguments, .output = Stream::NoReader});
        EXPECT_EQ(result.errors, errors);
        EXPECT_EQ(result.ending, exited_with(status)) << testing::PrintToString(arguments);
    }
    const ProcessResult piped =
        run_process({.program = "/bin/bash",
                     .arguments = {"-c", "\"$@\" | head -n 1; exit ${PIPESTATUS[0]}", "bash",
                                   QUARN_RADIUS_PROGRAM, "dictionary", "show", "-d", root, "/./"}});
    EXPECT_EQ(std::count(piped.output.begin(), piped.output.end(), '\n'), 1);
    EXPECT_EQ(piped.errors, "");
    EXPECT_EQ(piped.ending, exited_with(0));
}

}  // namespace
}  // namespace quarn::test
