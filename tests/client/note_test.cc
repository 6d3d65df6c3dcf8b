#include "quarn/client/note.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace quarn::client {
namespace {

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

}  // namespace
}  // namespace quarn::client
