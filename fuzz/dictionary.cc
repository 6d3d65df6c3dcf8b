// Any tree of files is loaded, or refused with the name of the file at fault.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "quarn/radius/dictionary.h"
#include "quarn/utils/app.h"
#include "quarn/utils/bytes.h"
#include "testing/check.h"
#include "testing/file_tree.h"

namespace {

using namespace quarn::fuzz;
using quarn::App;
using quarn::subscriber::radius::RadiusDictionary;

void check_warning(std::string_view message, const App::Fields& fields) {
    require(!message.empty(), "a warning says something");
    require(fields.size() >= 2 && fields[0].first == "file" && fields[0].second.starts_with('/') &&
                fields[1].first == "line" && std::stoul(fields[1].second) >= 1,
            "a warning says where", message);
}

void check_lookups(const RadiusDictionary& dictionary, std::string_view text) {
    for (std::uint32_t type = 0; type < 256; ++type) {
        const auto& by_type = dictionary.top_level_attribute(type);
        require(&by_type == &dictionary.attribute_by_code({type}), "both indexes have the same attribute");
    }
    // The words of the file: among them are the names that it defines.
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find_first_of(" \n:,{}\"'"));
        const auto& record = dictionary.attribute_by_name(word);
        if (record.known && !record.code.empty()) {
            require(dictionary.attribute_by_code(record.code).known, "what has a code is found by it", word);
        }
        dictionary.vendor_by_name(word);
        dictionary.enum_value(word, word);
        dictionary.enum_name(word, 1);
        text.remove_prefix(std::min(word.size() + 1, text.size()));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = quarn::utils::as_text({data, size});
    if (names_foreign_files(input)) {
        return 0;
    }
    static FileTree tree;
    const std::string root = tree.write(input);
    const App::WarningHandler handler(check_warning);
    RadiusDictionary dictionary;
    try {
        dictionary.load(root);
    } catch (const std::runtime_error& error) {
        const std::string_view text = error.what();
        require(text.starts_with('/') && text.find(": ") != text.npos, "a refusal names the file", text);
        return 0;
    }
    check_lookups(dictionary, input);
    return 0;
}
