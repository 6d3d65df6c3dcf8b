// Wire bytes in tests.
#pragma once

#include <string>
#include <string_view>

#include "quarn/utils/ascii.h"
#include "quarn/utils/bytes.h"
#include "quarn/utils/text.h"

namespace quarn::test {

/// Bytes written as hexadecimal digits; white space between them groups fields.
inline utils::Bytes hex(std::string_view digits) {
    std::string compact;
    for (const char character : digits) {
        if (!utils::is_space(character)) {
            compact += character;
        }
    }
    return utils::to_bytes(utils::hex_to_bytes(compact));
}

}  // namespace quarn::test
