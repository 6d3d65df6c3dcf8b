// What is wrong, and where: the one form in which every command of `quarn-radius` reports.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::companion {

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

/// The place as compilers write it, "file:line", so that editors can jump there.
std::string place_text(const Place& place);

/// A text as it may be shown on a terminal: names and values come from files that anyone may have written,
/// and must neither begin a line of their own nor control the terminal. Control characters, those of ISO 6429
/// beyond ASCII included, and bytes that are not UTF-8 are written as \n, \r, \t or \x1b.
std::string terminal_text(std::string_view text);

/// "file:line: severity: text" as `terminal_text`, always a single line, without a line feed.
std::string problem_line(const Problem& problem);

/// The same as a JSON object on one line.
std::string problem_json(const Problem& problem);

}  // namespace quarn::companion
