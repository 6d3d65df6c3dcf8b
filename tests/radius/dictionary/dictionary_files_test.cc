#include "quarn/radius/dictionary_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "testing/scratch_folder.h"

namespace quarn::subscriber::radius {
namespace {

using Lines = std::vector<std::string>;

class DictionaryFilesTest : public testing::Test {
  protected:
    /// The names of the files read, in order.
    Lines read(const std::string& root) {
        faults_.clear();
        DictionaryFiles files(
            root, [this](const FileFault& fault) { faults_.push_back(fault); },
            DictionaryFiles::LaterDocuments::Told);
        Lines names;
        while (const DictionaryDocument* const document = files.next()) {
            names.push_back(relative(document->file));
        }
        return names;
    }

    std::string relative(const std::string& file) const {
        return std::filesystem::path(file).lexically_relative(folder_.path()).string();
    }

    /// What is wrong, and where; of a file that cannot be read, where it is included.
    Lines reported() const {
        Lines lines;
        for (const FileFault& fault : faults_) {
            const bool is_included = !fault.includer.empty();
            lines.push_back(relative(is_included ? fault.includer : fault.file) + ":" +
                            std::to_string(is_included ? fault.include_line : fault.line) + ": " +
                            (fault.is_fatal() ? "fatal: " : "passed over: ") +
                            (is_included ? fault.include + ": " : "") + fault.problem);
        }
        return lines;
    }

    /// What a load tells of the only fault.
    std::string reason() const { return faults_.size() == 1 ? faults_[0].reason : "not one fault"; }

    test::ScratchFolder folder_;
    std::vector<FileFault> faults_;
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
    EXPECT_EQ(reported(), (Lines{"a.yaml:2: passed over: include cycle: root.yaml includes this file in turn",
                                 "a.yaml:3: passed over: the file includes itself"}));
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
    EXPECT_EQ(
        reported(),
        (Lines{"root.yaml:9: fatal: 'includes' entry must be a file name",
               "root.yaml:2: fatal: nowhere.yaml: no such file", "root.yaml:3: fatal: folder: is a directory",
               "syntax.yaml:3: fatal: not valid YAML: end of map flow not found",
               "list.yaml:2: fatal: top level must be a map",
               "two.yaml:3: passed over: only the first document of a file is read; this is another",
               "bad-includes.yaml:2: fatal: 'includes' must be a sequence",
               "empty.yaml:1: passed over: the file is empty"}));
}

TEST_F(DictionaryFilesTest, ARootThatIsNotThereIsToldWithoutAnIncluder) {
    const std::string nowhere = (folder_.path() / "nowhere.yaml").string();
    EXPECT_EQ(read(nowhere), Lines{});
    EXPECT_EQ(reported(), Lines{"nowhere.yaml:1: fatal: no such file"});
    EXPECT_EQ(reason(), "cannot load: bad file: " + nowhere);
}

TEST_F(DictionaryFilesTest, TheFirstOfTheLaterDocumentsIsToldByTheLineOfItsContent) {
    struct Row {
        std::string yaml;
        int line;  ///< 0 if there is no other document
    };
    const Row rows[] = {
        {"a: 1\n---\n\nb: 1\n", 4},
        {"a: 1\n---\n- b\n", 3},
        {"a: 1\n--- b\n", 2},
        {"a: 1\n...\nb: 1\n", 3},
        {"a: 1\n---\nb\n---\n---\nc\n", 3},
        {"---\na: 1\n---\nb: 1\n", 4},
        {"--- {a: 1}\n", 0},
        {"a: '---'\n", 0},
        {"a: 1\n---\n", 0},
        {"a: 1\n...\n", 0},
        {"a: 1\n---\n~\n---\nb: 1\n", 5},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.yaml);
        EXPECT_EQ(read(folder_.write("root.yaml", row.yaml)), Lines{"root.yaml"});
        EXPECT_EQ(reported(), row.line == 0 ? Lines{}
                                            : Lines{"root.yaml:" + std::to_string(row.line) +
                                                    ": passed over: only the first document of a file is "
                                                    "read; this is another"});
    }
}

TEST_F(DictionaryFilesTest, ReadsAFileWhoseFurtherDocumentsAreNoYaml) {
    EXPECT_EQ(read(folder_.write("root.yaml", "a: 1\n...\n---\nb: {")), Lines{"root.yaml"});
    const Lines lines = reported();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(
        lines[0].starts_with("root.yaml:4: passed over: only the first document of a file is read; what "
                             "follows is not valid YAML: "))
        << lines[0];
}

TEST_F(DictionaryFilesTest, LaterDocumentsAreLookedAtOnRequestOnly) {
    const std::string root = folder_.write("root.yaml", "attributes: {}\n---\n]\n");
    EXPECT_EQ(read(root), Lines{"root.yaml"});
    EXPECT_EQ(reported(), Lines{"root.yaml:3: passed over: only the first document of a file is read; what "
                                "follows is not valid YAML: illegal flow end"});
    int faults = 0;
    DictionaryFiles files(root, [&faults](const FileFault&) { ++faults; });
    EXPECT_NE(files.next(), nullptr);
    EXPECT_EQ(files.next(), nullptr);
    EXPECT_EQ(faults, 0);
}

// Files that never end. Each is included: what the user names alone may be something else than a file.

TEST_F(DictionaryFilesTest, ADeviceIsNotIncluded) {
    EXPECT_EQ(read(folder_.write("root.yaml", "includes: [/dev/zero]\n")), Lines{"root.yaml"});
    EXPECT_EQ(reported(), Lines{"root.yaml:1: fatal: /dev/zero: is not a regular file"});
    EXPECT_EQ(reason(), "cannot load: is not a regular file");
}

TEST_F(DictionaryFilesTest, APipeThatNobodyWritesToIsNotIncluded) {
    ASSERT_EQ(mkfifo((folder_.path() / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(read(folder_.write("root.yaml", "includes: [pipe]\n")), Lines{"root.yaml"});
    EXPECT_EQ(reported(), Lines{"root.yaml:1: fatal: pipe: is not a regular file"});
}

TEST_F(DictionaryFilesTest, AFileThatCannotBeReadIsNamedWithTheSystemsReason) {
    folder_.write("good.yaml", "attributes: {}\n");
    EXPECT_EQ(read(folder_.write("root.yaml", "includes: [/proc/self/mem, good.yaml]\n")),
              (Lines{"good.yaml", "root.yaml"}));
    EXPECT_EQ(reported(), Lines{"root.yaml:1: fatal: /proc/self/mem: cannot be read: Input/output error"});
    EXPECT_EQ(reason(), "cannot load: cannot be read: Input/output error");
}

TEST_F(DictionaryFilesTest, AFileOfMoreThan64MebibytesIsNotRead) {
    const std::string large = folder_.write("large.yaml", "{}");
    std::filesystem::resize_file(large, (std::uintmax_t{64} << 20) + 1);  // sparse: it takes no room
    EXPECT_EQ(read(folder_.write("root.yaml", "includes: [large.yaml]\n")), Lines{"root.yaml"});
    EXPECT_EQ(reported(), Lines{"root.yaml:1: fatal: large.yaml: is larger than 64 MiB"});
    EXPECT_EQ(read(large), Lines{});
    EXPECT_EQ(reported(), Lines{"large.yaml:1: fatal: is larger than 64 MiB"});
}

TEST_F(DictionaryFilesTest, TheRootMayBeAPipe) {
    const std::string pipe = (folder_.path() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    folder_.write("included.yaml", "attributes: {}\n");
    std::thread writer([&pipe] { std::ofstream(pipe) << "includes: [included.yaml]\n"; });
    EXPECT_EQ(read(pipe), (Lines{"included.yaml", "pipe"}));
    writer.join();
    EXPECT_EQ(reported(), Lines{});
}

// What aliases repeat.

/// A file in which a text of the size is used so many times.
std::string repeated_code(std::size_t size, std::size_t uses) {
    std::string yaml = "attributes:\n  A0: {code: &code '" + std::string(size, '1') + "'}\n";
    for (std::size_t i = 1; i <= uses; ++i) {
        yaml += "  A" + std::to_string(i) + ": {code: *code}\n";
    }
    return yaml;
}

TEST_F(DictionaryFilesTest, AliasesMayRepeatSixteenTimesTheFileAndSomeMore) {
    const std::string yaml = repeated_code(1008, 100);  // counted as 1,024 bytes each time
    EXPECT_EQ(read(folder_.write("root.yaml", yaml)), Lines{"root.yaml"});
    EXPECT_EQ(reported(), Lines{});
}

TEST_F(DictionaryFilesTest, AliasesThatRepeatMoreAreToldWithTheirLine) {
    std::string yaml = repeated_code(1008, 200) + "#";
    yaml.resize((yaml.size() + 63) / 64 * 64, '#');  // what may be repeated is a number of whole texts
    const std::size_t most = (std::size_t{64} << 10) + 16 * yaml.size();
    ASSERT_EQ(most % 1024, 0U);
    const std::string line = std::to_string(most / 1024 + 3);
    EXPECT_EQ(read(folder_.write("root.yaml", yaml)), Lines{});
    EXPECT_EQ(reported(),
              Lines{"root.yaml:" + line + ": fatal: aliases repeat more than 16 times the file's size"});
    EXPECT_EQ(reason(), "cannot load: line " + line + ": aliases repeat more than 16 times the file's size");
}

TEST_F(DictionaryFilesTest, WhatAliasesRepeatBeyondTheirFilesIsCountedForAllFilesTogether) {
    // Each of the files is far smaller than what it repeats: 17 times its size and 400 bytes.
    std::string includes = "includes:\n";
    std::size_t within = 0;
    for (std::size_t beyond = 0; within < 1000; ++within) {
        const std::string yaml = repeated_code(984, 30);  // counted as 1,000 bytes each time
        ASSERT_GT(30'000U, 16 * yaml.size());
        beyond += 30'000 - 16 * yaml.size();
        if (beyond > std::size_t{64} << 10) {
            break;
        }
    }
    for (std::size_t i = 0; i < within + 1; ++i) {
        includes += "  - " + std::to_string(i) + ".yaml\n";
        folder_.write(std::to_string(i) + ".yaml", repeated_code(984, 30));
    }
    ASSERT_GT(within, 2U);
    EXPECT_EQ(read(folder_.write("root.yaml", includes)).size(),
              within + 1);  // the root and all but the last
    ASSERT_EQ(faults_.size(), 1U);
    EXPECT_EQ(relative(faults_[0].file), std::to_string(within) + ".yaml");
    EXPECT_EQ(faults_[0].problem, "aliases repeat more than 16 times the file's size");
}

/// A file in which a value is repeated so many times by aliases of a list of values.
std::string repeated_values(std::size_t lists) {
    std::string yaml = "attributes:\n  A:\n    values: &all\n";
    for (int i = 0; i < 100; ++i) {
        yaml += "      V" + std::to_string(i) + ": 1\n";
    }
    for (std::size_t i = 0; i < lists; ++i) {
        yaml += "  A" + std::to_string(i) + ": {values: *all}\n";
    }
    return yaml;
}

TEST_F(DictionaryFilesTest, ValuesThatAliasesRepeatAreCountedApartAndForAllFilesTogether) {
    folder_.write("values.yaml", repeated_values(1000));  // 3.5 MB of 56 KB
    folder_.write("more.yaml", repeated_values(1000));
    folder_.write("most.yaml", repeated_values(1000));
    folder_.write("codes.yaml", repeated_code(1008, 100));
    EXPECT_EQ(read(folder_.write("root.yaml", "includes: [values.yaml, more.yaml, codes.yaml, most.yaml]\n")),
              (Lines{"values.yaml", "more.yaml", "codes.yaml", "root.yaml"}));
    ASSERT_EQ(faults_.size(), 1U);
    EXPECT_EQ(relative(faults_[0].file), "most.yaml");
}

TEST_F(DictionaryFilesTest, AnAliasOfAMapAroundItIsFollowedAsFarAsADefinitionGoes) {
    EXPECT_EQ(read(folder_.write("root.yaml", "attributes: &all\n  A: *all\n  B: {values: *all}\n")),
              Lines{"root.yaml"});
    EXPECT_EQ(reported(), Lines{});
}

}  // namespace
}  // namespace quarn::subscriber::radius
