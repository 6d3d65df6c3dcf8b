#include "quarn/utils/case_insensitive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quarn::utils {
namespace {

using namespace std::string_view_literals;

struct KnownHash {
    std::string_view key;
    std::uint64_t hash;
};

// 64-bit FNV-1a with this system's starting value, worked out apart from this program.
constexpr KnownHash known_hashes[] = {
    {""sv, 0x14650FB0739D0383},
    {"a"sv, 0x44BD8AD473CD9906},
    {"z"sv, 0x44BDA1D473CDC01B},
    {"\0"sv, 0x44BD2BD473CCF799},
    {"\xFF"sv, 0x44BD24D473CCEBB4},
    {"abc"sv, 0xE16801510DB89EFD},
    {"@[`{"sv, 0x3D2052B46824C10B},
    {"user-name"sv, 0xF6F6CCA2F1C17CD4},
    {"framed-protocol"sv, 0xF962FF0B15E24DAF},
    {"attr-26.9.77"sv, 0x608C7DE8E65D1B16},
    {"\xC3\x89"sv, 0x9984EA00C4867B0B},  // U+00C9, E with acute
    {"\xC3\xA9"sv, 0x99850A00C486B16B},  // U+00E9, e with acute
};

TEST(CaseInsensitiveHash, OfKnownKeys) {
    for (const KnownHash& row : known_hashes) {
        SCOPED_TRACE(row.key);
        EXPECT_EQ(CaseInsensitiveHash{}(row.key), row.hash);
    }
}

TEST(CaseInsensitiveHash, OfTheEmptyKeyIsTheStartingValue) {
    EXPECT_EQ(CaseInsensitiveHash{}(""), 1469598103934665603U);
    EXPECT_EQ(fnv_start, 1469598103934665603U);
    EXPECT_EQ(fnv_prime, 1099511628211U);
}

TEST(CaseInsensitiveHash, IsTheSameInEveryCase) {
    EXPECT_EQ(CaseInsensitiveHash{}("ABC"), 0xE16801510DB89EFDU);
    EXPECT_EQ(CaseInsensitiveHash{}("aBc"), 0xE16801510DB89EFDU);
    EXPECT_EQ(CaseInsensitiveHash{}("User-Name"), 0xF6F6CCA2F1C17CD4U);
    EXPECT_EQ(CaseInsensitiveHash{}("FRAMED-PROTOCOL"), 0xF962FF0B15E24DAFU);
}

TEST(CaseInsensitiveHash, FoldsEveryLetterAndNothingElse) {
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE("byte " + std::to_string(byte));
        const int folded = byte >= 65 && byte <= 90 ? byte + 32 : byte;
        const std::string key(1, static_cast<char>(byte));
        const std::uint64_t wanted =
            (0x14650FB0739D0383U ^ static_cast<std::uint64_t>(folded)) * 0x100000001B3U;
        EXPECT_EQ(CaseInsensitiveHash{}(key), wanted);
    }
}

TEST(CaseInsensitiveHash, DependsOnTheOrderOfBytes) {
    EXPECT_NE(CaseInsensitiveHash{}("ab"), CaseInsensitiveHash{}("ba"));
}

TEST(SeededCaseInsensitiveHash, IsOneForAllMapsOfAProcess) {
    EXPECT_EQ(SeededCaseInsensitiveHash()("User-Name"), SeededCaseInsensitiveHash()("User-Name"));
    EXPECT_EQ(hash_seed(), hash_seed());
}

TEST(SeededCaseInsensitiveHash, IsTheSameInEveryCase) {
    EXPECT_EQ(SeededCaseInsensitiveHash()("User-Name"), SeededCaseInsensitiveHash()("uSER-nAME"));
}

TEST(SeededCaseInsensitiveHash, CannotBeToldFromTheKey) {
    EXPECT_NE(SeededCaseInsensitiveHash()("User-Name"), CaseInsensitiveHash()("User-Name"));
}

// The keys of unknown attributes, chosen as a sender would who knows that a map has 13 buckets.
TEST(SeededCaseInsensitiveHash, SpreadsKeysThatAreChosenForOneBucket) {
    constexpr std::size_t buckets = 13;
    std::vector<std::string> chosen;
    for (int vendor = 0; chosen.size() < 1000; ++vendor) {
        std::string key = "attr-26." + std::to_string(vendor) + ".1";
        if (CaseInsensitiveHash()(key) % buckets == 0) {
            chosen.push_back(std::move(key));
        }
    }
    std::array<std::size_t, buckets> filled{};
    for (const std::string& key : chosen) {
        ++filled[SeededCaseInsensitiveHash()(key) % buckets];
    }
    // 77 in each bucket on average, with a standard deviation below 9.
    EXPECT_LT(*std::max_element(filled.begin(), filled.end()), 77U + 10U * 9U);
}

TEST(CaseInsensitiveEqual, IgnoresTheCaseOfAsciiLetters) {
    EXPECT_TRUE(CaseInsensitiveEqual{}("User-Name", "user-name"));
    EXPECT_TRUE(CaseInsensitiveEqual{}("USER-NAME", "uSeR-nAmE"));
    EXPECT_TRUE(CaseInsensitiveEqual{}("ABCDEFGHIJKLMNOPQRSTUVWXYZ", "abcdefghijklmnopqrstuvwxyz"));
}

TEST(CaseInsensitiveEqual, HoldsForEqualAndEmptyKeys) {
    EXPECT_TRUE(CaseInsensitiveEqual{}("", ""));
    EXPECT_TRUE(CaseInsensitiveEqual{}("26.9.1", "26.9.1"));
}

TEST(CaseInsensitiveEqual, WantsTheSameLength) {
    EXPECT_FALSE(CaseInsensitiveEqual{}("user", "user-name"));
    EXPECT_FALSE(CaseInsensitiveEqual{}("user-name", "user"));
    EXPECT_FALSE(CaseInsensitiveEqual{}("", "a"));
    EXPECT_FALSE(CaseInsensitiveEqual{}("a\0"sv, "a"sv));
}

TEST(CaseInsensitiveEqual, FailsForKeysThatDifferInOneByte) {
    EXPECT_FALSE(CaseInsensitiveEqual{}("User-Name", "User-Namf"));
    EXPECT_FALSE(CaseInsensitiveEqual{}("User-Name", "User_Name"));
    EXPECT_FALSE(CaseInsensitiveEqual{}("Xser-Name", "User-Name"));
}

TEST(CaseInsensitiveEqual, DoesNotFoldTheNeighboursOfTheLetters) {
    EXPECT_FALSE(CaseInsensitiveEqual{}("@", "`"));
    EXPECT_FALSE(CaseInsensitiveEqual{}("[", "{"));
    EXPECT_FALSE(CaseInsensitiveEqual{}("0", "P"));
}

TEST(CaseInsensitiveEqual, ComparesHighBytesExactly) {
    EXPECT_FALSE(CaseInsensitiveEqual{}("\xC3\x89", "\xC3\xA9"));  // U+00C9 and U+00E9
    EXPECT_FALSE(CaseInsensitiveEqual{}("\xC1", "\xE1"));
    EXPECT_TRUE(CaseInsensitiveEqual{}("\xC3\x89t\xC3\x89", "\xC3\x89T\xC3\x89"));
}

TEST(CaseInsensitiveFunctors, MakeAMapWhoseKeysDifferInMoreThanCase) {
    std::unordered_map<std::string, int, CaseInsensitiveHash, CaseInsensitiveEqual> map;
    EXPECT_TRUE(map.emplace("User-Name", 1).second);
    EXPECT_FALSE(map.emplace("USER-NAME", 2).second);
    EXPECT_TRUE(map.emplace("User-Names", 3).second);
    EXPECT_EQ(map.at("user-name"), 1);
}

TEST(CaseInsensitiveFunctors, FindByAViewWithoutMakingAKey) {
    std::unordered_map<std::string, int, CaseInsensitiveHash, CaseInsensitiveEqual> map;
    map.emplace("User-Name", 1);
    const std::string_view within = "the user-name of";
    const auto found = map.find(within.substr(4, 9));
    ASSERT_NE(found, map.end());
    EXPECT_EQ(found->first, "User-Name");
}

}  // namespace
}  // namespace quarn::utils
