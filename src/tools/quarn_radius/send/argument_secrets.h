// Secrets on the command line: other users see it, in `ps`, for as long as the program runs.
#pragma once

#include <list>
#include <optional>
#include <string_view>
#include <vector>

#include "quarn/utils/secret.h"

namespace quarn::quarn_radius {

/// What was taken off a command line.
struct ArgumentSecrets {
    std::optional<utils::SecretText> secret = {};    ///< of --secret
    std::optional<utils::SecretText> password = {};  ///< of --password
    std::vector<utils::SecretText> answers = {};     ///< of each --answer
    /// Arguments, with a zero byte at the end of each, that the command line points to now.
    std::list<std::vector<char, utils::WipingAllocator<char>>> kept = {};
};

/// Whether an attribute's or option's name tells of a secret: "password" or "secret" is in it, in any case.
bool names_a_secret(std::string_view name);

/// Takes secrets off the command line of `send`, and overwrites what other processes see of it. --secret,
/// --password and --answer are left out with their values. An attribute with "password" or "secret" in its
/// name, as operand or expectation, stays, as a copy. The command line of every other command stays as it is.
ArgumentSecrets take_secrets(int& argc, char** argv);

}  // namespace quarn::quarn_radius
