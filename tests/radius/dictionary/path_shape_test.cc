#include "quarn/radius/path_shape.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace quarn::subscriber::radius {
namespace {

using Space = PathShape::Space;

TEST(PathShape, TellsWhoOwnsAPathAndWhereNestingBegins) {
    struct Row {
        CodePath path;
        Space space;
        std::optional<std::uint32_t> vendor;
        std::size_t nesting_start;
        bool ends_with_vendor;
    };
    const Row rows[] = {
        {{}, Space::Plain, std::nullopt, 1, false},
        {{1}, Space::Plain, std::nullopt, 1, false},
        {{1, 2}, Space::Plain, std::nullopt, 1, false},
        {{26}, Space::Plain, std::nullopt, 1, false},
        {{26, 9}, Space::Vendor, 9, 3, true},
        {{26, 9, 1}, Space::Vendor, 9, 3, false},
        {{26, 9, 1, 2}, Space::Vendor, 9, 3, false},
        {{240, 26, 9}, Space::Plain, std::nullopt, 1, false},
        {{241}, Space::Plain, std::nullopt, 1, false},
        {{241, 1}, Space::Extended, std::nullopt, 2, false},
        {{241, 1, 2}, Space::Extended, std::nullopt, 2, false},
        {{241, 26}, Space::Extended, std::nullopt, 2, false},
        {{241, 26, 9}, Space::ExtendedVendor, 9, 4, true},
        {{246, 26, 9, 1}, Space::ExtendedVendor, 9, 4, false},
        {{246, 26, 9, 1, 2}, Space::ExtendedVendor, 9, 4, false},
        {{247, 26, 9, 1}, Space::Plain, std::nullopt, 1, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(radius_code_path_to_string(row.path));
        const PathShape shape = shape_of(row.path);
        EXPECT_EQ(shape.space, row.space);
        EXPECT_EQ(shape.vendor(row.path), row.vendor);
        EXPECT_EQ(shape.nesting_start, row.nesting_start);
        EXPECT_EQ(shape.ends_with_vendor(row.path), row.ends_with_vendor);
    }
}

TEST(PathShape, GoesByTheKindThatADictionaryGivesTheTopLevelType) {
    EXPECT_EQ(shape_of({200, 26, 9, 1}, ContainerKind::LongExtended).space, Space::ExtendedVendor);
    EXPECT_EQ(shape_of({200, 9, 1}, ContainerKind::Vsa).space, Space::Vendor);
    EXPECT_EQ(shape_of({26, 9, 1}, ContainerKind::None).space, Space::Plain);
    EXPECT_EQ(shape_of({241, 1}, ContainerKind::Tlv).space, Space::Plain);
}

TEST(KindOfType, IsThatOfTheTypesThatNumbersAloneTell) {
    EXPECT_EQ(kind_of_type(25), ContainerKind::None);
    EXPECT_EQ(kind_of_type(26), ContainerKind::Vsa);
    EXPECT_EQ(kind_of_type(240), ContainerKind::None);
    EXPECT_EQ(kind_of_type(241), ContainerKind::Extended);
    EXPECT_EQ(kind_of_type(246), ContainerKind::Extended);
    EXPECT_EQ(kind_of_type(247), ContainerKind::None);
}

TEST(NestingFault, IsNoneForWhatNeedsNoParent) {
    for (const CodePath& path : {CodePath{}, CodePath{1}, CodePath{26, 9}, CodePath{26, 9, 1}}) {
        EXPECT_EQ(nesting_fault(path, std::nullopt), NestingFault::None) << radius_code_path_to_string(path);
        EXPECT_EQ(nesting_fault(path, ContainerKind::None), NestingFault::None);
    }
}

TEST(NestingFault, IsAParentThatHoldsNothingWhereverThereIsOne) {
    for (const CodePath& path : {CodePath{1, 2}, CodePath{26, 9, 1, 2}, CodePath{241, 1},
                                 CodePath{241, 26, 9}, CodePath{241, 26, 9, 1}}) {
        EXPECT_EQ(nesting_fault(path, ContainerKind::None), NestingFault::ParentIsLeaf)
            << radius_code_path_to_string(path);
        EXPECT_EQ(nesting_fault(path, ContainerKind::Struct), NestingFault::None);
    }
}

TEST(NestingFault, IsAMissingParentButForWhatIsKnownForItself) {
    for (const CodePath& path :
         {CodePath{1, 2}, CodePath{26, 9, 1, 2}, CodePath{241, 1, 2}, CodePath{241, 26, 9, 1}}) {
        EXPECT_EQ(nesting_fault(path, std::nullopt), NestingFault::NoParent)
            << radius_code_path_to_string(path);
    }
    for (const CodePath& path : {CodePath{241, 1}, CodePath{241, 26}, CodePath{241, 26, 9}}) {
        EXPECT_EQ(nesting_fault(path, std::nullopt), NestingFault::None) << radius_code_path_to_string(path);
    }
}

}  // namespace
}  // namespace quarn::subscriber::radius
