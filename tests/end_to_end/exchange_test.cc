// Sending, waiting and sending again.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "end_to_end/client.h"
#include "testing/dictionaries.h"
#include "testing/process.h"
#include "testing/scratch_folder.h"
#include "testing/udp_peer.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

constexpr std::uint8_t access_accept = 2;

/// Longer than any test waits: a run that ends has not sat it out. The largest there is, in seconds.
constexpr char endless[] = "2147483647";

/// User-Name bob, password hello, and these options.
Setting with_options(std::vector<std::string> options) {
    options.insert(options.end(), {"--username", "bob", "--password", "hello"});
    return {.options = std::move(options)};
}

Bytes accept(const Bytes& request) {
    return reply_to(request, {.code = access_accept});
}

/// Answers with the datagrams that the function makes from the request.
template <typename Make>
UdpPeer::Answer answer_with(Make make_replies) {
    return [make_replies](std::span<const Datagram> requests) { return make_replies(requests.back().bytes); };
}

void expect_accepted(const Conversation& run, const std::string& errors) {
    const Bytes reply = accept(run.request());
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob() +
                                     run.received("Access-Accept", reply) +
                                     message_authenticator_line(reply) + "\nauthprobe: Success\n\n");
    EXPECT_EQ(run.client.errors, errors);
    EXPECT_EQ(run.client.ending, exited_with(0));
}

void expect_unanswered(const Conversation& run, const std::string& errors) {
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob());
    EXPECT_EQ(run.client.errors, errors);
    EXPECT_EQ(run.client.ending, exited_with(1));
}

void expect_the_same_datagram(const std::vector<Datagram>& requests, std::size_t times) {
    EXPECT_EQ(requests.size(), times);
    for (const Datagram& request : requests) {
        EXPECT_EQ(request.bytes, requests.front().bytes);
        EXPECT_EQ(request.port, requests.front().port);
    }
}

TEST(Exchange, EndsWithTheFirstReply) {
    const Conversation run = converse_with(accept);
    expect_accepted(run, "");
    EXPECT_EQ(run.requests.size(), 1U);
}

TEST(Exchange, SendsTheSameDatagramThreeTimesToASilentServer) {
    const Conversation run = converse({}, with_options({"--timeout", "1"}));
    expect_the_same_datagram(run.requests, 3);
    expect_unanswered(run, run.no_reply() + run.no_reply() + run.no_reply() + no_response_from(run.server()));
    EXPECT_GE(run.client.duration, std::chrono::milliseconds(3000));
}

TEST(Exchange, SendsAsOftenAsRetrySays) {
    const Conversation run = converse({}, with_options({"--timeout", "1", "--retry", "1"}));
    expect_the_same_datagram(run.requests, 1);
    expect_unanswered(run, run.no_reply() + no_response_from(run.server()));
    EXPECT_GE(run.client.duration, std::chrono::milliseconds(1000));
}

TEST(Exchange, SendsThreeTimesWhenToldWhatIsTheDefault) {
    const Conversation run = converse({}, with_options({"--timeout", "1", "--retry", "3"}));
    expect_the_same_datagram(run.requests, 3);
    expect_unanswered(run, run.no_reply() + run.no_reply() + run.no_reply() + no_response_from(run.server()));
}

TEST(Exchange, AcceptsALateAnswerToAnEarlierAttempt) {
    const Conversation run = converse(
        {
            silence(),
            // The first attempt has timed out: the second one is here.
            [](std::span<const Datagram> requests) {
                return std::vector<Bytes>{accept(requests.front().bytes)};
            },
        },
        with_options({"--timeout", "2"}));
    expect_the_same_datagram(run.requests, 2);
    expect_accepted(run, run.no_reply());
}

TEST(Exchange, TakesAReplyWithAnotherIdentifierForNone) {
    const auto other_identifier =
        answer([](const Bytes& request) { return reply_to(request, {.code = 2, .identifier_offset = 1}); });
    const Conversation run = converse({other_identifier, other_identifier, other_identifier},
                                      with_options({"--timeout", endless}));
    expect_the_same_datagram(run.requests, 3);
    expect_unanswered(run, run.no_reply() + run.no_reply() + run.no_reply() + no_response_from(run.server()));
}

TEST(Exchange, SendsAgainAfterAReplyWithAnotherIdentifier) {
    const Conversation run = converse(
        {
            answer([](const Bytes& request) {
                return reply_to(request, {.code = access_accept, .identifier_offset = -1});
            }),
            answer(accept),
        },
        with_options({"--timeout", endless}));
    expect_the_same_datagram(run.requests, 2);
    expect_accepted(run, run.no_reply());
}

TEST(Exchange, DoesNotWaitPastADatagramThatIsNoReply) {
    // Both datagrams are there when the client looks: the first one fails the attempt all the same.
    const Conversation run = converse({answer_with([](const Bytes& request) {
                                          return std::vector{Bytes{2, request[1], 0, 4}, accept(request)};
                                      })},
                                      with_options({"--timeout", endless}));
    expect_the_same_datagram(run.requests, 2);
    expect_accepted(run, run.no_reply());
}

TEST(Exchange, TakesADatagramOf19BytesForNone) {
    const Conversation run = converse(
        {answer([](const Bytes& request) {
             Bytes reply = reply_to(request, {.code = access_accept, .message_authenticator = false});
             reply.resize(19);
             reply[3] = 19;
             return reply;
         }),
         answer(accept)},
        with_options({"--timeout", endless}));
    expect_the_same_datagram(run.requests, 2);
    expect_accepted(run, run.no_reply());
}

TEST(Exchange, TakesAnEmptyDatagramForNone) {
    const Conversation run = converse({answer([](const Bytes&) { return Bytes(); }), answer(accept)},
                                      with_options({"--timeout", endless}));
    expect_the_same_datagram(run.requests, 2);
    expect_accepted(run, run.no_reply());
}

TEST(Exchange, TakesADatagramOf20BytesForAReply) {
    const Conversation run = converse_with([](const Bytes& request) {
        return reply_to(request, {.code = access_accept, .message_authenticator = false});
    });
    EXPECT_EQ(run.client.output, banner() + run.sent() + listing_of_bob() +
                                     run.received("Access-Accept", Bytes(20)) + "\nauthprobe: Success\n\n");
    EXPECT_EQ(run.client.errors, "authprobe: WARNING: reply has no Message-Authenticator attribute\n");
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Exchange, DoesNotWaitForARefusedPort) {
    const ClosedPort port;
    Command command = authprobe({"-d", shipped_dictionary_path(), "--timeout", endless, port.address(), "s"});
    const ProcessResult result = run_process(command);

    const std::string no_reply = " No reply from server for ID " + std::to_string(result.pid % 256) + "\n";
    EXPECT_EQ(result.errors, no_reply + no_reply + no_reply + no_response_from(port.address()));
    EXPECT_EQ(result.ending, exited_with(1));
}

TEST(Exchange, WaitsForASlowAnswerWithinTheLongestTimeouts) {
    // In milliseconds none of them fits an int; cut to its 32 bits, the last one is 0.
    for (const std::string timeout : {"2147483647", "2147484", "536870912"}) {
        SCOPED_TRACE(timeout);
        const Conversation run = converse_with(
            [](const Bytes& request) {
                std::this_thread::sleep_for(std::chrono::milliseconds(200));
                return accept(request);
            },
            with_options({"--timeout", timeout}));
        expect_accepted(run, "");
        EXPECT_EQ(run.requests.size(), 1U);
    }
}

TEST(Exchange, HearsNobodyButTheServer) {
    const Conversation run =
        converse({[](std::span<const Datagram> requests) {
                     send_from_elsewhere(accept(requests.back().bytes), requests.back().port);
                     return std::vector<Bytes>();
                 }},
                 with_options({"--timeout", "1", "--retry", "1"}));
    EXPECT_EQ(run.requests.size(), 1U);
    expect_unanswered(run, run.no_reply() + no_response_from(run.server()));
}

TEST(Exchange, CutsALongDatagramTo4096Bytes) {
    const Bytes value = attribute(25, Bytes(253, 7));
    Bytes attributes;
    while (20 + attributes.size() + value.size() <= 4096) {
        attributes.insert(attributes.end(), value.begin(), value.end());
    }
    const Bytes last = attribute(25, Bytes(4096 - 20 - attributes.size() - 2, 7));
    attributes.insert(attributes.end(), last.begin(), last.end());
    const auto make_reply = [&](const Bytes& request) {
        Bytes reply = reply_to(
            request, {.code = access_accept, .attributes = attributes, .message_authenticator = false});
        EXPECT_EQ(reply.size(), 4096U);
        reply.resize(5000);
        return reply;
    };
    const Conversation run = converse_with(make_reply);
    EXPECT_EQ(run.client.errors, "authprobe: WARNING: reply has no Message-Authenticator attribute\n");
    EXPECT_NE(run.client.output.find(run.received("Access-Accept", Bytes(4096))), std::string::npos)
        << run.client.output;
    EXPECT_EQ(run.client.ending, exited_with(0));
}

TEST(Exchange, TellsThatSendingFails) {
    // A request longer than a UDP datagram can be.
    const std::string dictionary_text = R"(
attributes:
  User-Name: {code: 1, type: text, concat: true}
  NAS-IP-Address: {code: 4, type: ipv4addr}
)";
    const ScratchFolder folder;
    const std::string dictionary = folder.write("dictionary.yaml", dictionary_text);
    const std::string name(70000, 'x');
    UdpPeer peer;
    const ProcessResult result = run_process(authprobe(
        {"-d", dictionary, "--username", name, "--no-message-auth", peer.address(), shared_secret}));
    EXPECT_EQ(result.errors, "authprobe: send: Message too long\n");
    EXPECT_EQ(result.ending, exited_with(1));
    EXPECT_TRUE(peer.finish().empty());
}

TEST(Exchange, SendsNothingButTheRequestWhenAStandardStreamIsClosed) {
    // The socket must not take a closed stream's place: what is meant for the user, such as the line about
    // the first attempt, would go to the server.
    for (const bool closed_input : {true, false}) {
        for (const Stream output : {Stream::Pipe, Stream::Closed}) {
            for (const Stream errors : {Stream::Pipe, Stream::Closed}) {
                const Conversation run =
                    converse({answer([](const Bytes& request) {
                                  return reply_to(request, {.code = access_accept, .identifier_offset = 1});
                              }),
                              answer(accept)},
                             {.closed_input = closed_input, .output = output, .errors = errors});
                expect_the_same_datagram(run.requests, 2);
                EXPECT_EQ(types_of(attributes_of(run.request())), (std::vector<int>{1, 2, 4, 80}));
                EXPECT_EQ(run.client.output.empty(), output == Stream::Closed);
                EXPECT_EQ(run.client.errors, errors == Stream::Closed ? "" : run.no_reply());
                EXPECT_EQ(run.client.ending, exited_with(0));
            }
        }
    }
}

/// The sockets that a process has open.
std::size_t sockets_of(pid_t pid) {
    std::size_t sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd")) {
        sockets += std::filesystem::read_symlink(entry).string().starts_with("socket:") ? 1 : 0;
    }
    return sockets;
}

// What the reply says may take its time to be read: nothing more is let in meanwhile.
TEST(Exchange, ClosesItsSocketBeforeTheReplyIsListed) {
    // The first text to be written is the banner, the second lists the request, the third lists the reply.
    for (const int which : {2, 3}) {
        UdpPeer peer({answer(accept)});
        Command command = authprobe({"-d", shipped_dictionary_path(), peer.address(), shared_secret});
        command.environment = preloading(FAILING_CALLS, "write=stop@" + std::to_string(which));
        Process process(command);
        ASSERT_TRUE(process.wait_until_stopped());
        EXPECT_EQ(sockets_of(process.pid()), which == 2 ? 1U : 0U);
        process.resume();
        const ProcessResult result = process.wait();
        EXPECT_EQ(result.ending, exited_with(0)) << result.errors;
        EXPECT_NE(result.output.find("Received Access-Accept"), std::string::npos) << result.output;
    }
}

TEST(Exchange, AnnouncesTheRequestBeforeItWaits) {
    UdpPeer peer;
    Command command = authprobe({"-d", shipped_dictionary_path(), "--timeout", endless, peer.address(), "s"});
    Process process(command);
    EXPECT_TRUE(process.wait_for_output(bare_listing())) << process.output();
    EXPECT_EQ(process.output().find("Received"), std::string::npos);
}

}  // namespace
}  // namespace quarn::test
