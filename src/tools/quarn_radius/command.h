// The parts that every command of `quarn-radius` is made of.
//
//     struct FindOptions { std::string name; };
//
//     Command add_find_command(CLI::App& parent) {
//         const auto options = std::make_shared<FindOptions>();
//         CLI::App& command = *parent.add_subcommand("find", help);
//         command.add_option("NAME", options->name, "What to find")->required();
//         return {&command, [options](Streams streams) { return find(*options, streams); }};
//     }
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "common/exit_status.h"

namespace CLI {
class App;
}

namespace quarn::quarn_radius {

/// Where a command writes.
struct Streams {
    std::ostream& output;  ///< what was asked for
    std::ostream& errors;  ///< what went wrong, and summaries for the person at the terminal
};

/// One command: its place on the command line, and what it does once the command line has been read.
struct Command {
    const CLI::App* parser;
    std::function<tools::ExitStatus(Streams)> run;
};

/// The meaning of the exit statuses, which ends every help.
inline constexpr const char* exit_statuses = R"(Exit status:
  0  fine
  1  problems were found, or nothing matches
  2  the command line is wrong
  3  a file cannot be read or written)";

/// A number and what it counts, such as "1 file" and "2 files".
std::string count_text(std::size_t count, const std::string& singular);

}  // namespace quarn::quarn_radius
