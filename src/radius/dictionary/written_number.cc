#include "quarn/radius/written_number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "quarn/utils/ascii.h"
#include "quarn/utils/case_insensitive.h"
#include "quarn/utils/text.h"

namespace quarn::subscriber::radius {

namespace {

constexpr std::uint64_t max_u32 = std::numeric_limits<std::uint32_t>::max();

bool is_quoted(std::string_view text) {
    return text.size() >= 2 && text.front() == text.back() && (text.front() == '"' || text.front() == '\'');
}

/// All lower, all capitals, or one capital in front: letters alone.
bool is_in_flexible_case(std::string_view text) {
    const auto is_lower = [](char letter) { return letter >= 'a' && letter <= 'z'; };
    const auto is_upper = [](char letter) { return letter >= 'A' && letter <= 'Z'; };
    const std::string_view rest = text.substr(std::min<std::size_t>(text.size(), 1));
    return std::all_of(text.begin(), text.end(), is_lower) ||
           std::all_of(text.begin(), text.end(), is_upper) ||
           (is_upper(text.front()) && std::all_of(rest.begin(), rest.end(), is_lower));
}

/// Calls `read(element)`, which returns whether to go on, for each piece between dots.
template <typename Read>
bool for_each_element(std::string_view text, Read read) {
    for (;;) {
        const std::size_t dot = text.find('.');
        if (!read(text.substr(0, dot))) {
            return false;
        }
        if (dot == text.npos) {
            return true;
        }
        text.remove_prefix(dot + 1);
    }
}

/// Reads one element into the path.
CodeFault read_code(std::string_view element, WrittenCode& code) {
    std::string_view digits = utils::trimmed(element);
    if (digits.empty()) {
        return CodeFault::NoCode;
    }
    const bool is_negative = digits.front() == '-';
    digits.remove_prefix(is_negative || digits.front() == '+' ? 1 : 0);
    std::uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, status] = std::from_chars(digits.data(), end, number);
    if (status == std::errc::result_out_of_range) {
        return stop == end ? CodeFault::OutOfRange : CodeFault::NoNumber;
    }
    if (status != std::errc{}) {
        return CodeFault::NoNumber;
    }
    if (stop != end) {
        return CodeFault::NoCode;
    }
    code.is_cut = code.is_cut || number > max_u32 || (is_negative && number != 0);
    const std::uint64_t complement = number == 0 ? 0 : std::numeric_limits<std::uint64_t>::max() - number + 1;
    code.path.push_back(static_cast<std::uint32_t>((is_negative ? complement : number) & max_u32));
    return CodeFault::None;
}

}  // namespace

std::optional<WrittenNumber> read_number(std::string_view text) {
    const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.remove_prefix(is_hexadecimal ? 2 : 0);
    const std::uint64_t base = is_hexadecimal ? 16 : 10;
    const auto is_base_digit = is_hexadecimal ? utils::is_hex_digit : utils::is_digit;
    if (text.empty() || !std::all_of(text.begin(), text.end(), is_base_digit)) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    bool is_cut = false;
    for (const char digit : text) {
        number = number * base + utils::hex_digit_value(digit);
        is_cut = is_cut || number > max_u32;
        number &= max_u32;
    }
    return WrittenNumber{static_cast<std::uint32_t>(number), is_cut};
}

std::optional<WrittenNumber> read_file_number(std::string_view text) {
    std::string_view number = utils::trimmed(text);
    return read_number(is_quoted(number) ? number.substr(1, number.size() - 2) : number);
}

std::uint32_t node_to_u32(const WrittenText& node) {
    const std::optional<WrittenNumber> number = read_file_number(text_of(node));
    if (!number) {
        throw std::invalid_argument("invalid unsigned integer");
    }
    return number->low_bits;
}

std::string bad_conversion(const WrittenText& node) {
    return "yaml-cpp: error at line " + std::to_string(node.line) + ", column " +
           std::to_string(node.column) + ": bad conversion";
}

std::string_view text_of(const WrittenText& node) {
    if (!node.is_text()) {
        throw std::invalid_argument(bad_conversion(node));
    }
    return node.text;
}

std::optional<bool> read_flag(const WrittenText& node) {
    constexpr std::array flags = std::to_array<std::pair<std::string_view, bool>>({
        {"true", true},
        {"false", false},
        {"yes", true},
        {"no", false},
        {"on", true},
        {"off", false},
        {"y", true},
        {"n", false},
    });
    if (node.kind != WrittenKind::Text) {
        return std::nullopt;
    }
    for (const auto& [name, flag] : flags) {
        if (utils::CaseInsensitiveEqual{}(name, node.text)) {
            return is_in_flexible_case(node.text) ? std::optional(flag) : std::nullopt;
        }
    }
    return std::nullopt;
}

WrittenCode read_code_path(std::string_view text) {
    WrittenCode code;
    for_each_element(text, [&code](std::string_view element) {
        code.fault = read_code(element, code);
        return code.fault == CodeFault::None;
    });
    return code;
}

std::optional<CodePath> read_plain_code_path(std::string_view text) {
    CodePath path;
    const bool is_plain = for_each_element(text, [&path](std::string_view element) {
        const std::optional<WrittenNumber> number = read_number(element);
        if (!number || number->is_cut) {
            return false;
        }
        path.push_back(number->low_bits);
        return true;
    });
    return is_plain ? std::optional(path) : std::nullopt;
}

}  // namespace quarn::subscriber::radius
