#include "quarn/client/server.h"

#include <gtest/gtest.h>

#include <string>

namespace quarn::client {

void PrintTo(const Server& server, std::ostream* out) {
    *out << server.text << " = " << transport_name(server.transport) << " " << server.host << " "
         << (server.port ? std::to_string(*server.port) : "-");
}

namespace {

Server parsed(std::string_view text) {
    const auto server = parse_server(text);
    EXPECT_TRUE(server) << text << ": " << server.error().message;
    return server ? *server : Server{};
}

std::string error_of(std::string_view text) {
    const auto server = parse_server(text);
    return server ? "none" : server.error().message;
}

TEST(ParseServer, TakesUdpWithoutAScheme) {
    EXPECT_EQ(parsed("radius.example"),
              (Server{"radius.example", "radius.example", std::nullopt, TransportKind::Udp}));
    EXPECT_EQ(parsed("::1"), (Server{"::1", "::1", std::nullopt, TransportKind::Udp}));
    EXPECT_EQ(parsed("[::1]:1645"), (Server{"[::1]:1645", "::1", 1645, TransportKind::Udp}));
    EXPECT_EQ(parsed("fe80::1%eth0"), (Server{"fe80::1%eth0", "fe80::1%eth0", {}, TransportKind::Udp}));
}

TEST(ParseServer, ReadsASchemeInAnyCase) {
    EXPECT_EQ(parsed("udp://10.0.0.1:99"), (Server{"udp://10.0.0.1:99", "10.0.0.1", 99, TransportKind::Udp}));
    EXPECT_EQ(parsed("TCP://[::1]"), (Server{"TCP://[::1]", "::1", std::nullopt, TransportKind::Tcp}));
}

TEST(ParseServer, TellsWhatIsWrong) {
    EXPECT_EQ(error_of("http://a"), "unknown transport before \"://\" (udp, tcp)");
    EXPECT_EQ(error_of("://a"), "unknown transport before \"://\" (udp, tcp)");
    EXPECT_EQ(error_of("tcp://"), "no host");
    EXPECT_EQ(error_of("tcp://a:0"), "port is not a number from 1 to 65535");
    EXPECT_EQ(error_of(""), "no host");
}

TEST(TransportName, IsTheScheme) {
    EXPECT_EQ(transport_name(TransportKind::Udp), "udp");
    EXPECT_EQ(transport_name(TransportKind::Tcp), "tcp");
}

TEST(DefaultPort, FollowsTheCode) {
    EXPECT_EQ(default_port(1), 1812);
    EXPECT_EQ(default_port(4), 1813);
    EXPECT_EQ(default_port(12), 1812);
    EXPECT_EQ(default_port(40), 3799);
    EXPECT_EQ(default_port(43), 3799);
    EXPECT_EQ(default_port(255), 1812);
}

}  // namespace
}  // namespace quarn::client
