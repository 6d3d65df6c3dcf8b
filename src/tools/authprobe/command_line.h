// Reading and checking the command line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "authprobe/client_settings.h"

namespace quarn::authprobe {

/// How the program is called, as it is printed on a usage error.
std::string usage();

/// Reads options and operands, and wipes the password and the secret in `argv`. Throws `ClientError`: a
/// --timeout or --retry that is no number above 0, or the usage text for an unknown option, a missing
/// argument or a number of operands other than two.
ClientSettings read_command_line(int argc, char* argv[]);

/// The number of --nas-port, cut to its low 32 bits; nothing when the option was not given. Throws
/// `ClientError` for a text that is no number.
std::optional<std::uint32_t> parse_nas_port(const ClientSettings& settings);

/// Splits the server operand at its last ":" into `server` and `server_port`; without one it stays as it is.
/// Throws `ClientError` for a port that is no number from 1 to 65535.
void split_server_operand(ClientSettings& settings);

}  // namespace quarn::authprobe
