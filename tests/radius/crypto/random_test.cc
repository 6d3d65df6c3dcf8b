#include "quarn/radius/random.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

#include "testing/fixed_random.h"
#include "testing/packets.h"

namespace quarn::subscriber::radius {
namespace {

TEST(RandomAuthenticator, IsSixteenBytesOfTheGenerator) {
    const test::FixedRandom fixed(1);
    EXPECT_EQ(test::to_hex(random_authenticator()), "0102030405060708090a0b0c0d0e0f10");
}

TEST(RandomAuthenticator, DiffersFromCallToCall) {
    std::set<Authenticator> seen;
    for (int i = 0; i < 100; ++i) {
        seen.insert(random_authenticator());
    }
    EXPECT_EQ(seen.size(), 100U);
}

TEST(RandomAuthenticator, ThrowsWithoutAGenerator) {
    const test::NoRandom none;
    try {
        random_authenticator();
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "random_authenticator: RAND_bytes failed (CSPRNG unavailable)");
    }
}

TEST(RandomSalt, IsTheFirstRandomByteWithItsTopBitSetAndThenTheSecond) {
    const test::FixedRandom fixed(1);
    EXPECT_EQ(random_salt(), 0x8102);
    EXPECT_EQ(random_salt(), 0x8304);
}

TEST(RandomSalt, KeepsATopBitThatIsSetAlready) {
    const test::FixedRandom fixed(0xfe);
    EXPECT_EQ(random_salt(), 0xfeff);
}

TEST(RandomSalt, AlwaysHasItsTopBitSetAndVariesInAllOthers) {
    unsigned ones = 0;
    unsigned zeros = 0;
    for (int i = 0; i < 1000; ++i) {
        const std::uint16_t salt = random_salt();
        ASSERT_EQ(salt & 0x8000, 0x8000);
        ones |= salt;
        zeros |= 0xffffU ^ salt;
    }
    EXPECT_EQ(ones, 0xffffU);
    EXPECT_EQ(zeros, 0x7fffU);
}

TEST(RandomSalt, ThrowsWithoutAGenerator) {
    const test::NoRandom none;
    try {
        random_salt();
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "random_salt: RAND_bytes failed (CSPRNG unavailable)");
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
