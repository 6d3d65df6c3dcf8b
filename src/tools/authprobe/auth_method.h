// The authentication methods of -t.
#pragma once

#include <string_view>

#include "authprobe/options.h"
#include "quarn/radius/packet.h"

namespace quarn::authprobe {

struct AuthMethod {
    std::string_view name;
    bool needs_legacy_provider;  ///< MS-CHAP is built on MD4 and DES
    /// Adds the attributes that prove knowledge of the password.
    void (*add_credential)(subscriber::radius::RadiusPacket& request, const ClientSettings& settings);
};

/// The method of this name, case mattering; null when there is none.
const AuthMethod* find_auth_method(std::string_view name);

/// The method that the settings ask for, its OpenSSL providers loaded for the life of the process. Null
/// without a password: the method is not looked at. Throws `ClientError` for an unknown method or a provider
/// that cannot be loaded.
const AuthMethod* prepare_auth_method(const ClientSettings& settings);

}  // namespace quarn::authprobe
