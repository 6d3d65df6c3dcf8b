// The Code field and what it implies for a packet's Authenticator.
#pragma once

#include <cstdint>

namespace quarn::subscriber::radius {

/// The packet codes that this library encodes, decodes and validates (RFC 2865, section 3; RFC 2866, section
/// 3; RFC 5997, section 3; RFC 5176, section 2.3). A packet keeps its code as a plain number: any other may
/// arrive.
enum PacketCode : std::uint8_t {
    ACCESS_REQUEST = 1,
    ACCESS_ACCEPT = 2,
    ACCESS_REJECT = 3,
    ACCOUNTING_REQUEST = 4,
    ACCOUNTING_RESPONSE = 5,
    ACCESS_CHALLENGE = 11,
    STATUS_SERVER = 12,
    DISCONNECT_REQUEST = 40,
    DISCONNECT_ACK = 41,
    DISCONNECT_NAK = 42,
    COA_REQUEST = 43,
    COA_ACK = 44,
    COA_NAK = 45,
};

/// A reply, whose Authenticator is the Response Authenticator: a digest that covers the request's own.
constexpr bool is_response_code(std::uint8_t code) {
    switch (code) {
        case ACCESS_ACCEPT:
        case ACCESS_REJECT:
        case ACCOUNTING_RESPONSE:
        case ACCESS_CHALLENGE:
        case DISCONNECT_ACK:
        case DISCONNECT_NAK:
        case COA_ACK:
        case COA_NAK:
            return true;
        default:
            return false;
    }
}

/// A request whose Authenticator is a digest computed with sixteen zero bytes in its place (RFC 2866,
/// section 3; RFC 5176, section 2.3).
constexpr bool is_zero_authenticator_code(std::uint8_t code) {
    return code == ACCOUNTING_REQUEST || code == DISCONNECT_REQUEST || code == COA_REQUEST;
}

/// A code that a packet can be validated for. Access-Request and Status-Server carry a random Authenticator.
constexpr bool is_supported_code(std::uint8_t code) {
    return code == ACCESS_REQUEST || code == STATUS_SERVER || is_response_code(code) ||
           is_zero_authenticator_code(code);
}

}  // namespace quarn::subscriber::radius
