#include "quarn/radius/constant_time.h"

#include <gtest/gtest.h>

#include "testing/hex.h"

namespace quarn::subscriber::radius {
namespace {

using test::hex;

TEST(EqualInConstantTime, HoldsForEqualBytes) {
    EXPECT_TRUE(equal_in_constant_time(hex("00 01 fe ff"), hex("00 01 fe ff")));
}

TEST(EqualInConstantTime, HoldsForNothingAndNothing) {
    EXPECT_TRUE(equal_in_constant_time({}, {}));
}

TEST(EqualInConstantTime, FailsForOneDifferentBitInAnyByte) {
    const Bytes bytes = hex("00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f");
    for (std::size_t i = 0; i < 8 * bytes.size(); ++i) {
        Bytes changed = bytes;
        changed[i / 8] ^= static_cast<std::uint8_t>(1U << i % 8);
        EXPECT_FALSE(equal_in_constant_time(bytes, changed)) << "bit " << i;
    }
}

TEST(EqualInConstantTime, FailsForDifferentLengthsWithACommonBeginning) {
    EXPECT_FALSE(equal_in_constant_time(hex("01 02"), hex("01 02 03")));
    EXPECT_FALSE(equal_in_constant_time(hex("01 02 03"), hex("01 02")));
    EXPECT_FALSE(equal_in_constant_time(hex("00"), {}));
    EXPECT_FALSE(equal_in_constant_time({}, hex("00")));
}

}  // namespace
}  // namespace quarn::subscriber::radius
