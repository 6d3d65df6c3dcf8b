// Against a RADIUS server that shares no code with this tree.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "end_to_end/client.h"
#include "testing/dictionaries.h"
#include "testing/real_peer.h"

namespace quarn::test {
namespace {

/// What the server says of bob, whether it accepts or refuses him. Its salt makes the hidden Tunnel-Password
/// another one each time.
constexpr char attributes_of_bob[] =
    "     Reply-Message = \"Hello, bob\"\n"
    "     Framed-IP-Address = 192.0.2.5\n"
    "     Framed-Protocol = PPP\n"
    "     Framed-IPv6-Prefix = 2001:db8:1::/48\n"
    "     Session-Timeout = 3600\n"
    "     Tunnel-Type = VLAN\n"
    "     Tunnel-Medium-Type = IEEE-802\n"
    "     Tunnel-Private-Group-ID = \"0x013432\"\n"
    "     Tunnel-Password = \"0x<36 digits>\"\n"
    "     Class = 0x00ff10\n"
    "     Cisco-AVPair = \"shell:priv-lvl=15\"\n"
    "     Cisco-AVPair = \"ip:inacl#1=permit ip any any\"\n"
    "     WISPr-Bandwidth-Max-Up = 1000000\n";

constexpr char rejected[] =
    "authprobe: ERROR: expected Access-Accept, got Access-Reject\nauthprobe: Fail\n\n";

/// What a run wrote, with what is different in every run named and not shown.
struct Answered {
    std::string output;
    std::string errors;
    Ending ending;
    bool signed_reply;  ///< the reply had a Message-Authenticator

    /// What is said of a reply that has none.
    std::string warning() const {
        return signed_reply ? "" : "authprobe: WARNING: reply has no Message-Authenticator attribute\n";
    }
};

/// Takes the reply's Message-Authenticator out of the output: releases of the server differ in whether they
/// send one without being told to. Returns whether there was one.
bool take_out_message_authenticator(std::string& output) {
    constexpr std::string_view line_start = "     Message-Authenticator = ";
    constexpr std::string_view length_label = " length ";
    constexpr int size_on_wire = 18;
    const std::size_t reply = output.find(" Received ");
    const std::size_t line = output.find(line_start, reply);
    if (reply == std::string::npos || line == std::string::npos) {
        return false;
    }
    output.erase(line, output.find('\n', line) + 1 - line);
    const std::size_t length = output.find(length_label, reply) + length_label.size();
    const std::size_t length_end = output.find('\n', length);
    const int without = std::stoi(output.substr(length)) - size_on_wire;
    output.replace(length, length_end - length, std::to_string(without));
    return true;
}

/// Replaces the characters of the set that follow each of these labels.
void mask(std::string& text, std::string_view label, std::string_view set, const std::string& replacement) {
    for (std::size_t found = 0; (found = text.find(label, found)) != std::string::npos;) {
        const std::size_t start = found + label.size();
        const std::size_t end = std::min(text.find_first_not_of(set, start), text.size());
        if (end > start) {
            text.replace(start, end - start, replacement);
        }
        found = start;
    }
}

std::string without_chance(std::string text, const std::string& server_address) {
    constexpr std::string_view decimal = "0123456789";
    for (std::size_t found = 0; (found = text.find(server_address)) != std::string::npos;) {
        text.replace(found, server_address.size(), "<server>");
    }
    for (const std::string_view label : {" Id ", " ID "}) {
        mask(text, label, decimal, "<n>");
    }
    for (const std::string_view label : {"127.0.0.1:", "127.0.0.2:"}) {
        mask(text, label, decimal, "<port>");
    }
    struct RandomValue {
        std::string_view name;
        std::size_t digits;
    };
    for (const auto& [name, digits] : std::to_array<RandomValue>({
             {"Tunnel-Password", 36},
             {"CHAP-Password", 34},
             {"MS-CHAP-Challenge", 16},
             {"MS-CHAP-Challenge", 32},
             {"MS-CHAP-Response", 100},
             {"MS-CHAP2-Response", 100},
             {"MS-CHAP-MPPE-Keys", 64},
             {"MS-MPPE-Recv-Key", 68},
             {"MS-MPPE-Send-Key", 68},
             {"MS-CHAP2-Success", 86},
             {"MS-CHAP-Error", 66},
             {"MS-CHAP-Error", 150},
         })) {
        for (const std::string_view opening : {" = 0x", " = \"0x"}) {
            const std::string label = std::string(name).append(opening);
            const std::size_t place = text.find(label);
            if (place == std::string::npos) {
                continue;
            }
            const std::size_t start = place + label.size();
            if (text.find_first_not_of("0123456789abcdef", start) == start + digits) {
                text.replace(start, digits, "<" + std::to_string(digits) + " digits>");
            }
        }
    }
    return text;
}

class RealServerTest : public testing::Test {
  protected:
    // Not for the whole suite at once: a failure to start is told by the test that needs the server.
    void SetUp() override {
        if (!server_) {
            server_.emplace();
        }
    }
    static void TearDownTestSuite() { server_.reset(); }

    /// Runs the program against the server.
    static Answered ask(std::vector<std::string> options, const std::string& secret = shared_secret) {
        options.insert(options.begin(), {"-d", shipped_dictionary_path()});
        options.insert(options.end(), {server_->address(), secret});
        ProcessResult result = run_process(authprobe(std::move(options)));
        const bool signed_reply = take_out_message_authenticator(result.output);
        return {without_chance(result.output, server_->address()),
                without_chance(result.errors, server_->address()), result.ending, signed_reply};
    }

    static Answered ask_as_bob(const std::string& method, const std::string& password) {
        return ask({"--username", "bob", "--password", password, "-t", method});
    }

  private:
    inline static std::optional<RealServer> server_;
};

/// The program's output up to the end of the request's listing.
std::string sent(int length, const std::string& listing, const std::string& source = "127.0.0.1") {
    return banner() + " Sent Access-Request Id <n> from " + source + ":<port> to <server> length " +
           std::to_string(length) + "\n" + listing;
}

/// The announcement and the listing of a reply.
std::string received(const std::string& code_name, int length, const std::string& listing,
                     const std::string& source = "127.0.0.1") {
    return " Received " + code_name + " Id <n> from <server> to " + source + ":<port> length " +
           std::to_string(length) + "\n" + listing;
}

constexpr char success[] = "\nauthprobe: Success\n\n";

constexpr char no_response[] =
    " No reply from server for ID <n>\n\nauthprobe: no response from <server>\nauthprobe: Fail\n\n";

TEST_F(RealServerTest, AcceptsAPapPassword) {
    const Answered run = ask_as_bob("pap", "hello");
    EXPECT_EQ(run.output,
              sent(67, listing_of_bob()) + received("Access-Accept", 186, attributes_of_bob) + success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, RefusesAWrongPapPassword) {
    const Answered run = ask_as_bob("pap", "wrong");
    EXPECT_EQ(run.output,
              sent(67, "     User-Name = \"bob\"\n     User-Password = \"wrong\"\n" + bare_listing()) +
                  received("Access-Reject", 186, attributes_of_bob) + "\n");
    EXPECT_EQ(run.errors, run.warning() + rejected);
    EXPECT_EQ(run.ending, exited_with(1));
}

TEST_F(RealServerTest, AcceptsAPapPasswordOfMoreThanOneBlock) {
    const Answered run =
        ask({"--username", "patient", "--password", "a password of more than sixteen letters"});
    EXPECT_EQ(run.output, sent(103,
                               "     User-Name = \"patient\"\n"
                               "     User-Password = \"a password of more than sixteen letters\"\n" +
                                   bare_listing()) +
                              received("Access-Accept", 20, "") + success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, AcceptsAChapPassword) {
    const Answered run = ask_as_bob("chap", "hello");
    EXPECT_EQ(run.output,
              sent(68, "     User-Name = \"bob\"\n     CHAP-Password = 0x<34 digits>\n" + bare_listing()) +
                  received("Access-Accept", 186, attributes_of_bob) + success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, RefusesAWrongChapPassword) {
    const Answered run = ask_as_bob("chap", "wrong");
    EXPECT_EQ(run.output,
              sent(68, "     User-Name = \"bob\"\n     CHAP-Password = 0x<34 digits>\n" + bare_listing()) +
                  received("Access-Reject", 186, attributes_of_bob) + "\n");
    EXPECT_EQ(run.errors, run.warning() + rejected);
    EXPECT_EQ(run.ending, exited_with(1));
}

constexpr char mschap_request[] =
    "     User-Name = \"bob\"\n"
    "     MS-CHAP-Challenge = 0x<16 digits>\n"
    "     MS-CHAP-Response = 0x<100 digits>\n";

TEST_F(RealServerTest, AcceptsAnMschapPassword) {
    const Answered run = ask_as_bob("mschap", "hello");
    EXPECT_EQ(run.output,
              sent(123, mschap_request + bare_listing()) +
                  received("Access-Accept", 250,
                           attributes_of_bob +
                               std::string("     MS-CHAP-MPPE-Keys = 0x<64 digits>\n"
                                           "     MS-MPPE-Encryption-Policy = Encryption-Allowed\n"
                                           "     MS-MPPE-Encryption-Types = RC4-40or128-bit-Allowed\n")) +
                  success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, RefusesAWrongMschapPassword) {
    const Answered run = ask_as_bob("mschap", "wrong");
    EXPECT_EQ(run.output,
              sent(123, mschap_request + bare_listing()) +
                  received("Access-Reject", 227,
                           attributes_of_bob + std::string("     MS-CHAP-Error = 0x<66 digits>\n")) +
                  "\n");
    EXPECT_EQ(run.errors, run.warning() + rejected);
    EXPECT_EQ(run.ending, exited_with(1));
}

constexpr char mschapv2_request[] =
    "     User-Name = \"bob\"\n"
    "     MS-CHAP-Challenge = 0x<32 digits>\n"
    "     MS-CHAP2-Response = 0x<100 digits>\n";

TEST_F(RealServerTest, AcceptsAnMschapv2Password) {
    const Answered run = ask_as_bob("mschapv2", "hello");
    EXPECT_EQ(run.output,
              sent(131, mschapv2_request + bare_listing()) +
                  received("Access-Accept", 345,
                           attributes_of_bob +
                               std::string("     MS-CHAP2-Success = 0x<86 digits>\n"
                                           "     MS-MPPE-Recv-Key = 0x<68 digits>\n"
                                           "     MS-MPPE-Send-Key = 0x<68 digits>\n"
                                           "     MS-MPPE-Encryption-Policy = Encryption-Allowed\n"
                                           "     MS-MPPE-Encryption-Types = RC4-40or128-bit-Allowed\n")) +
                  success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, RefusesAWrongMschapv2Password) {
    const Answered run = ask_as_bob("mschapv2", "wrong");
    EXPECT_EQ(run.output,
              sent(131, mschapv2_request + bare_listing()) +
                  received("Access-Reject", 269,
                           attributes_of_bob + std::string("     MS-CHAP-Error = 0x<150 digits>\n")) +
                  "\n");
    EXPECT_EQ(run.errors, run.warning() + rejected);
    EXPECT_EQ(run.ending, exited_with(1));
}

TEST_F(RealServerTest, RefusesAnUnknownUser) {
    const Answered run = ask({"--username", "nobody", "--password", "hello"});
    EXPECT_EQ(run.output,
              sent(70, "     User-Name = \"nobody\"\n     User-Password = \"hello\"\n" + bare_listing()) +
                  received("Access-Reject", 20, "") + "\n");
    EXPECT_EQ(run.errors, run.warning() + rejected);
    EXPECT_EQ(run.ending, exited_with(1));
}

TEST_F(RealServerTest, ChallengesAUser) {
    const Answered run = ask({"--username", "challenged", "--password", "x"});
    EXPECT_EQ(run.output,
              sent(74, "     User-Name = \"challenged\"\n     User-Password = \"x\"\n" + bare_listing()) +
                  received("Access-Challenge", 43,
                           "     Reply-Message = \"Enter the code\"\n     State = 0x0102030405\n") +
                  "\n");
    EXPECT_EQ(run.errors, run.warning() +
                              "authprobe: ERROR: expected Access-Accept, got Access-Challenge\n"
                              "authprobe: Fail\n\n");
    EXPECT_EQ(run.ending, exited_with(1));
}

TEST_F(RealServerTest, AcceptsAStationWithoutACredential) {
    const Answered run = ask({"--calling-station-id", "00-11-22-33-44-55"});
    EXPECT_EQ(run.output,
              sent(63,
                   "     NAS-IP-Address = 127.0.0.1\n"
                   "     Calling-Station-Id = \"00-11-22-33-44-55\"\n"
                   "     Message-Authenticator = 0x00000000000000000000000000000000\n") +
                  received("Access-Accept", 48, "     Reply-Message = \"known by 00-11-22-33-44-55\"\n") +
                  success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, AcceptsANameAndAPasswordThatAreNotAscii) {
    const Answered run = ask({"--username", "längrö", "--password", "pässwörd"});
    EXPECT_EQ(run.output,
              sent(72, "     User-Name = \"längrö\"\n     User-Password = \"pässwörd\"\n" + bare_listing()) +
                  received("Access-Accept", 20, "") + success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, SignsAReplyThatPassesTheCheck) {
    const Answered run = ask({"--username", "signed", "--password", "hello"});
    EXPECT_TRUE(run.signed_reply);
    EXPECT_EQ(run.output,
              sent(70, "     User-Name = \"signed\"\n     User-Password = \"hello\"\n" + bare_listing()) +
                  received("Access-Accept", 32, "     Reply-Message = \"signed for\"\n") + success);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, DropsARequestSignedWithAnotherSecret) {
    const Answered run =
        ask({"--timeout", "1", "--retry", "1", "--username", "bob", "--password", "hello"}, "another");
    EXPECT_EQ(run.output, sent(67, listing_of_bob()));
    EXPECT_EQ(run.errors, no_response);
    EXPECT_EQ(run.ending, exited_with(1));
}

TEST_F(RealServerTest, IsNotBelievedWhenItKnowsAnotherSecret) {
    // Nothing tells the server that the request comes from one who does not know its secret.
    const Answered run = ask({"--no-message-auth", "--username", "bob", "--password", "hello"}, "another");
    EXPECT_EQ(run.output, sent(49,
                               "     User-Name = \"bob\"\n"
                               "     User-Password = \"hello\"\n"
                               "     NAS-IP-Address = 127.0.0.1\n") +
                              received("Access-Reject", 186, attributes_of_bob));
    EXPECT_EQ(run.errors,
              std::string("\nauthprobe: ERROR: reply ") +
                  (run.signed_reply
                       ? "Message-Authenticator is invalid (shared secret is incorrect or the packet was "
                         "tampered with): RadiusPacket: Message-Authenticator mismatch"
                       : "failed validation (shared secret is probably incorrect): RadiusPacket: invalid "
                         "Response Authenticator") +
                  "\nauthprobe: Fail\n\n");
    EXPECT_EQ(run.ending, exited_with(1));
}

TEST_F(RealServerTest, AcceptsFromAStrictClientWhatIsSigned) {
    const Answered run = ask({"--source-ip", "127.0.0.2", "--username", "bob", "--password", "hello"});
    EXPECT_EQ(run.output, sent(67,
                               "     User-Name = \"bob\"\n"
                               "     User-Password = \"hello\"\n"
                               "     NAS-IP-Address = 127.0.0.2\n"
                               "     Message-Authenticator = 0x00000000000000000000000000000000\n",
                               "127.0.0.2") +
                              received("Access-Accept", 186, attributes_of_bob, "127.0.0.2") + success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, DropsFromAStrictClientWhatIsNotSigned) {
    const Answered run = ask({"--source-ip", "127.0.0.2", "--no-message-auth", "--timeout", "1", "--retry",
                              "1", "--username", "bob", "--password", "hello"});
    EXPECT_EQ(run.output, sent(49,
                               "     User-Name = \"bob\"\n"
                               "     User-Password = \"hello\"\n"
                               "     NAS-IP-Address = 127.0.0.2\n",
                               "127.0.0.2"));
    EXPECT_EQ(run.errors, no_response);
    EXPECT_EQ(run.ending, exited_with(1));
}

TEST_F(RealServerTest, AcceptsAnUnsignedRequestFromAnOrdinaryClient) {
    const Answered run = ask({"--no-message-auth", "--username", "bob", "--password", "hello"});
    EXPECT_EQ(run.output, sent(49,
                               "     User-Name = \"bob\"\n"
                               "     User-Password = \"hello\"\n"
                               "     NAS-IP-Address = 127.0.0.1\n") +
                              received("Access-Accept", 186, attributes_of_bob) + success);
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.ending, exited_with(0));
}

TEST_F(RealServerTest, UnderstandsEveryOtherOption) {
    const Answered run =
        ask({"--username", "bob", "--password", "hello", "--nas-ip-address", "192.0.2.7", "--nas-port", "17",
             "--framed-protocol", "PPP", "--calling-station-id", "00-11-22-33-44-55"});
    EXPECT_EQ(run.output, sent(98,
                               "     User-Name = \"bob\"\n"
                               "     User-Password = \"hello\"\n"
                               "     NAS-IP-Address = 192.0.2.7\n"
                               "     NAS-Port = 17\n"
                               "     Framed-Protocol = PPP\n"
                               "     Calling-Station-Id = \"00-11-22-33-44-55\"\n"
                               "     Message-Authenticator = 0x00000000000000000000000000000000\n") +
                              received("Access-Accept", 186, attributes_of_bob) + success);
    EXPECT_EQ(run.errors, run.warning());
    EXPECT_EQ(run.ending, exited_with(0));
}

}  // namespace
}  // namespace quarn::test
