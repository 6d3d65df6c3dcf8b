#include "quarn/client/note.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

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

TEST(Notes, AreEightOfAKindAtMost) {
    std::vector<Note> notes;
    for (int i = 0; i < 1000; ++i) {
        add_note(notes, NoteId::DroppedAttribute, std::to_string(i));
    }
    add_note(notes, NoteId::ErrorCause, "another kind");
    ASSERT_EQ(notes.size(), 9U);
    EXPECT_EQ(notes[7], (Note{NoteId::DroppedAttribute, "7"}));
    EXPECT_EQ(notes[8], (Note{NoteId::ErrorCause, "another kind"}));
}

}  // namespace
}  // namespace quarn::client
