#include "quarn/radius/attribute_metadata.h"

#include <gtest/gtest.h>

#include <string>

namespace quarn::subscriber::radius {
namespace {

AttributeMetadata metadata_of_type(const std::string& type) {
    AttributeMetadata metadata;
    metadata.name = "Example-Name";
    metadata.type = type;
    metadata.derive_fields();
    return metadata;
}

VendorInfo example_vendor() {
    VendorInfo vendor;
    vendor.id = 9;
    vendor.name = "Example";
    return vendor;
}

TEST(AttributeMetadata, HasItsDefaults) {
    const AttributeMetadata metadata;
    EXPECT_EQ(metadata.name, "");
    EXPECT_EQ(metadata.name_lower, "");
    EXPECT_EQ(metadata.code, CodePath{});
    EXPECT_EQ(metadata.type, "string");
    EXPECT_EQ(metadata.encrypt, 0U);
    EXPECT_FALSE(metadata.has_tag);
    EXPECT_FALSE(metadata.continuation);
    EXPECT_FALSE(metadata.concat);
    EXPECT_FALSE(metadata.vendor.has_value());
    EXPECT_EQ(metadata.kind, ContainerKind::None);
    EXPECT_EQ(metadata.value_type, ValueType::Octets);
    EXPECT_EQ(metadata.fixed_size, 0U);
    EXPECT_FALSE(metadata.is_signed);
    EXPECT_TRUE(metadata.known);
    EXPECT_FALSE(metadata.optional_tag);
}

TEST(AttributeMetadata, IsAPlainValueWithItsFieldsInOrder) {
    const AttributeMetadata metadata = {.name = "Example-Name",
                                        .name_lower = "example-name",
                                        .code = {26, 9, 1},
                                        .type = "signed",
                                        .encrypt = 2,
                                        .has_tag = true,
                                        .continuation = true,
                                        .concat = true,
                                        .vendor = example_vendor(),
                                        .kind = ContainerKind::None,
                                        .value_type = ValueType::Signed,
                                        .fixed_size = 4,
                                        .is_signed = true,
                                        .known = true,
                                        .optional_tag = true};
    AttributeMetadata copy = metadata;
    EXPECT_EQ(copy, metadata);
    copy.vendor->id = 10;
    EXPECT_EQ(metadata.vendor->id, 9U);
    EXPECT_NE(copy, metadata);
}

TEST(DeriveFields, LowersTheAsciiLettersOfTheName) {
    AttributeMetadata metadata;
    metadata.name = "MS-CHAP2-Response";
    metadata.derive_fields();
    EXPECT_EQ(metadata.name_lower, "ms-chap2-response");
    EXPECT_EQ(metadata.name, "MS-CHAP2-Response");
}

TEST(DeriveFields, KeepsOtherBytesOfTheName) {
    AttributeMetadata metadata;
    metadata.name = "\xC3\x89T\xC3\x89 [@]";
    metadata.derive_fields();
    EXPECT_EQ(metadata.name_lower, "\xC3\x89t\xC3\x89 [@]");
}

TEST(DeriveFields, OfADefaultRecordAreThoseOfTypeString) {
    AttributeMetadata metadata;
    metadata.derive_fields();
    EXPECT_EQ(metadata, AttributeMetadata());
}

TEST(DeriveFields, OfEveryTypeName) {
    struct Row {
        const char* type;
        ContainerKind kind;
        ValueType value_type;
        std::uint32_t fixed_size;
        bool is_signed;
    };
    constexpr Row rows[] = {
        {"string", ContainerKind::None, ValueType::Octets, 0, false},
        {"octets", ContainerKind::None, ValueType::Octets, 0, false},
        {"concat", ContainerKind::None, ValueType::Octets, 0, false},
        {"text", ContainerKind::None, ValueType::Text, 0, false},
        {"integer", ContainerKind::None, ValueType::Integer, 4, false},
        {"enum", ContainerKind::None, ValueType::Integer, 4, false},
        {"time", ContainerKind::None, ValueType::Time, 4, false},
        {"signed", ContainerKind::None, ValueType::Signed, 4, true},
        {"integer64", ContainerKind::None, ValueType::Integer64, 8, false},
        {"short", ContainerKind::None, ValueType::Short, 2, false},
        {"byte", ContainerKind::None, ValueType::Byte, 1, false},
        {"ipv4addr", ContainerKind::None, ValueType::Ipv4Addr, 0, false},
        {"ipv4prefix", ContainerKind::None, ValueType::Ipv4Prefix, 0, false},
        {"ipv6addr", ContainerKind::None, ValueType::Ipv6Addr, 0, false},
        {"ipv6prefix", ContainerKind::None, ValueType::Ipv6Prefix, 0, false},
        {"combo-ip", ContainerKind::None, ValueType::ComboIp, 0, false},
        {"ether", ContainerKind::None, ValueType::Ether, 0, false},
        {"ifid", ContainerKind::None, ValueType::Ifid, 0, false},
        {"vsa", ContainerKind::Vsa, ValueType::Octets, 0, false},
        {"tlv", ContainerKind::Tlv, ValueType::Octets, 0, false},
        {"extended", ContainerKind::Extended, ValueType::Octets, 0, false},
        {"long-extended", ContainerKind::LongExtended, ValueType::Octets, 0, false},
        {"evs", ContainerKind::Evs, ValueType::Octets, 0, false},
        {"struct", ContainerKind::Struct, ValueType::Octets, 0, false},
        {"", ContainerKind::None, ValueType::Octets, 0, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.type);
        const AttributeMetadata metadata = metadata_of_type(row.type);
        EXPECT_EQ(metadata.kind, row.kind);
        EXPECT_EQ(metadata.value_type, row.value_type);
        EXPECT_EQ(metadata.fixed_size, row.fixed_size);
        EXPECT_EQ(metadata.is_signed, row.is_signed);
        EXPECT_EQ(metadata.type, row.type);
    }
}

TEST(DeriveFields, IgnoreTheCaseOfTheTypeAndKeepItsSpelling) {
    const AttributeMetadata enumerated = metadata_of_type("Enum");
    EXPECT_EQ(enumerated.type, "Enum");
    EXPECT_EQ(enumerated.value_type, ValueType::Integer);
    EXPECT_EQ(enumerated.fixed_size, 4U);
    EXPECT_FALSE(enumerated.is_signed);
    EXPECT_EQ(enumerated.kind, ContainerKind::None);

    const AttributeMetadata structure = metadata_of_type("Struct");
    EXPECT_EQ(structure.type, "Struct");
    EXPECT_EQ(structure.kind, ContainerKind::Struct);
    EXPECT_EQ(structure.value_type, ValueType::Octets);

    EXPECT_TRUE(metadata_of_type("SIGNED").is_signed);
}

TEST(DeriveFields, ReplaceWhatAnotherTypeGave) {
    AttributeMetadata metadata = metadata_of_type("signed");
    metadata.type = "tlv";
    metadata.derive_fields();
    EXPECT_EQ(metadata, metadata_of_type("tlv"));
}

TEST(DeriveFields, LeaveTheFieldsThatAreRead) {
    AttributeMetadata metadata;
    metadata.name = "Example-Name";
    metadata.code = {26, 9, 1};
    metadata.encrypt = 2;
    metadata.has_tag = true;
    metadata.continuation = true;
    metadata.concat = true;
    metadata.vendor = example_vendor();
    metadata.derive_fields();
    EXPECT_EQ(metadata.code, (CodePath{26, 9, 1}));
    EXPECT_EQ(metadata.encrypt, 2U);
    EXPECT_TRUE(metadata.has_tag);
    EXPECT_TRUE(metadata.continuation);
    EXPECT_TRUE(metadata.concat);
    EXPECT_EQ(metadata.vendor, example_vendor());
    EXPECT_TRUE(metadata.known);
}

}  // namespace
}  // namespace quarn::subscriber::radius
