// The credentials of an Access-Request, and what the reply says of them.
//
//     auto added = add_credentials(packet, CredentialMethod::MsChapV2, "bob", password);
//     if (!added) {
//         return report(credential_error_text(added.error()));
//     }
//     const EncodedRequest request = encode_request(packet, secret);
//     ... Ask{.request = request, .mschapv2 = added->mschapv2} ...
//
// Add credentials after the packet's Identifier and Authenticator are set: CHAP depends on them. MS-CHAP is
// built on MD4 and DES, which come from OpenSSL's legacy provider; the provider is loaded on first use and
// stays loaded for the life of the process.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "quarn/radius/packet.h"
#include "quarn/utils/result.h"

namespace quarn::client {

/// How knowledge of a password is shown.
enum class CredentialMethod : std::uint8_t {
    Pap,       ///< User-Password (RFC 2865, section 5.2)
    Chap,      ///< CHAP-Password over the Request Authenticator (RFC 2865, section 5.3)
    MsChap,    ///< MS-CHAP-Response (RFC 2548, section 2.1.3)
    MsChapV2,  ///< MS-CHAP2-Response (RFC 2548, section 2.3.2)
};

/// One method and its word.
struct CredentialMethodRow {
    CredentialMethod method;
    std::string_view word;  ///< "pap", "chap", "mschap", "mschapv2"
};

/// Every method once, in the order of the enumeration.
std::span<const CredentialMethodRow> credential_methods();

/// The method of this word, case mattering; nothing for any other text.
std::optional<CredentialMethod> credential_method_from_word(std::string_view word);

/// What a server that knows the password answers to an MS-CHAPv2 response (RFC 2759, section 8.7). It proves
/// nothing about the password to whoever reads it, and is no secret.
struct MsChapV2Proof {
    std::uint8_t identifier = 0;                               ///< of the response, and of MS-CHAP2-Success
    std::array<std::uint8_t, 20> authenticator_response = {};  ///< "S=" and 40 hexadecimal digits on the wire

    /// Member by member.
    bool operator==(const MsChapV2Proof&) const = default;
};

/// What was added to a packet.
struct AddedCredentials {
    std::optional<MsChapV2Proof> mschapv2 = {};  ///< for `CredentialMethod::MsChapV2` alone
};

/// Why credentials could not be added.
enum class CredentialError : std::uint8_t {
    NoLegacyProvider,  ///< OpenSSL offers neither MD4 nor DES
    UnknownAttribute   ///< the dictionary lacks an attribute that the method needs
};

/// The error in words, such as "OpenSSL's legacy provider (MD4, DES) is not available".
std::string_view credential_error_text(CredentialError error);

/// Adds User-Name, unless it is there or empty, and the attributes of the method. Random challenges come from
/// OpenSSL; throws `std::runtime_error` when there are no random bytes. The packet keeps a copy of a PAP
/// password in clear: the encoder hides it, the owner of the packet wipes it.
utils::Result<AddedCredentials, CredentialError> add_credentials(subscriber::radius::RadiusPacket& packet,
                                                                 CredentialMethod method,
                                                                 std::string_view user_name,
                                                                 std::string_view password);

/// The proof that the server owes for these challenges (RFC 2759, sections 8.7 and 8.1). Without MD4 and DES
/// it is meaningless.
MsChapV2Proof mschapv2_proof(std::uint8_t identifier, std::string_view user_name, std::string_view password,
                             const std::array<std::uint8_t, 16>& authenticator_challenge,
                             const std::array<std::uint8_t, 16>& peer_challenge);

/// Whether the value of MS-CHAP2-Success (RFC 2548, section 2.3.3: an identifier, then "S=..." and perhaps
/// " M=...") is the proof. In constant time; hexadecimal digits of either case fit.
bool mschap2_success_fits(std::span<const std::uint8_t> value, const MsChapV2Proof& proof);

/// The fields of MS-CHAP-Error (RFC 2433, section 4; RFC 2759, section 6).
struct MsChapError {
    std::optional<std::uint32_t> code;     ///< E=, such as 691
    std::optional<bool> retry_allowed;     ///< R=
    std::optional<std::uint32_t> version;  ///< V=
    std::string challenge;                 ///< C=, hexadecimal digits as received
    std::string message;                   ///< M=, the server's own words, as received

    /// Member by member.
    bool operator==(const MsChapError&) const = default;
};

/// Reads the value of MS-CHAP-Error, with or without the identifier in front. Fields that are not there or
/// not readable stay empty; never fails.
MsChapError parse_mschap_error(std::span<const std::uint8_t> value);

/// What an error code means, as a sentence: "Authentication failure: the password or the user name is
/// wrong."; empty for a code that is not known.
std::string_view mschap_error_explanation(std::uint32_t code);

}  // namespace quarn::client
