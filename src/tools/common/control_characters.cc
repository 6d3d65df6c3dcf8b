#include "common/control_characters.h"

#include "quarn/utils/text.h"

namespace quarn::tools {

bool has_control_character(std::string_view text) {
    while (!text.empty()) {
        const utils::Utf8Character character = utils::first_utf8_character(text);
        if (character.code_point && is_control_character(*character.code_point)) {
            return true;
        }
        text.remove_prefix(character.size);
    }
    return false;
}

}  // namespace quarn::tools
