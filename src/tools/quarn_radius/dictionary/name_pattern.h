// A pattern for names, as people give it on the command line.
#pragma once

#include <memory>
#include <string>

struct re_pattern_buffer;

namespace quarn::quarn_radius {

/// An extended regular expression of POSIX, compared without regard to ASCII case.
class NamePattern {
  public:
    /// Throws `std::invalid_argument` with the reason for an expression that is none.
    explicit NamePattern(const std::string& expression);

    /// Whether a part of the name matches.
    bool matches(const std::string& name) const;

  private:
    struct Free {
        void operator()(re_pattern_buffer* compiled) const;
    };
    std::unique_ptr<re_pattern_buffer, Free> compiled_;
};

}  // namespace quarn::quarn_radius
