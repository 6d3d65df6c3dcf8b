#include "quarn/radius/path_shape.h"

#include "quarn/radius/wire_format.h"

namespace quarn::subscriber::radius {

ContainerKind kind_of_type(std::uint32_t type) {
    if (type == VSA_TYPE) {
        return ContainerKind::Vsa;
    }
    return is_extended_type(type) ? ContainerKind::Extended : ContainerKind::None;
}

PathShape shape_of(const CodePath& path, ContainerKind top_level) {
    const bool is_extended = top_level == ContainerKind::Extended || top_level == ContainerKind::LongExtended;
    if (path.size() > 1 && top_level == ContainerKind::Vsa) {
        return {PathShape::Space::Vendor, 1, 3};
    }
    if (path.size() > 2 && is_extended && path[1] == VSA_TYPE) {
        return {PathShape::Space::ExtendedVendor, 2, 4};
    }
    if (path.size() > 1 && is_extended) {
        return {PathShape::Space::Extended, 0, 2};
    }
    return {};
}

PathShape shape_of(const CodePath& path) {
    return path.empty() ? PathShape() : shape_of(path, kind_of_type(path.front()));
}

NestingFault nesting_fault(const CodePath& path, std::optional<ContainerKind> parent) {
    const PathShape shape = shape_of(path);
    if (path.size() <= 1 || (shape.space == PathShape::Space::Vendor && path.size() <= shape.nesting_start)) {
        return NestingFault::None;
    }
    if (parent) {
        return *parent == ContainerKind::None ? NestingFault::ParentIsLeaf : NestingFault::None;
    }
    const bool is_known_for_itself =
        shape.ends_with_vendor(path) ||
        (shape.space == PathShape::Space::Extended && path.size() == shape.nesting_start);
    return is_known_for_itself ? NestingFault::None : NestingFault::NoParent;
}

}  // namespace quarn::subscriber::radius
