// What `send` itself has to say of a request, beside the client's notes on the reply.
#pragma once

#include <string>

namespace quarn::quarn_radius {

/// A remark of the program's own.
struct Remark {
    std::string word;  ///< for programs: lower-case letters, digits and hyphens
    std::string text;  ///< for people

    /// Member by member.
    bool operator==(const Remark&) const = default;
};

}  // namespace quarn::quarn_radius
