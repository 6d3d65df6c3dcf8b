// The worked exchanges of RFC 2865, section 7, byte for byte: built with the shipped dictionary, decoded, and
// validated. Their Response Authenticators are confirmed by the formula as well.

#include <gtest/gtest.h>

#include "quarn/radius/auth.h"
#include "quarn/radius/packet_code.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/wire.h"

namespace quarn::subscriber::radius {
namespace {

using test::decode;
using test::digits;
using test::hex;
using test::Lines;
using test::to_hex;

constexpr std::string_view secret = "xyzzy5461";

// 7.1. User Telnet to Specified Host
constexpr std::string_view telnet_request =
    "01 00 00 38"                                            // Access-Request, identifier 0, length 56
    "0f 40 3f 94 73 97 80 57 bd 83 d5 cb 98 f4 22 7a"        // Request Authenticator
    "01 06 6e 65 6d 6f"                                      // User-Name "nemo"
    "02 12 0d be 70 8d 93 d4 13 ce 31 96 e4 3f 78 2a 0a ee"  // User-Password, hidden
    "04 06 c0 a8 01 10"                                      // NAS-IP-Address 192.168.1.16
    "05 06 00 00 00 03";                                     // NAS-Port 3
constexpr std::string_view telnet_accept =
    "02 00 00 26"                                      // Access-Accept, identifier 0, length 38
    "86 fe 22 0e 76 24 ba 2a 10 05 f6 bf 9b 55 e0 b2"  // Response Authenticator
    "06 06 00 00 00 01"                                // Service-Type Login-User
    "0f 06 00 00 00 00"                                // Login-Service Telnet
    "0e 06 c0 a8 01 03";                               // Login-IP-Host 192.168.1.3

// 7.2. Framed User Authenticating with CHAP
constexpr std::string_view framed_request =
    "01 01 00 47"                                               // Access-Request, identifier 1, length 71
    "2a ee 86 f0 8d 0d 55 96 9c a5 97 8e 0d 33 67 a2"           // Request Authenticator
    "01 08 66 6c 6f 70 73 79"                                   // User-Name "flopsy"
    "03 13 16 e9 75 57 c3 16 18 58 95 f2 93 ff 63 44 07 72 75"  // CHAP-Password, CHAP identifier 22
    "04 06 c0 a8 01 10"                                         // NAS-IP-Address 192.168.1.16
    "05 06 00 00 00 14"                                         // NAS-Port 20
    "06 06 00 00 00 02"                                         // Service-Type Framed-User
    "07 06 00 00 00 01";                                        // Framed-Protocol PPP
constexpr std::string_view framed_accept =
    "02 01 00 38"                                      // Access-Accept, identifier 1, length 56
    "15 ef bc 7d ab 26 cf a3 dc 34 d9 c0 3c 86 01 a4"  // Response Authenticator
    "06 06 00 00 00 02"                                // Service-Type Framed-User
    "07 06 00 00 00 01"                                // Framed-Protocol PPP
    "08 06 ff ff ff fe"                                // Framed-IP-Address 255.255.255.254
    "0a 06 00 00 00 02"                                // Framed-Routing; the bytes say Listen
    "0d 06 00 00 00 01"                                // Framed-Compression Van-Jacobson-TCP-IP
    "0c 06 00 00 05 dc";                               // Framed-MTU 1500

// 7.3. User with Challenge-Response card
constexpr std::string_view card_request =
    "01 02 00 39"                                            // Access-Request, identifier 2, length 57
    "f3 a4 7a 1f 6a 6d 76 71 0b 94 7a b9 30 41 a0 39"        // Request Authenticator
    "01 07 6d 6f 70 73 79"                                   // User-Name "mopsy"
    "02 12 33 65 75 73 77 82 89 b5 70 88 5e 15 08 48 25 c5"  // User-Password, hidden
    "04 06 c0 a8 01 10"                                      // NAS-IP-Address 192.168.1.16
    "05 06 00 00 00 07";                                     // NAS-Port 7
constexpr std::string_view card_challenge =
    "0b 02 00 4e"                                      // Access-Challenge, identifier 2, length 78
    "36 f3 c8 76 4a e8 c7 11 57 40 3c 0c 71 ff 9c 45"  // Response Authenticator
    "12 30 43 68 61 6c 6c 65 6e 67 65 20 33 32 37 36 39 34 33 30 2e 20 20 45 6e 74 65 72 20 72 65 73"
    "70 6f 6e 73 65 20 61 74 20 70 72 6f 6d 70 74 2e"  // Reply-Message
    "18 0a 33 32 37 36 39 34 33 30";                   // State "32769430"
constexpr std::string_view card_answer =
    "01 03 00 43"                                            // Access-Request, identifier 3, length 67
    "b1 22 55 6d 42 8a 13 d0 d6 25 38 07 c4 57 ec f0"        // Request Authenticator
    "01 07 6d 6f 70 73 79"                                   // User-Name "mopsy"
    "02 12 69 2c 1f 20 5f c0 81 b9 19 b9 51 95 f5 61 a5 81"  // User-Password, hidden
    "04 06 c0 a8 01 10"                                      // NAS-IP-Address 192.168.1.16
    "05 06 00 00 00 07"                                      // NAS-Port 7
    "18 0a 33 32 37 36 39 34 33 30";                         // State "32769430"
constexpr std::string_view card_reject =
    "03 03 00 14"                                       // Access-Reject, identifier 3, length 20
    "a4 2f 4f ca 45 91 6c 4e 09 c8 34 0f 9e 74 6a a0";  // Response Authenticator

RadiusPacket request_like(std::string_view wire) {
    const Bytes bytes = hex(wire);
    RadiusPacket packet(test::shipped_dictionary());
    packet.code = ACCESS_REQUEST;
    packet.identifier = bytes[1];
    std::copy_n(bytes.begin() + 4, 16, packet.authenticator.begin());
    return packet;
}

RadiusPacket reply_to(std::string_view request_wire, PacketCode code) {
    const RadiusPacket request = request_like(request_wire);
    RadiusPacket packet(test::shipped_dictionary());
    packet.code = code;
    packet.identifier = request.identifier;
    packet.request_authenticator = request.authenticator;
    return packet;
}

std::string encoded(const RadiusPacket& packet) {
    test::Issues issues;
    const Bytes wire = pkt_dump(packet, secret, issues);
    EXPECT_EQ(issues, test::Issues());
    return to_hex(wire);
}

/// The listing, with each value as the text that its type gives it.
Lines texts(const RadiusPacket& packet) {
    Lines lines;
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        for (const RadiusValue& value : attribute->values) {
            lines.push_back(attribute->display_name() + " = " + value.as_string());
        }
    }
    return lines;
}

/// Decodes a packet; a reply is told the authenticator of its request.
RadiusPacket decoded(std::string_view wire, std::string_view request_wire = "") {
    test::Decoded result = decode(test::shipped_dictionary(), hex(wire), secret);
    EXPECT_EQ(result.issues, test::Issues());
    if (!request_wire.empty()) {
        result.packet.request_authenticator = request_like(request_wire).authenticator;
    }
    return std::move(result.packet);
}

/// The Response Authenticator of a reply, computed from its formula (RFC 2865, section 3).
std::string response_authenticator(std::string_view reply_wire, std::string_view request_wire) {
    const Bytes reply = hex(reply_wire);
    const Bytes request = hex(request_wire);
    return to_hex(test::md5(test::joined({{reply.begin(), reply.begin() + 4},
                                          {request.begin() + 4, request.begin() + 20},
                                          {reply.begin() + 20, reply.end()},
                                          utils::to_bytes(secret)})));
}

TEST(Rfc2865TelnetRequest, IsEncoded) {
    RadiusPacket packet = request_like(telnet_request);
    packet.add_attribute("User-Name", "nemo");
    packet.add_attribute("User-Password", "arctangent");
    packet.add_attribute("NAS-IP-Address", "192.168.1.16");
    packet.add_attribute("NAS-Port", "3");
    EXPECT_EQ(encoded(packet), digits(telnet_request));
}

TEST(Rfc2865TelnetRequest, IsDecoded) {
    const RadiusPacket packet = decoded(telnet_request);
    EXPECT_EQ(packet.code, ACCESS_REQUEST);
    EXPECT_EQ(packet.identifier, 0);
    EXPECT_EQ(to_hex(packet.authenticator), digits("0f403f9473978057bd83d5cb98f4227a"));
    EXPECT_EQ(to_hex(packet.raw), digits(telnet_request));
    EXPECT_EQ(texts(packet), (Lines{"User-Name = nemo", "User-Password = arctangent",
                                    "NAS-IP-Address = 192.168.1.16", "NAS-Port = 3"}));
}

TEST(Rfc2865TelnetRequest, IsEncodedAgainToTheSameBytes) {
    EXPECT_EQ(encoded(decoded(telnet_request)), digits(telnet_request));
}

TEST(Rfc2865TelnetRequest, PassesValidation) {
    EXPECT_EQ(decoded(telnet_request).validate(secret), RadiusPacketValRes());
}

TEST(Rfc2865TelnetAccept, CarriesTheResponseAuthenticatorOfTheFormula) {
    EXPECT_EQ(response_authenticator(telnet_accept, telnet_request), digits(telnet_accept).substr(8, 32));
}

TEST(Rfc2865TelnetAccept, IsEncoded) {
    RadiusPacket packet = reply_to(telnet_request, ACCESS_ACCEPT);
    packet.add_attribute("Service-Type", "Login-User");
    packet.add_attribute("Login-Service", "Telnet");
    packet.add_attribute("Login-IP-Host", "192.168.1.3");
    EXPECT_EQ(encoded(packet), digits(telnet_accept));
}

TEST(Rfc2865TelnetAccept, IsDecoded) {
    const RadiusPacket packet = decoded(telnet_accept);
    EXPECT_EQ(packet.code, ACCESS_ACCEPT);
    EXPECT_EQ(packet.identifier, 0);
    EXPECT_EQ(to_hex(packet.authenticator), digits("86fe220e7624ba2a1005f6bf9b55e0b2"));
    EXPECT_EQ(texts(packet), (Lines{"Service-Type = 1", "Login-Service = 0", "Login-IP-Host = 192.168.1.3"}));
}

TEST(Rfc2865TelnetAccept, IsEncodedAgainToTheSameBytes) {
    EXPECT_EQ(encoded(decoded(telnet_accept, telnet_request)), digits(telnet_accept));
}

TEST(Rfc2865TelnetAccept, PassesValidationAgainstItsOwnRequestAlone) {
    EXPECT_EQ(decoded(telnet_accept, telnet_request).validate(secret), RadiusPacketValRes());
    EXPECT_EQ(decoded(telnet_accept, framed_request).validate(secret),
              RadiusPacketValRes(ValidationError::InvalidAuthenticator,
                                 "RadiusPacket: invalid Response Authenticator"));
    EXPECT_EQ(decoded(telnet_accept, telnet_request).validate("xyzzy5462"),
              RadiusPacketValRes(ValidationError::InvalidAuthenticator,
                                 "RadiusPacket: invalid Response Authenticator"));
}

TEST(Rfc2865FramedRequest, IsEncoded) {
    RadiusPacket packet = request_like(framed_request);
    packet.add_attribute("User-Name", "flopsy");
    const std::string chap = auth::chap_password(0x16, "arctangent", utils::as_text(packet.authenticator));
    packet.add_attribute("CHAP-Password", "0x" + to_hex(utils::as_bytes(chap)));
    packet.add_attribute("NAS-IP-Address", "192.168.1.16");
    packet.add_attribute("NAS-Port", "20");
    packet.add_attribute("Service-Type", "Framed-User");
    packet.add_attribute("Framed-Protocol", "PPP");
    EXPECT_EQ(encoded(packet), digits(framed_request));
}

TEST(Rfc2865FramedRequest, IsDecoded) {
    const RadiusPacket packet = decoded(framed_request);
    EXPECT_EQ(packet.code, ACCESS_REQUEST);
    EXPECT_EQ(packet.identifier, 1);
    EXPECT_EQ(packet.attributes().at(1)->values.at(0).as_hex(), "0x16e97557c316185895f293ff6344077275");
    EXPECT_EQ(test::listing(packet),
              (Lines{"User-Name (1) 666c6f707379", "CHAP-Password (3) 16e97557c316185895f293ff6344077275",
                     "NAS-IP-Address (4) c0a80110", "NAS-Port (5) 00000014", "Service-Type (6) 00000002",
                     "Framed-Protocol (7) 00000001"}));
}

TEST(Rfc2865FramedRequest, IsEncodedAgainToTheSameBytes) {
    EXPECT_EQ(encoded(decoded(framed_request)), digits(framed_request));
}

TEST(Rfc2865FramedRequest, PassesValidation) {
    EXPECT_EQ(decoded(framed_request).validate(secret), RadiusPacketValRes());
}

TEST(Rfc2865FramedAccept, CarriesTheResponseAuthenticatorOfTheFormula) {
    EXPECT_EQ(response_authenticator(framed_accept, framed_request), digits(framed_accept).substr(8, 32));
}

TEST(Rfc2865FramedAccept, IsEncoded) {
    RadiusPacket packet = reply_to(framed_request, ACCESS_ACCEPT);
    packet.add_attribute("Service-Type", "Framed-User");
    packet.add_attribute("Framed-Protocol", "PPP");
    packet.add_attribute("Framed-IP-Address", "255.255.255.254");
    packet.add_attribute("Framed-Routing", "Listen");
    packet.add_attribute("Framed-Compression", "1");
    packet.add_attribute("Framed-MTU", "1500");
    EXPECT_EQ(encoded(packet), digits(framed_accept));
}

TEST(Rfc2865FramedAccept, IsDecoded) {
    EXPECT_EQ(texts(decoded(framed_accept)),
              (Lines{"Service-Type = 2", "Framed-Protocol = 1", "Framed-IP-Address = 255.255.255.254",
                     "Framed-Routing = 2", "Framed-Compression = 1", "Framed-MTU = 1500"}));
}

TEST(Rfc2865FramedAccept, IsEncodedAgainToTheSameBytes) {
    EXPECT_EQ(encoded(decoded(framed_accept, framed_request)), digits(framed_accept));
}

TEST(Rfc2865FramedAccept, PassesValidation) {
    EXPECT_EQ(decoded(framed_accept, framed_request).validate(secret), RadiusPacketValRes());
}

TEST(Rfc2865CardExchange, RequestIsEncodedAndDecoded) {
    RadiusPacket packet = request_like(card_request);
    packet.add_attribute("User-Name", "mopsy");
    packet.add_attribute("User-Password", "challenge");
    packet.add_attribute("NAS-IP-Address", "192.168.1.16");
    packet.add_attribute("NAS-Port", "7");
    EXPECT_EQ(encoded(packet), digits(card_request));
    EXPECT_EQ(texts(decoded(card_request)), (Lines{"User-Name = mopsy", "User-Password = challenge",
                                                   "NAS-IP-Address = 192.168.1.16", "NAS-Port = 7"}));
}

TEST(Rfc2865CardExchange, ChallengeIsEncodedDecodedAndValid) {
    RadiusPacket packet = reply_to(card_request, ACCESS_CHALLENGE);
    packet.add_attribute("Reply-Message", "Challenge 32769430.  Enter response at prompt.");
    packet.add_attribute("State", "32769430");
    EXPECT_EQ(encoded(packet), digits(card_challenge));
    EXPECT_EQ(response_authenticator(card_challenge, card_request), digits(card_challenge).substr(8, 32));

    const RadiusPacket received = decoded(card_challenge, card_request);
    EXPECT_EQ(texts(received),
              (Lines{"Reply-Message = Challenge 32769430.  Enter response at prompt.", "State = 32769430"}));
    EXPECT_EQ(received.validate(secret), RadiusPacketValRes());
}

TEST(Rfc2865CardExchange, AnswerIsEncodedAndDecoded) {
    RadiusPacket packet = request_like(card_answer);
    packet.add_attribute("User-Name", "mopsy");
    packet.add_attribute("User-Password", "99101462");
    packet.add_attribute("NAS-IP-Address", "192.168.1.16");
    packet.add_attribute("NAS-Port", "7");
    packet.add_attribute("State", "32769430");
    EXPECT_EQ(encoded(packet), digits(card_answer));
    EXPECT_EQ(encoded(decoded(card_answer)), digits(card_answer));
}

TEST(Rfc2865CardExchange, RejectIsEncodedDecodedAndValid) {
    EXPECT_EQ(encoded(reply_to(card_answer, ACCESS_REJECT)), digits(card_reject));
    EXPECT_EQ(response_authenticator(card_reject, card_answer), digits(card_reject).substr(8, 32));
    const RadiusPacket received = decoded(card_reject, card_answer);
    EXPECT_EQ(received.code, ACCESS_REJECT);
    EXPECT_TRUE(received.attributes().empty());
    EXPECT_EQ(received.validate(secret), RadiusPacketValRes());
}

}  // namespace
}  // namespace quarn::subscriber::radius
