#include "quarn/net/buffer_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "testing/thrown_text.h"

namespace quarn::net {
namespace {

using Bytes = std::vector<std::uint8_t>;

static_assert(std::is_same_v<decltype(std::declval<BufferReader>().position()), std::uint64_t>);

constexpr const char* past_end = "BufferReader: attempt to read past end of buffer";

Bytes copy_of(std::span<const std::uint8_t> bytes) {
    return {bytes.begin(), bytes.end()};
}

/// The reader that owns its bytes and the one that views them read alike.
template <typename Reader>
class EveryReader : public testing::Test {
  protected:
    static Reader over(const Bytes& bytes) { return Reader(bytes.data(), bytes.size()); }

    template <typename Read>
    static std::string failure_of(const Read& read) {
        return test::thrown_text<std::out_of_range>(read);
    }
};

using Readers = testing::Types<BufferReader, BufferView>;
TYPED_TEST_SUITE(EveryReader, Readers);

TYPED_TEST(EveryReader, StartsAtPositionZero) {
    const Bytes bytes = {1, 2, 3};
    const auto reader = this->over(bytes);
    EXPECT_EQ(reader.position(), 0U);
    EXPECT_EQ(reader.remaining(), 3U);
}

TYPED_TEST(EveryReader, ReadsByteAfterByte) {
    const Bytes bytes = {0x00, 0x7F, 0x80, 0xFF};
    auto reader = this->over(bytes);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        EXPECT_EQ(reader.position(), i);
        EXPECT_EQ(reader.remaining(), bytes.size() - i);
        EXPECT_EQ(reader.read_u8(), bytes[i]);
    }
    EXPECT_EQ(reader.position(), 4U);
    EXPECT_EQ(reader.remaining(), 0U);
}

TYPED_TEST(EveryReader, ReadsSixteenBitsMostSignificantByteFirst) {
    const Bytes bytes = {0x12, 0x34, 0xFF, 0xFE, 0x00, 0x80, 0x80, 0x00};
    auto reader = this->over(bytes);
    EXPECT_EQ(reader.read_u16(), 0x1234);
    EXPECT_EQ(reader.position(), 2U);
    EXPECT_EQ(reader.read_u16(), 0xFFFE);
    EXPECT_EQ(reader.read_u16(), 0x0080);
    EXPECT_EQ(reader.read_u16(), 0x8000);
    EXPECT_EQ(reader.remaining(), 0U);
}

TYPED_TEST(EveryReader, ReadsSixteenBitsAtAnOddPosition) {
    const Bytes bytes = {0x01, 0xAB, 0xCD};
    auto reader = this->over(bytes);
    EXPECT_EQ(reader.read_u8(), 0x01);
    EXPECT_EQ(reader.read_u16(), 0xABCD);
}

TYPED_TEST(EveryReader, ReadsNumbersOfOneToFourBytes) {
    const Bytes bytes = {0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA};
    auto reader = this->over(bytes);
    EXPECT_EQ(reader.read_uint(1), 0xF1U);
    EXPECT_EQ(reader.read_uint(2), 0xF2F3U);
    EXPECT_EQ(reader.read_uint(3), 0xF4F5F6U);
    EXPECT_EQ(reader.read_uint(4), 0xF7F8F9FAU);
    EXPECT_EQ(reader.remaining(), 0U);
}

TYPED_TEST(EveryReader, ReadsRunsOfBytes) {
    const Bytes bytes = {1, 2, 3, 4, 5};
    auto reader = this->over(bytes);
    EXPECT_EQ(copy_of(reader.read_bytes(2)), (Bytes{1, 2}));
    EXPECT_EQ(reader.position(), 2U);
    EXPECT_EQ(copy_of(reader.read_bytes(0)), Bytes{});
    EXPECT_EQ(reader.position(), 2U);
    EXPECT_EQ(copy_of(reader.read_bytes(3)), (Bytes{3, 4, 5}));
}

TYPED_TEST(EveryReader, ReadsTheRest) {
    const Bytes bytes = {1, 2, 3};
    auto reader = this->over(bytes);
    reader.read_u8();
    EXPECT_EQ(copy_of(reader.read_rest()), (Bytes{2, 3}));
    EXPECT_EQ(reader.position(), 3U);
    EXPECT_EQ(copy_of(reader.read_rest()), Bytes{});
}

TYPED_TEST(EveryReader, OverNothingThrowsOnTheFirstRead) {
    TypeParam reader(nullptr, 0);
    EXPECT_EQ(reader.remaining(), 0U);
    EXPECT_EQ(this->failure_of([&] { reader.read_u8(); }), past_end);
    EXPECT_EQ(this->failure_of([&] { reader.read_u16(); }), past_end);
    EXPECT_EQ(this->failure_of([&] { reader.read_uint(1); }), past_end);
    EXPECT_EQ(this->failure_of([&] { reader.read_bytes(1); }), past_end);
    EXPECT_EQ(reader.position(), 0U);
    EXPECT_TRUE(reader.read_rest().empty());
}

TYPED_TEST(EveryReader, ThrowsAtTheEndAndStaysThere) {
    const Bytes bytes = {1};
    auto reader = this->over(bytes);
    reader.read_u8();
    EXPECT_EQ(this->failure_of([&] { reader.read_u8(); }), past_end);
    EXPECT_EQ(this->failure_of([&] { reader.read_u8(); }), past_end);
    EXPECT_EQ(reader.position(), 1U);
}

TYPED_TEST(EveryReader, KeepsALoneByteReadableAfterAFailedReadOfTwo) {
    const Bytes bytes = {0xAA, 0xBB, 0xCC};
    auto reader = this->over(bytes);
    reader.read_u16();
    EXPECT_EQ(this->failure_of([&] { reader.read_u16(); }), past_end);
    EXPECT_EQ(reader.position(), 2U);
    EXPECT_EQ(reader.remaining(), 1U);
    EXPECT_EQ(reader.read_u8(), 0xCC);
}

TYPED_TEST(EveryReader, StaysWhereItWasAfterAnyFailedRead) {
    const Bytes bytes = {1, 2, 3};
    auto reader = this->over(bytes);
    EXPECT_EQ(this->failure_of([&] { reader.read_uint(4); }), past_end);
    EXPECT_EQ(reader.position(), 0U);
    EXPECT_EQ(this->failure_of([&] { reader.read_bytes(4); }), past_end);
    EXPECT_EQ(reader.position(), 0U);
    EXPECT_EQ(reader.read_uint(3), 0x010203U);
}

TYPED_TEST(EveryReader, RefusesALengthThatWouldWrapThePosition) {
    const Bytes bytes = {1, 2, 3};
    auto reader = this->over(bytes);
    reader.read_u8();
    EXPECT_EQ(this->failure_of([&] { reader.read_bytes(std::numeric_limits<std::size_t>::max()); }),
              past_end);
    EXPECT_EQ(reader.position(), 1U);
}

TYPED_TEST(EveryReader, ReadsASpan) {
    const Bytes bytes = {0x12, 0x34, 0x56};
    TypeParam reader{std::span<const std::uint8_t>(bytes).subspan(1)};
    EXPECT_EQ(reader.remaining(), 2U);
    EXPECT_EQ(reader.read_u16(), 0x3456);
}

TYPED_TEST(EveryReader, GivesANestedPartAReaderThatEndsWithIt) {
    const Bytes bytes = {1, 2, 3, 4};
    auto reader = this->over(bytes);
    BufferView inner(reader.read_bytes(2));
    EXPECT_EQ(inner.read_u16(), 0x0102);
    EXPECT_EQ(this->failure_of([&] { inner.read_u8(); }), past_end);
    EXPECT_EQ(reader.read_u16(), 0x0304);
}

TEST(BufferReader, KeepsACopyWhenTheCallersBytesChangeOrGo) {
    auto bytes = std::make_unique<Bytes>(Bytes{0x11, 0x22, 0x33});
    BufferReader reader(bytes->data(), bytes->size());
    (*bytes)[0] = 0xFF;
    EXPECT_EQ(reader.read_u8(), 0x11);
    bytes.reset();
    EXPECT_EQ(reader.read_u16(), 0x2233);
}

TEST(BufferReader, WhenCopiedReadsOnItsOwn) {
    const Bytes bytes = {1, 2, 3};
    BufferReader reader(bytes.data(), bytes.size());
    reader.read_u8();
    BufferReader copy = reader;
    EXPECT_EQ(copy.read_u8(), 2);
    EXPECT_EQ(reader.position(), 1U);
    EXPECT_EQ(copy.position(), 2U);
}

TEST(BufferView, ReadsTheCallersBytesInPlace) {
    const Bytes bytes = {1, 2, 3};
    BufferView view(bytes.data(), bytes.size());
    view.read_u8();
    EXPECT_EQ(view.read_rest().data(), bytes.data() + 1);
}

}  // namespace
}  // namespace quarn::net
