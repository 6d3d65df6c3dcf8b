// The example server: whom it lets in, what it answers, and what it does not answer.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "testing/descriptor.h"
#include "testing/dictionaries.h"
#include "testing/hex.h"
#include "testing/process.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

constexpr std::uint8_t access_accept = 2;
constexpr std::uint8_t access_reject = 3;
constexpr std::uint8_t access_challenge = 11;
constexpr std::uint8_t message_authenticator = 80;
constexpr std::size_t header_size = 20;

constexpr char shared_secret[] = "testing123";
constexpr Digest request_authenticator = {0x4f, 0x91, 0x2c, 0xd8, 0x07, 0xaa, 0x63, 0x1e,
                                          0xb5, 0x38, 0xf4, 0x70, 0x9d, 0x02, 0xe6, 0x5b};

Command responder_command(const std::string& users) {
    return {.program = RESPONDER_PROGRAM, .arguments = {shipped_dictionary_path(), users}};
}

/// The example server with the users that come with it, running on a free port until the end of its scope.
class Responder {
  public:
    Responder() : process_(responder_command(QUARN_SOURCE_DIR "/examples/responder/users.yaml")) {
        const std::string announcement = "listening on 127.0.0.1:";
        if (!process_.wait_for_output("\n") || !process_.output().starts_with(announcement)) {
            throw std::runtime_error("the responder did not start: " + process_.output());
        }
        port_ = static_cast<std::uint16_t>(std::stoi(process_.output().substr(announcement.size())));
    }

    std::uint16_t port() const { return port_; }

    /// Ends it and returns what it wrote since it began to listen.
    std::string finish() {
        process_.terminate();
        const std::string output = process_.wait().output;
        return output.substr(output.find('\n') + 1);
    }

  private:
    Process process_;
    std::uint16_t port_ = 0;
};

/// One run of the program against the server.
ProcessResult ask(const Responder& server, const std::string& method, const std::string& user,
                  const std::string& password) {
    return run_process(
        {.program = AUTHPROBE_PROGRAM,
         .arguments = {"-d", shipped_dictionary_path(), "-t", method, "--username", user, "--password",
                       password, "127.0.0.1:" + std::to_string(server.port()), shared_secret}});
}

std::string failure_for(const std::string& code_name) {
    return "authprobe: ERROR: expected Access-Accept, got " + code_name + "\nauthprobe: Fail\n\n";
}

/// A UDP socket that talks to the server and to nobody else.
class Client {
  public:
    explicit Client(std::uint16_t port) : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        const timeval limit = {.tv_sec = 20, .tv_usec = 0};
        if (!socket_.is_open() ||
            connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0) {
            throw std::runtime_error("cannot open a socket");
        }
    }

    void send(const Bytes& datagram) {
        if (::send(socket_.get(), datagram.data(), datagram.size(), 0) < 0) {
            throw std::runtime_error("cannot send a datagram");
        }
    }

    /// The next datagram from the server.
    Bytes receive() {
        std::array<std::uint8_t, 4096> buffer{};
        const ssize_t size = recv(socket_.get(), buffer.data(), buffer.size(), 0);
        if (size < static_cast<ssize_t>(header_size)) {
            throw std::runtime_error("no reply");
        }
        return {buffer.begin(), buffer.begin() + size};
    }

  private:
    Descriptor socket_;
};

/// An Access-Request for PAP, its Message-Authenticator first.
Bytes pap_request(std::uint8_t identifier, const std::string& user, const std::string& password) {
    Bytes packet =
        joined({Bytes{1, identifier, 0, 0}, Bytes(request_authenticator.begin(), request_authenticator.end()),
                attribute(message_authenticator, Digest{}), attribute(1, user),
                attribute(2, hidden_password(password, shared_secret, request_authenticator))});
    packet[3] = static_cast<std::uint8_t>(packet.size());
    const Digest digest = hmac_md5(shared_secret, packet);
    std::copy(digest.begin(), digest.end(), packet.begin() + header_size + 2);
    return packet;
}

/// What the server answers to a request that follows these datagrams. It takes one after the other: had it
/// answered one of them, that answer would come first.
Bytes first_reply_after(Client& client, const std::vector<Bytes>& unanswered, const Bytes& request) {
    for (const Bytes& datagram : unanswered) {
        client.send(datagram);
    }
    client.send(request);
    return client.receive();
}

class ResponderWithMethod : public testing::TestWithParam<std::string> {};

TEST_P(ResponderWithMethod, AcceptsTheRightPassword) {
    const Responder server;
    const ProcessResult client = ask(server, GetParam(), "bob", "hello");
    EXPECT_NE(client.output.find("     Reply-Message = \"Hello, bob\"\n"), std::string::npos)
        << client.output;
    EXPECT_TRUE(client.output.ends_with("\nauthprobe: Success\n\n")) << client.output;
    EXPECT_EQ(client.errors, "");
    EXPECT_EQ(client.ending, exited_with(0));
}

TEST_P(ResponderWithMethod, RejectsAWrongPassword) {
    const Responder server;
    const ProcessResult client = ask(server, GetParam(), "bob", "Hello");
    EXPECT_EQ(client.errors, failure_for("Access-Reject"));
    EXPECT_EQ(client.output.find("Hello, bob"), std::string::npos) << client.output;
    EXPECT_EQ(client.ending, exited_with(1));
}

INSTANTIATE_TEST_SUITE_P(Each, ResponderWithMethod, testing::Values("pap", "chap", "mschap", "mschapv2"),
                         [](const auto& test) { return test.param; });

TEST(Responder, ChallengesAUserThatIsMarkedSo) {
    const Responder server;
    const ProcessResult client = ask(server, "pap", "carol", "topsecret");
    EXPECT_EQ(client.errors, failure_for("Access-Challenge"));
    EXPECT_NE(client.output.find("     Reply-Message = \"Enter the code\"\n     State = 0x0102030405\n"),
              std::string::npos)
        << client.output;
    EXPECT_EQ(client.ending, exited_with(1));
}

TEST(Responder, RejectsAWrongPasswordOfAChallengedUser) {
    const Responder server;
    const ProcessResult client = ask(server, "pap", "carol", "hello");
    EXPECT_EQ(client.errors, failure_for("Access-Reject"));
    EXPECT_EQ(client.ending, exited_with(1));
}

TEST(Responder, RejectsAnUnknownUser) {
    const Responder server;
    const ProcessResult client = ask(server, "pap", "mallory", "hello");
    EXPECT_EQ(client.errors, failure_for("Access-Reject"));
    EXPECT_EQ(client.ending, exited_with(1));
}

TEST(Responder, PutsTheMessageAuthenticatorFirstAndTheUsersAttributesBehindIt) {
    const Responder server;
    Client client(server.port());
    client.send(pap_request(42, "bob", "hello"));
    const Bytes reply = client.receive();
    EXPECT_EQ(reply[0], access_accept);
    EXPECT_EQ(reply[1], 42);
    std::vector<WireAttribute> attributes = attributes_of(reply);
    ASSERT_EQ(types_of(attributes),
              (std::vector<int>{message_authenticator, 18, 6, 7, 8, 97, 27, 28, 25, 64, 65, 69, 26, 26}));

    // The Message-Authenticator and the salted Tunnel-Password differ from one reply to the next.
    EXPECT_EQ(attributes[11].value.at(0), 1);  // its tag
    std::erase_if(attributes, [](const WireAttribute& each) {
        return each.type == message_authenticator || each.type == 69;
    });
    const std::vector<WireAttribute> expected = {
        {18, utils::to_bytes("Hello, bob")},
        {6, hex("00000002")},               // Framed-User
        {7, hex("00000001")},               // PPP
        {8, hex("c0000205")},               // 192.0.2.5
        {97, hex("00 30 2001 0db8 0001")},  // 48 bits of prefix
        {27, hex("00000e10")},
        {28, hex("00000258")},
        {25, hex("00ff10")},
        {64, hex("01 00000d")},  // tag 1, VLAN
        {65, hex("01 000006")},  // tag 1, IEEE-802
        {26, joined({hex("00000009"), attribute(1, "shell:priv-lvl=15")})},
        {26, hex("0000372a 07 06 000f4240")},
    };
    EXPECT_EQ(attributes, expected);
}

TEST(Responder, SignsEveryReply) {
    const Responder server;
    Client client(server.port());
    const std::vector<std::pair<Bytes, std::uint8_t>> rows = {
        {pap_request(1, "bob", "hello"), access_accept},
        {pap_request(2, "bob", "wrong"), access_reject},
        {pap_request(3, "carol", "topsecret"), access_challenge},
    };
    for (const auto& [request, code] : rows) {
        SCOPED_TRACE(int{code});
        client.send(request);
        const Bytes reply = client.receive();
        EXPECT_EQ(reply[0], code);
        EXPECT_EQ(reply[1], request[1]);

        // Both signatures cover the request's Authenticator (RFC 2865, section 3; RFC 3579, section 3.2).
        Bytes signed_packet = reply;
        std::copy(request_authenticator.begin(), request_authenticator.end(), signed_packet.begin() + 4);
        EXPECT_EQ(attributes_of(reply).at(0).type, message_authenticator);
        EXPECT_TRUE(has_valid_message_authenticator(signed_packet, shared_secret));
        EXPECT_EQ(authenticator_of(reply), md5(joined({signed_packet, utils::to_bytes(shared_secret)})));
    }
}

TEST(Responder, DropsARequestWithAForgedMessageAuthenticator) {
    Responder server;
    Client client(server.port());
    Bytes forged = pap_request(1, "bob", "hello");
    forged[header_size + 2] ^= 1;
    const Bytes reply = first_reply_after(client, {forged}, pap_request(2, "bob", "hello"));
    EXPECT_EQ(reply[0], access_accept);
    EXPECT_EQ(reply[1], 2);
    EXPECT_EQ(server.finish(), "dropped a request that is not authentic\n");
}

TEST(Responder, DropsGarbageAndLivesOn) {
    Responder server;
    Client client(server.port());
    const std::vector<Bytes> garbage = {
        {},
        {1},
        Bytes(64, 0xff),
        hex("01 07 1000 00000000000000000000000000000000"),           // longer than it is
        hex("01 07 0013 00000000000000000000000000000000"),           // shorter than a header
        hex("02 07 0014 00000000000000000000000000000000"),           // no request
        hex("01 07 0017 00000000000000000000000000000000 01 ff 62"),  // an attribute beyond the end
    };
    const Bytes reply = first_reply_after(client, garbage, pap_request(8, "bob", "hello"));
    EXPECT_EQ(reply[0], access_accept);
    EXPECT_EQ(reply[1], 8);

    const std::string log = server.finish();
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), static_cast<std::ptrdiff_t>(garbage.size())) << log;
}

/// What becomes of the server when a user's reply holds this line of YAML.
ProcessResult start_with_reply(const std::string& attribute_line) {
    const ScratchFolder folder;
    const std::string users = folder.write("users.yaml",
                                           "secret: testing123\n"
                                           "users:\n"
                                           "  bob:\n"
                                           "    password: hello\n"
                                           "    reply:\n"
                                           "      - " +
                                               attribute_line + "\n");
    Command command = responder_command(users);
    command.time_limit = std::chrono::seconds(20);
    return run_process(command);
}

TEST(Responder, RefusesToStartWithAValueThatTheDictionaryDoesNotKnow) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"Service-Type: Framd-User", "Service-Type"},
        {"\"Tunnel-Type:1\": Nonsense", "Tunnel-Type"},
    };
    for (const auto& [line, name] : rows) {
        SCOPED_TRACE(line);
        const ProcessResult server = start_with_reply(line);
        EXPECT_EQ(server.ending, exited_with(1));
        EXPECT_EQ(server.output, "");
        EXPECT_TRUE(server.errors.starts_with("radius-responder: ")) << server.errors;
        EXPECT_NE(server.errors.find(name), std::string::npos) << server.errors;
    }
}

}  // namespace
}  // namespace quarn::test
