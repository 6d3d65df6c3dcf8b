// What a datagram can make a program do stays in proportion to its size, and is one of the things that the
// codec promises. Work is counted in allocations here, and in instructions by work_test.

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>

#include "quarn/radius/packet.h"
#include "quarn/radius/pkt_load.h"
#include "testing/counted_memory.h"
#include "testing/every_kind.h"
#include "testing/hostile_datagrams.h"
#include "testing/packet_forge.h"

namespace quarn::test {

void PrintTo(const HostileShape& shape, std::ostream* out) {
    *out << shape.name;
}

}  // namespace quarn::test

namespace quarn::subscriber::radius {
namespace {

using test::counted_memory;
using test::HostileShape;
using test::Memory;

Memory needed_for(byte_span datagram) {
    test::process(datagram);  // what is set up once is there then
    counted_memory() = Memory();
    test::process(datagram);
    return counted_memory();
}

class HostileDatagram : public testing::TestWithParam<HostileShape> {};

TEST_P(HostileDatagram, TakesAllocationsInProportionToItsSize) {
    const HostileShape& shape = GetParam();
    const Memory once = needed_for(shape.build(shape.parts));
    const Memory twice = needed_for(shape.build(2 * shape.parts));
    const Memory four_times = needed_for(shape.build(4 * shape.parts));
    // A tenth more for what grows in steps.
    EXPECT_LE(twice.allocations * 10, once.allocations * 22);
    EXPECT_LE(four_times.allocations * 10, once.allocations * 44);
    EXPECT_EQ(four_times.held, 0);
}

TEST_P(HostileDatagram, TakesMemoryInProportionToItsSize) {
    const HostileShape& shape = GetParam();
    const Bytes datagram = shape.build(4 * shape.parts);
    constexpr std::size_t for_any_packet =
        65536;  // such as the code paths of TLVs that are inside each other
    constexpr std::size_t per_byte = 200;
    EXPECT_LE(needed_for(datagram).most_held,
              static_cast<std::ptrdiff_t>(for_any_packet + per_byte * datagram.size()));
}

std::string test_name(const testing::TestParamInfo<HostileShape>& info) {
    std::string name(info.param.name);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Of, HostileDatagram,
                         testing::ValuesIn(test::hostile_shapes().begin(), test::hostile_shapes().end()),
                         test_name);

TEST(NestedTlvs, AreReadToTheBottom) {
    const Bytes datagram = test::hostile_shapes().front().build(fuzz::tlv_levels);
    RadiusPacket packet(fuzz::dictionary_of_every_kind());
    EXPECT_TRUE(pkt_load(packet, datagram.data(), datagram.size(), "").empty());
    ASSERT_EQ(packet.attributes().size(), 1U);
    EXPECT_EQ(packet.attributes().front()->code_path.size(), 1 + fuzz::tlv_levels);
}

void* process_in_thread(void* datagram) {
    test::process(*static_cast<const Bytes*>(datagram));
    return nullptr;
}

TEST(NestedTlvs, AsDeepAsCanBeFitOnASmallStack) {
    Bytes datagram = test::hostile_shapes().front().build(fuzz::tlv_levels);
    test::process(datagram);
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    // Sanitizers put room around every variable.
#if defined(__SANITIZE_ADDRESS__)
    constexpr std::size_t stack_size = std::size_t{1024} * 1024;
#else
    constexpr std::size_t stack_size = std::size_t{256} * 1024;
#endif
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, stack_size), 0);
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, &attributes, process_in_thread, &datagram), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
}

/// Processes what the forge makes, and counts what was not refused.
std::size_t accepted_of(std::size_t packets, std::size_t limit, std::uint32_t first_seed) {
    std::size_t accepted = 0;
    Bytes before;
    for (std::uint32_t seed = first_seed; seed < first_seed + packets; ++seed) {
        fuzz::PacketForge forge(seed);
        Bytes packet = seed % 3 == 0 ? forge.packet(limit) : forge.mutated(before, limit);
        EXPECT_LE(packet.size(), limit);
        try {
            test::process(packet);
            ++accepted;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()).substr(0, 10), "pkt_load: ") << "seed " << seed;
        }
        before = std::move(packet);
    }
    return accepted;
}

TEST(ForgedPackets, AreProcessedOrRefused) {
    constexpr std::size_t packets = 3000;
    const std::size_t accepted = accepted_of(packets, 4096, 1);
    // Both kinds are there: packets with sound attributes around a faulty one, and those without.
    EXPECT_GT(accepted, packets / 3);
    EXPECT_LT(accepted, packets);
}

/// The attributes of many packets behind one header.
Bytes large_packet(std::uint32_t seed) {
    fuzz::PacketForge forge(seed);
    Bytes large = forge.packet(4096);
    for (Bytes more = forge.packet(4096); large.size() + more.size() <= 65535; more = forge.packet(4096)) {
        large.insert(large.end(), more.begin() + 20, more.end());
    }
    large[2] = static_cast<std::uint8_t>(large.size() >> 8);
    large[3] = static_cast<std::uint8_t>(large.size());
    return large;
}

TEST(ForgedPackets, AsLargeAsADatagramAreProcessedOrRefused) {
    for (std::uint32_t seed = 0; seed < 30; ++seed) {
        const Bytes packet = large_packet(seed);
        EXPECT_GT(packet.size(), 60000U);
        try {
            EXPECT_GT(test::process(packet), 0U);
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()), "pkt_load: invalid attribute length") << "seed " << seed;
        }
    }
}

TEST(ForgedPackets, AreTheSameForTheSameSeed) {
    for (std::uint32_t seed = 0; seed < 100; ++seed) {
        const Bytes packet = fuzz::PacketForge(seed).packet(4096);
        EXPECT_EQ(fuzz::PacketForge(seed).packet(4096), packet);
        EXPECT_EQ(fuzz::PacketForge(seed).mutated(packet, 4096),
                  fuzz::PacketForge(seed).mutated(packet, 4096));
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
