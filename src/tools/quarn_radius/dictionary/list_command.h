// `quarn-radius dictionary list`.
#pragma once

#include "quarn_radius/command.h"

namespace quarn::quarn_radius {

/// Adds the command to its parent.
Command add_list_command(CLI::App& parent);

}  // namespace quarn::quarn_radius
