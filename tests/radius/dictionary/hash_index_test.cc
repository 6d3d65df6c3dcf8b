#include "dictionary/hash_index.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace quarn::subscriber::radius {
namespace {

/// A table of names with an index, which hashes them as it is told to.
class Names {
  public:
    explicit Names(std::function<std::size_t(const std::string&)> hash) : hash_(std::move(hash)) {}

    void add(const std::string& name) {
        names_.push_back(name);
        index_.insert_or_assign(hash_(name), static_cast<std::uint32_t>(names_.size() - 1), is(name));
    }

    std::optional<std::uint32_t> find(const std::string& name) const {
        return index_.find(hash_(name), is(name));
    }

  private:
    std::function<bool(std::uint32_t)> is(const std::string& name) const {
        return [this, name](std::uint32_t position) { return names_.at(position) == name; };
    }

    std::function<std::size_t(const std::string&)> hash_;
    std::vector<std::string> names_;
    HashIndex index_;
};

TEST(HashIndex, FindsNothingWhenEmpty) {
    const Names names{std::hash<std::string>()};
    EXPECT_EQ(names.find("a"), std::nullopt);
}

TEST(HashIndex, FindsThePositionOfAKey) {
    Names names{std::hash<std::string>()};
    names.add("a");
    names.add("b");

    EXPECT_EQ(names.find("a"), 0U);
    EXPECT_EQ(names.find("b"), 1U);
    EXPECT_EQ(names.find("c"), std::nullopt);
}

TEST(HashIndex, FindsTheLatestPositionOfAKey) {
    Names names{std::hash<std::string>()};
    names.add("a");
    names.add("b");
    names.add("a");

    EXPECT_EQ(names.find("a"), 2U);
    EXPECT_EQ(names.find("b"), 1U);
}

/// Every way in which hashes can be alike: not at all, all of them, and in the bits that choose a slot.
class HashIndexOf : public testing::TestWithParam<std::size_t (*)(std::size_t)> {};

TEST_P(HashIndexOf, AgreesWithAMap) {
    std::mt19937 random(1);
    Names names{[](const std::string& name) { return GetParam()(std::hash<std::string>()(name)); }};
    std::map<std::string, std::uint32_t> expected;
    for (std::uint32_t position = 0; position < 1000; ++position) {
        const std::string name = std::to_string(random() % 600);
        names.add(name);
        expected[name] = position;
    }
    for (int i = 0; i < 700; ++i) {
        const std::string name = std::to_string(i);
        const auto entry = expected.find(name);
        EXPECT_EQ(names.find(name), entry != expected.end() ? std::optional(entry->second) : std::nullopt)
            << name;
    }
}

INSTANTIATE_TEST_SUITE_P(Hashes, HashIndexOf,
                         testing::Values([](std::size_t hash) { return hash; },
                                         [](std::size_t) -> std::size_t { return 7; },
                                         [](std::size_t hash) { return (hash % 65536) << 48; },
                                         [](std::size_t hash) { return hash >> 12 & 0xFFFFFFFF; }));

}  // namespace
}  // namespace quarn::subscriber::radius
