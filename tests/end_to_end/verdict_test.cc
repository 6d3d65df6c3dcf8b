// What is made of a reply: its listing, its checks, and the verdict.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "end_to_end/client.h"
#include "quarn/utils/text.h"
#include "testing/hex.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

constexpr std::uint8_t access_accept = 2;
constexpr std::uint8_t access_reject = 3;
constexpr std::uint8_t access_challenge = 11;

constexpr char success[] = "\nauthprobe: Success\n\n";
constexpr char warning[] = "authprobe: WARNING: reply has no Message-Authenticator attribute\n";

/// How a failed run ends on standard error.
std::string failure(const std::string& reason) {
    return "authprobe: " + reason + "\nauthprobe: Fail\n\n";
}

std::string not_an_accept(const std::string& code_name) {
    return failure("ERROR: expected Access-Accept, got " + code_name);
}

std::string invalid_reply(const std::string& message) {
    return "\n" + failure("ERROR: reply failed validation (shared secret is probably incorrect): " + message);
}

std::string invalid_message_authenticator(const std::string& message) {
    return "\n" + failure(
                      "ERROR: reply Message-Authenticator is invalid (shared secret is incorrect or the "
                      "packet was tampered with): " +
                      message);
}

std::string unparsable(const std::string& message) {
    return "\n" + failure("failed to parse reply: " + message);
}

/// Everything that a run writes behind the listing of its request.
struct Expected {
    std::string output;
    std::string errors;
    int status;
};

void expect_ending(const Conversation& run, const Expected& expected) {
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob() + expected.output);
    EXPECT_EQ(run.client.errors, expected.errors);
    EXPECT_EQ(run.client.ending, exited_with(expected.status));
    EXPECT_EQ(run.requests.size(), 1U);
}

Conversation answered_with(const Reply& reply, const Setting& setting = {}) {
    return converse_with([&](const Bytes& request) { return reply_to(request, reply); }, setting);
}

/// What announces and lists such a reply. Its Message-Authenticator, if it has one, comes first.
std::string reply_listing(const Conversation& run, const Reply& reply, const std::string& code_name,
                          const std::string& other_attributes) {
    const Bytes bytes = reply_to(run.request(), reply);
    return run.received(code_name, bytes) +
           (reply.message_authenticator ? message_authenticator_line(bytes) : "") + other_attributes;
}

TEST(Verdict, IsSuccessForAnAccessAccept) {
    const Reply reply = {.code = access_accept, .attributes = attribute(18, "Hello, bob")};
    const Conversation run = answered_with(reply);
    expect_ending(
        run, {reply_listing(run, reply, "Access-Accept", "     Reply-Message = \"Hello, bob\"\n") + success,
              "", 0});
}

TEST(Verdict, IsFailForAnAccessReject) {
    const Reply reply = {.code = access_reject, .attributes = attribute(18, "No")};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Reject", "     Reply-Message = \"No\"\n") + "\n",
                        not_an_accept("Access-Reject"), 1});
}

TEST(Verdict, IsFailForAnAccessChallenge) {
    const Reply reply = {.code = access_challenge,
                         .attributes = joined({attribute(18, "Code?"), attribute(24, "\x01\x02")})};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Challenge",
                                      "     Reply-Message = \"Code?\"\n     State = 0x0102\n") +
                            "\n",
                        not_an_accept("Access-Challenge"), 1});
}

TEST(Verdict, IsFailForEveryOtherValidCode) {
    // A request's Authenticator is checked over sixteen zero bytes, or not at all.
    const std::vector<std::pair<Reply, std::string>> rows = {
        {{.code = 5}, "Accounting-Response"},
        {{.code = 41}, "Disconnect-ACK"},
        {{.code = 42}, "Disconnect-NAK"},
        {{.code = 44}, "CoA-ACK"},
        {{.code = 45}, "CoA-NAK"},
        {{.code = 4, .authenticator = Digest{}}, "Accounting-Request"},
        {{.code = 40, .authenticator = Digest{}}, "Disconnect-Request"},
        {{.code = 43, .authenticator = Digest{}}, "CoA-Request"},
    };
    for (const auto& [reply, name] : rows) {
        SCOPED_TRACE(name);
        const Conversation run = answered_with(reply);
        expect_ending(run, {reply_listing(run, reply, name, "") + "\n", not_an_accept(name), 1});
    }
}

TEST(Verdict, IsFailForACodeWhoseAuthenticatorIsNotChecked) {
    for (const auto& [code, name] : std::vector<std::pair<std::uint8_t, std::string>>{
             {std::uint8_t{1}, "Access-Request"}, {std::uint8_t{12}, "Code-12"}}) {
        SCOPED_TRACE(name);
        const Reply reply = {.code = code, .message_authenticator = false, .secret = "any"};
        const Conversation run = answered_with(reply);
        expect_ending(run, {reply_listing(run, reply, name, "") + "\n", warning + not_an_accept(name), 1});
    }
}

TEST(Verdict, RefusesAnUnsupportedCode) {
    for (const int code : {0, 6, 10, 13, 39, 46, 255}) {
        SCOPED_TRACE(code);
        const Reply reply = {.code = static_cast<std::uint8_t>(code)};
        const Conversation run = answered_with(reply);
        expect_ending(run, {reply_listing(run, reply, "Code-" + std::to_string(code), ""),
                            invalid_reply("RadiusPacket: unsupported packet type"), 1});
    }
}

TEST(Verdict, WarnsOfAReplyWithoutMessageAuthenticator) {
    const Reply reply = {.code = access_accept, .message_authenticator = false};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Accept", "") + success, warning, 0});

    const Reply reject = {.code = access_reject, .message_authenticator = false};
    const Conversation rejected = answered_with(reject);
    expect_ending(rejected, {reply_listing(rejected, reject, "Access-Reject", "") + "\n",
                             warning + not_an_accept("Access-Reject"), 1});
}

TEST(Verdict, DoesNotWarnWhenTheRequestHadNoneEither) {
    const Reply reply = {.code = access_accept, .message_authenticator = false};
    const Conversation run = answered_with(reply, {.options = {"--no-message-auth"}});
    EXPECT_EQ(run.client.output, banner() + run.sent() + "     NAS-IP-Address = 127.0.0.1\n" +
                                     reply_listing(run, reply, "Access-Accept", "") + success);
    EXPECT_EQ(run.client.errors, "");
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Verdict, ChecksAMessageAuthenticatorThatWasNotAskedFor) {
    const Conversation run =
        converse_with([](const Bytes& request) { return reply_to(request, {.code = 2, .secret = "other"}); },
                      {.options = {"--no-message-auth"}});
    EXPECT_EQ(run.client.errors,
              invalid_message_authenticator("RadiusPacket: Message-Authenticator mismatch"));
    EXPECT_EQ(run.client.ending, exited_with(1));
}

TEST(Verdict, RefusesAReplySignedWithAnotherSecret) {
    const Reply reply = {.code = access_accept, .secret = "another"};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Accept", ""),
                        invalid_message_authenticator("RadiusPacket: Message-Authenticator mismatch"), 1});
}

TEST(Verdict, RefusesAReplySignedWithAnotherSecretWithoutMessageAuthenticator) {
    const Reply reply = {.code = access_accept, .message_authenticator = false, .secret = "another"};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Accept", ""),
                        invalid_reply("RadiusPacket: invalid Response Authenticator"), 1});
}

TEST(Verdict, RefusesAReplyToAnotherRequest) {
    const Reply reply = {.code = access_accept, .message_authenticator = false, .authenticator = Digest{1}};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Accept", ""),
                        invalid_reply("RadiusPacket: invalid Response Authenticator"), 1});
}

TEST(Verdict, RefusesOneWrongBitInTheMessageAuthenticator) {
    const Reply reply = {.code = access_accept, .spoil_message_authenticator = true};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Accept", ""),
                        invalid_message_authenticator("RadiusPacket: Message-Authenticator mismatch"), 1});
}

TEST(Verdict, RefusesOneWrongBitInTheResponseAuthenticator) {
    const Reply reply = {.code = access_accept};
    const Conversation run = converse_with([&](const Bytes& request) {
        Bytes bytes = reply_to(request, reply);
        bytes[4] ^= 1;
        return bytes;
    });
    expect_ending(run, {reply_listing(run, reply, "Access-Accept", ""),
                        invalid_reply("RadiusPacket: invalid Response Authenticator"), 1});
}

TEST(Verdict, RefusesATamperedAttribute) {
    const Conversation with_authenticator = converse_with([](const Bytes& request) {
        Bytes bytes = reply_to(request, {.code = access_accept, .attributes = attribute(18, "a")});
        bytes.back() = 'b';
        return bytes;
    });
    EXPECT_EQ(with_authenticator.client.errors,
              invalid_message_authenticator("RadiusPacket: Message-Authenticator mismatch"));
    EXPECT_EQ(with_authenticator.client.ending, exited_with(1));

    const Conversation without = converse_with([](const Bytes& request) {
        Bytes bytes = reply_to(
            request,
            {.code = access_accept, .attributes = attribute(18, "a"), .message_authenticator = false});
        bytes.back() = 'b';
        return bytes;
    });
    EXPECT_EQ(without.client.errors, invalid_reply("RadiusPacket: invalid Response Authenticator"));
    EXPECT_EQ(without.client.ending, exited_with(1));
}

TEST(Verdict, RefusesARejectThatWasTurnedIntoAnAccept) {
    const Conversation run = converse_with([](const Bytes& request) {
        Bytes bytes = reply_to(request, {.code = access_reject});
        bytes[0] = access_accept;
        return bytes;
    });
    EXPECT_EQ(run.client.errors,
              invalid_message_authenticator("RadiusPacket: Message-Authenticator mismatch"));
    EXPECT_EQ(run.client.ending, exited_with(1));
}

TEST(Verdict, RefusesAMalformedMessageAuthenticator) {
    const Reply too_short = {
        .code = access_accept, .attributes = attribute(80, Bytes(15, 1)), .message_authenticator = false};
    const Conversation run = answered_with(too_short);
    expect_ending(run, {reply_listing(run, too_short, "Access-Accept",
                                      "     Message-Authenticator = 0x010101010101010101010101010101\n"),
                        invalid_message_authenticator("RadiusPacket: malformed Message-Authenticator"), 1});
}

TEST(Verdict, RefusesTwoMessageAuthenticators) {
    const Reply reply = {.code = access_accept, .attributes = attribute(80, Bytes(16, 1))};
    const Conversation run = answered_with(reply);
    const Bytes bytes = reply_to(run.request(), reply);
    expect_ending(run, {run.received("Access-Accept", bytes) + "     Message-Authenticator = 0x" +
                            utils::bytes_to_hex(bytes.data() + 22, 16) +
                            "\n     Message-Authenticator = 0x01010101010101010101010101010101\n",
                        invalid_message_authenticator("RadiusPacket: malformed Message-Authenticator"), 1});
}

TEST(Verdict, ChecksTheBytesBehindThePacketToo) {
    // They are no part of the packet, so that it decodes; but the digests are taken over the whole datagram.
    const Reply signed_trailer = {.code = access_accept, .trailer = {1, 2, 3, 4}};
    const Conversation accepted = answered_with(signed_trailer);
    Bytes packet = reply_to(accepted.request(), signed_trailer);
    ASSERT_EQ(packet.size(), 42U);
    packet.resize(38);
    expect_ending(accepted, {accepted.received("Access-Accept", Bytes(42)) +
                                 message_authenticator_line(packet) + success,
                             "", 0});

    const Conversation refused = converse_with([](const Bytes& request) {
        Bytes bytes = reply_to(request, {.code = access_accept, .message_authenticator = false});
        bytes.push_back(0);
        return bytes;
    });
    expect_ending(refused, {refused.received("Access-Accept", Bytes(21)),
                            invalid_reply("RadiusPacket: invalid Response Authenticator"), 1});
}

// Replies that cannot be decoded. None of them is announced.

TEST(Verdict, IsFailForAReplyThatCannotBeDecoded) {
    struct Row {
        std::string packet;  // in hexadecimal, behind Code and Identifier
        std::string message;
    };
    const std::string authenticator = "000102030405060708090a0b0c0d0e0f";
    const std::vector<Row> rows = {
        {"0013" + authenticator, "pkt_load: invalid packet length"},
        {"0000" + authenticator, "pkt_load: invalid packet length"},
        {"0015" + authenticator, "pkt_load: invalid packet length"},
        {"ffff" + authenticator, "pkt_load: invalid packet length"},
        {"0015" + authenticator + "01", "pkt_load: malformed attribute"},
        {"0019" + authenticator + "1204 6869 01", "pkt_load: malformed attribute"},
        {"0016" + authenticator + "0100", "pkt_load: invalid attribute length"},
        {"0016" + authenticator + "0101", "pkt_load: invalid attribute length"},
        {"0016" + authenticator + "0103", "pkt_load: invalid attribute length"},
        {"0016" + authenticator + "0103 41", "pkt_load: invalid attribute length"},
        {"0015" + authenticator + "0103 41", "pkt_load: invalid attribute length"},
    };
    for (const auto& [packet, message] : rows) {
        SCOPED_TRACE(packet);
        const Bytes rest = hex(packet);
        const Conversation run = converse_with([&](const Bytes& request) {
            return joined({{access_accept, request[1]}, rest});
        });
        expect_ending(run, {"", unparsable(message), 1});
    }
}

// A User-Password in a reply is hidden with the request's authenticator.

Bytes hidden_for(const Bytes& request, const std::string& password) {
    return hidden_password(password, shared_secret, authenticator_of(request));
}

TEST(Verdict, ShowsAReturnedUserPasswordInClear) {
    for (const std::string password : {"hello", "sixteen letters!", "seventeen letters", "pässwörd"}) {
        SCOPED_TRACE(password);
        const auto reply_for = [&](const Bytes& request) {
            return Reply{.code = access_accept, .attributes = attribute(2, hidden_for(request, password))};
        };
        const Conversation run =
            converse_with([&](const Bytes& request) { return reply_to(request, reply_for(request)); });
        expect_ending(run, {reply_listing(run, reply_for(run.request()), "Access-Accept",
                                          "     User-Password = \"" + password + "\"\n") +
                                success,
                            "", 0});
    }
}

TEST(Verdict, LeavesAReturnedUserPasswordOfAnotherLengthAsItIs) {
    for (const std::string value : {"", "fifteen letters", "seventeen letters"}) {
        SCOPED_TRACE(value);
        const Reply reply = {.code = access_accept, .attributes = attribute(2, value)};
        const Conversation run = answered_with(reply);
        expect_ending(
            run,
            {reply_listing(run, reply, "Access-Accept", "     User-Password = \"" + value + "\"\n") + success,
             "", 0});
    }
}

TEST(Verdict, RevealsOnlyTheFirstOfTwoReturnedUserPasswords) {
    const auto reply_for = [](const Bytes& request) {
        return Reply{.code = access_accept,
                     .attributes = joined(
                         {attribute(2, hidden_for(request, "first")), attribute(2, "sixteen letters!")})};
    };
    const Conversation run =
        converse_with([&](const Bytes& request) { return reply_to(request, reply_for(request)); });
    expect_ending(run, {reply_listing(run, reply_for(run.request()), "Access-Accept",
                                      "     User-Password = \"first\"\n"
                                      "     User-Password = \"sixteen letters!\"\n") +
                            success,
                        "", 0});
}

TEST(Verdict, ShowsAnEmptyReturnedUserPasswordAsEmpty) {
    const auto reply_for = [](const Bytes& request) {
        return Reply{.code = access_reject, .attributes = attribute(2, hidden_for(request, ""))};
    };
    const Conversation run =
        converse_with([&](const Bytes& request) { return reply_to(request, reply_for(request)); });
    expect_ending(
        run,
        {reply_listing(run, reply_for(run.request()), "Access-Reject", "     User-Password = \"\"\n") + "\n",
         not_an_accept("Access-Reject"), 1});
}

TEST(Verdict, LeavesEveryOtherHiddenValueHidden) {
    // MS-CHAP-MPPE-Keys are hidden as User-Password is, Tunnel-Password in its own way.
    const Bytes cipher = hex("000102030405060708090a0b0c0d0e0f");
    const Bytes tunnel = joined({hex("01 8001"), cipher});
    const Reply reply = {
        .code = access_accept,
        .attributes = joined({attribute(69, tunnel), attribute(26, joined({hex("00000137 0c12"), cipher}))})};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Accept",
                                      "     Tunnel-Password = \"0x8001000102030405060708090a0b0c0d0e0f\"\n"
                                      "     MS-CHAP-MPPE-Keys = 0x000102030405060708090a0b0c0d0e0f\n") +
                            success,
                        "", 0});
}

// The reply's listing.

TEST(Verdict, ListsEveryAttributeOfAReply) {
    const Reply reply = {
        .code = access_accept,
        .attributes = joined({
            attribute(6, hex("00000002")),            // Service-Type
            attribute(18, "one"),                     // Reply-Message
            attribute(7, hex("00000063")),            // Framed-Protocol, a number without name
            attribute(18, "two"),                     // joins the first
            attribute(18, "tab\there"),               //
            attribute(18, "\xff"),                    //
            attribute(1, ""),                         // User-Name
            attribute(8, hex("c0000205")),            // Framed-IP-Address
            attribute(27, hex("00000e10")),           // Session-Timeout
            attribute(55, hex("65920080")),           // Event-Timestamp
            attribute(25, "text"),                    // Class, of octets
            attribute(64, hex("01 00000d")),          // Tunnel-Type, tagged
            attribute(97, hex("0030 20010db80001")),  // Framed-IPv6-Prefix
            attribute(26, joined({hex("00000009 010a"), utils::to_bytes("a=b;c=d!")})),  // Cisco-AVPair
            attribute(26, hex("0000372a 0706 000f4240")),  // WISPr-Bandwidth-Max-Up
            attribute(26, hex("00007ed9 4d05 010203")),    // of an unknown vendor
            attribute(192, hex("c0ffee")),                 // unknown
        })};
    const Conversation run = answered_with(reply);
    expect_ending(run, {reply_listing(run, reply, "Access-Accept",
                                      "     Service-Type = Framed-User\n"
                                      "     Reply-Message = \"one\"\n"
                                      "     Reply-Message = \"two\"\n"
                                      "     Reply-Message = \"0x7461620968657265\"\n"
                                      "     Reply-Message = \"0xff\"\n"
                                      "     Framed-Protocol = 99\n"
                                      "     User-Name = \"\"\n"
                                      "     Framed-IP-Address = 192.0.2.5\n"
                                      "     Session-Timeout = 3600\n"
                                      "     Event-Timestamp = 2024-01-01T00:00:00Z\n"
                                      "     Class = 0x74657874\n"
                                      "     Tunnel-Type = VLAN\n"
                                      "     Framed-IPv6-Prefix = 2001:db8:1::/48\n"
                                      "     Cisco-AVPair = \"a=b;c=d!\"\n"
                                      "     WISPr-Bandwidth-Max-Up = 1000000\n"
                                      "     attr-26.32473.77 = 0x010203\n"
                                      "     attr-192 = 0xc0ffee\n") +
                            success,
                        "", 0});
}

TEST(Verdict, ListsTimesInUtcWhateverTheZone) {
    // A zone file (RFC 8536) of Universal Time with leap seconds, 27 of them by 2017.
    const Bytes zone =
        joined({utils::to_bytes("TZif"), Bytes(16),                            // version 1
                hex("00000000 00000000 00000001 00000000 00000001 00000004"),  // counts
                hex("00000000 00 00"), utils::to_bytes(std::string("UTC\0", 4)), hex("58684680 0000001b")});
    const ScratchFolder folder;
    const std::string file = folder.write("zone", utils::as_text(zone));
    const Reply reply = {.code = access_accept, .attributes = attribute(55, hex("65920080"))};
    for (const std::string& value : {":" + file, std::string("Asia/Tokyo"), std::string("EST5EDT")}) {
        SCOPED_TRACE(value);
        const Conversation run = answered_with(reply, {.environment = {{"TZ", value}}});
        expect_ending(run, {reply_listing(run, reply, "Access-Accept",
                                          "     Event-Timestamp = 2024-01-01T00:00:00Z\n") +
                                success,
                            "", 0});
    }
}

TEST(Verdict, ListsNothingForWhatCannotBeRead) {
    // A vendor attribute without a vendor number, and one whose length runs past its end.
    const Reply reply = {
        .code = access_accept,
        .attributes = joined({attribute(26, hex("000009")), attribute(26, hex("00000009 01ff 41")),
                              attribute(18, "still here")})};
    const Conversation run = answered_with(reply);
    expect_ending(
        run, {reply_listing(run, reply, "Access-Accept", "     Reply-Message = \"still here\"\n") + success,
              "", 0});
}

TEST(Verdict, ListsAttributesThatTheDictionaryLacksByTheirPath) {
    const ScratchFolder folder;
    const std::string dictionary = folder.write("dictionary.yaml", R"(
attributes:
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Message-Authenticator: {code: 80, type: octets}
)");
    const Reply reply = {.code = access_accept, .attributes = attribute(18, "Hello")};
    const Conversation run = answered_with(reply, {.options = {}, .dictionary = dictionary});
    EXPECT_EQ(run.client.output,
              banner() + run.sent() + bare_listing() +
                  reply_listing(run, reply, "Access-Accept", "     attr-18 = 0x48656c6c6f\n") + success);
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Verdict, WritesTheTwoStreamsInOrder) {
    const Reply reply = {.code = access_reject, .message_authenticator = false};
    const Conversation run = answered_with(reply, {.errors = Stream::SameAsOutput});
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob() +
                                     reply_listing(run, reply, "Access-Reject", "") + "\n" + warning +
                                     not_an_accept("Access-Reject"));
    const Conversation accepted = answered_with({.code = access_accept, .message_authenticator = false},
                                                {.errors = Stream::SameAsOutput});
    EXPECT_EQ(accepted.client.output, banner() + accepted.sent() + listing_of_bob() +
                                          accepted.received("Access-Accept", Bytes(20)) + "\n" + warning +
                                          "authprobe: Success\n\n");
}

}  // namespace
}  // namespace quarn::test
