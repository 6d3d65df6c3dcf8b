// Conversations with a server that this tree has no part in: each code, each transport, each method.
#include "testing/real_peer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "quarn/client/challenge_answer.h"
#include "quarn/client/conversation.h"
#include "quarn/client/credentials.h"
#include "quarn/client/diagnosis.h"
#include "quarn/radius/auth.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"

namespace quarn::client {
namespace {

using namespace std::chrono_literals;
using namespace subscriber::radius;
using test::Lines;

constexpr char secret[] = "testing123";

/// A server for the whole suite, and requests as a NAS makes them.
class RealServerConversation : public testing::Test {
  protected:
    void SetUp() override {
        if (!server_) {
            server_.emplace();
        }
    }
    static void TearDownTestSuite() { server_.reset(); }

    static const test::RealServer& server() { return *server_; }

    static std::string on(std::uint16_t port, const std::string& prefix = "127.0.0.1:") {
        return prefix + std::to_string(port);
    }

    static RadiusPacket packet(std::uint8_t code) {
        RadiusPacket made(test::shipped_dictionary());
        made.code = code;
        made.identifier = 9;
        if (code == ACCESS_REQUEST || code == STATUS_SERVER) {
            made.authenticator = random_authenticator();
            made.add_attribute("Message-Authenticator", utils::as_text(ZERO16));
        }
        return made;
    }

    static RadiusPacket accounting_request() {
        RadiusPacket made = packet(ACCOUNTING_REQUEST);
        made.set_attribute("User-Name", "bob");
        made.set_attribute("Acct-Status-Type", "1");
        made.set_attribute("Acct-Session-Id", "0001");
        made.set_attribute("NAS-Identifier", "test");
        return made;
    }

    static RadiusPacket session_request(std::uint8_t code, const std::string& user) {
        RadiusPacket made = packet(code);
        made.set_attribute("User-Name", user);
        return made;
    }

    static Conversation converse_with(const std::string& address, Ask ask, const char* with_secret = secret,
                                      const ConversationHooks& hooks = {},
                                      const ConversationOptions& options = {.timeout = 10s}) {
        Job job;
        job.routes.push_back({.server = *parse_server(address)});
        job.asks.push_back(std::move(ask));
        SystemNetwork network;
        auto conversations =
            converse(std::move(job), with_secret, test::shipped_dictionary(), options, network, hooks);
        return std::move(conversations.at(0));
    }

    static Diagnosis diagnosis_of(const Report& silent, const Route& route, const char* with_secret,
                                  const ConversationOptions& options) {
        SystemNetwork network;
        const Silence silence{&silent, &route};
        return std::move(
            diagnose({&silence, 1}, with_secret, test::shipped_dictionary(), options, network).front());
    }

    static Report ask(const std::string& address, const RadiusPacket& packet,
                      const char* with_secret = secret) {
        return std::move(
            converse_with(address, {.request = encode_request(packet, with_secret)}, with_secret).last());
    }

    static Report log_in(const std::string& address, CredentialMethod method, const std::string& user,
                         const std::string& password) {
        RadiusPacket request = packet(ACCESS_REQUEST);
        const auto added = add_credentials(request, method, user, password);
        EXPECT_TRUE(added);
        return std::move(
            converse_with(address, {.request = encode_request(request, secret), .mschapv2 = added->mschapv2})
                .last());
    }

  private:
    inline static std::optional<test::RealServer> server_;
};

/// The word, and those of the notes.
Lines told(const Report& report) {
    Lines words = {std::string(verdict_row(report.verdict).word)};
    for (const Note& note : report.notes) {
        words.emplace_back(note_word(note.id));
    }
    return words;
}

constexpr char unsigned_reply[] = "message-authenticator-missing";

TEST_F(RealServerConversation, AcceptsEachMethod) {
    for (const CredentialMethodRow& row : credential_methods()) {
        const Report report = log_in(server().address(), row.method, "bob", "hello");
        EXPECT_EQ(told(report), (Lines{"accepted", unsigned_reply})) << row.word;
        ASSERT_NE(report.decoded->verified(), nullptr);
        EXPECT_EQ(report.decoded->verified()->find_attribute("Tunnel-Password")->values[0].as_string(),
                  "tunnel secret");
    }
}

TEST_F(RealServerConversation, RejectsAWrongPasswordByEachMethod) {
    for (const CredentialMethodRow& row : credential_methods()) {
        const Report report = log_in(server().address(), row.method, "bob", "wrong");
        const Lines lines = told(report);
        EXPECT_EQ(lines[0], "rejected") << row.word;
        const bool is_mschap =
            row.method == CredentialMethod::MsChap || row.method == CredentialMethod::MsChapV2;
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "mschap-error"), is_mschap ? 1 : 0) << row.word;
    }
}

TEST_F(RealServerConversation, ExplainsTheErrorOfMsChapV2) {
    const Report report = log_in(server().address(), CredentialMethod::MsChapV2, "bob", "wrong");
    ASSERT_FALSE(report.notes.empty());
    EXPECT_TRUE(report.notes.back().text.starts_with(
        "MS-CHAP-Error E=691: Authentication failure: the user name or the password is wrong."))
        << report.notes.back().text;
}

TEST_F(RealServerConversation, RefusesAServerThatCannotProveThePassword) {
    RadiusPacket request = packet(ACCESS_REQUEST);
    auto added = add_credentials(request, CredentialMethod::MsChapV2, "bob", "hello");
    ASSERT_TRUE(added && added->mschapv2);
    added->mschapv2->authenticator_response[0] ^= 1;
    const Conversation conversation = converse_with(
        server().address(), {.request = encode_request(request, secret), .mschapv2 = added->mschapv2});
    EXPECT_EQ(told(conversation.last())[0], "not-authentic");
}

TEST_F(RealServerConversation, SeesASignedReply) {
    const Report report = log_in(server().address(), CredentialMethod::Pap, "signed", "hello");
    EXPECT_EQ(told(report), (Lines{"accepted", "message-authenticator-not-first"}));
}

TEST_F(RealServerConversation, SpeaksIpv6AndTcp) {
    EXPECT_EQ(told(log_in(on(server().port(), "[::1]:"), CredentialMethod::Pap, "bob", "hello")),
              (Lines{"accepted", unsigned_reply}));
    EXPECT_EQ(told(log_in(on(server().port(), "tcp://127.0.0.1:"), CredentialMethod::Pap, "bob", "hello")),
              (Lines{"accepted", unsigned_reply}));
}

TEST_F(RealServerConversation, AccountsForASession) {
    EXPECT_EQ(told(ask(on(server().accounting_port()), accounting_request())), (Lines{"accepted"}));
}

TEST_F(RealServerConversation, ChangesAndDisconnectsSessions) {
    const std::string address = on(server().coa_port());
    EXPECT_EQ(told(ask(address, session_request(COA_REQUEST, "bob"))), (Lines{"accepted"}));
    EXPECT_EQ(told(ask(address, session_request(DISCONNECT_REQUEST, "bob"))), (Lines{"accepted"}));
    const Report report = ask(address, session_request(DISCONNECT_REQUEST, "nobody"));
    EXPECT_EQ(report.verdict, Verdict::Rejected);
    EXPECT_EQ(report.error_cause, 503U);
    EXPECT_EQ((*report.reply)[0], DISCONNECT_NAK);
}

TEST_F(RealServerConversation, AcceptsTheSignatureOverZeros) {
    RadiusPacket request = session_request(COA_REQUEST, "bob");
    request.add_attribute("Message-Authenticator", utils::as_text(ZERO16));
    EXPECT_EQ(told(ask(on(server().coa_port()), request)),
              (Lines{"accepted", "message-authenticator-over-zeros"}));
    RadiusPacket accounting = accounting_request();
    accounting.set_attribute("User-Name", "signed");
    EXPECT_EQ(told(ask(on(server().accounting_port()), accounting)),
              (Lines{"accepted", "message-authenticator-over-zeros"}));
}

TEST_F(RealServerConversation, AsksForTheStatus) {
    EXPECT_EQ(told(ask(on(server().status_port()), packet(STATUS_SERVER)))[0], "accepted");
    EXPECT_EQ(told(ask(server().address(), packet(STATUS_SERVER)))[0], "accepted");
}

TEST_F(RealServerConversation, AnswersAChallenge) {
    RadiusPacket request = packet(ACCESS_REQUEST);
    ASSERT_TRUE(add_credentials(request, CredentialMethod::Pap, "challenged", "x"));
    std::vector<std::string> states;
    const ConversationHooks hooks = {.on_challenge = [&](std::size_t, const Conversation& so_far) {
        const RadiusPacket& challenge = *so_far.last().decoded->verified();
        states.push_back(challenge.find_attribute("State")->values[0].as_hex());
        challenge_answer(request, challenge, "123456");
        return std::optional(Ask{.request = encode_request(request, secret)});
    }};
    const Conversation conversation =
        converse_with(server().address(), {.request = encode_request(request, secret)}, secret, hooks,
                      {.timeout = 10s, .max_rounds = 3});
    ASSERT_EQ(conversation.rounds.size(), 3U);
    EXPECT_EQ(states, (std::vector<std::string>{"0x0102030405", "0x0102030405"}));
    EXPECT_EQ(conversation.last().verdict, Verdict::Challenge);
    EXPECT_EQ(conversation.last().notes.back().id, NoteId::TooManyRounds);
}

TEST_F(RealServerConversation, DiagnosesAWrongSecret) {
    // The server drops a request whose Message-Authenticator does not fit.
    RadiusPacket request = packet(ACCESS_REQUEST);
    ASSERT_TRUE(add_credentials(request, CredentialMethod::Pap, "bob", "hello"));
    const ConversationOptions options = {.tries = 1, .timeout = 1500ms};
    const Conversation conversation =
        converse_with(server().address(), {.request = encode_request(request, "another secret")},
                      "another secret", {}, options);
    ASSERT_EQ(conversation.last().verdict, Verdict::NoAnswer);
    const Diagnosis diagnosis = diagnosis_of(
        conversation.last(), {.server = *parse_server(server().address())}, "another secret", options);
    ASSERT_EQ(diagnosis.probes.size(), 2U);
    EXPECT_EQ(diagnosis.probes[1].report.verdict, Verdict::WrongSecret);
    EXPECT_EQ(diagnosis.causes.at(0).id, CauseId::WrongSecret);
}

TEST_F(RealServerConversation, DiagnosesAnUnknownClient) {
    RadiusPacket request = packet(ACCESS_REQUEST);
    ASSERT_TRUE(add_credentials(request, CredentialMethod::Pap, "bob", "hello"));
    Route route = {.server = *parse_server(server().address())};
    route.source = net::Address::ipv4({127, 0, 0, 9}, 0);
    const ConversationOptions options = {.tries = 1, .timeout = 1s};
    SystemNetwork network;
    Job job;
    job.routes.push_back(route);
    job.asks.push_back({.request = encode_request(request, secret)});
    const auto conversations = converse(std::move(job), secret, test::shipped_dictionary(), options, network);
    ASSERT_EQ(conversations[0].last().verdict, Verdict::NoAnswer);
    const Diagnosis diagnosis = diagnosis_of(conversations[0].last(), route, secret, options);
    EXPECT_EQ(diagnosis.causes.at(0).id, CauseId::UnknownClient);
}

}  // namespace
}  // namespace quarn::client
