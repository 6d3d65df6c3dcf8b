#include "quarn_radius/send/request_file.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "testing/scratch_folder.h"
#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

using Lines = std::vector<std::string>;

/// "line NAME=VALUE" of each attribute, requests separated by "--".
Lines read(std::string_view text) {
    const RequestFile file = parse_request_file(text, "file");
    Lines lines;
    for (const FileRequest& request : file.requests) {
        if (&request != &file.requests.front()) {
            lines.emplace_back("--");
        }
        for (const FileAttribute& attribute : request.attributes) {
            lines.push_back(std::to_string(attribute.line) + " " + attribute.text.name + "=" +
                            std::string(std::string_view(attribute.text.value)));
        }
    }
    return lines;
}

std::string problem_of(std::string_view text) {
    return test::thrown_text<std::invalid_argument>([text] { parse_request_file(text, "file"); });
}

TEST(RequestFile, ReadsALineAnAttribute) {
    EXPECT_EQ(read("User-Name = \"bob\"\nUser-Password = \"hello\"\nNAS-Port = 3\n"),
              (Lines{"1 User-Name=bob", "2 User-Password=hello", "3 NAS-Port=3"}));
}

TEST(RequestFile, ReadsSeveralAttributesOfALine) {
    EXPECT_EQ(read("User-Name=bob,User-Password=hello, NAS-Port = 3,\n"),
              (Lines{"1 User-Name=bob", "1 User-Password=hello", "1 NAS-Port=3"}));
}

TEST(RequestFile, SeparatesRequestsByBlankLines) {
    EXPECT_EQ(read("\n\nUser-Name = a\n \t\r\n\nUser-Name = b\n\n"),
              (Lines{"3 User-Name=a", "--", "6 User-Name=b"}));
}

TEST(RequestFile, PassesOverComments) {
    EXPECT_EQ(read("# one\nUser-Name = a # two\n  # three\nNAS-Port = 3#four\nFilter-Id = \"#five\"\n"),
              (Lines{"2 User-Name=a", "4 NAS-Port=3", "5 Filter-Id=#five"}));
}

TEST(RequestFile, ReadsEscapesBetweenDoubleQuotes) {
    EXPECT_EQ(read(R"(Reply-Message = "a\"b\\c\n\r\t\'\x41\101")"),
              (Lines{"1 Reply-Message=a\"b\\c\n\r\t'AA"}));
    EXPECT_EQ(read(R"(Reply-Message = "\000\377")"), Lines{std::string("1 Reply-Message=\0\xFF", 18)});
}

TEST(RequestFile, TakesSingleQuotesLiterally) {
    EXPECT_EQ(read(R"(Reply-Message = 'a"b\n\\\'c')"), (Lines{R"(1 Reply-Message=a"b\n\'c)"}));
}

TEST(RequestFile, ReadsTagsAndNumbers) {
    EXPECT_EQ(read("Tunnel-Type:1 = VLAN\nTunnel-Type:1:=VLAN\nAttr-26.9.1 = 0x61\n26.9.1=0x61\n"),
              (Lines{"1 Tunnel-Type:1=VLAN", "2 Tunnel-Type:1=VLAN", "3 Attr-26.9.1=0x61", "4 26.9.1=0x61"}));
}

TEST(RequestFile, ReadsWhatOtherSystemsWrite) {
    EXPECT_EQ(read("\xEF\xBB\xBFUser-Name = \"bob\"\r\nNAS-Port = 3\r\n"),
              (Lines{"1 User-Name=bob", "2 NAS-Port=3"}));
    EXPECT_EQ(read("User-Name = \"b\xC3\xB6\x62\""), (Lines{"1 User-Name=b\xC3\xB6\x62"}));
    EXPECT_EQ(read(""), Lines{});
    EXPECT_EQ(read("# nothing\n"), Lines{});
}

TEST(RequestFile, NotesOperatorsThatMeanNothingHere) {
    const RequestFile file = parse_request_file("A := 1\nB += 2, C == 3\nD = 4\n\nE = 5\n", "file");
    Lines notes;
    for (const Problem& note : file.requests.front().notes) {
        notes.push_back(problem_line(note));
    }
    EXPECT_EQ(notes, (Lines{"file:1: note: A: the operator := is read as =",
                            "file:2: note: B: the operator += is read as =",
                            "file:2: note: C: the operator == is read as ="}));
    EXPECT_EQ(file.requests.back().notes, Problems()) << "each request has its own notes";
}

TEST(RequestFile, LeavesOutWhatIsCompared) {
    const RequestFile file = parse_request_file(
        "A = 1\nB != 2\nC =~ \"x\", D !~ x\nE >= 1\nF <= 1\nG > 1\nH < 1\nI =* ANY\nJ !* ANY\nK -= 1\nL ^= "
        "1\n",
        "file");
    ASSERT_EQ(file.requests.size(), 1U);
    EXPECT_EQ(file.requests.front().attributes.size(), 1U);
    Lines notes;
    for (const Problem& note : file.requests.front().notes) {
        notes.push_back(problem_line(note));
    }
    const auto line = [](int number, const std::string& name, const std::string& sign) {
        return "file:" + std::to_string(number) + ": note: " + name + " is left out: the operator " + sign +
               " gives no value to send";
    };
    EXPECT_EQ(notes, (Lines{line(2, "B", "!="), line(3, "C", "=~"), line(3, "D", "!~"), line(4, "E", ">="),
                            line(5, "F", "<="), line(6, "G", ">"), line(7, "H", "<"), line(8, "I", "=*"),
                            line(9, "J", "!*"), line(10, "K", "-="), line(11, "L", "^=")}));
}

TEST(RequestFile, KnowsWhereARequestBegins) {
    const RequestFile file = parse_request_file("# one\nA != 1\nB = 2\n\n\nC = 3\n", "file");
    ASSERT_EQ(file.requests.size(), 2U);
    EXPECT_EQ(file.requests[0].line, 2U);
    EXPECT_EQ(file.requests[1].line, 6U);
}

TEST(RequestFile, TellsTheLineOfWhatItCannotRead) {
    const std::string escape = R"(an escape is one of \\ \" \' \n \r \t \xHH \OOO; a backslash itself is \\)";
    const std::string comma =
        "a comma or the end of the line has to follow a value; one with blanks in it needs quotes";
    EXPECT_EQ(problem_of("A 1"), "file:1: \"=\" is missing after the attribute's name");
    EXPECT_EQ(problem_of("A"), "file:1: \"=\" is missing after the attribute's name");
    EXPECT_EQ(problem_of("= 1"),
              "file:1: an attribute's name is missing; a request has lines such as User-Name = \"bob\"");
    EXPECT_EQ(problem_of("A ="), "file:1: the value is missing; an empty one is written \"\"");
    EXPECT_EQ(problem_of("A = # b"), "file:1: the value is missing; an empty one is written \"\"");
    EXPECT_EQ(problem_of("A = \"b"), "file:1: the quotation mark at the end of the value is missing");
    EXPECT_EQ(problem_of("A = 'b\\"), "file:1: the quotation mark at the end of the value is missing");
    EXPECT_EQ(problem_of("A = \"b\" C = 1"), "file:1: " + comma);
    EXPECT_EQ(problem_of("A = hello there"), "file:1: " + comma);
    EXPECT_EQ(problem_of(R"(A = "DOMAIN\bob")"), "file:1: " + escape);
    EXPECT_EQ(problem_of(R"(A = "\x4")"), "file:1: " + escape);
    EXPECT_EQ(problem_of(R"(A = "\400")"), "file:1: " + escape);
    EXPECT_EQ(problem_of("A = `id`"),
              "file:1: a request file runs no commands: quote the value with \" or '");
}

TEST(ReadRequestFile, NamesAFileThatCannotBeRead) {
    EXPECT_EQ(test::thrown_text<FileError>([] { read_request_file("/nowhere/file"); }),
              "/nowhere/file: cannot read: No such file or directory");
    const test::ScratchFolder folder;
    EXPECT_EQ(test::thrown_text<FileError>([&] { read_request_file(folder.path()); }),
              folder.path().string() + ": cannot read: Is a directory");
}

TEST(ReadRequestFile, ReadsAtMost16MiB) {
    const test::ScratchFolder folder;
    const std::string line = "User-Name = a\n";
    std::string text;
    while (text.size() <= std::size_t{16} << 20) {
        text += line;
    }
    const std::string path = folder.write("large", text);
    EXPECT_EQ(test::thrown_text<FileError>([&] { read_request_file(path); }),
              path + ": cannot read: larger than 16 MiB");
    const std::string small = folder.write("small", line);
    EXPECT_EQ(read_request_file(small).requests.size(), 1U);
    EXPECT_EQ(read_request_file(small).name, small);
}

}  // namespace
}  // namespace quarn::quarn_radius
