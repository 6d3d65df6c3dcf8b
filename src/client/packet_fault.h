// Why the bytes of a reply are no packet, put for people.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "quarn/radius/attribute_reader.h"
#include "quarn/utils/bytes.h"

namespace quarn::client {

/// Why bytes are no packet.
struct PacketFault {
    std::size_t offset;  ///< of the octet at fault, or where one is missing
    std::string text;    ///< for people
};

/// What the reader stopped at.
PacketFault described(const subscriber::radius::WireFault& fault);

/// What is wrong with a packet's header: its Length field, or that it ends before this field (RFC 2865,
/// section 3). Nothing when there is nothing wrong. Octets after the packet are not wrong.
std::optional<PacketFault> fault_of_header(utils::byte_span datagram);

/// The datagram without the octets after its packet; the whole datagram when its header is at fault.
utils::byte_span packet_in(utils::byte_span datagram);

}  // namespace quarn::client
