// Secrets on the command line: other users see it, in `ps`, for as long as the program runs.
#pragma once

#include <optional>
#include <vector>

#include "quarn/utils/secret.h"

namespace quarn::quarn_radius {

/// What was taken off a command line.
struct ArgumentSecrets {
    std::optional<utils::SecretText> secret = {};    ///< of --secret
    std::optional<utils::SecretText> password = {};  ///< of --password
    std::vector<utils::SecretText> answers = {};     ///< of each --answer
};

/// Takes the values of --secret, --password and --answer off the command line of `send`: the arguments are
/// overwritten and left empty. The command line of every other command stays as it is.
ArgumentSecrets take_secrets(int argc, char* const* argv);

}  // namespace quarn::quarn_radius
