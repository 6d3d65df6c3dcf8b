#include "quarn/client/judgement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/thrown_text.h"
#include "testing/wire.h"

namespace quarn::client {
namespace {

using test::attribute;
using test::hex;
using test::joined;
using test::Lines;
using test::Reply;
using utils::Bytes;

constexpr char secret[] = "testing123";

EncodedRequest request_with_code(std::uint8_t code) {
    return EncodedRequest(test::datagram(code, ""));
}

Judgement judged(const Bytes& reply, std::uint8_t request_code = 1, const JudgementOptions& options = {},
                 std::string_view with_secret = secret) {
    return judge_reply(reply, request_with_code(request_code), with_secret, test::shipped_dictionary(),
                       options);
}

Bytes reply_to(std::uint8_t request_code, const Reply& reply) {
    return test::reply_to(request_with_code(request_code).datagram(), reply);
}

/// The verdict's word, with the offset and the detail; then a line for each note.
Lines told(const Judgement& judgement) {
    std::string line(verdict_row(judgement.verdict).word);
    line += judgement.offset ? " at " + std::to_string(*judgement.offset) : "";
    line += judgement.detail.empty() ? "" : ": " + judgement.detail;
    Lines lines = {line};
    for (const Note& note : judgement.notes) {
        lines.push_back(std::string(note_word(note.id)) + ": " + note.text);
    }
    return lines;
}

std::string verdict_of(const Bytes& reply, std::uint8_t request_code = 1,
                       const JudgementOptions& options = {}) {
    return std::string(verdict_row(judged(reply, request_code, options).verdict).word);
}

/// Signs with a Message-Authenticator computed over zeros, as FreeRADIUS 3.2 does for some codes.
Bytes signed_over_zeros(std::uint8_t request_code, std::uint8_t code) {
    const EncodedRequest request = request_with_code(request_code);
    Bytes reply = {code, request.identifier(), 0, 38};
    reply.resize(20);
    const Bytes empty = attribute(80, Bytes(16));
    reply.insert(reply.end(), empty.begin(), empty.end());
    const test::Digest signature = test::hmac_md5(secret, reply);
    std::copy(signature.begin(), signature.end(), reply.begin() + 22);
    std::copy(request.authenticator().begin(), request.authenticator().end(), reply.begin() + 4);
    const test::Digest digest = test::md5(joined({reply, utils::to_bytes(secret)}));
    std::copy(digest.begin(), digest.end(), reply.begin() + 4);
    return reply;
}

struct Success {
    std::uint8_t request;
    std::uint8_t reply;
    std::string word;
};

TEST(JudgeReply, KnowsWhatSuccessMeansForEachCode) {
    const Success cases[] = {
        {1, 2, "accepted"},         {1, 3, "rejected"},          {1, 11, "challenge"},
        {4, 5, "accepted"},         {12, 2, "accepted"},         {12, 5, "accepted"},
        {40, 41, "accepted"},       {40, 42, "rejected"},        {43, 44, "accepted"},
        {43, 45, "rejected"},       {1, 52, "rejected"},         {4, 52, "rejected"},
        {43, 52, "rejected"},       {1, 5, "unexpected-code"},   {4, 2, "unexpected-code"},
        {12, 3, "unexpected-code"}, {43, 41, "unexpected-code"}, {1, 99, "unexpected-code"},
        {1, 1, "unexpected-code"},  {99, 2, "accepted"},         {99, 3, "rejected"},
        {99, 100, "accepted"},      {99, 1, "unexpected-code"},
    };
    for (const Success& expected : cases) {
        EXPECT_EQ(verdict_of(reply_to(expected.request, {.code = expected.reply}), expected.request),
                  expected.word)
            << int{expected.request} << " -> " << int{expected.reply};
    }
}

TEST(JudgeReply, HandsOutTheVerifiedPacket) {
    const Judgement judgement = judged(reply_to(1, {.code = 2, .attributes = attribute(18, "hello")}));
    EXPECT_EQ(told(judgement), (Lines{"accepted"}));
    EXPECT_TRUE(judgement.is_trusted());
    ASSERT_NE(judgement.reply->verified(), nullptr);
    EXPECT_EQ(judgement.reply->verified()->find_attribute("Reply-Message")->values[0].as_string(), "hello");
}

TEST(JudgeReply, TellsWhatAMismatchedCodeIs) {
    EXPECT_EQ(told(judged(reply_to(1, {.code = 5}))),
              (Lines{"unexpected-code: Accounting-Response (code 5) to Access-Request (code 1)"}));
}

TEST(JudgeReply, NotesKindsThatItDoesNotKnow) {
    EXPECT_EQ(told(judged(reply_to(99, {.code = 2}), 99)),
              (Lines{"accepted",
                     "unknown-kind: What code 99 means is not known here: only the Response "
                     "Authenticator of the reply was verified."}));
    EXPECT_EQ(told(judged(reply_to(99, {.code = 100, .secret = "other"}), 99)),
              (Lines{"wrong-secret",
                     "unknown-kind: The signatures of replies with code 100 are not known here: "
                     "they may be computed in another way."}));
}

// Signatures.

TEST(JudgeReply, CallsASecretWrongWhenNoCheckHolds) {
    EXPECT_EQ(told(judged(reply_to(1, {.code = 2, .secret = "other"}))), (Lines{"wrong-secret"}));
    EXPECT_EQ(told(judged(reply_to(1, {.code = 2, .message_authenticator = false, .secret = "other"}))),
              (Lines{"wrong-secret"}));
    EXPECT_FALSE(judged(reply_to(1, {.code = 2, .secret = "other"})).is_trusted());
}

TEST(JudgeReply, CallsAReplyNotAuthenticWhenOneCheckHolds) {
    EXPECT_EQ(told(judged(reply_to(1, {.code = 2, .spoil_message_authenticator = true}))),
              (Lines{"not-authentic: the Response Authenticator fits, the Message-Authenticator does not"}));
    Bytes spoilt = reply_to(1, {.code = 2});
    spoilt[4] ^= 1;
    EXPECT_EQ(told(judged(spoilt)),
              (Lines{"not-authentic: the Message-Authenticator fits, the Response Authenticator does not"}));
}

TEST(JudgeReply, TrustsNothingWithoutASecret) {
    EXPECT_EQ(told(judged(reply_to(1, {.code = 2, .secret = ""}), 1, {}, "")),
              (Lines{"not-authentic: the shared secret is empty: nothing can be verified"}));
}

TEST(JudgeReply, MayRequireAMessageAuthenticatorOfProtocolErrors) {
    const JudgementOptions options{.require_message_authenticator = RequireMessageAuthenticator::Yes};
    for (const auto& [request, verdict] :
         {std::pair<std::uint8_t, const char*>(1, "message-authenticator-missing"), {4, "rejected"}}) {
        const Judgement judgement =
            judged(test::reply_to(test::datagram(request, ""), {.code = 52, .message_authenticator = false}),
                   request, options);
        EXPECT_EQ(verdict_row(judgement.verdict).word, verdict) << int{request};
    }
}

TEST(JudgeReply, MayRequireAMessageAuthenticator) {
    const auto word = [](std::uint8_t request, std::uint8_t reply, RequireMessageAuthenticator require) {
        const Judgement judgement = judged(reply_to(request, {.code = reply, .message_authenticator = false}),
                                           request, {.require_message_authenticator = require});
        return std::string(verdict_row(judgement.verdict).word) +
               (judgement.notes.empty() ? "" : " " + std::string(note_word(judgement.notes[0].id)));
    };
    for (const std::uint8_t code : std::to_array<std::uint8_t>({2, 3, 11})) {
        EXPECT_EQ(word(1, code, RequireMessageAuthenticator::Yes), "message-authenticator-missing");
    }
    EXPECT_EQ(word(1, 2, RequireMessageAuthenticator::Warn), "accepted message-authenticator-missing");
    EXPECT_EQ(word(1, 2, RequireMessageAuthenticator::No), "accepted");
    EXPECT_EQ(word(12, 2, RequireMessageAuthenticator::Yes), "message-authenticator-missing");
    EXPECT_EQ(word(4, 5, RequireMessageAuthenticator::Yes), "accepted");
    EXPECT_EQ(word(43, 44, RequireMessageAuthenticator::Warn), "accepted");
}

TEST(JudgeReply, NeverAcceptsEapWithoutMessageAuthenticator) {
    const Bytes reply =
        reply_to(1, {.code = 2, .attributes = attribute(79, "eap"), .message_authenticator = false});
    EXPECT_EQ(told(judged(reply, 1, {.require_message_authenticator = RequireMessageAuthenticator::No})),
              (Lines{"message-authenticator-missing: a reply with EAP-Message is never accepted without one "
                     "(RFC 3579, section 3.1)"}));
    EXPECT_EQ(verdict_of(reply_to(1, {.code = 2,
                                      .attributes = attribute(79, "eap"),
                                      .message_authenticator = false,
                                      .secret = "other"})),
              "wrong-secret");
}

TEST(JudgeReply, NotesAMessageAuthenticatorThatIsNotFirst) {
    const EncodedRequest request = request_with_code(1);
    // The attributes of a signed reply in another order, signed anew.
    Bytes reply = {2, request.identifier(), 0, 41};
    reply.insert(reply.end(), request.authenticator().begin(), request.authenticator().end());
    reply = joined({reply, attribute(18, "a"), attribute(80, Bytes(16))});
    const test::Digest signature = test::hmac_md5(secret, reply);
    std::copy(signature.begin(), signature.end(), reply.end() - 16);
    const test::Digest digest = test::md5(joined({reply, utils::to_bytes(secret)}));
    std::copy(digest.begin(), digest.end(), reply.begin() + 4);
    EXPECT_EQ(told(judged(reply)),
              (Lines{"accepted",
                     "message-authenticator-not-first: The Message-Authenticator of the reply is not "
                     "its first attribute, where it protects best."}));
}

TEST(JudgeReply, AcceptsASignatureOverZerosOfSomeCodes) {
    for (const auto& [request, reply] :
         std::vector<std::pair<std::uint8_t, std::uint8_t>>{{4, 5}, {40, 41}, {40, 42}, {43, 44}, {43, 45}}) {
        const Judgement judgement = judged(signed_over_zeros(request, reply), request);
        EXPECT_TRUE(judgement.is_trusted()) << int{reply};
        ASSERT_EQ(judgement.notes.size(), 1U);
        EXPECT_EQ(judgement.notes[0].id, NoteId::MessageAuthenticatorOverZeros);
        EXPECT_TRUE(judgement.reply->checks().over_zeros);
        EXPECT_NE(judgement.reply->verified(), nullptr);
    }
}

TEST(JudgeReply, AcceptsNoSignatureOverZerosOfAccessReplies) {
    for (const std::uint8_t code : std::to_array<std::uint8_t>({2, 3, 11})) {
        EXPECT_EQ(verdict_of(signed_over_zeros(1, code)), "not-authentic") << int{code};
    }
}

// Bytes.

struct Malformed {
    Bytes bytes;
    std::string line;
};

TEST(JudgeReply, TellsWhereAReplyIsMalformed) {
    const auto with_attributes = [](std::string_view digits) { return test::datagram(2, digits); };
    Bytes short_length = test::datagram(2, "");
    short_length[3] = 19;
    Bytes long_length = test::datagram(2, "");
    long_length[3] = 21;
    Bytes huge_length = test::datagram(2, "");
    huge_length[2] = 0x10;
    huge_length[3] = 1;
    const Malformed cases[] = {
        {{}, "malformed at 0: 0 octets: a packet has at least 20"},
        {{2}, "malformed at 1: 1 octet: a packet has at least 20"},
        {{2, 7, 0}, "malformed at 3: 3 octets: a packet has at least 20"},
        {{2, 7, 0, 19}, "malformed at 2: Length is 19: a packet has 20 to 4096 octets"},
        {{2, 7, 0, 20}, "malformed at 2: Length is 20, but only 4 octets came"},
        {short_length, "malformed at 2: Length is 19: a packet has 20 to 4096 octets"},
        {long_length, "malformed at 2: Length is 21, but only 20 octets came"},
        {huge_length, "malformed at 2: Length is 4097: a packet has 20 to 4096 octets"},
        {with_attributes("12"), "malformed at 20: the last attribute has no Length"},
        {with_attributes("1203 61 12 00"),
         "malformed at 24: the Length of attribute 18 is 0: an attribute has at least 2 octets"},
        {with_attributes("12 01"),
         "malformed at 21: the Length of attribute 18 is 1: an attribute has at least 2 octets"},
        {with_attributes("1205 61"),
         "malformed at 21: the Length of attribute 18 is 5, but the packet ends before"},
        {with_attributes("500f 00112233445566778899aabbcc"),
         "malformed at 20: Message-Authenticator has not 16 octets"},
        {with_attributes("5012 00112233445566778899aabbccddeeff 5012 00112233445566778899aabbccddeeff"),
         "malformed at 38: there is a second Message-Authenticator"},
    };
    for (const Malformed& expected : cases) {
        EXPECT_EQ(told(judged(expected.bytes)), (Lines{expected.line}));
    }
}

TEST(JudgeReply, IgnoresOctetsAfterThePacket) {
    Bytes reply = reply_to(1, {.code = 2});
    reply.insert(reply.end(), {1, 2, 3});
    const Judgement judgement = judged(reply);
    EXPECT_EQ(told(judgement),
              (Lines{"accepted", "trailing-octets: 3 octets after the end of the packet were ignored."}));
    EXPECT_NE(judgement.reply->verified(), nullptr);
}

TEST(JudgeReply, TellsAWrongIdentifier) {
    EXPECT_EQ(told(judged(reply_to(1, {.code = 2, .identifier_offset = 3}))),
              (Lines{"wrong-identifier: Identifier 10 instead of 7"}));
}

TEST(JudgeReply, NotesAttributesThatWereDropped) {
    const Lines lines = told(judged(reply_to(1, {.code = 2, .attributes = attribute(26, "ab")})));
    EXPECT_EQ(lines, (Lines{"accepted",
                            "dropped-attribute: An attribute of the reply could not be read: "
                            "vendor-specific attribute too short (26)."}));
}

// What the reply says.

TEST(JudgeReply, NamesAndExplainsTheErrorCause) {
    const Judgement judgement =
        judged(reply_to(43, {.code = 45, .attributes = attribute(101, hex("000001f7"))}), 43);
    EXPECT_EQ(judgement.error_cause, 503U);
    EXPECT_EQ(told(judgement),
              (Lines{"rejected",
                     "error-cause: Error-Cause 503, Session Context Not Found: The server knows no "
                     "such session: compare User-Name, Acct-Session-Id and the NAS with its list."}));
    EXPECT_EQ(told(judged(reply_to(43, {.code = 45, .attributes = attribute(101, hex("00000001"))}), 43)),
              (Lines{"rejected", "error-cause: Error-Cause 1."}));
}

TEST(JudgeReply, ExplainsAProtocolError) {
    const Bytes attributes = joined({attribute(101, hex("00000259")), attribute(241, hex("04 00000001"))});
    EXPECT_EQ(
        told(judged(reply_to(1, {.code = 52, .attributes = attributes}))),
        (Lines{"rejected",
               "error-cause: Error-Cause 601, Response Too Big: The reply would be longer than the client "
               "can take (RFC 7930).",
               "original-code: The error is about a request with Access-Request (code 1)."}));
}

Bytes microsoft(std::uint8_t type, std::string_view value) {
    const Bytes inner = attribute(type, value);
    return attribute(26, joined({hex("00000137"), inner}));
}

TEST(JudgeReply, ExplainsAnMsChapError) {
    EXPECT_EQ(told(judged(reply_to(1, {.code = 3,
                                       .attributes = microsoft(2,
                                                               "\x07"
                                                               "E=648 R=0 V=3 M=too old")}))),
              (Lines{"rejected",
                     "mschap-error: MS-CHAP-Error E=648: The password has expired. The server says: "
                     "too old"}));
    EXPECT_EQ(told(judged(reply_to(1, {.code = 3,
                                       .attributes = microsoft(2,
                                                               "\x07"
                                                               "E=1")}))),
              (Lines{"rejected", "mschap-error: MS-CHAP-Error E=1."}));
}

TEST(JudgeReply, VerifiesMsChap2Success) {
    MsChapV2Proof proof{.identifier = 7, .authenticator_response = {}};
    proof.authenticator_response.fill(0xab);
    const auto lines = [&](const Bytes& attributes, std::uint8_t code = 2) {
        return told(judged(reply_to(1, {.code = code, .attributes = attributes}), 1, {.mschapv2 = proof}));
    };
    const std::string digits = test::repeat("AB", 20);
    EXPECT_EQ(lines(microsoft(26, "\x07S=" + digits)), (Lines{"accepted"}));
    EXPECT_EQ(
        lines(microsoft(26, "\x07S=" + test::repeat("AC", 20))),
        (Lines{"not-authentic: MS-CHAP2-Success does not fit the password: the server does not know it"}));
    EXPECT_EQ(lines({}), (Lines{"accepted",
                                "mschap2-success-missing: The reply has no MS-CHAP2-Success: the "
                                "server has not proved that it knows the password."}));
    EXPECT_EQ(lines({}, 3), (Lines{"rejected"}));
}

TEST(JudgeReply, NeedsADictionary) {
    EXPECT_EQ(test::thrown_text<std::invalid_argument>(
                  [] { judge_reply({}, request_with_code(1), secret, nullptr, {}); }),
              "decode_reply: dictionary required");
}

}  // namespace
}  // namespace quarn::client
