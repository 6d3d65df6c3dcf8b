// Which numbers attribute values have room for.
#pragma once

#include <cstdint>

namespace quarn::quarn_radius {

/// The largest number that leaves room for a tag in its first byte (RFC 2868, section 3.1).
inline constexpr std::uint32_t max_tagged_number = 0xFFFFFF;

}  // namespace quarn::quarn_radius
