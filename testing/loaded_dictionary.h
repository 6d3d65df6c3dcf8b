// What became of a dictionary file, as a text to compare.
#pragma once

#include <string>
#include <string_view>

namespace quarn::test {

/// Loads a file and tells, line by line, every warning and error, and all that the dictionary then answers
/// about the names that stand between double quotes in `text`, which is what the file holds, and about each
/// top-level type.
std::string describe_loaded(const std::string& file, std::string_view text);

}  // namespace quarn::test
