#include "quarn/client/packet_stream.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/packets.h"

namespace quarn::client {
namespace {

using test::hex;
using test::Lines;
using test::pattern;
using test::to_hex;
using utils::Bytes;

/// A packet of this size, which its Length says.
Bytes packet(std::size_t size) {
    Bytes bytes = pattern(size);
    bytes[2] = static_cast<std::uint8_t>(size >> 8);
    bytes[3] = static_cast<std::uint8_t>(size & 0xff);
    return bytes;
}

Lines packets_of(PacketStream& stream) {
    Lines lines;
    while (const auto next = stream.next()) {
        lines.push_back(to_hex(*next));
    }
    return lines;
}

TEST(PacketStream, GivesPacketsThatCameTogether) {
    PacketStream stream;
    Bytes both = packet(20);
    const Bytes second = packet(23);
    both.insert(both.end(), second.begin(), second.end());
    stream.append(both);
    EXPECT_EQ(packets_of(stream), (Lines{to_hex(packet(20)), to_hex(packet(23))}));
    EXPECT_EQ(to_hex(stream.rest()), "");
    EXPECT_FALSE(stream.is_malformed());
}

TEST(PacketStream, GivesAPacketThatCameByteByByte) {
    PacketStream stream;
    const Bytes whole = packet(21);
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_EQ(stream.next(), std::nullopt);
        EXPECT_EQ(stream.rest().size(), i);
        stream.append({&whole[i], 1});
    }
    EXPECT_EQ(packets_of(stream), (Lines{to_hex(whole)}));
}

TEST(PacketStream, TakesTheSmallestAndTheLargestPacket) {
    PacketStream stream;
    stream.append(packet(20));
    stream.append(packet(4096));
    EXPECT_EQ(packets_of(stream), (Lines{to_hex(packet(20)), to_hex(packet(4096))}));
}

TEST(PacketStream, EndsAtALengthThatNoPacketHas) {
    for (const char* const header : {"02 07 0013", "02 07 0000", "02 07 1001", "02 07 ffff"}) {
        PacketStream stream;
        stream.append(packet(20));
        stream.append(hex(header));
        EXPECT_EQ(packets_of(stream), (Lines{to_hex(packet(20))}));
        EXPECT_TRUE(stream.is_malformed());
        EXPECT_EQ(to_hex(stream.rest()), test::digits(header));
        stream.append(packet(20));
        EXPECT_EQ(stream.next(), std::nullopt);
        EXPECT_EQ(stream.rest().size(), 4U) << "what comes after is not kept";
    }
}

}  // namespace
}  // namespace quarn::client
