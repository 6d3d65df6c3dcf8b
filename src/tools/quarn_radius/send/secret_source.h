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

    bool is_given() const { return text || !file.empty() || !variable.empty(); }
};

/// A shared secret of this many octets or fewer can be guessed from one packet (RFC 2865, section 3, wants at
/// least 16).
inline constexpr std::size_t short_secret_size = 12;

/// The secret; nothing when no way was given. `option` is the name of the options, "secret" or "password". A
/// file's first line counts, without its line end; an empty secret is one. Throws `std::invalid_argument`
/// when several ways were given or the variable is not set, `FileError` when the file cannot be read or has
/// more than one line.
std::optional<utils::SecretText> read_secret(const SecretSource& source, std::string_view option);

/// Asks at the terminal that is standard input, without echo. Nothing when standard input is no terminal, or
/// ends without a line. The prompt goes to the terminal as well.
std::optional<utils::SecretText> ask_secret(std::string_view prompt);

}  // namespace quarn::quarn_radius
