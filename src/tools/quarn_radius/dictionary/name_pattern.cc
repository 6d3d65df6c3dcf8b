#include "quarn_radius/dictionary/name_pattern.h"

#include <regex.h>

#include <array>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace quarn::quarn_radius {

namespace {

/// No name is this long. The C library's `regcomp` calls itself for each bracket: some ten thousand of them
/// would overflow the stack.
constexpr std::size_t max_expression_size = 256;

}  // namespace

NamePattern::NamePattern(const std::string& expression, LetterCase letter_case) {
    if (expression.size() > max_expression_size) {
        throw std::invalid_argument("invalid regular expression: more than " +
                                    std::to_string(max_expression_size) + " characters");
    }
    auto compiled = std::make_unique<regex_t>();
    const int case_flag = letter_case == LetterCase::Ignored ? REG_ICASE : 0;
    const int failure = regcomp(compiled.get(), expression.c_str(), REG_EXTENDED | REG_NOSUB | case_flag);
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
    return regexec(compiled_.get(), name.data(), 1, &whole, REG_STARTEND) == 0;
}

void NamePattern::Free::operator()(re_pattern_buffer* compiled) const {
    regfree(compiled);
    delete compiled;
}

}  // namespace quarn::quarn_radius
