#include "quarn/radius/signature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "quarn/radius/packet_code.h"
#include "quarn/radius/pkt_dump.h"
#include "testing/codec_dictionary.h"
#include "testing/no_algorithms.h"
#include "testing/packets.h"
#include "testing/wire.h"

namespace quarn::subscriber::radius {
namespace {

using test::authenticator_from;
using test::hex;

constexpr std::string_view secret = "xyzzy5461";

// RFC 2865, section 7.1
const Authenticator telnet_request_authenticator = authenticator_from("0f403f9473978057bd83d5cb98f4227a");
constexpr std::string_view telnet_accept =
    "02 00 00 26 86 fe 22 0e 76 24 ba 2a 10 05 f6 bf 9b 55 e0 b2"
    "06 06 00 00 00 01 0f 06 00 00 00 00 0e 06 c0 a8 01 03";

/// A request with this Authenticator, to which `test::reply_to` replies.
Bytes request() {
    return test::datagram(ACCESS_REQUEST, "");
}

/// A reply whose first attribute is a Message-Authenticator.
Bytes signed_reply() {
    return test::reply_to(request(), {.code = 2, .attributes = hex("120568656c"), .secret = "testing123"});
}

constexpr std::size_t first_value = 22;

TEST(ResponseAuthenticator, FitsTheReplyOfTheRfc) {
    EXPECT_TRUE(response_authenticator_fits(hex(telnet_accept), telnet_request_authenticator, secret));
}

TEST(ResponseAuthenticator, FitsNoOtherRequestAndNoOtherSecret) {
    EXPECT_FALSE(response_authenticator_fits(hex(telnet_accept), test::test_authenticator, secret));
    EXPECT_FALSE(response_authenticator_fits(hex(telnet_accept), telnet_request_authenticator, "xyzzy5462"));
    EXPECT_FALSE(response_authenticator_fits(hex(telnet_accept), telnet_request_authenticator, ""));
}

TEST(ResponseAuthenticator, CoversEveryBit) {
    const Bytes reply = hex(telnet_accept);
    for (std::size_t bit = 0; bit < 8 * reply.size(); ++bit) {
        Bytes changed = reply;
        changed[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        EXPECT_FALSE(response_authenticator_fits(changed, telnet_request_authenticator, secret)) << bit;
    }
}

TEST(ResponseAuthenticator, CoversTheBytesThatFollowThePacket) {
    Bytes reply = hex(telnet_accept);
    reply.push_back(0);
    EXPECT_FALSE(response_authenticator_fits(reply, telnet_request_authenticator, secret));
}

TEST(ResponseAuthenticator, DoesNotFitWhatHasNoHeader) {
    const Bytes reply = hex(telnet_accept);
    for (std::size_t size = 0; size < 20; ++size) {
        EXPECT_FALSE(
            response_authenticator_fits(byte_span(reply).first(size), telnet_request_authenticator, secret));
    }
}

TEST(MessageAuthenticator, FitsTheReplyThatItSigns) {
    // The Response Authenticator is computed last and replaces what was signed.
    EXPECT_TRUE(
        message_authenticator_fits(signed_reply(), first_value, test::test_authenticator, "testing123"));
}

TEST(MessageAuthenticator, FitsNoOtherRequestAndNoOtherSecret) {
    EXPECT_FALSE(message_authenticator_fits(signed_reply(), first_value, ZERO16, "testing123"));
    EXPECT_FALSE(
        message_authenticator_fits(signed_reply(), first_value, test::test_authenticator, "testing124"));
    EXPECT_FALSE(message_authenticator_fits(signed_reply(), first_value, test::test_authenticator, ""));
}

TEST(MessageAuthenticator, CoversEveryBitButThoseOfTheAuthenticatorField) {
    const Bytes reply = signed_reply();
    for (std::size_t bit = 0; bit < 8 * reply.size(); ++bit) {
        Bytes changed = reply;
        changed[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        const bool is_of_header = bit / 8 >= 4 && bit / 8 < 20;
        EXPECT_EQ(message_authenticator_fits(changed, first_value, test::test_authenticator, "testing123"),
                  is_of_header)
            << bit;
    }
}

TEST(MessageAuthenticator, LiesBetweenTheHeaderAndTheEnd) {
    const Bytes reply = signed_reply();
    for (const std::size_t offset : {std::size_t{0}, std::size_t{19}, reply.size() - 15, reply.size(),
                                     reply.size() + 1, std::size_t(-1)}) {
        EXPECT_FALSE(message_authenticator_fits(reply, offset, test::test_authenticator, "testing123"))
            << offset;
    }
}

TEST(MessageAuthenticator, IsFoundWhereItIsSaidToBe) {
    Bytes bytes = test::datagram(2, "");
    const test::Digest digest = [&bytes] {
        Bytes zeroed = bytes;
        zeroed.resize(36);
        return test::hmac_md5("key", zeroed);
    }();
    bytes.insert(bytes.end(), digest.begin(), digest.end());
    EXPECT_TRUE(message_authenticator_fits(bytes, 20, test::test_authenticator, "key"));
    EXPECT_FALSE(message_authenticator_fits(bytes, 21, test::test_authenticator, "key"));
}

TEST(MessageAuthenticator, IsNotSixteenZeroBytesForWantOfAnAlgorithm) {
    test::without_algorithms([] {
        const Bytes zeros(38);
        EXPECT_FALSE(message_authenticator_fits(zeros, first_value, ZERO16, "testing123"));
    });
}

TEST(ResponseAuthenticator, IsNotSixteenZeroBytesForWantOfAnAlgorithm) {
    test::without_algorithms(
        [] { EXPECT_FALSE(response_authenticator_fits(Bytes(20), ZERO16, "testing123")); });
}

/// A packet of this code that the encoder signed.
Bytes encoded(std::uint8_t code, bool with_message_authenticator) {
    RadiusPacket packet = test::new_packet(test::codec_dictionary(), code);
    packet.request_authenticator = test::test_authenticator;
    if (with_message_authenticator) {
        packet.add_attribute("Message-Authenticator", std::string(16, '\0'));
    }
    packet.add_attribute("User-Name", "bob");
    std::vector<ParseIssue> issues;
    return pkt_dump(packet, "testing123", issues);
}

SignatureStatus status_of_reply(byte_span bytes) {
    return verify_reply(bytes, test::test_authenticator, "testing123");
}

TEST(VerifyReply, TakesEveryReplyThatTheEncoderSigned) {
    for (const std::uint8_t code : std::initializer_list<std::uint8_t>{2, 3, 5, 11, 41, 42, 44, 45}) {
        EXPECT_EQ(status_of_reply(encoded(code, false)), SignatureStatus::Valid) << int{code};
        EXPECT_EQ(status_of_reply(encoded(code, true)), SignatureStatus::Valid) << int{code};
        EXPECT_EQ(verify_request(encoded(code, true), "testing123"), SignatureStatus::UnexpectedCode);
    }
}

TEST(VerifyReply, FitsNoOtherRequestAndNoOtherSecret) {
    EXPECT_EQ(verify_reply(encoded(2, false), ZERO16, "testing123"), SignatureStatus::AuthenticatorWrong);
    EXPECT_EQ(verify_reply(encoded(2, true), ZERO16, "testing123"),
              SignatureStatus::MessageAuthenticatorWrong);
    EXPECT_EQ(verify_reply(encoded(2, true), test::test_authenticator, "testing124"),
              SignatureStatus::MessageAuthenticatorWrong);
}

TEST(VerifyReply, CoversEveryBitOfThePacket) {
    const Bytes reply = encoded(2, true);
    for (std::size_t bit = 0; bit < 8 * reply.size(); ++bit) {
        Bytes changed = reply;
        changed[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
        EXPECT_NE(status_of_reply(changed), SignatureStatus::Valid) << bit;
    }
}

TEST(VerifyReply, LeavesOutWhatFollowsThePacket) {
    Bytes reply = encoded(2, true);
    reply.push_back(0);
    EXPECT_EQ(status_of_reply(reply), SignatureStatus::Valid);
}

TEST(VerifyReply, RefusesWhatCannotBeRead) {
    const Bytes reply = encoded(2, true);
    for (std::size_t size = 0; size < reply.size(); ++size) {
        EXPECT_EQ(status_of_reply(byte_span(reply).first(size)), SignatureStatus::Malformed) << size;
    }
    EXPECT_EQ(status_of_reply(test::datagram(2, "0101")), SignatureStatus::Malformed);
    EXPECT_EQ(status_of_reply(test::datagram(2, "5011" + std::string(30, '0'))),
              SignatureStatus::MessageAuthenticatorMalformed);
    const std::string digest = "5012" + std::string(32, '0');
    EXPECT_EQ(status_of_reply(test::datagram(2, digest + digest)),
              SignatureStatus::MessageAuthenticatorMalformed);
}

TEST(VerifyRequest, TakesEveryRequestThatTheEncoderSigned) {
    for (const std::uint8_t code : std::initializer_list<std::uint8_t>{4, 40, 43}) {
        EXPECT_EQ(verify_request(encoded(code, false), "testing123"), SignatureStatus::Valid) << int{code};
        EXPECT_EQ(verify_request(encoded(code, true), "testing123"), SignatureStatus::Valid) << int{code};
        EXPECT_EQ(status_of_reply(encoded(code, true)), SignatureStatus::UnexpectedCode);
        EXPECT_EQ(verify_request(encoded(code, false), "testing124"), SignatureStatus::AuthenticatorWrong);
    }
    for (const std::uint8_t code : std::initializer_list<std::uint8_t>{1, 12}) {
        EXPECT_EQ(verify_request(encoded(code, false), "testing123"), SignatureStatus::Unsigned);
        EXPECT_EQ(verify_request(encoded(code, true), "testing123"), SignatureStatus::Valid);
        EXPECT_EQ(verify_request(encoded(code, true), "testing124"),
                  SignatureStatus::MessageAuthenticatorWrong);
    }
    EXPECT_EQ(verify_request(encoded(6, true), "testing123"), SignatureStatus::UnexpectedCode);
}

TEST(VerifyRequest, DoesNotLookAtTheMessageAuthenticatorOfAnAccountingRequest) {
    Bytes request = test::datagram(4, "5003aa", ZERO16);
    const test::Digest digest = [&request] {
        Bytes covered = request;
        const Bytes secret_bytes = utils::to_bytes("testing123");
        covered.insert(covered.end(), secret_bytes.begin(), secret_bytes.end());
        return test::md5(covered);
    }();
    std::copy(digest.begin(), digest.end(), request.begin() + 4);
    EXPECT_EQ(verify_request(request, "testing123"), SignatureStatus::Valid);
}

}  // namespace
}  // namespace quarn::subscriber::radius
