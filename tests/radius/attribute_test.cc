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

TEST(AttributeKey, is_the_name_where_there_is_one) {
    EXPECT_EQ(attribute_key({1}, "User-Name"), "User-Name");
}

TEST(AttributeKey, keeps_the_spelling_of_the_name) {
    EXPECT_EQ(attribute_key({1}, "uSER-nAME"), "uSER-nAME");
}

TEST(AttributeKey, is_made_of_the_code_path_without_a_name) {
    EXPECT_EQ(attribute_key({26, 9, 77}, ""), "attr-26.9.77");
    EXPECT_EQ(attribute_key({222}, ""), "attr-222");
}

TEST(AttributeKey, of_an_empty_path_without_a_name_is_the_prefix_alone) {
    EXPECT_EQ(attribute_key({}, ""), "attr-");
}

TEST(Attribute, of_a_dictionary_discards_the_given_name) {
    const AttributeMetadata record = record_named("User-Name");
    const RadiusAttribute attribute(record, {1}, "something-else");
    EXPECT_EQ(attribute.name, "");
    EXPECT_EQ(attribute.display_name(), "User-Name");
}

TEST(Attribute, of_no_dictionary_keeps_the_given_name) {
    const RadiusAttribute attribute(RadiusDictionary::unknown_definition(), {26, 9, 77}, "Some-Name");
    EXPECT_EQ(attribute.name, "Some-Name");
    EXPECT_EQ(attribute.display_name(), "Some-Name");
}

TEST(Attribute, of_no_dictionary_is_named_after_its_path_where_no_name_is_given) {
    const RadiusAttribute attribute(RadiusDictionary::unknown_definition(), {26, 9, 77}, "");
    EXPECT_EQ(attribute.name, "attr-26.9.77");
    EXPECT_EQ(attribute.display_name(), "attr-26.9.77");
}

TEST(Attribute, refers_to_its_record_and_has_no_values_at_first) {
    const AttributeMetadata record = record_named("User-Name");
    const RadiusAttribute attribute(record, {1}, "");
    EXPECT_EQ(attribute.metadata, &record);
    EXPECT_EQ(attribute.code_path, CodePath{1});
    EXPECT_TRUE(attribute.values.empty());
}

TEST(Attribute, has_a_code_path_of_its_own) {
    const AttributeMetadata record = record_named("User-Name");
    const RadiusAttribute attribute(record, {26, 9, 1}, "");
    EXPECT_EQ(attribute.code_path, (CodePath{26, 9, 1}));
    EXPECT_EQ(attribute.metadata->code, CodePath{1});
}

}  // namespace
}  // namespace quarn::subscriber::radius
