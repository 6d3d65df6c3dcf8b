#include "testing/scratch_folder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace quarn::test {

ScratchFolder::ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quarn-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot make a scratch folder like " + name);
    }
    // Canonical, as the paths in the library's messages are.
    path_ = std::filesystem::canonical(name);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::write(const std::filesystem::path& name, std::string_view content) const {
    const std::filesystem::path file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream << content;
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
    return file.string();
}

}  // namespace quarn::test
