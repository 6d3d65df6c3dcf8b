#include "quarn_radius/name_pattern.h"

#include <regex.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <stdexcept>
#include <utility>

#include "quarn/utils/ascii.h"

namespace quarn::quarn_radius {

namespace {

/// No name is this long. The C library's `regcomp` calls itself for each bracket: some ten thousand of them
/// would overflow the stack.
constexpr std::size_t max_expression_size = 256;

/// The C library copies what a repetition such as `{255}` counts. More copies than this, one repetition
/// within the other, would take memory and time without a use.
constexpr std::size_t max_copies = 1024;

/// How often a part of the expression is copied at most: the product of its largest counts.
std::size_t copies_in(std::string_view expression) {
    constexpr std::size_t too_many = max_copies + 1;
    std::size_t copies = 1;
    std::size_t number = 0;
    std::size_t largest = 1;
    bool is_in_braces = false;
    for (const char character : expression) {
        if (character == '{') {
            is_in_braces = true;
            number = 0;
            largest = 1;
        } else if (is_in_braces && utils::is_digit(character)) {
            number = std::min(number * 10 + utils::hex_digit_value(character), too_many);
            largest = std::max(largest, number);
        } else if (is_in_braces && character == ',') {
            number = 0;
        } else if (is_in_braces) {
            copies = std::min(copies * largest, too_many);
            is_in_braces = false;
        }
    }
    return copies;
}

/// Whether the expression refers to what an earlier group matched. Finding that takes exponential time.
bool has_back_reference(std::string_view expression) {
    for (std::size_t at = expression.find('\\'); at != expression.npos && at + 1 < expression.size();
         at = expression.find('\\', at + 2)) {
        if (utils::is_digit(expression[at + 1])) {
            return true;
        }
    }
    return false;
}

}  // namespace

NamePattern::NamePattern(const std::string& expression, LetterCase letter_case) {
    if (expression.size() > max_expression_size) {
        throw std::invalid_argument("invalid regular expression: more than " +
                                    std::to_string(max_expression_size) + " characters");
    }
    if (has_back_reference(expression)) {
        throw std::invalid_argument("invalid regular expression /" + expression +
                                    "/: back-references are not supported");
    }
    if (copies_in(expression) > max_copies) {
        throw std::invalid_argument("invalid regular expression /" + expression + "/: repeats more than " +
                                    std::to_string(max_copies) + " times");
    }
    auto compiled = std::make_unique<regex_t>();
    const int case_flag = letter_case == LetterCase::Ignored ? REG_ICASE : 0;
    const int failure = regcomp(compiled.get(), expression.c_str(), REG_EXTENDED | REG_NOSUB | case_flag);
    if (failure == REG_ESPACE) {
        throw std::bad_alloc();
    }
    if (failure != 0) {
        std::array<char, 128> reason{};
        regerror(failure, compiled.get(), reason.data(), reason.size());
        throw std::invalid_argument("invalid regular expression /" + expression + "/: " + reason.data());
    }
    compiled_.reset(compiled.release());
}

bool NamePattern::matches(std::string_view name) const {
    regmatch_t whole{};
    whole.rm_eo = static_cast<regoff_t>(name.size());  // the text's end, as it need not end with a zero byte
    const int outcome = regexec(compiled_.get(), name.data(), 1, &whole, REG_STARTEND);
    if (outcome == REG_ESPACE) {
        throw std::bad_alloc();
    }
    return outcome == 0;
}

void NamePattern::Free::operator()(re_pattern_buffer* compiled) const {
    regfree(compiled);
    delete compiled;
}

}  // namespace quarn::quarn_radius
