// Secrets and passwords from where they are kept: a file, the environment, the command line, or the person at
// the terminal.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "quarn/utils/secret.h"

namespace quarn::quarn_radius {

/// Where one secret comes from; at most one of the ways may be given.
struct SecretSource {
    std::optional<utils::SecretText> text = {};  ///< the secret itself
    std::string file = {};                       ///< a path; empty: none
    std::string variable = {};                   ///< of the environment; empty: none
};

/// A shared secret of this many octets or fewer can be guessed from one packet (RFC 2865, section 3, wants at
/// least 16).
inline constexpr std::size_t short_secret_size = 12;

/// A secret, and what is to be said of the way it came.
struct GivenSecret {
    utils::SecretText text;
    std::string warning = {};  ///< one or more sentences about a file that others can read; else empty
};

/// The secret; nothing when no way was given. `option` is the name of the options, "secret" or "password". A
/// file holds the secret as its only line, without the line end; an empty secret is one. Throws
/// `std::invalid_argument` when several ways were given or the variable is not set, `FileError` when the file
/// cannot be read or has more than one line.
std::optional<GivenSecret> read_secret(const SecretSource& source, std::string_view option);

/// Asks at the terminal of this process, without echo. Standard input need not be that terminal: requests may
/// come from there. Nothing when there is no terminal, or its input ends without a line. The prompt goes to
/// the terminal as well.
std::optional<utils::SecretText> ask_secret(std::string_view prompt);

}  // namespace quarn::quarn_radius
