// A problem and its place: the one form in which every command of `quarn-radius` reports.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::quarn_radius {

enum class Severity {
    Note,     ///< something was done differently from what is written
    Warning,  ///< something has an effect that was perhaps not meant, or none
    Error,    ///< something is lost, or stops the work
};

/// A place in a file.
struct Place {
    std::string file;
    std::uint32_t line = 1;  ///< 1-based

    bool operator==(const Place&) const = default;
};

struct Problem {
    std::string file;
    std::uint32_t line = 1;  ///< 1-based; 1 when the whole file is meant
    Severity severity = Severity::Error;
    std::string text;

    bool operator==(const Problem&) const = default;
};

using Problems = std::vector<Problem>;

/// A file that stops the work: it cannot be read or written, or lacks what was asked of it. Its text names
/// the file and the reason.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// "note", "warning" or "error".
std::string_view severity_name(Severity severity);

/// The text for a message that quotes it: of a long one the beginning and "...". A problem of one line may
/// name what stands in another, so that whole names could make the problems of a file much larger than the
/// file.
std::string shortened(std::string_view text);

/// The place as compilers write it, "file:line", so that editors can jump there.
std::string place_text(const Place& place);

/// "file:line: severity: text" as `terminal_text`, always a single line, without a line feed.
std::string problem_line(const Problem& problem);

/// The same as a JSON object on one line.
std::string problem_json(const Problem& problem);

/// Writes the problems, one a line, as `problem_line` or as `problem_json`.
void print_problems(const Problems& problems, bool json, std::ostream& output);

/// How many of the problems have this severity.
std::size_t count_of(const Problems& problems, Severity severity);

}  // namespace quarn::quarn_radius
