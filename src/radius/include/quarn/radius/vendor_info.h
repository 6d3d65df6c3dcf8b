// A vendor and the format of its sub-attributes inside Vendor-Specific.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quarn::subscriber::radius {

/// A vendor as a dictionary's vendor block describes it.
struct VendorInfo {
    std::uint32_t id = 0;         ///< the vendor's number (its SMI private enterprise code)
    std::string name;             ///< the vendor's name as written in the dictionary
    std::string format = "1,1";   ///< the format as written in the dictionary
    std::size_t type_size = 1;    ///< bytes of a sub-attribute's type field, 1 to 4
    std::size_t length_size = 1;  ///< bytes of a sub-attribute's length field, 1 to 4
    bool continuation = false;    ///< a continuation byte follows the length field

    bool operator==(const VendorInfo&) const = default;
};

/// Reads a format "t,l" or "t,l,c": the widths of the type and length fields, 1 to 4 bytes each, and whether
/// a continuation byte follows them. White space around the elements is ignored, "c" may be a capital.
/// Returns false with `error` set, and the other results as they were or partly set, when the text is no such
/// format.
bool parse_vendor_format(std::string_view format, std::size_t& type_size, std::size_t& length_size,
                         bool& continuation, std::string& error);

}  // namespace quarn::subscriber::radius
