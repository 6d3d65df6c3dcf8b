#include "quarn/utils/small_vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace quarn::utils {
namespace {

using Numbers = SmallVector<int, 3>;
using Texts = SmallVector<std::string, 2>;

// Too long for a string to keep in itself, so that a leak or a double end of its life is found.
const std::string long_text(100, 'x');

bool is_inside(const Texts& texts) {
    const auto* const element = reinterpret_cast<const char*>(texts.begin());
    const auto* const vector = reinterpret_cast<const char*>(&texts);
    return element >= vector && element < vector + sizeof texts;
}

TEST(SmallVector, IsEmptyAtFirst) {
    const Numbers numbers;
    EXPECT_TRUE(numbers.empty());
    EXPECT_EQ(numbers.size(), 0U);
    EXPECT_EQ(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers.capacity(), 3U);
}

TEST(SmallVector, KeepsItsFirstElementsInItself) {
    Texts texts = {"a", "b"};
    EXPECT_TRUE(is_inside(texts));
    texts.push_back("c");
    EXPECT_FALSE(is_inside(texts));
    EXPECT_EQ(texts, (Texts{"a", "b", "c"}));
}

TEST(SmallVector, HoldsAnyNumberOfElementsInOrder) {
    Numbers numbers;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(numbers.emplace_back(i), i);
    }
    ASSERT_EQ(numbers.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i);
    }
    EXPECT_EQ(numbers.front(), 0);
    EXPECT_EQ(numbers.back(), 999);
}

TEST(SmallVector, GrowsByDoubling) {
    Numbers numbers;
    std::size_t moves = 0;
    for (int i = 0; i < 10'000; ++i) {
        const int* const before = numbers.begin();
        numbers.push_back(i);
        moves += numbers.begin() != before ? 1U : 0U;
    }
    EXPECT_LT(moves, 20U);
}

TEST(SmallVector, TakesAnElementOfItsOwnAtItsEnd) {
    Texts texts = {long_text, "b"};
    texts.push_back(texts.front());
    EXPECT_EQ(texts, (Texts{long_text, "b", long_text}));
}

TEST(SmallVector, AppendsARangeAsAWhole) {
    const std::vector<std::string> more = {"b", "c", "d"};
    Texts texts = {"a"};
    texts.append(more.begin(), more.end());
    texts.append(more.end(), more.end());
    EXPECT_EQ(texts, (Texts{"a", "b", "c", "d"}));
}

TEST(SmallVector, AppendsElementsByMovingThem) {
    std::vector<std::unique_ptr<int>> more;
    more.push_back(std::make_unique<int>(1));
    more.push_back(std::make_unique<int>(2));
    SmallVector<std::unique_ptr<int>, 1> owners;
    owners.append(std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    ASSERT_EQ(owners.size(), 2U);
    EXPECT_EQ(*owners[1], 2);
    EXPECT_EQ(more[1], nullptr);
}

/// A text that fails to be copied when it says "fail".
struct Fragile {
    explicit Fragile(std::string content) : text(std::move(content)) {}
    Fragile(const Fragile& other) : text(other.text) {
        if (text == "fail") {
            throw std::runtime_error("no copy");
        }
    }
    Fragile(Fragile&&) noexcept = default;
    Fragile& operator=(const Fragile&) = default;
    Fragile& operator=(Fragile&&) noexcept = default;
    ~Fragile() = default;

    std::string text;
};

TEST(SmallVector, IsUnchangedByAnAppendThatFails) {
    const std::vector<Fragile> more = [] {
        std::vector<Fragile> texts;
        texts.reserve(2);
        texts.emplace_back(long_text);
        texts.emplace_back("fail");
        return texts;
    }();
    SmallVector<Fragile, 1> texts;
    texts.emplace_back(long_text);
    EXPECT_THROW(texts.append(more.begin(), more.end()), std::runtime_error);
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].text, long_text);
    EXPECT_THROW((SmallVector<Fragile, 1>(more.begin(), more.end())), std::runtime_error);
}

TEST(SmallVector, IsCopiedElementByElementWhereverTheyAre) {
    for (const Texts& original : {Texts(), Texts{long_text}, Texts{long_text, "b", "c"}}) {
        Texts copy(original);
        EXPECT_EQ(copy, original);
        copy.push_back("more");
        EXPECT_NE(copy, original);
        copy = original;
        EXPECT_EQ(copy, original);
    }
}

TEST(SmallVector, SurvivesAssignmentToItself) {
    Texts texts = {long_text, "b", "c"};
    Texts& same = texts;
    texts = same;
    EXPECT_EQ(texts, (Texts{long_text, "b", "c"}));
    texts = std::move(same);
    EXPECT_EQ(texts, (Texts{long_text, "b", "c"}));
}

TEST(SmallVector, IsMovedWithoutACopyAndLeftEmpty) {
    static_assert(std::is_nothrow_move_constructible_v<Texts> && std::is_nothrow_move_assignable_v<Texts>);
    for (const Texts& content : {Texts(), Texts{long_text, "b"}, Texts{long_text, "b", "c"}}) {
        Texts source(content);
        const char* const first = source.empty() ? nullptr : source.front().data();
        Texts target(std::move(source));
        EXPECT_EQ(target, content);
        EXPECT_EQ(target.empty() ? nullptr : target.front().data(), first);
        EXPECT_TRUE(source.empty());  // NOLINT(bugprone-use-after-move): it is said to be
        source.push_back("usable again");
        source = std::move(target);
        EXPECT_EQ(source, content);
        EXPECT_TRUE(target.empty());  // NOLINT(bugprone-use-after-move): the same
        EXPECT_EQ(target.capacity(), 2U);
    }
}

TEST(SmallVector, IsClearedWithoutGivingBackItsMemory) {
    Texts texts = {long_text, "b", "c"};
    const std::size_t capacity = texts.capacity();
    texts.clear();
    EXPECT_TRUE(texts.empty());
    EXPECT_EQ(texts.capacity(), capacity);
}

TEST(SmallVector, GivesUpItsLastElement) {
    Texts texts = {"a", "b", long_text};
    texts.pop_back();
    EXPECT_EQ(texts, (Texts{"a", "b"}));
    texts.pop_back();
    texts.pop_back();
    EXPECT_TRUE(texts.empty());
}

TEST(SmallVector, ChecksThePositionThatItIsAskedFor) {
    const Numbers numbers = {1, 2};
    EXPECT_EQ(numbers.at(1), 2);
    EXPECT_THROW(numbers.at(2), std::out_of_range);
}

TEST(SmallVector, IsOrderedLikeAWordInADictionary) {
    EXPECT_EQ((Numbers{1, 2}), (Numbers{1, 2}));
    EXPECT_NE((Numbers{1, 2}), (Numbers{1, 3}));
    EXPECT_NE((Numbers{1, 2}), (Numbers{1, 2, 3}));
    EXPECT_LT((Numbers{1, 2}), (Numbers{1, 2, 0}));
    EXPECT_LT((Numbers{1, 2, 9}), (Numbers{1, 3}));
    EXPECT_GT((Numbers{2}), (Numbers{1, 2, 3, 4}));
    EXPECT_LT(Numbers(), (Numbers{0}));
}

}  // namespace
}  // namespace quarn::utils
