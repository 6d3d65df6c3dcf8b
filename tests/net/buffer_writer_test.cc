#include "quarn/net/buffer_writer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "quarn/net/buffer_reader.h"
#include "testing/thrown_text.h"

namespace quarn::net {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr const char* past_end = "BufferWriter: overwrite past end of buffer";

template <typename Overwrite>
std::string failure_of(const Overwrite& overwrite) {
    return test::thrown_text<std::out_of_range>(overwrite);
}

/// A writer that has written bytes 1, 2, 3 and so on.
BufferWriter writer_of(std::size_t size) {
    BufferWriter writer;
    for (std::size_t i = 1; i <= size; ++i) {
        writer.append_u8(static_cast<std::uint8_t>(i));
    }
    return writer;
}

TEST(BufferWriter, StartsEmpty) {
    BufferWriter writer;
    EXPECT_EQ(writer.size(), 0U);
    EXPECT_TRUE(writer.bytes().empty());
    EXPECT_EQ(writer.take(), Bytes{});
}

TEST(BufferWriter, AppendsBytes) {
    BufferWriter writer;
    writer.append_u8(0x00);
    writer.append_u8(0x7F);
    writer.append_u8(0xFF);
    EXPECT_EQ(writer.size(), 3U);
    EXPECT_EQ(writer.take(), (Bytes{0x00, 0x7F, 0xFF}));
}

TEST(BufferWriter, AppendsSixteenBitsMostSignificantByteFirst) {
    BufferWriter writer;
    writer.append_u16(0x1234);
    writer.append_u16(0xFFFE);
    writer.append_u16(0x0001);
    EXPECT_EQ(writer.take(), (Bytes{0x12, 0x34, 0xFF, 0xFE, 0x00, 0x01}));
}

TEST(BufferWriter, AppendsNumbersOfOneToFourBytes) {
    BufferWriter writer;
    writer.append_uint(0xF1, 1);
    writer.append_uint(0xF2F3, 2);
    writer.append_uint(0xF4F5F6, 3);
    writer.append_uint(0xF7F8F9FA, 4);
    EXPECT_EQ(writer.take(), (Bytes{0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA}));
}

TEST(BufferWriter, AppendsTheLowBytesOfANumberThatIsWider) {
    BufferWriter writer;
    writer.append_uint(0x12345678, 1);
    writer.append_uint(0x12345678, 3);
    EXPECT_EQ(writer.take(), (Bytes{0x78, 0x34, 0x56, 0x78}));
}

TEST(BufferWriter, AppendsRunsOfBytes) {
    BufferWriter writer;
    writer.append_bytes(Bytes{1, 2, 3});
    writer.append_bytes({});
    writer.append_bytes(Bytes{4});
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 3, 4}));
}

TEST(BufferWriter, GrowsAsFarAsNeeded) {
    BufferWriter writer;
    const Bytes run(1000, 0xAB);
    for (int i = 0; i < 100; ++i) {
        writer.append_bytes(run);
    }
    EXPECT_EQ(writer.size(), 100'000U);
    EXPECT_EQ(writer.take(), Bytes(100'000, 0xAB));
}

TEST(BufferWriter, OverwritesSixteenBitsMostSignificantByteFirst) {
    BufferWriter writer = writer_of(6);
    writer.overwrite_u16(2, 0xABCD);
    EXPECT_EQ(writer.size(), 6U);
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 0xAB, 0xCD, 5, 6}));
}

TEST(BufferWriter, OverwritesAtTheStart) {
    BufferWriter writer = writer_of(3);
    writer.overwrite_u16(0, 0xABCD);
    EXPECT_EQ(writer.take(), (Bytes{0xAB, 0xCD, 3}));
}

TEST(BufferWriter, OverwritesTheLastTwoOfFourBytes) {
    BufferWriter writer = writer_of(4);
    writer.overwrite_u16(2, 0xABCD);
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 0xAB, 0xCD}));
}

TEST(BufferWriter, RefusesToOverwriteTheEndOfThreeBytes) {
    BufferWriter writer = writer_of(3);
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(2, 0xABCD); }), past_end);
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 3}));
}

TEST(BufferWriter, RefusesToOverwriteBehindTheEnd) {
    BufferWriter writer = writer_of(4);
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(3, 0); }), past_end);
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(4, 0); }), past_end);
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(5, 0); }), past_end);
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 3, 4}));
}

TEST(BufferWriter, RefusesToOverwriteWhenEmpty) {
    BufferWriter writer;
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(0, 0); }), past_end);
}

TEST(BufferWriter, RefusesAPositionThatWouldWrap) {
    BufferWriter writer = writer_of(4);
    constexpr std::size_t last = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(last, 0); }), past_end);
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(last - 1, 0); }), past_end);
    EXPECT_EQ(failure_of([&] { writer.overwrite_bytes(last, Bytes{1}); }), past_end);
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 3, 4}));
}

TEST(BufferWriter, OverwritesRunsOfBytes) {
    BufferWriter writer = writer_of(5);
    writer.overwrite_bytes(1, Bytes{0xAA, 0xBB, 0xCC});
    EXPECT_EQ(writer.take(), (Bytes{1, 0xAA, 0xBB, 0xCC, 5}));
}

TEST(BufferWriter, OverwritesEverything) {
    BufferWriter writer = writer_of(2);
    writer.overwrite_bytes(0, Bytes{0xAA, 0xBB});
    EXPECT_EQ(writer.take(), (Bytes{0xAA, 0xBB}));
}

TEST(BufferWriter, RefusesARunThatIsOneByteTooLong) {
    BufferWriter writer = writer_of(3);
    EXPECT_EQ(failure_of([&] { writer.overwrite_bytes(1, Bytes{1, 2, 3}); }), past_end);
    EXPECT_EQ(failure_of([&] { writer.overwrite_bytes(4, Bytes{}); }), past_end);
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 3}));
}

TEST(BufferWriter, AppendsBehindWhatWasOverwritten) {
    BufferWriter writer = writer_of(2);
    writer.overwrite_u16(0, 0xABCD);
    writer.append_u8(0xEF);
    EXPECT_EQ(writer.take(), (Bytes{0xAB, 0xCD, 0xEF}));
}

TEST(BufferWriter, ShowsWhatWasWrittenSoFar) {
    const BufferWriter writer = writer_of(3);
    EXPECT_EQ(Bytes(writer.bytes().begin(), writer.bytes().end()), (Bytes{1, 2, 3}));
    EXPECT_EQ(writer.size(), 3U);
}

TEST(BufferWriter, IsEmptyAndUsableAfterItsBytesAreTaken) {
    BufferWriter writer = writer_of(3);
    EXPECT_EQ(writer.take(), (Bytes{1, 2, 3}));
    EXPECT_EQ(writer.size(), 0U);
    EXPECT_EQ(failure_of([&] { writer.overwrite_u16(0, 0); }), past_end);
    writer.append_u8(9);
    EXPECT_EQ(writer.take(), Bytes{9});
}

TEST(BufferWriter, WritesWhatTheReaderReads) {
    BufferWriter writer;
    writer.append_u8(0x8F);
    writer.append_u16(0x8FFF);
    writer.append_uint(0x8FABCD, 3);
    writer.append_uint(0x8FABCDEF, 4);
    BufferReader reader(writer.bytes());
    EXPECT_EQ(reader.read_u8(), 0x8F);
    EXPECT_EQ(reader.read_u16(), 0x8FFF);
    EXPECT_EQ(reader.read_uint(3), 0x8FABCDU);
    EXPECT_EQ(reader.read_uint(4), 0x8FABCDEFU);
    EXPECT_EQ(reader.remaining(), 0U);
}

}  // namespace
}  // namespace quarn::net
