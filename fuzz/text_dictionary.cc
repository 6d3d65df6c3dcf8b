// Any text dictionary is imported, or refused by name; what was written loads without a complaint.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "quarn/radius/dictionary.h"
#include "quarn/utils/app.h"
#include "quarn/utils/bytes.h"
#include "quarn_radius/dictionary/importer.h"
#include "testing/check.h"
#include "testing/file_tree.h"

namespace {

using namespace quarn;
using fuzz::require;

void check(const quarn_radius::Problems& problems) {
    for (const quarn_radius::Problem& problem : problems) {
        const std::string line = quarn_radius::problem_line(problem);
        require(!problem.text.empty() && problem.line >= 1, "a problem says what and where", line);
        for (const char character : line) {
            require(static_cast<unsigned char>(character) >= ' ' && character != '\x7f',
                    "no problem controls the terminal", line);
        }
    }
}

void load(const std::string& root) {
    const App::WarningHandler handler([](std::string_view message, const App::Fields& fields) {
        std::string details(message);
        for (const auto& [key, value] : fields) {
            details.append(" ").append(key).append("=").append(value);
        }
        require(false, "what was imported gives no warning", details);
    });
    subscriber::radius::RadiusDictionary dictionary;
    dictionary.load(root);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = utils::as_text({data, size});
    if (fuzz::names_foreign_files(input)) {
        return 0;
    }
    static fuzz::FileTree tree;
    static const test::ScratchFolder imported;
    quarn_radius::ImportOptions options;
    options.source = tree.write(input);
    options.directory = imported.path();
    options.schema = "dictionary.schema.json";
    quarn_radius::Problems problems;
    quarn_radius::ImportSummary summary;
    try {
        summary = quarn_radius::import_dictionary(options, problems);
    } catch (const quarn_radius::FileError& error) {
        // A vendor's name that is too long for a file's.
        require(std::string_view(error.what()).ends_with(": cannot write"), "a refusal says why",
                error.what());
        return 0;
    }
    check(problems);
    require(!summary.files.empty(), "there is a root");
    load((imported.path() / summary.files.back()).string());
    for (const std::string& file : summary.files) {
        std::filesystem::remove(imported.path() / file);
    }
    return 0;
}
