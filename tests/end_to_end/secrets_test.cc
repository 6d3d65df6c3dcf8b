// The shared secret and the password: nobody reads them in what the program says, or in the list of
// processes.
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <future>
#include <iterator>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "end_to_end/client.h"
#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/process_memory.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;
using namespace std::chrono_literals;

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

// What is left in memory of secrets that are needed no more. The shared secret is needed until the reply is
// judged.

/// A text with a mark at its end. Memory that is given back is soon written to at its beginning, which must
/// not hide what is left of the text.
std::string marked(std::string_view mark) {
    return "which may be overwritten at its beginning, but not as far as " + std::string(mark);
}

const std::vector<std::string> methods = {"pap", "chap", "mschap", "mschapv2"};

/// The program with the password, in some method, against this server; it stops where it would end.
Command stopping_run(const std::string& server, const std::string& method, const std::string& timeout) {
    Command command =
        authprobe({"-d", shipped_dictionary_path(), "--username", "bob", "--password", marked(password), "-t",
                   method, "--timeout", timeout, "--retry", "1", server, marked(secret)});
    command.environment = preloading(STOPPED_AT_END);
    return command;
}

/// A peer that tells when the request has come, and never answers.
class SilentPeer {
  public:
    /// False when no request comes for a long time.
    bool wait_for_request() { return requested_.get_future().wait_for(30s) == std::future_status::ready; }

    std::string address() const { return peer_.address(); }

  private:
    std::promise<void> requested_;
    UdpPeer peer_{{[this](std::span<const Datagram>) {
        requested_.set_value();
        return std::vector<Bytes>{};
    }}};
};

// Else the tests below would tell nothing.
TEST(SecretsInMemory, AreFoundWhereTheyAre) {
    SilentPeer peer;
    const Process process(stopping_run(peer.address(), "pap", "1000"));
    ASSERT_TRUE(peer.wait_for_request());
    EXPECT_GT(copies_in_memory(process.pid(), secret), 0U);
    EXPECT_GT(copies_in_memory(process.pid(), "Calling-Station-Id"), 0U);
}

TEST(SecretsInMemory, AreLessThePasswordWhileTheReplyIsAwaited) {
    for (const std::string& method : methods) {
        SCOPED_TRACE(method);
        SilentPeer peer;
        Process process(stopping_run(peer.address(), method, "1000"));
        ASSERT_TRUE(peer.wait_for_request());
        EXPECT_EQ(copies_in_memory(process.pid(), password), 0U);
        ASSERT_TRUE(process.wait_for_output("Message-Authenticator")) << process.output();
        EXPECT_EQ(process.output().find(password) != std::string::npos, method == "pap");
    }
}

TEST(SecretsInMemory, AreGoneAtTheEnd) {
    UdpPeer silent;
    for (const std::string& method : methods) {
        SCOPED_TRACE(method);
        Process process(stopping_run(silent.address(), method, "1"));
        ASSERT_TRUE(process.wait_until_stopped());
        EXPECT_EQ(copies_in_memory(process.pid(), secret), 0U);
        EXPECT_EQ(copies_in_memory(process.pid(), password), 0U);
        process.resume();
        EXPECT_EQ(process.wait().ending, exited_with(1));
    }
}

TEST(SecretsInMemory, AreGoneAtTheEndOfARunThatSendsNothing) {
    const ScratchFolder folder;
    const std::string without_address = folder.write("without.yaml", R"(
attributes:
  User-Name: {code: 1, type: text}
  User-Password: {code: 2, type: text, encrypt: 1}
  CHAP-Password: {code: 3, type: octets}
)");
    const std::vector<std::vector<std::string>> option_lists = {
        {"--framed-protocol", "x"}, {"-d", without_address}, {"-d", without_address, "-t", "chap"},
        {"-d", "/nonexistent"},     {"--nas-port", "x"},     {"-t", "foo"},
    };
    for (const std::vector<std::string>& options : option_lists) {
        SCOPED_TRACE(testing::PrintToString(options));
        Command command = stopping_run("127.0.0.1:9", "pap", "1");
        command.arguments.insert(command.arguments.end(), options.begin(), options.end());
        Process process(command);
        ASSERT_TRUE(process.wait_until_stopped());
        EXPECT_EQ(copies_in_memory(process.pid(), secret), 0U);
        EXPECT_EQ(copies_in_memory(process.pid(), password), 0U);
        process.resume();
        EXPECT_EQ(process.wait().ending, exited_with(1));
    }
}

TEST(SecretsInMemory, AreGoneAtTheEndWithThePasswordThatCameBack) {
    constexpr char returned[] = "mark-of-the-returned";
    constexpr char binary[] = "\x80mark-of-the-binary";  // listed as hexadecimal digits
    constexpr char binary_digits[] = "806d61726b2d6f662d7468652d62696e617279";
    const auto reply_with = [](const std::string& value) {
        return answer([value](const Bytes& request) {
            const Digest authenticator = authenticator_of(request);
            return reply_to(
                request, {.code = 2,
                          .attributes = attribute(2, hidden_password(value, marked(secret), authenticator)),
                          .secret = marked(secret)});
        });
    };
    for (const std::string& method : methods) {
        for (const std::string_view value : {returned, binary}) {
            SCOPED_TRACE(method + " " + std::string(value));
            UdpPeer peer({reply_with(marked(value))});
            Process process(stopping_run(peer.address(), method, "1000"));
            ASSERT_TRUE(process.wait_until_stopped());
            for (const std::string_view mark : {secret, password, returned, binary, binary_digits}) {
                EXPECT_EQ(copies_in_memory(process.pid(), mark), 0U) << mark;
            }
            process.resume();
            const ProcessResult result = process.wait();
            EXPECT_EQ(result.ending, exited_with(0)) << result.errors;
            EXPECT_NE(
                result.output.find(value == returned ? "\"" + marked(returned) + "\"\n" : binary_digits),
                std::string::npos)
                << result.output;
        }
    }
}

}  // namespace
}  // namespace quarn::test
