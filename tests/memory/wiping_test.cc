// Secrets do not stay behind in memory that is given back.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "authprobe/access_request.h"
#include "authprobe/auth_method.h"
#include "authprobe/options.h"
#include "authprobe/user_password.h"
#include "crypto/digest.h"
#include "quarn/radius/auth.h"
#include "quarn/radius/hiding.h"
#include "quarn/radius/packet.h"
#include "quarn/utils/secret.h"
#include "quarn/utils/text.h"
#include "testing/codec_dictionary.h"
#include "testing/dictionaries.h"
#include "testing/packets.h"
#include "testing/watched_memory.h"

namespace quarn::test {
namespace {

using utils::Bytes;
using utils::SecretText;
using utils::WipedAtEnd;

namespace radius = subscriber::radius;

// In read-only memory, so that searching for them finds no copy of the test's own.
constexpr std::string_view short_marker = "s3cr3t-";
constexpr std::string_view long_marker = "a marker which is longer than any string that is stored in itself";

/// How many of the blocks held the marker that are freed while the work is done in a thread of its own, at
/// the end of which what is kept per thread is freed, too.
template <typename Work>
std::size_t findings_after(std::string_view marker, Work work) {
    const FreedMemorySearch search(marker);
    std::thread(work).join();
    return search.findings();
}

TEST(FreedMemorySearchTest, FindsWhatIsLeft) {
    // Each copy is looked at, or a compiler might not even make it.
    const auto copy_text = [] {
        const std::string copy(long_marker);
        EXPECT_EQ(copy, long_marker);
    };
    const auto copy_bytes = [] {
        const Bytes copy = utils::to_bytes(short_marker);
        EXPECT_EQ(utils::as_text(copy), short_marker);
    };
    const auto make_another = [] {
        const std::string other(100, 'x');
        EXPECT_NE(other, long_marker);
    };
    EXPECT_EQ(findings_after(long_marker, copy_text), 1U);
    EXPECT_EQ(findings_after(short_marker, copy_bytes), 1U);
    EXPECT_EQ(findings_after(long_marker, make_another), 0U);
}

TEST(WipedAtEndTest, WipesWhenTheScopeIsLeft) {
    std::array<std::uint8_t, 3> key = {1, 2, 3};
    {
        const utils::WipedAtEnd wipe(key);
        EXPECT_EQ(key, (std::array<std::uint8_t, 3>{1, 2, 3}));
    }
    EXPECT_EQ(key, (std::array<std::uint8_t, 3>{}));
}

TEST(WipedAtEndTest, WipesWhenTheScopeIsLeftByAnException) {
    Bytes key = {1, 2, 3};
    try {
        const utils::WipedAtEnd wipe(key);
        throw std::runtime_error("left");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(key, Bytes(3));
}

TEST(WipedAtEndTest, WipesNothingWhereThereIsNothing) {
    Bytes nothing;
    const utils::WipedAtEnd wipe(nothing);
}

TEST(SecretTextTest, IsAText) {
    EXPECT_EQ(utils::SecretText(), "");
    EXPECT_TRUE(utils::SecretText().empty());
    const utils::SecretText text = "text";
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(text, "text");
    EXPECT_EQ(text, std::string("text"));
    EXPECT_EQ(text, utils::SecretText(std::string_view("text")));
    EXPECT_FALSE(text == "texts");
    EXPECT_EQ(std::string_view(text).size(), 4U);
    const std::string with_zero("a\0b", 3);
    EXPECT_EQ(utils::SecretText(with_zero), with_zero);
}

TEST(SecretTextTest, IsCopiedAndMoved) {
    utils::SecretText first = "first";
    const utils::SecretText copy = first;
    EXPECT_EQ(copy, first);
    const utils::SecretText moved = std::move(first);
    EXPECT_EQ(moved, "first");
    first = "second";
    EXPECT_EQ(first, "second");
    EXPECT_EQ(copy, "first");
}

TEST(SecretTextTest, LeavesNothingBehind) {
    for (const std::string_view marker : {short_marker, long_marker}) {
        EXPECT_EQ(findings_after(marker,
                                 [marker] {
                                     utils::SecretText text = marker;
                                     utils::SecretText copy = text;
                                     const utils::SecretText moved = std::move(text);
                                     copy = "another";
                                     copy = marker;
                                     std::vector<utils::SecretText> many(3, copy);
                                     many.resize(1000);
                                 }),
                  0U);
    }
}

TEST(SecretTextTest, KeepsNothingInItself) {
    // Storage of the test's own, which is there to look at when the text is gone.
    alignas(utils::SecretText) std::array<unsigned char, sizeof(utils::SecretText)> storage{};
    auto* const text = new (storage.data()) utils::SecretText(short_marker);
    std::destroy_at(text);
    const std::string_view rest(reinterpret_cast<const char*>(storage.data()), storage.size());
    EXPECT_EQ(rest.find(short_marker), std::string_view::npos);
}

TEST(Wiping, LeavesNoSecretInDigests) {
    EXPECT_EQ(findings_after(long_marker, [] { radius::hmac_md5_spans(long_marker, {}); }), 0U);
    EXPECT_EQ(findings_after(short_marker, [] { radius::hmac_md5_spans(short_marker, {}); }), 0U);
    EXPECT_EQ(findings_after(long_marker, [] { radius::md5_spans({utils::as_bytes(long_marker)}); }), 0U);
}

TEST(Wiping, LeavesNoSecretWhoseContextGaveWayToOthers) {
    for (const std::string_view marker : {short_marker, long_marker}) {
        EXPECT_EQ(findings_after(marker,
                                 [marker] {
                                     radius::hmac_md5_spans(marker, {});
                                     for (std::size_t i = 0; i < radius::max_keyed_contexts; ++i) {
                                         radius::hmac_md5_spans("another " + std::to_string(i), {});
                                     }
                                 }),
                  0U);
    }
}

TEST(Wiping, LeavesNoPasswordInHiddenOrRevealedValues) {
    const auto hide_and_reveal = [] {
        const utils::byte_span password = utils::as_bytes(long_marker);
        const Bytes user = radius::encrypt_user_password(password, "secret", test_authenticator);
        const Bytes tunnel = radius::encrypt_tunnel_password(password, "secret", test_authenticator);
        // What is handed to the caller is the caller's.
        std::string revealed = radius::decrypt_user_password(user, "secret", test_authenticator);
        EXPECT_EQ(revealed, long_marker);
        utils::wipe(revealed);
        revealed = radius::decrypt_tunnel_password(tunnel, "secret", test_authenticator);
        EXPECT_EQ(revealed, long_marker);
        utils::wipe(revealed);
        for (const std::uint32_t encrypt :
             {radius::hidden_as_user_password, radius::hidden_as_tunnel_password}) {
            Bytes leaf = radius::decrypt_leaf(encrypt == radius::hidden_as_user_password ? user : tunnel,
                                              encrypt, "secret", test_authenticator);
            EXPECT_EQ(utils::as_text(leaf), long_marker);
            const utils::WipedAtEnd wipe(leaf);
        }
    };
    EXPECT_EQ(findings_after(long_marker, hide_and_reveal), 0U);
}

TEST(Wiping, LeavesNoPasswordThatIsGivenInHexadecimal) {
    const std::string digits = utils::bytes_to_hex(utils::as_bytes(long_marker).data(), long_marker.size());
    const std::string value = "0x" + digits;
    const auto dictionary = codec_dictionary();
    const auto set_password = [&] {
        radius::RadiusPacket packet(dictionary);
        packet.set_attribute("Hidden-Octets", value);
        // What the packet holds is the caller's.
        Bytes& data = packet.attribute_map.at("Hidden-Octets").values.front().data;
        EXPECT_EQ(utils::as_text(data), long_marker);
        utils::wipe(data);
    };
    EXPECT_EQ(findings_after(long_marker, set_password), 0U);
    EXPECT_EQ(findings_after(digits, set_password), 0U);
}

TEST(Wiping, LeavesNoPasswordThatIsRefused) {
    std::string value;
    while (value.size() < 256) {
        value += long_marker;
    }
    const auto dictionary = shipped_dictionary();
    const auto refuse_password = [&] {
        radius::RadiusPacket packet(dictionary);
        EXPECT_EQ(packet.try_add("User-Password", value).problem, radius::AddProblem::ValueTooLong);
    };
    EXPECT_EQ(findings_after(long_marker, refuse_password), 0U);
}

TEST(Wiping, LeavesNoPasswordInCredentials) {
    std::string widened;
    for (const char character : long_marker) {
        widened += {character, '\0'};
    }
    const auto make_credentials = [] {
        radius::auth::chap_password(7, long_marker, "challenge");
        radius::auth::mschap_response(7, long_marker, {});
        radius::auth::mschapv2_response(7, "bob", long_marker, {}, {});
    };
    EXPECT_EQ(findings_after(long_marker, make_credentials), 0U);
    EXPECT_EQ(findings_after(widened, make_credentials), 0U);
}

// A whole run of the client, from its command line to the encoded request.

/// Builds the request; what the listing would show is wiped when it is done.
void build_request(const std::string& method) {
    // Not strings, which would be freed with what is in them.
    std::array<char, 200> password{};
    std::array<char, 200> secret{};
    std::string_view("a password that must not be found in any memory").copy(password.data(), 100);
    std::string_view("a shared secret that must not be found in any memory").copy(secret.data(), 100);
    std::string name = "authprobe";
    std::string type_option = "-t";
    std::string type = method;
    std::string password_option = "--password";
    std::string server = "127.0.0.1";
    std::array<char*, 8> arguments = {
        name.data(),     type_option.data(), type.data(),   password_option.data(),
        password.data(), server.data(),      secret.data(), nullptr};
    const authprobe::ClientSettings settings = authprobe::read_command_line(7, arguments.data());
    const authprobe::AuthMethod* const prepared = authprobe::prepare_auth_method(settings);
    authprobe::AccessRequest request =
        authprobe::build_access_request({settings, prepared, 7}, "127.0.0.1", shipped_dictionary());
    EXPECT_GT(request.encoded.datagram().size(), 20U);
    authprobe::wipe_user_password(request.packet);
    const auto is_zero = [](char character) { return character == '\0'; };
    EXPECT_TRUE(std::all_of(password.begin(), password.end(), is_zero));
    EXPECT_TRUE(std::all_of(secret.begin(), secret.end(), is_zero));
}

TEST(Wiping, LeavesNoSecretOfARunOfTheClient) {
    shipped_dictionary();
    for (const char* const method : {"pap", "chap", "mschap", "mschapv2"}) {
        SCOPED_TRACE(method);
        EXPECT_EQ(findings_after("shared secret that must not be found", [&] { build_request(method); }), 0U);
        EXPECT_EQ(findings_after("password that must not be found", [&] { build_request(method); }), 0U);
    }
}

}  // namespace
}  // namespace quarn::test
