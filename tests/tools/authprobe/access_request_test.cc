#include "authprobe/access_request.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "authprobe/auth_method.h"
#include "authprobe/client_error.h"
#include "common/default_paths.h"
#include "testing/dictionaries.h"
#include "testing/hex.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::authprobe {
namespace {

using subscriber::radius::RadiusAttribute;
using subscriber::radius::RadiusDictionary;
using test::authenticator_of;
using test::hex;
using test::WireAttribute;

using Dictionary = std::shared_ptr<const RadiusDictionary>;

constexpr char secret[] = "testing123";

ClientSettings bare_settings() {
    ClientSettings settings;
    settings.secret = secret;
    return settings;
}

ClientSettings settings_with_password(std::string method) {
    ClientSettings settings = bare_settings();
    settings.username = "bob";
    settings.auth_type = std::move(method);
    settings.password = "hello";
    settings.password_given = true;
    return settings;
}

AccessRequest build(const ClientSettings& settings, std::optional<std::uint32_t> nas_port = {},
                    const Dictionary& dictionary = test::shipped_dictionary()) {
    const AuthMethod* const method = settings.password_given ? find_auth_method(settings.auth_type) : nullptr;
    return build_access_request({settings, method, nas_port}, "127.0.0.1", dictionary);
}

bool has_valid_message_authenticator(const AccessRequest& request) {
    const utils::byte_span datagram = request.encoded.datagram();
    return test::has_valid_message_authenticator({datagram.begin(), datagram.end()}, secret);
}

/// What is said of a request that cannot be built.
std::string failure_of(const ClientSettings& settings, std::optional<std::uint32_t> nas_port = {},
                       const Dictionary& dictionary = test::shipped_dictionary()) {
    try {
        build(settings, nas_port, dictionary);
        return "no failure";
    } catch (const ClientError& error) {
        return error.what();
    }
}

/// Names of the attributes, in order, with the text forms of their values.
std::vector<std::pair<std::string, std::string>> content_of(const AccessRequest& request) {
    std::vector<std::pair<std::string, std::string>> content;
    for (const RadiusAttribute* const attribute : request.packet.attributes()) {
        for (const auto& value : attribute->values) {
            content.emplace_back(attribute->display_name(), value.as_string());
        }
    }
    return content;
}

std::vector<std::string> names_of(const AccessRequest& request) {
    std::vector<std::string> names;
    for (const auto& [name, value] : content_of(request)) {
        names.push_back(name);
    }
    return names;
}

using Content = std::vector<std::pair<std::string, std::string>>;
using Names = std::vector<std::string>;

const std::string sixteen_zero_bytes(16, '\0');

TEST(LoadDictionary, LoadsTheFileThatTheSettingsName) {
    const test::ScratchFolder folder;
    ClientSettings settings;
    settings.dictionary_path =
        folder.write("dictionary.yaml", "attributes: {Example: {code: 200, type: text}}\n");
    EXPECT_EQ(load_dictionary(settings)->attribute_by_name("example").code,
              (subscriber::radius::CodePath{200}));
}

TEST(LoadDictionary, TellsWhyAFileCannotBeLoaded) {
    const test::ScratchFolder folder;
    ClientSettings settings;
    settings.dictionary_path = folder.write("dictionary.yaml", "vendor: 9\n");
    try {
        load_dictionary(settings);
        FAIL() << "loaded";
    } catch (const ClientError& error) {
        EXPECT_EQ(error.what(), "authprobe: failed to load dictionary \"" + settings.dictionary_path +
                                    "\": " + settings.dictionary_path + ": 'vendor' must be a map\n");
    }
}

TEST(LoadDictionary, TakesTheDefaultPathWhenNoneIsGiven) {
    if (std::filesystem::exists(tools::default_dictionary_path)) {
        EXPECT_TRUE(load_dictionary({})->attribute_by_name("User-Name").known);
        return;
    }
    try {
        load_dictionary({});
        FAIL() << "loaded";
    } catch (const ClientError& error) {
        const std::string path = tools::default_dictionary_path;
        EXPECT_EQ(error.what(), "authprobe: failed to load dictionary \"" + path + "\": " + path +
                                    ": cannot load: bad file: " + path + "\n");
    }
}

TEST(AccessRequestTest, HasItsHeaderFieldsSet) {
    const AccessRequest request = build(bare_settings());
    EXPECT_EQ(request.packet.code, 1);
    EXPECT_EQ(request.packet.identifier, getpid() % 256);
    EXPECT_NE(request.packet.authenticator, test::Digest{});
    EXPECT_EQ(request.packet.request_authenticator, std::nullopt);
    EXPECT_EQ(request.packet.dictionary, test::shipped_dictionary());

    const utils::Bytes header = {1, request.packet.identifier, 0,
                                 static_cast<std::uint8_t>(request.encoded.datagram().size())};
    ASSERT_GE(request.encoded.datagram().size(), 20U);
    EXPECT_EQ(utils::Bytes(request.encoded.datagram().begin(), request.encoded.datagram().begin() + 4),
              header);
    EXPECT_EQ(authenticator_of(request.encoded.datagram()), request.packet.authenticator);
}

TEST(AccessRequestTest, HasANewAuthenticatorEachTime) {
    EXPECT_NE(build(bare_settings()).packet.authenticator, build(bare_settings()).packet.authenticator);
}

TEST(AccessRequestTest, AlwaysNamesTheNasAndIsSigned) {
    const AccessRequest request = build(bare_settings());
    EXPECT_EQ(content_of(request),
              (Content{{"NAS-IP-Address", "127.0.0.1"}, {"Message-Authenticator", sixteen_zero_bytes}}));
    EXPECT_TRUE(has_valid_message_authenticator(request));
}

TEST(AccessRequestTest, KeepsAFixedOrder) {
    ClientSettings settings = settings_with_password("pap");
    settings.nas_ip_address = "192.0.2.7";
    settings.framed_protocol = "SLIP";
    settings.calling_station_id = "00-11";
    const AccessRequest request = build(settings, 17);
    EXPECT_EQ(content_of(request), (Content{{"User-Name", "bob"},
                                            {"User-Password", "hello"},
                                            {"NAS-IP-Address", "192.0.2.7"},
                                            {"NAS-Port", "17"},
                                            {"Framed-Protocol", "2"},
                                            {"Calling-Station-Id", "00-11"},
                                            {"Message-Authenticator", sixteen_zero_bytes}}));
    EXPECT_EQ(test::attributes_of(request.encoded.datagram()),
              (std::vector<WireAttribute>{
                  {1, utils::to_bytes("bob")},
                  {2, test::hidden_password("hello", secret, request.packet.authenticator)},
                  {4, hex("c0000207")},
                  {5, hex("00000011")},
                  {7, hex("00000002")},
                  {31, utils::to_bytes("00-11")},
                  {80, test::value_of(request.encoded.datagram(), 80)},
              }));
    EXPECT_TRUE(has_valid_message_authenticator(request));
}

TEST(AccessRequestTest, HasTheCredentialOfTheMethod) {
    prepare_auth_method(settings_with_password("mschap"));
    EXPECT_EQ(names_of(build(settings_with_password("pap"))),
              (Names{"User-Name", "User-Password", "NAS-IP-Address", "Message-Authenticator"}));
    EXPECT_EQ(names_of(build(settings_with_password("chap"))),
              (Names{"User-Name", "CHAP-Password", "NAS-IP-Address", "Message-Authenticator"}));
    EXPECT_EQ(names_of(build(settings_with_password("mschap"))),
              (Names{"User-Name", "MS-CHAP-Challenge", "MS-CHAP-Response", "NAS-IP-Address",
                     "Message-Authenticator"}));
    EXPECT_EQ(names_of(build(settings_with_password("mschapv2"))),
              (Names{"User-Name", "MS-CHAP-Challenge", "MS-CHAP2-Response", "NAS-IP-Address",
                     "Message-Authenticator"}));
}

TEST(AccessRequestTest, HasNoCredentialWithoutAPassword) {
    ClientSettings settings = settings_with_password("chap");
    settings.password_given = false;
    EXPECT_EQ(names_of(build(settings)), (Names{"User-Name", "NAS-IP-Address", "Message-Authenticator"}));
}

TEST(AccessRequestTest, HasACredentialForAnEmptyPassword) {
    ClientSettings settings = settings_with_password("pap");
    settings.password = "";
    const AccessRequest request = build(settings);
    EXPECT_EQ(test::value_of(request.encoded.datagram(), 2),
              test::hidden_password("", secret, request.packet.authenticator));
}

TEST(AccessRequestTest, ProvesAChapPasswordOverItsOwnAuthenticator) {
    const AccessRequest request = build(settings_with_password("chap"));
    const test::Digest& challenge = request.packet.authenticator;
    const utils::Bytes identifier = {request.packet.identifier};
    const test::Digest digest =
        test::md5(test::joined({identifier, utils::to_bytes("hello"), {challenge.begin(), challenge.end()}}));
    EXPECT_EQ(test::value_of(request.encoded.datagram(), 3),
              test::joined({identifier, {digest.begin(), digest.end()}}));
}

TEST(AccessRequestTest, ProvesAChapPasswordAnewInEveryRun) {
    const utils::Bytes first = test::value_of(build(settings_with_password("chap")).encoded.datagram(), 3);
    const utils::Bytes second = test::value_of(build(settings_with_password("chap")).encoded.datagram(), 3);
    ASSERT_EQ(first.size(), 17U);
    ASSERT_EQ(second.size(), 17U);
    EXPECT_EQ(first.front(), second.front());  // the process is the same, and so is the Identifier
    EXPECT_NE(first, second);
}

TEST(AccessRequestTest, LeavesTheMessageAuthenticatorOutWhenToldSo) {
    ClientSettings settings = settings_with_password("pap");
    settings.no_message_auth = true;
    EXPECT_EQ(names_of(build(settings, 1)),
              (Names{"User-Name", "User-Password", "NAS-IP-Address", "NAS-Port"}));
}

TEST(AccessRequestTest, IsNeitherHiddenNorSignedWithoutASecret) {
    ClientSettings settings = settings_with_password("pap");
    settings.secret = "";
    const AccessRequest request = build(settings);
    EXPECT_EQ(test::value_of(request.encoded.datagram(), 2), utils::to_bytes("hello"));
    EXPECT_EQ(test::value_of(request.encoded.datagram(), 80), utils::Bytes(16));
}

TEST(AccessRequestTest, TakesAFramedProtocolByNameOrByNumber) {
    struct Row {
        std::string text;
        std::string wire;
    };
    for (const auto& [text, wire] : std::vector<Row>{{"PPP", "00000001"},
                                                     {"ppp", "00000001"},
                                                     {"7", "00000007"},
                                                     {" 99 rest", "00000063"},
                                                     {"0", "00000000"},
                                                     {"4294967298", "00000002"},
                                                     {"-1", "ffffffff"}}) {
        SCOPED_TRACE(text);
        ClientSettings settings = bare_settings();
        settings.framed_protocol = text;
        EXPECT_EQ(test::value_of(build(settings).encoded.datagram(), 7), hex(wire));
    }
}

TEST(AccessRequestTest, PrefersTheNameOfAFramedProtocolToItsNumber) {
    const Dictionary dictionary = test::dictionary_from(R"(
attributes:
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Framed-Protocol: {code: 7, type: enum, values: {7: 1, 8x: 2}}
  Message-Authenticator: {code: 80, type: octets}
)");
    ClientSettings settings = bare_settings();
    settings.framed_protocol = "8x";
    EXPECT_EQ(test::value_of(build(settings, {}, dictionary).encoded.datagram(), 7), hex("00000002"));
}

TEST(AccessRequestTest, RefusesAnUnknownFramedProtocol) {
    for (const std::string text : {"PPX", "-", " ", "18446744073709551616"}) {
        ClientSettings settings = bare_settings();
        settings.framed_protocol = text;
        EXPECT_EQ(failure_of(settings), "authprobe: unknown framed-protocol \"" + text + "\"\n");
    }
}

TEST(AccessRequestTest, RefusesAFramedProtocolThatCannotBeSet) {
    const Dictionary lacking =
        test::dictionary_from("attributes: {NAS-IP-Address: {code: 4, type: ipv4addr}}");
    ClientSettings settings = bare_settings();
    settings.framed_protocol = "1";
    EXPECT_EQ(failure_of(settings, {}, lacking), "authprobe: unknown framed-protocol \"1\"\n");
    const Dictionary narrow = test::dictionary_from(
        "attributes: {NAS-IP-Address: {code: 4, type: ipv4addr}, Framed-Protocol: {code: 7, type: byte}}");
    settings.framed_protocol = "256";
    EXPECT_EQ(failure_of(settings, {}, narrow), "authprobe: unknown framed-protocol \"256\"\n");
}

TEST(AccessRequestTest, NamesTheAttributeThatTheDictionaryLacks) {
    const Dictionary empty = test::dictionary_from("attributes: {}");
    EXPECT_EQ(failure_of(bare_settings(), {}, empty),
              "authprobe: failed to build request: RadiusPacket: unknown attribute NAS-IP-Address\n");
    EXPECT_EQ(failure_of(settings_with_password("pap"), {}, empty),
              "authprobe: failed to build request: RadiusPacket: unknown attribute User-Name\n");
    ClientSettings nameless = settings_with_password("mschapv2");
    nameless.username = "";
    EXPECT_EQ(failure_of(nameless, {}, empty),
              "authprobe: failed to build request: RadiusPacket: unknown attribute MS-CHAP-Challenge\n");
}

TEST(AccessRequestTest, RefusesANasIpAddressThatIsNoDottedQuad) {
    ClientSettings settings = bare_settings();
    settings.nas_ip_address = "192.0.2";
    EXPECT_EQ(failure_of(settings), "authprobe: failed to build request: invalid ipv4addr: 192.0.2\n");
}

TEST(AccessRequestTest, CutsSilentlyWhatAnAttributeCannotHold) {
    ClientSettings settings = bare_settings();
    settings.calling_station_id = std::string(300, 'x');
    const AccessRequest request = build(settings);
    EXPECT_EQ(test::value_of(request.encoded.datagram(), 31), utils::Bytes(253, 'x'));
    EXPECT_EQ(content_of(request)[1].second, settings.calling_station_id);
}

}  // namespace
}  // namespace quarn::authprobe
