#include "quarn_radius/send/send_settings.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"
#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

std::string problem_of(const std::function<void()>& make) {
    return test::thrown_text<std::invalid_argument>(make);
}

TEST(MakeRoutes, TakesEveryServerWithTheSameWayThere) {
    SendOptions options;
    options.servers = {"a", "tcp://b:2083"};
    options.operands = {"User-Name=bob", "[::1]:1645"};
    options.source = "192.0.2.1:1000";
    options.interface = "eth0";
    options.ipv4 = true;
    const std::vector<client::Route> routes = make_routes(options);
    ASSERT_EQ(routes.size(), 3U);
    EXPECT_EQ(routes[0].server.text, "a");
    EXPECT_EQ(routes[1].server.transport, client::TransportKind::Tcp);
    EXPECT_EQ(routes[2].server.text, "[::1]:1645");
    for (const client::Route& route : routes) {
        ASSERT_TRUE(route.source);
        EXPECT_EQ(route.source->text(), "192.0.2.1:1000");
        EXPECT_EQ(route.interface, "eth0");
        EXPECT_EQ(route.family, net::Family::IPv4);
    }
}

TEST(MakeRoutes, TakesAScopeWithAnAddress) {
    SendOptions options;
    options.operands = {"fe80::1%lo"};
    EXPECT_EQ(make_routes(options).at(0).server.text, "fe80::1%lo");
}

TEST(MakeConversationOptions, TakesSecondsAndMilliseconds) {
    SendOptions options;
    options.timeout = 0.25;
    options.grace = 20;
    options.tries = 5;
    options.parallel = 7;
    options.wait = true;
    options.require_message_authenticator = "no";
    const client::ConversationOptions made = make_conversation_options(options);
    EXPECT_EQ(made.timeout, std::chrono::milliseconds(250));
    EXPECT_EQ(made.grace, std::chrono::milliseconds(20));
    EXPECT_EQ(made.tries, 5);
    EXPECT_EQ(made.parallel, 7U);
    EXPECT_TRUE(made.wait_full_time);
    EXPECT_EQ(made.require_message_authenticator, client::RequireMessageAuthenticator::No);
}

// The command line has no place; what a profile sets has its file and line in front.
TEST(Settings, TellThePlaceOfWhatAProfileHasWrong) {
    SendOptions options;
    options.profile_file = "lab.yaml";
    options.profile_lines = {{"server", {2, 3}},
                             {"source", {4}},
                             {"method", {5}},
                             {"code", {6}},
                             {"mac", {7}},
                             {"expect", {8}},
                             {"require-message-authenticator", {9}},
                             {"ipv6", {10}},
                             {"secret-env", {11}}};
    options.servers = {"a", "a b"};
    EXPECT_EQ(problem_of([&] { make_routes(options); }),
              "lab.yaml:3: \"a b\" is no server: blank or control character in the host");
    options.source = "somewhere";
    EXPECT_EQ(problem_of([&] { make_routes(options); }),
              "lab.yaml:4: --source: \"somewhere\" is no address of this machine");
    options.ipv4 = true;
    options.ipv6 = true;
    EXPECT_EQ(problem_of([&] { make_routes(options); }), "lab.yaml:10: -4 and -6 leave no address to ask");
    options.require_message_authenticator = "maybe";
    EXPECT_EQ(problem_of([&] { make_conversation_options(options); }),
              "lab.yaml:9: --require-message-authenticator: \"maybe\" is neither yes, warn nor no");
    options.mac_address = "00";
    EXPECT_EQ(problem_of([&] { make_draft_settings(options); }),
              "lab.yaml:7: --mac: \"00\" is no MAC address");
    options.method = "foo";
    EXPECT_EQ(problem_of([&] { make_draft_settings(options); }),
              "lab.yaml:5: --method: \"foo\" is neither pap, chap, mschap nor mschapv2");
    options.code = "fooo";
    EXPECT_EQ(problem_of([&] { make_draft_settings(options); }),
              "lab.yaml:6: --code: \"fooo\" is neither access, accounting, coa, disconnect, status nor a "
              "number from 1 to 255");
    options.expectations = {"Foo=1"};
    EXPECT_TRUE(problem_of([&] {
                    make_expectations(options, test::shipped_dictionary());
                }).starts_with("lab.yaml:8: --expect Foo=1: unknown attribute \"Foo\""));
    options.secret_variable = "QUARN_NO_SUCH_VARIABLE";
    EXPECT_EQ(problem_of([&] { read_given_secrets(options); }),
              "lab.yaml:11: --secret-env: the environment has no variable QUARN_NO_SUCH_VARIABLE");
    options.profile_lines.clear();
    EXPECT_EQ(problem_of([&] { make_routes(options); }), "-4 and -6 leave no address to ask");
}

TEST(GivenSecrets, AreReadAndASharedSecretIsNotEmpty) {
    const test::ScratchFolder folder;
    SendOptions options;
    EXPECT_FALSE(read_given_secrets(options).secret);
    EXPECT_FALSE(read_given_secrets(options).password);
    options.secret_file = folder.write("secret", "testing123\n");
    options.taken.password = "";
    const GivenSecrets given = read_given_secrets(options);
    ASSERT_TRUE(given.secret && given.password);
    EXPECT_EQ(given.secret->text, "testing123");
    EXPECT_EQ(given.password->text, "");
    options.secret_file = folder.write("empty", "");
    EXPECT_EQ(problem_of([&] { read_given_secrets(options); }), "the shared secret is empty");
}

}  // namespace
}  // namespace quarn::quarn_radius
