#include "quarn/radius/bytes.h"

#include <gtest/gtest.h>

#include "support/packets.h"

namespace quarn::subscriber::radius {
namespace {

TEST(BytesFromU32, are_in_network_order) {
    EXPECT_EQ(test::to_hex(bytes_from_u32(0x01020304)), "01020304");
}

TEST(BytesFromU32, cover_the_whole_range) {
    EXPECT_EQ(test::to_hex(bytes_from_u32(0)), "00000000");
    EXPECT_EQ(test::to_hex(bytes_from_u32(255)), "000000ff");
    EXPECT_EQ(test::to_hex(bytes_from_u32(0x80000000)), "80000000");
    EXPECT_EQ(test::to_hex(bytes_from_u32(4294967295)), "ffffffff");
}

TEST(Zero16, is_sixteen_zero_bytes) {
    EXPECT_EQ(test::to_hex(ZERO16), "00000000000000000000000000000000");
}

TEST(NewAuthenticator, is_all_zero) {
    const Authenticator authenticator{};
    EXPECT_EQ(authenticator, ZERO16);
}

}  // namespace
}  // namespace quarn::subscriber::radius
