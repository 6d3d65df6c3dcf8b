#include "quarn/utils/text.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>

#include "quarn/utils/ascii.h"

namespace quarn::utils {

namespace {

struct Utf8Sequence {
    std::uint8_t length = 0;
    std::uint8_t second_min = 0;
    std::uint8_t second_max = 0;
};

constexpr unsigned char first_lead_byte = 0xC2;
constexpr unsigned char last_lead_byte = 0xF4;

/// Sequence length and allowed second byte for each lead byte (RFC 3629, section 4).
constexpr std::array<Utf8Sequence, last_lead_byte - first_lead_byte + 1> utf8_sequences = [] {
    std::array<Utf8Sequence, last_lead_byte - first_lead_byte + 1> table{};
    const auto fill = [&table](unsigned first, unsigned last, Utf8Sequence sequence) {
        for (unsigned lead = first; lead <= last; ++lead) {
            table[lead - first_lead_byte] = sequence;
        }
    };
    fill(0xC2, 0xDF, {2, 0x80, 0xBF});
    fill(0xE0, 0xE0, {3, 0xA0, 0xBF});
    fill(0xE1, 0xEC, {3, 0x80, 0xBF});
    fill(0xED, 0xED, {3, 0x80, 0x9F});
    fill(0xEE, 0xEF, {3, 0x80, 0xBF});
    fill(0xF0, 0xF0, {4, 0x90, 0xBF});
    fill(0xF1, 0xF3, {4, 0x80, 0xBF});
    fill(0xF4, 0xF4, {4, 0x80, 0x8F});
    return table;
}();

}  // namespace

std::string_view trimmed(std::string_view text) {
    const auto not_space = [](char character) { return !is_space(character); };
    const auto start = std::find_if(text.begin(), text.end(), not_space);
    const auto end = std::find_if(text.rbegin(), std::make_reverse_iterator(start), not_space).base();
    return {start, end};
}

std::string trim(std::string_view text) {
    return std::string(trimmed(text));
}

std::vector<std::string> split(std::string_view text, char delimiter) {
    std::vector<std::string> pieces;
    for (auto end = text.find(delimiter); end != std::string_view::npos; end = text.find(delimiter)) {
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    pieces.emplace_back(text);
    return pieces;
}

std::string hex_to_bytes(const std::string& digits) {
    if (digits.size() % 2 != 0) {
        throw std::invalid_argument("odd number of hex digits: " + digits);
    }
    std::string bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        if (!is_hex_digit(digits[i]) || !is_hex_digit(digits[i + 1])) {
            throw std::invalid_argument("invalid hex digit in: " + digits);
        }
        bytes += static_cast<char>(hex_digit_value(digits[i]) << 4 | hex_digit_value(digits[i + 1]));
    }
    return bytes;
}

std::string bytes_to_hex(const std::uint8_t* data, std::size_t length) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(length * 2);
    for (std::size_t i = 0; i < length; ++i) {
        text += digits[data[i] >> 4];
        text += digits[data[i] & 0x0F];
    }
    return text;
}

bool is_hex_literal(std::string_view text) {
    return text.size() >= 3 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
           std::all_of(text.begin() + 2, text.end(), is_hex_digit);
}

bool is_printable(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return character >= 0x20 && character <= 0x7E; });
}

Utf8Character first_utf8_character(std::string_view text) {
    const auto byte_at = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte_at(0);
    if (lead < 0x80) {
        return {1, lead};
    }
    if (lead < first_lead_byte || lead > last_lead_byte) {
        return {1, std::nullopt};
    }
    const Utf8Sequence sequence = utf8_sequences[lead - first_lead_byte];
    // A lead byte of a sequence of n bytes has n one bits, a zero bit, and then the number's highest bits.
    char32_t code_point = lead & (0x7FU >> sequence.length);
    for (std::size_t i = 1; i < sequence.length; ++i) {
        const unsigned char least = i == 1 ? sequence.second_min : 0x80;
        const unsigned char most = i == 1 ? sequence.second_max : 0xBF;
        if (i == text.size() || byte_at(i) < least || byte_at(i) > most) {
            return {i, std::nullopt};
        }
        code_point = code_point << 6 | (byte_at(i) & 0x3FU);
    }
    return {sequence.length, code_point};
}

bool is_well_formed_utf8(std::string_view text) {
    while (!text.empty()) {
        if (static_cast<unsigned char>(text.front()) < 0x80) {
            text.remove_prefix(1);
            continue;
        }
        const Utf8Character character = first_utf8_character(text);
        if (!character.code_point) {
            return false;
        }
        text.remove_prefix(character.size);
    }
    return true;
}

bool is_utf8_text(std::string_view text) {
    const auto is_control = [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < 0x20 || byte == 0x7F;
    };
    return is_well_formed_utf8(text) && std::none_of(text.begin(), text.end(), is_control);
}

}  // namespace quarn::utils
