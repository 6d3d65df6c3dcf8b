// ASCII classification and case folding that no locale can change.
#pragma once

#include <string>
#include <string_view>

namespace quarn::utils {

/// Lowers A to Z; every other byte, those of multi-byte characters included, is returned as it is.
constexpr unsigned char ascii_lower(unsigned char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<unsigned char>(byte + 32) : byte;
}

/// A copy of the text with A to Z lowered.
inline std::string ascii_lower(std::string_view text) {
    std::string lowered(text);
    for (char& character : lowered) {
        character = static_cast<char>(ascii_lower(static_cast<unsigned char>(character)));
    }
    return lowered;
}

/// Space, tab, line feed, vertical tab, form feed or carriage return: `isspace` of the POSIX locale.
constexpr bool is_space(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// 0 to 9: `isdigit` of the POSIX locale.
constexpr bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

/// A hexadecimal digit in either case: `isxdigit` of the POSIX locale.
constexpr bool is_hex_digit(char character) {
    return is_digit(character) || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

/// The value, 0 to 15, of a character for which `is_hex_digit` holds.
constexpr unsigned hex_digit_value(char digit) {
    return is_digit(digit)
               ? static_cast<unsigned>(digit - '0')
               : ascii_lower(static_cast<unsigned char>(digit)) - static_cast<unsigned>('a') + 10U;
}

}  // namespace quarn::utils
