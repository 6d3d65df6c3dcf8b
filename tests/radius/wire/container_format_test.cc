#include "wire/container_format.h"

#include <gtest/gtest.h>

#include "testing/codec_dictionary.h"

namespace quarn::subscriber::radius {
namespace {

TEST(TopLevelContainer, IsTheOneThatTheDictionaryDefines) {
    const auto dictionary = test::codec_dictionary();
    EXPECT_EQ(top_level_container(dictionary.get(), 1), ContainerKind::None);
    EXPECT_EQ(top_level_container(dictionary.get(), 26), ContainerKind::Vsa);
    EXPECT_EQ(top_level_container(dictionary.get(), 199), ContainerKind::Tlv);
    EXPECT_EQ(top_level_container(dictionary.get(), 241), ContainerKind::Extended);
    EXPECT_EQ(top_level_container(dictionary.get(), 245), ContainerKind::LongExtended);
}

TEST(TopLevelContainer, Of26IsOpaqueWhereTheDictionarySaysSo) {
    EXPECT_EQ(top_level_container(test::dictionary_without_vendor_specific().get(), 26), ContainerKind::None);
    EXPECT_EQ(top_level_container(test::dictionary_without_vendor_specific().get(), 241),
              ContainerKind::None);
}

TEST(TopLevelContainer, OfAnUndefined26IsVendorSpecific) {
    const RadiusDictionary empty;
    EXPECT_EQ(top_level_container(&empty, 26), ContainerKind::Vsa);
}

TEST(TopLevelContainer, OfUndefined241To246IsTheShortExtendedForm) {
    const RadiusDictionary empty;
    for (std::uint32_t type = 241; type <= 246; ++type) {
        EXPECT_EQ(top_level_container(&empty, type), ContainerKind::Extended) << type;
    }
}

TEST(TopLevelContainer, OfEveryOtherUndefinedTypeIsNone) {
    const RadiusDictionary empty;
    for (std::uint32_t type = 0; type <= 255; ++type) {
        if (type != 26 && (type < 241 || type > 246)) {
            EXPECT_EQ(top_level_container(&empty, type), ContainerKind::None) << type;
        }
    }
}

TEST(TopLevelContainer, WithoutADictionaryTreatsEveryTypeAsUndefined) {
    EXPECT_EQ(top_level_container(nullptr, 1), ContainerKind::None);
    EXPECT_EQ(top_level_container(nullptr, 26), ContainerKind::Vsa);
    EXPECT_EQ(top_level_container(nullptr, 245), ContainerKind::Extended);
}

TEST(VendorFormat, IsTheOneThatTheDictionaryDefines) {
    const auto dictionary = test::codec_dictionary();
    const VendorInfo& two = vendor_format(dictionary.get(), 102);
    EXPECT_EQ(two.type_size, 2U);
    EXPECT_EQ(two.length_size, 2U);
    EXPECT_FALSE(two.continuation);
    const VendorInfo& continued = vendor_format(dictionary.get(), 104);
    EXPECT_EQ(continued.type_size, 1U);
    EXPECT_EQ(continued.length_size, 1U);
    EXPECT_TRUE(continued.continuation);
}

TEST(VendorFormat, OfAnUnknownVendorIsOneByteEachWithoutContinuation) {
    const VendorInfo& unknown = vendor_format(test::codec_dictionary().get(), 4242);
    EXPECT_EQ(unknown.type_size, 1U);
    EXPECT_EQ(unknown.length_size, 1U);
    EXPECT_FALSE(unknown.continuation);
}

TEST(VendorFormat, WithoutADictionaryIsThatOfAnUnknownVendor) {
    EXPECT_EQ(vendor_format(nullptr, 102), VendorInfo());
}

}  // namespace
}  // namespace quarn::subscriber::radius
