// Finds what is wrong with a dictionary: everything in one go, where the loader stops at the first fatal
// problem and passes over the others in silence.
#pragma once

#include <cstddef>
#include <string>

#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

/// How many definitions a dictionary has.
struct DictionaryCounts {
    std::size_t files = 0;
    std::size_t vendors = 0;     ///< numbers
    std::size_t attributes = 0;  ///< names
    std::size_t values = 0;      ///< names of values

    bool operator==(const DictionaryCounts&) const = default;
};

struct CheckResult {
    Problems problems;  ///< file by file in the order of loading, by line within a file
    DictionaryCounts counts;
};

/// Checks a file and all that it includes. An error stops the loading or loses an entry; a warning is loaded,
/// but without an effect or with another one than its author can have meant. What the loader itself reports
/// is among the problems. Throws `FileError` when the file itself cannot be opened.
CheckResult check_dictionary(const std::string& path);

}  // namespace quarn::quarn_radius
