#include "quarn/client/verdict.h"

#include <algorithm>
#include <array>

namespace quarn::client {

namespace {

constexpr std::array rows = std::to_array<VerdictRow>({
    {Verdict::Accepted, "accepted", "The server accepted the request.", 0},
    {Verdict::Rejected, "rejected",
     "The server rejected the request: look at the attributes of the reply and at the server's log.", 1},
    {Verdict::Challenge, "challenge",
     "The server asks for more and got no answer: look at the Reply-Message, and answer the challenge.", 1},
    {Verdict::ExpectationFailed, "expectation-failed",
     "The reply is authentic, but not what was expected: compare it with the expectations.", 1},
    {Verdict::NoAnswer, "no-answer",
     "Nothing came back: look at the server's list of clients and the shared secret, since most servers "
     "drop what they cannot verify, and then at the address, the port and the firewalls on the way.",
     4},
    {Verdict::ResolveFailed, "resolve-failed",
     "The server's name has no address: look at its spelling and at this machine's resolver.", 5},
    {Verdict::Unreachable, "unreachable",
     "Packets do not get to the server: look at the route, at the source address and interface, and at "
     "firewalls, this machine's own among them.",
     5},
    {Verdict::Refused, "refused",
     "Nobody listens at the server's port: look at the port, and whether the server is running.", 5},
    {Verdict::ConnectionClosed, "connection-closed",
     "The server closed the connection before it answered: look at its list of clients, at the "
     "shared secret, since servers close over what they cannot verify, and at its log.",
     5},
    {Verdict::WrongSecret, "wrong-secret",
     "The reply is not signed with this secret: compare the shared secret on both sides; a packet that was "
     "changed on its way looks the same.",
     6},
    {Verdict::NotAuthentic, "not-authentic",
     "One signature of the reply fits and another one does not: look for a proxy or an attacker that "
     "changes packets, and for faults of the server.",
     6},
    {Verdict::MessageAuthenticatorMissing, "message-authenticator-missing",
     "The reply lacks the Message-Authenticator that is required: have the server sign its replies, or "
     "look for an attacker that removes it.",
     6},
    {Verdict::WrongIdentifier, "wrong-identifier",
     "The reply answers another request: look for a late reply, or for two clients that share an address "
     "and a port.",
     6},
    {Verdict::WrongSource, "wrong-source",
     "The reply came from another address or port than the request went to: look at the addresses of a "
     "server that has several, and at address translation.",
     6},
    {Verdict::UnexpectedCode, "unexpected-code",
     "The reply is authentic, but its code is no answer to this request: look at the port, which may be "
     "that of another service.",
     6},
    {Verdict::Malformed, "malformed",
     "The reply cannot be decoded: look whether a RADIUS server listens at the port, and at its version.", 6},
});

}  // namespace

bool is_trusted(Verdict verdict) {
    switch (verdict) {
        case Verdict::Accepted:
        case Verdict::Rejected:
        case Verdict::Challenge:
        case Verdict::ExpectationFailed:
            return true;
        default:
            return false;
    }
}

std::span<const VerdictRow> verdict_rows() {
    return rows;
}

const VerdictRow& verdict_row(Verdict verdict) {
    return rows[static_cast<std::size_t>(verdict)];
}

std::optional<Verdict> verdict_from_word(std::string_view word) {
    const auto* const row = std::find_if(rows.begin(), rows.end(),
                                         [word](const VerdictRow& entry) { return entry.word == word; });
    return row != rows.end() ? std::optional(row->verdict) : std::nullopt;
}

}  // namespace quarn::client
