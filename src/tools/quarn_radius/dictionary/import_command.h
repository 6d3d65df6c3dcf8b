// `quarn-radius dictionary import`: turns a text dictionary into dictionary files.
#pragma once

#include "quarn_radius/command.h"

namespace quarn::quarn_radius {

/// Adds the command, its options and its help to `quarn-radius dictionary`.
Command add_import_command(CLI::App& parent);

}  // namespace quarn::quarn_radius
