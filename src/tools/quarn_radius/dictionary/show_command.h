// `quarn-radius dictionary show`: shows attributes of a dictionary.
#pragma once

#include "quarn_radius/command.h"

namespace quarn::quarn_radius {

/// Adds the command, its options and its help to `quarn-radius dictionary`.
Command add_show_command(CLI::App& parent);

}  // namespace quarn::quarn_radius
