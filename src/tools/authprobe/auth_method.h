// The authentication methods of -t.
#pragma once

#include <string_view>

#include "authprobe/client_settings.h"
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

/// Checks the method and loads the OpenSSL providers that it needs, for the life of the process; without a
/// password there is nothing to check. Throws `ClientError` for an unknown method or a provider that cannot
/// be loaded.
void prepare_auth_method(const ClientSettings& settings);

}  // namespace quarn::authprobe
