// Remarks on a run that do not change its verdict, as data.
//
//     for (const Note& note : report.notes) {
//         print(note_word(note.id), note.text);   // "message-authenticator-missing", "The reply is not ..."
//     }
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quarn::client {

/// What a note is about.
enum class NoteId : std::uint8_t {
    MessageAuthenticatorMissing,    ///< an Access reply is signed by its Response Authenticator alone
    MessageAuthenticatorNotFirst,   ///< it is there and fits, but is not the first attribute
    MessageAuthenticatorOverZeros,  ///< computed over zero octets instead of the Request Authenticator
    TrailingOctets,                 ///< octets after the packet's Length were ignored (RFC 2865, section 3)
    DroppedAttribute,               ///< the decoder dropped an attribute that it could not read
    TruncatedValue,                 ///< the encoder cut a value of the request
    ErrorCause,                     ///< Error-Cause, named and explained
    OriginalCode,                   ///< Protocol-Error tells which request it is about (RFC 7930)
    UnknownKind,                    ///< the code of request or reply is not one that this library knows
    MsChapError,                    ///< MS-CHAP-Error, explained
    MsChap2SuccessMissing,          ///< the server did not prove that it knows the password
    LateReply,                      ///< a reply to an earlier request of the same run arrived
    SecondReply,                    ///< another reply to a request that was already answered arrived
    UnacceptablePacket,             ///< a packet that was not accepted came before the reply
    AddressFailed,                  ///< an earlier address of the server's name did not answer
    AddressesLeftOut,               ///< the server's name has more addresses than are tried
    Reconnected,                    ///< the connection had been closed, and was opened anew
    TooManyRounds,                  ///< the limit of challenge rounds was reached
};

/// One remark.
struct Note {
    NoteId id;
    std::string text;  ///< for people; one or more whole sentences

    /// Member by member.
    bool operator==(const Note&) const = default;
};

/// Most notes of one kind: who sends a thousand odd packets, or attributes, gets no more.
inline constexpr std::size_t max_notes_of_a_kind = 8;

/// Adds a note, unless there are as many of its kind as there may be.
void add_note(std::vector<Note>& notes, NoteId id, std::string text);

/// A note's identity as a word: lower-case letters, digits and hyphens, never changed.
struct NoteRow {
    NoteId id;
    std::string_view word;
};

/// Every kind of note once, in the order of the enumeration.
std::span<const NoteRow> note_rows();

/// The word of a kind of note, such as "late-reply".
std::string_view note_word(NoteId id);

}  // namespace quarn::client
