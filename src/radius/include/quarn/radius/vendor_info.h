// A vendor and the format of its sub-attributes inside Vendor-Specific.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

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

/// A vendor or none, as in `std::optional<VendorInfo>`. Copies share one vendor until one of them is changed:
/// a vendor's thousands of attributes have its name once.
class OptionalVendor {
  public:
    OptionalVendor() noexcept = default;        ///< none
    OptionalVendor(std::nullopt_t) noexcept {}  ///< none
    /// This vendor, for this object alone.
    OptionalVendor(VendorInfo vendor) : vendor_(std::make_shared<VendorInfo>(std::move(vendor))) {}

    bool has_value() const noexcept { return vendor_ != nullptr; }   ///< whether there is one
    explicit operator bool() const noexcept { return has_value(); }  ///< see `has_value`
    const VendorInfo& operator*() const { return *vendor_; }         ///< the vendor, if there is one
    const VendorInfo* operator->() const { return vendor_.get(); }  ///< the vendor's members, if there is one
    VendorInfo& operator*() { return own(); }                       ///< the vendor, to be changed
    VendorInfo* operator->() { return &own(); }                     ///< the vendor's members, to be changed
    operator std::shared_ptr<const VendorInfo>() const { return vendor_; }  ///< null if there is none

    /// Whether both have no vendor, or equal ones.
    friend bool operator==(const OptionalVendor& left, const OptionalVendor& right) {
        return left.vendor_ == right.vendor_ || (left && right && *left.vendor_ == *right.vendor_);
    }

  private:
    VendorInfo& own() {
        if (vendor_.use_count() > 1) {
            vendor_ = std::make_shared<VendorInfo>(*vendor_);
        }
        return *vendor_;
    }

    std::shared_ptr<VendorInfo> vendor_;
};

/// Reads a format "t,l" or "t,l,c": the widths of the type and length fields, 1 to 4 bytes each, and whether
/// a continuation byte follows them. White space around the elements is ignored, "c" may be a capital.
/// Returns false with `error` set, and the other results as they were or partly set, when the text is no such
/// format.
bool parse_vendor_format(std::string_view format, std::size_t& type_size, std::size_t& length_size,
                         bool& continuation, std::string& error);

}  // namespace quarn::subscriber::radius
