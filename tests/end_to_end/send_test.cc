// `quarn-radius send` as a process, against peers that follow a script: every verdict with its word, its
// sentence and its exit status.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quarn/client/verdict.h"
#include "testing/hex.h"
#include "testing/process.h"
#include "testing/pseudo_terminal.h"
#include "testing/scratch_folder.h"
#include "testing/tcp_peer.h"
#include "testing/udp_peer.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using client::Verdict;
using utils::Bytes;

constexpr std::uint8_t access_accept = 2;
constexpr std::uint8_t access_reject = 3;
constexpr std::uint8_t accounting_response = 5;
constexpr std::uint8_t access_challenge = 11;
constexpr std::uint8_t disconnect_ack = 41;
constexpr std::uint8_t coa_nak = 45;

constexpr std::uint8_t user_password_type = 2;
constexpr std::uint8_t reply_message_type = 18;
constexpr std::uint8_t state_type = 24;
constexpr std::uint8_t eap_message_type = 79;
constexpr std::uint8_t message_authenticator_type = 80;
constexpr std::uint8_t error_cause_type = 101;

/// The command with the shipped dictionary and the secret of the peers.
Command send_command(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"send", "-d", QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml",
                                         "--secret", "testing123"});
    return {.program = QUARN_RADIUS_PROGRAM, .arguments = std::move(arguments)};
}

/// The arguments behind those of every request here.
std::vector<std::string> as_bob(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--username", "bob", "--password", "hello"});
    return arguments;
}

UdpPeer::Answer reply(const Reply& wanted) {
    return answer([wanted](const Bytes& request) { return reply_to(request, wanted); });
}

UdpPeer::Answer bytes(const Bytes& datagram) {
    return answer([datagram](const Bytes&) { return datagram; });
}

std::string last_line(const std::string& text) {
    const std::string body = text.substr(0, text.find_last_not_of('\n') + 1);
    return body.substr(body.find_last_of('\n') + 1);
}

/// The run ends with this verdict: its word, its sentence, and its exit status.
void expect_verdict(const ProcessResult& run, Verdict verdict) {
    const client::VerdictRow& row = client::verdict_row(verdict);
    const std::string wanted = std::string(row.word) + ": " + std::string(row.sentence);
    EXPECT_EQ(last_line(run.output).substr(0, wanted.size()), wanted) << run.output;
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.ending, exited_with(row.exit_status));
}

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

struct PlantedCause {
    const char* name;
    Verdict verdict;
    UdpPeer::Answer answer;
    std::vector<std::string> arguments = {};
    const char* told = "";  ///< what the output says besides
};

/// A code with a Length of 20 and an attribute of no length behind it.
Bytes broken_attribute(const Bytes& request) {
    Bytes datagram = reply_to(request, {.code = access_accept, .message_authenticator = false});
    datagram.insert(datagram.end(), {reply_message_type, 0});
    datagram[3] = 22;
    return datagram;
}

std::vector<PlantedCause> planted_causes() {
    return {
        {"accepted",
         Verdict::Accepted,
         reply({.code = access_accept}),
         {},
         "Verified: Response Authenticator, Message-Authenticator"},
        {"rejected", Verdict::Rejected, reply({.code = access_reject})},
        {"challenge without an answer", Verdict::Challenge, reply({.code = access_challenge})},
        {"another secret",
         Verdict::WrongSecret,
         reply({.code = access_accept, .secret = "other"}),
         {},
         "Failed: Response Authenticator, Message-Authenticator"},
        {"another secret, no Message-Authenticator", Verdict::WrongSecret,
         reply({.code = access_reject, .message_authenticator = false, .secret = "other"})},
        {"spoilt Message-Authenticator", Verdict::NotAuthentic,
         reply({.code = access_accept, .spoil_message_authenticator = true})},
        {"spoilt Response Authenticator", Verdict::NotAuthentic, answer([](const Bytes& request) {
             Bytes datagram = reply_to(request, {.code = access_accept});
             datagram[4] ^= 1;
             return datagram;
         })},
        {"no Message-Authenticator, required",
         Verdict::MessageAuthenticatorMissing,
         reply({.code = access_accept, .message_authenticator = false}),
         {"--require-message-authenticator", "yes"}},
        {"no Message-Authenticator, warned of",
         Verdict::Accepted,
         reply({.code = access_accept, .message_authenticator = false}),
         {},
         "CVE-2024-3596"},
        {"EAP-Message without Message-Authenticator", Verdict::MessageAuthenticatorMissing,
         reply({.code = access_challenge,
                .attributes = attribute(eap_message_type, hex("0101 0005 01")),
                .message_authenticator = false})},
        {"another Identifier", Verdict::WrongIdentifier,
         reply({.code = access_accept, .identifier_offset = 1})},
        {"code of another service", Verdict::UnexpectedCode, reply({.code = accounting_response})},
        {"too short", Verdict::Malformed, bytes(hex("0201 0014"))},
        {"no packet at all", Verdict::Malformed, bytes(utils::to_bytes("hello"))},
        {"attribute without a length", Verdict::Malformed, answer(broken_attribute), {}, "(at octet "},
        {"silence", Verdict::NoAnswer, silence(), {"--timeout", "0.2", "--tries", "1"}},
        {"expected attribute missing",
         Verdict::ExpectationFailed,
         reply({.code = access_accept}),
         {"--expect", "Filter-Id"},
         "Expected Filter-Id, but: it is not there"},
        {"expected reject",
         Verdict::ExpectationFailed,
         reply({.code = access_accept}),
         {"--expect", "reject"},
         "Expected reject, but: Access-Accept"},
        {"NAK with its cause",
         Verdict::Rejected,
         reply({.code = coa_nak, .attributes = attribute(error_cause_type, hex("0000 01f7"))}),
         {"--code", "coa"},
         "503"},
        {"Protocol-Error",
         Verdict::Rejected,
         reply({.code = 52, .attributes = attribute(error_cause_type, hex("0000 0196"))}),
         {},
         "406"},
        {"accounting",
         Verdict::Accepted,
         reply({.code = accounting_response}),
         {"--code", "accounting"},
         "Session: "},
        {"disconnect", Verdict::Accepted, reply({.code = disconnect_ack}), {"--code", "disconnect"}},
        {"status", Verdict::Accepted, reply({.code = access_accept}), {"--code", "status"}},
        {"a code of no RFC", Verdict::Accepted, reply({.code = 99}), {"--code", "98"}},
    };
}

TEST(Send, NamesEachPlantedCause) {
    for (const PlantedCause& cause : planted_causes()) {
        SCOPED_TRACE(cause.name);
        const UdpPeer peer({cause.answer});
        std::vector<std::string> arguments = as_bob({peer.address()});
        arguments.insert(arguments.end(), cause.arguments.begin(), cause.arguments.end());
        const ProcessResult run = run_process(send_command(std::move(arguments)));
        expect_verdict(run, cause.verdict);
        EXPECT_TRUE(contains(run.output, cause.told)) << run.output;
    }
}

TEST(Send, NamesAClosedPort) {
    const ClosedPort port;
    expect_verdict(run_process(send_command(as_bob({port.address()}))), Verdict::Refused);
    expect_verdict(run_process(send_command(as_bob({"tcp://" + port.address()}))), Verdict::Refused);
}

struct PlantedStream {
    const char* name;
    Verdict verdict;
    TcpPeer::Serve serve;
};

// A stream that ends, that trickles, that cannot be cut into packets, that brings a thousand packets.
TEST(Send, NamesEachPlantedCauseOverTcp) {
    const std::vector<PlantedStream> streams = {
        {"accepted", Verdict::Accepted,
         [](int connection) {
             write_all(connection, reply_to(read_packet(connection), {.code = access_accept}));
             wait_for_end(connection);
         }},
        {"accepted, octet by octet", Verdict::Accepted,
         [](int connection) {
             for (const std::uint8_t octet : reply_to(read_packet(connection), {.code = access_accept})) {
                 write_all(connection, Bytes{octet});
             }
             wait_for_end(connection);
         }},
        {"another secret", Verdict::WrongSecret,
         [](int connection) {
             write_all(connection,
                       reply_to(read_packet(connection), {.code = access_accept, .secret = "other"}));
             wait_for_end(connection);
         }},
        {"closed at once", Verdict::ConnectionClosed, [](int) {}},
        {"closed after the request", Verdict::ConnectionClosed,
         [](int connection) { read_packet(connection); }},
        {"a Length that no packet has", Verdict::Malformed,
         [](int connection) {
             read_packet(connection);
             write_all(connection, hex("0201 0003 0000"));
             wait_for_end(connection);
         }},
        {"silence", Verdict::NoAnswer,
         [](int connection) {
             read_packet(connection);
             wait_for_end(connection);
         }},
        {"a packet that is never finished", Verdict::NoAnswer,
         [](int connection) {
             Bytes packet = reply_to(read_packet(connection), {.code = access_accept});
             packet.pop_back();
             write_all(connection, packet);
             wait_for_end(connection);
         }},
        {"a thousand packets for others", Verdict::WrongIdentifier,
         [](int connection) {
             const Bytes packet =
                 reply_to(read_packet(connection), {.code = access_accept, .identifier_offset = 1});
             for (int i = 0; i < 1000 && write_all(connection, packet); ++i) {
             }
             wait_for_end(connection);
         }},
    };
    for (const PlantedStream& stream : streams) {
        SCOPED_TRACE(stream.name);
        const TcpPeer peer(stream.serve);
        expect_verdict(run_process(send_command(as_bob({"tcp://" + peer.address(), "--timeout", "1"}))),
                       stream.verdict);
    }
}

TEST(Send, NamesAnAnswerFromElsewhere) {
    const UdpPeer server({[](std::span<const Datagram> requests) {
        send_from_elsewhere(reply_to(requests.back().bytes, {.code = access_accept}), requests.back().port);
        return std::vector<Bytes>();
    }});
    expect_verdict(run_process(send_command(as_bob({server.address()}))), Verdict::WrongSource);
}

TEST(Send, NamesAServerWithoutAnAddress) {
    expect_verdict(run_process(send_command(as_bob({"-6", "127.0.0.1"}))), Verdict::ResolveFailed);
}

TEST(Send, TellsABetterAnswerFromAForgedOne) {
    const UdpPeer server({[](std::span<const Datagram> requests) {
        const Bytes& request = requests.back().bytes;
        return std::vector<Bytes>{reply_to(request, {.code = access_reject, .secret = "other"}),
                                  reply_to(request, {.code = access_accept})};
    }});
    expect_verdict(run_process(send_command(as_bob({server.address(), "--grace", "10000"}))),
                   Verdict::Accepted);
}

TEST(Send, WaitsLikeANasWhenToldTo) {
    const UdpPeer server({[](std::span<const Datagram> requests) {
                              return std::vector<Bytes>{reply_to(requests.back().bytes,
                                                                 {.code = access_reject, .secret = "other"})};
                          },
                          reply({.code = access_accept})});
    const ProcessResult run =
        run_process(send_command(as_bob({server.address(), "--wait", "--timeout", "0.3", "--tries", "5"})));
    expect_verdict(run, Verdict::Accepted);
}

TEST(Send, ShowsRequestAndReply) {
    UdpPeer peer({reply(
        {.code = access_accept,
         .attributes = joined({attribute(reply_message_type, "Welcome"), attribute(81, hex("01 3432"))})})});
    const ProcessResult run = run_process(send_command(
        as_bob({peer.address(), "--bare", "NAS-Identifier=probe", "Tunnel-Private-Group-ID:1=7"})));
    const Bytes request = peer.finish().at(0).bytes;
    EXPECT_TRUE(has_valid_message_authenticator(request, "testing123"));
    EXPECT_EQ(types_of(attributes_of(request)), (std::vector<int>{80, 1, 32, 81, 2}));
    EXPECT_TRUE(contains(run.output,
                         "     User-Name = \"bob\"\n     NAS-Identifier = \"probe\"\n"
                         "     Tunnel-Private-Group-ID:1 = \"7\"\n     User-Password = (hidden)\n"))
        << run.output;
    EXPECT_TRUE(
        contains(run.output, "     Reply-Message = \"Welcome\"\n     Tunnel-Private-Group-ID:1 = \"42\"\n"))
        << run.output;
    EXPECT_FALSE(contains(run.output, "hello")) << run.output;
}

TEST(Send, ShowsSecretsAndBytesWhenAskedTo) {
    const UdpPeer peer({reply({.code = access_accept})});
    const ProcessResult run =
        run_process(send_command(as_bob({peer.address(), "--bare", "--show-secrets", "--verbose"})));
    EXPECT_TRUE(contains(run.output, "     User-Password = \"hello\"\n")) << run.output;
    EXPECT_TRUE(contains(run.output, "\n  0000  01 ")) << run.output;
    EXPECT_TRUE(contains(run.output, "\n  0010  ")) << run.output;
    EXPECT_FALSE(contains(run.output, "testing123")) << run.output;
}

TEST(Send, PrintsTheVerdictAloneWhenQuiet) {
    const UdpPeer peer({reply({.code = access_accept})});
    const ProcessResult run = run_process(send_command(as_bob({peer.address(), "--quiet"})));
    EXPECT_TRUE(run.output.starts_with("accepted " + peer.address() + " ")) << run.output;
    EXPECT_TRUE(run.output.ends_with(" ms\n")) << run.output;
    EXPECT_EQ(run.output.find('\n'), run.output.size() - 1) << run.output;
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST(Send, ExpectationsDecideTheExitStatusAndNotTheWord) {
    const UdpPeer peer({reply({.code = access_reject, .attributes = attribute(reply_message_type, "no")})});
    const ProcessResult run = run_process(
        send_command(as_bob({peer.address(), "--expect", "reject", "--expect", "Reply-Message=no"})));
    EXPECT_TRUE(last_line(run.output).starts_with("rejected: ")) << run.output;
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST(Send, WithoutAKindSuccessIsExpected) {
    const UdpPeer peer({reply({.code = access_reject, .attributes = attribute(reply_message_type, "no")})});
    expect_verdict(run_process(send_command(as_bob({peer.address(), "--expect", "Reply-Message=no"}))),
                   Verdict::Rejected);
}

TEST(Send, AnswersChallengesInTurn) {
    UdpPeer peer({reply({.code = access_challenge, .attributes = attribute(state_type, "first")}),
                  reply({.code = access_challenge, .attributes = attribute(state_type, "second")}),
                  reply({.code = access_accept})});
    const ProcessResult run =
        run_process(send_command(as_bob({peer.address(), "--answer", "one", "--answer", "two"})));
    expect_verdict(run, Verdict::Accepted);
    EXPECT_TRUE(contains(run.output, "challenge: The server asked for more, and was answered.\n"))
        << run.output;
    EXPECT_FALSE(contains(run.output, "got no answer")) << run.output;
    const std::vector<Datagram> requests = peer.finish();
    ASSERT_EQ(requests.size(), 3U);
    for (std::size_t i = 1; i < 3; ++i) {
        const Bytes& request = requests[i].bytes;
        EXPECT_TRUE(has_valid_message_authenticator(request, "testing123"));
        EXPECT_EQ(attributes_of(request).front().type, message_authenticator_type);
        EXPECT_EQ(value_of(request, state_type), utils::to_bytes(i == 1 ? "first" : "second"));
        EXPECT_EQ(value_of(request, user_password_type),
                  hidden_password(i == 1 ? "one" : "two", "testing123", authenticator_of(request)));
        EXPECT_NE(authenticator_of(request), authenticator_of(requests[0].bytes));
    }
}

TEST(Send, MakesEveryRequestOfEveryFileAndTakesTheLargestStatus) {
    const ScratchFolder folder;
    const std::string file =
        folder.write("requests", "User-Name = \"a\"\nUser-Password = \"x\"\n\nUser-Name = \"b\"\n");
    UdpPeer peer({reply({.code = access_accept}), reply({.code = access_reject})});
    const ProcessResult run = run_process(send_command({"-f", file, peer.address()}));
    EXPECT_EQ(run.ending, exited_with(1));
    EXPECT_TRUE(contains(run.output, ", from " + file + ":1\n")) << run.output;
    EXPECT_TRUE(contains(run.output, ", from " + file + ":4\n")) << run.output;
    EXPECT_EQ(peer.finish().size(), 2U);
}

TEST(Send, SendsNothingWhenARequestIsWrong) {
    const ScratchFolder folder;
    const std::string file =
        folder.write("requests", "User-Name = \"a\"\n\nUser-Name = \"b\"\nNAS-Prot = 3\n");
    UdpPeer peer;
    const ProcessResult run = run_process(send_command({"-f", file, peer.address()}));
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
              "quarn-radius: " + file + ":4: unknown attribute \"NAS-Prot\", did you mean \"NAS-Port\"?\n");
    EXPECT_EQ(run.ending, exited_with(2));
    EXPECT_EQ(peer.finish().size(), 0U);
}

TEST(Send, ParallelRequestsWaitTogether) {
    const ScratchFolder folder;
    std::string requests;
    for (int i = 0; i < 200; ++i) {
        requests += "User-Name = \"u" + std::to_string(i) + "\"\n\n";
    }
    const std::string file = folder.write("requests", requests);
    UdpPeer peer;
    const ProcessResult run = run_process(send_command(
        {"-f", file, "--parallel", "200", "--timeout", "1", "--tries", "1", "--quiet", peer.address()}));
    EXPECT_EQ(run.ending, exited_with(4));
    EXPECT_LT(run.duration, std::chrono::seconds(20)) << "one after another it would take 200";
    EXPECT_EQ(peer.finish().size(), 200U);
}

TEST(Send, ADryRunSendsNothing) {
    UdpPeer peer;
    const ProcessResult run =
        run_process(send_command(as_bob({"--dry-run", "--bare", peer.address(), "NAS-Port=3"})));
    EXPECT_EQ(run.ending, exited_with(0));
    EXPECT_TRUE(run.output.starts_with("Would send Access-Request Id ")) << run.output;
    EXPECT_TRUE(
        contains(run.output, "     User-Name = \"bob\"\n     NAS-Port = 3\n     User-Password = (hidden)\n"))
        << run.output;
    EXPECT_EQ(peer.finish().size(), 0U);
}

TEST(Send, DiagnosesSilence) {
    const UdpPeer peer;
    const ProcessResult run =
        run_process(send_command(as_bob({"--diagnose", "--timeout", "0.3", "--tries", "1", peer.address()})));
    expect_verdict(run, Verdict::NoAnswer);
    EXPECT_TRUE(contains(run.output, "Asked status-server: no-answer\n")) << run.output;
    EXPECT_TRUE(contains(run.output, "Likely cause 1: ")) << run.output;
}

// One after another the questions would take a minute, and each silent request has its lines.
TEST(Send, DiagnosesManySilencesTogether) {
    const ScratchFolder folder;
    std::string requests;
    for (int i = 0; i < 30; ++i) {
        requests += "User-Name = \"u\"\nUser-Password = \"x\"\n\n";
    }
    const UdpPeer peer;
    const ProcessResult run =
        run_process(send_command({"-f", folder.write("requests", requests), "--diagnose", "--parallel", "30",
                                  "--timeout", "2", "--tries", "1", peer.address()}));
    EXPECT_EQ(run.ending, exited_with(4));
    EXPECT_LT(run.duration, std::chrono::seconds(25));
    std::size_t diagnosed = 0;
    for (std::size_t at = run.output.find("Likely cause 1: "); at != std::string::npos;
         at = run.output.find("Likely cause 1: ", at + 1)) {
        ++diagnosed;
    }
    EXPECT_EQ(diagnosed, 30U);
}

TEST(Send, WarnsOfAShortSecret) {
    const UdpPeer peer({reply({.code = access_accept})});
    EXPECT_TRUE(contains(run_process(send_command(as_bob({peer.address()}))).output,
                         "Note: The shared secret has 10 octets: "));
    const std::string secret(13, 'x');
    const UdpPeer other({reply({.code = access_accept, .secret = secret})});
    Command command = send_command(as_bob({other.address()}));
    command.arguments[4] = secret;
    EXPECT_FALSE(contains(run_process(command).output, "The shared secret has"));
}

TEST(Send, TakesSecretAndPasswordFromFilesAndTheEnvironment) {
    const ScratchFolder folder;
    const std::string dictionary = QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml";
    UdpPeer peer({reply({.code = access_accept}), reply({.code = access_accept})});
    const ProcessResult first =
        run_process({.program = QUARN_RADIUS_PROGRAM,
                     .arguments = {"send", "-d", dictionary, "--secret-file",
                                   folder.write("secret", "testing123\n"), "--username", "bob",
                                   "--password-file", folder.write("password", "hello\n"), peer.address()}});
    expect_verdict(first, Verdict::Accepted);
    const ProcessResult second =
        run_process({.program = QUARN_RADIUS_PROGRAM,
                     .arguments = {"send", "-d", dictionary, "--secret-env", "LAB_SECRET", "--username",
                                   "bob", "--password-env", "LAB_PASSWORD", peer.address()},
                     .environment = {{"LAB_SECRET", "testing123"}, {"LAB_PASSWORD", "hello"}}});
    expect_verdict(second, Verdict::Accepted);
    for (const Datagram& request : peer.finish()) {
        EXPECT_EQ(value_of(request.bytes, user_password_type),
                  hidden_password("hello", "testing123", authenticator_of(request.bytes)));
    }
}

TEST(Send, ReadsAProfile) {
    const ScratchFolder folder;
    UdpPeer peer({reply({.code = access_accept})});
    folder.write("quarn-radius/send/lab.secret", "testing123\n");
    folder.write("quarn-radius/send/lab.yaml", "server: " + peer.address() +
                                                   "\nsecret-file: lab.secret\n"
                                                   "options:\n"
                                                   "  dictionary: " QUARN_SOURCE_DIR
                                                   "/share/quarn/radius/dictionary.yaml\n"
                                                   "  bare: true\n"
                                                   "  quiet: true\n"
                                                   "attributes:\n"
                                                   "  NAS-Identifier: probe\n");
    const ProcessResult run = run_process({.program = QUARN_RADIUS_PROGRAM,
                                           .arguments = {"send", "--profile", "lab", "User-Name=bob"},
                                           .environment = {{"XDG_CONFIG_HOME", folder.path().string()}}});
    EXPECT_TRUE(run.output.starts_with("accepted " + peer.address() + " ")) << run.output << run.errors;
    EXPECT_EQ(types_of(attributes_of(peer.finish().at(0).bytes)), (std::vector<int>{80, 1, 32}));
}

TEST(Send, TellsFileAndLineOfWhatAProfileHasWrong) {
    const ScratchFolder folder;
    const auto errors = [&](const std::string& text) {
        const std::string file = folder.write("quarn-radius/send/lab.yaml", text);
        const ProcessResult run = run_process({.program = QUARN_RADIUS_PROGRAM,
                                               .arguments = {"send", "--profile", "lab"},
                                               .environment = {{"XDG_CONFIG_HOME", folder.path().string()}}});
        EXPECT_EQ(run.ending, exited_with(2));
        const std::string start = "quarn-radius: " + file;
        EXPECT_TRUE(run.errors.starts_with(start)) << run.errors;
        return run.errors.substr(start.size());
    };
    EXPECT_EQ(errors("options:\n  timout: 1\n"),
              ":2: unknown option \"timout\", did you mean \"timeout\"?\n");
    EXPECT_EQ(errors("options: {bare: perhaps}\n"), ":1: 'bare' has to be true or false\n");
    EXPECT_EQ(errors("options:\n  tries: many\n"), ":2: --tries: Value many not in range 1 to 1000\n");
    EXPECT_EQ(errors("sever: a\n"), ":1: unknown key \"sever\", did you mean \"server\"?\n");
}

struct WrongUse {
    std::vector<std::string> arguments;
    std::string errors;
};

TEST(Send, EndsWith2ForWrongUse) {
    const std::vector<WrongUse> rows = {
        {{"User-Name=bob"}, "no server was given"},
        {{"a b", "User-Name=bob"}, "\"a b\" is no server: blank or control character in the host"},
        {{"tls://a"}, "\"tls://a\" is no server: unknown transport before \"://\" (udp, tcp)"},
        {{"127.0.0.1", "NAS-Prot=1"}, "unknown attribute \"NAS-Prot\", did you mean \"NAS-Port\"?"},
        {{"127.0.0.1", "=1"}, "\"=1\" is no attribute: its name is missing"},
        {{"127.0.0.1", "--code", "acess"},
         "--code: \"acess\" is neither access, accounting, coa, disconnect, status nor a number from 1 to "
         "255"},
        {{"127.0.0.1", "--method", "eap"}, "--method: \"eap\" is neither pap, chap, mschap nor mschapv2"},
        {{"127.0.0.1", "--source", "somewhere"}, "--source: \"somewhere\" is no address of this machine"},
        {{"127.0.0.1", "-4", "-6"}, "-4 and -6 leave no address to ask"},
        {{"127.0.0.1", "--expect", "Filter-If"},
         "--expect Filter-If: unknown attribute \"Filter-If\", did you mean \"Filter-Id\"?; it is neither "
         "accept, "
         "reject, challenge, ack nor nak"},
        {{"127.0.0.1", "--require-message-authenticator", "maybe"},
         "--require-message-authenticator: \"maybe\" is neither yes, warn nor no"},
        {{"127.0.0.1", "--secret-file", "x"}, "give one of --secret, --secret-file and --secret-env"},
        {{"127.0.0.1", "--timeout", "nan"},
         "--timeout: \"nan\" is no number\nRun with --help for more information."},
        {{"127.0.0.1", "--mac", "00"}, "--mac: \"00\" is no MAC address"},
        {{"127.0.0.1", "26.9.1=0x" + std::string(10000, '0')},
         "the request has 5206 octets, and at most 4096 fit into a packet"},
    };
    for (const WrongUse& row : rows) {
        SCOPED_TRACE(row.errors);
        std::vector<std::string> arguments = row.arguments;
        arguments.emplace_back("--bare");
        const ProcessResult run = run_process(send_command(arguments));
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.errors, "quarn-radius: " + row.errors + "\n");
        EXPECT_EQ(run.ending, exited_with(2));
    }
}

TEST(Send, EndsWith3ForAFileThatCannotBeRead) {
    const auto errors = [](std::vector<std::string> arguments) {
        const ProcessResult run = run_process(send_command(std::move(arguments)));
        EXPECT_EQ(run.ending, exited_with(3));
        return run.errors;
    };
    EXPECT_EQ(errors({"-f", "/nowhere", "127.0.0.1"}),
              "quarn-radius: /nowhere: cannot read: No such file or directory\n");
    const ProcessResult no_dictionary =
        run_process({.program = QUARN_RADIUS_PROGRAM,
                     .arguments = {"send", "-d", "/nowhere", "--secret", "a", "127.0.0.1"}});
    EXPECT_EQ(no_dictionary.errors, "quarn-radius: /nowhere: cannot load: bad file: /nowhere\n");
    EXPECT_EQ(no_dictionary.ending, exited_with(3));
}

TEST(Send, TakesNoEmptySecret) {
    const ScratchFolder folder;
    for (const bool is_dry : {false, true}) {
        std::vector<std::string> arguments = {"send",
                                              "-d",
                                              QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml",
                                              "--secret-file",
                                              folder.write("empty", ""),
                                              "127.0.0.1"};
        if (is_dry) {
            arguments.emplace_back("--dry-run");
        }
        const ProcessResult run = run_process({.program = QUARN_RADIUS_PROGRAM, .arguments = arguments});
        EXPECT_EQ(run.errors, "quarn-radius: the shared secret is empty\n");
        EXPECT_EQ(run.ending, exited_with(2));
    }
}

TEST(Send, ShowsNoOctetsThatASecretWouldHide) {
    const ProcessResult run = run_process(
        {.program = QUARN_RADIUS_PROGRAM,
         .arguments = {"send", "-d", QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml", "--username",
                       "bob", "--password", "hello", "--dry-run", "--verbose", "127.0.0.1"}});
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
              "quarn-radius: --verbose shows the octets of the request, which depend on the shared secret: "
              "give one\n");
    EXPECT_EQ(run.ending, exited_with(2));
}

TEST(Send, RevealsNothingOfAReplyThatItDoesNotTrust) {
    UdpPeer peer({reply({.code = access_accept, .message_authenticator = false})});
    const ProcessResult run = run_process(send_command(
        as_bob({"--json", "--require-message-authenticator", "yes", "--show-secrets", peer.address()})));
    EXPECT_TRUE(contains(run.output, "\"verdict\": \"message-authenticator-missing\"")) << run.output;
    EXPECT_TRUE(contains(run.output, "\"verified\": false")) << run.output;
}

TEST(Send, WantsASecret) {
    const ProcessResult run = run_process(
        {.program = QUARN_RADIUS_PROGRAM,
         .arguments = {"send", "-d", QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml", "127.0.0.1"}});
    EXPECT_EQ(run.errors,
              "quarn-radius: no shared secret was given: name a file with --secret-file, or a variable with "
              "--secret-env\n");
    EXPECT_EQ(run.ending, exited_with(2));
}

TEST(Send, NamesASourceThatThisMachineDoesNotHave) {
    const UdpPeer peer;
    expect_verdict(run_process(send_command(as_bob({"--source", "192.0.2.99", peer.address()}))),
                   Verdict::Unreachable);
}

/// One of the attributes of Microsoft (RFC 2548, section 2).
Bytes microsoft_attribute(std::uint8_t type, const std::string& value) {
    Bytes vendor = hex("0000 0137");
    vendor.push_back(type);
    vendor.push_back(static_cast<std::uint8_t>(value.size() + 2));
    vendor.insert(vendor.end(), value.begin(), value.end());
    return attribute(26, utils::to_text(vendor));
}

TEST(Send, LooksForTheProofOfMsChapV2) {
    const UdpPeer wrong(
        {reply({.code = access_accept,
                .attributes = microsoft_attribute(26, std::string(1, '\0') + "S=" + std::string(40, '0'))})});
    const ProcessResult unproved =
        run_process(send_command(as_bob({"--method", "mschapv2", wrong.address()})));
    expect_verdict(unproved, Verdict::NotAuthentic);
    EXPECT_TRUE(contains(unproved.output, "\nDetail: MS-CHAP2-Success ")) << unproved.output;
    const UdpPeer absent({reply({.code = access_accept})});
    const ProcessResult missing =
        run_process(send_command(as_bob({"--json", "--method", "mschapv2", absent.address()})));
    EXPECT_TRUE(contains(missing.output, "\"id\": \"mschap2-success-missing\"")) << missing.output;
    EXPECT_EQ(missing.ending, exited_with(0));
}

TEST(Send, ExplainsMsChapError) {
    const UdpPeer peer(
        {reply({.code = access_reject,
                .attributes = microsoft_attribute(2, std::string(1, '\0') + "E=648 R=0 V=3")})});
    const ProcessResult run = run_process(send_command(as_bob({"--method", "mschapv2", peer.address()})));
    expect_verdict(run, Verdict::Rejected);
    EXPECT_TRUE(contains(run.output, "648")) << run.output;
    EXPECT_TRUE(contains(run.output, "expired")) << run.output;
}

TEST(Send, NotesOctetsAfterThePacket) {
    const UdpPeer peer({answer([](const Bytes& request) {
        Bytes datagram = reply_to(request, {.code = access_accept});
        datagram.push_back(0);
        return datagram;
    })});
    const ProcessResult run = run_process(send_command(as_bob({"--json", peer.address()})));
    EXPECT_TRUE(contains(run.output, "\"verdict\": \"accepted\"")) << run.output;
    EXPECT_TRUE(contains(run.output, "\"id\": \"trailing-octets\"")) << run.output;
}

TEST(Send, TrustsNoReplyThatIsSignedTwice) {
    const UdpPeer peer({reply(
        {.code = access_accept, .attributes = attribute(message_authenticator_type, std::string(16, 'x'))})});
    const ProcessResult run = run_process(send_command(as_bob({peer.address()})));
    EXPECT_EQ(run.ending, exited_with(6)) << run.output;
}

/// A reply whose Message-Authenticator was computed over sixteen zero octets, as FreeRADIUS 3.2 does.
Bytes signed_over_zeros(const Bytes& request, std::uint8_t code) {
    Bytes datagram = reply_to(request, {.code = code, .authenticator = Digest{}});
    const Digest asked = authenticator_of(request);
    std::copy(asked.begin(), asked.end(), datagram.begin() + 4);
    Bytes signed_bytes = datagram;
    const Bytes secret = utils::to_bytes("testing123");
    signed_bytes.insert(signed_bytes.end(), secret.begin(), secret.end());
    const Digest digest = md5(signed_bytes);
    std::copy(digest.begin(), digest.end(), datagram.begin() + 4);
    return datagram;
}

TEST(Send, AcceptsASignatureOverZerosWhereServersInUseMakeIt) {
    struct Row {
        const char* code;
        std::uint8_t reply;
    };
    for (const Row& row :
         {Row{"accounting", accounting_response}, Row{"disconnect", disconnect_ack}, Row{"coa", 44}}) {
        SCOPED_TRACE(row.code);
        const UdpPeer peer(
            {answer([&row](const Bytes& request) { return signed_over_zeros(request, row.reply); })});
        const ProcessResult run =
            run_process(send_command({"--json", "--code", row.code, "User-Name=bob", peer.address()}));
        EXPECT_TRUE(contains(run.output, "\"verdict\": \"accepted\"")) << run.output;
        EXPECT_TRUE(contains(run.output, "\"id\": \"message-authenticator-over-zeros\"")) << run.output;
    }
    const UdpPeer peer(
        {answer([](const Bytes& request) { return signed_over_zeros(request, access_accept); })});
    expect_verdict(run_process(send_command(as_bob({peer.address()}))), Verdict::NotAuthentic);
}

TEST(Send, ChangesAndEndsSessionsOverTcp) {
    struct Row {
        const char* code;
        std::uint8_t reply;
        Verdict verdict;
    };
    for (const Row& row :
         {Row{"coa", 44, Verdict::Accepted}, Row{"coa", coa_nak, Verdict::Rejected},
          Row{"disconnect", disconnect_ack, Verdict::Accepted}, Row{"disconnect", 42, Verdict::Rejected}}) {
        SCOPED_TRACE(std::string(row.code) + " " + std::to_string(row.reply));
        const TcpPeer peer([&row](int connection) {
            write_all(connection, reply_to(read_packet(connection), {.code = row.reply}));
            wait_for_end(connection);
        });
        expect_verdict(
            run_process(send_command({"--code", row.code, "User-Name=bob", "tcp://" + peer.address()})),
            row.verdict);
    }
}

TEST(Send, GoesTheWayThatItIsTold) {
    UdpPeer peer({reply({.code = access_accept}), reply({.code = access_accept})});
    const std::string port = std::to_string(peer.port());
    expect_verdict(run_process(send_command(as_bob({"-4", "localhost:" + port}))), Verdict::Accepted);
    expect_verdict(run_process(send_command(as_bob({"--interface", "lo", peer.address()}))),
                   Verdict::Accepted);
    const ProcessResult six = run_process(
        send_command(as_bob({"--json", "-6", "--timeout", "0.2", "--tries", "1", "localhost:" + port})));
    EXPECT_FALSE(contains(six.output, "\"verdict\": \"accepted\"")) << six.output;
    const ProcessResult scoped = run_process(
        send_command(as_bob({"--json", "--timeout", "0.2", "--tries", "1", "[fe80::1%lo]:" + port})));
    EXPECT_TRUE(contains(scoped.output, "\"address\": \"[fe80::1%lo]:" + port + "\"")) << scoped.output;
}

TEST(Send, AnswersAnUnsignedChallengeUnlessASignatureIsRequired) {
    const auto challenge = [] { return reply({.code = access_challenge, .message_authenticator = false}); };
    const UdpPeer peer({challenge(), reply({.code = access_accept})});
    const ProcessResult run = run_process(send_command(as_bob({"--answer", "one", peer.address()})));
    expect_verdict(run, Verdict::Accepted);
    EXPECT_TRUE(contains(run.output, "CVE-2024-3596")) << run.output;
    UdpPeer other({challenge()});
    expect_verdict(run_process(send_command(as_bob(
                       {"--answer", "one", "--require-message-authenticator", "yes", other.address()}))),
                   Verdict::MessageAuthenticatorMissing);
    EXPECT_EQ(other.finish().size(), 1U);
}

TEST(Send, NotesThatAnAnsweredChallengeLeavesThePasswordUnproved) {
    const UdpPeer peer({reply({.code = access_challenge}), reply({.code = access_accept})});
    const ProcessResult run = run_process(
        send_command(as_bob({"--json", "--method", "mschapv2", "--answer", "one", peer.address()})));
    const std::size_t line = run.output.find('\n');
    EXPECT_TRUE(run.output.starts_with("{\"verdict\": \"challenge\"")) << run.output;
    EXPECT_TRUE(contains(run.output.substr(0, line), "\"answered\": true, \"exit_status\": 0")) << run.output;
    EXPECT_FALSE(contains(run.output.substr(0, line), "mschap2-success-not-verified")) << run.output;
    EXPECT_TRUE(contains(run.output.substr(line), "\"id\": \"mschap2-success-not-verified\"")) << run.output;
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST(Send, NotesAMissingPassword) {
    const UdpPeer peer({reply({.code = access_reject})});
    const ProcessResult run = run_process(send_command({"User-Name=bob", peer.address()}));
    EXPECT_TRUE(contains(run.output, "Note: No password was given: ")) << run.output;
}

TEST(Send, WarnsOfAShortSecretOnce) {
    const ScratchFolder folder;
    const UdpPeer peer({reply({.code = access_accept}), reply({.code = access_accept})});
    const ProcessResult run = run_process(send_command(
        {"-f", folder.write("requests", "User-Name=a,User-Password=b\n\nUser-Name=a,User-Password=b\n"),
         peer.address()}));
    const std::string note = "Note: The shared secret has 10 octets";
    EXPECT_EQ(run.output.find(note), run.output.rfind(note)) << run.output;
    EXPECT_TRUE(contains(run.output, note)) << run.output;
}

TEST(Send, ShowsItsSecretsInNoListOfProcesses) {
    UdpPeer peer;
    Process run(send_command(as_bob({"--answer", "s3cret-answer", "--verbose", "--timeout", "5", "--tries",
                                     "1", "Tunnel-Password:1=s3cret-tunnel", peer.address()})));
    const auto shows_a_secret = [](const std::string& line) {
        return contains(line, "testing123") || contains(line, "hello") || contains(line, "s3cret");
    };
    std::string line;
    for (int i = 0; i < 1000 && (!contains(line, peer.address()) || shows_a_secret(line)); ++i) {
        std::ifstream stream("/proc/" + std::to_string(run.pid()) + "/cmdline", std::ios::binary);
        line.assign(std::istreambuf_iterator<char>(stream), {});
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(contains(line, peer.address())) << line;
    EXPECT_FALSE(shows_a_secret(line)) << line;
    run.terminate();
}

/// `send` at a terminal of its own, standard input being something else.
class AtTerminal {
  public:
    explicit AtTerminal(Command command) {
        command.arguments.insert(command.arguments.begin(), command.program);
        std::vector<char*> arguments;
        for (std::string& argument : command.arguments) {
            arguments.push_back(argument.data());
        }
        arguments.push_back(nullptr);
        child_ = fork();
        if (child_ == 0) {
            setsid();
            ioctl(terminal_.terminal.get(), TIOCSCTTY, 0);
            dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
            dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
            execv(arguments.front(), arguments.data());
            _exit(127);
        }
    }
    ~AtTerminal() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
    }
    AtTerminal(const AtTerminal&) = delete;
    AtTerminal& operator=(const AtTerminal&) = delete;

    /// What the terminal shows up to this text; all that came in thirty seconds when it never does.
    std::string shown_until(std::string_view end) const {
        std::string text;
        char character = 0;
        pollfd input{terminal_.control.get(), POLLIN, 0};
        while (!text.ends_with(end) && poll(&input, 1, 30000) == 1 &&
               read(terminal_.control.get(), &character, 1) == 1) {
            text += character;
        }
        return text;
    }

    void type(std::string_view text) const {
        EXPECT_EQ(write(terminal_.control.get(), text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
    }

    int exit_status() {
        int status = 0;
        EXPECT_EQ(waitpid(std::exchange(child_, -1), &status, 0) > 0, true);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    PseudoTerminal terminal_;
    pid_t child_ = -1;
};

TEST(Send, AsksForWhatIsMissingAtATerminal) {
    UdpPeer peer({reply({.code = access_challenge, .attributes = attribute(reply_message_type, "Token?")}),
                  reply({.code = access_accept})});
    AtTerminal run({.program = QUARN_RADIUS_PROGRAM,
                    .arguments = {"send", "-d", QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml",
                                  "User-Name=bob", "--timeout", "20", peer.address()}});
    EXPECT_EQ(run.shown_until("Shared secret: "), "Shared secret: ");
    run.type("testing123\n");
    EXPECT_EQ(run.shown_until(": "), "\nPassword of bob: ");
    run.type("hello\n");
    EXPECT_EQ(run.shown_until("? "), "\nChallenge of " + peer.address() + ": Token? ");
    run.type("123456\n");
    EXPECT_EQ(run.exit_status(), 0);
    const std::vector<Datagram> requests = peer.finish();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(value_of(requests[0].bytes, user_password_type),
              hidden_password("hello", "testing123", authenticator_of(requests[0].bytes)));
    EXPECT_EQ(value_of(requests[1].bytes, user_password_type),
              hidden_password("123456", "testing123", authenticator_of(requests[1].bytes)));
}

/// Every kind of line that --json has, held against its schema.
TEST(Send, PrintsJsonAsTheSchemaSays) {
    const ScratchFolder folder;
    std::vector<std::string> arguments = {QUARN_SOURCE_DIR
                                          "/tests/tools/quarn_radius/dictionary/validate_schema.py",
                                          QUARN_SOURCE_DIR "/share/quarn/radius/send.schema.json"};
    const auto keep = [&](const std::string& lines) {
        std::size_t begin = 0;
        for (std::size_t end = 0; (end = lines.find('\n', begin)) != std::string::npos; begin = end + 1) {
            arguments.push_back(
                folder.write(std::to_string(arguments.size()) + ".json", lines.substr(begin, end - begin)));
        }
        EXPECT_EQ(begin, lines.size());
    };
    std::size_t runs = 0;
    for (const PlantedCause& cause : planted_causes()) {
        const UdpPeer peer({cause.answer});
        std::vector<std::string> send = as_bob({peer.address(), "--json"});
        send.insert(send.end(), cause.arguments.begin(), cause.arguments.end());
        if (++runs % 2 == 0) {
            send.insert(send.end(), {"--verbose", "--show-secrets"});
        }
        const ProcessResult run = run_process(send_command(send));
        EXPECT_TRUE(
            run.output.starts_with("{\"verdict\": \"" + std::string(client::verdict_row(cause.verdict).word)))
            << run.output;
        keep(run.output);
    }
    keep(run_process(send_command(as_bob({"--json", "--dry-run"}))).output);
    keep(run_process(send_command(as_bob({"--json", "-6", "127.0.0.1"}))).output);
    const UdpPeer silent;
    keep(run_process(send_command(as_bob(
                         {"--json", "--diagnose", "--timeout", "0.2", "--tries", "1", silent.address()})))
             .output);
    const UdpPeer odd(
        {reply({.code = access_accept, .attributes = attribute(reply_message_type, "\xFF\x01")})});
    keep(run_process(send_command(as_bob({"--json", "--expect", "no:Reply-Message", odd.address()}))).output);
    ASSERT_EQ(arguments.size(), 2 + planted_causes().size() + 4);
    const ProcessResult checked = run_process({.program = "/usr/bin/python3", .arguments = arguments});
    EXPECT_EQ(checked.output + checked.errors, "");
    EXPECT_EQ(checked.ending, exited_with(0));
}

}  // namespace
}  // namespace quarn::test
