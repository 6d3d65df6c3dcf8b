#include "quarn_radius/send/text_report.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "quarn/client/verdict.h"
#include "testing/hex.h"

namespace quarn::quarn_radius {
namespace {

TEST(BytesText, ShowsOffsetsDigitsAndCharacters) {
    EXPECT_EQ(bytes_text(utils::as_bytes("0123456789abcdef\n~\x7F")),
              "  0000  30 31 32 33 34 35 36 37 38 39 61 62 63 64 65 66  0123456789abcdef\n"
              "  0010  0a 7e 7f                                         .~.\n");
    EXPECT_EQ(bytes_text({}), "");
}

std::string content_of(const std::string& name) {
    std::ifstream stream(std::string(QUARN_SOURCE_DIR) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// A verdict without its row in the pages and in the schema would leave its reader alone.
TEST(Verdicts, AreInEveryPageAndInTheSchema) {
    const std::string troubleshooting = content_of("docs/troubleshooting.md");
    const std::string page = content_of("docs/man/quarn-radius.1");
    const std::string guide = content_of("docs/send.md");
    const std::string schema = content_of("share/quarn/radius/send.schema.json");
    for (const client::VerdictRow& row : client::verdict_rows()) {
        const std::string word(row.word);
        EXPECT_NE(troubleshooting.find("| `" + word + "` |"), std::string::npos) << word;
        EXPECT_NE(guide.find("`" + word + "`"), std::string::npos) << word;
        EXPECT_NE(schema.find('"' + word + '"'), std::string::npos) << word;
        EXPECT_NE(page.find(".It " + word + "\n" + std::to_string(row.exit_status) + ": "), std::string::npos)
            << word;
    }
}

}  // namespace
}  // namespace quarn::quarn_radius
