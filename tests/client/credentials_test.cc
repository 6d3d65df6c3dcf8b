#include "quarn/client/credentials.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "quarn/radius/auth.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"

namespace quarn::client {

void PrintTo(const MsChapError& error, std::ostream* out) {
    *out << "E=" << (error.code ? std::to_string(*error.code) : "-")
         << " R=" << (error.retry_allowed ? std::to_string(*error.retry_allowed) : "-")
         << " V=" << (error.version ? std::to_string(*error.version) : "-") << " C=" << error.challenge
         << " M=" << error.message;
}

namespace {

using subscriber::radius::RadiusPacket;
using test::hex;
using test::to_hex;
using utils::as_bytes;
using utils::Bytes;

RadiusPacket access_request() {
    return test::new_packet(test::shipped_dictionary(), 1);
}

Bytes value_of(const RadiusPacket& packet, std::string_view name) {
    const auto* const attribute = packet.find_attribute(name);
    return attribute == nullptr || attribute->values.empty() ? Bytes() : attribute->values[0].data;
}

std::array<std::uint8_t, 16> sixteen(std::string_view digits) {
    return test::authenticator_from(digits);
}

TEST(CredentialMethods, HaveTheirWords) {
    std::vector<std::string_view> words;
    for (const CredentialMethodRow& row : credential_methods()) {
        words.push_back(row.word);
        EXPECT_EQ(credential_method_from_word(row.word), row.method);
    }
    EXPECT_EQ(words, (std::vector<std::string_view>{"pap", "chap", "mschap", "mschapv2"}));
    EXPECT_EQ(credential_method_from_word("PAP"), std::nullopt);
}

TEST(AddCredentials, AddsAPasswordInClear) {
    RadiusPacket packet = access_request();
    const auto added = add_credentials(packet, CredentialMethod::Pap, "bob", "hello");
    ASSERT_TRUE(added);
    EXPECT_EQ(added->mschapv2, std::nullopt);
    EXPECT_EQ(test::listing(packet), (test::Lines{"User-Name (1) 626f62", "User-Password (2) 68656c6c6f"}));
}

TEST(AddCredentials, KeepsAUserNameThatIsThere) {
    RadiusPacket packet = access_request();
    packet.set_attribute("User-Name", "outer");
    ASSERT_TRUE(add_credentials(packet, CredentialMethod::Pap, "bob", "hello"));
    EXPECT_EQ(utils::to_text(value_of(packet, "User-Name")), "outer");
    RadiusPacket nameless = access_request();
    ASSERT_TRUE(add_credentials(nameless, CredentialMethod::Pap, "", "hello"));
    EXPECT_EQ(nameless.find_attribute("User-Name"), nullptr);
}

TEST(AddCredentials, AnswersTheRequestAuthenticatorByChap) {
    RadiusPacket packet = access_request();
    ASSERT_TRUE(add_credentials(packet, CredentialMethod::Chap, "bob", "hello"));
    EXPECT_EQ(utils::to_text(value_of(packet, "CHAP-Password")),
              subscriber::radius::auth::chap_password(7, "hello", utils::as_text(test::test_authenticator)));
}

TEST(AddCredentials, AnswersARandomChallengeByMsChap) {
    RadiusPacket packet = access_request();
    ASSERT_TRUE(add_credentials(packet, CredentialMethod::MsChap, "bob", "hello"));
    const Bytes challenge = value_of(packet, "MS-CHAP-Challenge");
    ASSERT_EQ(challenge.size(), 8U);
    subscriber::radius::auth::MsChapChallenge as_array{};
    std::copy(challenge.begin(), challenge.end(), as_array.begin());
    EXPECT_EQ(utils::to_text(value_of(packet, "MS-CHAP-Response")),
              subscriber::radius::auth::mschap_response(7, "hello", as_array));
}

TEST(AddCredentials, TellsWhatTheServerOwesForMsChapV2) {
    RadiusPacket packet = access_request();
    const auto added = add_credentials(packet, CredentialMethod::MsChapV2, "bob", "hello");
    ASSERT_TRUE(added && added->mschapv2);
    const Bytes challenge = value_of(packet, "MS-CHAP-Challenge");
    const Bytes response = value_of(packet, "MS-CHAP2-Response");
    ASSERT_EQ(challenge.size(), 16U);
    ASSERT_EQ(response.size(), 50U);
    EXPECT_EQ(*added->mschapv2, mschapv2_proof(7, "bob", "hello", sixteen(to_hex(challenge)),
                                               sixteen(test::hex_part(response, 2, 16))));
}

TEST(AddCredentials, NeedsTheAttributesInTheDictionary) {
    RadiusPacket packet =
        test::new_packet(test::dictionary_from("attributes: {User-Name: {code: 1, type: string}}"), 1);
    const auto added = add_credentials(packet, CredentialMethod::Chap, "bob", "hello");
    ASSERT_FALSE(added);
    EXPECT_EQ(added.error(), CredentialError::UnknownAttribute);
    EXPECT_EQ(test::listing(packet), test::Lines()) << "the packet is unchanged";
    EXPECT_EQ(credential_error_text(CredentialError::UnknownAttribute),
              "the dictionary lacks an attribute that the method needs");
    EXPECT_EQ(credential_error_text(CredentialError::NoLegacyProvider),
              "OpenSSL's legacy provider (MD4, DES) is not available");
}

// RFC 2759, section 9.2.
MsChapV2Proof rfc2759_proof() {
    EXPECT_TRUE(subscriber::radius::auth::load_mschap_algorithms());
    return mschapv2_proof(9, "User", "clientPass", sixteen("5B5D7C7D7B3F2F3E3C2C602132262628"),
                          sixteen("21402324255E262A28295F2B3A337C7E"));
}
constexpr std::string_view rfc2759_success = "S=407A5589115FD0D6209F510FE9C04566932CDA56";

Bytes success_value(std::string_view text, std::uint8_t identifier = 9) {
    Bytes value = {identifier};
    value.insert(value.end(), text.begin(), text.end());
    return value;
}

TEST(MsChapV2Proof, IsTheOneOfTheRfc) {
    EXPECT_EQ(to_hex(rfc2759_proof().authenticator_response), "407a5589115fd0d6209f510fe9c04566932cda56");
}

TEST(MsChapV2Proof, IsTheOneThatAnotherImplementationComputes) {
    EXPECT_TRUE(subscriber::radius::auth::load_mschap_algorithms());
    EXPECT_EQ(to_hex(mschapv2_proof(1, "bob", "hello", sixteen("2d7f16b16b2009c9e790f95d5a475998"),
                                    sixteen("1bab0737f16142b53da8f594753a3c61"))
                         .authenticator_response),
              "68d48a3077c0ff170b9863e1ba362921f68c96dd");
}

TEST(MsChap2Success, FitsTheProof) {
    const MsChapV2Proof proof = rfc2759_proof();
    EXPECT_TRUE(mschap2_success_fits(success_value(rfc2759_success), proof));
    EXPECT_TRUE(mschap2_success_fits(success_value(std::string(rfc2759_success) + " M=welcome"), proof));
    EXPECT_TRUE(mschap2_success_fits(success_value("S=407a5589115fd0d6209f510fe9c04566932cda56"), proof));
}

TEST(MsChap2Success, FitsNothingElse) {
    const MsChapV2Proof proof = rfc2759_proof();
    EXPECT_FALSE(mschap2_success_fits({}, proof));
    EXPECT_FALSE(mschap2_success_fits(success_value(rfc2759_success, 8), proof));
    EXPECT_FALSE(mschap2_success_fits(success_value(rfc2759_success.substr(0, 41)), proof));
    EXPECT_FALSE(mschap2_success_fits(success_value("S=407A5589115FD0D6209F510FE9C04566932CDA57"), proof));
    EXPECT_FALSE(mschap2_success_fits(success_value("S=407A5589115FD0D6209F510FE9C04566932CDA5G"), proof));
    EXPECT_FALSE(mschap2_success_fits(success_value("T=407A5589115FD0D6209F510FE9C04566932CDA56"), proof));
}

TEST(ParseMsChapError, ReadsAllFields) {
    EXPECT_EQ(parse_mschap_error(as_bytes("\x07"
                                          "E=691 R=1 C=0123456789ABCDEF V=3 M=Wrong, try again")),
              (MsChapError{691, true, 3, "0123456789ABCDEF", "Wrong, try again"}));
    EXPECT_EQ(parse_mschap_error(as_bytes("E=648 R=0 V=2")), (MsChapError{648, false, 2, "", ""}));
    EXPECT_EQ(parse_mschap_error(as_bytes("EE=647")), (MsChapError{647, {}, {}, "", ""}))
        << "the identifier may be a letter";
}

TEST(ParseMsChapError, LeavesOutWhatItCannotRead) {
    EXPECT_EQ(parse_mschap_error({}), MsChapError());
    EXPECT_EQ(parse_mschap_error(as_bytes("\x07")), MsChapError());
    EXPECT_EQ(parse_mschap_error(as_bytes("\x07 E= R=2 X=1 V=x junk E=99999999999")), MsChapError());
}

TEST(MsChapErrorExplanation, KnowsTheCodesOfTheRfcs) {
    EXPECT_EQ(mschap_error_explanation(691),
              "Authentication failure: the user name or the password is wrong.");
    EXPECT_EQ(mschap_error_explanation(648), "The password has expired.");
    for (const std::uint32_t code : {646U, 647U, 649U, 709U}) {
        EXPECT_NE(mschap_error_explanation(code), "") << code;
    }
    EXPECT_EQ(mschap_error_explanation(1), "");
}

}  // namespace
}  // namespace quarn::client
