#include "quarn/radius/vendor_info.h"

#include <gtest/gtest.h>

#include <string>

namespace quarn::subscriber::radius {
namespace {

TEST(VendorInfo, HasItsDefaults) {
    const VendorInfo vendor;
    EXPECT_EQ(vendor.id, 0U);
    EXPECT_EQ(vendor.name, "");
    EXPECT_EQ(vendor.format, "1,1");
    EXPECT_EQ(vendor.type_size, 1U);
    EXPECT_EQ(vendor.length_size, 1U);
    EXPECT_FALSE(vendor.continuation);
}

TEST(VendorInfo, IsAPlainValueWithItsFieldsInOrder) {
    const VendorInfo vendor = {.id = 9,
                               .name = "Example",
                               .format = "4,2,c",
                               .type_size = 4,
                               .length_size = 2,
                               .continuation = true};
    VendorInfo copy = vendor;
    EXPECT_EQ(copy, vendor);
    copy.length_size = 1;
    EXPECT_NE(copy, vendor);
}

/// What the parser makes of a format, from the values with which a vendor starts.
struct Parsed {
    explicit Parsed(std::string_view format)
        : accepted(parse_vendor_format(format, type_size, length_size, continuation, error)) {}

    std::size_t type_size = 1;
    std::size_t length_size = 1;
    bool continuation = false;
    std::string error;
    bool accepted;
};

void expect_accepted(std::string_view format, std::size_t type_size, std::size_t length_size,
                     bool continuation) {
    SCOPED_TRACE('"' + std::string(format) + '"');
    const Parsed parsed(format);
    EXPECT_TRUE(parsed.accepted);
    EXPECT_EQ(parsed.type_size, type_size);
    EXPECT_EQ(parsed.length_size, length_size);
    EXPECT_EQ(parsed.continuation, continuation);
    EXPECT_EQ(parsed.error, "");
}

void expect_refused(std::string_view format, std::string_view error) {
    SCOPED_TRACE('"' + std::string(format) + '"');
    const Parsed parsed(format);
    EXPECT_FALSE(parsed.accepted);
    EXPECT_EQ(parsed.error, error);
}

TEST(ParseVendorFormat, AcceptsEveryPairOfWidths) {
    for (std::size_t type_size = 1; type_size <= 4; ++type_size) {
        for (std::size_t length_size = 1; length_size <= 4; ++length_size) {
            const std::string format = std::to_string(type_size) + "," + std::to_string(length_size);
            expect_accepted(format, type_size, length_size, false);
            expect_accepted(format + ",c", type_size, length_size, true);
        }
    }
}

TEST(ParseVendorFormat, AcceptsTheContinuationFlagInEitherCase) {
    expect_accepted("1,1,c", 1, 1, true);
    expect_accepted("1,1,C", 1, 1, true);
}

TEST(ParseVendorFormat, IgnoresWhiteSpaceAroundElements) {
    expect_accepted(" 2 , 4 ", 2, 4, false);
    expect_accepted("\t1,\n2 ,\r C ", 1, 2, true);
}

TEST(ParseVendorFormat, ReadsLeadingZerosAsDecimal) {
    expect_accepted("01,004", 1, 4, false);
}

TEST(ParseVendorFormat, WantsTwoOrThreeElements) {
    expect_refused("", "vendor format must be 't,l' or 't,l,c', got ''");
    expect_refused("1", "vendor format must be 't,l' or 't,l,c', got '1'");
    expect_refused("1.1", "vendor format must be 't,l' or 't,l,c', got '1.1'");
    expect_refused("1,1,c,c", "vendor format must be 't,l' or 't,l,c', got '1,1,c,c'");
    expect_refused("1,1,c,", "vendor format must be 't,l' or 't,l,c', got '1,1,c,'");
    expect_refused(",,,", "vendor format must be 't,l' or 't,l,c', got ',,,'");
}

TEST(ParseVendorFormat, ShowsAWrongNumberOfElementsAsWritten) {
    expect_refused(" 1 ", "vendor format must be 't,l' or 't,l,c', got ' 1 '");
}

TEST(ParseVendorFormat, WantsDigitsForTheTypeSize) {
    expect_refused(",1", "vendor format type size is not a number: ''");
    expect_refused(" ,1", "vendor format type size is not a number: ''");
    expect_refused("x,1", "vendor format type size is not a number: 'x'");
    expect_refused(" 1x ,1", "vendor format type size is not a number: '1x'");
    expect_refused("-1,1", "vendor format type size is not a number: '-1'");
    expect_refused("+1,1", "vendor format type size is not a number: '+1'");
    expect_refused("0x1,1", "vendor format type size is not a number: '0x1'");
    expect_refused("1 1,1", "vendor format type size is not a number: '1 1'");
    expect_refused("1.0,1", "vendor format type size is not a number: '1.0'");
}

TEST(ParseVendorFormat, WantsDigitsForTheLengthSize) {
    expect_refused("1,", "vendor format length size is not a number: ''");
    expect_refused("1,,c", "vendor format length size is not a number: ''");
    expect_refused("1,c", "vendor format length size is not a number: 'c'");
    expect_refused("1,-1", "vendor format length size is not a number: '-1'");
    expect_refused("1, 2b ", "vendor format length size is not a number: '2b'");
}

TEST(ParseVendorFormat, WantsATypeSizeOfOneToFour) {
    expect_refused("0,1", "vendor format type size must be 1..4, got 0");
    expect_refused("5,1", "vendor format type size must be 1..4, got 5");
    expect_refused("10,1", "vendor format type size must be 1..4, got 10");
}

TEST(ParseVendorFormat, WantsALengthSizeOfOneToFour) {
    expect_refused("1,0", "vendor format length size must be 1..4, got 0");
    expect_refused("1,5", "vendor format length size must be 1..4, got 5");
    expect_refused("1,256", "vendor format length size must be 1..4, got 256");
    expect_refused("1,257", "vendor format length size must be 1..4, got 257");
    expect_refused("1,4294967297", "vendor format length size must be 1..4, got 4294967297");
}

TEST(ParseVendorFormat, ShowsTheNumberThatWasRead) {
    expect_refused("00,1", "vendor format type size must be 1..4, got 0");
    expect_refused("1,007", "vendor format length size must be 1..4, got 7");
}

TEST(ParseVendorFormat, RefusesNumbersBeyondAnyInteger) {
    expect_refused("18446744073709551617,1",
                   "vendor format type size must be 1..4, got 18446744073709551617");
    expect_refused("1,99999999999999999999999999",
                   "vendor format length size must be 1..4, got 99999999999999999999999999");
}

TEST(ParseVendorFormat, WantsTheThirdElementToBeTheFlag) {
    expect_refused("1,1,x", "vendor format continuation flag must be 'c', got 'x'");
    expect_refused("1,1,", "vendor format continuation flag must be 'c', got ''");
    expect_refused("1,1,cc", "vendor format continuation flag must be 'c', got 'cc'");
    expect_refused("1,1, X ", "vendor format continuation flag must be 'c', got 'X'");
    expect_refused("1,1,1", "vendor format continuation flag must be 'c', got '1'");
}

TEST(ParseVendorFormat, ReportsTheFirstElementAtFault) {
    expect_refused("0,0,x", "vendor format type size must be 1..4, got 0");
    expect_refused("1,0,x", "vendor format length size must be 1..4, got 0");
}

}  // namespace
}  // namespace quarn::subscriber::radius
