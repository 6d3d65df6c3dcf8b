// The shared secret and the password: nobody reads them in what the program says, or in the list of
// processes.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "end_to_end/client.h"
#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

constexpr char secret[] = "mark-of-the-secret";
constexpr char password[] = "mark-of-the-password";

/// In clear, or in hexadecimal.
bool tells(const ProcessResult& result, const std::string& text) {
    const Bytes bytes = utils::to_bytes(text);
    const std::string digits = utils::bytes_to_hex(bytes.data(), bytes.size());
    return (result.output + result.errors).find(text) != std::string::npos ||
           (result.output + result.errors).find(digits) != std::string::npos;
}

void expect_discreet_failure(const ProcessResult& result) {
    EXPECT_EQ(result.ending, exited_with(1)) << result.output << result.errors;
    EXPECT_FALSE(tells(result, secret)) << result.output << result.errors;
    EXPECT_FALSE(tells(result, password)) << result.output << result.errors;
}

TEST(Secrets, AreInNoMessageOfARunThatSendsNothing) {
    const ScratchFolder folder;
    const std::string broken = folder.write("broken.yaml", "attributes: [1]\n");
    const std::string empty = folder.write("empty.yaml", "attributes: {}\n");
    const std::string numeric = folder.write("numeric.yaml", R"(
attributes:
  User-Name: {code: 1, type: text}
  User-Password: {code: 2, type: ipv4addr}
)");
    const std::string shipped = shipped_dictionary_path();
    const std::vector<std::vector<std::string>> option_lists = {
        {"--nope"},
        {"--username"},
        {"--timeout", "0"},
        {"--retry", "x"},
        {"-t", "foo"},
        {"--nas-port", "x"},
        {"--source-ip", "x"},
        {"--source-ip", "203.0.113.1"},
        {"--framed-protocol", "x"},
        {"--nas-ip-address", "x"},
        {"more operands than two"},
        {"-d", "/nonexistent"},
        {"-d", broken},
        {"-d", empty},
        {"-d", empty, "-t", "chap"},
        {"-d", empty, "-t", "mschap"},
        {"-d", empty, "-t", "mschapv2"},
    };
    for (const std::vector<std::string>& options : option_lists) {
        SCOPED_TRACE(testing::PrintToString(options));
        std::vector<std::string> arguments = {"-d", shipped, "--password", password, "127.0.0.1:9", secret};
        arguments.insert(arguments.end(), options.begin(), options.end());
        expect_discreet_failure(run_process(authprobe(arguments)));
    }
    for (const std::string server : {"127.0.0.1:0", "", "::1", "127.255.255.255"}) {
        expect_discreet_failure(
            run_process(authprobe({"-d", shipped, "--password", password, server, secret})));
    }
    // The exception: a value that does not fit its type is named, and a dictionary may give a password one.
    const ProcessResult mistyped =
        run_process(authprobe({"-d", numeric, "--password", password, "127.0.0.1:9", secret}));
    EXPECT_EQ(mistyped.errors,
              "authprobe: failed to build request: invalid ipv4addr: " + std::string(password) + "\n");
    EXPECT_FALSE(tells(mistyped, secret));
}

/// The ways in which a run fails that has sent its request.
std::vector<UdpPeer::Answer> failing_answers() {
    const auto reply_with = [](const Reply& reply) {
        return answer([reply](const Bytes& request) { return reply_to(request, reply); });
    };
    return {
        silence(),
        reply_with({.code = 3, .secret = secret}),
        reply_with({.code = 11, .attributes = attribute(18, "Code?"), .secret = secret}),
        reply_with({.code = 6, .secret = secret}),
        reply_with({.code = 2, .secret = "another"}),
        reply_with({.code = 2, .message_authenticator = false, .secret = "another"}),
        reply_with({.code = 2, .attributes = attribute(80, "short"), .secret = secret}),
        answer([](const Bytes& request) { return Bytes(request.begin(), request.begin() + 19); }),
        answer([](const Bytes& request) {
            Bytes reply = reply_to(request, {.code = 2, .secret = secret});
            reply[21] = 1;
            return reply;
        }),
        // The request as it was sent, for an answer: the password is hidden in it, for this very secret.
        answer([](const Bytes& request) { return request; }),
    };
}

TEST(Secrets, AreInNoMessageOfARunThatFails) {
    for (const std::string method : {"chap", "mschap", "mschapv2"}) {
        for (const UdpPeer::Answer& failing : failing_answers()) {
            expect_discreet_failure(converse({failing}, {.options = {"--password", password, "-t", method,
                                                                     "--timeout", "1", "--retry", "1"},
                                                         .secret = secret})
                                        .client);
        }
    }
}

/// The output without the lines that list a User-Password.
std::string without_password_lines(std::string output) {
    const std::string line = "     User-Password = \"" + std::string(password) + "\"\n";
    for (std::size_t place = 0; (place = output.find(line)) != std::string::npos;) {
        output.erase(place, line.size());
    }
    return output;
}

TEST(Secrets, AreInNoMessageOfPapButForTheListingOfThePassword) {
    for (const UdpPeer::Answer& failing : failing_answers()) {
        ProcessResult result =
            converse({failing}, {.options = {"--password", password, "--timeout", "1", "--retry", "1"},
                                 .secret = secret})
                .client;
        EXPECT_TRUE(tells(result, password));  // the listing of the request shows it, and is meant to
        result.output = without_password_lines(result.output);
        expect_discreet_failure(result);
    }
}

TEST(Secrets, AreInNoOutputOfARunThatSucceeds) {
    const auto accept = [](const Bytes& request) { return reply_to(request, {.code = 2, .secret = secret}); };
    for (const std::string method : {"chap", "mschap", "mschapv2"}) {
        const Conversation run =
            converse_with(accept, {.options = {"--password", password, "-t", method}, .secret = secret});
        EXPECT_EQ(run.client.ending, exited_with(0));
        EXPECT_FALSE(tells(run.client, secret));
        EXPECT_FALSE(tells(run.client, password));
    }
}

std::string content_of(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(Secrets, AreNotInTheListOfProcesses) {
    UdpPeer silent;
    for (const std::vector<std::string>& options : {std::vector<std::string>{"--password", password},
                                                    {std::string("--password=") + password},
                                                    {"--password", "x", "--password", password}}) {
        std::vector<std::string> arguments = {
            "-d",  shipped_dictionary_path(), "--username", "bob", silent.address(), secret, "--timeout",
            "1000"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Process process(authprobe(arguments));
        ASSERT_TRUE(process.wait_for_output("Message-Authenticator")) << process.output();
        const std::string command_line = content_of("/proc/" + std::to_string(process.pid()) + "/cmdline");
        // Everything else is still there.
        EXPECT_NE(command_line.find(silent.address()), std::string::npos);
        EXPECT_NE(command_line.find("bob"), std::string::npos);
        EXPECT_EQ(command_line.find(secret), std::string::npos);
        EXPECT_EQ(command_line.find(password), std::string::npos);
    }
}

}  // namespace
}  // namespace quarn::test
