#include "authprobe/exchange.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "testing/captured_output.h"
#include "testing/dictionaries.h"
#include "testing/udp_peer.h"

namespace quarn::authprobe {
namespace {

using test::CapturedOutput;
using test::Datagram;
using test::UdpPeer;
using utils::Bytes;

constexpr std::uint8_t identifier = 7;

/// A request of this many bytes: the exchange looks at its Identifier alone.
Bytes request_bytes(std::size_t size) {
    Bytes bytes(size);
    bytes.at(0) = 1;
    bytes.at(1) = identifier;
    return bytes;
}

AccessRequest request_of(std::size_t size) {
    AccessRequest request{{}, client::EncodedRequest(request_bytes(size))};
    request.packet.identifier = identifier;
    return request;
}

Bytes reply_with(std::uint8_t reply_identifier, std::size_t size) {
    Bytes reply(size, 0xaa);
    reply.at(1) = reply_identifier;
    return reply;
}

UdpPeer::Answer answer_with(Bytes reply) {
    return test::answer([reply = std::move(reply)](const Bytes&) { return reply; });
}

struct Outcome {
    std::optional<Bytes> reply;
    std::string output;
    std::string errors;
    std::vector<Datagram> received;
};

/// An exchange with a peer that answers by the script.
Outcome exchange_with(std::vector<UdpPeer::Answer> script, std::int32_t retry,
                      std::int32_t timeout = std::numeric_limits<std::int32_t>::max()) {
    UdpPeer peer(std::move(script));
    ClientSettings settings;
    settings.server = "127.0.0.1";
    settings.server_port = peer.port();
    settings.retry = retry;
    settings.timeout = timeout;
    ServerConnection connection(settings);
    CapturedOutput captured;
    std::optional<Bytes> reply = exchange(request_of(20), connection, settings);
    captured.finish();
    return {std::move(reply), captured.output(), captured.errors(), peer.finish()};
}

constexpr char no_reply[] = " No reply from server for ID 7\n";

TEST(AnnounceRequest, NamesBothEndsAndListsTheAttributes) {
    UdpPeer peer;
    ClientSettings settings;
    settings.server = "127.0.0.1";
    settings.server_port = peer.port();
    settings.source_ip = "127.0.0.2";
    const ServerConnection connection(settings);
    AccessRequest request = request_of(51);
    request.packet.dictionary = test::shipped_dictionary();
    request.packet.set_attribute("User-Name", "bob");
    request.packet.set_attribute("Framed-Protocol", 1);

    CapturedOutput captured;
    announce_request(request, connection);
    captured.finish();
    EXPECT_EQ(captured.output(), " Sent Access-Request Id 7 from 127.0.0.2:" +
                                     std::to_string(connection.local().port()) + " to " + peer.address() +
                                     " length 51\n"
                                     "     User-Name = \"bob\"\n"
                                     "     Framed-Protocol = PPP\n");
    EXPECT_EQ(captured.errors(), "");
}

TEST(AnnounceRequest, IsGreenOnATerminal) {
    UdpPeer peer;
    ClientSettings settings;
    settings.server = "127.0.0.1";
    settings.server_port = peer.port();
    const ServerConnection connection(settings);
    CapturedOutput captured(test::Stream::Terminal);
    announce_request(request_of(51), connection);
    captured.finish();
    EXPECT_EQ(captured.output(), "\x1b[32m Sent Access-Request Id 7 from 127.0.0.1:" +
                                     std::to_string(connection.local().port()) + " to " + peer.address() +
                                     " length 51\x1b[0m\n");
}

TEST(ExchangeAttempts, EndWithTheFirstReply) {
    const Outcome outcome = exchange_with({answer_with(reply_with(identifier, 20))}, 3);
    EXPECT_EQ(outcome.reply, reply_with(identifier, 20));
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "");
    ASSERT_EQ(outcome.received.size(), 1U);
    EXPECT_EQ(outcome.received[0].bytes, request_bytes(20));
}

TEST(ExchangeAttempts, SendTheSameDatagramAgainUntilAReplyComes) {
    const Outcome outcome =
        exchange_with({answer_with(reply_with(identifier + 1, 20)), answer_with(reply_with(identifier, 19)),
                       answer_with(Bytes()), answer_with(reply_with(identifier, 4096))},
                      5);
    EXPECT_EQ(outcome.reply, reply_with(identifier, 4096));
    EXPECT_EQ(outcome.errors, std::string(no_reply) + no_reply + no_reply);
    ASSERT_EQ(outcome.received.size(), 4U);
    for (const Datagram& datagram : outcome.received) {
        EXPECT_EQ(datagram.bytes, request_bytes(20));
        EXPECT_EQ(datagram.port, outcome.received.front().port);
    }
}

TEST(ExchangeAttempts, AreAsManyAsAskedFor) {
    const auto wrong = answer_with(reply_with(identifier - 1, 20));
    for (const int retry : {1, 2, 4}) {
        const Outcome outcome = exchange_with({wrong, wrong, wrong, wrong, wrong}, retry);
        EXPECT_EQ(outcome.reply, std::nullopt);
        EXPECT_EQ(outcome.received.size(), static_cast<std::size_t>(retry));
        std::string lines;
        for (int attempt = 0; attempt < retry; ++attempt) {
            lines += no_reply;
        }
        EXPECT_EQ(outcome.errors, lines);
    }
}

TEST(ExchangeAttempts, TimeOut) {
    const Outcome outcome = exchange_with({}, 1, 1);
    EXPECT_EQ(outcome.reply, std::nullopt);
    EXPECT_EQ(outcome.errors, no_reply);
    EXPECT_EQ(outcome.received.size(), 1U);
}

TEST(ExchangeAttempts, TakeALateReplyToAnEarlierOne) {
    const Outcome outcome = exchange_with({test::silence(), answer_with(reply_with(identifier, 33))}, 3, 2);
    EXPECT_EQ(outcome.reply, reply_with(identifier, 33));
    EXPECT_EQ(outcome.errors, no_reply);
}

TEST(ExchangeAttempts, FailAtOnceWhenThePortIsRefused) {
    const test::ClosedPort port;
    ClientSettings settings;
    settings.server = "127.0.0.1";
    settings.server_port = port.port();
    settings.retry = 2;
    settings.timeout = std::numeric_limits<std::int32_t>::max();
    ServerConnection connection(settings);
    CapturedOutput captured;
    const auto reply = exchange(request_of(20), connection, settings);
    captured.finish();
    EXPECT_EQ(reply, std::nullopt);
    EXPECT_EQ(captured.errors(), std::string(no_reply) + no_reply);
}

}  // namespace
}  // namespace quarn::authprobe
