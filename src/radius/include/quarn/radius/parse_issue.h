// A problem that did not end the work.
#pragma once

#include <string>

namespace quarn::subscriber::radius {

/// Appended by the encoder and the decoder to a list that the caller reads afterwards.
struct ParseIssue {
    std::string message;  ///< what went wrong, one of a fixed set of texts
    std::string context;  ///< which attribute, top-level type or vendor it concerns
    std::string detail;   ///< a further qualifier, often empty

    bool operator==(const ParseIssue&) const = default;
};

}  // namespace quarn::subscriber::radius
