#include "quarn/client/request.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "quarn/radius/packet_code.h"
#include "testing/dictionaries.h"
#include "testing/fixed_random.h"
#include "testing/packets.h"
#include "testing/thrown_text.h"
#include "testing/wire.h"

namespace quarn::client {
namespace {

using namespace subscriber::radius;
using test::digits;
using test::hex;
using test::to_hex;

constexpr char secret[] = "xyzzy5461";

RadiusPacket packet_of(std::uint8_t code) {
    RadiusPacket packet(test::shipped_dictionary());
    packet.code = code;
    packet.identifier = 7;
    return packet;
}

TEST(EncodedRequest, TakesItsFieldsFromTheDatagram) {
    const EncodedRequest request(hex("04 2a 00 15 000102030405060708090a0b0c0d0e0f ff"),
                                 {{"message", "context", "detail"}});
    EXPECT_EQ(to_hex(request.datagram()), digits("04 2a 00 15 000102030405060708090a0b0c0d0e0f ff"));
    EXPECT_EQ(request.code(), 4);
    EXPECT_EQ(request.identifier(), 42);
    EXPECT_EQ(to_hex(request.authenticator()), "000102030405060708090a0b0c0d0e0f");
    EXPECT_EQ(request.issues(), (test::Issues{{"message", "context", "detail"}}));
}

TEST(EncodedRequest, NeedsAHeader) {
    for (const std::size_t size : {0U, 1U, 19U}) {
        EXPECT_EQ(test::thrown_text<std::invalid_argument>([size] { EncodedRequest request{Bytes(size)}; }),
                  "EncodedRequest: fewer than 20 bytes");
    }
    EXPECT_EQ(EncodedRequest(Bytes(20)).datagram().size(), 20U);
}

TEST(EncodedRequest, IsAValue) {
    const EncodedRequest request(Bytes(20, 1));
    const EncodedRequest copy = request;
    EXPECT_EQ(copy, request);
    EXPECT_NE(copy, EncodedRequest(Bytes(20, 2)));
}

TEST(EncodeRequest, KeepsTheAuthenticatorThatItIsGiven) {
    // RFC 2865, section 7.1
    RadiusPacket packet = packet_of(ACCESS_REQUEST);
    packet.identifier = 0;
    packet.authenticator = test::authenticator_from("0f403f9473978057bd83d5cb98f4227a");
    packet.add_attribute("User-Name", "nemo");
    packet.add_attribute("User-Password", "arctangent");
    packet.add_attribute("NAS-IP-Address", "192.168.1.16");
    packet.add_attribute("NAS-Port", "3");
    const EncodedRequest request = encode_request(packet, secret);
    EXPECT_EQ(to_hex(request.datagram()),
              digits("01 00 00 38 0f403f9473978057bd83d5cb98f4227a 01 06 6e656d6f"
                     "02 12 0dbe708d93d413ce3196e43f782a0aee 04 06 c0a80110 05 06 00000003"));
    EXPECT_EQ(request.authenticator(), packet.authenticator);
    EXPECT_EQ(request.issues(), test::Issues());
}

TEST(EncodeRequest, CarriesTheRandomAuthenticatorThatTheEncoderChose) {
    const test::FixedRandom random(0x20);
    const EncodedRequest request = encode_request(packet_of(ACCESS_REQUEST), secret);
    EXPECT_EQ(to_hex(request.authenticator()), "202122232425262728292a2b2c2d2e2f");
    EXPECT_EQ(to_hex(request.datagram()), "01070014202122232425262728292a2b2c2d2e2f");
}

TEST(EncodeRequest, CarriesTheAuthenticatorThatTheEncoderComputed) {
    for (const PacketCode code : {ACCOUNTING_REQUEST, DISCONNECT_REQUEST, COA_REQUEST}) {
        RadiusPacket packet = packet_of(code);
        packet.authenticator = test::test_authenticator;  // of no consequence
        const EncodedRequest request = encode_request(packet, secret);
        const test::Digest expected =
            test::md5(test::joined({{code, 7, 0, 20}, Bytes(16), utils::to_bytes(secret)}));
        EXPECT_EQ(to_hex(request.authenticator()), to_hex(expected));
        EXPECT_EQ(to_hex(test::authenticator_of(request.datagram())), to_hex(expected));
    }
}

TEST(EncodeRequest, TellsWhatTheEncoderReported) {
    RadiusPacket packet = packet_of(ACCESS_REQUEST);
    packet.add_attribute("User-Name", std::string(254, 'x'));
    EXPECT_EQ(encode_request(packet, secret).issues(),
              (test::Issues{{"value truncated on the wire", "User-Name", ""}}));
}

TEST(EncodeRequest, FailsWithoutRandomBytes) {
    const test::NoRandom none;
    EXPECT_EQ(
        test::thrown_text<std::runtime_error>([] { encode_request(packet_of(ACCESS_REQUEST), secret); }),
        "random_authenticator: RAND_bytes failed (CSPRNG unavailable)");
}

}  // namespace
}  // namespace quarn::client
