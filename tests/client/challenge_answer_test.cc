#include "quarn/client/challenge_answer.h"

#include <gtest/gtest.h>

#include "client/transcript.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/wire.h"

namespace quarn::client {
namespace {

using test::Lines;

TEST(ChallengeAnswer, CarriesStateOnAndReplacesTheCredential) {
    namespace radius = subscriber::radius;
    radius::RadiusPacket packet = test::new_packet(test::shipped_dictionary(), 1);
    packet.set_attribute("User-Name", "bob");
    packet.set_attribute("CHAP-Password", "0x00112233445566778899aabbccddeeff00");
    packet.set_attribute("State", "old");
    packet.set_attribute("NAS-Port", 3);
    radius::RadiusPacket challenge = test::new_packet(test::shipped_dictionary(), 11);
    challenge.set_attribute("Reply-Message", "code?");
    test::add_value(challenge, "State", {1, 2, 3});
    challenge_answer(packet, challenge, "123456");
    EXPECT_EQ(test::listing(packet), (Lines{"User-Name (1) 626f62", "NAS-Port (5) 00000003",
                                            "State (24) 010203", "User-Password (2) 313233343536"}));
    EXPECT_EQ(packet.identifier, 8);
    EXPECT_NE(packet.authenticator, test::test_authenticator);
}

TEST(ChallengeAnswer, LeavesStateOutWhenTheChallengeHasNone) {
    namespace radius = subscriber::radius;
    radius::RadiusPacket packet = test::new_packet(test::shipped_dictionary(), 1);
    packet.identifier = 255;
    packet.set_attribute("State", "old");
    challenge_answer(packet, test::new_packet(test::shipped_dictionary(), 11), "");
    EXPECT_EQ(test::listing(packet), (Lines{"User-Password (2) -"}));
    EXPECT_EQ(packet.identifier, 0);
}

}  // namespace
}  // namespace quarn::client
