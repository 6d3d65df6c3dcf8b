// The Code field of a packet: its numbers, their names, and what each implies for the Authenticator.
//
//     packet_code_name(ACCESS_ACCEPT);        // "Access-Accept"
//     packet_code_number("coa-request");      // COA_REQUEST
//     packet_code_kind(ACCESS_REJECT);        // PacketKind::Response
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "quarn/utils/case_insensitive.h"

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

/// The kinds of code, by the packet's Authenticator.
enum class PacketKind : std::uint8_t {
    RandomAuthenticatorRequest,  ///< a request whose Authenticator is random (RFC 2865, section 3; RFC 5997)
    ZeroAuthenticatorRequest,    ///< a request whose Authenticator is a digest computed with sixteen zero
                                 ///< bytes in its place (RFC 2866, section 3; RFC 5176, section 2.3)
    Response,                    ///< a reply, whose Authenticator is a digest that covers the request's own
};

/// One row of the table of codes.
struct PacketCodeRow {
    PacketCode number;
    std::string_view name;  ///< as the RFCs spell it, such as "Access-Accept"
    PacketKind kind;
};

/// Every code that this library supports, in order of number.
inline constexpr std::array packet_codes = std::to_array<PacketCodeRow>({
    {ACCESS_REQUEST, "Access-Request", PacketKind::RandomAuthenticatorRequest},
    {ACCESS_ACCEPT, "Access-Accept", PacketKind::Response},
    {ACCESS_REJECT, "Access-Reject", PacketKind::Response},
    {ACCOUNTING_REQUEST, "Accounting-Request", PacketKind::ZeroAuthenticatorRequest},
    {ACCOUNTING_RESPONSE, "Accounting-Response", PacketKind::Response},
    {ACCESS_CHALLENGE, "Access-Challenge", PacketKind::Response},
    {STATUS_SERVER, "Status-Server", PacketKind::RandomAuthenticatorRequest},
    {DISCONNECT_REQUEST, "Disconnect-Request", PacketKind::ZeroAuthenticatorRequest},
    {DISCONNECT_ACK, "Disconnect-ACK", PacketKind::Response},
    {DISCONNECT_NAK, "Disconnect-NAK", PacketKind::Response},
    {COA_REQUEST, "CoA-Request", PacketKind::ZeroAuthenticatorRequest},
    {COA_ACK, "CoA-ACK", PacketKind::Response},
    {COA_NAK, "CoA-NAK", PacketKind::Response},
});

/// The kinds of the table by number: each packet is asked for its kind several times.
inline constexpr std::array packet_kinds_by_code = [] {
    std::array<std::optional<PacketKind>, 256> kinds{};
    for (const PacketCodeRow& row : packet_codes) {
        kinds[row.number] = row.kind;
    }
    return kinds;
}();

/// The kind of a code; nothing for a code that this library does not support.
constexpr std::optional<PacketKind> packet_code_kind(std::uint8_t code) {
    return packet_kinds_by_code[code];
}

/// The name of a code; empty for a code that this library does not support.
constexpr std::string_view packet_code_name(std::uint8_t code) {
    for (const PacketCodeRow& row : packet_codes) {
        if (row.number == code) {
            return row.name;
        }
    }
    return {};
}

/// The code of this name, without regard to ASCII case; nothing for any other text.
inline std::optional<PacketCode> packet_code_number(std::string_view name) {
    const auto* const row = std::find_if(packet_codes.begin(), packet_codes.end(), [name](const auto& entry) {
        return utils::CaseInsensitiveEqual{}(entry.name, name);
    });
    return row != packet_codes.end() ? std::optional(row->number) : std::nullopt;
}

/// A reply, whose Authenticator is the Response Authenticator: a digest that covers the request's own.
constexpr bool is_response_code(std::uint8_t code) {
    return packet_code_kind(code) == PacketKind::Response;
}

/// A request whose Authenticator is a digest computed with sixteen zero bytes in its place.
constexpr bool is_zero_authenticator_code(std::uint8_t code) {
    return packet_code_kind(code) == PacketKind::ZeroAuthenticatorRequest;
}

/// A code that a packet can be validated for.
constexpr bool is_supported_code(std::uint8_t code) {
    return packet_code_kind(code).has_value();
}

}  // namespace quarn::subscriber::radius
