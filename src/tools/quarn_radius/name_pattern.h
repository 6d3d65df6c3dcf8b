// A pattern for names and texts, as people give it on the command line.
#pragma once

#include <memory>
#include <string>
#include <string_view>

struct re_pattern_buffer;

namespace quarn::quarn_radius {

/// Whether upper-case and lower-case letters match each other.
enum class LetterCase { Ignored, Matters };

/// An extended regular expression of POSIX.
class NamePattern {
  public:
    /// Throws `std::invalid_argument` with the reason for an expression that is none.
    explicit NamePattern(const std::string& expression, LetterCase letter_case = LetterCase::Ignored);

    /// Whether a part of the name matches. Any bytes may be in it.
    bool matches(std::string_view name) const;

  private:
    struct Free {
        void operator()(re_pattern_buffer* compiled) const;
    };
    std::unique_ptr<re_pattern_buffer, Free> compiled_;
};

}  // namespace quarn::quarn_radius
