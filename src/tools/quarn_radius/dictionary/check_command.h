// `quarn-radius dictionary check`: lists every problem of a dictionary.
#pragma once

#include "quarn_radius/command.h"

namespace quarn::quarn_radius {

/// Adds the command, its options and its help to `quarn-radius dictionary`.
Command add_check_command(CLI::App& parent);

}  // namespace quarn::quarn_radius
