#include "quarn/radius/auth.h"

#include <gtest/gtest.h>
#include <openssl/provider.h>

#include "testing/packets.h"

namespace quarn::subscriber::radius::auth {
namespace {

using test::digits;
using test::hex;
using test::to_hex;
using utils::as_bytes;

template <std::size_t size>
std::array<std::uint8_t, size> array_from(std::string_view text) {
    const Bytes bytes = hex(text);
    EXPECT_EQ(bytes.size(), size);
    std::array<std::uint8_t, size> result{};
    std::copy_n(bytes.begin(), size, result.begin());
    return result;
}

std::string show(const std::string& value) {
    return to_hex(as_bytes(value));
}

/// MD4 and DES, which OpenSSL keeps in its legacy provider, are there for these tests and gone after them.
class MsChap : public testing::Test {
  protected:
    void SetUp() override {
        // The default provider goes on being loaded by itself, also when this one is gone.
        constexpr int keep_default = 1;
        legacy_ = OSSL_PROVIDER_try_load(nullptr, "legacy", keep_default);
        ASSERT_NE(legacy_, nullptr);
    }

    void TearDown() override {
        if (legacy_ != nullptr) {
            OSSL_PROVIDER_unload(legacy_);
        }
    }

  private:
    OSSL_PROVIDER* legacy_ = nullptr;
};

// RFC 2433, appendix B.
constexpr std::string_view rfc2433_password = "MyPw";
constexpr std::string_view rfc2433_challenge = "10 2D B5 DF 08 5D 30 41";
constexpr std::string_view rfc2433_hash = "FC 15 6A F7 ED CD 6C 0E DD E3 33 7D 42 7F 4E AC";
constexpr std::string_view rfc2433_response =
    "4E 9D 3C 8F 9C FD 38 5D 5B F4 D3 24 67 91 95 6C A4 C3 51 AB 40 9A 3D 61";

// RFC 2759, section 9.2.
constexpr std::string_view rfc2759_user_name = "User";
constexpr std::string_view rfc2759_password = "clientPass";
constexpr std::string_view rfc2759_authenticator_challenge =
    "5B 5D 7C 7D 7B 3F 2F 3E 3C 2C 60 21 32 26 26 28";
constexpr std::string_view rfc2759_peer_challenge = "21 40 23 24 25 5E 26 2A 28 29 5F 2B 3A 33 7C 7E";
constexpr std::string_view rfc2759_challenge_hash = "D0 2E 43 86 BC E9 12 26";
constexpr std::string_view rfc2759_hash = "44 EB BA 8D 53 12 B8 D6 11 47 44 11 F5 69 89 AE";
constexpr std::string_view rfc2759_response =
    "82 30 9E CD 8D 70 8B 5E A0 8F AA 39 81 CD 83 54 42 33 11 4A 3D 85 D6 DF";

std::string rfc2759_value(std::uint8_t identifier, std::string_view user_name = rfc2759_user_name) {
    return mschapv2_response(identifier, user_name, rfc2759_password,
                             array_from<16>(rfc2759_authenticator_challenge),
                             array_from<16>(rfc2759_peer_challenge));
}

TEST(ChapPassword, IsTheOneOfRfc2865) {
    const Bytes challenge = hex("2a ee 86 f0 8d 0d 55 96 9c a5 97 8e 0d 33 67 a2");
    EXPECT_EQ(show(chap_password(0x16, "arctangent", utils::as_text(challenge))),
              digits("16 e9 75 57 c3 16 18 58 95 f2 93 ff 63 44 07 72 75"));
}

TEST(ChapPassword, IsTheIdentifierAndTheDigestOfIdentifierPasswordAndChallenge) {
    const Bytes challenge = hex("00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f");
    const std::string value = chap_password(0x2a, "arctangent", utils::as_text(challenge));
    EXPECT_EQ(value.size(), 17U);
    EXPECT_EQ(show(value), "2a7e3fd094194e86a2d8d900c195505549");
}

TEST(ChapPassword, TakesAnEmptyPasswordAndAnEmptyChallenge) {
    EXPECT_EQ(show(chap_password(0, "", "")), "0093b885adfe0da089cdf634904fd59f71");
}

TEST(ChapPassword, TakesThePasswordByteByByteAndAChallengeOfAnyLength) {
    EXPECT_EQ(show(chap_password(0xff, "p\xc3\xa4ssw\xc3\xb6rd", "12345")),
              "ff2288eb5b20dd2e45fc77f68e40f383f8");
}

TEST_F(MsChap, HashesThePasswordOfRfc2433) {
    EXPECT_EQ(to_hex(nt_password_hash(rfc2433_password)), digits(rfc2433_hash));
}

TEST_F(MsChap, HashesThePasswordOfRfc2759) {
    EXPECT_EQ(to_hex(nt_password_hash(rfc2759_password)), digits(rfc2759_hash));
}

TEST_F(MsChap, HashesAnEmptyPasswordToTheDigestOfNothing) {
    EXPECT_EQ(to_hex(nt_password_hash("")), "31d6cfe0d16ae931b73c59d7e0c089c0");
}

TEST_F(MsChap, WidensAUtf8PasswordByteByByte) {
    // MD4 of c3 00 a9 00, and not that of e9 00, which is the same letter in UTF-16LE.
    EXPECT_EQ(to_hex(nt_password_hash("\xc3\xa9")), "08eb94a3771213775172fc988504a4c1");
    EXPECT_EQ(to_hex(nt_password_hash("\xe9")), "e77286d072c7858e9110cc3a011d2ac8");
}

TEST_F(MsChap, AnswersTheChallengeOfRfc2433) {
    EXPECT_EQ(to_hex(challenge_response(array_from<8>(rfc2433_challenge), array_from<16>(rfc2433_hash))),
              digits(rfc2433_response));
}

TEST_F(MsChap, AnswersTheChallengeOfRfc2759) {
    EXPECT_EQ(to_hex(challenge_response(array_from<8>(rfc2759_challenge_hash), array_from<16>(rfc2759_hash))),
              digits(rfc2759_response));
}

TEST_F(MsChap, EncryptsTheChallengeWithEachOfThreeKeysCutFromTheHash) {
    // Two zero bytes of the hash and five of filling: the third key is all zero whatever comes before.
    const std::string response =
        to_hex(challenge_response(array_from<8>("00 00 00 00 00 00 00 00"),
                                  array_from<16>("ff ff ff ff ff ff ff 01 02 03 04 05 06 07 00 00")));
    EXPECT_EQ(response,
              "caaaaf4deaf1dbae"
              "37a63689c4baa728"
              "8ca64de9c1b123a7");
}

TEST_F(MsChap, ResponseHoldsIdentifierFlagAndNtResponse) {
    EXPECT_EQ(show(mschap_response(0x2a, rfc2433_password, array_from<8>(rfc2433_challenge))),
              "2a01" + test::repeat("00", 24) + digits(rfc2433_response));
}

TEST_F(MsChap, ResponseOfAnyIdentifierAndPasswordHasNoLanManagerResponse) {
    for (const std::uint8_t identifier : Bytes{0, 1, 127, 128, 255}) {
        for (const std::string_view password : {"", "a", "a longer password than fourteen bytes"}) {
            const std::string value = mschap_response(identifier, password, array_from<8>(rfc2433_challenge));
            ASSERT_EQ(value.size(), 50U);
            EXPECT_EQ(static_cast<std::uint8_t>(value[0]), identifier);
            EXPECT_EQ(value[1], 1);
            EXPECT_EQ(value.substr(2, 24), std::string(24, '\0'));
            EXPECT_EQ(show(value.substr(26)), to_hex(challenge_response(array_from<8>(rfc2433_challenge),
                                                                        nt_password_hash(password))));
        }
    }
}

TEST_F(MsChap, Version2ResponseIsTheOneOfRfc2759) {
    EXPECT_EQ(show(rfc2759_value(0x2a)),
              "2a00" + digits(rfc2759_peer_challenge) + test::repeat("00", 8) + digits(rfc2759_response));
}

TEST_F(MsChap, Version2ResponseHoldsTheIdentifier) {
    EXPECT_EQ(show(rfc2759_value(0x00)).substr(0, 4), "0000");
    EXPECT_EQ(show(rfc2759_value(0xff)).substr(0, 4), "ff00");
    EXPECT_EQ(rfc2759_value(0x00).substr(1), rfc2759_value(0xff).substr(1));
}

TEST_F(MsChap, Version2ResponseDependsOnTheWholeUserNameAsGiven) {
    EXPECT_NE(rfc2759_value(1, "user"), rfc2759_value(1, "User"));
    EXPECT_NE(rfc2759_value(1, "DOMAIN\\User"), rfc2759_value(1, "User"));
    EXPECT_NE(rfc2759_value(1, " User"), rfc2759_value(1, "User"));
}

TEST_F(MsChap, Version2ResponseWithoutAUserNameDigestsTheTwoChallengesAlone) {
    // The first eight bytes of SHA-1 of peer challenge and authenticator challenge.
    const MsChapChallenge challenge = array_from<8>("149dfaabb39d5210");
    EXPECT_EQ(show(rfc2759_value(1, "").substr(26)),
              to_hex(challenge_response(challenge, array_from<16>(rfc2759_hash))));
}

TEST_F(MsChap, Version2ServersProofIsTheOneOfRfc2759) {
    // RFC 2759, section 9.2.
    EXPECT_EQ(to_hex(mschapv2_authenticator_response(rfc2759_user_name, rfc2759_password,
                                                     array_from<16>(rfc2759_authenticator_challenge),
                                                     array_from<16>(rfc2759_peer_challenge))),
              "407a5589115fd0d6209f510fe9c04566932cda56");
}

TEST(MsChapWithoutTheLegacyProvider, HasZeroBytesWhereMd4AndDesAreMissing) {
    EXPECT_EQ(to_hex(nt_password_hash("MyPw")), test::repeat("00", 16));
    EXPECT_EQ(to_hex(challenge_response(array_from<8>(rfc2433_challenge), array_from<16>(rfc2433_hash))),
              test::repeat("00", 24));
    EXPECT_EQ(show(mschap_response(0x2a, rfc2433_password, array_from<8>(rfc2433_challenge))),
              "2a01" + test::repeat("00", 48));
    EXPECT_EQ(show(rfc2759_value(0x2a)), "2a00" + digits(rfc2759_peer_challenge) + test::repeat("00", 32));
}

}  // namespace
}  // namespace quarn::subscriber::radius::auth
