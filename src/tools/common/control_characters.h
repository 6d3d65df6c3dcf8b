// Characters that steer a terminal or a line of text instead of standing in it.
#pragma once

#include <string_view>

namespace quarn::tools {

/// Whether a code point is a control character: U+0000 to U+001F, U+007F to U+009F.
constexpr bool is_control_character(char32_t code_point) {
    return code_point < 0x20 || (code_point >= 0x7F && code_point < 0xA0);
}

/// Whether a code point changes the order in which a line is shown (Unicode Standard Annex 9, section 2), or
/// ends the line for some readers (U+2028, U+2029).
constexpr bool is_layout_control(char32_t code_point) {
    return code_point == 0x061C || code_point == 0x200E || code_point == 0x200F ||
           (code_point >= 0x2028 && code_point <= 0x202E) || (code_point >= 0x2066 && code_point <= 0x2069);
}

/// Whether a text in UTF-8 has a control character. Bytes that are not UTF-8 count as none.
bool has_control_character(std::string_view text);

}  // namespace quarn::tools
