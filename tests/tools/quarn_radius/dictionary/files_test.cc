#include "quarn_radius/dictionary/files.h"

#include <gtest/gtest.h>

#include "testing/scratch_folder.h"
#include "tools/quarn_radius/dictionary/problems.h"

namespace quarn::quarn_radius {
namespace {

using Lines = std::vector<std::string>;

class DictionaryFilesTest : public testing::Test {
  protected:
    /// The names of the files read, in order.
    Lines read(const std::string& root) {
        Lines names;
        for (const DictionaryFile& file : read_dictionary_files(root, problems_)) {
            names.push_back(std::filesystem::path(file.path).lexically_relative(folder_.path()).string());
        }
        return names;
    }
    Lines reported() const { return test::lines_of(problems_, folder_.path()); }

    test::ScratchFolder folder_;
    Problems problems_;
};

TEST_F(DictionaryFilesTest, ComeInTheOrderOfLoadingEachOnce) {
    folder_.write("sub/a.yaml", "includes: [b.yaml, ../c.yaml]\n");
    folder_.write("sub/b.yaml", "includes: [../c.yaml]\n");
    folder_.write("c.yaml", "attributes: {}\n");
    EXPECT_EQ(read(folder_.write("root.yaml", "includes: [sub/a.yaml, c.yaml]\n")),
              (Lines{"c.yaml", "sub/b.yaml", "sub/a.yaml", "root.yaml"}));
    EXPECT_EQ(reported(), Lines{});
}

TEST_F(DictionaryFilesTest, CyclesAreWarnedOf) {
    folder_.write("a.yaml", "includes:\n  - root.yaml\n  - a.yaml\n");
    EXPECT_EQ(read(folder_.write("root.yaml", "includes:\n- a.yaml\n")), (Lines{"a.yaml", "root.yaml"}));
    EXPECT_EQ(reported(), (Lines{"a.yaml:2: warning: include cycle: root.yaml includes this file in turn",
                                 "a.yaml:3: warning: the file includes itself"}));
}

// Read one inside the other, they once ran the stack over.
TEST_F(DictionaryFilesTest, AChainOfTenThousandFilesIsRead) {
    constexpr int length = 10'000;
    folder_.write("0.yaml", "attributes: {}\n");
    for (int number = 1; number < length; ++number) {
        folder_.write(std::to_string(number) + ".yaml",
                      "includes: [" + std::to_string(number - 1) + ".yaml]\n");
    }
    const Lines files = read(folder_.path() / (std::to_string(length - 1) + ".yaml"));
    ASSERT_EQ(files.size(), length);
    EXPECT_EQ(files.front(), "0.yaml");
    EXPECT_EQ(files.back(), "9999.yaml");
    EXPECT_EQ(reported(), Lines{});
}

TEST_F(DictionaryFilesTest, EveryFileThatCannotBeReadIsTold) {
    folder_.write("folder/inside.yaml", "");
    folder_.write("syntax.yaml", "attributes:\n  A: {code: 1\n  B: ]\n");
    folder_.write("list.yaml", "\n- attributes\n");
    folder_.write("two.yaml", "attributes: {}\n---\nattributes: {}\n");
    folder_.write("bad-includes.yaml", "vendor:\nincludes: a.yaml\n");
    folder_.write("empty.yaml", "# nothing\n");
    EXPECT_EQ(read(folder_.write("root.yaml",
                                 "includes:\n"
                                 "  - nowhere.yaml\n"
                                 "  - folder\n"
                                 "  - syntax.yaml\n"
                                 "  - list.yaml\n"
                                 "  - two.yaml\n"
                                 "  - bad-includes.yaml\n"
                                 "  - empty.yaml\n"
                                 "  - [nested]\n")),
              (Lines{"two.yaml", "bad-includes.yaml", "root.yaml"}));
    EXPECT_EQ(reported(),
              (Lines{"root.yaml:2: error: cannot load nowhere.yaml: no such file",
                     "root.yaml:3: error: cannot load folder: is a directory",
                     "syntax.yaml:3: error: not valid YAML: end of map flow not found",
                     "list.yaml:2: error: top level must be a map",
                     "two.yaml:3: warning: only the first document of a file is read; this is another",
                     "bad-includes.yaml:2: error: 'includes' must be a sequence",
                     "empty.yaml:1: warning: the file is empty",
                     "root.yaml:9: error: 'includes' entry must be a file name"}));
}

TEST_F(DictionaryFilesTest, ARootThatIsNotThereIsThrown) {
    try {
        read(folder_.path() / "nowhere.yaml");
        FAIL() << "a missing file is accepted";
    } catch (const FileError& error) {
        EXPECT_EQ(error.what(), (folder_.path() / "nowhere.yaml").string() + ": no such file");
    }
}

}  // namespace
}  // namespace quarn::quarn_radius
