// The result of checking a received packet against the shared secret.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace quarn::subscriber::radius {

/// The numbers are part of the interface; 1 is never a result.
enum class ValidationError : std::uint32_t {
    None = 0,  ///< passed, or not checked: the secret is empty, or the packet was not decoded from bytes
    PacketTooLarge = 2,
    InvalidAuthenticator = 3,         ///< the Request or Response Authenticator
    InvalidMessageAuthenticator = 4,  ///< malformed, or not the one that the secret gives
    DictionaryRequired = 5,
    UnsupportedPacketType = 6,
};

/// The first problem that `RadiusPacket::validate` found.
struct RadiusPacketValRes {
    RadiusPacketValRes() = default;
    /// The finding and its text.
    RadiusPacketValRes(ValidationError found, std::string text) : error(found), message(std::move(text)) {}

    ValidationError error = ValidationError::None;  ///< the first problem found
    std::string message;  ///< begins with "RadiusPacket: "; empty when the packet passed

    bool operator==(const RadiusPacketValRes&) const = default;
};

}  // namespace quarn::subscriber::radius
