#include "testing/file_tree.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace quarn::fuzz {

namespace {

constexpr std::string_view marker = "=== ";

constexpr std::array<std::string_view, 4> names = {"a", "b", "sub/c", "sub/d"};

}  // namespace

std::string FileTree::write(std::string_view input) {
    for (const std::string& file : written_) {
        std::filesystem::remove(file);
    }
    written_.clear();

    std::string name = "root";
    std::string content;
    const auto finish = [&] {
        std::string file = folder_.write(name, content);
        if (std::find(written_.begin(), written_.end(), file) == written_.end()) {
            written_.push_back(std::move(file));
        }
        content.clear();
    };
    while (!input.empty()) {
        const std::size_t end = std::min(input.find('\n'), input.size() - 1) + 1;
        const std::string_view line = input.substr(0, end);
        input.remove_prefix(end);
        const std::string_view named =
            line.starts_with(marker) && line.ends_with('\n') ? line.substr(marker.size()) : "\n";
        if (std::find(names.begin(), names.end(), named.substr(0, named.size() - 1)) != names.end()) {
            finish();
            name = named.substr(0, named.size() - 1);
        } else {
            content += line;
        }
    }
    finish();
    return (folder_.path() / "root").string();
}

bool names_foreign_files(std::string_view input) {
    constexpr std::array<std::string_view, 3> foreign = {"/dev", "/proc", "/sys"};
    return std::any_of(foreign.begin(), foreign.end(),
                       [input](std::string_view path) { return input.find(path) != input.npos; });
}

}  // namespace quarn::fuzz
