#include "quarn_radius/dictionary/file_set.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "quarn_radius/dictionary/problem.h"
#include "testing/process.h"
#include "testing/scratch_folder.h"

namespace quarn::quarn_radius {
namespace {

namespace fs = std::filesystem;
using Content = std::map<std::string, std::string>;

/// Everything in a folder: files with their text, links with "-> " and where they lead, folders with "/".
Content content_of(const fs::path& folder) {
    Content content;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        std::string& text = content[entry.path().lexically_relative(folder).string()];
        if (entry.is_symlink()) {
            text = "-> " + fs::read_symlink(entry.path()).string();
        } else if (entry.is_directory()) {
            text = "/";
        } else {
            std::ifstream stream(entry.path());
            text.assign(std::istreambuf_iterator<char>(stream), {});
        }
    }
    return content;
}

class WriteTogether : public testing::Test {
  protected:
    fs::path path(const fs::path& name) const { return folder_.path() / name; }

    test::ScratchFolder folder_;
};

TEST_F(WriteTogether, MakesFoldersAndReplacesFiles) {
    folder_.write("a.yaml", "old");
    write_together(std::vector<NewFile>{
        {path("a.yaml"), "new"}, {path("x/y/b.yaml"), ""}, {path("x/c.yaml"), std::string(100000, 'c')}});
    EXPECT_EQ(content_of(folder_.path()), (Content{{"a.yaml", "new"},
                                                   {"x", "/"},
                                                   {"x/y", "/"},
                                                   {"x/y/b.yaml", ""},
                                                   {"x/c.yaml", std::string(100000, 'c')}}));
}

TEST_F(WriteTogether, TakesAFolderWithASlashAtItsEnd) {
    write_together(std::vector<NewFile>{{path("new/") / "a.yaml", "a"}});
    EXPECT_EQ(content_of(folder_.path()), (Content{{"new", "/"}, {"new/a.yaml", "a"}}));
}

TEST_F(WriteTogether, KeepsThePermissionsOfAReplacedFile) {
    constexpr fs::perms shared = fs::perms{0664};
    fs::permissions(folder_.write("a.yaml", "old"), shared);
    write_together(std::vector<NewFile>{{path("a.yaml"), "new"}});
    EXPECT_EQ(fs::status(path("a.yaml")).permissions(), shared);
}

TEST_F(WriteTogether, ReplacesALinkAndNotTheFileThatItLeadsTo) {
    folder_.write("elsewhere", "precious");
    fs::create_symlink("elsewhere", path("a.yaml"));
    write_together(std::vector<NewFile>{{path("a.yaml"), "new"}});
    EXPECT_EQ(content_of(folder_.path()), (Content{{"a.yaml", "new"}, {"elsewhere", "precious"}}));
}

TEST_F(WriteTogether, WritesNothingWhereAFolderIsInTheWay) {
    folder_.write("a.yaml", "old");
    fs::create_directories(path("b.yaml"));
    const Content before = content_of(folder_.path());
    const std::vector<NewFile> files = {
        {path("a.yaml"), "new"}, {path("x/y/z.yaml"), "new"}, {path("b.yaml"), "new"}};
    try {
        write_together(files);
        FAIL() << "a folder is replaced";
    } catch (const FileError& error) {
        EXPECT_EQ(error.what(), path("b.yaml").string() + ": cannot write");
    }
    EXPECT_EQ(content_of(folder_.path()), before);
}

TEST_F(WriteTogether, NamesTheFileWhoseFolderCannotBeMade) {
    folder_.write("a", "a file");
    try {
        write_together(std::vector<NewFile>{{path("b/c.yaml"), "new"}, {path("a/b.yaml"), "new"}});
        FAIL() << "a file is taken for a folder";
    } catch (const FileError& error) {
        EXPECT_EQ(error.what(), path("a/b.yaml").string() + ": cannot write");
    }
    EXPECT_EQ(content_of(folder_.path()), (Content{{"a", "a file"}}));
}

/// Imports of two vendors and a standard attribute: four files. Each system call of a kind is made to fail in
/// turn.
class FailingImport : public WriteTogether {
  protected:
    struct Run {
        test::Ending ending;
        std::string errors;
    };

    /// Imports into "out", with the n-th call failing with this error number.
    Run import(const std::string& call, int error_number, int n) const {
        const test::ProcessResult result =
            test::run_process({.program = QUARN_RADIUS_PROGRAM,
                               .arguments = {"dictionary", "import", source_, "-o", path("out")},
                               .environment = {{"LD_PRELOAD", FAILING_CALLS},
                                               {"FAILING_CALLS", call + "=" + std::to_string(error_number) +
                                                                     "@" + std::to_string(n)},
                                               {"ASAN_OPTIONS", "verify_asan_link_order=0"}}});
        EXPECT_EQ(result.output, "");
        return {result.ending, result.errors};
    }

    /// The names of the files that are complained of, one for each n up to `last` for which the import fails.
    std::vector<std::string> failures(const std::string& call, int error_number, int last) const {
        const bool is_new = !fs::exists(path("out"));
        const Content before = content_of(folder_.path());
        std::vector<std::string> names;
        for (int n = 1; n <= last; ++n) {
            const Run run = import(call, error_number, n);
            if (run.ending == test::exited_with(0)) {
                EXPECT_EQ(run.errors,
                          "wrote 3 attributes and 0 values to 4 files; 0 errors, 0 warnings, 0 notes\n");
                if (is_new) {
                    fs::remove_all(path("out"));
                }
                continue;
            }
            EXPECT_EQ(run.ending, test::exited_with(3));
            EXPECT_EQ(content_of(folder_.path()), before) << call << " " << n;
            const std::string start = "quarn-radius: " + path("out").string() + "/";
            const std::string end = ": cannot write\n";
            EXPECT_TRUE(run.errors.starts_with(start) && run.errors.ends_with(end)) << run.errors;
            names.push_back(run.errors.substr(start.size(), run.errors.size() - start.size() - end.size()));
        }
        return names;
    }

    std::string source_ = folder_.write("dictionary",
                                        "VENDOR A 1\nVENDOR B 2\nATTRIBUTE User-Name 1 string\n"
                                        "ATTRIBUTE A-1 1 string A\nATTRIBUTE B-1 1 string B\n");
    const std::vector<std::string> files_ = {"vendor/a.yaml", "vendor/b.yaml", "standard.yaml",
                                             "dictionary.yaml"};
};

TEST_F(FailingImport, OfAFullDiskLeavesNoNewFolder) {
    EXPECT_EQ(failures("write", ENOSPC, 5), files_);
}

TEST_F(FailingImport, OfAFullDiskLeavesTheFolderAsItWas) {
    ASSERT_EQ(import("none", 0, 0).ending, test::exited_with(0));
    EXPECT_EQ(failures("write", ENOSPC, 5), files_);
}

// A network's file system writes when the file is closed.
TEST_F(FailingImport, IsReportedWhenTheDiskTurnsOutToBeFullAtTheEnd) {
    EXPECT_EQ(failures("close", ENOSPC, 10), files_);
}

TEST_F(FailingImport, TakesBackWhatWasRenamedAlready) {
    EXPECT_EQ(failures("rename", EIO, 5), files_);
    ASSERT_EQ(import("none", 0, 0).ending, test::exited_with(0));
    EXPECT_EQ(failures("rename", EIO, 5), files_);
}

TEST_F(FailingImport, WritesOnAfterAnInterruptedWrite) {
    EXPECT_EQ(failures("write", EINTR, 5), std::vector<std::string>{});
}

}  // namespace
}  // namespace quarn::quarn_radius
