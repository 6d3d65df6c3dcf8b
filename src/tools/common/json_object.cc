#include "common/json_object.h"

#include "common/control_characters.h"
#include "quarn/utils/text.h"

#include <array>
#include <charconv>
#include <system_error>

namespace quarn::tools {

namespace {

/// A backslash, "u" and the four hexadecimal digits of a code point below U+10000.
std::string escape_of(char32_t code_point) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string escape = "\\u";
    for (const unsigned shift : {12U, 8U, 4U, 0U}) {
        escape += digits[code_point >> shift & 0x0FU];
    }
    return escape;
}

void append_character(std::string& json, char32_t code_point, std::string_view bytes) {
    switch (code_point) {
        case '"':
            json += "\\\"";
            return;
        case '\\':
            json += "\\\\";
            return;
        case '\b':
            json += "\\b";
            return;
        case '\f':
            json += "\\f";
            return;
        case '\n':
            json += "\\n";
            return;
        case '\r':
            json += "\\r";
            return;
        case '\t':
            json += "\\t";
            return;
        default:
            if (is_control_character(code_point) || is_layout_control(code_point)) {
                json += escape_of(code_point);
            } else {
                json += bytes;
            }
    }
}

}  // namespace

std::string json_string(std::string_view text) {
    constexpr std::string_view replacement = "\xEF\xBF\xBD";  // U+FFFD
    std::string json = "\"";
    while (!text.empty()) {
        const utils::Utf8Character character = utils::first_utf8_character(text);
        if (character.code_point) {
            append_character(json, *character.code_point, text.substr(0, character.size));
        } else {
            json += replacement;
        }
        text.remove_prefix(character.size);
    }
    return json + '"';
}

void JsonObject::add_list(std::string_view key, std::span<const std::string> items) {
    std::string list = "[";
    for (const std::string& item : items) {
        list.append(list.size() > 1 ? ", " : "").append(item);
    }
    add_raw(key, list + "]");
}

std::string JsonObject::fraction_text(double value) {
    std::array<char, 352> text{};  // the largest number has 309 digits
    const auto [end, status] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 3);
    return status == std::errc() ? std::string(text.data(), end) : "null";
}

void JsonObject::add_raw(std::string_view key, std::string_view value) {
    if (!members_.empty()) {
        members_ += ", ";
    }
    members_.append(json_string(key)).append(": ").append(value);
}

}  // namespace quarn::tools
