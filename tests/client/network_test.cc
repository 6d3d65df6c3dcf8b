// Conversations over the real sockets of this machine, with peers that follow a script.
#include "quarn/client/network.h"

#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/resource.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "client/transcript.h"
#include "quarn/client/conversation.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/tcp_peer.h"
#include "testing/udp_peer.h"
#include "testing/wire.h"

namespace quarn::client {
namespace {

using namespace std::chrono_literals;
using test::Lines;
using test::read_packet;
using test::reply_to;
using test::TcpPeer;
using test::UdpPeer;
using test::write_all;
using utils::Bytes;

constexpr char secret[] = "testing123";

// Long enough for a slow machine to answer in; a test that waits for its end takes as long.
constexpr ConversationOptions patient = {.tries = 1, .timeout = 20s};
constexpr ConversationOptions hasty = {.tries = 1, .timeout = 200ms};

EncodedRequest request(std::uint8_t identifier) {
    Bytes bytes = test::datagram(1, "0105626f62");
    bytes[1] = identifier;
    return EncodedRequest(bytes);
}

Job job_for(const std::string& server, std::size_t requests = 1) {
    Job job;
    job.routes.push_back({.server = *parse_server(server)});
    for (std::size_t i = 0; i < requests; ++i) {
        job.asks.push_back({.request = request(static_cast<std::uint8_t>(7 + i))});
    }
    return job;
}

std::vector<Conversation> run(Job job, const ConversationOptions& options = patient) {
    SystemNetwork network;
    return converse(std::move(job), secret, test::shipped_dictionary(), options, network);
}

Report ask(const std::string& server, const ConversationOptions& options = patient) {
    return std::move(run(job_for(server), options)[0].last());
}

std::string word(const Report& report) {
    return std::string(verdict_row(report.verdict).word);
}

/// "accepted 127.0.0.1", or with the detail in place of the address.
std::string told(const Report& report) {
    return word(report) + " " + (report.detail.empty() ? report.address->host_text() : report.detail);
}

UdpPeer::Answer accept() {
    return test::answer([](const Bytes& each) { return reply_to(each, {.code = 2}); });
}

TcpPeer::Serve answer_all(std::uint8_t code = 2) {
    return [code](int connection) {
        while (true) {
            const Bytes each = read_packet(connection);
            if (each.empty() || !write_all(connection, reply_to(each, {.code = code}))) {
                return;
            }
        }
    };
}

// UDP.

TEST(UdpConversation, GetsAnAnswer) {
    UdpPeer peer({accept()});
    const Report report = ask(peer.address());
    EXPECT_EQ(told(report), "accepted 127.0.0.1");
    EXPECT_EQ(report.local_address->host_text(), "127.0.0.1");
    EXPECT_EQ(peer.finish().at(0).bytes, report.request);
}

TEST(UdpConversation, ReachesThisMachineByTheAddressOfAny) {
    UdpPeer peer({accept()});
    EXPECT_EQ(told(ask("0.0.0.0:" + std::to_string(peer.port()))), "accepted 127.0.0.1");
}

TEST(UdpConversation, LearnsOfAClosedPortAtOnce) {
    const test::ClosedPort port;
    const Report report = ask(port.address());
    EXPECT_EQ(told(report), "refused Connection refused, ICMP type 3 code 3 from 127.0.0.1");
    EXPECT_EQ(report.icmp->type, 3);
    const Report ipv6 = ask("[::1]:" + std::to_string(port.port()));
    EXPECT_EQ(told(ipv6), "refused Connection refused, ICMPv6 type 1 code 4 from ::1");
}

TEST(UdpConversation, HearsSilence) {
    UdpPeer peer({test::silence(), test::silence()});
    const Report report = ask(peer.address(), {.tries = 2, .timeout = 50ms});
    EXPECT_EQ(told(report), "no-answer 127.0.0.1");
    EXPECT_EQ(report.tries, 2);
    const auto requests = peer.finish();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].bytes, requests[1].bytes);
    EXPECT_EQ(requests[0].port, requests[1].port);
}

TEST(UdpConversation, TellsAReplyFromAnotherAddress) {
    UdpPeer* itself = nullptr;
    UdpPeer peer({[&](std::span<const test::Datagram> requests) {
        test::send_from_another_address(reply_to(requests.back().bytes, {.code = 2}), itself->port(),
                                        requests.back().port);
        return std::vector<Bytes>();
    }});
    itself = &peer;
    const std::string port = std::to_string(peer.port());
    EXPECT_EQ(told(ask(peer.address())), "wrong-source from 127.0.0.2:" + port +
                                             " instead of 127.0.0.1:" + port + "; it is authentic otherwise");
}

TEST(UdpConversation, ReadsADatagramLargerThanAPacket) {
    UdpPeer peer({test::answer([](const Bytes&) { return Bytes(60000, 0xff); })});
    const Report report = ask(peer.address());
    EXPECT_EQ(report.verdict, Verdict::Malformed);
    EXPECT_EQ(report.offset, 2U);
}

TEST(UdpConversation, SendsFromASourceThatIsChosen) {
    UdpPeer peer({accept()});
    Job job = job_for(peer.address());
    job.routes[0].source = net::Address::ipv4({127, 0, 0, 3}, 0);
    const auto conversations = run(std::move(job));
    EXPECT_EQ(told(conversations[0].last()), "accepted 127.0.0.1");
    EXPECT_EQ(peer.finish().at(0).address, "127.0.0.3");
}

TEST(UdpConversation, SharesOneSourcePortAmongParallelRequests) {
    UdpPeer peer({accept(), accept(), accept()});
    Job job = job_for(peer.address(), 3);
    const std::uint16_t port = test::free_udp_port();
    job.routes[0].source = net::Address::ipv4({127, 0, 0, 1}, port);
    ConversationOptions options = patient;
    options.parallel = 3;
    const std::vector<Conversation> conversations = run(job, options);
    for (const Conversation& conversation : conversations) {
        EXPECT_EQ(told(conversation.last()), "accepted 127.0.0.1");
    }
    for (const test::Datagram& each : peer.finish()) {
        EXPECT_EQ(each.port, port);
    }
}

TEST(UdpConversation, TellsOfASourceThatIsNotThisMachines) {
    Job job = job_for("127.0.0.1:9");
    job.routes[0].source = net::Address::ipv4({192, 0, 2, 1}, 0);
    EXPECT_EQ(told(run(std::move(job))[0].last()),
              "unreachable cannot use the source address 192.0.2.1:0: Cannot assign requested address");
}

TEST(UdpConversation, TellsOfAnInterfaceThatIsNotThere) {
    Job job = job_for("127.0.0.1:9");
    job.routes[0].interface = "no-such-one";
    const Report report = std::move(run(std::move(job))[0].last());
    EXPECT_EQ(report.verdict, Verdict::Unreachable);
    EXPECT_TRUE(report.detail.starts_with("cannot use the interface no-such-one: ")) << report.detail;
}

TEST(UdpConversation, WaitsForManySilentServersTogether) {
    UdpPeer peer;
    Job job = job_for(peer.address(), 200);
    const auto start = std::chrono::steady_clock::now();
    const auto conversations = run(std::move(job), {.tries = 1, .timeout = 500ms, .parallel = 200});
    const auto time = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(peer.finish().size(), 200U);
    for (const Conversation& conversation : conversations) {
        EXPECT_EQ(word(conversation.last()), "no-answer");
    }
    EXPECT_LT(time, 50s) << "one after another they take 100 seconds";
}

TEST(UdpConversation, MakesDoWithFewDescriptors) {
    UdpPeer peer({accept(), accept(), accept(), accept(), accept(), accept(), accept(), accept()});
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const test::Descriptor next(dup(0));
    rlimit few = before;
    few.rlim_cur = static_cast<rlim_t>(next.get() + 4);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    ConversationOptions options = patient;
    options.parallel = 8;
    const auto conversations = run(job_for(peer.address(), 8), options);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    for (const Conversation& conversation : conversations) {
        EXPECT_EQ(told(conversation.last()), "accepted 127.0.0.1");
    }
}

TEST(UdpConversation, ResolvesNames) {
    UdpPeer peer({accept()});
    Job job = job_for("localhost:" + std::to_string(peer.port()));
    job.routes[0].family = net::Family::IPv4;
    EXPECT_EQ(told(run(std::move(job))[0].last()), "accepted 127.0.0.1");
}

TEST(UdpConversation, TellsThatANameCannotBeResolved) {
    EXPECT_EQ(word(ask("no-such-name.invalid")), "resolve-failed");
}

// TCP.

TEST(TcpConversation, GetsAnAnswer) {
    TcpPeer peer(answer_all());
    const Report report = ask("tcp://" + peer.address());
    EXPECT_EQ(told(report), "accepted 127.0.0.1");
    EXPECT_EQ(report.transport, TransportKind::Tcp);
    EXPECT_EQ(report.local_address->host_text(), "127.0.0.1");
}

TEST(TcpConversation, GetsAnAnswerByIpv6) {
    TcpPeer peer(answer_all(3), TcpPeer::Family::IPv6);
    EXPECT_EQ(told(ask("tcp://" + peer.address())), "rejected ::1");
}

TEST(TcpConversation, KeepsTheConnectionForTheNextRequest) {
    TcpPeer peer(answer_all());
    for (const Conversation& conversation : run(job_for("tcp://" + peer.address(), 3))) {
        EXPECT_EQ(told(conversation.last()), "accepted 127.0.0.1");
    }
    EXPECT_EQ(peer.connections(), 1);
}

TEST(TcpConversation, ConnectsAnewAfterAnIdleConnectionWasClosed) {
    TcpPeer peer(
        [](int connection) { write_all(connection, reply_to(read_packet(connection), {.code = 2})); });
    const auto conversations = run(job_for("tcp://" + peer.address(), 2));
    EXPECT_EQ(told(conversations[0].last()), "accepted 127.0.0.1");
    EXPECT_EQ(told(conversations[1].last()), "accepted 127.0.0.1");
    EXPECT_EQ(peer.connections(), 2);
}

TEST(TcpConversation, LearnsOfAClosedPortAtOnce) {
    EXPECT_EQ(told(ask("tcp://127.0.0.1:" + std::to_string(test::free_tcp_port()))),
              "refused Connection refused");
}

TEST(TcpConversation, TellsThatTheServerClosesTheConnection) {
    TcpPeer peer([](int connection) { read_packet(connection); });
    EXPECT_EQ(told(ask("tcp://" + peer.address())), "connection-closed 127.0.0.1");
}

TEST(TcpConversation, TellsThatTheServerClosesInTheMiddleOfAPacket) {
    TcpPeer peer([](int connection) {
        read_packet(connection);
        write_all(connection, test::hex("02 07 00 14 00 00"));
    });
    EXPECT_EQ(told(ask("tcp://" + peer.address())),
              "connection-closed in the middle of a packet, of which 6 octets had come");
}

TEST(TcpConversation, HearsSilence) {
    TcpPeer peer([](int connection) { test::wait_for_end(connection); });
    EXPECT_EQ(told(ask("tcp://" + peer.address(), hasty)),
              "no-answer the connection was made, but no reply came");
}

TEST(TcpConversation, ReadsAReplyThatTrickles) {
    TcpPeer peer([](int connection) {
        const Bytes reply = reply_to(read_packet(connection), {.code = 2});
        for (const std::uint8_t byte : reply) {
            if (!write_all(connection, {&byte, 1})) {
                return;
            }
            std::this_thread::sleep_for(1ms);
        }
        test::wait_for_end(connection);
    });
    EXPECT_EQ(told(ask("tcp://" + peer.address())), "accepted 127.0.0.1");
}

TEST(TcpConversation, GivesUpATrickleInTime) {
    TcpPeer peer([](int connection) {
        read_packet(connection);
        write_all(connection, test::hex("02 07 10 00"));
        const std::uint8_t zero = 0;
        for (int i = 0; i < 4000 && write_all(connection, {&zero, 1}); ++i) {
            std::this_thread::sleep_for(5ms);  // the packet would take twenty seconds
        }
    });
    EXPECT_EQ(told(ask("tcp://" + peer.address(), hasty)),
              "no-answer the connection was made, but no reply came");
}

TEST(TcpConversation, GivesUpAStreamThatNeverEnds) {
    for (const char* const start : {"02 07 ff ff", "02 07 00 13"}) {
        TcpPeer peer([start](int connection) {
            read_packet(connection);
            write_all(connection, test::hex(start));
            const Bytes zeros(65536);
            while (write_all(connection, zeros)) {
            }
        });
        const Report report = ask("tcp://" + peer.address());
        EXPECT_EQ(report.verdict, Verdict::Malformed);
        EXPECT_EQ(report.offset, 2U);
        EXPECT_LE(report.reply->size(), 4096U);
    }
}

TEST(TcpConversation, GivesUpAThousandForgeries) {
    TcpPeer peer([](int connection) {
        const Bytes forged = reply_to(read_packet(connection), {.code = 2, .secret = "forged"});
        for (int i = 0; i < 1000 && write_all(connection, forged); ++i) {
        }
        test::wait_for_end(connection);
    });
    const Report report = ask("tcp://" + peer.address());
    EXPECT_EQ(word(report), "wrong-secret");
    EXPECT_LE(report.notes.size(), 16U);
}

TEST(TcpConversation, TakesTheReplyOutOfAThousandForgeries) {
    TcpPeer peer([](int connection) {
        const Bytes each = read_packet(connection);
        Bytes stream;
        for (int i = 0; i < 1000; ++i) {
            const Bytes forged = reply_to(each, {.code = 2, .secret = "forged"});
            stream.insert(stream.end(), forged.begin(), forged.end());
        }
        const Bytes reply = reply_to(each, {.code = 3});
        stream.insert(stream.end(), reply.begin(), reply.end());
        write_all(connection, stream);
        test::wait_for_end(connection);
    });
    ConversationOptions options = patient;
    options.wait_full_time = true;
    EXPECT_EQ(told(ask("tcp://" + peer.address(), options)), "rejected 127.0.0.1");
}

// Resolving.

TEST(SystemNetwork, ReadsNumericAddressesAfterTheDeadline) {
    SystemNetwork network;
    const net::ResolveQuestion question{"127.0.0.1", 1812};
    const auto answers = network.resolve({&question, 1}, network.now() - 1s);
    ASSERT_TRUE(answers.at(0));
    EXPECT_EQ(answers[0]->at(0).text(), "127.0.0.1:1812");
}

TEST(SystemNetwork, GivesUpANameAtTheDeadline) {
    SystemNetwork network;
    const net::ResolveQuestion question{"localhost", 1812};
    const auto answers = network.resolve({&question, 1}, network.now() - 1s);
    // A resolver that is quick enough is no fault.
    if (!answers.at(0)) {
        EXPECT_EQ(answers[0].error(), (net::ResolveError{EAI_AGAIN, ETIMEDOUT}));
    }
}

}  // namespace
}  // namespace quarn::client
