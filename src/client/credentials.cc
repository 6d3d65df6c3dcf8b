#include "quarn/client/credentials.h"

#include <algorithm>

#include "quarn/radius/auth.h"
#include "quarn/radius/constant_time.h"
#include "quarn/radius/random.h"
#include "quarn/utils/bytes.h"
#include "quarn/utils/text.h"

namespace quarn::client {

namespace auth = subscriber::radius::auth;

using subscriber::radius::RadiusPacket;
using subscriber::radius::random_authenticator;
using utils::as_text;

namespace {

constexpr std::array method_rows = std::to_array<CredentialMethodRow>({
    {CredentialMethod::Pap, "pap"},
    {CredentialMethod::Chap, "chap"},
    {CredentialMethod::MsChap, "mschap"},
    {CredentialMethod::MsChapV2, "mschapv2"},
});

/// The attributes that the dictionary has to define for a method.
std::span<const std::string_view> attributes_of(CredentialMethod method) {
    static constexpr std::array<std::string_view, 1> pap = {"User-Password"};
    static constexpr std::array<std::string_view, 1> chap = {"CHAP-Password"};
    static constexpr std::array<std::string_view, 2> mschap = {"MS-CHAP-Challenge", "MS-CHAP-Response"};
    static constexpr std::array<std::string_view, 2> mschapv2 = {"MS-CHAP-Challenge", "MS-CHAP2-Response"};
    switch (method) {
        case CredentialMethod::Pap:
            return pap;
        case CredentialMethod::Chap:
            return chap;
        case CredentialMethod::MsChap:
            return mschap;
        case CredentialMethod::MsChapV2:
            break;
    }
    return mschapv2;
}

bool needs_mschap_algorithms(CredentialMethod method) {
    return method == CredentialMethod::MsChap || method == CredentialMethod::MsChapV2;
}

void add_chap(RadiusPacket& packet, std::string_view password) {
    // Without a CHAP-Challenge the Request Authenticator is the challenge (RFC 2865, section 5.3).
    packet.set_attribute("CHAP-Password",
                         auth::chap_password(packet.identifier, password, as_text(packet.authenticator)));
}

void add_mschap(RadiusPacket& packet, std::string_view password) {
    const auto random = random_authenticator();
    auth::MsChapChallenge challenge{};
    std::copy_n(random.begin(), challenge.size(), challenge.begin());
    packet.set_attribute("MS-CHAP-Challenge", as_text(challenge));
    packet.set_attribute("MS-CHAP-Response", auth::mschap_response(packet.identifier, password, challenge));
}

MsChapV2Proof add_mschapv2(RadiusPacket& packet, std::string_view user_name, std::string_view password) {
    const auth::MsChapV2Challenge authenticator_challenge = random_authenticator();
    const auth::MsChapV2Challenge peer_challenge = random_authenticator();
    packet.set_attribute("MS-CHAP-Challenge", as_text(authenticator_challenge));
    packet.set_attribute("MS-CHAP2-Response",
                         auth::mschapv2_response(packet.identifier, user_name, password,
                                                 authenticator_challenge, peer_challenge));
    return mschapv2_proof(packet.identifier, user_name, password, authenticator_challenge, peer_challenge);
}

/// The value of a hexadecimal digit; nothing for any other character.
std::optional<std::uint8_t> digit_value(std::uint8_t character) {
    constexpr std::string_view lower = "0123456789abcdef";
    constexpr std::string_view upper = "0123456789ABCDEF";
    const auto letter = static_cast<char>(character);
    const std::size_t position = std::min(lower.find(letter), upper.find(letter));
    return position != lower.npos ? std::optional(static_cast<std::uint8_t>(position)) : std::nullopt;
}

struct ErrorRow {
    std::uint32_t code;
    std::string_view explanation;
};

// RFC 2433, section 4; RFC 2759, section 6.
constexpr std::array mschap_errors = std::to_array<ErrorRow>({
    {646, "The account may not be used at this time of day."},
    {647, "The account is disabled."},
    {648, "The password has expired."},
    {649, "The account has no permission to dial in."},
    {691, "Authentication failure: the user name or the password is wrong."},
    {709, "The password could not be changed."},
});

}  // namespace

std::span<const CredentialMethodRow> credential_methods() {
    return method_rows;
}

std::optional<CredentialMethod> credential_method_from_word(std::string_view word) {
    const auto* const row =
        std::find_if(method_rows.begin(), method_rows.end(),
                     [word](const CredentialMethodRow& entry) { return entry.word == word; });
    return row != method_rows.end() ? std::optional(row->method) : std::nullopt;
}

std::string_view credential_error_text(CredentialError error) {
    switch (error) {
        case CredentialError::NoLegacyProvider:
            return "OpenSSL's legacy provider (MD4, DES) is not available";
        case CredentialError::UnknownAttribute:
            break;
    }
    return "the dictionary lacks an attribute that the method needs";
}

utils::Result<AddedCredentials, CredentialError> add_credentials(RadiusPacket& packet,
                                                                 CredentialMethod method,
                                                                 std::string_view user_name,
                                                                 std::string_view password) {
    const bool wants_user_name = !user_name.empty() && packet.find_attribute("User-Name") == nullptr;
    const auto is_known = [&packet](std::string_view name) {
        return packet.dictionary && packet.dictionary->attribute_by_name(name).known;
    };
    const auto names = attributes_of(method);
    if (!std::all_of(names.begin(), names.end(), is_known) || (wants_user_name && !is_known("User-Name"))) {
        return CredentialError::UnknownAttribute;
    }
    if (needs_mschap_algorithms(method) && !auth::load_mschap_algorithms()) {
        return CredentialError::NoLegacyProvider;
    }
    if (wants_user_name) {
        packet.set_attribute("User-Name", user_name);
    }
    switch (method) {
        case CredentialMethod::Pap:
            packet.set_attribute("User-Password", password);  // in clear: the encoder hides it
            break;
        case CredentialMethod::Chap:
            add_chap(packet, password);
            break;
        case CredentialMethod::MsChap:
            add_mschap(packet, password);
            break;
        case CredentialMethod::MsChapV2:
            return AddedCredentials{add_mschapv2(packet, user_name, password)};
    }
    return AddedCredentials{};
}

MsChapV2Proof mschapv2_proof(std::uint8_t identifier, std::string_view user_name, std::string_view password,
                             const std::array<std::uint8_t, 16>& authenticator_challenge,
                             const std::array<std::uint8_t, 16>& peer_challenge) {
    return {identifier, auth::mschapv2_authenticator_response(user_name, password, authenticator_challenge,
                                                              peer_challenge)};
}

bool mschap2_success_fits(std::span<const std::uint8_t> value, const MsChapV2Proof& proof) {
    constexpr std::size_t digits_offset = 3;  // after the identifier and "S="
    const std::size_t digits = 2 * proof.authenticator_response.size();
    if (value.size() < digits_offset + digits || value[0] != proof.identifier || value[1] != 'S' ||
        value[2] != '=') {
        return false;
    }
    std::array<std::uint8_t, 20> received{};
    for (std::size_t i = 0; i < received.size(); ++i) {
        const auto high = digit_value(value[digits_offset + 2 * i]);
        const auto low = digit_value(value[digits_offset + 2 * i + 1]);
        if (!high || !low) {
            return false;
        }
        received[i] = static_cast<std::uint8_t>(*high << 4 | *low);
    }
    return subscriber::radius::equal_in_constant_time(received, proof.authenticator_response);
}

MsChapError parse_mschap_error(std::span<const std::uint8_t> value) {
    std::string_view rest = as_text(value);
    // The identifier may be any byte, a letter among them; a field begins with a letter and "=".
    if (rest.size() > 1 && rest[1] != '=') {
        rest.remove_prefix(1);
    }
    MsChapError error;
    while (!rest.empty()) {
        if (rest.starts_with(' ')) {
            rest.remove_prefix(1);
            continue;
        }
        if (rest.starts_with("M=")) {  // the last field, blanks included
            error.message = rest.substr(2);
            break;
        }
        const std::string_view field = rest.substr(0, rest.find(' '));
        rest.remove_prefix(field.size());
        if (field.size() < 3 || field[1] != '=') {
            continue;
        }
        const std::string_view text = field.substr(2);
        switch (field[0]) {
            case 'E':
                error.code = utils::parse_decimal<std::uint32_t>(text);
                break;
            case 'R':
                error.retry_allowed = text == "1"   ? std::optional(true)
                                      : text == "0" ? std::optional(false)
                                                    : std::nullopt;
                break;
            case 'C':
                error.challenge = text;
                break;
            case 'V':
                error.version = utils::parse_decimal<std::uint32_t>(text);
                break;
            default:
                break;
        }
    }
    return error;
}

std::string_view mschap_error_explanation(std::uint32_t code) {
    const auto* const row = std::find_if(mschap_errors.begin(), mschap_errors.end(),
                                         [code](const ErrorRow& entry) { return entry.code == code; });
    return row != mschap_errors.end() ? row->explanation : std::string_view();
}

}  // namespace quarn::client
