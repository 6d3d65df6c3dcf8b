#include "quarn_radius/program.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "testing/scratch_folder.h"

namespace quarn::quarn_radius {
namespace {

class CommandLineTest : public testing::Test {
  protected:
    /// Runs the program in this process.
    tools::ExitStatus run_with(const std::vector<std::string>& arguments) {
        std::vector<const char*> argv = {"quarn-radius"};
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        output_.str("");
        errors_.str("");
        return run(static_cast<int>(argv.size()), argv.data(), output_, errors_);
    }
    std::string output() const { return output_.str(); }
    std::string errors() const { return errors_.str(); }

    test::ScratchFolder folder_;
    std::string sound_ = folder_.write("sound.yaml", "attributes: {Filter-Id: {code: 11, type: text}}\n");
    std::string odd_ = folder_.write("odd.yaml", "attributes:\n  Filter-Id: {code: 11, tpye: text}\n");

  private:
    std::ostringstream output_;
    std::ostringstream errors_;
};

TEST_F(CommandLineTest, CheckEndsWith0ForASoundDictionaryAndCountsItForTheReader) {
    EXPECT_EQ(run_with({"dictionary", "check", sound_}), tools::ExitStatus::Fine);
    EXPECT_EQ(output(), "");
    EXPECT_EQ(errors(), "no problems in 1 attribute and 0 values of 0 vendors, 1 file\n");
}

TEST_F(CommandLineTest, CheckEndsWith1WhenItListsAProblem) {
    EXPECT_EQ(run_with({"dictionary", "check", odd_}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(output(), odd_ + ":2: warning: unknown key \"tpye\" of Filter-Id, did you mean \"type\"?\n");
    EXPECT_EQ(errors(), "0 errors, 1 warning in 1 attribute and 0 values of 0 vendors, 1 file\n");
}

TEST_F(CommandLineTest, CheckPrintsJsonLines) {
    EXPECT_EQ(run_with({"dictionary", "check", "--json", odd_}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(output(), R"({"file": ")" + odd_ + R"(", "line": 2, "severity": "warning", )" +
                            R"("text": "unknown key \"tpye\" of Filter-Id, did you mean \"type\"?"})" + "\n");
}

TEST_F(CommandLineTest, ShowPrintsWhatMatches) {
    EXPECT_EQ(run_with({"dictionary", "show", "-d", sound_, "filter-id"}), tools::ExitStatus::Fine);
    EXPECT_EQ(output(), "Filter-Id\n  code      11\n  type      text\n  defined   " + sound_ + ":1\n");
    EXPECT_EQ(errors(), "");
}

TEST_F(CommandLineTest, ShowEndsWith1WhenNothingMatches) {
    EXPECT_EQ(run_with({"dictionary", "show", "-d", sound_, "filter-if"}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(output(), "");
    EXPECT_EQ(errors(), "quarn-radius: nothing matches \"filter-if\", did you mean \"Filter-Id\"?\n");
}

TEST_F(CommandLineTest, NothingFromAFileControlsTheTerminal) {
    const std::string file = folder_.write("control.yaml", "attributes: {\"Fil\\e[2J\": {code: 11, a: b}}\n");
    EXPECT_EQ(run_with({"dictionary", "check", file}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(output(), file + ":1: error: the name \"Fil\\x1b[2J\" has a control character\n" + file +
                            ":1: warning: unknown key \"a\" of Fil\\x1b[2J\n");
    EXPECT_EQ(run_with({"dictionary", "show", "-d", file, "Fil[2J"}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(errors(), "quarn-radius: nothing matches \"Fil[2J\", did you mean \"Fil\\x1b[2J\"?\n");
    const std::string failing =
        folder_.write("failing.yaml", "vendor: {id: 1, name: \"V\\n\\e\", format: '1,0'}\n");
    EXPECT_EQ(run_with({"dictionary", "show", "-d", failing, "V"}), tools::ExitStatus::FileProblem);
    EXPECT_NE(errors().find("vendor 'V\\n\\x1b'"), std::string::npos) << errors();
    const std::string source = folder_.write("dictionary", "ATTRIBUTE A\x1b[2J 11 string secret\n");
    EXPECT_EQ(run_with({"dictionary", "import", source, "-o", folder_.path() / "out"}),
              tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(output(), source + ":1: note: the flag secret of A\\x1b[2J is dropped\n" + source +
                            ":1: error: an attribute is left out: its name has a control character\n");
}

TEST_F(CommandLineTest, ShowHelpTellsHowToNameAVendorOfASmallNumber) {
    EXPECT_EQ(run_with({"dictionary", "show", "--help"}), tools::ExitStatus::Fine);
    EXPECT_NE(output().find("as in 26.9"), std::string::npos) << output();
}

TEST_F(CommandLineTest, ImportEndsWith0WhenEverythingCouldBeUnderstood) {
    const std::string source = folder_.write("dictionary", "ATTRIBUTE Filter-Id 11 string secret\n");
    const std::string target = folder_.path() / "out";
    EXPECT_EQ(run_with({"dictionary", "import", source, "-o", target}), tools::ExitStatus::Fine);
    EXPECT_EQ(output(), source + ":1: note: the flag secret of Filter-Id is dropped\n");
    EXPECT_EQ(errors(), "wrote 1 attribute and 0 values to 2 files; 0 errors, 0 warnings, 1 note\n");
    EXPECT_EQ(run_with({"dictionary", "check", target + "/dictionary.yaml"}), tools::ExitStatus::Fine);
}

TEST_F(CommandLineTest, ImportEndsWith1WhenALineCouldNotBeUnderstood) {
    const std::string source = folder_.write("dictionary", "ATTRIBUTE Filter-Id\n");
    EXPECT_EQ(run_with({"dictionary", "import", "--json", source, "-o", folder_.path() / "out"}),
              tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(output(), R"({"file": ")" + source + R"(", "line": 1, "severity": "error", )" +
                            R"("text": "ATTRIBUTE wants a name, a code and a type"})" + "\n");
}

TEST_F(CommandLineTest, ImportTakesAVendorFromEachVendorOption) {
    const std::string source = folder_.write("dictionary",
                                             "VENDOR A 1\nVENDOR B 2\nVENDOR C 3\n"
                                             "ATTRIBUTE A-1 1 string A\nATTRIBUTE B-1 1 string B\n"
                                             "ATTRIBUTE C-1 1 string C\n");
    EXPECT_EQ(run_with({"dictionary", "import", "--vendor", "a", "--vendor", "C", source, "-o",
                        folder_.path() / "out"}),
              tools::ExitStatus::Fine);
    EXPECT_EQ(errors(), "wrote 2 attributes and 0 values to 3 files; 0 errors, 0 warnings, 0 notes\n");
}

TEST_F(CommandLineTest, ImportReplacesAFileOfOnesOwnOnlyIfForced) {
    const std::string source = folder_.write("dictionary", "ATTRIBUTE Filter-Id 11 string\n");
    const std::string own = folder_.write("out/standard.yaml", "# mine\n");
    const std::string target = folder_.path() / "out";
    EXPECT_EQ(run_with({"dictionary", "import", source, "-o", target}), tools::ExitStatus::FileProblem);
    EXPECT_EQ(output(), "");
    EXPECT_EQ(errors(),
              "quarn-radius: " + own + ": no import wrote this; it is replaced with --force only\n");
    EXPECT_EQ(run_with({"dictionary", "import", "--force", source, "-o", target}), tools::ExitStatus::Fine);
    EXPECT_EQ(run_with({"dictionary", "import", source, "-o", target}), tools::ExitStatus::Fine);
}

TEST_F(CommandLineTest, EveryWrongCommandLineEndsWith2) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"dictionary"},
        {"dictionary", "chekc"},
        {"dictionary", "check", "--xml"},
        {"dictionary", "check", sound_, odd_},
        {"dictionary", "show", "-d", sound_},
        {"dictionary", "show", "-d", sound_, "/(/"},
        {"dictionary", "import", sound_},
        {"dictionary", "import", "-o", "out"},
    };
    for (const std::vector<std::string>& arguments : wrong) {
        EXPECT_EQ(run_with(arguments), tools::ExitStatus::Usage) << testing::PrintToString(arguments);
        EXPECT_EQ(output(), "");
        EXPECT_NE(errors(), "");
    }
}

TEST_F(CommandLineTest, EveryFileThatCannotBeReadEndsWith3) {
    const std::string nowhere = folder_.path() / "nowhere";
    EXPECT_EQ(run_with({"dictionary", "check", nowhere}), tools::ExitStatus::FileProblem);
    EXPECT_EQ(errors(), "quarn-radius: " + nowhere + ": no such file\n");
    EXPECT_EQ(run_with({"dictionary", "show", "-d", nowhere, "Class"}), tools::ExitStatus::FileProblem);
    EXPECT_EQ(run_with({"dictionary", "import", nowhere, "-o", nowhere}), tools::ExitStatus::FileProblem);
    EXPECT_EQ(errors(), "quarn-radius: " + nowhere + ": cannot read\n");
}

TEST_F(CommandLineTest, EveryOtherFileProblemEndsWith3) {
    const std::string source = folder_.write("dictionary", "ATTRIBUTE Filter-Id 11 string\n");
    const std::string target = folder_.path() / "out";
    EXPECT_EQ(run_with({"dictionary", "import", "--vendor", "Nobody", source, "-o", target}),
              tools::ExitStatus::FileProblem);
    EXPECT_EQ(errors(), "quarn-radius: " + source + ": has no attributes of a vendor Nobody\n");
    EXPECT_EQ(run_with({"dictionary", "import", source, "-o", source}), tools::ExitStatus::FileProblem);
    EXPECT_EQ(errors(), "quarn-radius: " + source + "/standard.yaml: cannot write\n");
}

TEST_F(CommandLineTest, EveryHelpEndsWith0AndDocumentsTheExitStatus) {
    const std::vector<std::vector<std::string>> commands = {
        {}, {"dictionary"}, {"dictionary", "check"}, {"dictionary", "show"}, {"dictionary", "import"}};
    for (std::vector<std::string> command : commands) {
        command.emplace_back("--help");
        EXPECT_EQ(run_with(command), tools::ExitStatus::Fine);
        EXPECT_EQ(errors(), "");
        EXPECT_NE(output().find("Exit status:\n"
                                "  0  fine\n"
                                "  1  problems were found, or nothing matches\n"
                                "  2  the command line is wrong\n"
                                "  3  a file cannot be read or written\n"),
                  std::string::npos)
            << output();
    }
}

TEST_F(CommandLineTest, HelpNamesTheInstalledDictionaryAsTheDefault) {
    for (const char* const command : {"check", "show"}) {
        EXPECT_EQ(run_with({"dictionary", command, "--help"}), tools::ExitStatus::Fine);
        EXPECT_NE(output().find("/opt/quarn/share/quarn/radius/dictionary.yaml"), std::string::npos)
            << command;
    }
}

TEST_F(CommandLineTest, TellsItsVersion) {
    EXPECT_EQ(run_with({"--version"}), tools::ExitStatus::Fine);
    EXPECT_TRUE(output().starts_with("quarn-radius 2.")) << output();
}

}  // namespace
}  // namespace quarn::quarn_radius
