// `quarn-radius send` against the server of Debian's package freeradius and the proxy of radsecproxy: each
// code, over UDP and TCP, IPv4 and IPv6, and request files as people write them.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "testing/process.h"
#include "testing/real_peer.h"
#include "testing/scratch_folder.h"

namespace quarn::test {
namespace {

/// One server for all tests of this program.
class SendToRealServer : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        server_ = new RealServer;
        proxy_ = new RealProxy(*server_);
    }
    static void TearDownTestSuite() {
        delete proxy_;
        proxy_ = nullptr;
        delete server_;
        server_ = nullptr;
    }

    static ProcessResult send(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(),
                         {"send", "-d", QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml", "--secret",
                          "testing123", "--timeout", "10", "--tries", "2"});
        return run_process({.program = QUARN_RADIUS_PROGRAM, .arguments = std::move(arguments)});
    }

    static std::string on_v4(std::uint16_t port) { return "127.0.0.1:" + std::to_string(port); }
    static std::string on_v6(std::uint16_t port) { return "[::1]:" + std::to_string(port); }
    static std::string request_file(const std::string& name) {
        return QUARN_SOURCE_DIR "/tests/data/requests/" + name;
    }

    /// The port over UDP and TCP, IPv4 and IPv6.
    static std::vector<std::string> every_way_to(std::uint16_t port) {
        return {on_v4(port), on_v6(port), "tcp://" + on_v4(port), "tcp://" + on_v6(port)};
    }

    static RealServer* server_;
    static RealProxy* proxy_;
};

RealServer* SendToRealServer::server_ = nullptr;
RealProxy* SendToRealServer::proxy_ = nullptr;

/// The last line begins with the word, the exit status is this one.
void expect_ending(const ProcessResult& run, const std::string& word, int status) {
    const std::string body = run.output.substr(0, run.output.find_last_not_of('\n') + 1);
    EXPECT_TRUE(body.substr(body.find_last_of('\n') + 1).starts_with(word + ": "))
        << run.output << run.errors;
    EXPECT_EQ(run.ending, exited_with(status));
}

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

std::size_t count_of(const std::string& text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST_F(SendToRealServer, AuthenticatesByEveryMethodOverEveryWay) {
    std::vector<std::string> servers = every_way_to(server_->port());
    servers.push_back("localhost:" + std::to_string(server_->port()));
    for (const std::string& way : every_way_to(proxy_->port())) {
        servers.push_back(way);
    }
    for (const std::string& server : servers) {
        for (const std::string method : {"pap", "chap", "mschap", "mschapv2"}) {
            SCOPED_TRACE(server + " " + method);
            expect_ending(send({"--username", "bob", "--password", "hello", "--method", method, server}),
                          "accepted", 0);
            expect_ending(send({"--username", "bob", "--password", "wrong", "--method", method, server}),
                          "rejected", 1);
        }
    }
}

TEST_F(SendToRealServer, ReadsTheReplyAsItIsMeant) {
    const ProcessResult run = send({"--username",      "bob",
                                    "--password",      "hello",
                                    "--expect",        "Tunnel-Private-Group-Id=42",
                                    "--expect",        "Tunnel-Private-Group-Id:1=42",
                                    "--expect",        "Tunnel-Password=tunnel secret",
                                    "--expect",        "Tunnel-Type:1=VLAN",
                                    "--expect",        "Session-Timeout>3599",
                                    "--expect",        "Reply-Message~^Hello, bob$",
                                    "--expect",        "Framed-IPv6-Prefix=2001:db8:1::/48",
                                    "--expect",        "Class=0x00ff10",
                                    "--expect",        "no:Filter-Id",
                                    "--expect",        "Cisco-AVPair=ip:inacl#1=permit ip any any",
                                    server_->address()});
    expect_ending(run, "accepted", 0);
    EXPECT_TRUE(contains(run.output, "     Tunnel-Private-Group-ID:1 = \"42\"\n")) << run.output;
    EXPECT_TRUE(contains(run.output, "     Tunnel-Password:1 = (hidden)\n")) << run.output;
    EXPECT_FALSE(contains(run.output, "tunnel secret")) << run.output;
    EXPECT_TRUE(contains(run.output, "CVE-2024-3596")) << "plain replies of this server are not signed";
    expect_ending(send({"--username", "bob", "--password", "hello", "--expect", "Tunnel-Private-Group-Id=43",
                        server_->address()}),
                  "expectation-failed", 1);
    EXPECT_TRUE(contains(
        send({"--username", "bob", "--password", "hello", "--show-secrets", server_->address()}).output,
        "     Tunnel-Password:1 = \"tunnel secret\"\n"));
}

TEST_F(SendToRealServer, WantsASignedReplyWhenToldTo) {
    const std::string option = "--require-message-authenticator";
    expect_ending(send({option, "yes", "--username", "bob", "--password", "hello", server_->address()}),
                  "message-authenticator-missing", 6);
    expect_ending(send({option, "no", "--username", "bob", "--password", "hello", server_->address()}),
                  "accepted", 0);
    expect_ending(send({option, "yes", "--username", "signed", "--password", "hello", server_->address()}),
                  "accepted", 0);
}

TEST_F(SendToRealServer, AccountsOverEveryWay) {
    for (const std::uint16_t port : {server_->accounting_port(), proxy_->port()}) {
        for (const std::string& server : every_way_to(port)) {
            SCOPED_TRACE(server);
            expect_ending(send({"--code", "accounting", "User-Name=bob", server}), "accepted", 0);
        }
    }
}

TEST_F(SendToRealServer, AsksForTheStatusOverEveryWay) {
    std::vector<std::string> servers = every_way_to(server_->port());
    servers.push_back(on_v4(server_->status_port()));
    for (const std::string& way : every_way_to(proxy_->port())) {
        servers.push_back(way);
    }
    for (const std::string& server : servers) {
        SCOPED_TRACE(server);
        expect_ending(send({"--code", "status", server}), "accepted", 0);
    }
}

// The server knows these over UDP alone, the proxy not at all.
TEST_F(SendToRealServer, ChangesAndEndsSessions) {
    for (const std::string& server : {on_v4(server_->coa_port()), on_v6(server_->coa_port())}) {
        for (const char* const code : {"coa", "disconnect"}) {
            SCOPED_TRACE(server + " " + code);
            expect_ending(send({"--code", code, "User-Name=bob", server}), "accepted", 0);
            const ProcessResult refused = send({"--code", code, "User-Name=nobody", server});
            expect_ending(refused, "rejected", 1);
            EXPECT_TRUE(contains(refused.output, "Error-Cause 503, Session Context Not Found"))
                << refused.output;
        }
    }
}

TEST_F(SendToRealServer, MeetsAChallenge) {
    expect_ending(send({"--username", "challenged", "--password", "x", server_->address()}), "challenge", 1);
    expect_ending(
        send({"--username", "challenged", "--password", "x", "--expect", "challenge", server_->address()}),
        "challenge", 0);
}

TEST_F(SendToRealServer, TellsSilenceFromItsCause) {
    // The server drops what is signed with another secret.
    const ProcessResult run =
        run_process({.program = QUARN_RADIUS_PROGRAM,
                     .arguments = {"send", "-d", QUARN_SOURCE_DIR "/share/quarn/radius/dictionary.yaml",
                                   "--secret", "another", "--timeout", "2", "--tries", "1", "--diagnose",
                                   "--username", "bob", "--password", "hello", server_->address()}});
    expect_ending(run, "no-answer", 4);
    EXPECT_TRUE(contains(run.output, "Asked without-message-authenticator: wrong-secret\n")) << run.output;
    EXPECT_TRUE(contains(run.output, "Likely cause 1: ")) << run.output;
}

TEST_F(SendToRealServer, TakesRequestFilesAsPeopleWriteThem) {
    struct Row {
        std::string file;
        std::string server;
        std::size_t accepted;
        std::vector<std::string> told;
    };
    const std::string auth = server_->address();
    const std::string coa = on_v4(server_->coa_port());
    const std::vector<Row> rows = {
        {"pap.txt", auth, 1, {"NAS-IP-Address = 127.0.0.1"}},
        {"one-line.txt", auth, 1, {}},
        {"windows.txt", auth, 2, {}},
        {"chap.txt", auth, 1, {"CHAP-Password = 0x", "the operator := is read as ="}},
        {"mschap.txt", auth, 1, {"MS-CHAP-Response = 0x"}},
        {"several.txt", auth, 2, {"NAS-Port-Type = Wireless-802.11"}},
        {"accounting.txt", on_v4(server_->accounting_port()), 2, {"Acct-Session-Id = \"4D2BB8AC-00000098\""}},
        {"disconnect.txt", coa, 1, {"Packet-Dst-Port is passed over", "the operator == is read as ="}},
        {"coa.txt", coa, 1, {"Tunnel-Private-Group-ID:1 = \"42\"", "\"audit-session-id=0A0B0C0D\""}},
        {"escapes.txt",
         auth,
         1,
         {"Cisco-AVPair = \"a=1\"", "Filter-Id = \"C:\\policies\"", "Class = 0x00ff10"}},
    };
    std::set<std::string> tried;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.file);
        tried.insert(row.file);
        const ProcessResult run = send({"-f", request_file(row.file), row.server});
        EXPECT_EQ(run.ending, exited_with(0)) << run.output << run.errors;
        EXPECT_EQ(count_of(run.output, "\naccepted: "), row.accepted) << run.output;
        for (const std::string& told : row.told) {
            EXPECT_TRUE(contains(run.output, told)) << told << " is not in " << run.output;
        }
    }
    std::set<std::string> there;
    for (const auto& entry : std::filesystem::directory_iterator(request_file(""))) {
        there.insert(entry.path().filename());
    }
    EXPECT_EQ(tried, there);
}

TEST_F(SendToRealServer, TakesUpASession) {
    const std::string server = on_v4(server_->accounting_port());
    const ProcessResult start = send({"--code", "accounting", "--json", "User-Name=bob", server});
    const std::string key = "\"session_id\": \"";
    const std::size_t at = start.output.find(key);
    ASSERT_NE(at, std::string::npos) << start.output;
    const std::string id = start.output.substr(at + key.size(), 16);
    const ProcessResult stop =
        send({"--code", "accounting", "--session-id", id, "User-Name=bob", "Acct-Status-Type=Stop", server});
    expect_ending(stop, "accepted", 0);
    EXPECT_TRUE(contains(stop.output, "     Acct-Session-Id = \"" + id + "\"\n")) << stop.output;
}

TEST_F(SendToRealServer, AsksSeveralServersAndManyTimesAtOnce) {
    const ScratchFolder folder;
    std::string requests;
    for (int i = 0; i < 40; ++i) {
        requests += "User-Name = bob\nUser-Password = hello\n\n";
    }
    const ProcessResult run = send({"-f", folder.write("requests", requests), "--parallel", "8", "--quiet",
                                    "--server", server_->address(), "--server", on_v6(server_->port())});
    EXPECT_EQ(run.ending, exited_with(0)) << run.output;
    EXPECT_EQ(count_of(run.output, "accepted "), 80U);
}

}  // namespace
}  // namespace quarn::test
