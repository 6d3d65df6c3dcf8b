#include "quarn/client/udp_transport.h"

#include <gtest/gtest.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <limits>
#include <string>
#include <utility>
#include <variant>

#include "client/transcript.h"
#include "quarn/client/run_exchange.h"
#include "testing/udp_peer.h"

namespace quarn::client {
namespace {

using namespace std::chrono_literals;
using test::header;
using test::request_of;
using test::text_of;
using test::UdpPeer;
using utils::Bytes;

const Clock steady = std::chrono::steady_clock::now;

net::Address loopback(std::uint16_t port) {
    return net::Address::ipv4({127, 0, 0, 1}, port);
}

UdpTransport opened(const net::Address& remote, const net::UdpOptions& options = {}) {
    auto transport = UdpTransport::open(remote, options);
    EXPECT_TRUE(transport);
    return *std::move(transport);
}

/// A deadline that a test reaches only when it fails.
TimePoint far() {
    return steady() + 30s;
}

std::string text_of_event(const Event& event) {
    return std::visit([](const auto& told) { return text_of(told); }, event);
}

UdpPeer::Answer reply(std::uint8_t code) {
    return test::answer([code](const Bytes& request) { return header(code, request[1]); });
}

TEST(UdpTransport, CarriesPackets) {
    UdpPeer peer({reply(2)});
    UdpTransport transport = opened(loopback(peer.port()));
    EXPECT_EQ(transport.remote_address(), loopback(peer.port()));
    EXPECT_EQ(transport.local_address()->host_text(), "127.0.0.1");
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    EXPECT_EQ(transport.receive(far()), Event(ReceivedPacket{header(2, 7), loopback(peer.port())}));
}

TEST(UdpTransport, GivesWhatHasArrivedAlreadyAfterTheDeadline) {
    UdpPeer peer({reply(2)});
    UdpTransport transport = opened(loopback(peer.port()));
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    // Each look takes no time: the reply comes at some time between two of them.
    Event event = TimedOut{};
    for (const TimePoint end = far(); event == Event(TimedOut{}) && steady() < end;) {
        event = transport.receive(TimePoint());
    }
    EXPECT_EQ(text_of_event(event), "0207 from " + peer.address());
}

TEST(UdpTransport, TellsThatNothingCame) {
    UdpPeer silent;
    UdpTransport transport = opened(loopback(silent.port()));
    EXPECT_EQ(transport.receive(TimePoint()), Event(TimedOut{}));
    EXPECT_EQ(transport.receive(TimePoint::min()), Event(TimedOut{}));
    EXPECT_EQ(transport.receive(steady() + 1ms), Event(TimedOut{}));
}

TEST(UdpTransport, WaitsWithoutAnEnd) {
    UdpPeer peer({reply(2)});
    UdpTransport transport = opened(loopback(peer.port()));
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    EXPECT_EQ(text_of_event(transport.receive(TimePoint::max())), "0207 from " + peer.address());
}

TEST(UdpTransport, TellsOfARefusedPort) {
    const test::ClosedPort port;
    UdpTransport transport = opened(loopback(port.port()));
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    EXPECT_EQ(transport.receive(far()), Event(TransportError{ErrorOrigin::Receive, ECONNREFUSED}));
}

TEST(UdpTransport, TellsWhatTheNetworkReports) {
    const test::ClosedPort port;
    UdpTransport transport = opened(loopback(port.port()), {.connected = false, .error_queue = true});
    const TransportError refused{ErrorOrigin::Network, ECONNREFUSED,
                                 IcmpReport{ICMP_DEST_UNREACH, ICMP_PORT_UNREACH, loopback(0)}};
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    EXPECT_EQ(transport.receive(far()), Event(refused));
    EXPECT_EQ(transport.receive(TimePoint()), Event(TimedOut{}));
}

TEST(UdpTransport, TellsAReportOfTheNetworkWhenTheNextPacketIsSent) {
    const test::ClosedPort port;
    UdpTransport transport = opened(loopback(port.port()), {.connected = false, .error_queue = true});
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    // On the loopback interface the report is there when sending returns.
    const auto error = transport.send(header(1, 7));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->origin, ErrorOrigin::Network);
    EXPECT_EQ(error->number, ECONNREFUSED);
}

TEST(UdpTransport, SendsInSpiteOfAReportOnAnotherDestination) {
    UdpPeer peer;
    const test::ClosedPort elsewhere;
    UdpTransport transport =
        opened(*net::Address::parse("127.0.0.1", peer.port()), {.connected = false, .error_queue = true});
    sockaddr_in other{};
    other.sin_family = AF_INET;
    other.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    other.sin_port = htons(elsewhere.port());
    ASSERT_EQ(sendto(transport.interest().descriptor, "x", 1, 0, reinterpret_cast<const sockaddr*>(&other),
                     sizeof other),
              1);
    pollfd error{transport.interest().descriptor, POLLIN, 0};
    ASSERT_EQ(poll(&error, 1, 30000), 1);
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    EXPECT_EQ(peer.finish().size(), 1U);
}

TEST(UdpTransport, GivesAPacketBeforeAReportOfTheNetwork) {
    const test::ClosedPort port;
    UdpTransport transport = opened(loopback(port.port()), {.connected = false, .error_queue = true});
    EXPECT_EQ(transport.send(header(1, 7)), std::nullopt);
    test::send_from_elsewhere(header(2, 7), transport.local_address()->port());
    EXPECT_EQ(text_of_event(transport.receive(far())).substr(0, 20), "0207 from 127.0.0.1:");
    EXPECT_EQ(text_of_event(transport.receive(TimePoint())), "network error 111");
    EXPECT_EQ(transport.receive(TimePoint()), Event(TimedOut{}));
}

TEST(UdpTransport, TellsThatSendingFails) {
    UdpPeer peer;
    for (const bool error_queue : {false, true}) {
        UdpTransport transport = opened(loopback(peer.port()), {.error_queue = error_queue});
        const auto error = transport.send(Bytes(70000));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->number, EMSGSIZE);
    }
}

TEST(UdpTransport, TellsThatItCannotBeOpened) {
    const auto transport =
        UdpTransport::open(loopback(1812), {.source = net::Address::parse("203.0.113.1", 0)});
    ASSERT_FALSE(transport);
    EXPECT_EQ(transport.error(), (net::OpenError{net::OpenStep::Bind, EADDRNOTAVAIL}));
}

TEST(UdpTransport, IsOfNoUseAfterItWasClosed) {
    UdpTransport transport = opened(loopback(1812));
    transport.close();
    EXPECT_EQ(transport.send(header(1, 7)), (TransportError{ErrorOrigin::Send, EBADF}));
}

/// An exchange with a real peer; failed tries are told in lines.
std::string exchanged(const net::Address& remote, const net::UdpOptions& socket,
                      const ExchangeOptions& options, std::string* tries = nullptr) {
    UdpTransport transport = opened(remote, socket);
    Exchange exchange(request_of(7), options);
    const ExchangeResult result =
        run_exchange(exchange, transport, steady, [tries](const TryFailed& failure) {
            if (tries != nullptr) {
                *tries += text_of(failure) + "\n";
            }
        });
    std::string text = text_of(result);
    if (std::holds_alternative<Answered>(result.outcome)) {
        text.erase(0, text.find(": ") + 2);  // how long it took
    }
    return text;
}

TEST(UdpExchange, EndsWithTheReply) {
    UdpPeer peer({reply(2)});
    EXPECT_EQ(exchanged(loopback(peer.port()), {}, {.timeout = 30s}),
              "0207 from " + peer.address() + " (1 sent)");
    EXPECT_EQ(peer.finish()[0].bytes, header(1, 7));
}

TEST(UdpExchange, TriesAgainAfterSilenceAndAfterAnotherIdentifier) {
    UdpPeer peer({test::silence(), test::answer([](const Bytes&) { return header(2, 8); }), reply(3)});
    std::string tries;
    EXPECT_EQ(exchanged(loopback(peer.port()), {}, {.timeout = 1s}, &tries),
              "0307 from " + peer.address() + " (3 sent)");
    EXPECT_EQ(tries, "try 1: timed out\ntry 2: wrong identifier: 0208 from " + peer.address() + "\n");
    const auto requests = peer.finish();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(requests[1].bytes, requests[0].bytes);
    EXPECT_EQ(requests[2].bytes, requests[0].bytes);
    EXPECT_EQ(requests[2].port, requests[0].port);
}

TEST(UdpExchange, DoesNotWaitForARefusedPort) {
    const test::ClosedPort port;
    std::string tries;
    EXPECT_EQ(exchanged(loopback(port.port()), {}, {.tries = 3, .timeout = 1h}, &tries),
              "unanswered (3 sent)");
    EXPECT_EQ(tries, "try 1: receive error 111\ntry 2: receive error 111\ntry 3: receive error 111\n");
}

TEST(UdpExchange, EndsAtOnceWhenTheNetworkRefuses) {
    const test::ClosedPort port;
    for (const Policy policy : {Policy::EndAfterGrace, Policy::WaitFullTime}) {
        EXPECT_EQ(exchanged(loopback(port.port()), {.connected = false, .error_queue = true},
                            {.tries = 3, .timeout = 1h, .policy = policy}),
                  "network error 111 (1 sent)");
    }
}

TEST(UdpExchange, SpeaksIpv6) {
    const net::Address any_port = *net::Address::parse("::1", 0);
    auto opened_server =
        net::UdpSocket::open(any_port.with_port(9), {.source = any_port, .connected = false});
    if (!opened_server) {
        GTEST_SKIP() << "no IPv6 here";
    }
    net::UdpSocket server = *std::move(opened_server);
    // The reply waits for its request already: it was sent first.
    UdpTransport transport = opened(*server.local_address(), {.connected = false, .error_queue = true});
    auto sender = net::UdpSocket::open(*transport.local_address(), {});
    ASSERT_TRUE(sender);
    EXPECT_EQ(sender->send(header(2, 7)), std::nullopt);

    Exchange exchange(request_of(7), {.timeout = 30s});
    const ExchangeResult result = run_exchange(exchange, transport, steady);
    const auto* const answer = std::get_if<Answered>(&result.outcome);
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer->packet, (ReceivedPacket{header(2, 7), *sender->local_address()}));

    const auto ready = server.wait(30s);
    ASSERT_TRUE(ready && *ready);
    const auto request = server.receive();
    ASSERT_TRUE(request);
    EXPECT_EQ(*request, (net::Datagram{header(1, 7), *transport.local_address()}));
}

}  // namespace
}  // namespace quarn::client
