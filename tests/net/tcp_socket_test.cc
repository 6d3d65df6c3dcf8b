#include "quarn/net/tcp_socket.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <cerrno>
#include <optional>
#include <string>
#include <utility>

#include "testing/packets.h"
#include "testing/tcp_peer.h"

namespace quarn::net {
namespace {

using test::TcpPeer;
using utils::Bytes;

Address at_port(std::uint16_t port) {
    return Address::ipv4({127, 0, 0, 1}, port);
}

/// Waits for the socket as its owner does; ten seconds at most.
void wait_for(const TcpSocket& socket, short events) {
    pollfd watched{socket.descriptor(), events, 0};
    poll(&watched, 1, 10000);
}

TcpSocket connected_to(const TcpPeer& peer) {
    auto socket = TcpSocket::open(at_port(peer.port()), {});
    if (!socket) {
        throw std::runtime_error("cannot open a socket");
    }
    wait_for(*socket, POLLOUT);
    const auto connected = socket->finish_connecting();
    EXPECT_TRUE(connected && *connected);
    return *std::move(socket);
}

TEST(TcpSocket, SendsAndReceives) {
    TcpPeer peer([](int connection) { test::write_all(connection, test::read_packet(connection)); });
    TcpSocket socket = connected_to(peer);
    EXPECT_EQ(socket.remote_address(), at_port(peer.port()));
    EXPECT_EQ(socket.local_address()->host_text(), "127.0.0.1");
    const Bytes packet = test::hex("01 02 00 06 aa bb");
    const auto sent = socket.send(packet);
    ASSERT_TRUE(sent);
    EXPECT_EQ(*sent, packet.size());
    wait_for(socket, POLLIN);
    const auto received = socket.receive(100);
    ASSERT_TRUE(received);
    EXPECT_EQ(*received, packet);
    wait_for(socket, POLLIN);
    const auto end = socket.receive(100);
    ASSERT_TRUE(end);
    EXPECT_TRUE(end->empty());
}

TEST(TcpSocket, ReadsNoMoreThanAskedFor) {
    TcpPeer peer([](int connection) { test::write_all(connection, Bytes(10)); });
    TcpSocket socket = connected_to(peer);
    wait_for(socket, POLLIN);
    const auto received = socket.receive(4);
    ASSERT_TRUE(received);
    EXPECT_EQ(received->size(), 4U);
}

TEST(TcpSocket, DoesNotWaitForBytes) {
    TcpPeer peer([](int connection) { test::wait_for_end(connection); });
    TcpSocket socket = connected_to(peer);
    const auto received = socket.receive(4);
    ASSERT_FALSE(received);
    EXPECT_EQ(received.error().number, EAGAIN);
}

TEST(TcpSocket, DoesNotWaitForRoom) {
    TcpPeer peer([](int connection) { test::wait_for_end(connection); });
    TcpSocket socket = connected_to(peer);
    const auto sent = socket.send(Bytes(100));
    ASSERT_TRUE(sent);
    EXPECT_EQ(*sent, 100U);
}

TEST(TcpSocket, LearnsOfAClosedPort) {
    auto socket = TcpSocket::open(at_port(test::free_tcp_port()), {});
    if (!socket) {
        EXPECT_EQ(socket.error(), (OpenError{OpenStep::Connect, ECONNREFUSED}));
        return;
    }
    wait_for(*socket, POLLOUT);
    const auto connected = socket->finish_connecting();
    ASSERT_FALSE(connected);
    EXPECT_EQ(connected.error().number, ECONNREFUSED);
}

TEST(TcpSocket, RaisesNoSignalWhenTheConnectionIsGone) {
    TcpPeer peer([](int) {});
    TcpSocket socket = connected_to(peer);
    wait_for(socket, POLLIN);
    std::optional<int> error;
    for (int i = 0; i < 100 && !error; ++i) {
        const auto sent = socket.send(Bytes(10));
        error = sent ? std::nullopt : std::optional(sent.error().number);
        wait_for(socket, POLLIN);
    }
    ASSERT_TRUE(error);
    EXPECT_TRUE(*error == EPIPE || *error == ECONNRESET) << *error;
}

TEST(TcpSocket, BindsToASource) {
    TcpPeer peer([](int connection) { test::wait_for_end(connection); });
    auto socket = TcpSocket::open(at_port(peer.port()), {.source = Address::ipv4({127, 0, 0, 5}, 0)});
    ASSERT_TRUE(socket);
    wait_for(*socket, POLLOUT);
    EXPECT_EQ(socket->local_address()->host_text(), "127.0.0.5");
}

TEST(TcpSocket, TellsWhichStepFails) {
    const auto bound = TcpSocket::open(at_port(9), {.source = Address::ipv4({192, 0, 2, 1}, 0)});
    ASSERT_FALSE(bound);
    EXPECT_EQ(bound.error(), (OpenError{OpenStep::Bind, EADDRNOTAVAIL}));
    const auto selected = TcpSocket::open(at_port(9), {.interface = "no-such-one"});
    ASSERT_FALSE(selected);
    EXPECT_EQ(selected.error().step, OpenStep::SelectInterface);
}

}  // namespace
}  // namespace quarn::net
