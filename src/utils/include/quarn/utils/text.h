// Text helpers: trimming, splitting, hexadecimal in both directions, and the classifiers that decide whether
// bytes may be shown as text. All are pure and independent of the locale.
#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace quarn::utils {

/// The text without leading and trailing white space; inner white space stays.
std::string trim(std::string_view text);

/// The same, as a view of it.
std::string_view trimmed(std::string_view text);

/// The pieces between delimiters, untrimmed, empty ones kept: always one more than there are delimiters, so
/// that an empty text gives one empty piece.
std::vector<std::string> split(std::string_view text, char delimiter);

/// The whole text as a decimal number; nothing when it is anything else, blanks and a plus sign included, or
/// does not fit.
template <std::integral Number>
std::optional<Number> parse_decimal(std::string_view text) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, status] = std::from_chars(text.data(), end, number);
    return status == std::errc{} && stop == end ? std::optional(number) : std::nullopt;
}

/// Decodes hexadecimal digits (either case, no prefix) into the bytes they stand for, high digit first.
/// Throws `std::invalid_argument`: "odd number of hex digits: " or "invalid hex digit in: " and the input.
std::string hex_to_bytes(const std::string& digits);

/// Two lower-case hexadecimal digits a byte, without separators.
std::string bytes_to_hex(const std::uint8_t* data, std::size_t length);

/// Whether the text is "0x" or "0X" followed by one hexadecimal digit or more, and nothing else.
bool is_hex_literal(std::string_view text);

/// Whether every byte is printable ASCII, space included (0x20 to 0x7E). True for the empty text.
bool is_printable(std::string_view text);

/// The first character of a text in UTF-8.
struct Utf8Character {
    std::size_t size = 0;                ///< in bytes, at least 1
    std::optional<char32_t> code_point;  ///< nothing for bytes that are not well-formed
};

/// Decodes the first character of a text that is not empty (RFC 3629, section 4). If it is not well-formed,
/// `size` covers the longest beginning of a character, or one byte: the bytes that one U+FFFD stands for
/// (Unicode, section 3.9, "U+FFFD Substitution of Maximal Subparts").
Utf8Character first_utf8_character(std::string_view text);

/// Whether the bytes are well-formed UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF
/// (RFC 3629, section 4). Control characters are allowed. True for the empty text.
bool is_well_formed_utf8(std::string_view text);

/// Whether the bytes may be shown as text: well-formed UTF-8 without any C0 control (tab and line feed
/// included) and without DEL. True for the empty text.
bool is_utf8_text(std::string_view text);

}  // namespace quarn::utils
