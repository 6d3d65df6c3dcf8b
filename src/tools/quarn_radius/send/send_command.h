// `quarn-radius send`: sends requests to servers and says what came of them.
#pragma once

#include "quarn_radius/command.h"
#include "quarn_radius/send/argument_secrets.h"

namespace quarn::quarn_radius {

/// Adds the command, its options and its help to `quarn-radius`. The secrets are those that were taken off
/// the command line.
Command add_send_command(CLI::App& parent, ArgumentSecrets secrets);

}  // namespace quarn::quarn_radius
