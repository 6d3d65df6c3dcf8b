// Decoding a received datagram into a packet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "quarn/radius/packet.h"
#include "quarn/radius/parse_issue.h"

namespace quarn::subscriber::radius {

/// Replaces `packet`'s header fields, attributes and `raw` by what the datagram holds; `packet.dictionary`
/// must be set, and `request_authenticator` is left alone. Every attribute gets an entry under its code path,
/// whether the dictionary defines it or not; fragments of a value are joined; hidden values are revealed with
/// the datagram's own Authenticator, or kept as they are when the secret is empty. A server hides a reply's
/// values with the request's Authenticator: decode replies without a secret, then reveal with `decrypt_leaf`.
///
/// A problem confined to one attribute only drops that attribute. Such problems are returned in the order
/// found: a fixed message, then "Vendor-" and the vendor's number or else the top-level type, then the type
/// of the vendor's attribute or nested TLV where there is one.
///
///     "vendor-specific attribute too short"            no room for a vendor number
///     "malformed vendor attribute length"              too small, or past the end; drops what follows too
///     "vendor continuation byte missing"
///     "extended attribute too short"
///     "long-extended attribute too short"
///     "extended-vendor-specific header too short"
///     "malformed nested TLV length"                    too small, or past the end; drops what follows too
///     "unterminated continuation value"                more was announced and never came
///     "unterminated long-extended value"
///
/// Throws `std::runtime_error`, the packet then being partly filled and of no use:
///
///     "pkt_load: dictionary required"
///     "pkt_load: malformed packet"            fewer than 20 bytes
///     "pkt_load: invalid packet length"       Length below 20 or above the bytes given
///     "pkt_load: malformed attribute"         no room for an attribute's type and length
///     "pkt_load: invalid attribute length"    below 2, or past the end of the packet
std::vector<ParseIssue> pkt_load(RadiusPacket& packet, const std::uint8_t* data, std::size_t length,
                                 std::string_view secret);

}  // namespace quarn::subscriber::radius
