// The commands of `quarn-radius`, their options and their help.
#pragma once

#include <iosfwd>

#include "common/exit_status.h"

namespace quarn::quarn_radius {

/// Reads the command line and does what it says. What was asked for goes to `output`, what went wrong and
/// summaries for the person at the terminal to `errors`. An `output` that cannot be written is a file
/// problem, whatever else happened; but not a standard output whose reader has ended.
tools::ExitStatus run(int argc, const char* const* argv, std::ostream& output, std::ostream& errors);

}  // namespace quarn::quarn_radius
