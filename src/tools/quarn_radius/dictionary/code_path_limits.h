// Which code paths the wire format has room for.
#pragma once

#include <cstddef>
#include <string>

#include "quarn/radius/code_path.h"

namespace quarn::quarn_radius {

/// Why the code path cannot be written into a packet: an element is too large for its field, or there are too
/// few elements. Empty when it can be written. `vendor_type_size` is the width in bytes, 1 to 4, of the
/// vendor's type field; it matters for paths that begin with 26 only.
std::string code_path_problem(const subscriber::radius::CodePath& code, std::size_t vendor_type_size);

}  // namespace quarn::quarn_radius
