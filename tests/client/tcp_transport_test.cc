#include "quarn/client/tcp_transport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>

#include "client/transcript.h"
#include "quarn/client/run_exchange.h"
#include "testing/packets.h"
#include "testing/tcp_peer.h"
#include "testing/wire.h"

namespace quarn::client {
namespace {

using namespace std::chrono_literals;
using test::TcpPeer;
using test::text_of;
using utils::Bytes;

net::Address at_port(std::uint16_t port) {
    return net::Address::ipv4({127, 0, 0, 1}, port);
}

TcpTransport open_to(const TcpPeer& peer) {
    auto opened = TcpTransport::open(at_port(peer.port()), {});
    if (!opened) {
        throw std::runtime_error("cannot open a transport");
    }
    return *std::move(opened);
}

/// In a time that is long enough for a slow machine.
TimePoint soon() {
    return std::chrono::steady_clock::now() + 20s;
}

std::string told(const Event& event) {
    return std::visit([](const auto& what) { return text_of(what); }, event);
}

TcpPeer::Serve write_and_wait(Bytes bytes) {
    return [bytes = std::move(bytes)](int connection) {
        test::write_all(connection, bytes);
        test::wait_for_end(connection);
    };
}

TEST(TcpTransport, KeepsPacketsUntilTheConnectionIsThere) {
    TcpPeer peer([](int connection) {
        test::write_all(connection, test::read_packet(connection));
        test::wait_for_end(connection);
    });
    TcpTransport transport = open_to(peer);
    EXPECT_FALSE(transport.is_connected());
    EXPECT_EQ(transport.local_address(), std::nullopt);
    EXPECT_TRUE(transport.interest().write);
    EXPECT_EQ(transport.send(test::header(1, 7)), std::nullopt);
    EXPECT_EQ(told(transport.receive(soon())), "0107 from 127.0.0.1:" + std::to_string(peer.port()));
    EXPECT_TRUE(transport.is_connected());
    EXPECT_TRUE(transport.is_stream());
    EXPECT_FALSE(transport.interest().write);
    EXPECT_EQ(transport.local_address()->host_text(), "127.0.0.1");
    EXPECT_EQ(transport.remote_address(), at_port(peer.port()));
}

TEST(TcpTransport, GivesPacketsThatCameTogetherOneByOne) {
    TcpPeer peer(write_and_wait(test::joined({test::header(2, 1), test::header(3, 2)})));
    TcpTransport transport = open_to(peer);
    const std::string from = " from 127.0.0.1:" + std::to_string(peer.port());
    EXPECT_EQ(told(transport.receive(soon())), "0201" + from);
    EXPECT_EQ(told(transport.receive(std::chrono::steady_clock::now() - 1s)), "0302" + from);
    EXPECT_EQ(told(transport.receive(std::chrono::steady_clock::now() - 1s)), "timed out");
}

TEST(TcpTransport, ClosesAStreamThatIsMalformed) {
    TcpPeer peer(write_and_wait(test::hex("02 01 00 13 ff ff")));
    TcpTransport transport = open_to(peer);
    const Event event = transport.receive(soon());
    ASSERT_TRUE(std::holds_alternative<ReceivedPacket>(event)) << told(event);
    EXPECT_EQ(test::to_hex(std::get<ReceivedPacket>(event).bytes), "02010013ffff");
    EXPECT_EQ(told(transport.receive(soon())), "closed");
    EXPECT_EQ(told(transport.receive(soon())), "closed");
    EXPECT_EQ(transport.send(test::header(1, 7)), (TransportError{ErrorOrigin::Send, EPIPE}));
}

TEST(TcpTransport, TellsHowMuchOfAPacketWasMissing) {
    TcpPeer peer([](int connection) { test::write_all(connection, test::hex("02 01 00 14 ff")); });
    TcpTransport transport = open_to(peer);
    EXPECT_EQ(std::get<Closed>(transport.receive(soon())), (Closed{.unfinished = 5}));
}

TEST(TcpTransport, TellsThatNobodyListens) {
    auto opened = TcpTransport::open(at_port(test::free_tcp_port()), {});
    if (!opened) {
        EXPECT_EQ(opened.error(), (net::OpenError{net::OpenStep::Connect, ECONNREFUSED}));
        return;
    }
    EXPECT_EQ(std::get<TransportError>(opened->receive(soon())),
              (TransportError{ErrorOrigin::Network, ECONNREFUSED}));
    EXPECT_EQ(told(opened->receive(soon())), "closed");
}

TEST(TcpTransport, CarriesAnExchange) {
    TcpPeer peer([](int connection) {
        test::write_all(connection, test::reply_to(test::read_packet(connection), {.code = 2}));
        test::wait_for_end(connection);
    });
    TcpTransport transport = open_to(peer);
    Exchange exchange(test::request_of(7), {.tries = 1, .timeout = 20s});
    const ExchangeResult result = run_exchange(exchange, transport, std::chrono::steady_clock::now);
    const auto* const answer = std::get_if<Answered>(&result.outcome);
    ASSERT_NE(answer, nullptr) << text_of(result);
    EXPECT_EQ(text_of(answer->packet), "0207 from 127.0.0.1:" + std::to_string(peer.port()));
}

}  // namespace
}  // namespace quarn::client
