#include "authprobe/report.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "common/colour.h"
#include "testing/captured_output.h"
#include "testing/dictionaries.h"

namespace quarn::authprobe {
namespace {

using subscriber::radius::RadiusPacket;
using test::CapturedOutput;
using test::Stream;

TEST(StatusLine, NeverColoursItsPrefix) {
    CapturedOutput on_terminal(Stream::Terminal);
    const std::string coloured = status_line(tools::red, "Fail");
    on_terminal.finish();
    CapturedOutput elsewhere;
    const std::string plain = status_line(tools::red, "Fail");
    elsewhere.finish();
    EXPECT_EQ(coloured, "authprobe: \x1b[31mFail\x1b[0m");
    EXPECT_EQ(plain, "authprobe: Fail");
}

TEST(CodeName, NamesTwelveCodesAndNumbersTheRest) {
    const std::map<int, std::string> names = {
        {1, "Access-Request"},
        {2, "Access-Accept"},
        {3, "Access-Reject"},
        {4, "Accounting-Request"},
        {5, "Accounting-Response"},
        {11, "Access-Challenge"},
        {40, "Disconnect-Request"},
        {41, "Disconnect-ACK"},
        {42, "Disconnect-NAK"},
        {43, "CoA-Request"},
        {44, "CoA-ACK"},
        {45, "CoA-NAK"},
    };
    for (int code = 0; code < 256; ++code) {
        const auto named = names.find(code);
        EXPECT_EQ(code_name(static_cast<std::uint8_t>(code)),
                  named != names.end() ? named->second : "Code-" + std::to_string(code));
    }
}

TEST(PrintAttributes, WritesTheListingToStandardOutput) {
    const auto dictionary = test::dictionary_from("attributes: {Text: {code: 202, type: text}}");
    RadiusPacket packet(dictionary);
    packet.add_attribute("Text", "plain");
    CapturedOutput captured;
    print_attributes(packet, dictionary.get());
    print_attributes(RadiusPacket(dictionary), dictionary.get());
    captured.finish();
    EXPECT_EQ(captured.output(), "     Text = \"plain\"\n");
    EXPECT_EQ(captured.errors(), "");
}

}  // namespace
}  // namespace quarn::authprobe
