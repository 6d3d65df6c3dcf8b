#include "quarn/radius/code_path.h"

#include "quarn/utils/case_insensitive.h"

namespace quarn::subscriber::radius {

std::string radius_code_path_to_string(const CodePath& path) {
    std::string text;
    for (const std::uint32_t code : path) {
        if (!text.empty()) {
            text += '.';
        }
        text += std::to_string(code);
    }
    return text;
}

std::size_t CodePathHash::operator()(const CodePath& path) const {
    std::size_t hash = utils::fnv_start;
    for (const std::uint32_t code : path) {
        hash = (hash ^ code) * utils::fnv_prime;
    }
    return hash;
}

}  // namespace quarn::subscriber::radius
