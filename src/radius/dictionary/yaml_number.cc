#include "quarn/radius/yaml_number.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "quarn/utils/ascii.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

bool is_quoted(std::string_view text) {
    return text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
}

std::uint32_t low_bits_of(std::string_view digits, std::uint32_t base) {
    const auto is_base_digit = base == 16 ? utils::is_hex_digit : utils::is_digit;
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), is_base_digit)) {
        throw std::invalid_argument("invalid unsigned integer");
    }
    // Folding in 32 bits keeps the low bits of a number of any length.
    std::uint32_t number = 0;
    for (const char digit : digits) {
        number = number * base + utils::hex_digit_value(digit);
    }
    return number;
}

}  // namespace

std::uint32_t text_to_u32(std::string_view text) {
    std::string_view number = utils::trimmed(text);
    if (is_quoted(number)) {
        number = number.substr(1, number.size() - 2);
    }
    if (number.starts_with("0x") || number.starts_with("0X")) {
        return low_bits_of(number.substr(2), 16);
    }
    return low_bits_of(number, 10);
}

}  // namespace quarn::subscriber::radius
