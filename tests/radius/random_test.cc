#include "quarn/radius/random.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>
#include <string>

#include "support/fixed_random.h"
#include "support/packets.h"

namespace quarn::subscriber::radius {
namespace {

TEST(RandomAuthenticator, is_sixteen_bytes_of_the_generator) {
    const test::FixedRandom fixed(1);
    EXPECT_EQ(test::to_hex(random_authenticator()), "0102030405060708090a0b0c0d0e0f10");
}

TEST(RandomAuthenticator, differs_from_call_to_call) {
    std::set<Authenticator> seen;
    for (int i = 0; i < 100; ++i) {
        seen.insert(random_authenticator());
    }
    EXPECT_EQ(seen.size(), 100U);
}

TEST(RandomAuthenticator, throws_without_a_generator) {
    const test::NoRandom none;
    try {
        random_authenticator();
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "random_authenticator: RAND_bytes failed (CSPRNG unavailable)");
    }
}

TEST(RandomSalt, is_the_first_random_byte_with_its_top_bit_set_and_then_the_second) {
    const test::FixedRandom fixed(1);
    EXPECT_EQ(random_salt(), 0x8102);
    EXPECT_EQ(random_salt(), 0x8304);
}

TEST(RandomSalt, keeps_a_top_bit_that_is_set_already) {
    const test::FixedRandom fixed(0xfe);
    EXPECT_EQ(random_salt(), 0xfeff);
}

TEST(RandomSalt, always_has_its_top_bit_set_and_varies_in_all_others) {
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

TEST(RandomSalt, throws_without_a_generator) {
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
