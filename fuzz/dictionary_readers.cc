// A file that the fast reader takes gives the same dictionary, line by line, as yaml-cpp gives.
#include <cstddef>
#include <cstdint>
#include <string>

#include "dictionary/json_document.h"
#include "quarn/utils/bytes.h"
#include "testing/check.h"
#include "testing/loaded_dictionary.h"
#include "testing/scratch_folder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quarn;
    using subscriber::radius::JsonDocument;

    static const test::ScratchFolder folder;
    const std::string text = utils::to_text({data, size});
    const std::string file = folder.write("file", text);
    if (!JsonDocument().read(file)) {
        return 0;
    }
    const std::string by_json = test::describe_loaded(file, text);
    folder.write("file", text + "\n# which only yaml-cpp takes\n");
    fuzz::require(!JsonDocument().read(file), "a comment is left to yaml-cpp");
    const std::string by_yaml = test::describe_loaded(file, text);
    fuzz::require(by_json == by_yaml, "both readers give the same dictionary",
                  "by the fast one:\n" + by_json + "by yaml-cpp:\n" + by_yaml);
    return 0;
}
