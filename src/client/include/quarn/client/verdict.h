// How a run ended: one enumerator, one word for programs, one sentence for people and one exit status each.
//
//     const VerdictRow& row = verdict_row(report.verdict);
//     print(row.word);                        // "wrong-secret"
//     print(row.sentence);                    // "The reply is not signed with this secret: ..."
//     return row.exit_status;                 // 6
//
//     verdict_from_word("no-answer");         // Verdict::NoAnswer
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace quarn::client {

/// The end of a run. The numbers are not part of the interface; the words are.
enum class Verdict : std::uint8_t {
    Accepted,           ///< the request succeeded, as success is defined for its code
    Rejected,           ///< Access-Reject, a NAK, or Protocol-Error (RFC 7930)
    Challenge,          ///< Access-Challenge, and no further answer was given
    ExpectationFailed,  ///< the reply is authentic, but not what the caller expected; set by callers

    NoAnswer,       ///< nothing came, neither packet nor ICMP message
    ResolveFailed,  ///< the server's name has no address, or none was found in time
    Unreachable,    ///< no route, an ICMP "unreachable" other than of the port, or a local firewall (EPERM)
    Refused,        ///< nobody listens at the port (ICMP port unreachable, TCP reset)
    ConnectionClosed,  ///< the server closed the connection before it answered

    WrongSecret,                  ///< every check that the secret enters fails
    NotAuthentic,                 ///< one check holds, another one fails
    MessageAuthenticatorMissing,  ///< required and not there
    WrongIdentifier,              ///< the only reply answers another request
    WrongSource,                  ///< the only reply came from another address
    UnexpectedCode,               ///< the reply is authentic; its code is no answer to the request
    Malformed,                    ///< the reply cannot be decoded
};

/// What is said of a verdict.
struct VerdictRow {
    Verdict verdict;
    std::string_view word;      ///< for programs: lower-case letters and hyphens, never changed
    std::string_view sentence;  ///< for people: what happened, then what to look at; ends with a full stop
    int exit_status;            ///< of a program that ends with this verdict: 0, 1, 4, 5 or 6
};

/// Whether a reply of this verdict is authentic and answers the request: `Accepted`, `Rejected`, `Challenge`
/// and `ExpectationFailed`. Believe nothing that any other reply says.
bool is_trusted(Verdict verdict);

/// Every verdict once, in the order of the enumeration.
std::span<const VerdictRow> verdict_rows();

/// The row of a verdict.
const VerdictRow& verdict_row(Verdict verdict);

/// The verdict of this word, case mattering; nothing for any other text.
std::optional<Verdict> verdict_from_word(std::string_view word);

}  // namespace quarn::client
