// Whole runs under valgrind, which finds what the compiler's sanitizers cannot: bytes that nobody has
// written, in the libraries as well.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "end_to_end/client.h"
#include "testing/dictionaries.h"
#include "testing/scratch_folder.h"
#include "testing/wire.h"

namespace quarn::test {
namespace {

using utils::Bytes;

constexpr char valgrind[] = "/usr/bin/valgrind";
constexpr int complaint = 77;

/// A dictionary that is loaded fast, with some of everything.
constexpr char dictionary_text[] = R"(
vendor: {id: 32473, name: Example, format: "1,1,c"}
attributes:
  User-Name: {code: 1, type: text}
  User-Password: {code: 2, type: text, encrypt: 1}
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Framed-Protocol: {code: 7, type: enum, values: {PPP: 1}}
  Reply-Message: {code: 18, type: text}
  Event-Timestamp: {code: 55, type: time}
  Tunnel-Password: {code: 69, type: text, encrypt: 2, has_tag: true}
  Message-Authenticator: {code: 80, type: octets}
  Framed-IPv6-Prefix: {code: 97, type: ipv6prefix}
  MS-CHAP-Response: {code: 26.311.1, type: octets}
  MS-CHAP-Challenge: {code: 26.311.11, type: octets}
  MS-CHAP2-Response: {code: 26.311.25, type: octets}
  CHAP-Password: {code: 3, type: octets}
  Long-Text: {code: 245.1, type: text}
  Long: {code: 245, type: long-extended}
  Tlv: {code: 170, type: tlv}
  Nested: {code: 170.1, type: integer}
)";

class Memcheck : public testing::Test {
  protected:
    void SetUp() override {
        if (access(valgrind, X_OK) != 0) {
            FAIL() << "there is no valgrind";
        }
    }

    /// Runs the program; anything that valgrind complains about changes the exit status.
    void expect_clean(const std::vector<std::string>& arguments, int status,
                      std::vector<UdpPeer::Answer> script = {}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        UdpPeer peer(std::move(script));
        // Providers of OpenSSL stay loaded for good, and what is reachable is not lost.
        std::vector<std::string> all = {"--quiet",
                                        "--leak-check=full",
                                        "--show-leak-kinds=definite,indirect,possible",
                                        "--errors-for-leak-kinds=definite,indirect,possible",
                                        "--error-exitcode=" + std::to_string(complaint),
                                        AUTHPROBE_PROGRAM,
                                        "-d",
                                        dictionary_,
                                        "--timeout",
                                        "20"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        all.insert(all.end(), {peer.address(), shared_secret});
        const ProcessResult result = run_process({.program = valgrind, .arguments = all});
        EXPECT_EQ(result.ending, exited_with(status)) << result.output << result.errors;
    }

    ScratchFolder folder_;
    std::string dictionary_ = folder_.write("dictionary.yaml", dictionary_text);
};

/// Accepts the request, with an attribute of each kind.
UdpPeer::Answer accept() {
    return answer([](const Bytes& request) {
        return reply_to(request,
                        {.code = 2,
                         .attributes = joined({
                             attribute(2, hidden_password("hello", shared_secret, authenticator_of(request))),
                             attribute(7, Bytes{0, 0, 0, 1}),
                             attribute(18, "Hello"),
                             attribute(18, "\x1b"),
                             attribute(55, Bytes{1, 2, 3, 4}),
                             attribute(69, Bytes(19, 0x81)),
                             attribute(97, Bytes{0, 64, 0x20, 1}),
                             attribute(245, Bytes{1, 0x80, 'a'}),
                             attribute(245, Bytes{1, 0, 'b'}),
                             attribute(170, Bytes{1, 6, 0, 0, 0, 1, 2, 9}),
                             attribute(26, Bytes{0, 0, 0x7e, 0xd9, 1, 4, 0x80, 1}),
                             attribute(26, Bytes{1}),
                         })});
    });
}

UdpPeer::Answer reply_with(const Reply& reply) {
    return answer([reply](const Bytes& request) { return reply_to(request, reply); });
}

// Few runs a test: each takes its time.

TEST_F(Memcheck, IsContentWithASuccessOfPap) {
    expect_clean({"--username", "bob", "--password", "hello", "--framed-protocol", "PPP"}, 0, {accept()});
}

TEST_F(Memcheck, IsContentWithASuccessOfChap) {
    expect_clean({"--username", "bob", "--password", "hello", "-t", "chap"}, 0, {accept()});
}

TEST_F(Memcheck, IsContentWithASuccessOfMschapv2) {
    expect_clean({"--username", "bob", "--password", "hello", "-t", "mschapv2"}, 0, {accept()});
}

TEST_F(Memcheck, IsContentWithAWrongCommandLine) {
    expect_clean({"--timeout", "0"}, 1);
    expect_clean({"--nope"}, 1);
}

TEST_F(Memcheck, IsContentWithAnImpossibleSource) {
    expect_clean({"--source-ip", "203.0.113.1"}, 1);
}

TEST_F(Memcheck, IsContentWithADictionaryThatCannotBeLoaded) {
    expect_clean({"-d", "/nonexistent"}, 1);
    expect_clean({"-d", folder_.write("broken.yaml", "attributes: [")}, 1);
}

TEST_F(Memcheck, IsContentWithARequestThatCannotBeBuilt) {
    expect_clean({"--nas-ip-address", "x"}, 1);
}

TEST_F(Memcheck, IsContentWithSilence) {
    expect_clean({"--timeout", "1", "--retry", "1"}, 1);
}

TEST_F(Memcheck, IsContentWithAReplyThatIsNoAccept) {
    expect_clean({}, 1, {reply_with({.code = 3, .attributes = attribute(18, "No")})});
    expect_clean({"--retry", "1"}, 1, {reply_with({.code = 2, .identifier_offset = 1})});
}

TEST_F(Memcheck, IsContentWithAReplyThatIsNotAuthentic) {
    expect_clean({}, 1, {reply_with({.code = 2, .secret = "another"})});
}

TEST_F(Memcheck, IsContentWithAReplyThatCannotBeDecoded) {
    expect_clean({}, 1, {reply_with({.code = 2, .attributes = Bytes{1}})});
    expect_clean({}, 1, {reply_with({.code = 2, .attributes = Bytes{1, 255, 0}})});
}

}  // namespace
}  // namespace quarn::test
