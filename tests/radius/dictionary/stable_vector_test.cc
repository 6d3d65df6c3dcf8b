#include "dictionary/stable_vector.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quarn::subscriber::radius {
namespace {

TEST(StableVector, IsEmptyAtFirst) {
    EXPECT_EQ(StableVector<int>().size(), 0U);
}

TEST(StableVector, KeepsElementsInOrderAndWhereTheyAre) {
    StableVector<std::string> texts;
    std::vector<const std::string*> places;
    for (int i = 0; i < 1000; ++i) {
        std::string& text = texts.emplace_back(std::to_string(i));
        places.push_back(&text);
    }
    ASSERT_EQ(texts.size(), 1000U);
    for (std::size_t i = 0; i < 1000; ++i) {
        EXPECT_EQ(texts[i], std::to_string(i));
        EXPECT_EQ(&texts[i], places[i]);
    }
}

TEST(StableVector, TakesItsLastElementAway) {
    StableVector<std::string> texts;
    for (int i = 0; i < 200; ++i) {  // so that it happens at every place of a block
        texts.emplace_back("kept");
        texts.emplace_back("taken away");
        texts.pop_back();
    }
    ASSERT_EQ(texts.size(), 200U);
    for (std::size_t i = 0; i < 200; ++i) {
        EXPECT_EQ(texts[i], "kept") << i;
    }
}

TEST(StableVector, MayBeEmptiedAndFilledAgain) {
    StableVector<int> numbers;
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 130; ++i) {
            numbers.emplace_back(i + round);
        }
        EXPECT_EQ(numbers[129], 129 + round);
        while (numbers.size() > 0) {
            numbers.pop_back();
        }
    }
}

TEST(StableVector, KeepsElementsWhereTheyAreWhenMoved) {
    StableVector<std::unique_ptr<int>> numbers;
    const std::unique_ptr<int>* const place = &numbers.emplace_back(std::make_unique<int>(7));
    const StableVector<std::unique_ptr<int>> moved = std::move(numbers);
    EXPECT_EQ(&moved[0], place);
    EXPECT_EQ(*moved[0], 7);
}

}  // namespace
}  // namespace quarn::subscriber::radius
