#include "quarn/radius/authenticator.h"

#include <gtest/gtest.h>

#include "testing/packets.h"

namespace quarn::subscriber::radius {
namespace {

TEST(BytesFromU32, AreInNetworkOrder) {
    EXPECT_EQ(test::to_hex(bytes_from_u32(0x01020304)), "01020304");
}

TEST(BytesFromU32, CoverTheWholeRange) {
    EXPECT_EQ(test::to_hex(bytes_from_u32(0)), "00000000");
    EXPECT_EQ(test::to_hex(bytes_from_u32(255)), "000000ff");
    EXPECT_EQ(test::to_hex(bytes_from_u32(0x80000000)), "80000000");
    EXPECT_EQ(test::to_hex(bytes_from_u32(4294967295)), "ffffffff");
}

TEST(Zero16, IsSixteenZeroBytes) {
    EXPECT_EQ(test::to_hex(ZERO16), "00000000000000000000000000000000");
}

TEST(NewAuthenticator, IsAllZero) {
    const Authenticator authenticator{};
    EXPECT_EQ(authenticator, ZERO16);
}

}  // namespace
}  // namespace quarn::subscriber::radius
