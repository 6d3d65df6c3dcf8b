#include "quarn/radius/enum_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

namespace quarn::subscriber::radius {
namespace {

TEST(EnumTable, FindsNumbersByNameInAnyCaseAndNamesByNumberAsWritten) {
    EnumTable table;
    table.add("PPP", 1);
    table.add("Xylogics", 5);
    table.add("SLIP", 2);

    EXPECT_EQ(table.number_of("ppp"), 1U);
    EXPECT_EQ(table.number_of("Slip"), 2U);
    EXPECT_EQ(table.number_of("XYLOGICS"), 5U);
    ASSERT_NE(table.name_of(2), nullptr);
    EXPECT_EQ(*table.name_of(2), "SLIP");
}

TEST(EnumTable, FindsNothingForWhatIsNotThere) {
    EnumTable table;
    EXPECT_EQ(table.number_of("PPP"), std::nullopt);
    EXPECT_EQ(table.name_of(1), nullptr);

    table.add("PPP", 2);
    EXPECT_EQ(table.number_of("PP"), std::nullopt);
    EXPECT_EQ(table.number_of("PPPP"), std::nullopt);
    EXPECT_EQ(table.number_of(""), std::nullopt);
    EXPECT_EQ(table.name_of(1), nullptr);
    EXPECT_EQ(table.name_of(3), nullptr);
}

TEST(EnumTable, FindsTheLaterOfTwoNumbersOfOneName) {
    EnumTable table;
    table.add("Other", 7);
    table.add("Name", 1);
    table.add("NAME", 9);

    EXPECT_EQ(table.number_of("name"), 9U);
    EXPECT_EQ(*table.name_of(1), "Name");
    EXPECT_EQ(*table.name_of(9), "NAME");
}

TEST(EnumTable, FindsTheLaterOfTwoNamesOfOneNumber) {
    EnumTable table;
    table.add("First", 1);
    table.add("Far", 9);
    table.add("Second", 1);

    EXPECT_EQ(*table.name_of(1), "Second");
    EXPECT_EQ(table.number_of("first"), 1U);
    EXPECT_EQ(table.number_of("second"), 1U);
}

TEST(EnumTable, AgreesWithMapsWhateverTheOrderOfItsValues) {
    for (std::uint32_t seed = 0; seed < 50; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937 random(seed);
        EnumTable table;
        std::map<std::string, std::uint32_t> numbers;
        std::map<std::uint32_t, std::string> names;
        for (int i = 0; i < 60; ++i) {
            const std::string name = "n" + std::to_string(random() % 40);
            const auto number = static_cast<std::uint32_t>(random() % 40);
            table.add(name, number);
            numbers[name] = number;
            names[number] = name;
        }
        for (const auto& [name, number] : numbers) {
            EXPECT_EQ(table.number_of(name), number) << name;
        }
        for (std::uint32_t number = 0; number < 40; ++number) {
            const std::string* const name = table.name_of(number);
            ASSERT_EQ(name != nullptr, names.contains(number)) << number;
            EXPECT_TRUE(name == nullptr || *name == names[number]) << number;
        }
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
