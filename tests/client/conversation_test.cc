#include "quarn/client/conversation.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "client/scripted_network.h"
#include "quarn/radius/packet_code.h"
#include "quarn/radius/random.h"
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
const net::Address elsewhere = net::Address::ipv4({192, 0, 2, 66}, 1812);

/// A request of its own: another Authenticator for each Identifier.
EncodedRequest request(std::uint8_t code = 1, std::uint8_t identifier = 7) {
    Bytes bytes = test::header(code, identifier);
    for (std::size_t i = 4; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(identifier + i);
    }
    return EncodedRequest(bytes);
}

Job job_for(const std::string& server, std::vector<EncodedRequest> requests = {request()}) {
    Job job;
    job.routes.push_back({.server = *parse_server(server)});
    for (EncodedRequest& each : requests) {
        job.asks.push_back({.request = std::move(each)});
    }
    return job;
}

std::vector<Conversation> run(ScriptedNetwork& network, Job job, const ConversationOptions& options = {},
                              const ConversationHooks& hooks = {}) {
    return converse(std::move(job), secret, test::shipped_dictionary(), options, network, hooks);
}

Report ask(ScriptedNetwork& network, const std::string& server = address,
           const ConversationOptions& options = {}) {
    auto conversations = run(network, job_for(server), options);
    EXPECT_EQ(conversations.size(), 1U);
    EXPECT_EQ(conversations[0].rounds.size(), 1U);
    return std::move(conversations[0].last());
}

/// "accepted from 192.0.2.1:1812 in 10 ms after 1 try: detail", and a line for each note.
Lines told(const Report& report) {
    std::string line(verdict_row(report.verdict).word);
    line += report.address ? " from " + report.address->text() : "";
    line += report.round_trip ? " in " + test::text_of(*report.round_trip) : "";
    line += " after " + std::to_string(report.tries);
    line += report.detail.empty() ? "" : ": " + report.detail;
    Lines lines = {line};
    for (const Note& note : report.notes) {
        lines.push_back(std::string(note_word(note.id)) + ": " + note.text);
    }
    return lines;
}

test::Behaviour answer_with(Reply reply, Duration after = 10ms) {
    return [reply, after](const Arrived& arrived) {
        return Events{packet_after(after, reply_to(arrived.bytes, reply))};
    };
}

TEST(Converse, TellsAllOfAnAcceptedRequest) {
    ScriptedNetwork network;
    network.server(address, answer_with({.code = 2, .attributes = test::attribute(18, "hello")}));
    const Report report = ask(network);
    EXPECT_EQ(told(report), (Lines{"accepted from 192.0.2.1:1812 in 10 ms after 1"}));
    EXPECT_EQ(report.server, address);
    EXPECT_EQ(report.transport, TransportKind::Udp);
    EXPECT_EQ(report.local_address->text(), "192.0.2.99:40000");
    EXPECT_EQ(test::to_hex(report.request), test::to_hex(request().datagram()));
    EXPECT_EQ(report.reply_source->text(), address);
    ASSERT_TRUE(report.reply && report.decoded);
    EXPECT_EQ((*report.reply)[0], 2);
    ASSERT_NE(report.decoded->verified(), nullptr);
    EXPECT_EQ(report.decoded->verified()->find_attribute("Reply-Message")->values[0].as_string(), "hello");
    EXPECT_EQ(network.lines(), (Lines{"0 ms: 192.0.2.1:1812 udp 0107"}));
}

TEST(Converse, TakesThePortThatFitsTheCode) {
    ScriptedNetwork network;
    for (const std::uint8_t code : std::to_array<std::uint8_t>({1, 4, 12, 40, 43, 99})) {
        run(network, job_for("192.0.2.1", {request(code)}), {.tries = 1});
    }
    EXPECT_EQ(network.lines(),
              (Lines{"0 ms: 192.0.2.1:1812 udp 0107", "3000 ms: 192.0.2.1:1813 udp 0407",
                     "6000 ms: 192.0.2.1:1812 udp 0c07", "9000 ms: 192.0.2.1:3799 udp 2807",
                     "12000 ms: 192.0.2.1:3799 udp 2b07", "15000 ms: 192.0.2.1:1812 udp 6307"}));
}

TEST(Converse, SendsAgainUntilTheTriesAreUsedUp) {
    ScriptedNetwork network;
    EXPECT_EQ(told(ask(network)), (Lines{"no-answer from 192.0.2.1:1812 after 3"}));
    EXPECT_EQ(network.lines(), (Lines{"0 ms: 192.0.2.1:1812 udp 0107", "3000 ms: 192.0.2.1:1812 udp 0107",
                                      "6000 ms: 192.0.2.1:1812 udp 0107"}));
    EXPECT_EQ(network.now().time_since_epoch(), 9s);
}

TEST(Converse, TakesAReplyToAnyTry) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        return arrived.earlier == 2 ? Events{packet_after(4ms, reply_to(arrived.bytes, {.code = 3}))}
                                    : Events{};
    });
    EXPECT_EQ(told(ask(network)), (Lines{"rejected from 192.0.2.1:1812 in 4 ms after 3"}));
}

TEST(Converse, TellsAWrongSecretAfterTheGrace) {
    ScriptedNetwork network;
    network.server(address, answer_with({.code = 2, .secret = "another"}));
    const Report report = ask(network);
    EXPECT_EQ(told(report), (Lines{"wrong-secret from 192.0.2.1:1812 in 10 ms after 1"}));
    EXPECT_EQ(network.now().time_since_epoch(), 60ms);
    ASSERT_TRUE(report.decoded);
    EXPECT_EQ(report.decoded->verified(), nullptr);
}

TEST(Converse, TakesABetterPacketWithinTheGrace) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        return Events{packet_after(10ms, reply_to(arrived.bytes, {.code = 2, .identifier_offset = 1})),
                      packet_after(40ms, reply_to(arrived.bytes, {.code = 2}))};
    });
    EXPECT_EQ(told(ask(network)),
              (Lines{"accepted from 192.0.2.1:1812 in 40 ms after 1",
                     "unacceptable-packet: A packet from 192.0.2.1:1812 was not accepted, wrong-identifier: "
                     "Identifier 8 instead of 7."}));
}

TEST(Converse, LetsTheMostTellingOfSeveralPacketsStand) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        return Events{test::packet_from(elsewhere, 1ms, {1, 2, 3}), packet_after(2ms, {1, 2, 3}),
                      packet_after(3ms, reply_to(arrived.bytes, {.code = 2, .secret = "another"})),
                      packet_after(4ms, reply_to(arrived.bytes, {.code = 2, .identifier_offset = 1}))};
    });
    EXPECT_EQ(
        told(ask(network)),
        (Lines{"wrong-secret from 192.0.2.1:1812 in 3 ms after 1",
               "unacceptable-packet: A packet from 192.0.2.66:1812 was not accepted, wrong-source: from "
               "192.0.2.66:1812 instead of 192.0.2.1:1812.",
               "unacceptable-packet: A packet from 192.0.2.1:1812 was not accepted, malformed: 3 octets: a "
               "packet has at least 20.",
               "unacceptable-packet: A packet from 192.0.2.1:1812 was not accepted, wrong-identifier: "
               "Identifier 8 instead of 7."}));
    EXPECT_EQ(network.now().time_since_epoch(), 51ms);
}

TEST(Converse, TellsAReplyFromAnotherAddress) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        return Events{test::packet_from(elsewhere, 1ms, reply_to(arrived.bytes, {.code = 2})),
                      packet_after(2ms, {1, 2, 3})};
    });
    const Report report = ask(network);
    EXPECT_EQ(told(report)[0],
              "wrong-source from 192.0.2.1:1812 in 1 ms after 1: from 192.0.2.66:1812 instead of "
              "192.0.2.1:1812; it is authentic otherwise");
    EXPECT_EQ(report.reply_source, elsewhere);
    EXPECT_EQ(report.offset, std::nullopt);
}

TEST(Converse, TellsWhereAPacketIsMalformed) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived&) { return Events{packet_after(1ms, Bytes(21, 2))}; });
    const Report report = ask(network);
    EXPECT_EQ(report.verdict, Verdict::Malformed);
    EXPECT_EQ(report.offset, 2U);
}

TEST(Converse, WaitsTheFullTimeWhenAsked) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        return Events{packet_after(1ms, reply_to(arrived.bytes, {.code = 2, .secret = "forged"})),
                      packet_after(2500ms, reply_to(arrived.bytes, {.code = 2}))};
    });
    EXPECT_EQ(told(ask(network, address, {.wait_full_time = true}))[0],
              "accepted from 192.0.2.1:1812 in 2500 ms after 1");
}

TEST(Converse, TellsTheForgeryWhenTheFullTimeIsOver) {
    ScriptedNetwork network;
    network.server(address, answer_with({.code = 2, .secret = "forged"}));
    EXPECT_EQ(told(ask(network, address, {.wait_full_time = true}))[0],
              "wrong-secret from 192.0.2.1:1812 in 10 ms after 3");
    EXPECT_EQ(network.now().time_since_epoch(), 9s);
}

TEST(Converse, EndsAFloodOfForgeriesInTime) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived&) {
        Events events;
        for (int i = 0; i < 1000; ++i) {
            events.push_back(packet_after(std::chrono::milliseconds(i), Bytes(20, 1)));
        }
        return events;
    });
    const Report report = ask(network);
    EXPECT_EQ(report.verdict, Verdict::Malformed);
    EXPECT_EQ(network.now().time_since_epoch(), 50ms);
    EXPECT_EQ(report.notes.size(), 7U) << "eight notes are kept, and the verdict's own is no note";
}

struct ErrorCase {
    TransportError error;
    Verdict verdict;
    std::string detail;
};

TEST(Converse, EndsAtOnceWhenTheNetworkTellsOfAnError) {
    const net::Address router = net::Address::ipv4({192, 0, 2, 254}, 0);
    const ErrorCase cases[] = {
        {{ErrorOrigin::Network, ECONNREFUSED, IcmpReport{3, 3, net::Address::ipv4({192, 0, 2, 1}, 0)}},
         Verdict::Refused,
         "Connection refused, ICMP type 3 code 3 from 192.0.2.1"},
        {{ErrorOrigin::Network, EHOSTUNREACH, IcmpReport{3, 13, router}},
         Verdict::Unreachable,
         "No route to host, ICMP type 3 code 13 from 192.0.2.254"},
        {{ErrorOrigin::Network, ENETUNREACH, IcmpReport{}}, Verdict::Unreachable, "Network is unreachable"},
        {{ErrorOrigin::Receive, ECONNRESET}, Verdict::ConnectionClosed, "Connection reset by peer"},
        {{ErrorOrigin::Network, EPERM},
         Verdict::Unreachable,
         "Operation not permitted: a firewall of this machine"},
    };
    for (const ErrorCase& expected : cases) {
        ScriptedNetwork network;
        network.server(address,
                       [&](const Arrived&) { return Events{test::event_after(5ms, expected.error)}; });
        const Report report = ask(network);
        EXPECT_EQ(report.verdict, expected.verdict);
        EXPECT_EQ(report.detail, expected.detail);
        EXPECT_EQ(report.error_number, expected.error.number);
        EXPECT_EQ(report.icmp, expected.error.icmp);
        EXPECT_EQ(network.now().time_since_epoch(), 5ms);
    }
}

TEST(Converse, TellsThatASocketCannotBeOpened) {
    ScriptedNetwork network;
    network.cannot_open(address, {net::OpenStep::Bind, EADDRNOTAVAIL});
    Job job = job_for(address);
    job.routes[0].source = net::Address::ipv4({203, 0, 113, 1}, 0);
    EXPECT_EQ(told(run(network, std::move(job))[0].last()),
              (Lines{"unreachable from 192.0.2.1:1812 after 0: cannot use the source address 203.0.113.1:0: "
                     "Cannot assign requested address"}));
}

// Names.

TEST(Converse, TriesTheAddressesOfANameInOrder) {
    ScriptedNetwork network;
    network.name("radius.example", {"2001:db8::1", "192.0.2.1", "192.0.2.2"});
    network.server("[2001:db8::1]:1812", [](const Arrived&) {
        return Events{test::event_after(1ms, TransportError{ErrorOrigin::Network, ECONNREFUSED})};
    });
    network.server("192.0.2.2:1812", answer_with({.code = 2}));
    EXPECT_EQ(told(ask(network, "radius.example", {.tries = 2})),
              (Lines{"accepted from 192.0.2.2:1812 in 10 ms after 1",
                     "address-failed: [2001:db8::1]:1812 did not answer, refused: Connection refused.",
                     "address-failed: 192.0.2.1:1812 did not answer, no-answer."}));
    EXPECT_EQ(network.lines(),
              (Lines{"0 ms: [2001:db8::1]:1812 udp 0107", "1 ms: 192.0.2.1:1812 udp 0107",
                     "3001 ms: 192.0.2.1:1812 udp 0107", "6001 ms: 192.0.2.2:1812 udp 0107"}));
}

TEST(Converse, BeginsWithTheAddressThatAnsweredBefore) {
    ScriptedNetwork network;
    network.name("radius.example", {"192.0.2.1", "192.0.2.2"});
    network.server("192.0.2.2:1812", answer_with({.code = 2}));
    run(network, job_for("radius.example", {request(1, 1), request(1, 2)}), {.tries = 1});
    EXPECT_EQ(network.lines(), (Lines{"0 ms: 192.0.2.1:1812 udp 0101", "3000 ms: 192.0.2.2:1812 udp 0101",
                                      "3010 ms: 192.0.2.2:1812 udp 0102"}));
}

TEST(Converse, TellsOfTheAddressThatWasReachedWhenNoneAnswers) {
    ScriptedNetwork network;
    network.name("radius.example", {"192.0.2.1", "2001:db8::1"});
    network.cannot_open("[2001:db8::1]:1812", {net::OpenStep::Connect, ENETUNREACH});
    const Report report = ask(network, "radius.example", {.tries = 2});
    EXPECT_EQ(told(report), (Lines{"no-answer from 192.0.2.1:1812 after 2",
                                   "address-failed: 192.0.2.1:1812 did not answer, no-answer."}));
}

TEST(Converse, KeepsToOneFamily) {
    ScriptedNetwork network;
    network.name("radius.example", {"192.0.2.1", "2001:db8::1"});
    Job job = job_for("radius.example");
    job.routes[0].family = net::Family::IPv6;
    run(network, std::move(job), {.tries = 1});
    EXPECT_EQ(network.lines(), (Lines{"0 ms: [2001:db8::1]:1812 udp 0107"}));
}

TEST(Converse, TakesTheFamilyOfTheSource) {
    ScriptedNetwork network;
    network.name("radius.example", {"192.0.2.1", "2001:db8::1"});
    Job job = job_for("radius.example");
    job.routes[0].source = net::Address::parse("2001:db8::99", 0);
    run(network, std::move(job), {.tries = 1});
    EXPECT_EQ(network.lines(), (Lines{"0 ms: [2001:db8::1]:1812 udp 0107"}));
}

TEST(Converse, CountsResolvingIntoTheTimeOut) {
    ScriptedNetwork network;
    network.resolving_takes = 1s;
    ask(network, address, {.tries = 2});
    EXPECT_EQ(network.lines(),
              (Lines{"1000 ms: 192.0.2.1:1812 udp 0107", "3000 ms: 192.0.2.1:1812 udp 0107"}));
}

TEST(Converse, GivesUpAResolverThatTakesTooLong) {
    ScriptedNetwork network;
    network.resolving_takes = 4s;
    EXPECT_EQ(told(ask(network)), (Lines{"resolve-failed after 0: the resolver did not answer in time"}));
    EXPECT_EQ(network.now().time_since_epoch(), 3s);
}

TEST(Converse, TellsThatANameHasNoAddress) {
    ScriptedNetwork network;
    EXPECT_EQ(told(ask(network, "nobody.example")),
              (Lines{"resolve-failed after 0: Name or service not known"}));
    EXPECT_EQ(network.lines(), Lines());
}

// Several requests.

TEST(Converse, MakesRequestsOneAfterAnotherOnOneSocket) {
    ScriptedNetwork network;
    network.server(address, answer_with({.code = 2}));
    const auto conversations = run(network, job_for(address, {request(1, 1), request(1, 2), request(1, 3)}));
    EXPECT_EQ(conversations.size(), 3U);
    EXPECT_EQ(network.opened(), 1);
    EXPECT_EQ(network.lines(), (Lines{"0 ms: 192.0.2.1:1812 udp 0101", "10 ms: 192.0.2.1:1812 udp 0102",
                                      "20 ms: 192.0.2.1:1812 udp 0103"}));
}

TEST(Converse, WaitsForManyTogether) {
    ScriptedNetwork network;
    std::vector<EncodedRequest> requests;
    for (int i = 0; i < 200; ++i) {
        requests.push_back(request(1, static_cast<std::uint8_t>(i)));
    }
    const auto conversations = run(network, job_for(address, requests), {.parallel = 200});
    EXPECT_EQ(network.now().time_since_epoch(), 9s);
    ASSERT_EQ(conversations.size(), 200U);
    for (const Conversation& conversation : conversations) {
        EXPECT_EQ(conversation.last().verdict, Verdict::NoAnswer);
        EXPECT_EQ(conversation.last().tries, 3);
    }
}

TEST(Converse, KeepsToTheNumberThatMayBeUnderWay) {
    ScriptedNetwork network;
    network.server(address, answer_with({.code = 2}));
    run(network, job_for(address, {request(1, 1), request(1, 2), request(1, 3)}), {.parallel = 2});
    EXPECT_EQ(network.opened(), 2);
    EXPECT_EQ(network.lines(), (Lines{"0 ms: 192.0.2.1:1812 udp 0101", "0 ms: 192.0.2.1:1812 udp 0102",
                                      "10 ms: 192.0.2.1:1812 udp 0103"}));
}

TEST(Converse, TellsResultsInOrder) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        const Duration time = arrived.bytes[1] == 1 ? 30ms : 10ms;
        return Events{packet_after(time, reply_to(arrived.bytes, {.code = 2}))};
    });
    Lines lines;
    run(network, job_for(address, {request(1, 1), request(1, 2), request(1, 3)}), {.parallel = 2},
        {.on_result = [&](std::size_t number, const Conversation& conversation) {
            lines.push_back(std::to_string(number) + " at " +
                            test::text_of(network.now().time_since_epoch()) + ": " +
                            std::string(verdict_row(conversation.last().verdict).word));
        }});
    EXPECT_EQ(lines, (Lines{"0 at 30 ms: accepted", "1 at 30 ms: accepted", "2 at 30 ms: accepted"}));
}

TEST(Converse, MakesDoWithTheSocketsThereAre) {
    ScriptedNetwork network;
    network.limit_transports(2);
    network.server(address, answer_with({.code = 2}));
    const auto conversations =
        run(network, job_for(address, {request(1, 1), request(1, 2), request(1, 3), request(1, 4)}),
            {.parallel = 4});
    ASSERT_EQ(conversations.size(), 4U);
    for (const Conversation& conversation : conversations) {
        EXPECT_EQ(told(conversation.last()), (Lines{"accepted from 192.0.2.1:1812 in 10 ms after 1"}));
    }
}

TEST(Converse, TellsThatThereIsNoSocketAtAll) {
    ScriptedNetwork network;
    network.limit_transports(0);
    EXPECT_EQ(told(ask(network)),
              (Lines{"unreachable from 192.0.2.1:1812 after 0: cannot open a socket: Too many open files"}));
}

TEST(Converse, AsksSeveralServers) {
    ScriptedNetwork network;
    network.server("192.0.2.2:1812", answer_with({.code = 3}));
    Job job = job_for(address, {request(1, 1), request(1, 2)});
    job.routes.push_back({.server = *parse_server("192.0.2.2")});
    job.asks[1].route = 1;
    const auto conversations = run(network, std::move(job), {.tries = 1, .parallel = 2});
    EXPECT_EQ(told(conversations[0].last()), (Lines{"no-answer from 192.0.2.1:1812 after 1"}));
    EXPECT_EQ(told(conversations[1].last()), (Lines{"rejected from 192.0.2.2:1812 in 10 ms after 1"}));
    EXPECT_EQ(network.now().time_since_epoch(), 3s);
}

// Late and second replies.

TEST(Converse, NotesALateReplyToAnEarlierRequest) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        return arrived.bytes[1] == 1 ? Events{packet_after(3010ms, reply_to(arrived.bytes, {.code = 2}))}
                                     : Events{packet_after(50ms, reply_to(arrived.bytes, {.code = 3}))};
    });
    const auto conversations = run(network, job_for(address, {request(1, 1), request(1, 2)}), {.tries = 1});
    EXPECT_EQ(told(conversations[0].last()), (Lines{"no-answer from 192.0.2.1:1812 after 1"}));
    EXPECT_EQ(
        told(conversations[1].last()),
        (Lines{"rejected from 192.0.2.1:1812 in 50 ms after 1",
               "late-reply: A late reply to an earlier request (Identifier 1) arrived and was left alone."}));
}

TEST(Converse, NotesASecondReplyToAnEarlierRequest) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        const Bytes reply = reply_to(arrived.bytes, {.code = 2});
        return arrived.bytes[1] == 1 ? Events{packet_after(1ms, reply), packet_after(5ms, reply)}
                                     : Events{packet_after(20ms, reply)};
    });
    const auto conversations = run(network, job_for(address, {request(1, 1), request(1, 2)}));
    EXPECT_EQ(told(conversations[1].last()),
              (Lines{"accepted from 192.0.2.1:1812 in 20 ms after 1",
                     "second-reply: A second reply to an earlier request (Identifier 1) arrived and was left "
                     "alone."}));
}

TEST(Converse, ForgetsWhatArrivedBeforeARequestWasSent) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        if (arrived.bytes[1] ==
            1) {  // a silence of three seconds follows; the forgeries come in the same moment
            return Events{packet_after(3s, Bytes(20, 9)),
                          test::event_after(3s, TransportError{ErrorOrigin::Network, ECONNREFUSED})};
        }
        return Events{packet_after(20ms, reply_to(arrived.bytes, {.code = 2}))};
    });
    const auto conversations = run(network, job_for(address, {request(1, 1), request(1, 2)}), {.tries = 1});
    EXPECT_EQ(conversations[1].last().verdict, Verdict::Accepted);
    EXPECT_EQ(conversations[1].last().notes, std::vector<Note>());
}

// Challenges.

Ask next_ask(std::uint8_t identifier) {
    return {.request = request(1, identifier)};
}

TEST(Converse, EndsWithAChallengeThatNobodyAnswers) {
    ScriptedNetwork network;
    network.server(address, answer_with({.code = 11}));
    EXPECT_EQ(told(ask(network)), (Lines{"challenge from 192.0.2.1:1812 in 10 ms after 1"}));
}

TEST(Converse, AnswersChallengesOnTheSameSocket) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        const Bytes reply =
            reply_to(arrived.bytes, {.code = static_cast<std::uint8_t>(arrived.earlier < 2 ? 11 : 2)});
        return Events{packet_after(5ms, reply), packet_after(6ms, reply)};
    });
    auto conversations = run(
        network, job_for(address), {}, {.on_challenge = [](std::size_t number, const Conversation& so_far) {
            EXPECT_EQ(number, 0U);
            EXPECT_EQ(so_far.last().verdict, Verdict::Challenge);
            EXPECT_NE(so_far.last().decoded->verified(), nullptr);
            return std::optional(next_ask(static_cast<std::uint8_t>(7 + so_far.rounds.size())));
        }});
    ASSERT_EQ(conversations[0].rounds.size(), 3U);
    const std::string second = " arrived and was left alone.";
    EXPECT_EQ(told(conversations[0].rounds[0]), (Lines{"challenge from 192.0.2.1:1812 in 5 ms after 1"}));
    EXPECT_EQ(told(conversations[0].rounds[1]),
              (Lines{"challenge from 192.0.2.1:1812 in 5 ms after 1",
                     "second-reply: A second reply to an earlier request (Identifier 7)" + second}));
    EXPECT_EQ(told(conversations[0].rounds[2]),
              (Lines{"accepted from 192.0.2.1:1812 in 5 ms after 1",
                     "second-reply: A second reply to an earlier request (Identifier 8)" + second}));
    EXPECT_EQ(network.opened(), 1);
}

TEST(Converse, EndsARunOfChallengesAtTheLimit) {
    ScriptedNetwork network;
    network.server(address, answer_with({.code = 11}));
    int answers = 0;
    auto conversations = run(network, job_for(address), {.max_rounds = 3},
                             {.on_challenge = [&](std::size_t, const Conversation&) {
                                 ++answers;
                                 return std::optional(next_ask(static_cast<std::uint8_t>(answers)));
                             }});
    EXPECT_EQ(answers, 2);
    ASSERT_EQ(conversations[0].rounds.size(), 3U);
    EXPECT_EQ(told(conversations[0].last()),
              (Lines{"challenge from 192.0.2.1:1812 in 10 ms after 1",
                     "too-many-rounds: The server asked again after 3 rounds, which is the limit."}));
}

// Streams.

TEST(Converse, SendsOnceOverAStream) {
    ScriptedNetwork network;
    EXPECT_EQ(told(ask(network, "tcp://192.0.2.1")),
              (Lines{"no-answer from 192.0.2.1:1812 after 1: the connection was made, but no reply came"}));
    EXPECT_EQ(network.lines(), (Lines{"0 ms: 192.0.2.1:1812 tcp 0107"}));
    EXPECT_EQ(network.now().time_since_epoch(), 3s);
}

TEST(Converse, TellsThatTheConnectionWasClosed) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived&) { return Events{test::event_after(1ms, Closed{})}; });
    EXPECT_EQ(told(ask(network, "tcp://192.0.2.1")),
              (Lines{"connection-closed from 192.0.2.1:1812 after 1"}));
    network.server(address, [](const Arrived&) { return Events{test::event_after(1ms, Closed{12})}; });
    EXPECT_EQ(told(ask(network, "tcp://192.0.2.1")),
              (Lines{"connection-closed from 192.0.2.1:1812 after 1: in the middle of a packet, of which 12 "
                     "octets had come"}));
}

TEST(Converse, TellsThePacketAfterWhichTheConnectionWasClosed) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived&) {
        return Events{packet_after(1ms, {2, 7, 0, 3}), test::event_after(2ms, Closed{})};
    });
    const Report report = ask(network, "tcp://192.0.2.1");
    EXPECT_EQ(report.verdict, Verdict::Malformed);
    EXPECT_EQ(network.now().time_since_epoch(), 2ms);
}

TEST(Converse, OpensAConnectionAnewThatWasClosedMeanwhile) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        Events events = {packet_after(10ms, reply_to(arrived.bytes, {.code = 2}))};
        if (arrived.bytes[1] == 2 && arrived.earlier == 1) {
            events = {test::event_after(1ms, Closed{})};
        }
        return events;
    });
    const auto conversations = run(network, job_for("tcp://192.0.2.1", {request(1, 1), request(1, 2)}));
    EXPECT_EQ(network.opened(), 2);
    EXPECT_EQ(told(conversations[1].last()),
              (Lines{"accepted from 192.0.2.1:1812 in 10 ms after 1",
                     "reconnected: The server had closed the connection, and it was opened anew."}));
}

TEST(Converse, ClosesAConnectionThatBroughtAForgery) {
    ScriptedNetwork network;
    network.server(address, [](const Arrived& arrived) {
        return Events{packet_after(1ms, reply_to(arrived.bytes, {.code = 2, .secret = "another"}))};
    });
    run(network, job_for("tcp://192.0.2.1", {request(1, 1), request(1, 2)}));
    EXPECT_EQ(network.opened(), 2);
}

// Owners' mistakes.

TEST(Converse, NeedsADictionaryAndRoutes) {
    ScriptedNetwork network;
    EXPECT_EQ(test::thrown_text<std::invalid_argument>([&] { converse({}, secret, nullptr, {}, network); }),
              "converse: dictionary required");
    EXPECT_EQ(test::thrown_text<std::out_of_range>([&] {
                  Job job = job_for(address);
                  job.asks[0].route = 1;
                  run(network, std::move(job));
              }),
              "converse: no such route");
    EXPECT_EQ(run(network, {}).size(), 0U);
}

// What others send.

TEST(Converse, GoesOnToTheNextAddressWhenForeignBytesAreAllThatCame) {
    for (const bool wait : {false, true}) {
        ScriptedNetwork network;
        network.name("radius.example", {"192.0.2.1", "192.0.2.2"});
        network.server("192.0.2.1:1812",
                       [](const Arrived&) { return Events{test::packet_from(elsewhere, 1ms, {1})}; });
        network.server("192.0.2.2:1812", [](const Arrived& arrived) {
            return Events{packet_after(1ms, reply_to(arrived.bytes, {.code = 2}))};
        });
        const Report report = ask(network, "radius.example", {.wait_full_time = wait});
        EXPECT_EQ(told(report).front(), "accepted from 192.0.2.2:1812 in 1 ms after 1");
    }
}

TEST(Converse, PrefersNoAddressThatBroughtAForgery) {
    ScriptedNetwork network;
    network.name("radius.example", {"192.0.2.1", "192.0.2.2"});
    std::vector<std::string> asked;
    network.server("192.0.2.1:1812", [&asked](const Arrived&) {
        asked.push_back("first");
        return asked.size() == 1 ? Events{} : Events{packet_after(1ms, {1})};
    });
    network.server("192.0.2.2:1812", [&asked](const Arrived& arrived) {
        asked.push_back("second");
        return Events{packet_after(1ms, reply_to(arrived.bytes, {.code = 2, .secret = "forged"}))};
    });
    run(network, job_for("radius.example", {request(1, 7), request(1, 8)}), {.tries = 1});
    EXPECT_EQ(asked, (std::vector<std::string>{"first", "second", "first"}));
}

TEST(Converse, TriesSixteenAddressesAtMost) {
    ScriptedNetwork network;
    std::vector<std::string> addresses;
    for (int i = 1; i <= 200; ++i) {
        addresses.push_back("192.0.2." + std::to_string(i));
    }
    network.name("radius.example", addresses);
    const Report report = ask(network, "radius.example", {.tries = 1});
    EXPECT_EQ(network.lines().size(), 16U);
    EXPECT_TRUE(std::any_of(report.notes.begin(), report.notes.end(), [](const Note& note) {
        return note == Note{NoteId::AddressesLeftOut,
                            "The server's name has 184 more addresses than the 16 that are tried."};
    }));
}

TEST(Converse, ResolvesEveryServerAtTheSameTime) {
    ScriptedNetwork network;
    network.resolving_takes = 2s;
    Job job;
    for (const char* const server : {"a.example", "b.example", "c.example"}) {
        network.name(server, {"192.0.2.1"});
        job.routes.push_back({.server = *parse_server(server)});
        job.asks.push_back({.request = request(1, static_cast<std::uint8_t>(job.routes.size())),
                            .route = job.routes.size() - 1});
    }
    network.server(address, [](const Arrived& arrived) {
        return Events{packet_after(1ms, reply_to(arrived.bytes, {.code = 2}))};
    });
    const std::vector<Conversation> conversations = run(network, job, {.parallel = 3});
    for (const Conversation& conversation : conversations) {
        EXPECT_EQ(conversation.last().verdict, Verdict::Accepted);
    }
    EXPECT_EQ(network.now().time_since_epoch(), 2s + 1ms);
}

TEST(Converse, WaitsForAConnectionFromTheSamePort) {
    ScriptedNetwork network;
    network.limit_transports(1, {net::OpenStep::Connect, EADDRNOTAVAIL});
    network.server(address, [](const Arrived& arrived) {
        return Events{packet_after(1ms, reply_to(arrived.bytes, {.code = 2}))};
    });
    for (const Conversation& conversation :
         run(network, job_for("tcp://192.0.2.1", {request(1, 7), request(1, 8), request(1, 9)}),
             {.parallel = 3})) {
        EXPECT_EQ(conversation.last().verdict, Verdict::Accepted);
    }
}

}  // namespace
}  // namespace quarn::client
