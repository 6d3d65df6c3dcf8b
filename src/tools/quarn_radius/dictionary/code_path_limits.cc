#include "quarn_radius/dictionary/code_path_limits.h"

#include <cstdint>

#include "quarn/radius/path_shape.h"

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
    const radius::PathShape shape = radius::shape_of(code);
    const bool in_vendor = shape.space == radius::PathShape::Space::Vendor;
    if (in_vendor && shape.ends_with_vendor(code)) {
        return "a vendor's attribute needs a number after the vendor's";
    }
    for (std::size_t i = 1; i < code.size(); ++i) {
        const bool is_vendor_type = in_vendor && i == shape.vendor_at + 1;
        const std::uint64_t most =
            is_vendor_type ? (std::uint64_t{1} << (8 * vendor_type_size)) - 1 : one_byte;
        if (i != shape.vendor_at && code[i] > most) {  // a vendor's number fills its 4 bytes
            return too_large(is_vendor_type ? "vendor type" : "type", code[i], most);
        }
    }
    return {};
}

}  // namespace quarn::quarn_radius
