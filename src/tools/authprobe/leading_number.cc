#include "authprobe/leading_number.h"

#include <stdexcept>

namespace quarn::authprobe {

std::optional<std::int32_t> leading_int(const std::string& text) {
    try {
        return std::stoi(text);
    } catch (const std::logic_error&) {  // no digits, or out of range
        return std::nullopt;
    }
}

std::optional<std::uint64_t> leading_unsigned(const std::string& text) {
    try {
        return std::stoul(text);
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

}  // namespace quarn::authprobe
