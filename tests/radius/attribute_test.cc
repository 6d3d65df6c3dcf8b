#include "quarn/radius/attribute.h"

#include <gtest/gtest.h>

#include "quarn/radius/dictionary.h"

namespace quarn::subscriber::radius {
namespace {

AttributeMetadata record_named(std::string name) {
    AttributeMetadata record;
    record.name = std::move(name);
    record.code = {1};
    return record;
}

TEST(AttributeKey, IsTheNameWhereThereIsOne) {
    EXPECT_EQ(attribute_key({1}, "User-Name"), "User-Name");
}

TEST(AttributeKey, KeepsTheSpellingOfTheName) {
    EXPECT_EQ(attribute_key({1}, "uSER-nAME"), "uSER-nAME");
}

TEST(AttributeKey, IsMadeOfTheCodePathWithoutAName) {
    EXPECT_EQ(attribute_key({26, 9, 77}, ""), "attr-26.9.77");
    EXPECT_EQ(attribute_key({222}, ""), "attr-222");
}

TEST(AttributeKey, OfAnEmptyPathWithoutANameIsThePrefixAlone) {
    EXPECT_EQ(attribute_key({}, ""), "attr-");
}

TEST(Attribute, OfADictionaryDiscardsTheGivenName) {
    const AttributeMetadata record = record_named("User-Name");
    const RadiusAttribute attribute(record, {1}, "something-else");
    EXPECT_EQ(attribute.name, "");
    EXPECT_EQ(attribute.display_name(), "User-Name");
}

TEST(Attribute, OfNoDictionaryKeepsTheGivenName) {
    const RadiusAttribute attribute(RadiusDictionary::unknown_definition(), {26, 9, 77}, "Some-Name");
    EXPECT_EQ(attribute.name, "Some-Name");
    EXPECT_EQ(attribute.display_name(), "Some-Name");
}

TEST(Attribute, OfNoDictionaryIsNamedAfterItsPathWhereNoNameIsGiven) {
    const RadiusAttribute attribute(RadiusDictionary::unknown_definition(), {26, 9, 77}, "");
    EXPECT_EQ(attribute.name, "attr-26.9.77");
    EXPECT_EQ(attribute.display_name(), "attr-26.9.77");
}

TEST(Attribute, RefersToItsRecordAndHasNoValuesAtFirst) {
    const AttributeMetadata record = record_named("User-Name");
    const RadiusAttribute attribute(record, {1}, "");
    EXPECT_EQ(attribute.metadata, &record);
    EXPECT_EQ(attribute.code_path, CodePath{1});
    EXPECT_TRUE(attribute.values.empty());
}

TEST(Attribute, HasACodePathOfItsOwn) {
    const AttributeMetadata record = record_named("User-Name");
    const RadiusAttribute attribute(record, {26, 9, 1}, "");
    EXPECT_EQ(attribute.code_path, (CodePath{26, 9, 1}));
    EXPECT_EQ(attribute.metadata->code, CodePath{1});
}

}  // namespace
}  // namespace quarn::subscriber::radius
