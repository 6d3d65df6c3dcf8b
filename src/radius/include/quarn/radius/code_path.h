// A place in the RADIUS attribute tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "quarn/utils/small_vector.h"

namespace quarn::subscriber::radius {

/// The codes that lead to an attribute, top-level type first: {1} is User-Name, {26, 9, 1} attribute 1 of
/// vendor 9, {241, 1} an extended attribute (RFC 6929, section 2), {245, 1, 2} a TLV inside a long-extended
/// one.
using CodePath = utils::SmallVector<std::uint32_t, 4>;

/// The elements as unsigned decimal numbers joined by "."; empty for an empty path.
std::string radius_code_path_to_string(const CodePath& path);

/// FNV-1a over the elements, each taken as one 64-bit number.
struct CodePathHash {
    /// The hash; the same in every process.
    std::size_t operator()(const CodePath& path) const;
};

}  // namespace quarn::subscriber::radius
