// The script that writes the shipped vendor files, run over its source in a copy of the tree.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "testing/process.h"
#include "testing/scratch_folder.h"

namespace quarn::test {
namespace {

namespace fs = std::filesystem;

/// The source is a package that Debian may update: a difference is then to be looked at, not to be hidden.
constexpr const char* advice =
    "differs from what the installed freeradius-common gives: re-run scripts/import-dictionaries, review the "
    "difference, and name the package's version in NOTICE";

std::map<std::string, std::string> contents_below(const fs::path& folder) {
    std::map<std::string, std::string> contents;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            std::ifstream stream(entry.path());
            contents[entry.path().lexically_relative(folder).string()] = {
                std::istreambuf_iterator<char>(stream), {}};
        }
    }
    return contents;
}

TEST(ImportDictionaries, WritesTheShippedFilesAnew) {
    const fs::path tree = QUARN_SOURCE_DIR;
    const ScratchFolder folder;
    fs::create_directories(folder.path() / "share/quarn");
    fs::copy(tree / "scripts", folder.path() / "scripts", fs::copy_options::recursive);
    fs::copy(tree / "share/quarn/radius", folder.path() / "share/quarn/radius", fs::copy_options::recursive);
    folder.write("share/quarn/radius/vendor/cisco.yaml", "out of date");
    folder.write("share/quarn/radius/vendor/gone.yaml", "a vendor that the source no longer has");

    const ProcessResult result = run_process({.program = folder.path() / "scripts/import-dictionaries",
                                              .arguments = {QUARN_RADIUS_PROGRAM, "/usr/share/freeradius"}});
    EXPECT_EQ(result.ending, exited_with(0)) << result.errors;
    const auto shipped = contents_below(tree / "share/quarn/radius");
    const auto written = contents_below(folder.path() / "share/quarn/radius");
    for (const auto& [name, content] : shipped) {
        const auto again = written.find(name);
        EXPECT_TRUE(again != written.end() && again->second == content) << name << " " << advice;
    }
    for (const auto& [name, content] : written) {
        EXPECT_TRUE(shipped.contains(name)) << name << " " << advice;
    }
}

}  // namespace
}  // namespace quarn::test
