#include "packet_fault.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/packets.h"

namespace quarn::client {
namespace {

using utils::Bytes;

/// "OFFSET: TEXT" of what stops a reader of the packet's attributes.
std::string stop_in(const Bytes& packet) {
    subscriber::radius::AttributeReader attributes(packet);
    while (attributes.next()) {
    }
    if (!attributes.fault()) {
        return "nothing";
    }
    const PacketFault fault = described(*attributes.fault());
    return std::to_string(fault.offset) + ": " + fault.text;
}

TEST(PacketFault, TellsWhyAttributesEnd) {
    EXPECT_EQ(stop_in(test::datagram(1, "120361")), "nothing");
    EXPECT_EQ(stop_in(test::datagram(1, "120361 01")), "23: the last attribute has no Length");
    EXPECT_EQ(stop_in(test::datagram(1, "0101")),
              "21: the Length of attribute 1 is 1: an attribute has at least 2 octets");
    EXPECT_EQ(stop_in(test::datagram(1, "010461")),
              "21: the Length of attribute 1 is 4, but the packet ends before");
}

/// "OFFSET: TEXT" of what is wrong with the header of so many zero bytes with this Length.
std::string header_fault(std::size_t size, std::size_t length) {
    Bytes bytes(size);
    if (size >= 4) {
        bytes[2] = static_cast<std::uint8_t>(length >> 8);
        bytes[3] = static_cast<std::uint8_t>(length);
    }
    const auto fault = fault_of_header(bytes);
    return fault ? std::to_string(fault->offset) + ": " + fault->text : "nothing";
}

TEST(PacketFault, TellsWhatIsWrongWithTheHeader) {
    EXPECT_EQ(header_fault(20, 20), "nothing");
    EXPECT_EQ(header_fault(30, 20), "nothing");
    EXPECT_EQ(header_fault(4096, 4096), "nothing");
    EXPECT_EQ(header_fault(0, 0), "0: 0 octets: a packet has at least 20");
    EXPECT_EQ(header_fault(1, 0), "1: 1 octet: a packet has at least 20");
    EXPECT_EQ(header_fault(3, 0), "3: 3 octets: a packet has at least 20");
    EXPECT_EQ(header_fault(4, 19), "2: Length is 19: a packet has 20 to 4096 octets");
    EXPECT_EQ(header_fault(19, 20), "2: Length is 20, but only 19 octets came");
    EXPECT_EQ(header_fault(20, 4096), "2: Length is 4096, but only 20 octets came");
    EXPECT_EQ(header_fault(20, 4097), "2: Length is 4097: a packet has 20 to 4096 octets");
    EXPECT_EQ(header_fault(5000, 4097), "2: Length is 4097: a packet has 20 to 4096 octets");
}

TEST(PacketIn, LeavesOutWhatFollowsThePacket) {
    Bytes datagram = test::datagram(1, "120361");
    const Bytes packet = datagram;
    datagram.push_back(0);
    const utils::byte_span found = packet_in(datagram);
    EXPECT_EQ(Bytes(found.begin(), found.end()), packet);
    const Bytes no_packet = {1, 2, 0, 19, 0};
    EXPECT_EQ(packet_in(no_packet).size(), no_packet.size());
}

}  // namespace
}  // namespace quarn::client
