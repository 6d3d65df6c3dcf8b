#include "quarn/radius/value_type.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace quarn::subscriber::radius {
namespace {

template <typename Enum>
int number_of(Enum member) {
    return static_cast<int>(member);
}

TEST(ValueType, MembersHaveTheirNumbers) {
    EXPECT_EQ(number_of(ValueType::Octets), 0);
    EXPECT_EQ(number_of(ValueType::Text), 1);
    EXPECT_EQ(number_of(ValueType::Integer), 2);
    EXPECT_EQ(number_of(ValueType::Time), 3);
    EXPECT_EQ(number_of(ValueType::Signed), 4);
    EXPECT_EQ(number_of(ValueType::Integer64), 5);
    EXPECT_EQ(number_of(ValueType::Short), 6);
    EXPECT_EQ(number_of(ValueType::Byte), 7);
    EXPECT_EQ(number_of(ValueType::Ipv4Addr), 8);
    EXPECT_EQ(number_of(ValueType::Ipv4Prefix), 9);
    EXPECT_EQ(number_of(ValueType::Ipv6Addr), 10);
    EXPECT_EQ(number_of(ValueType::Ipv6Prefix), 11);
    EXPECT_EQ(number_of(ValueType::ComboIp), 12);
    EXPECT_EQ(number_of(ValueType::Ether), 13);
    EXPECT_EQ(number_of(ValueType::Ifid), 14);
}

TEST(ContainerKind, MembersHaveTheirNumbers) {
    EXPECT_EQ(number_of(ContainerKind::None), 0);
    EXPECT_EQ(number_of(ContainerKind::Vsa), 1);
    EXPECT_EQ(number_of(ContainerKind::Tlv), 2);
    EXPECT_EQ(number_of(ContainerKind::Extended), 3);
    EXPECT_EQ(number_of(ContainerKind::LongExtended), 4);
    EXPECT_EQ(number_of(ContainerKind::Evs), 5);
    EXPECT_EQ(number_of(ContainerKind::Struct), 6);
}

struct TypeName {
    std::string_view name;
    ValueType value_type;
    ContainerKind kind;
};

constexpr TypeName type_names[] = {
    {"text", ValueType::Text, ContainerKind::None},
    {"integer", ValueType::Integer, ContainerKind::None},
    {"enum", ValueType::Integer, ContainerKind::None},
    {"time", ValueType::Time, ContainerKind::None},
    {"signed", ValueType::Signed, ContainerKind::None},
    {"integer64", ValueType::Integer64, ContainerKind::None},
    {"short", ValueType::Short, ContainerKind::None},
    {"byte", ValueType::Byte, ContainerKind::None},
    {"ipv4addr", ValueType::Ipv4Addr, ContainerKind::None},
    {"ipv4prefix", ValueType::Ipv4Prefix, ContainerKind::None},
    {"ipv6addr", ValueType::Ipv6Addr, ContainerKind::None},
    {"ipv6prefix", ValueType::Ipv6Prefix, ContainerKind::None},
    {"combo-ip", ValueType::ComboIp, ContainerKind::None},
    {"ether", ValueType::Ether, ContainerKind::None},
    {"ifid", ValueType::Ifid, ContainerKind::None},
    {"vsa", ValueType::Octets, ContainerKind::Vsa},
    {"tlv", ValueType::Octets, ContainerKind::Tlv},
    {"extended", ValueType::Octets, ContainerKind::Extended},
    {"long-extended", ValueType::Octets, ContainerKind::LongExtended},
    {"evs", ValueType::Octets, ContainerKind::Evs},
    {"struct", ValueType::Octets, ContainerKind::Struct},
    {"string", ValueType::Octets, ContainerKind::None},
    {"octets", ValueType::Octets, ContainerKind::None},
    {"concat", ValueType::Octets, ContainerKind::None},
    {"no-such-type", ValueType::Octets, ContainerKind::None},
    {"", ValueType::Octets, ContainerKind::None},
};

/// Every row again with a spelling made from its name.
template <typename Spelling>
void expect_classified(const Spelling& spelling) {
    for (const TypeName& row : type_names) {
        const std::string written = spelling(std::string(row.name));
        SCOPED_TRACE('"' + written + '"');
        EXPECT_EQ(classify_value_type(written), row.value_type);
        EXPECT_EQ(classify_container_kind(written), row.kind);
    }
}

std::string in_capitals(std::string name) {
    for (char& character : name) {
        if (character >= 'a' && character <= 'z') {
            character = static_cast<char>(character - 32);
        }
    }
    return name;
}

TEST(TypeName, ClassifiesSmallLetters) {
    expect_classified([](std::string name) { return name; });
}

TEST(TypeName, ClassifiesCapitals) {
    expect_classified(in_capitals);
}

TEST(TypeName, ClassifiesMixedCase) {
    expect_classified([](std::string name) {
        return in_capitals(name.substr(0, 1)) + name.substr(std::min<std::size_t>(1, name.size()));
    });
    EXPECT_EQ(classify_value_type("iNtEgEr64"), ValueType::Integer64);
    EXPECT_EQ(classify_container_kind("Long-EXTENDED"), ContainerKind::LongExtended);
}

/// Expects that no spelling made from a type's name means that type.
template <typename Spelling>
void expect_unclassified(const Spelling& spelling) {
    for (const TypeName& row : type_names) {
        const std::string written = spelling(std::string(row.name));
        SCOPED_TRACE('"' + written + '"');
        EXPECT_EQ(classify_value_type(written), ValueType::Octets);
        EXPECT_EQ(classify_container_kind(written), ContainerKind::None);
    }
}

TEST(TypeName, IsNotTrimmed) {
    expect_unclassified([](const std::string& name) { return " " + name; });
    expect_unclassified([](const std::string& name) { return name + " "; });
    expect_unclassified([](const std::string& name) { return name + "\n"; });
}

TEST(TypeName, MatchesAsAWhole) {
    expect_unclassified([](const std::string& name) { return name + "x"; });
    expect_unclassified([](const std::string& name) { return "x" + name; });
    expect_unclassified([](const std::string& name) { return name + std::string(1, '\0'); });
    expect_unclassified(
        [](const std::string& name) { return name.substr(0, name.empty() ? 0 : name.size() - 1); });
}

TEST(TypeName, FoldsAsciiLettersOnly) {
    EXPECT_EQ(classify_value_type("\xC5\xA4"
                                  "ext"),
              ValueType::Octets);                                    // U+0164 for T
    EXPECT_EQ(classify_value_type("combo\rip"), ValueType::Octets);  // carriage return is '-' minus 32
    EXPECT_EQ(classify_container_kind("long\rextended"), ContainerKind::None);
}

TEST(FixedSize, IsTheWireWidthOfANumberAndElseZero) {
    struct Row {
        ValueType type;
        std::uint32_t size;
    };
    constexpr Row rows[] = {
        {ValueType::Octets, 0},     {ValueType::Text, 0},     {ValueType::Integer, 4},
        {ValueType::Time, 4},       {ValueType::Signed, 4},   {ValueType::Integer64, 8},
        {ValueType::Short, 2},      {ValueType::Byte, 1},     {ValueType::Ipv4Addr, 0},
        {ValueType::Ipv4Prefix, 0}, {ValueType::Ipv6Addr, 0}, {ValueType::Ipv6Prefix, 0},
        {ValueType::ComboIp, 0},    {ValueType::Ether, 0},    {ValueType::Ifid, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("value type " + std::to_string(number_of(row.type)));
        EXPECT_EQ(fixed_size_of(row.type), row.size);
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
