// What the command line asks for.
#pragma once

#include <cstdint>
#include <string>

#include "quarn/utils/secret.h"

namespace quarn::authprobe {

/// An empty text means that the option was not given, but for the password, which may be given empty.
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

}  // namespace quarn::authprobe
