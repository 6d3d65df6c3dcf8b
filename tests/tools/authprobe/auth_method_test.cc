#include "authprobe/auth_method.h"

#include <gtest/gtest.h>
#include <openssl/provider.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "authprobe/client_error.h"
#include "quarn/radius/auth.h"
#include "quarn/utils/bytes.h"
#include "testing/dictionaries.h"
#include "testing/hex.h"

namespace quarn::authprobe {
namespace {

namespace auth = subscriber::radius::auth;

using subscriber::radius::RadiusAttribute;
using subscriber::radius::RadiusPacket;

/// The settings of "--username bob -t <method> --password <password>".
ClientSettings settings_of(std::string method, std::string password = "hello") {
    ClientSettings settings;
    settings.username = "bob";
    settings.auth_type = std::move(method);
    settings.password = std::move(password);
    settings.password_given = true;
    return settings;
}

/// A request, with an Identifier and an Authenticator, to which the method has added its credential.
RadiusPacket credential_of(const std::string& method, const std::string& password = "hello") {
    RadiusPacket request(test::shipped_dictionary());
    request.identifier = 0x2a;
    request.authenticator = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    find_auth_method(method)->add_credential(request, settings_of(method, password));
    return request;
}

/// Names and first values of the attributes, in order. Each has to have one value.
std::vector<std::pair<std::string, utils::Bytes>> content_of(const RadiusPacket& packet) {
    std::vector<std::pair<std::string, utils::Bytes>> content;
    for (const RadiusAttribute* const attribute : packet.attributes()) {
        EXPECT_EQ(attribute->values.size(), 1U);
        content.emplace_back(attribute->display_name(), attribute->values.at(0).data);
    }
    return content;
}

void prepare(const std::string& method) {
    prepare_auth_method(settings_of(method));
}

template <std::size_t Size>
std::array<std::uint8_t, Size> array_of(const utils::Bytes& bytes, std::size_t offset = 0) {
    std::array<std::uint8_t, Size> array{};
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), Size, array.begin());
    return array;
}

TEST(AuthMethod, IsOneOfFour) {
    for (const std::string name : {"pap", "chap", "mschap", "mschapv2"}) {
        const AuthMethod* const method = find_auth_method(name);
        ASSERT_NE(method, nullptr) << name;
        EXPECT_EQ(method->name, name);
        EXPECT_EQ(method->needs_legacy_provider, name.starts_with("ms"));
    }
}

TEST(AuthMethod, IsFoundByItsExactName) {
    for (const std::string name : {"", "PAP", "Chap", "MSCHAP", "mschapV2", "mschapv1", "pap ", "eap"}) {
        EXPECT_EQ(find_auth_method(name), nullptr) << name;
    }
}

TEST(AuthMethod, IsCheckedOnlyWithAPassword) {
    ClientSettings without_password;
    without_password.auth_type = "foo";
    EXPECT_NO_THROW(prepare_auth_method(without_password));
    for (const std::string name : {"foo", "MSCHAP", ""}) {
        try {
            prepare(name);
            FAIL() << "accepted " << name;
        } catch (const ClientError& error) {
            EXPECT_EQ(error.what(),
                      "authprobe: unknown auth type \"" + name + "\" (pap, chap, mschap, mschapv2)\n");
        }
    }
}

TEST(AuthMethod, IsCheckedWithAnEmptyPasswordToo) {
    EXPECT_THROW(prepare_auth_method(settings_of("foo", "")), ClientError);
}

// What a process has loaded stays loaded: these three look at a process of their own, and exit.

/// Prepares the method and tells, by the exit status, which providers are there then.
[[noreturn]] void exit_telling_providers(const std::string& method) {
    prepare(method);
    const int loaded = (OSSL_PROVIDER_available(nullptr, "legacy") == 1 ? 1 : 0) +
                       (OSSL_PROVIDER_available(nullptr, "default") == 1 ? 2 : 0);
    std::exit(loaded);
}

TEST(AuthMethodDeathTest, LoadsTheLegacyProviderForMschapOnly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exit_telling_providers("pap"), testing::ExitedWithCode(2), "^$");
    EXPECT_EXIT(exit_telling_providers("chap"), testing::ExitedWithCode(2), "^$");
    EXPECT_EXIT(exit_telling_providers("mschap"), testing::ExitedWithCode(3), "^$");
    EXPECT_EXIT(exit_telling_providers("mschapv2"), testing::ExitedWithCode(3), "^$");
}

/// Prepares the method in a process that cannot find the provider; prints what is said of that.
[[noreturn]] void exit_without_provider(const std::string& method) {
    OSSL_PROVIDER_set_default_search_path(nullptr, "/nonexistent");
    try {
        prepare(method);
    } catch (const ClientError& error) {
        static_cast<void>(std::fputs(error.what(), stderr));
        std::exit(1);
    }
    std::exit(0);
}

TEST(AuthMethodDeathTest, TellsThatTheLegacyProviderIsMissing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(exit_without_provider("mschap"), testing::ExitedWithCode(1),
                "^authprobe: OpenSSL legacy provider \\(MD4/DES\\) not available; cannot do mschap\n$");
    EXPECT_EXIT(exit_without_provider("mschapv2"), testing::ExitedWithCode(1),
                "^authprobe: OpenSSL legacy provider \\(MD4/DES\\) not available; cannot do mschapv2\n$");
    EXPECT_EXIT(exit_without_provider("pap"), testing::ExitedWithCode(0), "^$");
    EXPECT_EXIT(exit_without_provider("chap"), testing::ExitedWithCode(0), "^$");
}

TEST(Pap, SendsThePasswordForTheEncoderToHide) {
    const RadiusPacket request = credential_of("pap");
    const std::vector<std::pair<std::string, utils::Bytes>> expected = {
        {"User-Password", utils::to_bytes("hello")}};
    EXPECT_EQ(content_of(request), expected);
}

TEST(Pap, SendsAnEmptyPassword) {
    const RadiusPacket request = credential_of("pap", "");
    const std::vector<std::pair<std::string, utils::Bytes>> expected = {{"User-Password", {}}};
    EXPECT_EQ(content_of(request), expected);
}

TEST(Chap, ProvesThePasswordOverTheRequestAuthenticator) {
    const RadiusPacket request = credential_of("chap");
    // The Identifier, and MD5 of the bytes 2a, "hello" and 00 to 0f.
    const std::vector<std::pair<std::string, utils::Bytes>> expected = {
        {"CHAP-Password", test::hex("2a f46e1cbac32be73c8ab9790e28cbb1e4")}};
    EXPECT_EQ(content_of(request), expected);
}

TEST(Mschap, SendsAChallengeOf8BytesAndItsResponse) {
    prepare("mschap");
    const RadiusPacket request = credential_of("mschap");
    const auto content = content_of(request);
    ASSERT_EQ(content.size(), 2U);
    EXPECT_EQ(content[0].first, "MS-CHAP-Challenge");
    ASSERT_EQ(content[0].second.size(), 8U);
    EXPECT_EQ(content[1].first, "MS-CHAP-Response");
    EXPECT_EQ(utils::to_text(content[1].second),
              auth::mschap_response(0x2a, "hello", array_of<8>(content[0].second)));
}

TEST(Mschapv2, SendsAChallengeOf16BytesAndTheResponseWithAChallengeOfItsOwn) {
    prepare("mschapv2");
    const RadiusPacket request = credential_of("mschapv2");
    const auto content = content_of(request);
    ASSERT_EQ(content.size(), 2U);
    EXPECT_EQ(content[0].first, "MS-CHAP-Challenge");
    ASSERT_EQ(content[0].second.size(), 16U);
    EXPECT_EQ(content[1].first, "MS-CHAP2-Response");
    ASSERT_EQ(content[1].second.size(), 50U);
    const auto challenge = array_of<16>(content[0].second);
    const auto peer_challenge = array_of<16>(content[1].second, 2);
    EXPECT_NE(challenge, peer_challenge);
    EXPECT_EQ(utils::to_text(content[1].second),
              auth::mschapv2_response(0x2a, "bob", "hello", challenge, peer_challenge));
}

TEST(Mschapv2, DrawsNewChallengesEachTime) {
    prepare("mschapv2");
    const auto first = content_of(credential_of("mschapv2"));
    const auto second = content_of(credential_of("mschapv2"));
    EXPECT_NE(first[0].second, second[0].second);
    EXPECT_NE(array_of<16>(first[1].second, 2), array_of<16>(second[1].second, 2));
}

}  // namespace
}  // namespace quarn::authprobe
