#include "quarn_radius/dictionary/full_dictionary.h"

#include <filesystem>
#include <system_error>

namespace quarn::quarn_radius {

std::optional<std::string> full_dictionary_beside(const std::string& root) {
    const std::filesystem::path full = std::filesystem::path(root).parent_path() / "full.yaml";
    std::error_code failure;
    const bool is_there = std::filesystem::is_regular_file(full, failure);
    if (!is_there || std::filesystem::equivalent(full, root, failure)) {
        return std::nullopt;
    }
    return full.string();
}

}  // namespace quarn::quarn_radius
