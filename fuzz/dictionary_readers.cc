// A file that the fast reader takes gives the same dictionary, line by line, as yaml-cpp gives.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "dictionary/document_items.h"
#include "quarn/utils/bytes.h"
#include "testing/check.h"
#include "testing/loaded_dictionary.h"
#include "testing/scratch_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quarn;

    static const test::ScratchFolder folder;
    const std::string text = utils::to_text({data, size});
    const std::string file = folder.write("file", text);
    std::vector<subscriber::radius::Item> items;
    if (!subscriber::radius::read_json(text, items)) {
        return 0;
    }
    const std::string by_json = test::describe_loaded(file, text);
    const std::string commented = text + "\n# which only yaml-cpp takes\n";
    fuzz::require(!subscriber::radius::read_json(commented, items), "a comment is left to yaml-cpp");
    folder.write("file", commented);
    const std::string by_yaml = test::describe_loaded(file, text);
    fuzz::require(by_json == by_yaml, "both readers give the same dictionary",
                  "by the fast one:\n" + by_json + "by yaml-cpp:\n" + by_yaml);
    return 0;
}
