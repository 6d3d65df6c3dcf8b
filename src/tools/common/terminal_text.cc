#include "common/terminal_text.h"

#include <cstdint>

#include "common/control_characters.h"
#include "quarn/utils/text.h"

namespace quarn::tools {

namespace {

std::string escape_of(char character) {
    switch (character) {
        case '\n':
            return "\\n";
        case '\r':
            return "\\r";
        case '\t':
            return "\\t";
        default: {
            const auto byte = static_cast<std::uint8_t>(character);
            return "\\x" + utils::bytes_to_hex(&byte, 1);
        }
    }
}

}  // namespace

std::string terminal_text(std::string_view text) {
    const bool is_utf8 = utils::is_well_formed_utf8(text);
    std::string shown;
    while (!text.empty()) {
        const utils::Utf8Character character = utils::first_utf8_character(text);
        const std::string_view bytes = text.substr(0, character.size);
        const char32_t code_point = character.code_point.value_or(0);
        const bool is_safe = !is_control_character(code_point) && !is_layout_control(code_point);
        if (is_safe && (is_utf8 || code_point < 0x80)) {
            shown += bytes;
        } else {
            for (const char byte : bytes) {
                shown += escape_of(byte);
            }
        }
        text.remove_prefix(character.size);
    }
    return shown;
}

}  // namespace quarn::tools
