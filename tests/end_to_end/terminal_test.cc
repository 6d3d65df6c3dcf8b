// Colour: standard output alone decides whether there is any, for both streams.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "end_to_end/client.h"
#include "testing/dictionaries.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

constexpr std::string_view green = "\x1b[32m";
constexpr std::string_view red = "\x1b[31m";
constexpr std::string_view yellow = "\x1b[33m";

/// The text in colour; the newlines at its end are not.
std::string in(std::string_view colour, std::string text) {
    const std::size_t end = text.find_last_not_of('\n') + 1;
    return std::string(colour) + text.substr(0, end) + "\x1b[0m" + text.substr(end);
}

std::string status(std::string_view colour, const std::string& text) {
    return "authprobe: " + in(colour, text);
}

Bytes accept(const Bytes& request) {
    return reply_to(request, {.code = 2});
}

Bytes accept_without_message_authenticator(const Bytes& request) {
    return reply_to(request, {.code = 2, .message_authenticator = false});
}

Bytes reject(const Bytes& request) {
    return reply_to(request, {.code = 3});
}

constexpr std::string_view missing_authenticator = "WARNING: reply has no Message-Authenticator attribute";

TEST(Terminal, ShowsAnAcceptInGreen) {
    const Conversation run = converse_with(accept, {.output = Stream::Terminal});
    const Bytes reply = accept(run.request());
    EXPECT_EQ(run.client.output, banner() + in(green, run.sent()) + listing_of_bob() +
                                     in(green, run.received("Access-Accept", reply)) +
                                     message_authenticator_line(reply) + "\n" + status(green, "Success\n\n"));
    EXPECT_EQ(run.client.errors, "");
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Terminal, ShowsAnyOtherReplyInRed) {
    const Conversation run =
        converse_with(reject, {.output = Stream::Terminal, .errors = Stream::SameAsOutput});
    const Bytes reply = reject(run.request());
    EXPECT_EQ(run.client.output, banner() + in(green, run.sent()) + listing_of_bob() +
                                     in(red, run.received("Access-Reject", reply)) +
                                     message_authenticator_line(reply) + "\n" +
                                     status(red, "ERROR: expected Access-Accept, got Access-Reject\n") +
                                     status(red, "Fail\n\n"));
    EXPECT_EQ(run.client.ending, exited_with(1));
}

TEST(Terminal, ShowsAWarningInYellow) {
    const Conversation run = converse_with(accept_without_message_authenticator,
                                           {.output = Stream::Terminal, .errors = Stream::SameAsOutput});
    EXPECT_EQ(run.client.output, banner() + in(green, run.sent()) + listing_of_bob() +
                                     in(green, run.received("Access-Accept", Bytes(20))) + "\n" +
                                     status(yellow, std::string(missing_authenticator) + "\n") +
                                     status(green, "Success\n\n"));
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Terminal, KeepsTheColoursOfRedirectedErrors) {
    const Conversation run =
        converse_with(accept_without_message_authenticator, {.output = Stream::Terminal});
    EXPECT_EQ(run.client.output, banner() + in(green, run.sent()) + listing_of_bob() +
                                     in(green, run.received("Access-Accept", Bytes(20))) + "\n" +
                                     status(green, "Success\n\n"));
    EXPECT_EQ(run.client.errors, status(yellow, std::string(missing_authenticator) + "\n"));
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Terminal, HasNoColoursOnItsErrorsWhenOutputIsRedirected) {
    const Conversation run =
        converse_with(accept_without_message_authenticator, {.errors = Stream::Terminal});
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob() +
                                     run.received("Access-Accept", Bytes(20)) + "\nauthprobe: Success\n\n");
    EXPECT_EQ(run.client.errors, "authprobe: " + std::string(missing_authenticator) + "\n");
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Terminal, ShowsSilenceInYellowAndRed) {
    const ClosedPort port;
    for (const bool coloured : {true, false}) {
        SCOPED_TRACE(coloured);
        Command command =
            authprobe({"-d", shipped_dictionary_path(), "--retry", "2", port.address(), shared_secret});
        command.output = coloured ? Stream::Terminal : Stream::Pipe;
        command.errors = coloured ? Stream::Pipe : Stream::Terminal;
        const ProcessResult result = run_process(command);

        const std::string no_reply =
            " No reply from server for ID " + std::to_string(result.pid % 256) + "\n";
        const std::string no_response = "no response from " + port.address() + "\n";
        EXPECT_EQ(result.errors,
                  coloured ? in(yellow, no_reply) + in(yellow, no_reply) + "\n" + status(red, no_response) +
                                 status(red, "Fail\n\n")
                           : no_reply + no_reply + "\nauthprobe: " + no_response + "authprobe: Fail\n\n");
        EXPECT_EQ(result.ending, exited_with(1));
    }
}

TEST(Terminal, ShowsEveryFailureOfAReplyInRed) {
    const Conversation unparsable = converse_with(
        [](const Bytes& request) {
            Bytes bytes = accept(request);
            bytes[3] = 19;
            return bytes;
        },
        {.output = Stream::Terminal});
    EXPECT_EQ(unparsable.client.output, banner() + in(green, unparsable.sent()) + listing_of_bob());
    EXPECT_EQ(unparsable.client.errors,
              "\n" + status(red, "failed to parse reply: pkt_load: invalid packet length\n") +
                  status(red, "Fail\n\n"));

    const Conversation forged = converse_with(
        [](const Bytes& request) { return reply_to(request, {.code = 2, .secret = "another"}); },
        {.output = Stream::Terminal});
    EXPECT_EQ(forged.client.errors,
              "\n" +
                  status(red,
                         "ERROR: reply Message-Authenticator is invalid (shared secret is incorrect or the "
                         "packet was tampered with): RadiusPacket: Message-Authenticator mismatch\n") +
                  status(red, "Fail\n\n"));

    const Conversation unsupported = converse_with(
        [](const Bytes& request) { return reply_to(request, {.code = 6}); }, {.output = Stream::Terminal});
    EXPECT_EQ(unsupported.client.errors,
              "\n" +
                  status(red,
                         "ERROR: reply failed validation (shared secret is probably incorrect): "
                         "RadiusPacket: unsupported packet type\n") +
                  status(red, "Fail\n\n"));
}

TEST(Terminal, ShowsStartUpFailuresWithoutColour) {
    Command command = authprobe({"--timeout", "0"});
    command.output = Stream::Terminal;
    const ProcessResult result = run_process(command);
    EXPECT_EQ(result.output, banner());
    EXPECT_EQ(result.errors, "authprobe: invalid --timeout \"0\" (seconds, must be > 0)\n");

    const Conversation unbuilt =
        converse({}, {.options = {"--nas-ip-address", "x"}, .output = Stream::Terminal});
    EXPECT_EQ(unbuilt.client.output, banner());
    EXPECT_EQ(unbuilt.client.errors, "authprobe: failed to build request: invalid ipv4addr: x\n");
}

TEST(Terminal, NamesTheLastAttemptBeforeTheVerdict) {
    // Both streams on one screen: what is read there comes in the order in which it happened.
    const ClosedPort port;
    Command command =
        authprobe({"-d", shipped_dictionary_path(), "--retry", "1", port.address(), shared_secret});
    command.output = Stream::Terminal;
    command.errors = Stream::SameAsOutput;
    const ProcessResult result = run_process(command);
    const std::string identifier = std::to_string(result.pid % 256);
    const std::string tail =
        bare_listing() + in(yellow, " No reply from server for ID " + identifier + "\n") + "\n" +
        status(red, "no response from " + port.address() + "\n") + status(red, "Fail\n\n");
    EXPECT_TRUE(result.output.ends_with(tail)) << result.output;
}

}  // namespace
}  // namespace quarn::test
