// The commands of `quarn-radius`, their options and their help.
#pragma once

#include <iosfwd>

#include "common/exit_status.h"
#include "quarn_radius/send/argument_secrets.h"

namespace quarn::quarn_radius {

/// Reads the command line and does what it says. What was asked for goes to `output`, what went wrong and
/// summaries for the person at the terminal to `errors`. An `output` that cannot be written is a file
/// problem, whatever else happened; but not a standard output whose reader has ended. The secrets are those
/// that were taken off the command line beforehand (`take_secrets`).
tools::ExitStatus run(int argc, const char* const* argv, std::ostream& output, std::ostream& errors,
                      ArgumentSecrets secrets = {});

}  // namespace quarn::quarn_radius
