#include "quarn/utils/bytes.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace quarn::utils {
namespace {

using namespace std::string_view_literals;

TEST(AsBytes, ViewsTheTextInPlace) {
    const std::string text = "abc";
    const byte_span view = as_bytes(text);
    EXPECT_EQ(static_cast<const void*>(view.data()), static_cast<const void*>(text.data()));
    EXPECT_EQ(view.size(), 3U);
    EXPECT_EQ(view[0], 0x61);
    EXPECT_EQ(view[2], 0x63);
}

TEST(AsText, ViewsTheBytesInPlace) {
    const Bytes bytes = {0x61, 0x62, 0x63};
    const std::string_view view = as_text(bytes);
    EXPECT_EQ(static_cast<const void*>(view.data()), static_cast<const void*>(bytes.data()));
    EXPECT_EQ(view, "abc");
}

TEST(ToBytes, CopiesEveryByteAsAnUnsignedNumber) {
    EXPECT_EQ(to_bytes("\x00\x7F\x80\xFF"sv), (Bytes{0x00, 0x7F, 0x80, 0xFF}));
}

TEST(ToText, CopiesEveryByte) {
    EXPECT_EQ(to_text(Bytes{0x00, 0x7F, 0x80, 0xFF}), std::string("\x00\x7F\x80\xFF", 4));
}

TEST(ToText, ReversesToBytesForEveryByte) {
    std::string every_byte;
    for (int byte = 0; byte < 256; ++byte) {
        every_byte += static_cast<char>(byte);
    }
    const Bytes bytes = to_bytes(every_byte);
    ASSERT_EQ(bytes.size(), 256U);
    EXPECT_EQ(bytes[255], 0xFF);
    EXPECT_EQ(to_text(bytes), every_byte);
}

TEST(Bytes, OfAnEmptyTextAreEmptyInBothDirections) {
    EXPECT_TRUE(as_bytes("").empty());
    EXPECT_TRUE(to_bytes("").empty());
    EXPECT_TRUE(as_text(Bytes{}).empty());
    EXPECT_TRUE(to_text(Bytes{}).empty());
}

}  // namespace
}  // namespace quarn::utils
