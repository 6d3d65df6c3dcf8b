#include "quarn/client/diagnosis.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "client/scripted_network.h"
#include "quarn/client/conversation.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/thrown_text.h"
#include "testing/wire.h"

namespace quarn::client {
namespace {

using namespace std::chrono_literals;
using test::Arrived;
using test::Events;
using test::Lines;
using test::packet_after;
using test::Reply;
using test::reply_to;
using test::ScriptedNetwork;
using utils::Bytes;

constexpr char secret[] = "testing123";
constexpr char address[] = "192.0.2.1:1812";

/// A request to the server that stayed silent: with a Message-Authenticator first, and a user's name.
Bytes signed_request(std::uint8_t code = 1) {
    return test::datagram(code, "5012 00112233445566778899aabbccddeeff 0105626f62");
}

Report silent_report(Bytes request) {
    Report silent;
    silent.request = std::move(request);
    silent.address = net::Address::ipv4({192, 0, 2, 1}, 1812);
    return silent;
}

Diagnosis diagnosed(ScriptedNetwork& network, const Report& silent,
                    const std::string& server = "radius.example") {
    const Route route{.server = *parse_server(server)};
    const Silence silence{&silent, &route};
    auto diagnoses = diagnose({&silence, 1}, secret, test::shipped_dictionary(), {}, network);
    EXPECT_EQ(diagnoses.size(), 1U);
    return std::move(diagnoses.front());
}

Diagnosis diagnosed(ScriptedNetwork& network, Bytes request = signed_request()) {
    return diagnosed(network, silent_report(std::move(request)));
}

/// The questions with their answers, and then the causes.
Lines told(const Diagnosis& diagnosis) {
    Lines lines;
    for (const Probe& probe : diagnosis.probes) {
        lines.push_back(std::string(probe_word(probe.kind)) + ": " +
                        std::string(verdict_row(probe.report.verdict).word));
    }
    for (const Cause& cause : diagnosis.causes) {
        lines.push_back(std::string(cause_word(cause.id)));
        EXPECT_TRUE(cause.text.ends_with('.')) << cause.text;
    }
    return lines;
}

/// A server that answers Status-Server and Access-Requests as told; no reply for a code of 0.
test::Behaviour server(Reply to_status, Reply to_access) {
    return [=](const Arrived& arrived) {
        const Reply& reply = arrived.bytes[0] == 12 ? to_status : to_access;
        return reply.code == 0 ? Events{} : Events{packet_after(1ms, reply_to(arrived.bytes, reply))};
    };
}

constexpr std::uint8_t no_reply = 0;

TEST(Diagnose, AsksForTheStatusAndWithoutASignature) {
    ScriptedNetwork network;
    std::vector<Bytes> requests;
    network.server(address, [&](const Arrived& arrived) {
        requests.push_back(arrived.bytes);
        return Events{};
    });
    diagnosed(network);
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0][0], 12);
    EXPECT_EQ(requests[0][1], 8);
    EXPECT_EQ(test::types_of(test::attributes_of(requests[0])), (std::vector<int>{80}));
    EXPECT_TRUE(test::has_valid_message_authenticator(requests[0], secret));
    Bytes unsigned_request = test::datagram(1, "0105626f62");
    unsigned_request[1] = 9;
    EXPECT_EQ(test::to_hex(requests[1]), test::to_hex(unsigned_request));
    EXPECT_EQ(network.now().time_since_epoch(), 3s) << "the questions are asked together";
}

TEST(Diagnose, DoesNotTakeTheSignatureOffEveryRequest) {
    for (const Bytes& request : {signed_request(4), signed_request(43), test::datagram(1, "0105626f62"),
                                 test::datagram(1, "5012 00112233445566778899aabbccddeeff 4f03 61")}) {
        ScriptedNetwork network;
        diagnosed(network, request);
        EXPECT_EQ(network.lines().size(), 1U);
    }
}

TEST(Diagnose, FindsAWrongSecretByTheStatus) {
    ScriptedNetwork network;
    network.server(address, server({.code = 2, .secret = "other"}, {.code = no_reply}));
    EXPECT_EQ(told(diagnosed(network)), (Lines{"status-server: wrong-secret",
                                               "without-message-authenticator: no-answer", "wrong-secret"}));
}

TEST(Diagnose, FindsAWrongSecretByARequestWithoutASignature) {
    ScriptedNetwork network;
    network.server(
        address, server({.code = no_reply}, {.code = 3, .message_authenticator = false, .secret = "other"}));
    EXPECT_EQ(
        told(diagnosed(network)),
        (Lines{"status-server: no-answer", "without-message-authenticator: wrong-secret", "wrong-secret"}));
}

TEST(Diagnose, SuspectsAnUnknownClientWhenNothingIsAnswered) {
    ScriptedNetwork network;
    EXPECT_EQ(told(diagnosed(network)),
              (Lines{"status-server: no-answer", "without-message-authenticator: no-answer", "unknown-client",
                     "filtered", "wrong-port", "wrong-secret", "no-status-server"}));
    EXPECT_EQ(told(diagnosed(network, signed_request(4))),
              (Lines{"status-server: no-answer", "unknown-client", "wrong-secret", "filtered", "wrong-port",
                     "no-status-server"}));
}

TEST(Diagnose, FindsThatOnlyThisRequestIsIgnored) {
    ScriptedNetwork network;
    network.server(address, server({.code = 2}, {.code = no_reply}));
    EXPECT_EQ(told(diagnosed(network)),
              (Lines{"status-server: accepted", "without-message-authenticator: no-answer", "request-ignored",
                     "temporary-loss"}));
}

TEST(Diagnose, SuspectsThePortWhenItIsNotTheUsualOne) {
    ScriptedNetwork network;
    network.server(address, server({.code = 2}, {.code = no_reply}));
    EXPECT_EQ(told(diagnosed(network, signed_request(4))),
              (Lines{"status-server: accepted", "request-ignored", "wrong-port", "temporary-loss"}));
}

TEST(Diagnose, SuspectsTheWayWhenNoConnectionIsMade) {
    ScriptedNetwork network;
    Report silent = silent_report(signed_request(4));
    silent.transport = TransportKind::Tcp;
    EXPECT_EQ(told(diagnosed(network, silent, "tcp://radius.example")),
              (Lines{"status-server: no-answer", "filtered", "wrong-port"}));
    silent.was_connected = true;
    EXPECT_EQ(told(diagnosed(network, silent, "tcp://radius.example")),
              (Lines{"status-server: no-answer", "wrong-secret", "request-ignored", "unknown-client",
                     "no-status-server"}));
}

TEST(Diagnose, AsksAboutSeveralSilencesTogether) {
    ScriptedNetwork network;
    network.server(address, server({.code = 2}, {.code = no_reply}));
    const Report first = silent_report(signed_request());
    Report second = silent_report(signed_request(4));
    second.address = net::Address::ipv4({192, 0, 2, 2}, 1813);
    const Route route{.server = *parse_server("radius.example")};
    const std::vector<Silence> silences = {{&first, &route}, {&second, &route}};
    const auto diagnoses = diagnose(silences, secret, test::shipped_dictionary(), {}, network);
    ASSERT_EQ(diagnoses.size(), 2U);
    EXPECT_EQ(told(diagnoses[0]),
              (Lines{"status-server: accepted", "without-message-authenticator: no-answer", "request-ignored",
                     "temporary-loss"}));
    EXPECT_EQ(told(diagnoses[1]), (Lines{"status-server: no-answer", "unknown-client", "wrong-secret",
                                         "filtered", "wrong-port", "no-status-server"}));
    EXPECT_EQ(network.now().time_since_epoch(), 3s);
    EXPECT_TRUE(diagnose({}, secret, test::shipped_dictionary(), {}, network).empty());
}

TEST(Diagnose, FindsThatTheServerAnswersNow) {
    ScriptedNetwork network;
    network.server(address, server({.code = no_reply}, {.code = 2}));
    EXPECT_EQ(told(diagnosed(network)), (Lines{"status-server: no-answer",
                                               "without-message-authenticator: accepted", "temporary-loss"}));
}

TEST(Diagnose, FindsAPortThatWasClosedMeanwhile) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived&) {
        return Events{test::event_after(1ms, TransportError{ErrorOrigin::Network, ECONNREFUSED})};
    });
    EXPECT_EQ(told(diagnosed(network)),
              (Lines{"status-server: refused", "without-message-authenticator: refused", "port-closed",
                     "wrong-port"}));
}

TEST(Diagnose, FindsAFilter) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived&) {
        return Events{test::event_after(1ms, TransportError{ErrorOrigin::Network, EHOSTUNREACH})};
    });
    EXPECT_EQ(told(diagnosed(network)), (Lines{"status-server: unreachable",
                                               "without-message-authenticator: unreachable", "filtered"}));
}

TEST(Diagnose, NeedsADictionary) {
    ScriptedNetwork network;
    EXPECT_EQ(test::thrown_text<std::invalid_argument>([&] { diagnose({}, secret, nullptr, {}, network); }),
              "diagnose: dictionary required");
}

}  // namespace
}  // namespace quarn::client
