// Numbers on the command line, read leniently: white space and a sign may come first, and reading stops at
// the first character that is no decimal digit, so that "7s" is 7.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quarn::authprobe {

/// As `std::stoi` reads it; nothing when there is no digit or the number does not fit 32 bits.
std::optional<std::int32_t> leading_int(const std::string& text);

/// As `std::stoul` reads it, "-1" being the largest value; nothing when there is no digit or the number does
/// not fit 64 bits.
std::optional<std::uint64_t> leading_unsigned(const std::string& text);

}  // namespace quarn::authprobe
