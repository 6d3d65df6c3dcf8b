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

TEST_F(CommandLineTest, ShowNamesWhatContainsAWordThatMatchesNothing) {
    folder_.write("standard.yaml",
                  "attributes: {Egress-VLANID: {code: 56, type: enum, values: {Some-VLAN: 1, VLAN: 2}}}\n");
    const std::string file = folder_.write("names.yaml", R"(
includes: [standard.yaml]
vendor: {id: 9, name: Vlanish, format: "1,1"}
attributes:
  X-VLAN: {code: 26.9.1, type: text}
  VLAN-X: {code: 26.9.2, type: text}
)");
    EXPECT_EQ(run_with({"dictionary", "show", "-d", file, "vlan"}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(errors(),
              "quarn-radius: nothing matches \"vlan\"; these names contain it:\n"
              "  attributes: VLAN-X, Egress-VLANID, X-VLAN\n"
              "  vendors: Vlanish\n"
              "  values: Egress-VLANID = VLAN, Egress-VLANID = Some-VLAN\n");
}

TEST_F(CommandLineTest, ShowCutsALongListOfNames) {
    std::string text = "attributes:\n";
    for (int i = 10; i < 22; ++i) {
        text += "  Name-" + std::to_string(i) + ": {code: " + std::to_string(i) + ", type: text}\n";
    }
    EXPECT_EQ(run_with({"dictionary", "show", "-d", folder_.write("many.yaml", text), "name"}),
              tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(
        errors(),
        "quarn-radius: nothing matches \"name\"; these names contain it:\n"
        "  attributes: Name-10, Name-11, Name-12, Name-13, Name-14, Name-15, Name-16, Name-17 and 4 more\n");
}

TEST_F(CommandLineTest, ShowLooksIntoTheFullDictionaryToo) {
    const std::string full =
        folder_.write("full.yaml",
                      "includes: [sound.yaml]\nvendor: {id: 9, name: Acme, format: '1,1'}\n"
                      "attributes: {Acme-Role: {code: 26.9.1, type: text}}\n");
    EXPECT_EQ(run_with({"dictionary", "show", "-d", sound_, "acme"}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(errors(), "quarn-radius: nothing matches \"acme\"; full.yaml has it: add -d " + full + "\n");
    EXPECT_EQ(run_with({"dictionary", "show", "-d", sound_, "role"}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(errors(),
              "quarn-radius: nothing matches \"role\"; these names of full.yaml contain it: add -d " + full +
                  "\n  attributes: Acme-Role\n");
    EXPECT_EQ(run_with({"dictionary", "show", "-d", full, "nobody"}), tools::ExitStatus::ProblemsFound);
    EXPECT_EQ(errors(), "quarn-radius: nothing matches \"nobody\"\n");
}

TEST_F(CommandLineTest, ListShowsTheVendorsAndWhatTheFullDictionaryHasBeyond) {
    const std::string root = folder_.write(
        "root.yaml",
        "includes: [sound.yaml]\nvendor: {id: 9, name: Acme, format: '1,1'}\n"
        "attributes: {Acme-Role: {code: 26.9.1, type: text}, Acme-Rate: {code: 26.9.2, type: text}}\n");
    const std::string full =
        folder_.write("full.yaml",
                      "includes: [root.yaml]\nvendor: {id: 311, name: Microsoft, format: '1,1'}\n"
                      "attributes: {MS-Text: {code: 26.311.1, type: text}}\n");
    EXPECT_EQ(run_with({"dictionary", "list", "-d", root}), tools::ExitStatus::Fine);
    EXPECT_EQ(output(), root + ": 1 standard attribute, 1 vendor\n  9  Acme  2 attributes\n\n" + full +
                            ": 1 vendor more, to be had with -d\n  311  Microsoft  1 attribute\n");
    EXPECT_EQ(run_with({"dictionary", "list", "-d", full}), tools::ExitStatus::Fine);
    EXPECT_EQ(output(), full +
                            ": 1 standard attribute, 2 vendors\n    9  Acme       2 attributes\n"
                            "  311  Microsoft  1 attribute\n");
    EXPECT_EQ(run_with({"dictionary", "list", "--json", "-d", root}), tools::ExitStatus::Fine);
    EXPECT_EQ(output(),
              R"({"id": 9, "name": "Acme", "format": "1,1", "attributes": 2, "file": ")" + root + "\"}\n" +
                  R"({"id": 311, "name": "Microsoft", "format": "1,1", "attributes": 1, "file": ")" + full +
                  "\"}\n");
}

TEST_F(CommandLineTest, AWrongCommandNamesItselfAndThoseThereAre) {
    struct Row {
        std::vector<std::string> arguments;
        std::string problem;
    };
    for (const Row& row : std::vector<Row>{
             {{}, "a command is missing: dictionary, send"},
             {{"dictionary"}, "a command is missing: check, list, show, import"},
             {{"sent"},
              "there is no command \"sent\", did you mean \"send\"?; the commands are dictionary, send"},
             {{"dictionary", "verify"},
              "there is no command \"verify\"; the commands are check, list, show, import"}}) {
        EXPECT_EQ(run_with(row.arguments), tools::ExitStatus::Usage);
        EXPECT_EQ(errors(), "quarn-radius: " + row.problem + "\nRun with --help for more information.\n");
    }
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
    const std::vector<std::vector<std::string>> commands = {{},
                                                            {"dictionary"},
                                                            {"dictionary", "check"},
                                                            {"dictionary", "list"},
                                                            {"dictionary", "show"},
                                                            {"dictionary", "import"}};
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
    for (const char* const command : {"check", "list", "show"}) {
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
