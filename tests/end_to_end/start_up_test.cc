// From the command line to the connected socket: what fails, in which order, and what it says.
#include <gtest/gtest.h>
#include <netdb.h>
#include <openssl/crypto.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "end_to_end/client.h"
#include "testing/dictionaries.h"
#include "testing/process_memory.h"
#include "testing/scratch_folder.h"
#include "testing/udp_peer.h"
#include "testing/usage_text.h"

namespace quarn::test {
namespace {

using Arguments = std::vector<std::string>;

/// Names that no look-up is made for: the resolver refuses them without asking anyone.
constexpr char no_name[] = "";
constexpr char ipv6_address[] = "::1";

std::string cannot_resolve(const std::string& host, int code) {
    return "authprobe: cannot resolve \"" + host + "\": " + gai_strerror(code) + "\n";
}

/// What a run says that gets as far as the resolution of an empty host name.
std::string resolution_reached() {
    return cannot_resolve(no_name, EAI_NONAME);
}

/// What a run says that gets as far as the dictionary, given one that does not exist.
std::string dictionary_reached() {
    return "authprobe: failed to load dictionary \"/nonexistent/dictionary.yaml\": "
           "/nonexistent/dictionary.yaml: cannot load: bad file: /nonexistent/dictionary.yaml\n";
}

Arguments operator+(Arguments left, const Arguments& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

void expect_failure(const Arguments& arguments, const std::string& errors) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const ProcessResult result = run_process(authprobe(arguments));
    EXPECT_EQ(result.output, banner());
    EXPECT_EQ(result.errors, errors);
    EXPECT_EQ(result.ending, exited_with(1));
}

/// Expects these options to be accepted, and the run to end at the next step: the resolution of no name.
void expect_accepted(const Arguments& options) {
    expect_failure(options + Arguments{":1812", "secret"}, resolution_reached());
}

/// getopt_long's own diagnostic begins with the program's name as it was called.
std::string diagnostic(const std::string& text) {
    return std::string(AUTHPROBE_PROGRAM) + ": " + text + "\n" + usage_text;
}

TEST(StartUp, ShowsTheUsageForAnyNumberOfOperandsButTwo) {
    expect_failure({}, usage_text);
    expect_failure({"127.0.0.1"}, usage_text);
    expect_failure({"127.0.0.1", "secret", "more"}, usage_text);
    expect_failure({"--username", "bob"}, usage_text);
    expect_failure({"--no-message-auth", "127.0.0.1"}, usage_text);
}

TEST(StartUp, ShowsTheUsageForAnUnknownOption) {
    expect_failure({"--nope", "127.0.0.1", "secret"}, diagnostic("unrecognized option '--nope'"));
    expect_failure({"--help"}, diagnostic("unrecognized option '--help'"));
    expect_failure({"-h"}, diagnostic("invalid option -- 'h'"));
    expect_failure({"--no-message-auth=yes", "127.0.0.1", "secret"},
                   diagnostic("option '--no-message-auth' doesn't allow an argument"));
}

TEST(StartUp, HasNoShortFormsOfTheLongOptions) {
    for (const std::string letter : {"u", "P", "p", "n", "s", "f", "c", "M", "T", "r"}) {
        expect_failure({"-" + letter, "1", "127.0.0.1", "secret"},
                       diagnostic("invalid option -- '" + letter + "'"));
    }
}

TEST(StartUp, ShowsTheUsageForAMissingArgument) {
    for (const std::string name : {"username", "password", "nas-port", "nas-ip-address", "source-ip",
                                   "framed-protocol", "calling-station-id", "timeout", "retry"}) {
        expect_failure({"127.0.0.1", "secret", "--" + name},
                       diagnostic("option '--" + name + "' requires an argument"));
    }
    expect_failure({"127.0.0.1", "secret", "-d"}, diagnostic("option requires an argument -- 'd'"));
    expect_failure({"127.0.0.1", "secret", "-t"}, diagnostic("option requires an argument -- 't'"));
}

TEST(StartUp, RefusesATimeoutThatIsNoNumberAbove0) {
    for (const std::string argument :
         {"0", "-3", "abc", "", " ", "-", "2147483648", "-2147483649", "99999999999999999999999999", "s5"}) {
        expect_failure({"--timeout", argument, "127.0.0.1", "secret"},
                       "authprobe: invalid --timeout \"" + argument + "\" (seconds, must be > 0)\n");
    }
}

TEST(StartUp, RefusesARetryThatIsNoNumberAbove0) {
    for (const std::string argument : {"0", "-3", "abc", "", "2147483648", "x1"}) {
        expect_failure({"--retry", argument, "127.0.0.1", "secret"},
                       "authprobe: invalid --retry \"" + argument + "\" (must be > 0)\n");
    }
}

TEST(StartUp, ReadsTimeoutAndRetryLeniently) {
    for (const std::string argument : {"2x", " 7s", "+3", "2147483647", "1.9", "\t1"}) {
        expect_accepted({"--timeout", argument, "--retry", argument});
    }
}

TEST(StartUp, RefusesAnUnknownMethodWhenThereIsAPassword) {
    for (const std::string method : {"foo", "MSCHAP", "Pap", "", "pap ", "mschapv1"}) {
        expect_failure({"-t", method, "--password", "x", "127.0.0.1", "secret"},
                       "authprobe: unknown auth type \"" + method + "\" (pap, chap, mschap, mschapv2)\n");
    }
    expect_failure({"-t", "foo", "--password", "", "127.0.0.1", "secret"},
                   "authprobe: unknown auth type \"foo\" (pap, chap, mschap, mschapv2)\n");
}

TEST(StartUp, AcceptsTheFourMethods) {
    for (const std::string method : {"pap", "chap", "mschap", "mschapv2"}) {
        expect_accepted({"-t", method, "--password", "x"});
    }
}

TEST(StartUp, IgnoresTheMethodWithoutAPassword) {
    expect_accepted({"-t", "foo"});
    expect_accepted({"-t", "MSCHAP", "--username", "bob"});
}

TEST(StartUp, RefusesANasPortThatIsNoNumber) {
    for (const std::string argument : {"x", "-", " ", "18446744073709551616"}) {
        expect_failure({"--nas-port", argument, "127.0.0.1", "secret"},
                       "authprobe: invalid --nas-port \"" + argument + "\"\n");
    }
}

TEST(StartUp, ReadsANasPortLeniently) {
    for (const std::string argument : {"4294967296", "18446744073709551615", "-1", " 5 rest", "+5"}) {
        expect_accepted({"--nas-port", argument});
    }
    expect_accepted({"--nas-port", ""});  // as if it were not there
}

TEST(StartUp, RefusesAPortOutsideOf1To65535) {
    for (const std::string operand :
         {"127.0.0.1:", "127.0.0.1:0", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:radius",
          "127.0.0.1:99999999999999999999999", ":", "::", "a.b:1812:"}) {
        expect_failure({operand, "secret"}, "authprobe: invalid port in \"" + operand + "\"\n");
    }
}

TEST(StartUp, AcceptsThePorts1To65535) {
    for (const std::string operand : {"127.0.0.1", "127.0.0.1:1", "127.0.0.1:65535", "127.0.0.1: 1812",
                                      "127.0.0.1:+1812", "127.0.0.1:1812udp", "127.0.0.1:01812"}) {
        expect_failure({"-d", "/nonexistent/dictionary.yaml", operand, "secret"}, dictionary_reached());
    }
}

TEST(StartUp, SplitsTheServerOperandAtItsLastColon) {
    expect_failure({"a.b:1812:99", "secret"}, cannot_resolve("a.b:1812", EAI_NONAME));
    expect_failure({"127.0.0.1:1812:99", "secret"}, cannot_resolve("127.0.0.1:1812", EAI_NONAME));
    expect_failure({"[::1]:1812", "secret"}, cannot_resolve("[::1]", EAI_NONAME));
    expect_failure({"::1:1812", "secret"}, cannot_resolve(ipv6_address, EAI_ADDRFAMILY));
}

TEST(StartUp, TellsThatTheServerCannotBeResolved) {
    expect_failure({"", "secret"}, cannot_resolve("", EAI_NONAME));
    expect_failure({":1812", "secret"}, cannot_resolve("", EAI_NONAME));
    const std::string overlong_label(64, 'x');
    expect_failure({overlong_label, "secret"}, cannot_resolve(overlong_label, EAI_NONAME));
}

TEST(StartUp, RefusesASourceAddressThatIsNoDottedQuad) {
    for (const std::string argument :
         {"10.0.0.300", "localhost", "127.1", "::1", "127.0.0.1 ", "0x7f.0.0.1"}) {
        expect_failure({"--source-ip", argument, "127.0.0.1", "secret"},
                       "authprobe: invalid --source-ip \"" + argument + "\"\n");
    }
}

TEST(StartUp, TellsThatASourceAddressIsNotLocal) {
    expect_failure(
        {"--source-ip", "203.0.113.1", "127.0.0.1", "secret"},
        "authprobe: bind (--source-ip must be a local address): Cannot assign requested address\n");
}

TEST(StartUp, IgnoresAnEmptySourceAddress) {
    expect_failure({"--source-ip", "", "-d", "/nonexistent/dictionary.yaml", "127.0.0.1", "secret"},
                   dictionary_reached());
}

TEST(StartUp, TellsThatConnectingFails) {
    // A broadcast address, which a socket has to ask for.
    expect_failure({"127.255.255.255", "secret"}, "authprobe: connect: Permission denied\n");
}

TEST(StartUp, TellsThatTheDictionaryCannotBeLoaded) {
    const ScratchFolder folder;
    const std::string path = (folder.path() / "dictionary.yaml").string();
    const auto expect_reason = [&](const std::string& reason) {
        expect_failure({"-d", path, "127.0.0.1", "secret"},
                       "authprobe: failed to load dictionary \"" + path + "\": " + reason + "\n");
    };
    expect_reason(path + ": cannot load: bad file: " + path);
    folder.write("dictionary.yaml", "includes: other.yaml\n");
    expect_reason(path + ": 'includes' must be a sequence");
    folder.write("dictionary.yaml", "attributes: [User-Name]\n");
    expect_reason(path + ": 'attributes' must be a map");
    folder.write("dictionary.yaml", "vendor: {id: 9, name: Example, format: \"1,0\"}\n");
    expect_reason(path + ": vendor 'Example' (line 1): vendor format length size must be 1..4, got 0");
}

TEST(StartUp, TellsThatTheDictionaryIsAFolder) {
    const ScratchFolder folder;
    const std::string path = folder.path().string();
    expect_failure(
        {"-d", path, "127.0.0.1", "secret"},
        "authprobe: failed to load dictionary \"" + path + "\": " + path + ": cannot load: is a directory\n");
}

TEST(StartUp, NamesTheIncludedDictionaryFileAtFault) {
    const ScratchFolder folder;
    const std::string root = folder.write("dictionary.yaml", "includes: [more.yaml]\n");
    const std::string included = folder.write("more.yaml", "attributes: 1\n");
    expect_failure({"-d", root, "127.0.0.1", "secret"}, "authprobe: failed to load dictionary \"" + root +
                                                            "\": " + included +
                                                            ": 'attributes' must be a map\n");
}

TEST(StartUp, ReadsNoIncludedFileThatNeverEnds) {
    const ScratchFolder folder;
    const std::string pipe = folder.path() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& included : {pipe, std::string("/dev/zero")}) {
        const std::string path = folder.write("dictionary.yaml", "includes: [" + included + "]\n");
        expect_failure({"-d", path, "127.0.0.1", "secret"}, "authprobe: failed to load dictionary \"" + path +
                                                                "\": " + included +
                                                                ": cannot load: is not a regular file\n");
    }
}

TEST(StartUp, NamesTheDictionaryAsItWasGiven) {
    const ScratchFolder folder;
    const std::string path = folder.write("dictionary.yaml", "attributes: 1\n");
    const std::string given = (folder.path() / "." / "dictionary.yaml").string();
    ASSERT_NE(given, path);
    expect_failure(
        {"-d", given, "127.0.0.1", "secret"},
        "authprobe: failed to load dictionary \"" + given + "\": " + path + ": 'attributes' must be a map\n");
}

TEST(StartUp, AcceptsOptionsBehindTheOperands) {
    expect_failure({"127.0.0.1", "secret", "-d", "/nonexistent/dictionary.yaml"}, dictionary_reached());
    expect_failure({"127.0.0.1", "-d", "/nonexistent/dictionary.yaml", "secret"}, dictionary_reached());
}

TEST(StartUp, TakesWhatFollowsTwoDashesAsOperands) {
    expect_failure({"--", ":1812", "--secret"}, resolution_reached());
    expect_failure({"--", "--timeout", "0", ":1812"}, usage_text);
}

TEST(StartUp, LetsALaterOptionReplaceAnEarlierOne) {
    expect_failure({"-d", "/other.yaml", "-d", "/nonexistent/dictionary.yaml", "127.0.0.1", "secret"},
                   dictionary_reached());
    expect_accepted({"-t", "foo", "-t", "chap", "--password", "x"});
    expect_accepted({"--nas-port", "x", "--nas-port", "1"});
}

TEST(StartUp, ReportsTheFirstProblemInAFixedOrder) {
    struct Mistake {
        Arguments options;
        std::string server;  // empty: one that another mistake needs
        std::string errors;
    };
    const std::vector<Mistake> last_checked_first = {
        {{"-d", "/nonexistent/dictionary.yaml"}, "", dictionary_reached()},
        {{}, "127.255.255.255", "authprobe: connect: Permission denied\n"},
        {{"--source-ip", "203.0.113.1"},
         "",
         "authprobe: bind (--source-ip must be a local address): Cannot assign requested address\n"},
        {{"--source-ip", "bad"}, "", "authprobe: invalid --source-ip \"bad\"\n"},
        {{}, ":1812", resolution_reached()},
        {{}, "a:0", "authprobe: invalid port in \"a:0\"\n"},
        {{"--nas-port", "x"}, "", "authprobe: invalid --nas-port \"x\"\n"},
        {{"-t", "foo", "--password", "x"},
         "",
         "authprobe: unknown auth type \"foo\" (pap, chap, mschap, mschapv2)\n"},
    };
    // With each mistake added to those made so far, it alone is reported.
    Arguments options;
    std::string server = "127.0.0.1";
    for (const Mistake& mistake : last_checked_first) {
        options = options + mistake.options;
        if (!mistake.server.empty()) {
            server = mistake.server;
        }
        expect_failure(options + Arguments{server, "secret"}, mistake.errors);
    }
    expect_failure(options + Arguments{server}, usage_text);
}

TEST(StartUp, ReportsAnOptionInThePlaceWhereItStands) {
    const std::string timeout_message = "authprobe: invalid --timeout \"0\" (seconds, must be > 0)\n";
    expect_failure({"--timeout", "0", "--nope"}, timeout_message);
    expect_failure({"--nope", "--timeout", "0"}, diagnostic("unrecognized option '--nope'"));
    expect_failure({"--timeout", "0", "--retry", "0"}, timeout_message);
    expect_failure({"--retry", "0", "--timeout", "0"}, "authprobe: invalid --retry \"0\" (must be > 0)\n");
    expect_failure({"--timeout", "0", "--timeout", "1"}, timeout_message);
    expect_failure({"--timeout", "0"}, timeout_message);  // before the operands are counted
    expect_failure({"one", "two", "three", "--timeout", "0"}, timeout_message);
    expect_failure({"-t", "foo", "--password", "x", "127.0.0.1"}, usage_text);
}

TEST(StartUp, SendsNothingWhenTheDictionaryCannotBeLoaded) {
    const Conversation run = converse({}, {.dictionary = "/nonexistent/dictionary.yaml"});
    EXPECT_EQ(run.client.output, banner());
    EXPECT_EQ(run.client.errors, dictionary_reached());
    EXPECT_EQ(run.client.ending, exited_with(1));
    EXPECT_TRUE(run.requests.empty());
}

TEST(StartUp, ShowsTheBannerFirst) {
    Command command = authprobe({"--nope"});
    command.errors = Stream::SameAsOutput;
    const ProcessResult result = run_process(command);
    EXPECT_EQ(result.output, banner() + diagnostic("unrecognized option '--nope'"));
}

TEST(StartUp, IgnoresPosixlyCorrect) {
    Command command = authprobe({"127.0.0.1", "secret", "-d", "/nonexistent/dictionary.yaml"});
    command.environment = {{"POSIXLY_CORRECT", "1"}};
    const ProcessResult result = run_process(command);
    EXPECT_EQ(result.errors, dictionary_reached());
    EXPECT_EQ(result.output, banner());
    EXPECT_EQ(result.ending, exited_with(1));
}

// What the program takes from nobody

/// Whether a program opens this file as C programs do.
bool opens(Command command, const std::string& file) {
    command.environment = preloading(FAILING_CALLS, "fopen(" + file + ")=stop");
    return Process(command).wait_until_stopped();
}

TEST(StartUp, ReadsNoConfigurationOfOpensslsOwn) {
    const ScratchFolder folder;
    const std::string dictionary = folder.write("dictionary.yaml", R"(
attributes:
  NAS-IP-Address: {code: 4, type: ipv4addr}
  Message-Authenticator: {code: 80, type: octets}
  Vendor-Specific: {code: 26, type: vsa}
  MS-CHAP-Response: {code: 26.311.1, type: octets}
  MS-CHAP-Challenge: {code: 26.311.11, type: octets}
)");
    const std::string configuration = std::string(OPENSSL_info(OPENSSL_INFO_CONFIG_DIR)) + "/openssl.cnf";
    const UdpPeer silent;
    const Command run = authprobe({"-d", dictionary, "--password", "hello", "-t", "mschap", "--timeout", "1",
                                   "--retry", "1", silent.address(), shared_secret});
    EXPECT_FALSE(opens(run, configuration));
    // Otherwise the line above would tell nothing.
    EXPECT_TRUE(opens({.program = "/bin/sed", .arguments = {"p", configuration}}, configuration));
}

TEST(StartUp, SetsUniversalTimeWhateverTheMachineHas) {
    Command command = authprobe({"--help"});
    command.environment = preloading(STOPPED_AT_END);
    command.environment["TZ"] = "Asia/Tokyo";
    Process process(command);
    ASSERT_TRUE(process.wait_until_stopped());
    EXPECT_EQ(copies_in_memory(process.pid(), "TZ=UTC0"), 1U);
}

}  // namespace
}  // namespace quarn::test
