// Texts of unknown origin, made safe to show.
#pragma once

#include <string>
#include <string_view>

namespace quarn::tools {

/// A text that may be shown on a terminal. Names and values come from files and packets that anyone may have
/// written: they must neither begin a line of their own nor control the terminal. Control characters
/// (U+0000 to U+001F, U+007F to U+009F) and bytes that are not UTF-8 become \n, \r, \t or \x1b.
std::string terminal_text(std::string_view text);

}  // namespace quarn::tools
