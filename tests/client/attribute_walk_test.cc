#include "attribute_walk.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/packets.h"

namespace quarn::client {
namespace {

using utils::Bytes;

/// "TYPE at OFFSET: value" a line, then why the walk stopped, if it did.
std::vector<std::string> walked(const Bytes& packet) {
    std::vector<std::string> lines;
    AttributeWalk walk(packet);
    while (const auto attribute = walk.next()) {
        lines.push_back(std::to_string(attribute->type) + " at " + std::to_string(attribute->offset) + ": " +
                        std::string(attribute->value.begin(), attribute->value.end()));
    }
    if (walk.fault()) {
        lines.push_back(std::to_string(walk.fault()->offset) + ": " + walk.fault()->text);
    }
    EXPECT_FALSE(walk.next()) << "the end stays the end";
    return lines;
}

using Lines = std::vector<std::string>;

TEST(AttributeWalk, GoesFromAttributeToAttribute) {
    EXPECT_EQ(walked(test::datagram(1, "0105626f62 1202 0403 61")),
              (Lines{"1 at 20: bob", "18 at 25: ", "4 at 27: a"}));
    EXPECT_EQ(walked(test::datagram(1, "")), Lines());
}

TEST(AttributeWalk, StopsAtAFault) {
    EXPECT_EQ(walked(test::datagram(1, "120361 01")),
              (Lines{"18 at 20: a", "23: the last attribute has no Length"}));
    EXPECT_EQ(walked(test::datagram(1, "0101")),
              (Lines{"21: the Length of attribute 1 is 1: an attribute has at least 2 octets"}));
    EXPECT_EQ(walked(test::datagram(1, "010461")),
              (Lines{"21: the Length of attribute 1 is 4, but the packet ends before"}));
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
