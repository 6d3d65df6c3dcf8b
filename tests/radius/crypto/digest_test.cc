#include "crypto/digest.h"

#include <gtest/gtest.h>
#include <openssl/crypto.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "testing/no_algorithms.h"
#include "testing/packets.h"

namespace quarn::subscriber::radius {
namespace {

using test::hex;
using test::to_hex;
using utils::as_bytes;

// OpenSSL's own allocations, counted. It takes other memory functions only before its first allocation.
std::atomic<std::size_t> openssl_allocations = 0;

void* counting_malloc(std::size_t size, const char*, int) {
    ++openssl_allocations;
    return std::malloc(size);
}

void* counting_realloc(void* block, std::size_t size, const char*, int) {
    ++openssl_allocations;
    return std::realloc(block, size);
}

void uncounted_free(void* block, const char*, int) {
    std::free(block);
}

const bool allocations_are_counted =
    CRYPTO_set_mem_functions(counting_malloc, counting_realloc, uncounted_free) == 1;

template <typename Work>
std::size_t allocations_of(Work work) {
    const std::size_t before = openssl_allocations;
    work();
    return openssl_allocations - before;
}

std::string md5_of(std::string_view text) {
    return to_hex(md5_spans({as_bytes(text)}));
}

std::string hmac_of(byte_span key, byte_span message) {
    return to_hex(hmac_md5_spans(utils::as_text(key), {message}));
}

struct Md5Case {
    std::string_view message;
    std::string_view digest;
};

// RFC 1321, appendix A.5.
constexpr Md5Case rfc1321_suite[] = {
    {"", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
    {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
     "57edf4a22be3c955ac49da2e2107b67a"},
};

TEST(Md5, GivesTheDigestsOfRfc1321) {
    for (const Md5Case& row : rfc1321_suite) {
        EXPECT_EQ(md5_of(row.message), row.digest) << row.message;
    }
}

TEST(Md5, OfNoSpansIsThatOfTheEmptyText) {
    EXPECT_EQ(to_hex(md5_spans({})), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Md5, OfEmptySpansIsThatOfTheEmptyText) {
    EXPECT_EQ(to_hex(md5_spans({byte_span(), byte_span()})), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Md5, OfTwoSpansIsThatOfTheOneFollowedByTheOther) {
    EXPECT_EQ(to_hex(md5_spans({as_bytes("message "), as_bytes("digest")})), md5_of("message digest"));
}

TEST(Md5, TakesTheSpansInTheirOrder) {
    EXPECT_EQ(to_hex(md5_spans({as_bytes("c"), as_bytes("ab")})), md5_of("cab"));
}

TEST(Md5, PassesOverEmptySpansAnywhere) {
    const byte_span nothing;
    EXPECT_EQ(to_hex(md5_spans({nothing, as_bytes("a"), nothing, as_bytes("bc"), nothing})), md5_of("abc"));
}

TEST(Md5, IsTheSameWhereverTheMessageIsCut) {
    const Bytes message = test::pattern(200);
    const byte_span whole = message;
    const std::string expected = to_hex(md5_spans({whole}));
    for (std::size_t cut = 0; cut <= message.size(); ++cut) {
        ASSERT_EQ(to_hex(md5_spans({whole.first(cut), whole.subspan(cut)})), expected) << "cut at " << cut;
    }
}

TEST(Md5, TakesZeroBytesAsAnyOther) {
    EXPECT_EQ(to_hex(md5_spans({hex("00")})), "93b885adfe0da089cdf634904fd59f71");
}

struct HmacCase {
    Bytes key;
    Bytes message;
    std::string_view digest;
};

Bytes repeated(std::uint8_t byte, std::size_t count) {
    return Bytes(count, byte);
}

// RFC 2202, section 2.
const HmacCase rfc2202_cases[] = {
    {repeated(0x0b, 16), utils::to_bytes("Hi There"), "9294727a3638bb1c13f48ef8158bfc9d"},
    {utils::to_bytes("Jefe"), utils::to_bytes("what do ya want for nothing?"),
     "750c783e6ab0b503eaa86e310a5db738"},
    {repeated(0xaa, 16), repeated(0xdd, 50), "56be34521d144c88dbb8c733f0e8b3f6"},
    {hex("0102030405060708090a0b0c0d0e0f10111213141516171819"), repeated(0xcd, 50),
     "697eaf0aca3a3aea3a75164746ffaa79"},
    {repeated(0x0c, 16), utils::to_bytes("Test With Truncation"), "56461ef2342edc00f9bab995690efd4c"},
    {repeated(0xaa, 80), utils::to_bytes("Test Using Larger Than Block-Size Key - Hash Key First"),
     "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd"},
    {repeated(0xaa, 80),
     utils::to_bytes("Test Using Larger Than Block-Size Key and Larger Than One Block-Size Data"),
     "6f630fad67cda0ee1fb1f562db3aa53e"},
};

TEST(HmacMd5, GivesTheDigestsOfRfc2202) {
    int number = 0;
    for (const HmacCase& row : rfc2202_cases) {
        EXPECT_EQ(hmac_of(row.key, row.message), row.digest) << "case " << ++number;
    }
}

TEST(HmacMd5, GivesTheSameDigestsAgainWithKeysThatItKnows) {
    for (int round = 0; round < 3; ++round) {
        for (const HmacCase& row : rfc2202_cases) {
            EXPECT_EQ(hmac_of(row.key, row.message), row.digest);
        }
    }
}

TEST(HmacMd5, TakesTheEmptyKey) {
    EXPECT_EQ(to_hex(hmac_md5_spans("", {})), "74e6f7298a9c2d168935f58c001bad88");
    EXPECT_EQ(to_hex(hmac_md5_spans("", {as_bytes("abc")})), "dd2701993d29fdd0b032c233cec63403");
    EXPECT_EQ(to_hex(hmac_md5_spans("", {})), "74e6f7298a9c2d168935f58c001bad88");
}

TEST(HmacMd5, TakesAViewOfNothingAsTheEmptyKey) {
    EXPECT_EQ(to_hex(hmac_md5_spans(std::string_view(), {})), "74e6f7298a9c2d168935f58c001bad88");
}

TEST(HmacMd5, TakesTheWholeKeyZeroBytesIncluded) {
    const std::string_view with_zero("Je\0fe", 5);
    EXPECT_EQ(to_hex(hmac_md5_spans(with_zero, {as_bytes("what do ya want for nothing?")})),
              "aef1d2067e5e1088c143b888435c7ed2");
    EXPECT_NE(hmac_md5_spans(with_zero, {}), hmac_md5_spans("Je", {}));
}

TEST(HmacMd5, TakesKeysAroundTheBlockSizeAndFarBeyond) {
    const std::string message = "message";
    EXPECT_EQ(to_hex(hmac_md5_spans(std::string(63, 'k'), {as_bytes(message)})),
              "9ab9697666031c496b61b68b53701e17");
    EXPECT_EQ(to_hex(hmac_md5_spans(std::string(64, 'k'), {as_bytes(message)})),
              "5b3e99b172f3c3b5aed9a324c65ba911");
    EXPECT_EQ(to_hex(hmac_md5_spans(std::string(65, 'k'), {as_bytes(message)})),
              "dc23d5d92d6f1feb3502b61d7102376b");
    EXPECT_EQ(to_hex(hmac_md5_spans(std::string(5000, 'k'), {as_bytes(message)})),
              "6870b9bf380b7d1c51ed9741e4d4f52e");
}

TEST(HmacMd5, OfSeveralSpansIsThatOfTheirConcatenation) {
    const byte_span nothing;
    EXPECT_EQ(to_hex(hmac_md5_spans("Jefe", {nothing, as_bytes("what do ya "), nothing,
                                             as_bytes("want for nothing?"), nothing})),
              "750c783e6ab0b503eaa86e310a5db738");
}

TEST(HmacMd5, KeepsSecretsApart) {
    const Bytes message = test::pattern(100);
    std::vector<Authenticator> first;
    for (int i = 0; i < 50; ++i) {
        first.push_back(hmac_md5_spans("secret-" + std::to_string(i), {message}));
    }
    for (int i = 49; i >= 0; --i) {
        EXPECT_EQ(hmac_md5_spans("secret-" + std::to_string(i), {message}),
                  first[static_cast<std::size_t>(i)]);
        for (int j = 0; j < i; ++j) {
            EXPECT_NE(first[static_cast<std::size_t>(i)], first[static_cast<std::size_t>(j)]);
        }
    }
}

TEST(HmacMd5, KeysAContextOnceForEachSecretOfAThread) {
    ASSERT_TRUE(allocations_are_counted);
    const Bytes message = test::pattern(100);
    const auto digest = [&](std::string_view secret) {
        return allocations_of([&] { hmac_md5_spans(secret, {message}); });
    };
    // A thread of its own knows no secret yet.
    std::thread([&] {
        hmac_md5_spans("what a first use creates besides a context", {message});
        const std::size_t first = digest("one secret");
        const std::size_t again = digest("one secret");
        EXPECT_LT(again, first);
        EXPECT_GT(digest("another secret"), again);
        EXPECT_GT(digest(""), again);
        EXPECT_EQ(digest("one secret"), again);
        EXPECT_EQ(digest("another secret"), again);
        EXPECT_EQ(digest(""), again);
    }).join();
}

std::string numbered_secret(std::size_t number) {
    return "secret-" + std::to_string(number);
}

TEST(HmacMd5, KeepsTheContextsOfTheSecretsUsedLast) {
    ASSERT_TRUE(allocations_are_counted);
    std::thread([] {
        const auto use = [](std::size_t number) {
            const std::string secret = numbered_secret(number);
            return allocations_of([&] { hmac_md5_spans(secret, {}); });
        };
        for (std::size_t i = 0; i < max_keyed_contexts; ++i) {
            use(i);
        }
        const std::size_t kept = use(0);  // of all of them, 1 is now the one not used for the longest time
        const std::size_t made_anew = use(max_keyed_contexts);
        EXPECT_LT(kept, made_anew);
        EXPECT_EQ(use(0), kept);
        for (std::size_t i = 2; i <= max_keyed_contexts; ++i) {
            EXPECT_EQ(use(i), kept) << i;
        }
        EXPECT_EQ(use(1), made_anew);  // in the place of 0
        EXPECT_EQ(use(0), made_anew);  // in the place of 2
        EXPECT_EQ(use(3), kept);
    }).join();
}

TEST(HmacMd5, IsRightForSecretsWhoseContextsAreGone) {
    constexpr std::size_t secrets = 3 * max_keyed_contexts;
    std::vector<Authenticator> first;
    for (std::size_t i = 0; i < secrets; ++i) {
        first.push_back(hmac_md5_spans(numbered_secret(i), {as_bytes("message")}));
    }
    EXPECT_EQ(to_hex(first.front()), "608fae378d2e498b70a9287992850aa9");
    for (std::size_t i = 0; i < secrets; ++i) {
        EXPECT_EQ(hmac_md5_spans(numbered_secret(i), {as_bytes("message")}), first[i]) << i;
    }
    EXPECT_EQ(to_hex(hmac_md5_spans("", {})), "74e6f7298a9c2d168935f58c001bad88");
    for (std::size_t i = 0; i < secrets; ++i) {
        EXPECT_EQ(hmac_md5_spans(numbered_secret(i), {as_bytes("message")}), first[i]) << i;
    }
    EXPECT_EQ(to_hex(hmac_md5_spans("", {})), "74e6f7298a9c2d168935f58c001bad88");
}

TEST(Md5, UsesTheObjectsOfAWarmThreadAgain) {
    ASSERT_TRUE(allocations_are_counted);
    const Bytes message = test::pattern(100);
    std::size_t cold = 0;
    std::size_t warm = 0;
    std::thread([&] {
        cold = allocations_of([&] { md5_spans({message}); });
        warm = allocations_of([&] { md5_spans({message}); });
    }).join();
    EXPECT_LT(warm, cold);
}

TEST(Digests, AreSixteenZeroBytesWhereOpensslHasNoMd5) {
    std::string md5 = "not run";
    std::string hmac = "not run";
    test::without_algorithms([&] {
        md5 = md5_of("abc");
        hmac = to_hex(hmac_md5_spans("a secret that no other test uses", {as_bytes("abc")}));
    });
    EXPECT_EQ(md5, test::repeat("00", 16));
    EXPECT_EQ(hmac, test::repeat("00", 16));
}

TEST(Digests, AreRightInSeveralThreadsAtOnce) {
    constexpr std::size_t threads = 8;
    std::array<std::size_t, threads> wrong{};
    std::vector<std::thread> running;
    for (std::size_t thread = 0; thread < threads; ++thread) {
        running.emplace_back([&wrong, thread] {
            for (int round = 0; round < 200; ++round) {
                for (const HmacCase& row : rfc2202_cases) {
                    wrong[thread] += hmac_of(row.key, row.message) != row.digest;
                }
                for (const Md5Case& row : rfc1321_suite) {
                    wrong[thread] += md5_of(row.message) != row.digest;
                }
            }
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    EXPECT_EQ(wrong, (std::array<std::size_t, threads>{}));
}

}  // namespace
}  // namespace quarn::subscriber::radius
