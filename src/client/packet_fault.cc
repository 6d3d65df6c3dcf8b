#include "packet_fault.h"

#include "quarn/client/packet_stream.h"

namespace quarn::client {

namespace radius = subscriber::radius;

namespace {

std::string octets(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " octet" : " octets");
}

std::string length_of_attribute(const radius::WireFault& fault) {
    return "the Length of attribute " + std::to_string(fault.type) + " is " + std::to_string(fault.length);
}

PacketFault impossible_length(std::size_t length) {
    return {radius::length_offset,
            "Length is " + std::to_string(length) + ": a packet has 20 to 4096 octets"};
}

}  // namespace

PacketFault described(const radius::WireFault& fault) {
    switch (fault.problem) {
        case radius::WireProblem::AttributeLengthMissing:
            return {fault.offset, "the last attribute has no Length"};
        case radius::WireProblem::AttributeLengthTooSmall:
            return {fault.offset, length_of_attribute(fault) + ": an attribute has at least 2 octets"};
        default:
            return {fault.offset, length_of_attribute(fault) + ", but the packet ends before"};
    }
}

std::optional<PacketFault> fault_of_header(utils::byte_span datagram) {
    const radius::AttributeReader attributes(datagram);
    const auto& fault = attributes.fault();
    if (!fault) {
        const std::size_t length = attributes.packet().size();
        return length > max_packet_size ? std::optional(impossible_length(length)) : std::nullopt;
    }
    if (fault->problem == radius::WireProblem::PacketLengthMissing) {
        return PacketFault{fault->offset, octets(datagram.size()) + ": a packet has at least 20"};
    }
    if (fault->problem == radius::WireProblem::PacketLengthTooSmall || fault->length > max_packet_size) {
        return impossible_length(fault->length);
    }
    return PacketFault{fault->offset, "Length is " + std::to_string(fault->length) + ", but only " +
                                          octets(datagram.size()) + " came"};
}

utils::byte_span packet_in(utils::byte_span datagram) {
    return fault_of_header(datagram) ? datagram : radius::AttributeReader(datagram).packet();
}

}  // namespace quarn::client
