#include "quarn/client/verdict.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace quarn::client {
namespace {

TEST(Verdicts, HaveTheirWordsAndExitStatuses) {
    std::vector<std::string> lines;
    for (const VerdictRow& row : verdict_rows()) {
        lines.push_back(std::to_string(row.exit_status) + " " + std::string(row.word));
    }
    EXPECT_EQ(lines, (std::vector<std::string>{
                         "0 accepted", "1 rejected", "1 challenge", "1 expectation-failed", "4 no-answer",
                         "5 resolve-failed", "5 unreachable", "5 refused", "5 connection-closed",
                         "6 wrong-secret", "6 not-authentic", "6 message-authenticator-missing",
                         "6 wrong-identifier", "6 wrong-source", "6 unexpected-code", "6 malformed"}));
}

TEST(Verdicts, OfAuthenticAnswersAreTrusted) {
    for (const VerdictRow& row : verdict_rows()) {
        EXPECT_EQ(is_trusted(row.verdict), row.exit_status <= 1) << row.word;
    }
}

TEST(Verdicts, AreFoundByTheirWordAndInTheirRow) {
    for (const VerdictRow& row : verdict_rows()) {
        EXPECT_EQ(verdict_row(row.verdict).word, row.word);
        EXPECT_EQ(verdict_from_word(row.word), row.verdict);
    }
    for (const char* const word : {"", "Accepted", "accepte", "accepted "}) {
        EXPECT_EQ(verdict_from_word(word), std::nullopt) << word;
    }
}

TEST(Verdicts, HaveASentenceEach) {
    std::set<std::string_view> sentences;
    for (const VerdictRow& row : verdict_rows()) {
        EXPECT_TRUE(row.sentence.ends_with('.')) << row.word;
        EXPECT_TRUE(sentences.insert(row.sentence).second) << row.word;
        // What happened, and then what to look at; success needs no advice.
        EXPECT_EQ(row.sentence.find(": ") == row.sentence.npos, row.verdict == Verdict::Accepted) << row.word;
    }
}

}  // namespace
}  // namespace quarn::client
