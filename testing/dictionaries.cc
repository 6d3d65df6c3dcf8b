#include "testing/dictionaries.h"

#include "testing/scratch_folder.h"

namespace quarn::test {

using subscriber::radius::RadiusDictionary;

std::shared_ptr<const RadiusDictionary> dictionary_from(std::string_view yaml) {
    const ScratchFolder folder;
    auto dictionary = std::make_shared<RadiusDictionary>();
    dictionary->load(folder.write("dictionary.yaml", yaml));
    return dictionary;
}

std::shared_ptr<const RadiusDictionary> shipped_dictionary() {
    static const std::shared_ptr<const RadiusDictionary> shipped = [] {
        auto dictionary = std::make_shared<RadiusDictionary>();
        dictionary->load(shipped_dictionary_path());
        return dictionary;
    }();
    return shipped;
}

std::string shipped_dictionary_path() {
    return QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml";
}

}  // namespace quarn::test
