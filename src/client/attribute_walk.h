// The attributes of a packet as they stand on the wire, found by number and not by a dictionary's names.
//
//     AttributeWalk walk(packet);
//     while (const auto attribute = walk.next()) { ... attribute->type, attribute->value ... }
//     if (const auto fault = walk.fault()) { ... fault->offset ... }
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "quarn/utils/bytes.h"

namespace quarn::client {

/// One top-level attribute (RFC 2865, section 5).
struct WireAttribute {
    std::uint8_t type;
    utils::byte_span value;  ///< views the packet
    std::size_t offset;      ///< of the Type, counted from the packet's first octet
};

/// Why bytes are no packet.
struct WireFault {
    std::size_t offset;  ///< of the octet at fault, or where one is missing
    std::string text;    ///< for people
};

/// What is wrong with a packet's header: its Length field, or that it ends before this field (RFC 2865,
/// section 3). Nothing when there is nothing wrong. Octets after the packet are not wrong.
std::optional<WireFault> fault_of_header(utils::byte_span datagram);

/// The datagram without the octets after its packet; the whole datagram when its header is at fault.
utils::byte_span packet_in(utils::byte_span datagram);

/// Goes over the attributes of a packet of exactly the size that its Length says.
class AttributeWalk {
  public:
    explicit AttributeWalk(utils::byte_span packet) : packet_(packet) {}

    /// The next attribute; nothing at the end and at a fault.
    std::optional<WireAttribute> next();

    /// Why the walk ended before the packet's end; nothing when it did not.
    const std::optional<WireFault>& fault() const { return fault_; }

  private:
    WireFault fault_of_length(std::uint8_t type, std::size_t length, const char* reason) const;

    utils::byte_span packet_;
    std::size_t position_ = 20;  // after the header
    std::optional<WireFault> fault_;
};

}  // namespace quarn::client
