// What a code path means: whose attribute it is, and where nesting begins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "quarn/radius/code_path.h"
#include "quarn/radius/value_type.h"

namespace quarn::subscriber::radius {

/// How the elements of a code path are to be read.
struct PathShape {
    /// Which part of the attribute tree the path leads into.
    enum class Space : std::uint8_t {
        Plain,           ///< type, nested types ...
        Vendor,          ///< 26, vendor, vendor type, nested types ... (RFC 2865, section 5.26)
        Extended,        ///< 241 to 246, extended type, nested types ... (RFC 6929)
        ExtendedVendor,  ///< 241 to 246, 26, vendor, vendor type, nested types ... (RFC 6929, section 2.4)
    };

    Space space = Space::Plain;
    std::size_t vendor_at = 0;  ///< where the vendor's number stands; 0 if there is none
    std::size_t nesting_start =
        1;  ///< where the types of nested TLVs begin; it can lie behind the path's end

    /// Whether the path ends with the vendor's number: it names a vendor, and no attribute with a value.
    bool ends_with_vendor(const CodePath& path) const {
        return vendor_at != 0 && path.size() == vendor_at + 1;
    }

    /// The vendor that owns what is at the path.
    std::optional<std::uint32_t> vendor(const CodePath& path) const {
        return vendor_at != 0 ? std::optional(path[vendor_at]) : std::nullopt;
    }
};

/// The container kind that a top-level type has by its number: `Vsa` for 26, `Extended` for 241 to 246
/// (RFC 6929; the long form needs a definition) and `None` for the rest.
ContainerKind kind_of_type(std::uint32_t type);

/// The shape of a path whose top-level type has this container kind. A path of one element is `Plain`.
PathShape shape_of(const CodePath& path, ContainerKind top_level);

/// The same, with `kind_of_type` of the path's first element.
PathShape shape_of(const CodePath& path);

/// Why an attribute cannot be where its code path says.
enum class NestingFault : std::uint8_t {
    None,
    NoParent,      ///< nothing is defined there that could hold it
    ParentIsLeaf,  ///< what is defined there holds no attributes
};

/// What is wrong with the attribute above this path, of which `parent` is the container kind; nothing when it
/// is not defined. A vendor's own attributes need no definition above them. An extended attribute, and the
/// vendor's number inside one, are known for what they are also without.
NestingFault nesting_fault(const CodePath& path, std::optional<ContainerKind> parent);

}  // namespace quarn::subscriber::radius
