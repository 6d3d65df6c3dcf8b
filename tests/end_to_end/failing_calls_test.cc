// The system and OpenSSL failing under the program: each call in turn, and what is said of it.
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "end_to_end/client.h"
#include "quarn/utils/text.h"
#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

/// Longer than any test waits: a run that ends has not sat it out.
constexpr char endless[] = "2147483647";

constexpr char success[] = "\nauthprobe: Success\n\n";

Bytes accept(const Bytes& request) {
    return reply_to(request, {.code = 2});
}

/// As it is without this, but the call fails; `which` counts the calls of this name from 1 on, 0 stands for
/// all.
Setting with_failing(const std::string& call, int error_number, int which = 0,
                     std::vector<std::string> options = {}) {
    options.insert(options.end(), {"--username", "bob", "--password", "hello", "--timeout", endless});
    return {.options = std::move(options),
            .environment = preloading(
                FAILING_CALLS, call + "=" + std::to_string(error_number) + "@" + std::to_string(which))};
}

void expect_unsent(const Conversation& run, const std::string& errors) {
    EXPECT_EQ(run.client.output, banner());
    EXPECT_EQ(run.client.errors, errors);
    EXPECT_EQ(run.client.ending, exited_with(1));
    EXPECT_TRUE(run.requests.empty());
}

void expect_accepted(const Conversation& run, const std::string& errors) {
    const Bytes reply = accept(run.request());
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob() +
                                     run.received("Access-Accept", reply) +
                                     message_authenticator_line(reply) + success);
    EXPECT_EQ(run.client.errors, errors);
    EXPECT_EQ(run.client.ending, exited_with(0));
}

/// What the system says of an error number.
std::string words_for(int error_number) {
    return std::string(": ") + std::strerror(error_number) + "\n";
}

TEST(FailingCalls, AreMadeToFailByName) {
    // Else the tests below would tell nothing.
    expect_accepted(converse_with(accept, with_failing("no such call", EPERM)), "");
}

TEST(FailingCalls, EndTheRunWhenThereIsNoSocket) {
    for (const int number : {EMFILE, ENFILE, ENOBUFS, ENOMEM, EACCES, EINTR}) {
        expect_unsent(converse({}, with_failing("socket", number)), "authprobe: socket" + words_for(number));
    }
}

TEST(FailingCalls, EndTheRunWhenTheSourceCannotBeBound) {
    for (const int number : {EADDRINUSE, EADDRNOTAVAIL, EACCES, ENOMEM, EINTR}) {
        expect_unsent(converse({}, with_failing("bind", number, 0, {"--source-ip", "127.0.0.1"})),
                      "authprobe: bind (--source-ip must be a local address)" + words_for(number));
    }
}

TEST(FailingCalls, EndTheRunWhenTheServerCannotBeConnectedTo) {
    for (const int number : {ENETUNREACH, EHOSTUNREACH, EAGAIN, EINTR, EPERM}) {
        expect_unsent(converse({}, with_failing("connect", number)),
                      "authprobe: connect" + words_for(number));
    }
}

TEST(FailingCalls, LeaveTheLocalAddressZeroWhenItIsNotTold) {
    const Conversation run = converse_with(accept, with_failing("getsockname", ENOBUFS));
    const Bytes reply = accept(run.request());
    const std::string ends[] = {" from 0.0.0.0:0 to " + run.server(),
                                " from " + run.server() + " to 0.0.0.0:0"};
    EXPECT_EQ(run.client.output, banner() + " Sent Access-Request Id " + run.identifier() + ends[0] +
                                     " length " + std::to_string(run.request().size()) +
                                     "\n     User-Name = \"bob\"\n     User-Password = \"hello\"\n"
                                     "     NAS-IP-Address = 0.0.0.0\n"
                                     "     Message-Authenticator = 0x00000000000000000000000000000000\n"
                                     " Received Access-Accept Id " +
                                     run.identifier() + ends[1] + " length " + std::to_string(reply.size()) +
                                     "\n" + message_authenticator_line(reply) + success);
    EXPECT_EQ(value_of(run.request(), 4), Bytes(4));
    EXPECT_EQ(run.client.errors, "");
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(FailingCalls, EndTheRunWhenSendingFails) {
    for (const int number : {EINTR, EAGAIN, ENOBUFS, ECONNREFUSED, EPERM, EMSGSIZE, EPIPE}) {
        SCOPED_TRACE(std::strerror(number));
        const Conversation run = converse({}, with_failing("send", number));
        EXPECT_TRUE(run.client.output.ends_with(listing_of_bob()));
        EXPECT_EQ(run.client.output.find("Received"), std::string::npos);
        EXPECT_EQ(run.client.errors, "authprobe: send" + words_for(number));
        EXPECT_EQ(run.client.ending, exited_with(1));
        EXPECT_TRUE(run.requests.empty());
    }
}

TEST(FailingCalls, EndTheRunWhenSendingAgainFails) {
    const Conversation run =
        converse({answer([](const Bytes&) { return Bytes(1); })}, with_failing("send", ENOBUFS, 2));
    EXPECT_EQ(run.client.errors, run.no_reply() + "authprobe: send" + words_for(ENOBUFS));
    EXPECT_EQ(run.client.ending, exited_with(1));
    EXPECT_EQ(run.requests.size(), 1U);
}

TEST(FailingCalls, FailAnAttemptWhenWaitingFails) {
    for (const int number : {EINTR, ENOMEM, EINVAL, EFAULT}) {
        SCOPED_TRACE(std::strerror(number));
        const Conversation once = converse({answer(accept), answer(accept)}, with_failing("poll", number, 1));
        expect_accepted(once, once.no_reply());
        EXPECT_EQ(once.requests.size(), 2U);
        EXPECT_EQ(once.requests.front().bytes, once.requests.back().bytes);

        const Conversation always = converse({answer(accept)}, with_failing("poll", number));
        EXPECT_EQ(always.client.errors, always.no_reply() + always.no_reply() + always.no_reply() +
                                            no_response_from(always.server()));
        EXPECT_EQ(always.client.ending, exited_with(1));
        EXPECT_EQ(always.requests.size(), 3U);
    }
}

TEST(FailingCalls, FailAnAttemptWhenReceivingFails) {
    for (const int number : {EINTR, EAGAIN, ECONNREFUSED, EHOSTUNREACH, ENOMEM}) {
        SCOPED_TRACE(std::strerror(number));
        const Conversation once = converse({answer(accept), answer(accept)}, with_failing("recv", number, 1));
        expect_accepted(once, once.no_reply());
        EXPECT_EQ(once.requests.size(), 2U);

        const Conversation always =
            converse({answer(accept), answer(accept), answer(accept)}, with_failing("recv", number));
        EXPECT_EQ(always.client.errors, always.no_reply() + always.no_reply() + always.no_reply() +
                                            no_response_from(always.server()));
        EXPECT_EQ(always.client.ending, exited_with(1));
        EXPECT_EQ(always.requests.size(), 3U);
    }
}

// OpenSSL.

TEST(FailingCalls, SendNothingThatIsNotRandom) {
    const std::string no_random =
        "authprobe: failed to build request: random_authenticator: RAND_bytes failed (CSPRNG unavailable)\n";
    expect_unsent(converse({}, with_failing("RAND_bytes", 0)), no_random);
    expect_unsent(converse({}, with_failing("RAND_bytes", 0, 1, {"-t", "chap"})), no_random);
    // The Request Authenticator comes first, and then the challenges.
    expect_unsent(converse({}, with_failing("RAND_bytes", 0, 2, {"-t", "mschap"})), no_random);
    expect_unsent(converse({}, with_failing("RAND_bytes", 0, 2, {"-t", "mschapv2"})), no_random);
    expect_unsent(converse({}, with_failing("RAND_bytes", 0, 3, {"-t", "mschapv2"})), no_random);
}

TEST(FailingCalls, EndTheRunWithoutTheProvidersOfMschap) {
    for (const std::string method : {"mschap", "mschapv2"}) {
        for (const std::string provider : {"default", "legacy"}) {
            expect_unsent(
                converse({}, with_failing("OSSL_PROVIDER_load(" + provider + ")", 0, 0, {"-t", method})),
                "authprobe: OpenSSL legacy provider (MD4/DES) not available; cannot do " + method + "\n");
        }
    }
    expect_accepted(converse_with(accept, with_failing("OSSL_PROVIDER_load(legacy)", 0)), "");
}

TEST(FailingCalls, BelieveNobodyWithoutDigests) {
    struct Row {
        std::string call;
        bool message_authenticator;  // in the reply
        std::string errors;
    };
    const std::string no_message_authenticator =
        "\nauthprobe: ERROR: reply Message-Authenticator is invalid (shared secret is incorrect or the "
        "packet "
        "was tampered with): RadiusPacket: Message-Authenticator mismatch\nauthprobe: Fail\n\n";
    const std::string no_response_authenticator =
        "\nauthprobe: ERROR: reply failed validation (shared secret is probably incorrect): RadiusPacket: "
        "invalid Response Authenticator\nauthprobe: Fail\n\n";
    const std::vector<Row> rows = {
        {"EVP_MD_fetch(MD5)", true, no_message_authenticator},  // HMAC is made of it
        {"EVP_MD_fetch(MD5)", false, no_response_authenticator},
        {"EVP_MAC_fetch(HMAC)", true, no_message_authenticator},
    };
    for (const auto& [call, message_authenticator, errors] : rows) {
        SCOPED_TRACE(call);
        const auto authentic = [has_one = message_authenticator](const Bytes& request) {
            return reply_to(request, {.code = 2, .message_authenticator = has_one});
        };
        const Conversation run = converse_with(authentic, with_failing(call, 0));
        EXPECT_EQ(run.client.errors, errors);
        EXPECT_EQ(run.client.ending, exited_with(1));

        // Zeros, which is what such digests are for the program itself.
        const auto zeros = [has_one = message_authenticator](const Bytes& request) {
            Bytes reply = reply_to(request, {.code = 2, .message_authenticator = has_one});
            std::fill(reply.begin() + 4, reply.begin() + 20, std::uint8_t{0});
            if (has_one) {
                std::fill(reply.begin() + 22, reply.end(), std::uint8_t{0});
            }
            return reply;
        };
        const Conversation forged = converse_with(zeros, with_failing(call, 0));
        EXPECT_EQ(forged.client.ending, exited_with(1));
        EXPECT_EQ(forged.client.output.find("Success"), std::string::npos);
    }
}

TEST(FailingCalls, ProveNothingWithoutMd4OrDes) {
    for (const std::string call : {"EVP_MD_fetch(MD4)", "EVP_CIPHER_fetch(DES-ECB)"}) {
        SCOPED_TRACE(call);
        const Conversation run = converse_with(accept, with_failing(call, 0, 0, {"-t", "mschap"}));
        // Without MD4 it is the response for a hash of zeros; without DES there is none. Neither tells
        // anything about the password.
        const std::string zeros = "MS-CHAP-Response = 0x" + utils::bytes_to_hex(&run.request()[1], 1) + "01" +
                                  std::string(96, '0') + "\n";
        EXPECT_EQ(run.client.output.find(zeros) != std::string::npos, call == "EVP_CIPHER_fetch(DES-ECB)");
        EXPECT_EQ(run.client.errors, "");
        EXPECT_EQ(run.client.ending, exited_with(0));
    }
}

// Output that goes nowhere.

TEST(LostOutput, ChangesNoVerdict) {
    for (const Stream output : {Stream::NoReader, Stream::FullDisk}) {
        for (const Stream errors : {Stream::Pipe, Stream::NoReader, Stream::FullDisk}) {
            const Conversation accepted = converse_with(accept, {.output = output, .errors = errors});
            EXPECT_EQ(accepted.client.errors, "");
            EXPECT_EQ(accepted.client.ending, exited_with(0));
            EXPECT_EQ(accepted.requests.size(), 1U);

            const auto reject = [](const Bytes& request) { return reply_to(request, {.code = 3}); };
            const Conversation rejected = converse_with(reject, {.output = output, .errors = errors});
            EXPECT_EQ(rejected.client.errors,
                      errors == Stream::Pipe
                          ? "authprobe: ERROR: expected Access-Accept, got Access-Reject\nauthprobe: Fail\n\n"
                          : "");
            EXPECT_EQ(rejected.client.ending, exited_with(1));
        }
    }
}

TEST(LostOutput, ChangesNoExchange) {
    // The errors alone: what is told about an attempt, before the reply comes.
    for (const Stream errors : {Stream::NoReader, Stream::FullDisk}) {
        const Conversation run =
            converse({answer([](const Bytes&) { return Bytes(1); }), answer(accept)}, {.errors = errors});
        expect_accepted(run, "");
        EXPECT_EQ(run.requests.size(), 2U);
    }
}

TEST(LostOutput, IsNoReasonToFailOtherwiseAtStartUp) {
    for (const Stream stream : {Stream::NoReader, Stream::FullDisk}) {
        for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                          {"--nope"},
                                                          {"--timeout", "0"},
                                                          {"-d", "/nonexistent", "127.0.0.1", "s"}}) {
            Command command = authprobe(arguments);
            command.output = stream;
            command.errors = stream;
            EXPECT_EQ(run_process(command).ending, exited_with(1));
        }
    }
}

TEST(LostOutput, IsQuietInAPipeline) {
    // What a shell makes of a signal, it would print, or hand on as status 141.
    UdpPeer peer({answer(accept)});
    const ProcessResult result = run_process(
        {.program = "/bin/bash",
         .arguments = {"-c", "\"$@\" | head -n 1; exit ${PIPESTATUS[0]}", "bash", AUTHPROBE_PROGRAM, "-d",
                       shipped_dictionary_path(), peer.address(), shared_secret}});
    EXPECT_EQ(result.output, "\n");  // the banner begins with an empty line
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(result.ending, exited_with(0));
}

}  // namespace
}  // namespace quarn::test
