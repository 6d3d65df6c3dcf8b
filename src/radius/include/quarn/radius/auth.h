// The credential values of an Access-Request: CHAP, MS-CHAP and MS-CHAPv2.
//
// The functions are pure; the caller chooses identifier and challenges. MD4 and DES come from OpenSSL's
// "legacy" provider, which the program has to load beforehand (`load_mschap_algorithms`); without them the
// bytes that depend on them are zero, and no error is raised. User names and passwords are taken byte by byte
// as they are.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace quarn::subscriber::radius::auth {

using MsChapChallenge = std::array<std::uint8_t, 8>;                 ///< RFC 2433, section 5
using MsChapV2Challenge = std::array<std::uint8_t, 16>;              ///< RFC 2759, sections 4 and 5
using NtPasswordHash = std::array<std::uint8_t, 16>;                 ///< RFC 2759, section 8.3
using ChallengeResponse = std::array<std::uint8_t, 24>;              ///< RFC 2759, section 8.5
using MsChapV2AuthenticatorResponse = std::array<std::uint8_t, 20>;  ///< RFC 2759, section 8.7

/// The value of CHAP-Password (RFC 2865, section 5.3; RFC 1994, section 4.1): the identifier and
/// MD5(identifier, password, challenge), 17 bytes.
std::string chap_password(std::uint8_t identifier, std::string_view password, std::string_view challenge);

/// MD4 of the password, each byte widened to two with a zero byte behind it: UTF-16LE for ASCII and Latin-1
/// passwords (RFC 2759, section 8.3). UTF-8 is not decoded.
NtPasswordHash nt_password_hash(std::string_view password);

/// The challenge encrypted by DES with each of the three keys that the hash is cut into (RFC 2759,
/// section 8.5).
ChallengeResponse challenge_response(const MsChapChallenge& challenge, const NtPasswordHash& hash);

/// The value of MS-CHAP-Response (RFC 2548, section 2.1.3), 50 bytes, with the NT response and without the
/// LAN Manager one.
std::string mschap_response(std::uint8_t identifier, std::string_view password,
                            const MsChapChallenge& challenge);

/// The value of MS-CHAP2-Response (RFC 2548, section 2.3.2; RFC 2759, section 8.1), 50 bytes.
std::string mschapv2_response(std::uint8_t identifier, std::string_view user_name, std::string_view password,
                              const MsChapV2Challenge& authenticator_challenge,
                              const MsChapV2Challenge& peer_challenge);

/// What a server that knows the password answers to such a response (RFC 2759, section 8.7), 20 bytes: "S="
/// and their hexadecimal digits in MS-CHAP2-Success.
MsChapV2AuthenticatorResponse mschapv2_authenticator_response(
    std::string_view user_name, std::string_view password, const MsChapV2Challenge& authenticator_challenge,
    const MsChapV2Challenge& peer_challenge);

/// Loads OpenSSL's providers of MD4 and DES, for the life of the process. False when there are none.
bool load_mschap_algorithms();

}  // namespace quarn::subscriber::radius::auth
