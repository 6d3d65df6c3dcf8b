#include "quarn/client/note.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quarn::client {

namespace {

constexpr std::array rows = std::to_array<NoteRow>({
    {NoteId::MessageAuthenticatorMissing, "message-authenticator-missing"},
    {NoteId::MessageAuthenticatorNotFirst, "message-authenticator-not-first"},
    {NoteId::MessageAuthenticatorOverZeros, "message-authenticator-over-zeros"},
    {NoteId::TrailingOctets, "trailing-octets"},
    {NoteId::DroppedAttribute, "dropped-attribute"},
    {NoteId::TruncatedValue, "truncated-value"},
    {NoteId::ErrorCause, "error-cause"},
    {NoteId::OriginalCode, "original-code"},
    {NoteId::UnknownKind, "unknown-kind"},
    {NoteId::MsChapError, "mschap-error"},
    {NoteId::MsChap2SuccessMissing, "mschap2-success-missing"},
    {NoteId::LateReply, "late-reply"},
    {NoteId::SecondReply, "second-reply"},
    {NoteId::UnacceptablePacket, "unacceptable-packet"},
    {NoteId::AddressFailed, "address-failed"},
    {NoteId::AddressesLeftOut, "addresses-left-out"},
    {NoteId::Reconnected, "reconnected"},
    {NoteId::TooManyRounds, "too-many-rounds"},
});

}  // namespace

void add_note(std::vector<Note>& notes, NoteId id, std::string text) {
    const auto of_this_kind =
        std::count_if(notes.begin(), notes.end(), [id](const Note& note) { return note.id == id; });
    if (static_cast<std::size_t>(of_this_kind) < max_notes_of_a_kind) {
        notes.push_back({id, std::move(text)});
    }
}

std::span<const NoteRow> note_rows() {
    return rows;
}

std::string_view note_word(NoteId id) {
    return rows[static_cast<std::size_t>(id)].word;
}

}  // namespace quarn::client
