// Texts of unknown origin, made safe to show.
#pragma once

#include <string>
#include <string_view>

namespace quarn::tools {

/// A text that may be shown on a terminal. Names and values come from files and packets that anyone may have
/// written: they must neither begin a line of their own, nor control the terminal, nor show a line in
/// another order than it has. Control characters (U+0000 to U+001F, U+007F to U+009F) become \n, \r, \t or
/// \x1b; the bytes of bidirectional controls and line separators (`is_layout_control`), and all bytes of 0x80
/// and above in a text that is not UTF-8, become \xe2 and the like.
std::string terminal_text(std::string_view text);

}  // namespace quarn::tools
