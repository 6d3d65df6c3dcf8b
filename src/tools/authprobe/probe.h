// A run, described by checked options.
#pragma once

#include <cstdint>
#include <optional>

#include "authprobe/auth_method.h"
#include "authprobe/options.h"

namespace quarn::authprobe {

/// Checked options.
struct Probe {
    ClientSettings settings;             ///< `server` is the host alone, `server_port` its port
    const AuthMethod* method = nullptr;  ///< null without a password: no credential is sent
    std::optional<std::uint32_t> nas_port;
};

/// Checks the method, --nas-port and the server operand, in this order, and loads the OpenSSL providers that
/// the method needs. Throws `ClientError` at the first that is wrong.
Probe check_settings(ClientSettings settings);

/// The number of --nas-port, cut to its low 32 bits; nothing when the option was not given. Throws
/// `ClientError` for a text that is no number.
std::optional<std::uint32_t> parse_nas_port(const ClientSettings& settings);

/// Splits the server operand at its last ":" into `server` and `server_port`; without one it stays as it is.
/// Throws `ClientError` for a port that is no number from 1 to 65535.
void split_server_operand(ClientSettings& settings);

}  // namespace quarn::authprobe
