// Colour on terminals.
#pragma once

#include <string>
#include <string_view>

namespace quarn::tools {

inline constexpr std::string_view green = "\x1b[32m";
inline constexpr std::string_view red = "\x1b[31m";
inline constexpr std::string_view yellow = "\x1b[33m";

/// The text in colour when standard output is a terminal, unchanged otherwise. Standard output decides for
/// the lines of standard error too.
std::string colourise(std::string_view colour, std::string_view text);

}  // namespace quarn::tools
