#include "quarn_radius/dictionary/text_dictionary.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "testing/scratch_folder.h"
#include "tools/quarn_radius/dictionary/problems.h"

namespace quarn::quarn_radius {
namespace {

using Lines = std::vector<std::string>;
using subscriber::radius::CodePath;

class TextDictionaryTest : public testing::Test {
  protected:
    TextDictionary read(std::string_view text) {
        return read_text_dictionary(folder_.write("dictionary", text), problems_);
    }
    Lines reported() const { return test::lines_of(problems_, folder_.path()); }

    test::ScratchFolder folder_;
    Problems problems_;
};

TEST_F(TextDictionaryTest, ReadsAttributesOfNoVendor) {
    const TextDictionary read_back = read(
        "# a comment\n"
        "ATTRIBUTE\tUser-Name\t1\tstring\n"
        "\n"
        "ATTRIBUTE  Tunnel-Password  0x45  string has_tag,encrypt=2 # hidden\n"
        "ATTRIBUTE  EAP-Message 79 octets concat\n"
        "ATTRIBUTE  Servers 80 ipaddr array\n"
        "VALUE User-Name One 0x10\n");
    EXPECT_EQ(reported(), Lines{});
    ASSERT_EQ(read_back.attributes.size(), 4U);
    EXPECT_EQ(read_back.attributes[0].name, "User-Name");
    EXPECT_EQ(read_back.attributes[0].code, CodePath{1});
    EXPECT_EQ(read_back.attributes[0].type, "string");
    EXPECT_EQ(read_back.attributes[0].place.line, 2U);
    EXPECT_EQ(read_back.attributes[1].code, CodePath{69});
    EXPECT_TRUE(read_back.attributes[1].has_tag);
    EXPECT_EQ(read_back.attributes[1].encrypt, 2U);
    EXPECT_TRUE(read_back.attributes[2].concat);
    EXPECT_TRUE(read_back.attributes[3].array);
    ASSERT_EQ(read_back.values.size(), 1U);
    EXPECT_EQ(read_back.values[0].number, 16U);
}

TEST_F(TextDictionaryTest, ReadsHexadecimalNumbersInEitherCase) {
    const TextDictionary read_back = read(
        "VENDOR Example 0XfBf0\n"
        "ATTRIBUTE One 0X0b.0Xc string\n"
        "VALUE One Large 0XFFFFFFFF\nVALUE One Small 0x0\n");
    EXPECT_EQ(reported(), Lines{});
    ASSERT_EQ(read_back.vendors.size(), 1U);
    EXPECT_EQ(read_back.vendors[0].id, 64496U);
    ASSERT_EQ(read_back.attributes.size(), 1U);
    EXPECT_EQ(read_back.attributes[0].code, (CodePath{11, 12}));
    ASSERT_EQ(read_back.values.size(), 2U);
    EXPECT_EQ(read_back.values[0].number, 4294967295U);
    EXPECT_EQ(read_back.values[1].number, 0U);
}

TEST_F(TextDictionaryTest, RefusesHalfHexadecimalNumbers) {
    read(
        "VALUE One A 0x\nVALUE One B 0X\nVALUE One C x1\nVALUE One D 00x1\nVALUE One E 1a\n"
        "VALUE One F 0x100000000\n");
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:1: error: invalid number 0x of VALUE A of One",
                              "dictionary:2: error: invalid number 0X of VALUE B of One",
                              "dictionary:3: error: invalid number x1 of VALUE C of One",
                              "dictionary:4: error: invalid number 00x1 of VALUE D of One",
                              "dictionary:5: error: invalid number 1a of VALUE E of One",
                              "dictionary:6: error: invalid number 0x100000000 of VALUE F of One",
                          }));
}

TEST_F(TextDictionaryTest, PutsTheVendorInFrontOfTheCodesOfItsBlock) {
    const TextDictionary read_back = read(
        "VENDOR Example 64496 format=2,1\n"
        "BEGIN-VENDOR Example\n"
        "ATTRIBUTE Example-Box 1 tlv\n"
        "ATTRIBUTE Example-Width 1.2 integer\n"
        "BEGIN-TLV Example-Box\n"
        "ATTRIBUTE Example-Height 3 integer\n"
        "END-TLV Example-Box\n"
        "END-VENDOR Example\n"
        "ATTRIBUTE After 7 integer\n"
        "ATTRIBUTE Old-Style 9 string Example\n");
    EXPECT_EQ(reported(), Lines{});
    ASSERT_EQ(read_back.vendors.size(), 1U);
    EXPECT_EQ(read_back.vendors[0].format, "2,1");
    ASSERT_EQ(read_back.attributes.size(), 5U);
    EXPECT_EQ(read_back.attributes[0].code, (CodePath{26, 64496, 1}));
    EXPECT_EQ(read_back.attributes[0].vendor, 64496U);
    EXPECT_EQ(read_back.attributes[1].code, (CodePath{26, 64496, 1, 2}));
    EXPECT_EQ(read_back.attributes[2].code, (CodePath{26, 64496, 1, 3}));
    EXPECT_EQ(read_back.attributes[3].code, (CodePath{7}));
    EXPECT_EQ(read_back.attributes[3].vendor, std::nullopt);
    EXPECT_EQ(read_back.attributes[4].code, (CodePath{26, 64496, 9}));
}

TEST_F(TextDictionaryTest, PutsAnExtendedVendorSpaceInFrontOfTheCodesOfItsBlock) {
    const TextDictionary read_back = read(
        "VENDOR Example 64496\n"
        "BEGIN-VENDOR Example format=Extended-Vendor-Specific-5\n"
        "ATTRIBUTE Example-Long 1 octets\n"
        "END-VENDOR Example\n");
    EXPECT_EQ(reported(),
              (Lines{"dictionary:2: note: Extended-Vendor-Specific-5-Example is added, to hold the "
                     "attributes of this block"}));
    ASSERT_EQ(read_back.attributes.size(), 2U);
    EXPECT_EQ(read_back.attributes[0].code, (CodePath{245, 26, 64496}));
    EXPECT_EQ(read_back.attributes[0].type, "evs");
    EXPECT_EQ(read_back.attributes[1].code, (CodePath{245, 26, 64496, 1}));
}

TEST_F(TextDictionaryTest, KnowsSixExtendedVendorSpaces) {
    std::string text = "VENDOR Example 64496\n";
    for (const char* const space : {"1", "6", "0", "7", "4294967040", "4294967295", "4294967296", ""}) {
        text += std::string("BEGIN-VENDOR Example format=Extended-Vendor-Specific-") + space +
                "\nEND-VENDOR Example\n";
    }
    const TextDictionary read_back = read(text);
    const std::string unknown = "error: unknown option format=Extended-Vendor-Specific-";
    const std::string of_vendor = " of BEGIN-VENDOR Example";
    const std::string added = "-Example is added, to hold the attributes of this block";
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:2: note: Extended-Vendor-Specific-1" + added,
                              "dictionary:4: note: Extended-Vendor-Specific-6" + added,
                              "dictionary:6: " + unknown + "0" + of_vendor,
                              "dictionary:8: " + unknown + "7" + of_vendor,
                              "dictionary:10: " + unknown + "4294967040" + of_vendor,
                              "dictionary:12: " + unknown + "4294967295" + of_vendor,
                              "dictionary:14: " + unknown + "4294967296" + of_vendor,
                              "dictionary:16: " + unknown + of_vendor,
                          }));
    ASSERT_EQ(read_back.attributes.size(), 2U);
    EXPECT_EQ(read_back.attributes[0].code, (CodePath{241, 26, 64496}));
    EXPECT_EQ(read_back.attributes[1].code, (CodePath{246, 26, 64496}));
}

TEST_F(TextDictionaryTest, ReadsIncludedFilesOnceAndNextToTheFileThatNamesThem) {
    folder_.write("more/dictionary.a", "ATTRIBUTE A 1 string\n$INCLUDE dictionary.b\n");
    folder_.write("more/dictionary.b", "ATTRIBUTE B 2 string\n$INCLUDE ../dictionary\n");
    const TextDictionary read_back = read(
        "$INCLUDE more/dictionary.a\n"
        "$INCLUDE more/dictionary.b\n"
        "$INCLUDE- not-there-and-no-matter\n"
        "$INCLUDE not-there\n");
    EXPECT_EQ(reported(), (Lines{"dictionary:4: error: cannot read not-there"}));
    ASSERT_EQ(read_back.attributes.size(), 2U);
    EXPECT_EQ(read_back.attributes[1].place.file, (folder_.path() / "more/dictionary.b").string());
}

// Read one inside the other, they once ran the stack over.
TEST_F(TextDictionaryTest, AChainOfTenThousandFilesIsRead) {
    constexpr int length = 10'000;
    folder_.write("0", "ATTRIBUTE Last 1 string\n");
    for (int number = 1; number < length; ++number) {
        folder_.write(std::to_string(number), "$INCLUDE " + std::to_string(number - 1) + "\n");
    }
    const TextDictionary read_back = read("$INCLUDE 9999\nATTRIBUTE After 2 string\n");
    EXPECT_EQ(reported(), Lines{});
    ASSERT_EQ(read_back.attributes.size(), 2U);
    EXPECT_EQ(read_back.attributes[0].place.file, (folder_.path() / "0").string());
    EXPECT_EQ(read_back.attributes[1].place.file, (folder_.path() / "dictionary").string());
    EXPECT_EQ(read_back.attributes[1].place.line, 2U);
}

TEST_F(TextDictionaryTest, ABlockEndsWithItsFile) {
    folder_.write("open", "VENDOR Open 2\nBEGIN-VENDOR Open\nATTRIBUTE Inside 1 string\n");
    const TextDictionary read_back = read("$INCLUDE open\nATTRIBUTE Outside 3 string\n");
    EXPECT_EQ(reported(), (Lines{"open:2: error: BEGIN-VENDOR Open has no END-VENDOR"}));
    ASSERT_EQ(read_back.attributes.size(), 2U);
    EXPECT_EQ(read_back.attributes[0].code, (CodePath{26, 2, 1}));
    EXPECT_EQ(read_back.attributes[1].code, CodePath{3});
}

TEST_F(TextDictionaryTest, TellsEveryLineThatItCannotUnderstand) {
    read(
        "ATTRIBUTE Short 1\n"
        "ATTRIBUTE Bad-Code 1.x string\n"
        "ATTRIBUTE Bad-Flag 3 string encrypt=x\n"
        "VALUE Bad-Code Name\n"
        "VALUE Some Name x\n"
        "VENDOR Nameless\n"
        "VENDOR Odd 1 shape=round\n"
        "BEGIN-VENDOR Nobody\n"
        "ATTRIBUTE Inside 1 string\n"
        "END-VENDOR Nobody\n"
        "END-VENDOR Nobody\n"
        "BEGIN-TLV Nothing\n"
        "END-TLV Nothing\n"
        "$INCLUDE\n"
        "ATRIBUTE Misspelt 1 string\n"
        "VENDOR Open 2\n"
        "BEGIN-VENDOR Open\n");
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:1: error: ATTRIBUTE wants a name, a code and a type",
                              "dictionary:2: error: invalid code 1.x of ATTRIBUTE Bad-Code",
                              "dictionary:3: error: invalid flag encrypt=x of ATTRIBUTE Bad-Flag",
                              "dictionary:4: error: VALUE wants an attribute, a name and a number",
                              "dictionary:5: error: invalid number x of VALUE Name of Some",
                              "dictionary:6: error: VENDOR wants a name, a number and perhaps a format",
                              "dictionary:7: error: unknown option shape=round of VENDOR Odd",
                              "dictionary:8: error: BEGIN-VENDOR of the unknown vendor Nobody",
                              "dictionary:11: error: END-VENDOR Nobody has no BEGIN-VENDOR",
                              "dictionary:12: error: BEGIN-TLV of the unknown attribute Nothing",
                              "dictionary:14: error: $INCLUDE wants one file name",
                              "dictionary:15: error: unknown statement ATRIBUTE",
                              "dictionary:17: error: BEGIN-VENDOR Open has no END-VENDOR",
                          }));
}

TEST_F(TextDictionaryTest, BlocksWantTheirNames) {
    read("BEGIN-VENDOR A b c\nEND-VENDOR A\nBEGIN-TLV\n");
    EXPECT_EQ(reported(), (Lines{
                              "dictionary:1: error: BEGIN-VENDOR wants a name and perhaps a format",
                              "dictionary:3: error: BEGIN-TLV wants one name",
                              "dictionary:3: error: BEGIN-TLV  has no END-TLV",
                          }));
}

TEST_F(TextDictionaryTest, LeavesOutWhatCannotBeExpressed) {
    const TextDictionary read_back = read(
        "VENDOR USR 429 format=4,0\n"
        "BEGIN-VENDOR USR\n"
        "ATTRIBUTE USR-One 1 string\n"
        "END-VENDOR USR\n"
        "ATTRIBUTE Inner 1000 string virtual\n"
        "VALUE USR-One Off 0\n"
        "ATTRIBUTE Kept 1 string secret\n"
        "PROTOCOL RADIUS 1\n");
    EXPECT_EQ(
        reported(),
        (Lines{
            "dictionary:1: warning: vendor USR is left out: vendor format length size must be 1..4, got 0",
            "dictionary:2: warning: the attributes of vendor USR are left out with it",
            "dictionary:5: warning: Inner is left out: it is virtual and never on the wire",
            "dictionary:6: note: the value Off is left out with its attribute USR-One",
            "dictionary:7: note: the flag secret of Kept is dropped",
            "dictionary:8: warning: PROTOCOL cannot be expressed and is left out",
        }));
    ASSERT_EQ(read_back.attributes.size(), 1U);
    EXPECT_EQ(read_back.attributes[0].name, "Kept");
}

TEST_F(TextDictionaryTest, ThrowsForAFileThatIsNotThere) {
    EXPECT_THROW(read_text_dictionary(folder_.path() / "nowhere", problems_), FileError);
    EXPECT_THROW(read_text_dictionary(folder_.path(), problems_), FileError);
}

// Files that never end. Each is included: what the user names alone may be something else than a file.

TEST_F(TextDictionaryTest, IncludesRegularFilesAlone) {
    ASSERT_EQ(mkfifo((folder_.path() / "pipe").c_str(), 0600), 0);
    const TextDictionary read_back = read(
        "$INCLUDE /dev/zero\n$INCLUDE pipe\n$INCLUDE- pipe\n$INCLUDE /proc/self/mem\n$INCLUDE .\n"
        "ATTRIBUTE A 1 string\n");
    EXPECT_EQ(
        reported(),
        (Lines{"dictionary:1: error: cannot read /dev/zero", "dictionary:2: error: cannot read pipe",
               "dictionary:4: error: cannot read /proc/self/mem", "dictionary:5: error: cannot read ."}));
    EXPECT_EQ(read_back.attributes.size(), 1U);
}

TEST_F(TextDictionaryTest, IncludesNoFileOfMoreThan64Mebibytes) {
    const std::string large = folder_.write("large", "");
    std::filesystem::resize_file(large, (std::uintmax_t{64} << 20) + 1);  // sparse: it takes no room
    read("$INCLUDE large\n");
    EXPECT_EQ(reported(), Lines{"dictionary:1: error: cannot read large"});
    EXPECT_THROW(read_text_dictionary(large, problems_), FileError);
}

TEST_F(TextDictionaryTest, TheFirstFileMayBeAPipe) {
    const std::string pipe = folder_.path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&pipe] { std::ofstream(pipe) << "ATTRIBUTE A 1 string\n"; });
    EXPECT_EQ(read_text_dictionary(pipe, problems_).attributes.size(), 1U);
    writer.join();
    EXPECT_EQ(reported(), Lines{});
}

}  // namespace
}  // namespace quarn::quarn_radius
