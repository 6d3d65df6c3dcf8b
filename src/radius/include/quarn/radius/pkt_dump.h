// Encoding a packet to the bytes that go on the wire.
#pragma once

#include <string_view>
#include <vector>

#include "quarn/radius/authenticator.h"
#include "quarn/radius/packet.h"
#include "quarn/radius/parse_issue.h"

namespace quarn::subscriber::radius {

/// The datagram that carries `packet`, whose attributes are written in order, each value as an attribute or
/// attributes of its own: plain ones, Vendor-Specific ones in the vendor's format (RFC 2865, section 5.26),
/// extended and long-extended ones (RFC 6929), and TLVs nested in these or in a plain one. Hidden values are
/// hidden, a Message-Authenticator that the caller added is filled in (RFC 3579, section 3.2), and the
/// Authenticator is the packet's own or, where the code asks for it, computed:
///
///     Access-Request                        `authenticator`; a random one when that is all zero, to be read
///                                           from the datagram's bytes 4 to 19
///     Accounting-, Disconnect-, CoA-Request MD5 over the packet with a zero Authenticator, and the secret
///     replies                               MD5 over the packet with `request_authenticator`, and the secret
///
/// With an empty secret nothing is hidden, filled in or computed.
///
/// A value too long for one attribute is split where the reader can join it again: continuation,
/// long-extended, `concat`. It is also split, and read back as several values, in a Vendor-Specific attribute
/// without continuation and in a short extended one; these formats know no other way.
///
/// Any other value that its attribute cannot carry whole is truncated, and the issue "value truncated on the
/// wire" with the attribute's name appended to `issues`, which is not cleared first. Caution: a TLV value
/// over 253 bytes is not detected; its length byte wraps and the result is malformed. Nor is a packet longer
/// than 65535 bytes refused; its Length field keeps the low 16 bits. Throws `std::runtime_error` when random
/// bytes are needed and there are none.
Bytes pkt_dump(const RadiusPacket& packet, std::string_view secret, std::vector<ParseIssue>& issues);

}  // namespace quarn::subscriber::radius
