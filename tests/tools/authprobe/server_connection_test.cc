#include "authprobe/server_connection.h"

#include <gtest/gtest.h>
#include <netdb.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "authprobe/client_error.h"
#include "testing/udp_peer.h"

namespace quarn::authprobe {
namespace {

using test::Datagram;
using test::UdpPeer;
using utils::Bytes;
using namespace std::chrono_literals;

ClientSettings settings_for(std::string server, std::uint16_t port, std::string source_ip = "") {
    ClientSettings settings;
    settings.server = std::move(server);
    settings.server_port = port;
    settings.source_ip = std::move(source_ip);
    return settings;
}

std::ptrdiff_t open_descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// What is said of a server that cannot be connected to.
std::string failure_of(const ClientSettings& settings) {
    try {
        const ServerConnection connection(settings);
        return "no failure";
    } catch (const ClientError& error) {
        return error.what();
    }
}

/// The failed system call, and its error number.
std::pair<std::string, int> failed_call(const ClientSettings& settings) {
    try {
        const ServerConnection connection(settings);
        return {"no failure", 0};
    } catch (const SystemCallError& error) {
        return {error.what(), error.error_number()};
    }
}

constexpr auto a_long_time = std::chrono::hours(24 * 365);

/// The next datagram; nothing when none came within the time, or when receiving failed.
std::optional<Bytes> received_within(std::chrono::seconds time, ServerConnection& connection) {
    const client::Event event = connection.transport().receive(std::chrono::steady_clock::now() + time);
    const auto* const packet = std::get_if<client::ReceivedPacket>(&event);
    return packet != nullptr ? std::optional(packet->bytes) : std::nullopt;
}

TEST(ServerConnectionTest, KnowsBothEnds) {
    UdpPeer peer;
    ServerConnection connection(settings_for("127.0.0.1", peer.port()));
    EXPECT_EQ(connection.transport().send(Bytes{1, 2, 3}), std::nullopt);
    const std::vector<Datagram> received = peer.finish();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].bytes, (Bytes{1, 2, 3}));
    EXPECT_EQ(connection.local().host_text(), received[0].address);
    EXPECT_EQ(connection.local().port(), received[0].port);
    EXPECT_EQ(connection.server().host_text(), "127.0.0.1");
    EXPECT_EQ(connection.server().port(), peer.port());
}

TEST(ServerConnectionTest, ResolvesAHostName) {
    ServerConnection connection(settings_for("localhost", 1812));
    EXPECT_EQ(connection.server().host_text(), "127.0.0.1");
    EXPECT_EQ(connection.local().host_text(), "127.0.0.1");
}

TEST(ServerConnectionTest, SendsFromTheSourceAddress) {
    UdpPeer peer;
    ServerConnection connection(settings_for("127.0.0.1", peer.port(), "127.0.0.2"));
    EXPECT_EQ(connection.local().host_text(), "127.0.0.2");
    EXPECT_EQ(connection.transport().send(Bytes{1}), std::nullopt);
    const std::vector<Datagram> received = peer.finish();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].address, "127.0.0.2");
}

TEST(ServerConnectionTest, LeavesThePortOfTheSourceAddressToTheKernel) {
    const ServerConnection first(settings_for("127.0.0.1", 1812, "127.0.0.2"));
    const ServerConnection second(settings_for("127.0.0.1", 1812, "127.0.0.2"));
    EXPECT_NE(first.local().port(), second.local().port());
}

TEST(ServerConnectionTest, FailsForAHostThatCannotBeResolved) {
    EXPECT_EQ(failure_of(settings_for("", 1812)),
              std::string("authprobe: cannot resolve \"\": ") + gai_strerror(EAI_NONAME) + "\n");
    EXPECT_EQ(failure_of(settings_for("a.b:1812", 99)),
              std::string("authprobe: cannot resolve \"a.b:1812\": ") + gai_strerror(EAI_NONAME) + "\n");
    EXPECT_EQ(failure_of(settings_for("::1", 1812)),
              std::string("authprobe: cannot resolve \"::1\": ") + gai_strerror(EAI_ADDRFAMILY) + "\n");
}

TEST(ServerConnectionTest, FailsForAMalformedSourceAddress) {
    for (const std::string text : {"10.0.0.300", "127.1", "localhost", "::1", " "}) {
        EXPECT_EQ(failure_of(settings_for("127.0.0.1", 1812, text)),
                  "authprobe: invalid --source-ip \"" + text + "\"\n");
    }
}

TEST(ServerConnectionTest, FailsForASourceAddressThatIsNotLocal) {
    EXPECT_EQ(failed_call(settings_for("127.0.0.1", 1812, "203.0.113.1")),
              std::pair(std::string("authprobe: bind (--source-ip must be a local address)"), EADDRNOTAVAIL));
}

TEST(ServerConnectionTest, FailsForAServerThatCannotBeConnectedTo) {
    EXPECT_EQ(failed_call(settings_for("127.255.255.255", 1812)),
              std::pair(std::string("authprobe: connect"), EACCES));
}

TEST(ServerConnectionTest, ResolvesBeforeItLooksAtTheSourceAddress) {
    EXPECT_EQ(failure_of(settings_for("", 1812, "bad")),
              std::string("authprobe: cannot resolve \"\": ") + gai_strerror(EAI_NONAME) + "\n");
}

TEST(ServerConnectionTest, LeavesNoSocketOpen) {
    const std::ptrdiff_t before = open_descriptors();
    failure_of(settings_for("", 1812));
    failure_of(settings_for("127.0.0.1", 1812, "bad"));
    failed_call(settings_for("127.0.0.1", 1812, "203.0.113.1"));
    failed_call(settings_for("127.255.255.255", 1812));
    EXPECT_EQ(open_descriptors(), before);
    {
        ServerConnection connection(settings_for("127.0.0.1", 1812));
        EXPECT_EQ(open_descriptors(), before + 1);
        connection.close();
        EXPECT_EQ(open_descriptors(), before);
    }
    { ServerConnection connection(settings_for("127.0.0.1", 1812)); }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(ServerConnectionTest, ReceivesWhatTheServerSends) {
    UdpPeer peer({test::answer([](const Bytes& request) {
        return Bytes{request.rbegin(), request.rend()};
    })});
    ServerConnection connection(settings_for("127.0.0.1", peer.port()));
    EXPECT_EQ(connection.transport().send(Bytes{1, 2, 3}), std::nullopt);
    EXPECT_EQ(received_within(a_long_time, connection), (Bytes{3, 2, 1}));
}

TEST(ServerConnectionTest, ReceivesAnEmptyDatagram) {
    UdpPeer peer({test::answer([](const Bytes&) { return Bytes(); })});
    ServerConnection connection(settings_for("127.0.0.1", peer.port()));
    EXPECT_EQ(connection.transport().send(Bytes{1}), std::nullopt);
    EXPECT_EQ(received_within(30s, connection), Bytes());
}

TEST(ServerConnectionTest, CutsADatagramTo4096Bytes) {
    UdpPeer peer({test::answer([](const Bytes&) { return Bytes(4096, 7); }),
                  test::answer([](const Bytes&) { return Bytes(4097, 8); })});
    ServerConnection connection(settings_for("127.0.0.1", peer.port()));
    EXPECT_EQ(connection.transport().send(Bytes{1}), std::nullopt);
    EXPECT_EQ(received_within(30s, connection), Bytes(4096, 7));
    EXPECT_EQ(connection.transport().send(Bytes{1}), std::nullopt);
    EXPECT_EQ(received_within(30s, connection), Bytes(4096, 8));
}

TEST(ServerConnectionTest, ReceivesNothingWithinTheTimeout) {
    UdpPeer silent;
    ServerConnection connection(settings_for("127.0.0.1", silent.port()));
    EXPECT_EQ(connection.transport().send(Bytes{1}), std::nullopt);
    EXPECT_EQ(received_within(1s, connection), std::nullopt);
}

TEST(ServerConnectionTest, HearsNobodyButTheServer) {
    UdpPeer silent;
    ServerConnection connection(settings_for("127.0.0.1", silent.port()));
    test::send_from_elsewhere(Bytes{1, 2, 3}, connection.local().port());
    EXPECT_EQ(received_within(1s, connection), std::nullopt);
}

TEST(ServerConnectionTest, DoesNotWaitForARefusedPort) {
    const test::ClosedPort port;
    ServerConnection connection(settings_for("127.0.0.1", port.port()));
    for (int attempt = 0; attempt < 3; ++attempt) {
        EXPECT_EQ(connection.transport().send(Bytes{1}), std::nullopt);
        EXPECT_EQ(received_within(a_long_time, connection), std::nullopt);
    }
}

TEST(ServerConnectionTest, TellsThatSendingFails) {
    UdpPeer peer;
    ServerConnection connection(settings_for("127.0.0.1", peer.port()));
    // One byte more than a UDP datagram can carry.
    EXPECT_EQ(connection.transport().send(Bytes(65508)),
              (client::TransportError{client::ErrorOrigin::Send, EMSGSIZE}));
}

}  // namespace
}  // namespace quarn::authprobe
