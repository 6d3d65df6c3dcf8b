// Runs a fuzz target's function over files, where there is no libFuzzer to do it: replay FILE-OR-FOLDER...
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void replay(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream) {
        throw std::runtime_error("cannot read " + file.string());
    }
    // Bytes in a block of their own size, so that a sanitizer sees a read behind the last.
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    std::cout << file.string() << std::endl;  // before it can end the process
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

std::size_t replay_all(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) {
        replay(path);
        return 1;
    }
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            replay(entry.path());
            ++files;
        }
    }
    return files;
}

}  // namespace

int main(int argc, char* argv[]) {
    std::size_t files = 0;
    try {
        for (int i = 1; i < argc; ++i) {
            files += replay_all(argv[i]);
        }
    } catch (const std::exception& error) {
        std::cerr << "replay: " << error.what() << '\n';
        return EXIT_FAILURE;
    }
    std::cout << files << " inputs replayed\n";
    return files > 0 ? EXIT_SUCCESS : EXIT_FAILURE;  // a test that replays nothing tests nothing
}
