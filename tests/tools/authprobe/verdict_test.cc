#include "authprobe/verdict.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "quarn/utils/text.h"
#include "testing/captured_output.h"
#include "testing/dictionaries.h"
#include "testing/hex.h"
#include "testing/udp_peer.h"
#include "testing/wire.h"

namespace quarn::authprobe {
namespace {

using subscriber::radius::RadiusPacket;
using test::attribute;
using test::CapturedOutput;
using test::joined;
using test::Reply;
using test::reply_to;
using utils::Bytes;

constexpr char success[] = "\nauthprobe: Success\n\n";

std::string failure(const std::string& reason) {
    return "authprobe: " + reason + "\nauthprobe: Fail\n\n";
}

/// A request that has been sent, and the connection on which its reply came.
class VerdictTest : public testing::Test {
  protected:
    VerdictTest() : connection_(settings_) {
        request_.packet = RadiusPacket(test::shipped_dictionary());
        request_.packet.code = 1;
        request_.packet.identifier = 7;
        for (std::size_t i = 0; i < request_.packet.authenticator.size(); ++i) {
            request_.packet.authenticator[i] = static_cast<std::uint8_t>(i + 1);
        }
        // The header is all of it that a reply depends on.
        request_.encoded = client::EncodedRequest(joined(
            {{1, 7, 0, 20}, {request_.packet.authenticator.begin(), request_.packet.authenticator.end()}}));
    }

    Bytes reply(const Reply& wanted) const { return reply_to(request_.encoded.datagram(), wanted); }

    /// The line that announces a reply of this length.
    std::string received(const std::string& code_name, std::size_t length) const {
        return " Received " + code_name + " Id 7 from 127.0.0.1:" + std::to_string(settings_.server_port) +
               " to 127.0.0.1:" + std::to_string(connection_.local().port()) + " length " +
               std::to_string(length) + "\n";
    }

    /// Judges the datagram and compares all that comes of it.
    void expect_verdict(const Bytes& datagram, int status, const std::string& output,
                        const std::string& errors) {
        CapturedOutput captured;
        const int result = judge_reply(datagram, request_, connection_, settings_);
        captured.finish();
        EXPECT_EQ(result, status);
        EXPECT_EQ(captured.output(), output);
        EXPECT_EQ(captured.errors(), errors);
    }

    test::ClosedPort server_;
    ClientSettings settings_ = [this] {
        ClientSettings settings;
        settings.server = "127.0.0.1";
        settings.server_port = server_.port();
        settings.secret = "testing123";
        return settings;
    }();
    ServerConnection connection_;
    AccessRequest request_{{}, client::EncodedRequest(Bytes(20))};
};

/// The listing of a Message-Authenticator at the head of a packet.
std::string message_authenticator_line(const Bytes& packet) {
    return "     Message-Authenticator = 0x" + utils::bytes_to_hex(packet.data() + 22, 16) + "\n";
}

TEST_F(VerdictTest, ReportsSilence) {
    CapturedOutput captured;
    const int result = report_silence(connection_);
    captured.finish();
    EXPECT_EQ(result, EXIT_FAILURE);
    EXPECT_EQ(captured.output(), "");
    EXPECT_EQ(captured.errors(), "\n" + failure("no response from " + server_.address()));
}

TEST_F(VerdictTest, ReportsSilenceOnAConnectionThatIsClosed) {
    connection_.close();
    CapturedOutput captured;
    EXPECT_EQ(report_silence(connection_), EXIT_FAILURE);
    captured.finish();
    EXPECT_EQ(captured.errors(), "\n" + failure("no response from " + server_.address()));
}

TEST_F(VerdictTest, SucceedsForAnAuthenticAccept) {
    const Bytes accept = reply({.code = 2, .attributes = attribute(18, "Hello")});
    expect_verdict(accept, EXIT_SUCCESS,
                   received("Access-Accept", 45) + message_authenticator_line(accept) +
                       "     Reply-Message = \"Hello\"\n" + success,
                   "");
}

TEST_F(VerdictTest, FailsForAnythingElseThatIsAuthentic) {
    for (const auto& [code, name] :
         std::vector<std::pair<std::uint8_t, std::string>>{{std::uint8_t{3}, "Access-Reject"},
                                                           {std::uint8_t{5}, "Accounting-Response"},
                                                           {std::uint8_t{11}, "Access-Challenge"},
                                                           {std::uint8_t{41}, "Disconnect-ACK"},
                                                           {std::uint8_t{42}, "Disconnect-NAK"},
                                                           {std::uint8_t{44}, "CoA-ACK"},
                                                           {std::uint8_t{45}, "CoA-NAK"}}) {
        const Bytes datagram = reply({.code = code});
        expect_verdict(datagram, EXIT_FAILURE,
                       received(name, 38) + message_authenticator_line(datagram) + "\n",
                       failure("ERROR: expected Access-Accept, got " + name));
    }
}

TEST_F(VerdictTest, WarnsOfAMissingMessageAuthenticator) {
    const Bytes accept = reply({.code = 2, .message_authenticator = false});
    const std::string warning = "authprobe: WARNING: reply has no Message-Authenticator attribute\n";
    expect_verdict(accept, EXIT_SUCCESS, received("Access-Accept", 20) + success, warning);
    expect_verdict(reply({.code = 3, .message_authenticator = false}), EXIT_FAILURE,
                   received("Access-Reject", 20) + "\n",
                   warning + failure("ERROR: expected Access-Accept, got Access-Reject"));
    settings_.no_message_auth = true;
    expect_verdict(accept, EXIT_SUCCESS, received("Access-Accept", 20) + success, "");
}

TEST_F(VerdictTest, TellsAWrongMessageAuthenticatorFromAWrongResponseAuthenticator) {
    const Bytes wrongly_signed = reply({.code = 2, .secret = "other"});
    expect_verdict(
        wrongly_signed, EXIT_FAILURE,
        received("Access-Accept", 38) + message_authenticator_line(wrongly_signed),
        "\n" + failure("ERROR: reply Message-Authenticator is invalid (shared secret is incorrect or "
                       "the packet was tampered with): RadiusPacket: Message-Authenticator mismatch"));

    Bytes spoilt = reply({.code = 2});
    spoilt[19] ^= 0x80;
    expect_verdict(spoilt, EXIT_FAILURE, received("Access-Accept", 38) + message_authenticator_line(spoilt),
                   "\n" + failure("ERROR: reply failed validation (shared secret is probably incorrect): "
                                  "RadiusPacket: invalid Response Authenticator"));
}

TEST_F(VerdictTest, RefusesAMalformedMessageAuthenticator) {
    const Bytes short_one =
        reply({.code = 2, .attributes = attribute(80, Bytes(15, 1)), .message_authenticator = false});
    expect_verdict(
        short_one, EXIT_FAILURE,
        received("Access-Accept", 37) + "     Message-Authenticator = 0x010101010101010101010101010101\n",
        "\n" + failure("ERROR: reply Message-Authenticator is invalid (shared secret is incorrect or "
                       "the packet was tampered with): RadiusPacket: malformed Message-Authenticator"));
}

TEST_F(VerdictTest, RefusesAnUnsupportedCode) {
    const Bytes datagram = reply({.code = 6});
    expect_verdict(datagram, EXIT_FAILURE, received("Code-6", 38) + message_authenticator_line(datagram),
                   "\n" + failure("ERROR: reply failed validation (shared secret is probably incorrect): "
                                  "RadiusPacket: unsupported packet type"));
}

TEST_F(VerdictTest, RefusesAPacketThatIsTooLarge) {
    // A tag byte is counted for each of these empty values, which take 2 bytes on the wire.
    request_.packet.dictionary =
        test::dictionary_from("attributes: {Example: {code: 200, type: octets, has_tag: true}}");
    constexpr int values = 30000;
    Bytes attributes;
    for (int i = 0; i < values; ++i) {
        attributes.insert(attributes.end(), {200, 2});
    }
    const Bytes datagram = reply({.code = 2, .attributes = attributes, .message_authenticator = false});
    ASSERT_LT(datagram.size(), 65536U);
    std::string listing;
    for (int i = 0; i < values; ++i) {
        listing += "     Example = 0x\n";
    }
    expect_verdict(datagram, EXIT_FAILURE, received("Access-Accept", datagram.size()) + listing,
                   "\n" + failure("ERROR: reply failed validation (shared secret is probably incorrect): "
                                  "RadiusPacket: packet too large"));
}

TEST_F(VerdictTest, ChecksNothingWithoutASecret) {
    settings_.secret = "";
    expect_verdict(reply({.code = 2, .message_authenticator = false, .secret = "other"}), EXIT_SUCCESS,
                   received("Access-Accept", 20) + success,
                   "authprobe: WARNING: reply has no Message-Authenticator attribute\n");
}

TEST_F(VerdictTest, TellsWhyAReplyCannotBeDecoded) {
    const auto expect_unparsable = [this](const Bytes& datagram, const std::string& message) {
        SCOPED_TRACE(message);
        expect_verdict(datagram, EXIT_FAILURE, "", "\n" + failure("failed to parse reply: " + message));
    };
    Bytes accept = reply({.code = 2, .message_authenticator = false});
    expect_unparsable(Bytes(accept.begin(), accept.begin() + 19), "pkt_load: malformed packet");
    accept[3] = 19;
    expect_unparsable(accept, "pkt_load: invalid packet length");
    accept[3] = 21;
    expect_unparsable(accept, "pkt_load: invalid packet length");
    accept.push_back(1);
    expect_unparsable(accept, "pkt_load: malformed attribute");
    accept[3] = 22;
    accept.push_back(1);
    expect_unparsable(accept, "pkt_load: invalid attribute length");
    request_.packet.dictionary = nullptr;
    expect_unparsable(reply({.code = 2}), "decode_reply: dictionary required");
}

TEST_F(VerdictTest, ShowsAReturnedUserPasswordInClear) {
    const Bytes hidden = test::hidden_password("hello", settings_.secret, request_.packet.authenticator);
    const Bytes accept =
        reply({.code = 2, .attributes = attribute(2, hidden), .message_authenticator = false});
    settings_.no_message_auth = true;
    expect_verdict(accept, EXIT_SUCCESS,
                   received("Access-Accept", 38) + "     User-Password = \"hello\"\n" + success, "");
}

TEST_F(VerdictTest, RevealsAReturnedUserPasswordWithTheEmptySecretToo) {
    settings_.secret = "";
    settings_.no_message_auth = true;
    const Bytes hidden = test::hidden_password("hello", "", request_.packet.authenticator);
    expect_verdict(reply({.code = 2, .attributes = attribute(2, hidden), .message_authenticator = false}),
                   EXIT_SUCCESS, received("Access-Accept", 38) + "     User-Password = \"hello\"\n" + success,
                   "");
}

TEST_F(VerdictTest, ShowsAReturnedUserPasswordOfOctetsInClearToo) {
    request_.packet.dictionary =
        test::dictionary_from("attributes: {user-password: {code: 2, type: octets}}");
    const Bytes hidden = test::hidden_password("hello", settings_.secret, request_.packet.authenticator);
    settings_.no_message_auth = true;
    expect_verdict(reply({.code = 2, .attributes = attribute(2, hidden), .message_authenticator = false}),
                   EXIT_SUCCESS,
                   received("Access-Accept", 38) + "     user-password = 0x68656c6c6f\n" + success, "");
}

TEST_F(VerdictTest, LeavesAReturnedUserPasswordOfAnotherLengthAsItIs) {
    settings_.no_message_auth = true;
    for (const std::size_t length : {0U, 1U, 15U, 17U, 31U}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        expect_verdict(
            reply({.code = 2, .attributes = attribute(2, text), .message_authenticator = false}),
            EXIT_SUCCESS,
            received("Access-Accept", 22 + length) + "     User-Password = \"" + text + "\"\n" + success, "");
    }
}

TEST_F(VerdictTest, RevealsTheFirstReturnedUserPasswordOnly) {
    settings_.no_message_auth = true;
    const Bytes hidden = test::hidden_password("hello", settings_.secret, request_.packet.authenticator);
    const Bytes accept =
        reply({.code = 2,
               .attributes = joined({attribute(2, hidden), attribute(2, "sixteen letters!")}),
               .message_authenticator = false});
    expect_verdict(accept, EXIT_SUCCESS,
                   received("Access-Accept", 56) +
                       "     User-Password = \"hello\"\n"
                       "     User-Password = \"sixteen letters!\"\n" +
                       success,
                   "");
}

}  // namespace
}  // namespace quarn::authprobe
