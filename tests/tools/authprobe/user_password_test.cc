#include "authprobe/user_password.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "quarn/radius/hiding.h"
#include "quarn/utils/bytes.h"
#include "testing/dictionaries.h"

namespace quarn::authprobe {
namespace {

using subscriber::radius::Authenticator;
using subscriber::radius::RadiusPacket;
using subscriber::radius::RadiusValue;
using utils::Bytes;

constexpr Authenticator request_authenticator = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};

RadiusPacket packet_with(const std::string& type, Bytes data) {
    RadiusPacket packet(
        test::dictionary_from("attributes: {User-Password: {code: 2, type: " + type + ", encrypt: 1}}"));
    packet.request_authenticator = request_authenticator;
    packet.add_attribute("user-password", "");
    packet.attribute_order.front()->values.front().data = std::move(data);
    return packet;
}

const RadiusValue& password_of(const RadiusPacket& packet) {
    return packet.attribute_order.front()->values.front();
}

TEST(RevealUserPassword, TakesTheRequestsAuthenticator) {
    const Bytes hidden = subscriber::radius::encrypt_user_password(utils::to_bytes("open sesame"), "secret",
                                                                   request_authenticator);
    RadiusPacket reply = packet_with("text", hidden);
    reveal_user_password(reply, "secret");
    EXPECT_EQ(password_of(reply).as_string(), "open sesame");
}

TEST(RevealUserPassword, ForgetsTheTextOfTheHiddenBytes) {
    const Bytes hidden = subscriber::radius::encrypt_user_password(utils::to_bytes("open sesame"), "secret",
                                                                   request_authenticator);
    RadiusPacket reply = packet_with("text", hidden);
    const std::string before = password_of(reply).as_string();
    reveal_user_password(reply, "secret");
    EXPECT_NE(password_of(reply).as_string(), before);
}

TEST(RevealUserPassword, LeavesWhatIsNotHidden) {
    for (const Bytes& bytes : {Bytes(), Bytes(15, 7), Bytes(17, 7)}) {
        RadiusPacket reply = packet_with("text", bytes);
        reveal_user_password(reply, "secret");
        EXPECT_EQ(password_of(reply).data, bytes);
    }
    RadiusPacket without(test::dictionary_from("attributes: {User-Password: {code: 2}}"));
    reveal_user_password(without, "secret");
    EXPECT_TRUE(without.attribute_map.empty());
}

TEST(WipeUserPassword, OverwritesTheBytesAndForgetsTheirText) {
    RadiusPacket packet = packet_with("text", utils::to_bytes("open sesame"));
    EXPECT_EQ(password_of(packet).as_string(), "open sesame");
    ASSERT_TRUE(password_of(packet).string_cache);

    wipe_user_password(packet);
    EXPECT_EQ(password_of(packet).data, Bytes(11, 0));
    EXPECT_FALSE(password_of(packet).string_cache);
}

TEST(WipeUserPassword, LeavesAPacketWithoutOne) {
    RadiusPacket packet(test::dictionary_from("attributes: {User-Name: {code: 1, type: text}}"));
    packet.add_attribute("User-Name", "bob");
    wipe_user_password(packet);
    EXPECT_EQ(packet.attribute_order.front()->values.front().as_string(), "bob");
}

TEST(WipedUserPassword, IsWipedHoweverItsScopeIsLeft) {
    RadiusPacket packet = packet_with("text", utils::to_bytes("open sesame"));
    try {
        const WipedUserPassword wiped(packet);
        EXPECT_EQ(password_of(packet).as_string(), "open sesame");
        throw std::runtime_error("left");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(password_of(packet).data, Bytes(11));
}

TEST(WipedUserPassword, StaysWhereItWasMoved) {
    RadiusPacket packet = packet_with("text", utils::to_bytes("open sesame"));
    std::optional<RadiusPacket> moved;
    {
        const WipedUserPassword wiped(packet);
        moved = std::move(packet);
    }
    EXPECT_EQ(password_of(*moved).as_string(), "open sesame");
}

// A value of 24 bytes is not hidden: what is hidden comes in blocks of 16 (RFC 2865, section 5.2).
TEST(RevealUserPassword, LeavesAlonePartsOfABlock) {
    for (const std::size_t size : {1U, 8U, 15U, 17U, 24U, 31U, 40U}) {
        const Bytes bytes(size, 7);
        RadiusPacket reply = packet_with("text", bytes);
        reveal_user_password(reply, "secret");
        EXPECT_EQ(password_of(reply).data, bytes);
    }
}

}  // namespace
}  // namespace quarn::authprobe
