// The codes of packets, for people.
#pragma once

#include <cstdint>
#include <string>

namespace quarn::quarn_radius {

/// A name for a code that may be unknown: "Access-Request", "code 99".
std::string code_name(std::uint8_t code);

}  // namespace quarn::quarn_radius
