#include "attribute_walk.h"

#include "quarn/client/packet_stream.h"
#include "quarn/client/request.h"
#include "quarn/net/buffer_reader.h"

namespace quarn::client {

namespace {

constexpr std::size_t length_offset = 2;
constexpr std::size_t attribute_header_size = 2;

std::string octets(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " octet" : " octets");
}

}  // namespace

std::optional<WireFault> fault_of_header(utils::byte_span datagram) {
    if (datagram.size() < length_offset + 2) {
        return WireFault{datagram.size(), octets(datagram.size()) + ": a packet has at least 20"};
    }
    net::BufferView reader(datagram);
    reader.read_u16();  // Code and Identifier
    const std::size_t length = reader.read_u16();
    if (length < min_packet_size || length > max_packet_size) {
        return WireFault{length_offset,
                         "Length is " + std::to_string(length) + ": a packet has 20 to 4096 octets"};
    }
    if (length > datagram.size()) {
        return WireFault{length_offset, "Length is " + std::to_string(length) + ", but only " +
                                            octets(datagram.size()) + " came"};
    }
    return std::nullopt;
}

utils::byte_span packet_in(utils::byte_span datagram) {
    if (fault_of_header(datagram)) {
        return datagram;
    }
    net::BufferView reader(datagram);
    reader.read_u16();  // Code and Identifier
    return datagram.first(reader.read_u16());
}

std::optional<WireAttribute> AttributeWalk::next() {
    if (fault_ || position_ >= packet_.size()) {
        return std::nullopt;
    }
    net::BufferView reader(packet_.subspan(position_));
    if (reader.remaining() < attribute_header_size) {
        fault_ = WireFault{position_, "the last attribute has no Length"};
        return std::nullopt;
    }
    const std::uint8_t type = reader.read_u8();
    const std::size_t length = reader.read_u8();
    if (length < attribute_header_size) {
        fault_ = fault_of_length(type, length, ": an attribute has at least 2 octets");
        return std::nullopt;
    }
    if (length - attribute_header_size > reader.remaining()) {
        fault_ = fault_of_length(type, length, ", but the packet ends before");
        return std::nullopt;
    }
    const WireAttribute attribute{type, reader.read_bytes(length - attribute_header_size), position_};
    position_ += length;
    return attribute;
}

WireFault AttributeWalk::fault_of_length(std::uint8_t type, std::size_t length, const char* reason) const {
    return {position_ + 1,
            "the Length of attribute " + std::to_string(type) + " is " + std::to_string(length) + reason};
}

}  // namespace quarn::client
