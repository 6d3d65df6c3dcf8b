#include "quarn_radius/dictionary/code_path_limits.h"

#include <cstdint>

#include "quarn/radius/wire_format.h"

namespace quarn::quarn_radius {

namespace {

namespace radius = subscriber::radius;

constexpr std::uint64_t one_byte = 0xFF;

std::string too_large(const char* what, std::uint32_t number, std::uint64_t most) {
    return std::string(what) + " " + std::to_string(number) + " is above " + std::to_string(most);
}

}  // namespace

std::string code_path_problem(const radius::CodePath& code, std::size_t vendor_type_size) {
    if (code.empty()) {
        return {};
    }
    if (code[0] == 0 || code[0] > one_byte) {
        return "attribute type " + std::to_string(code[0]) + " is not within 1 to 255";
    }
    std::size_t nested_from = 1;
    if (code[0] == radius::VSA_TYPE && code.size() > 1) {
        if (code.size() == 2) {
            return "a vendor's attribute needs a number after the vendor's";
        }
        const std::uint64_t most = (std::uint64_t{1} << (8 * vendor_type_size)) - 1;
        if (code[2] > most) {
            return too_large("vendor type", code[2], most);
        }
        nested_from = 3;
    } else if (radius::is_extended_type(code[0]) && code.size() > 2 && code[1] == radius::VSA_TYPE) {
        nested_from = 3;  // after the vendor's number, which fills its 4 bytes
    }
    for (std::size_t i = nested_from; i < code.size(); ++i) {
        if (code[i] > one_byte) {
            return too_large("type", code[i], one_byte);
        }
    }
    return {};
}

}  // namespace quarn::quarn_radius
