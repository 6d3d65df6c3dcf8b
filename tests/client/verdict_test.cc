#include "quarn/client/verdict.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "quarn/client/error_cause.h"
#include "quarn/client/note.h"

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

TEST(Notes, AreInTheOrderOfTheirRows) {
    std::set<std::string_view> words;
    for (const NoteRow& row : note_rows()) {
        EXPECT_EQ(note_word(row.id), row.word);
        EXPECT_TRUE(words.insert(row.word).second) << row.word;
    }
    EXPECT_EQ(note_word(NoteId::MessageAuthenticatorMissing), "message-authenticator-missing");
    EXPECT_EQ(note_word(NoteId::TooManyRounds), "too-many-rounds");
    EXPECT_EQ(words.size(), static_cast<std::size_t>(NoteId::TooManyRounds) + 1);
}

TEST(ErrorCauses, AreFoundByNumber) {
    EXPECT_EQ(find_error_cause(503)->name, "Session Context Not Found");
    EXPECT_EQ(find_error_cause(0), nullptr);
    EXPECT_EQ(find_error_cause(4000000000), nullptr);
    std::uint32_t last = 0;
    for (const ErrorCauseRow& row : error_causes()) {
        EXPECT_LT(last, row.number);
        last = row.number;
        EXPECT_EQ(find_error_cause(row.number)->name, row.name);
        EXPECT_TRUE(row.explanation.ends_with('.')) << row.number;
    }
}

}  // namespace
}  // namespace quarn::client
