#include "quarn/radius/code_path.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <unordered_map>

namespace quarn::subscriber::radius {
namespace {

TEST(CodePathToString, JoinsDecimalNumbersByDots) {
    EXPECT_EQ(radius_code_path_to_string({26, 9, 1}), "26.9.1");
    EXPECT_EQ(radius_code_path_to_string({241, 1}), "241.1");
    EXPECT_EQ(radius_code_path_to_string({245, 1, 2}), "245.1.2");
}

TEST(CodePathToString, OfOneElementIsItsNumber) {
    EXPECT_EQ(radius_code_path_to_string({1}), "1");
    EXPECT_EQ(radius_code_path_to_string({0}), "0");
}

TEST(CodePathToString, OfAnEmptyPathIsEmpty) {
    EXPECT_EQ(radius_code_path_to_string({}), "");
}

TEST(CodePathToString, WritesUnsignedNumbers) {
    EXPECT_EQ(radius_code_path_to_string({4294967295, 2147483648, 0}), "4294967295.2147483648.0");
}

TEST(CodePathToString, WritesZerosBetweenDots) {
    EXPECT_EQ(radius_code_path_to_string({0, 0, 0}), "0.0.0");
}

TEST(CodePathToString, WritesPathsOfAnyLength) {
    EXPECT_EQ(radius_code_path_to_string({241, 9, 1, 4, 10, 6, 7, 8}), "241.9.1.4.10.6.7.8");
}

struct KnownHash {
    CodePath path;
    std::uint64_t hash;
};

TEST(CodePathHash, OfKnownPaths) {
    // 64-bit FNV-1a over whole elements with this system's starting value, worked out apart from this
    // program.
    const KnownHash rows[] = {
        {{}, 0x14650FB0739D0383},
        {{0}, 0x44BD2BD473CCF799},
        {{1}, 0x44BD2AD473CCF5E6},
        {{26}, 0x44BD41D473CD1CFB},
        {{26, 9, 1}, 0x67B6424FA6683A75},
        {{26, 1, 9}, 0x67D16A4FA67F4625},
        {{241, 1}, 0x9A2F4E00C517A4F5},
        {{245, 1, 2}, 0x38AC6E4EFACD4A61},
        {{4294967295}, 0x0AB624FE8C3306B4},
        {{0, 0}, 0x9A691300C548B8FB},
        {{1, 2, 3, 4, 5}, 0x41AFD689AA8B2A9A},
    };
    for (const KnownHash& row : rows) {
        SCOPED_TRACE(radius_code_path_to_string(row.path));
        EXPECT_EQ(CodePathHash{}(row.path), row.hash);
    }
}

TEST(CodePathHash, TellsPathsOfOneNumberApartByLength) {
    EXPECT_NE(CodePathHash{}({0}), CodePathHash{}({}));
    EXPECT_NE(CodePathHash{}({0}), CodePathHash{}({0, 0}));
}

TEST(CodePathHash, ServesAsTheHashOfAMap) {
    std::unordered_map<CodePath, int, CodePathHash> map;
    map[{26, 9, 1}] = 1;
    map[{26, 9, 2}] = 2;
    map[{26, 9}] = 3;
    map[{26, 9, 1}] = 4;
    EXPECT_EQ(map.size(), 3U);
    EXPECT_EQ(map.at({26, 9, 1}), 4);
    EXPECT_EQ(map.at({26, 9}), 3);
    EXPECT_EQ(map.count({26}), 0U);
}

}  // namespace
}  // namespace quarn::subscriber::radius
