#include "authprobe/auth_method.h"

#include <openssl/provider.h>

#include <algorithm>
#include <array>
#include <string>

#include "authprobe/client_error.h"
#include "quarn/radius/auth.h"
#include "quarn/radius/random.h"

namespace quarn::authprobe {

namespace {

using subscriber::radius::Authenticator;
using subscriber::radius::RadiusPacket;
using subscriber::radius::random_authenticator;
using utils::as_text;

namespace auth = subscriber::radius::auth;

void add_pap(RadiusPacket& request, const ClientSettings& settings) {
    request.set_attribute("User-Password", settings.password);  // in clear: the encoder hides it
}

void add_chap(RadiusPacket& request, const ClientSettings& settings) {
    // Without a CHAP-Challenge the Request Authenticator is the challenge (RFC 2865, section 5.3).
    request.set_attribute("CHAP-Password", auth::chap_password(request.identifier, settings.password,
                                                               as_text(request.authenticator)));
}

void add_mschap(RadiusPacket& request, const ClientSettings& settings) {
    const Authenticator random = random_authenticator();
    auth::MsChapChallenge challenge{};
    std::copy_n(random.begin(), challenge.size(), challenge.begin());
    request.set_attribute("MS-CHAP-Challenge", as_text(challenge));
    request.set_attribute("MS-CHAP-Response",
                          auth::mschap_response(request.identifier, settings.password, challenge));
}

void add_mschapv2(RadiusPacket& request, const ClientSettings& settings) {
    const auth::MsChapV2Challenge authenticator_challenge = random_authenticator();
    const auth::MsChapV2Challenge peer_challenge = random_authenticator();
    request.set_attribute("MS-CHAP-Challenge", as_text(authenticator_challenge));
    request.set_attribute("MS-CHAP2-Response",
                          auth::mschapv2_response(request.identifier, settings.username, settings.password,
                                                  authenticator_challenge, peer_challenge));
}

/// Loads what MD4 and DES come from. Their handles are kept and never given back: the providers stay loaded
/// for the life of the process.
bool load_legacy_provider() {
    // A provider loaded by name turns off the implicit loading of the default one, so that comes first.
    static const OSSL_PROVIDER* const default_provider = OSSL_PROVIDER_load(nullptr, "default");
    if (default_provider == nullptr) {
        return false;
    }
    static const OSSL_PROVIDER* const legacy_provider = OSSL_PROVIDER_load(nullptr, "legacy");
    return legacy_provider != nullptr;
}

constexpr std::array auth_methods = std::to_array<AuthMethod>({
    {"pap", false, add_pap},
    {"chap", false, add_chap},
    {"mschap", true, add_mschap},
    {"mschapv2", true, add_mschapv2},
});

}  // namespace

const AuthMethod* find_auth_method(std::string_view name) {
    const auto* const method = std::find_if(auth_methods.begin(), auth_methods.end(),
                                            [name](const AuthMethod& row) { return row.name == name; });
    return method == auth_methods.end() ? nullptr : method;
}

const AuthMethod* prepare_auth_method(const ClientSettings& settings) {
    if (!settings.password_given) {
        return nullptr;
    }
    const AuthMethod* const method = find_auth_method(settings.auth_type);
    if (method == nullptr) {
        throw ClientError("authprobe: unknown auth type \"" + settings.auth_type +
                          "\" (pap, chap, mschap, mschapv2)\n");
    }
    if (method->needs_legacy_provider && !load_legacy_provider()) {
        throw ClientError("authprobe: OpenSSL legacy provider (MD4/DES) not available; cannot do " +
                          settings.auth_type + "\n");
    }
    return method;
}

}  // namespace quarn::authprobe
