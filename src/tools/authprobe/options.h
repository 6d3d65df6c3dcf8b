// The options and operands of authprobe, as they are typed.
#pragma once

#include <cstdint>
#include <string>

#include "quarn/utils/secret.h"

namespace quarn::authprobe {

/// The options and operands. An empty text means that the option was not given; the password may be
/// given empty.
struct ClientSettings {
    std::string username;
    utils::SecretText password;
    bool password_given = false;
    std::string auth_type = "pap";
    std::string dictionary_path;  ///< empty: the default one
    std::string nas_port;
    std::string nas_ip_address;  ///< empty: the local address
    std::string source_ip;
    std::string framed_protocol;
    std::string calling_station_id;
    bool no_message_auth = false;
    std::int32_t timeout = 5;  ///< seconds to wait for a reply, per attempt
    std::int32_t retry = 3;    ///< how often the request is sent in all
    std::string server;        ///< a host; as an operand, with or without ":" and a port
    utils::SecretText secret;
    std::uint16_t server_port = 1812;  // RFC 2865, section 3
};

/// How the program is called, as it is printed on a usage error.
std::string usage();

/// Reads options and operands, and wipes the password and the secret in `argv`. Throws `ClientError`: a
/// --timeout or --retry that is no number above 0, or the usage text for an unknown option, a missing
/// argument or a number of operands other than two.
ClientSettings read_command_line(int argc, char* argv[]);

}  // namespace quarn::authprobe
