// What each option puts on the wire, and into the request's listing.
#include <gtest/gtest.h>
#include <openssl/provider.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "end_to_end/client.h"
#include "quarn/radius/auth.h"
#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/hex.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

namespace auth = subscriber::radius::auth;

using utils::Bytes;

// Attribute types (RFC 2865, section 5; RFC 3579, section 3.2), and where MS-CHAP's attributes lie
// (RFC 2548, section 2).
constexpr std::uint8_t user_name = 1;
constexpr std::uint8_t user_password = 2;
constexpr std::uint8_t chap_password = 3;
constexpr std::uint8_t nas_ip_address = 4;
constexpr std::uint8_t nas_port = 5;
constexpr std::uint8_t framed_protocol = 7;
constexpr std::uint8_t vendor_specific = 26;
constexpr std::uint8_t calling_station_id = 31;
constexpr std::uint8_t message_authenticator = 80;

constexpr std::uint8_t ms_chap_response = 1;
constexpr std::uint8_t ms_chap_challenge = 11;
constexpr std::uint8_t ms_chap2_response = 25;

Bytes accept(const Bytes& request) {
    return reply_to(request, {.code = 2});
}

/// The rest of the output of a run that `accept` answered, behind the request's listing.
std::string accepted(const Conversation& run) {
    const Bytes reply = accept(run.request());
    return run.received("Access-Accept", reply) + message_authenticator_line(reply) +
           "\nauthprobe: Success\n\n";
}

/// A run with these options, which has to be accepted with this listing of the request.
Conversation run_listing(const std::vector<std::string>& options, const std::string& listing,
                         const std::string& dictionary = {}) {
    Conversation run = converse_with(accept, {.options = options, .dictionary = dictionary});
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing + accepted(run));
    EXPECT_EQ(run.client.errors, "");
    EXPECT_EQ(run.client.ending, exited_with(0));
    EXPECT_EQ(run.requests.size(), 1U);
    return run;
}

/// A run with these options, which has to end before anything is sent.
void expect_unsent(const std::vector<std::string>& options, const std::string& errors,
                   const std::string& dictionary = {}) {
    SCOPED_TRACE(testing::PrintToString(options));
    const Conversation run = converse({}, {.options = options, .dictionary = dictionary});
    EXPECT_EQ(run.client.output, banner());
    EXPECT_EQ(run.client.errors, errors);
    EXPECT_EQ(run.client.ending, exited_with(1));
    EXPECT_TRUE(run.requests.empty());
}

std::vector<int> types(const Conversation& run) {
    return types_of(attributes_of(run.request()));
}

std::string text(const Bytes& bytes) {
    return utils::to_text(bytes);
}

std::string hex_literal(const Bytes& bytes) {
    return "0x" + utils::bytes_to_hex(bytes.data(), bytes.size());
}

/// The value of a Microsoft attribute, in a Vendor-Specific attribute of its own.
Bytes microsoft_value(const Bytes& request, std::uint8_t type, std::size_t size) {
    const Bytes head = {0, 0, 0x01, 0x37, type, static_cast<std::uint8_t>(size + 2)};
    for (const WireAttribute& found : attributes_of(request)) {
        if (found.type == vendor_specific && found.value.size() == head.size() + size &&
            std::equal(head.begin(), head.end(), found.value.begin())) {
            return {found.value.begin() + static_cast<std::ptrdiff_t>(head.size()), found.value.end()};
        }
    }
    throw std::runtime_error("no Microsoft attribute of type " + std::to_string(type) + " and this size");
}

template <std::size_t Size>
std::array<std::uint8_t, Size> array_of(const Bytes& bytes, std::size_t offset = 0) {
    std::array<std::uint8_t, Size> array{};
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), Size, array.begin());
    return array;
}

/// MD4 and DES for this process, for as long as it lives, to check what the program has computed.
void load_legacy_provider() {
    static const OSSL_PROVIDER* const default_provider = OSSL_PROVIDER_load(nullptr, "default");
    static const OSSL_PROVIDER* const legacy_provider = OSSL_PROVIDER_load(nullptr, "legacy");
    ASSERT_NE(default_provider, nullptr);
    ASSERT_NE(legacy_provider, nullptr);
}

void expect_mschap_response(const Bytes& request, const std::string& password) {
    const Bytes challenge = microsoft_value(request, ms_chap_challenge, 8);
    EXPECT_EQ(text(microsoft_value(request, ms_chap_response, 50)),
              auth::mschap_response(request[1], password, array_of<8>(challenge)));
}

void expect_mschapv2_response(const Bytes& request, const std::string& name, const std::string& password) {
    const Bytes challenge = microsoft_value(request, ms_chap_challenge, 16);
    const Bytes response = microsoft_value(request, ms_chap2_response, 50);
    const auto peer_challenge = array_of<16>(response, 2);
    EXPECT_NE(array_of<16>(challenge), peer_challenge);
    EXPECT_EQ(text(response),
              auth::mschapv2_response(request[1], name, password, array_of<16>(challenge), peer_challenge));
}

TEST(Request, CarriesNoMoreThanItsSourceAndAMessageAuthenticatorByDefault) {
    const Conversation run = run_listing({}, bare_listing());
    const Bytes& request = run.request();
    const Bytes header = {1, static_cast<std::uint8_t>(run.client.pid), 0, 44};
    ASSERT_EQ(request.size(), 44U);
    EXPECT_EQ(Bytes(request.begin(), request.begin() + 4), header);
    EXPECT_EQ(Bytes(request.begin() + 20, request.begin() + 28), hex("0406 7f000001 5012"));
    EXPECT_TRUE(has_valid_message_authenticator(request, shared_secret));
}

TEST(Request, HasANewAuthenticatorEachRun) {
    const Conversation first = run_listing({}, bare_listing());
    const Conversation second = run_listing({}, bare_listing());
    EXPECT_NE(authenticator_of(first.request()), authenticator_of(second.request()));
    EXPECT_NE(authenticator_of(first.request()), Digest{});
}

TEST(Request, CarriesEverythingAskedForInAFixedOrder) {
    const Conversation run = run_listing(
        {"--calling-station-id", "00-11-22-33-44-55", "--framed-protocol", "PPP", "--nas-ip-address",
         "192.0.2.7", "--nas-port", "17", "--password", "hello", "--username", "bob"},
        "     User-Name = \"bob\"\n"
        "     User-Password = \"hello\"\n"
        "     NAS-IP-Address = 192.0.2.7\n"
        "     NAS-Port = 17\n"
        "     Framed-Protocol = PPP\n"
        "     Calling-Station-Id = \"00-11-22-33-44-55\"\n"
        "     Message-Authenticator = 0x00000000000000000000000000000000\n");
    const Bytes& request = run.request();
    const std::vector<WireAttribute> expected = {
        {user_name, utils::to_bytes("bob")},
        {user_password, hidden_password("hello", shared_secret, authenticator_of(request))},
        {nas_ip_address, hex("c0000207")},
        {nas_port, hex("00000011")},
        {framed_protocol, hex("00000001")},
        {calling_station_id, utils::to_bytes("00-11-22-33-44-55")},
        {message_authenticator, value_of(request, message_authenticator)},
    };
    EXPECT_EQ(attributes_of(request), expected);
    EXPECT_TRUE(has_valid_message_authenticator(request, shared_secret));
}

TEST(Request, CarriesNoCredentialWithoutAPassword) {
    const Conversation run =
        run_listing({"--username", "bob", "-t", "chap"}, "     User-Name = \"bob\"\n" + bare_listing());
    EXPECT_EQ(types(run), (std::vector<int>{user_name, nas_ip_address, message_authenticator}));
    const Conversation by_station =
        run_listing({"--calling-station-id", "00-11"},
                    "     NAS-IP-Address = 127.0.0.1\n"
                    "     Calling-Station-Id = \"00-11\"\n"
                    "     Message-Authenticator = 0x00000000000000000000000000000000\n");
    EXPECT_EQ(types(by_station),
              (std::vector<int>{nas_ip_address, calling_station_id, message_authenticator}));
}

TEST(Request, CarriesEverythingButACredentialWithoutAPassword) {
    const Conversation run =
        run_listing({"--username", "bob", "--nas-ip-address", "192.0.2.7", "--nas-port", "17",
                     "--framed-protocol", "PPP", "--calling-station-id", "00-11-22-33-44-55"},
                    "     User-Name = \"bob\"\n"
                    "     NAS-IP-Address = 192.0.2.7\n"
                    "     NAS-Port = 17\n"
                    "     Framed-Protocol = PPP\n"
                    "     Calling-Station-Id = \"00-11-22-33-44-55\"\n"
                    "     Message-Authenticator = 0x00000000000000000000000000000000\n");
    const std::vector<WireAttribute> expected = {
        {user_name, utils::to_bytes("bob")},
        {nas_ip_address, hex("c0000207")},
        {nas_port, hex("00000011")},
        {framed_protocol, hex("00000001")},
        {calling_station_id, utils::to_bytes("00-11-22-33-44-55")},
        {message_authenticator, value_of(run.request(), message_authenticator)},
    };
    EXPECT_EQ(attributes_of(run.request()), expected);
}

TEST(Request, LeavesOnlyTheMessageAuthenticatorOutWhenToldSo) {
    const Conversation run = converse_with(
        accept, {.options = {"--no-message-auth", "--username", "bob", "--password", "hello", "--nas-port",
                             "1", "--framed-protocol", "2", "--calling-station-id", "x"}});
    EXPECT_EQ(run.client.output, banner() + run.sent() +
                                     "     User-Name = \"bob\"\n"
                                     "     User-Password = \"hello\"\n"
                                     "     NAS-IP-Address = 127.0.0.1\n"
                                     "     NAS-Port = 1\n"
                                     "     Framed-Protocol = SLIP\n"
                                     "     Calling-Station-Id = \"x\"\n" +
                                     accepted(run));
    EXPECT_EQ(run.client.ending, exited_with(0));
    EXPECT_EQ(types(run), (std::vector<int>{user_name, user_password, nas_ip_address, nas_port,
                                            framed_protocol, calling_station_id}));
}

TEST(Request, TakesEmptyTextsForOptionsNotGiven) {
    run_listing({"--username", "", "--nas-port", "", "--nas-ip-address", "", "--framed-protocol", "",
                 "--calling-station-id", "", "--source-ip", ""},
                bare_listing());
}

TEST(Request, LetsALaterOptionReplaceAnEarlierOne) {
    const Conversation run = run_listing({"--username",
                                          "alice",
                                          "--username",
                                          "bob",
                                          "--password",
                                          "x",
                                          "--password",
                                          "hello",
                                          "-t",
                                          "chap",
                                          "-t",
                                          "pap",
                                          "--nas-port",
                                          "1",
                                          "--nas-port",
                                          "2",
                                          "--nas-ip-address",
                                          "192.0.2.1",
                                          "--nas-ip-address",
                                          "192.0.2.2",
                                          "--framed-protocol",
                                          "PPP",
                                          "--framed-protocol",
                                          "SLIP",
                                          "--calling-station-id",
                                          "a",
                                          "--calling-station-id",
                                          "b"},
                                         "     User-Name = \"bob\"\n"
                                         "     User-Password = \"hello\"\n"
                                         "     NAS-IP-Address = 192.0.2.2\n"
                                         "     NAS-Port = 2\n"
                                         "     Framed-Protocol = SLIP\n"
                                         "     Calling-Station-Id = \"b\"\n"
                                         "     Message-Authenticator = 0x00000000000000000000000000000000\n");
    EXPECT_EQ(attributes_of(run.request()).size(), 7U);
}

TEST(Request, HidesAPapPasswordOfAnyLength) {
    for (const std::size_t length : {1U, 15U, 16U, 17U, 32U, 128U, 129U, 240U}) {
        SCOPED_TRACE(length);
        const std::string password(length, 'p');
        const Conversation run = run_listing({"--password", password},
                                             "     User-Password = \"" + password + "\"\n" + bare_listing());
        const Bytes& request = run.request();
        EXPECT_EQ(value_of(request, user_password),
                  hidden_password(password, shared_secret, authenticator_of(request)));
    }
}

TEST(Request, SendsAnEmptyPapPasswordAsOneHiddenBlock) {
    const Conversation run = run_listing({"--password", ""}, "     User-Password = \"\"\n" + bare_listing());
    const Bytes& request = run.request();
    const Bytes hidden = hidden_password("", shared_secret, authenticator_of(request));
    EXPECT_EQ(hidden.size(), 16U);
    EXPECT_EQ(value_of(request, user_password), hidden);
}

TEST(Request, CutsAHiddenPasswordThatNoAttributeCanHold) {
    const std::string password(241, 'p');
    const Conversation run =
        run_listing({"--password", password}, "     User-Password = \"" + password + "\"\n" + bare_listing());
    const Bytes& request = run.request();
    Bytes hidden = hidden_password(password, shared_secret, authenticator_of(request));
    hidden.resize(253);
    EXPECT_EQ(value_of(request, user_password), hidden);
    EXPECT_TRUE(has_valid_message_authenticator(request, shared_secret));
}

TEST(Request, SendsAPasswordInClearWithAnEmptySecret) {
    const Conversation run = converse_with(
        [](const Bytes& request) {
            return reply_to(request, {.code = 2, .message_authenticator = false, .secret = "any"});
        },
        {.secret = ""});
    EXPECT_EQ(value_of(run.request(), user_password), utils::to_bytes("hello"));
    EXPECT_EQ(value_of(run.request(), message_authenticator), Bytes(16));
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob() +
                                     run.received("Access-Accept", Bytes(20)) + "\nauthprobe: Success\n\n");
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Request, ProvesAChapPasswordWithTheRequestAuthenticatorAsChallenge) {
    const Conversation run =
        converse_with(accept, {.options = {"--username", "bob", "--password", "hello", "-t", "chap"}});
    const Bytes& request = run.request();
    const Digest challenge = authenticator_of(request);
    const Digest digest =
        md5(joined({{request[1]}, utils::to_bytes("hello"), {challenge.begin(), challenge.end()}}));
    const Bytes expected = joined({{request[1]}, {digest.begin(), digest.end()}});
    EXPECT_EQ(value_of(request, chap_password), expected);
    EXPECT_EQ(types(run),
              (std::vector<int>{user_name, chap_password, nas_ip_address, message_authenticator}));
    EXPECT_EQ(run.client.output, banner() + run.sent() +
                                     "     User-Name = \"bob\"\n"
                                     "     CHAP-Password = " +
                                     hex_literal(expected) + "\n" + bare_listing() + accepted(run));
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Request, ProvesAnMschapPassword) {
    load_legacy_provider();
    const Conversation run =
        converse_with(accept, {.options = {"--username", "bob", "--password", "hello", "-t", "mschap"}});
    const Bytes& request = run.request();
    expect_mschap_response(request, "hello");
    EXPECT_EQ(types(run), (std::vector<int>{user_name, vendor_specific, vendor_specific, nas_ip_address,
                                            message_authenticator}));
    EXPECT_EQ(run.client.output,
              banner() + run.sent() +
                  "     User-Name = \"bob\"\n"
                  "     MS-CHAP-Challenge = " +
                  hex_literal(microsoft_value(request, ms_chap_challenge, 8)) +
                  "\n     MS-CHAP-Response = " + hex_literal(microsoft_value(request, ms_chap_response, 50)) +
                  "\n" + bare_listing() + accepted(run));
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Request, ProvesAnMschapv2Password) {
    load_legacy_provider();
    const Conversation run =
        converse_with(accept, {.options = {"--username", "bob", "--password", "hello", "-t", "mschapv2"}});
    const Bytes& request = run.request();
    expect_mschapv2_response(request, "bob", "hello");
    EXPECT_EQ(types(run), (std::vector<int>{user_name, vendor_specific, vendor_specific, nas_ip_address,
                                            message_authenticator}));
    EXPECT_EQ(run.client.output, banner() + run.sent() +
                                     "     User-Name = \"bob\"\n"
                                     "     MS-CHAP-Challenge = " +
                                     hex_literal(microsoft_value(request, ms_chap_challenge, 16)) +
                                     "\n     MS-CHAP2-Response = " +
                                     hex_literal(microsoft_value(request, ms_chap2_response, 50)) + "\n" +
                                     bare_listing() + accepted(run));
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Request, ProvesAnMschapv2PasswordWithoutAUserName) {
    load_legacy_provider();
    const Conversation run = converse_with(accept, {.options = {"--password", "", "-t", "mschapv2"}});
    expect_mschapv2_response(run.request(), "", "");
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Request, IgnoresTheEnvironmentOfItsLibraries) {
    load_legacy_provider();
    const ScratchFolder folder;
    // As the configuration file of OpenSSL, it would leave no algorithm to be fetched.
    const std::string configuration = folder.write("openssl.cnf", R"(
openssl_conf = main
[main]
alg_section = algorithms
providers = provided
[algorithms]
default_properties = provider=none
[provided]
null = empty
[empty]
activate = 1
)");
    const std::map<std::string, std::optional<std::string>> hostile = {
        {"OPENSSL_CONF", configuration},
        {"OPENSSL_MODULES", folder.path().string()},
        {"POSIXLY_CORRECT", "1"},
        {"LC_ALL", "de_DE.UTF-8"},
        {"TZ", "Asia/Tokyo"},
    };
    const Conversation v1 =
        converse_with(accept, {.options = {"--password", "hello", "-t", "mschap"}, .environment = hostile});
    expect_mschap_response(v1.request(), "hello");
    EXPECT_EQ(v1.client.errors, "");
    EXPECT_EQ(v1.client.ending, exited_with(0));
    const Conversation v2 =
        converse_with(accept, {.options = {"--password", "hello", "-t", "mschapv2"}, .environment = hostile});
    expect_mschapv2_response(v2.request(), "", "hello");
    EXPECT_EQ(v2.client.errors, "");
    EXPECT_EQ(v2.client.ending, exited_with(0));
    const Conversation pap = converse_with(accept, {.environment = hostile});
    EXPECT_TRUE(has_valid_message_authenticator(pap.request(), shared_secret));
    EXPECT_EQ(pap.client.errors, "");
    EXPECT_EQ(pap.client.ending, exited_with(0));
}

TEST(Request, CutsANasPortTo32Bits) {
    const std::vector<std::array<std::string, 3>> rows = {
        {"0", "00000000", "0"},           {"4294967295", "ffffffff", "4294967295"},
        {"4294967296", "00000000", "0"},  {"4294967301", "00000005", "5"},
        {"-1", "ffffffff", "4294967295"}, {" 7 of 9", "00000007", "7"},
        {"0x10", "00000000", "0"},
    };
    for (const auto& [argument, wire, listed] : rows) {
        SCOPED_TRACE(argument);
        const Conversation run = run_listing({"--nas-port", argument},
                                             "     NAS-IP-Address = 127.0.0.1\n     NAS-Port = " + listed +
                                                 "\n     Message-Authenticator = "
                                                 "0x00000000000000000000000000000000\n");
        EXPECT_EQ(value_of(run.request(), nas_port), hex(wire));
    }
}

TEST(Request, TakesAFramedProtocolByNameOrByNumber) {
    const std::vector<std::array<std::string, 3>> rows = {
        {"PPP", "00000001", "PPP"},
        {"ppp", "00000001", "PPP"},
        {"SLIP", "00000002", "SLIP"},
        {"x.75-synchronous", "00000006", "X.75-Synchronous"},
        {"7", "00000007", "GPRS-PDP-Context"},
        {"99", "00000063", "99"},
        {" 1 or so", "00000001", "PPP"},
        {"4294967297", "00000001", "PPP"},
        {"-1", "ffffffff", "4294967295"},
    };
    for (const auto& [argument, wire, listed] : rows) {
        SCOPED_TRACE(argument);
        const Conversation run =
            run_listing({"--framed-protocol", argument},
                        "     NAS-IP-Address = 127.0.0.1\n     Framed-Protocol = " + listed +
                            "\n     Message-Authenticator = "
                            "0x00000000000000000000000000000000\n");
        EXPECT_EQ(value_of(run.request(), framed_protocol), hex(wire));
    }
}

TEST(Request, RefusesAnUnknownFramedProtocol) {
    for (const std::string argument : {"PPX", "PPP ", "-", " ", "99999999999999999999"}) {
        expect_unsent({"--framed-protocol", argument},
                      "authprobe: unknown framed-protocol \"" + argument + "\"\n");
    }
}

TEST(Request, RefusesAFramedProtocolThatCannotBeSet) {
    const ScratchFolder folder;
    const std::string lacking =
        folder.write("lacking.yaml", "attributes: {NAS-IP-Address: {code: 4, type: ipv4addr}}\n");
    expect_unsent({"--framed-protocol", "1"}, "authprobe: unknown framed-protocol \"1\"\n", lacking);
    const std::string mistyped = folder.write("mistyped.yaml", R"(
attributes:
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Framed-Protocol: {code: 7, type: ipv4addr, values: {PPP: 1}}
)");
    expect_unsent({"--framed-protocol", "PPP"}, "authprobe: unknown framed-protocol \"PPP\"\n", mistyped);
    const std::string narrow = folder.write("narrow.yaml", R"(
attributes:
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Framed-Protocol: {code: 7, type: byte}
)");
    expect_unsent({"--framed-protocol", "256"}, "authprobe: unknown framed-protocol \"256\"\n", narrow);
}

TEST(Request, RefusesANasIpAddressThatIsNoDottedQuad) {
    for (const std::string argument : {"10.0.0.300", "1.2.3", "localhost", "::1", " "}) {
        expect_unsent({"--nas-ip-address", argument},
                      "authprobe: failed to build request: invalid ipv4addr: " + argument + "\n");
    }
}

TEST(Request, NamesTheAttributeThatTheDictionaryLacks) {
    struct Row {
        std::string missing;
        std::vector<std::string> options;
    };
    const std::vector<Row> rows = {
        {"User-Name", {"--username", "bob"}},
        {"User-Password", {"--password", "x"}},
        {"CHAP-Password", {"--password", "x", "-t", "chap"}},
        {"MS-CHAP-Challenge", {"--password", "x", "-t", "mschap"}},
        {"MS-CHAP-Response", {"--password", "x", "-t", "mschap"}},
        {"MS-CHAP-Challenge", {"--password", "x", "-t", "mschapv2"}},
        {"MS-CHAP2-Response", {"--password", "x", "-t", "mschapv2"}},
        {"NAS-IP-Address", {}},
        {"NAS-Port", {"--nas-port", "1"}},
        {"Calling-Station-Id", {"--calling-station-id", "x"}},
        {"Message-Authenticator", {}},
    };
    const std::vector<std::pair<std::string, std::string>> definitions = {
        {"User-Name", "{code: 1, type: text}"},
        {"User-Password", "{code: 2, type: text, encrypt: 1}"},
        {"CHAP-Password", "{code: 3, type: octets}"},
        {"NAS-IP-Address", "{code: 4, type: ipv4addr}"},
        {"NAS-Port", "{code: 5, type: integer}"},
        {"Calling-Station-Id", "{code: 31, type: text}"},
        {"Message-Authenticator", "{code: 80, type: octets}"},
        {"MS-CHAP-Response", "{code: 26.311.1, type: octets}"},
        {"MS-CHAP-Challenge", "{code: 26.311.11, type: octets}"},
        {"MS-CHAP2-Response", "{code: 26.311.25, type: octets}"},
    };
    const ScratchFolder folder;
    for (const auto& [missing, options] : rows) {
        std::string yaml = "attributes:\n";
        for (const auto& [name, definition] : definitions) {
            yaml += name == missing ? "" : "  " + name + ": " + definition + "\n";
        }
        expect_unsent(options,
                      "authprobe: failed to build request: RadiusPacket: unknown attribute " + missing + "\n",
                      folder.write("dictionary.yaml", yaml));
    }
}

TEST(Request, ReportsTheFirstAttributeThatCannotBeBuilt) {
    const ScratchFolder folder;
    const std::string dictionary = folder.write("dictionary.yaml", R"(
attributes:
  User-Password: {code: 2, type: text, encrypt: 1}
  NAS-IP-Address: {code: 4, type: ipv4addr}
)");
    expect_unsent({"--username", "bob", "--framed-protocol", "PPP"},
                  "authprobe: failed to build request: RadiusPacket: unknown attribute User-Name\n",
                  dictionary);
    expect_unsent({"--nas-ip-address", "x", "--framed-protocol", "PPP"},
                  "authprobe: failed to build request: invalid ipv4addr: x\n", dictionary);
    expect_unsent({"--framed-protocol", "PPP", "--calling-station-id", "x"},
                  "authprobe: unknown framed-protocol \"PPP\"\n", dictionary);
}

TEST(Request, TellsItsSourceAddress) {
    const Conversation run = run_listing({"--source-ip", "127.0.0.2"},
                                         "     NAS-IP-Address = 127.0.0.2\n"
                                         "     Message-Authenticator = 0x00000000000000000000000000000000\n");
    EXPECT_EQ(run.requests.front().address, "127.0.0.2");
    EXPECT_EQ(value_of(run.request(), nas_ip_address), hex("7f000002"));
    const Conversation other =
        run_listing({"--source-ip", "127.0.0.2", "--nas-ip-address", "127.0.0.3"},
                    "     NAS-IP-Address = 127.0.0.3\n"
                    "     Message-Authenticator = 0x00000000000000000000000000000000\n");
    EXPECT_EQ(other.requests.front().address, "127.0.0.2");
}

TEST(Request, ResolvesAHostName) {
    UdpPeer peer({answer(accept)});
    const ProcessResult client = run_process(authprobe(
        {"-d", shipped_dictionary_path(), "localhost:" + std::to_string(peer.port()), shared_secret}));
    const Conversation run = {client, peer.finish(), peer.port()};
    EXPECT_EQ(client.output, banner() + run.sent() + bare_listing() + accepted(run));
    EXPECT_EQ(client.errors, "");
    EXPECT_EQ(client.ending, exited_with(0));
}

TEST(Request, SendsUtf8TextsAsTheyAre) {
    const Conversation run =
        run_listing({"--username", "längrö", "--password", "pässwörd"},
                    "     User-Name = \"längrö\"\n     User-Password = \"pässwörd\"\n" + bare_listing());
    const Bytes& request = run.request();
    EXPECT_EQ(text(value_of(request, user_name)), "längrö");
    EXPECT_EQ(value_of(request, user_password),
              hidden_password("pässwörd", shared_secret, authenticator_of(request)));
}

TEST(Request, ListsATextWithAControlCharacterInHexadecimal) {
    const Conversation run =
        run_listing({"--username", "a\tb"}, "     User-Name = \"0x610962\"\n" + bare_listing());
    EXPECT_EQ(text(value_of(run.request(), user_name)), "a\tb");
}

TEST(Request, LeavesATextOutThatIsNotUtf8) {
    const Conversation run = run_listing({"--username",
                                          "b\xf6"
                                          "b"},
                                         bare_listing());
    EXPECT_EQ(types(run), (std::vector<int>{nas_ip_address, message_authenticator}));
}

TEST(Request, FramesAttributesAsTheDictionaryDefinesThem) {
    load_legacy_provider();
    const ScratchFolder folder;
    const std::string dictionary = folder.write("dictionary.yaml", R"(
vendor: {id: 32473, name: Example, format: "2,2"}
attributes:
  NAS-IP-Address: {code: 4, type: string}
  NAS-Port: {code: 5, type: integer64}
  MS-CHAP-Challenge: {code: 200, type: octets}
  MS-CHAP-Response: {code: 26.32473.513, type: octets}
)");
    const Conversation run = converse_with(
        [](const Bytes& request) { return reply_to(request, {.code = 2, .message_authenticator = false}); },
        {.options = {"--password", "hello", "-t", "mschap", "--nas-port", "258", "--no-message-auth"},
         .dictionary = dictionary});
    const Bytes& request = run.request();
    const Bytes challenge = value_of(request, 200);
    const Bytes response =
        utils::to_bytes(auth::mschap_response(request[1], "hello", array_of<8>(challenge)));
    const std::vector<WireAttribute> expected = {
        {200, challenge},
        {vendor_specific, joined({hex("00007ed9 0201 0036"), response})},
        {nas_ip_address, utils::to_bytes("127.0.0.1")},
        {nas_port, hex("0000000000000102")},
    };
    EXPECT_EQ(attributes_of(request), expected);
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Request, IsBuiltWithTheDefaultDictionaryWhenNoneIsGiven) {
    const std::string path = "/opt/quarn/share/quarn/radius/dictionary.yaml";
    if (std::filesystem::exists(path)) {
        UdpPeer peer({answer(accept)});
        const ProcessResult client = run_process(authprobe({peer.address(), shared_secret}));
        const Conversation run = {client, peer.finish(), peer.port()};
        EXPECT_EQ(client.output, banner() + run.sent() + bare_listing() + accepted(run));
        EXPECT_EQ(client.ending, exited_with(0));
    } else {
        const ProcessResult client = run_process(authprobe({"127.0.0.1", shared_secret}));
        EXPECT_EQ(client.errors, "authprobe: failed to load dictionary \"" + path + "\": " + path +
                                     ": cannot load: bad file: " + path + "\n");
        EXPECT_EQ(client.output, banner());
        EXPECT_EQ(client.ending, exited_with(1));
    }
}

}  // namespace
}  // namespace quarn::test
