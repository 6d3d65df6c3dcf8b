#include "assessment.h"

#include <utility>

#include "quarn/client/verdict.h"

namespace quarn::client {

namespace {

constexpr int rank_of_foreign_bytes = 0;
constexpr int rank_of_authentic_reply_from_elsewhere = 6;

/// The rank of a packet that came from the server's address and is not trusted.
int rank_of(Verdict verdict) {
    switch (verdict) {
        case Verdict::MessageAuthenticatorMissing:
            return 7;
        case Verdict::UnexpectedCode:
            return 5;
        case Verdict::NotAuthentic:
            return 4;
        case Verdict::WrongSecret:
            return 3;
        case Verdict::WrongIdentifier:
            return 2;
        default:  // Malformed
            return 1;
    }
}

}  // namespace

std::string Assessed::refusal_text() const {
    return "A packet from " + packet.source.text() + " was not accepted, " +
           std::string(verdict_row(judgement.verdict).word) +
           (judgement.detail.empty() ? "" : ": " + judgement.detail) + ".";
}

Assessed assess(const ReceivedPacket& packet, const net::Address& server, const Ask& ask, Duration round_trip,
                std::string_view secret,
                const std::shared_ptr<const subscriber::radius::RadiusDictionary>& dictionary,
                RequireMessageAuthenticator requirement) {
    Judgement judgement =
        judge_reply(packet.bytes, ask.request, secret, dictionary,
                    {.require_message_authenticator = requirement, .mschapv2 = ask.mschapv2});
    int rank = rank_of(judgement.verdict);
    if (packet.source != server) {
        const bool is_authentic = judgement.is_trusted();
        rank = is_authentic ? rank_of_authentic_reply_from_elsewhere : rank_of_foreign_bytes;
        judgement.verdict = Verdict::WrongSource;
        judgement.detail = "from " + packet.source.text() + " instead of " + server.text() +
                           (is_authentic ? "; it is authentic otherwise" : "");
        judgement.offset.reset();
    }
    return {packet, std::move(judgement), round_trip, rank};
}

}  // namespace quarn::client
