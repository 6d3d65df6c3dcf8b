#include "common/terminal_text.h"

#include <cstddef>
#include <cstdint>

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
    const auto byte_at = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    std::string shown;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const unsigned byte = byte_at(i);
        if (byte == 0xC2 && is_utf8 && byte_at(i + 1) < 0xA0) {
            // U+0080 to U+009F, among them a second way to begin a control sequence
            shown += escape_of(text[i]) + escape_of(text[i + 1]);
            ++i;
        } else if (byte < 0x20 || byte == 0x7F || (byte >= 0x80 && !is_utf8)) {
            shown += escape_of(text[i]);
        } else {
            shown += text[i];
        }
    }
    return shown;
}

}  // namespace quarn::tools
