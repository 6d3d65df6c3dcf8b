#include "quarn/net/udp_socket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <optional>
#include <ostream>
#include <string>

#include "testing/udp_peer.h"

namespace quarn::net {

void PrintTo(const Address& address, std::ostream* out) {
    *out << address.text();
}

namespace {

using test::UdpPeer;
using utils::Bytes;
using namespace std::chrono_literals;

constexpr auto long_time = 30s;

Address loopback(std::uint16_t port) {
    return Address::ipv4({127, 0, 0, 1}, port);
}

Address ipv6_loopback(std::uint16_t port) {
    return *Address::parse("::1", port);
}

UdpSocket opened(const Address& remote, const UdpOptions& options = {}) {
    auto socket = UdpSocket::open(remote, options);
    EXPECT_TRUE(socket);
    return *std::move(socket);
}

std::optional<OpenError> error_of(const Address& remote, const UdpOptions& options) {
    const auto socket = UdpSocket::open(remote, options);
    return socket ? std::nullopt : std::optional(socket.error());
}

/// The next datagram, waited for.
Datagram received(UdpSocket& socket) {
    const auto ready = socket.wait(long_time);
    EXPECT_TRUE(ready && *ready);
    auto datagram = socket.receive();
    EXPECT_TRUE(datagram);
    return datagram ? *std::move(datagram) : Datagram();
}

int receive_error(UdpSocket& socket) {
    const auto datagram = socket.receive();
    return datagram ? 0 : datagram.error().number;
}

bool has_ipv6() {
    return !error_of(ipv6_loopback(1812), {});
}

Bytes reversed(const Bytes& bytes) {
    return {bytes.rbegin(), bytes.rend()};
}

TEST(UdpSocket, ExchangesDatagramsWithTheRemoteAddress) {
    for (const bool connected : {true, false}) {
        UdpPeer peer({test::answer(reversed)});
        UdpSocket socket = opened(loopback(peer.port()), {.connected = connected});
        EXPECT_EQ(socket.send(Bytes{1, 2, 3}), std::nullopt);
        EXPECT_EQ(received(socket), (Datagram{{3, 2, 1}, loopback(peer.port())})) << connected;
    }
}

TEST(UdpSocket, KnowsBothEnds) {
    for (const bool connected : {true, false}) {
        UdpPeer peer;
        UdpSocket socket = opened(loopback(peer.port()), {.connected = connected});
        EXPECT_EQ(socket.remote_address(), loopback(peer.port()));
        EXPECT_EQ(socket.send(Bytes{1}), std::nullopt);
        const std::vector<test::Datagram> requests = peer.finish();
        ASSERT_EQ(requests.size(), 1U);
        EXPECT_EQ(socket.local_address(), loopback(requests[0].port)) << connected;
    }
}

TEST(UdpSocket, SendsFromTheSourceAddress) {
    for (const bool connected : {true, false}) {
        UdpPeer peer;
        UdpSocket socket =
            opened(loopback(peer.port()), {.source = Address::parse("127.0.0.2", 0), .connected = connected});
        EXPECT_EQ(socket.local_address()->host_text(), "127.0.0.2");
        EXPECT_NE(socket.local_address()->port(), 0);
        EXPECT_EQ(socket.send(Bytes{1}), std::nullopt);
        const std::vector<test::Datagram> requests = peer.finish();
        ASSERT_EQ(requests.size(), 1U);
        EXPECT_EQ(requests[0].address, "127.0.0.2");
        EXPECT_EQ(requests[0].port, socket.local_address()->port());
    }
}

TEST(UdpSocket, SendsFromTheSourcePort) {
    const std::uint16_t port = test::free_udp_port();
    const UdpSocket socket = opened(loopback(1812), {.source = loopback(port)});
    EXPECT_EQ(socket.local_address(), loopback(port));
    EXPECT_EQ(error_of(loopback(1812), {.source = loopback(port), .connected = false}),
              (OpenError{OpenStep::Bind, EADDRINUSE}));
}

TEST(UdpSocket, TellsWhichStepOfOpeningFailed) {
    EXPECT_EQ(error_of(loopback(1812), {.source = Address::parse("203.0.113.1", 0)}),
              (OpenError{OpenStep::Bind, EADDRNOTAVAIL}));
    EXPECT_EQ(error_of(*Address::parse("127.255.255.255", 1812), {}), (OpenError{OpenStep::Connect, EACCES}));
    EXPECT_EQ(error_of(loopback(1812), {.interface = "no-such-device"}),
              (OpenError{OpenStep::SelectInterface, ENODEV}));
}

// The kernel would take the first for the name of every interface, and the second for "lo".
TEST(UdpSocket, DoesNotCutTheNameOfAnInterface) {
    for (const std::string& name : {std::string("\0lo", 3), std::string("lo\0x", 4), std::string(16, 'x')}) {
        EXPECT_EQ(error_of(loopback(1812), {.interface = name}),
                  (OpenError{OpenStep::SelectInterface, ENODEV}));
    }
}

TEST(UdpSocket, UsesTheInterface) {
    UdpPeer peer({test::answer(reversed)});
    auto socket = UdpSocket::open(loopback(peer.port()), {.interface = "lo"});
    if (!socket && socket.error() == OpenError{OpenStep::SelectInterface, EPERM}) {
        GTEST_SKIP() << "selecting an interface is not permitted here";
    }
    ASSERT_TRUE(socket);
    EXPECT_EQ(socket->send(Bytes{1, 2}), std::nullopt);
    EXPECT_EQ(received(*socket).bytes, (Bytes{2, 1}));
}

TEST(UdpSocket, SpeaksIpv6) {
    if (!has_ipv6()) {
        GTEST_SKIP() << "no IPv6 here";
    }
    for (const bool connected : {true, false}) {
        UdpSocket server = opened(ipv6_loopback(9), {.source = ipv6_loopback(0), .connected = false});
        UdpSocket client = opened(ipv6_loopback(server.local_address()->port()),
                                  {.connected = connected, .error_queue = true});
        EXPECT_EQ(client.send(Bytes{1, 2, 3}), std::nullopt);
        const Datagram request = received(server);
        EXPECT_EQ(request, (Datagram{{1, 2, 3}, *client.local_address()})) << connected;
    }
}

// A socket that heard both families would leave an IPv4 one no port to itself.
TEST(UdpSocket, LeavesItsPortToIpv4WhenItIsOneOfIpv6) {
    if (!has_ipv6()) {
        GTEST_SKIP() << "no IPv6 here";
    }
    const UdpSocket ipv6 = opened(ipv6_loopback(9), {.connected = false});
    const std::uint16_t port = ipv6.local_address()->port();
    const UdpSocket ipv4 =
        opened(loopback(9), {.source = Address::any(Family::IPv4, port), .connected = false});
    EXPECT_EQ(ipv4.local_address()->port(), port);
}

TEST(UdpSocket, HearsNobodyElseWhenItIsConnected) {
    UdpPeer silent;
    UdpSocket socket = opened(loopback(silent.port()));
    test::send_from_elsewhere(Bytes{1}, socket.local_address()->port());
    EXPECT_EQ(receive_error(socket), EAGAIN);
}

TEST(UdpSocket, TellsWhoSentADatagramWhenItIsNotConnected) {
    UdpPeer silent;
    UdpSocket socket = opened(loopback(silent.port()), {.connected = false});
    const std::uint16_t other = test::free_udp_port();
    test::send_from_another_address(Bytes{1}, other, socket.local_address()->port());
    EXPECT_EQ(received(socket), (Datagram{{1}, *Address::parse("127.0.0.2", other)}));
}

TEST(UdpSocket, ReceivesAnEmptyDatagram) {
    UdpPeer peer({test::answer([](const Bytes&) { return Bytes(); })});
    UdpSocket socket = opened(loopback(peer.port()));
    EXPECT_EQ(socket.send(Bytes()), std::nullopt);
    EXPECT_EQ(received(socket), (Datagram{{}, loopback(peer.port())}));
}

TEST(UdpSocket, ReceivesTheLargestDatagram) {
    UdpPeer peer({test::answer([](const Bytes&) { return Bytes(65507, 7); })});
    UdpSocket socket = opened(loopback(peer.port()));
    EXPECT_EQ(socket.send(Bytes(1)), std::nullopt);
    EXPECT_EQ(received(socket).bytes, Bytes(65507, 7));
}

TEST(UdpSocket, CutsADatagramToTheSizeThatIsAskedFor) {
    UdpPeer peer({test::answer([](const Bytes&) { return Bytes(4096, 7); }),
                  test::answer([](const Bytes&) { return Bytes(4097, 8); })});
    UdpSocket socket = opened(loopback(peer.port()), {.max_datagram_size = 4096});
    EXPECT_EQ(socket.send(Bytes(1)), std::nullopt);
    EXPECT_EQ(received(socket).bytes, Bytes(4096, 7));
    EXPECT_EQ(socket.send(Bytes(1)), std::nullopt);
    EXPECT_EQ(received(socket).bytes, Bytes(4096, 8));
}

TEST(UdpSocket, ReceivesNothingWithoutWaiting) {
    UdpPeer silent;
    UdpSocket socket = opened(loopback(silent.port()));
    EXPECT_EQ(receive_error(socket), EAGAIN);
}

TEST(UdpSocket, WaitsNoLongerThanItIsTold) {
    UdpPeer silent;
    UdpSocket socket = opened(loopback(silent.port()));
    for (const std::chrono::nanoseconds time : {0ns, -5ns, 1ns, std::chrono::nanoseconds(1ms)}) {
        const auto ready = socket.wait(time);
        ASSERT_TRUE(ready);
        EXPECT_FALSE(*ready);
    }
}

TEST(UdpSocket, WaitsForPartsOfAMillisecondToo) {
    UdpSocket socket = opened(loopback(9));
    for (const auto time : {1us, 500us, 1001us}) {
        const auto start = std::chrono::steady_clock::now();
        const auto ready = socket.wait(time);
        ASSERT_TRUE(ready);
        EXPECT_FALSE(*ready);
        EXPECT_GE(std::chrono::steady_clock::now() - start, time);
    }
}

TEST(UdpSocket, WaitsForAVeryLongTimeWhenThatIsAskedFor) {
    UdpPeer peer({test::answer(reversed)});
    UdpSocket socket = opened(loopback(peer.port()));
    EXPECT_EQ(socket.send(Bytes{1}), std::nullopt);
    const auto ready = socket.wait(std::chrono::nanoseconds::max());
    ASSERT_TRUE(ready);
    EXPECT_TRUE(*ready);
}

TEST(UdpSocket, TellsOfARefusedPortWhenItIsConnected) {
    const test::ClosedPort port;
    UdpSocket socket = opened(loopback(port.port()));
    EXPECT_EQ(socket.send(Bytes{1}), std::nullopt);
    const auto ready = socket.wait(long_time);
    ASSERT_TRUE(ready);
    EXPECT_TRUE(*ready);
    EXPECT_EQ(receive_error(socket), ECONNREFUSED);
    EXPECT_EQ(socket.take_network_error(), std::nullopt);
}

TEST(UdpSocket, TellsOfARefusedPortByItsErrorQueue) {
    for (const bool connected : {true, false}) {
        const test::ClosedPort port;
        UdpSocket socket = opened(loopback(port.port()), {.connected = connected, .error_queue = true});
        EXPECT_EQ(socket.take_network_error(), std::nullopt);
        EXPECT_EQ(socket.send(Bytes{1}), std::nullopt);
        const auto ready = socket.wait(long_time);
        ASSERT_TRUE(ready);
        EXPECT_TRUE(*ready);
        EXPECT_EQ(socket.take_network_error(),
                  (NetworkError{ECONNREFUSED, ICMP_DEST_UNREACH, ICMP_PORT_UNREACH, loopback(0)}))
            << connected;
        EXPECT_EQ(socket.take_network_error(), std::nullopt);
        EXPECT_EQ(receive_error(socket), EAGAIN);
    }
}

TEST(UdpSocket, TellsOfARefusedIpv6PortByItsErrorQueue) {
    if (!has_ipv6()) {
        GTEST_SKIP() << "no IPv6 here";
    }
    // A connected socket hears one sender alone: for everybody else its port is closed.
    const UdpSocket closed = opened(ipv6_loopback(9), {.source = ipv6_loopback(0)});
    UdpSocket socket = opened(*closed.local_address(), {.connected = false, .error_queue = true});
    EXPECT_EQ(socket.send(Bytes{1}), std::nullopt);
    const auto ready = socket.wait(long_time);
    ASSERT_TRUE(ready);
    EXPECT_TRUE(*ready);
    EXPECT_EQ(socket.take_network_error(), (NetworkError{ECONNREFUSED, 1, 4, ipv6_loopback(0)}));
}

TEST(UdpSocket, DropsReportsOnOtherDestinations) {
    const test::ClosedPort port;
    const test::ClosedPort elsewhere;
    UdpSocket socket = opened(loopback(port.port()), {.connected = false, .error_queue = true});
    sockaddr_in other{};
    other.sin_family = AF_INET;
    other.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    other.sin_port = htons(elsewhere.port());
    ASSERT_EQ(sendto(socket.descriptor(), "x", 1, 0, reinterpret_cast<const sockaddr*>(&other), sizeof other),
              1);
    const auto ready = socket.wait(long_time);
    ASSERT_TRUE(ready);
    EXPECT_TRUE(*ready);
    EXPECT_EQ(socket.take_network_error(), std::nullopt);
    EXPECT_EQ(receive_error(socket), EAGAIN) << "the report is gone";
}

TEST(UdpSocket, TellsThatSendingFails) {
    UdpPeer peer;
    for (const bool connected : {true, false}) {
        UdpSocket socket = opened(loopback(peer.port()), {.connected = connected});
        EXPECT_EQ(socket.send(Bytes(65508)), SystemError{EMSGSIZE});  // one more than IPv4 lets UDP carry
    }
}

TEST(UdpSocket, ClosesItsDescriptor) {
    int number = -1;
    {
        const UdpSocket socket = opened(loopback(1812));
        number = socket.descriptor();
        EXPECT_GE(fcntl(number, F_GETFD), 0);
    }
    EXPECT_LT(fcntl(number, F_GETFD), 0);

    UdpSocket socket = opened(loopback(1812));
    EXPECT_EQ(fcntl(socket.descriptor(), F_GETFD), FD_CLOEXEC);
    number = socket.descriptor();
    socket.close();
    EXPECT_LT(fcntl(number, F_GETFD), 0);
    EXPECT_EQ(socket.send(Bytes{1}), SystemError{EBADF});
}

}  // namespace
}  // namespace quarn::net
