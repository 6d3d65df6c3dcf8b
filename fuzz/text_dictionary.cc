// Any text dictionary is imported, or refused by name; what was written loads without a complaint.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "check.h"
#include "file_tree.h"
#include "quarn/radius/dictionary.h"
#include "quarn/tools/quarn_radius/dictionary_import.h"
#include "quarn/utils/app.h"
#include "quarn/utils/bytes.h"

namespace {

using namespace quarn;
using fuzz::require;

void check(const companion::Problems& problems) {
    for (const companion::Problem& problem : problems) {
        const std::string line = companion::problem_line(problem);
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
    companion::ImportOptions options;
    options.source = tree.write(input);
    options.directory = imported.path();
    options.schema = "dictionary.schema.json";
    companion::Problems problems;
    companion::ImportSummary summary;
    try {
        summary = companion::import_dictionary(options, problems);
    } catch (const companion::FileError& error) {
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
