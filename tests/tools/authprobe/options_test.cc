#include "authprobe/options.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "authprobe/client_error.h"
#include "common/default_paths.h"
#include "testing/captured_output.h"
#include "testing/usage_text.h"

namespace quarn::authprobe {
namespace {

ClientSettings read(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "authprobe");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    return read_command_line(static_cast<int>(arguments.size()), pointers.data());
}

/// The settings that these options make, before the two operands.
ClientSettings read_options(std::vector<std::string> options) {
    options.insert(options.end(), {"server", "secret"});
    return read(std::move(options));
}

/// What is said of a command line that fails. The diagnostics of getopt_long itself go to `errors`.
std::string failure_of(const std::vector<std::string>& arguments, std::string* errors = nullptr) {
    test::CapturedOutput captured;
    std::string failure = "no failure";
    try {
        read(arguments);
    } catch (const ClientError& error) {
        failure = error.what();
    }
    captured.finish();
    EXPECT_EQ(captured.output(), "");
    if (errors != nullptr) {
        *errors = captured.errors();
    } else {
        EXPECT_EQ(captured.errors(), "");
    }
    return failure;
}

TEST(Usage, IsWordForWord) {
    EXPECT_EQ(usage(), test::usage_text);
}

TEST(CommandLine, HasDefaults) {
    const ClientSettings settings = read({"server", "secret"});
    EXPECT_EQ(settings.username, "");
    EXPECT_EQ(settings.password, "");
    EXPECT_FALSE(settings.password_given);
    EXPECT_EQ(settings.auth_type, "pap");
    EXPECT_EQ(settings.dictionary_path, "");
    EXPECT_EQ(settings.nas_port, "");
    EXPECT_EQ(settings.nas_ip_address, "");
    EXPECT_EQ(settings.source_ip, "");
    EXPECT_EQ(settings.framed_protocol, "");
    EXPECT_EQ(settings.calling_station_id, "");
    EXPECT_FALSE(settings.no_message_auth);
    EXPECT_EQ(settings.timeout, 5);
    EXPECT_EQ(settings.retry, 3);
    EXPECT_EQ(settings.server, "server");
    EXPECT_EQ(settings.secret, "secret");
    EXPECT_EQ(settings.server_port, 1812);
    EXPECT_STREQ(tools::default_dictionary_path, "/opt/quarn/share/quarn/radius/dictionary.yaml");
}

TEST(CommandLine, SetsWhatEachOptionNames) {
    EXPECT_EQ(read_options({"--username", "bob"}).username, "bob");
    EXPECT_EQ(read_options({"--password", "hello"}).password, "hello");
    EXPECT_TRUE(read_options({"--password", "hello"}).password_given);
    EXPECT_EQ(read_options({"-d", "file.yaml"}).dictionary_path, "file.yaml");
    EXPECT_EQ(read_options({"-t", "chap"}).auth_type, "chap");
    EXPECT_EQ(read_options({"--nas-port", "x"}).nas_port, "x");
    EXPECT_EQ(read_options({"--nas-ip-address", "192.0.2.1"}).nas_ip_address, "192.0.2.1");
    EXPECT_EQ(read_options({"--source-ip", "192.0.2.2"}).source_ip, "192.0.2.2");
    EXPECT_EQ(read_options({"--framed-protocol", "PPP"}).framed_protocol, "PPP");
    EXPECT_EQ(read_options({"--calling-station-id", "00-11"}).calling_station_id, "00-11");
    EXPECT_TRUE(read_options({"--no-message-auth"}).no_message_auth);
    EXPECT_EQ(read_options({"--timeout", "7"}).timeout, 7);
    EXPECT_EQ(read_options({"--retry", "9"}).retry, 9);
}

TEST(CommandLine, AcceptsEveryOptionAtOnce) {
    const ClientSettings settings = read_options({"--username",
                                                  "u",
                                                  "--password",
                                                  "p",
                                                  "-d",
                                                  "d",
                                                  "-t",
                                                  "t",
                                                  "--nas-port",
                                                  "1",
                                                  "--nas-ip-address",
                                                  "n",
                                                  "--source-ip",
                                                  "s",
                                                  "--framed-protocol",
                                                  "f",
                                                  "--calling-station-id",
                                                  "c",
                                                  "--no-message-auth",
                                                  "--timeout",
                                                  "2",
                                                  "--retry",
                                                  "3"});
    EXPECT_EQ(settings.username + std::string(settings.password) + settings.dictionary_path +
                  settings.auth_type + settings.nas_port + settings.nas_ip_address + settings.source_ip +
                  settings.framed_protocol + settings.calling_station_id,
              "updt1nsfc");
    EXPECT_TRUE(settings.password_given);
    EXPECT_TRUE(settings.no_message_auth);
    EXPECT_EQ(settings.timeout, 2);
    EXPECT_EQ(settings.retry, 3);
    EXPECT_EQ(settings.server, "server");
    EXPECT_EQ(settings.secret, "secret");
}

TEST(CommandLine, TakesSecretsOffTheCommandLine) {
    std::vector<std::string> arguments = {"authprobe",         "--password", "first",
                                          "--password=second", "server",     "secret"};
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const ClientSettings settings = read_command_line(static_cast<int>(arguments.size()), pointers.data());
    EXPECT_EQ(settings.password, "second");
    EXPECT_EQ(settings.secret, "secret");
    EXPECT_EQ(arguments, (std::vector<std::string>{"authprobe", "--password", std::string(5, '\0'),
                                                   "--password=" + std::string(6, '\0'), "server",
                                                   std::string(6, '\0')}));
}

TEST(CommandLine, TakesArgumentsJoinedToTheirOptions) {
    EXPECT_EQ(read_options({"--username=bob"}).username, "bob");
    EXPECT_EQ(read_options({"--timeout=7"}).timeout, 7);
    EXPECT_EQ(read_options({"-dfile.yaml"}).dictionary_path, "file.yaml");
    EXPECT_EQ(read_options({"-tchap"}).auth_type, "chap");
    EXPECT_EQ(read_options({"--password", "--username"}).password, "--username");
}

TEST(CommandLine, TellsAnEmptyPasswordFromNone) {
    EXPECT_TRUE(read_options({"--password", ""}).password_given);
    EXPECT_TRUE(read_options({"--password="}).password_given);
    EXPECT_FALSE(read_options({"--username", ""}).password_given);
}

TEST(CommandLine, LetsALaterOptionReplaceAnEarlierOne) {
    const ClientSettings settings =
        read_options({"--username", "a", "-t", "chap", "--timeout", "1", "--password", "p", "--username", "b",
                      "-t", "pap", "--timeout", "2", "--password", ""});
    EXPECT_EQ(settings.username, "b");
    EXPECT_EQ(settings.auth_type, "pap");
    EXPECT_EQ(settings.timeout, 2);
    EXPECT_EQ(settings.password, "");
    EXPECT_TRUE(settings.password_given);
}

TEST(CommandLine, FindsOptionsAmongTheOperands) {
    const ClientSettings settings = read({"server", "--username", "bob", "secret", "-t", "chap"});
    EXPECT_EQ(settings.server, "server");
    EXPECT_EQ(settings.secret, "secret");
    EXPECT_EQ(settings.username, "bob");
    EXPECT_EQ(settings.auth_type, "chap");
}

TEST(CommandLine, TakesWhatFollowsTwoDashesAsOperands) {
    const ClientSettings settings = read({"--", "--username", "-d"});
    EXPECT_EQ(settings.server, "--username");
    EXPECT_EQ(settings.secret, "-d");
}

TEST(CommandLine, AcceptsAnEmptySecret) {
    EXPECT_EQ(read({"server", ""}).secret, "");
}

TEST(CommandLine, ShowsTheUsageForAnyNumberOfOperandsButTwo) {
    EXPECT_EQ(failure_of({}), usage());
    EXPECT_EQ(failure_of({"server"}), usage());
    EXPECT_EQ(failure_of({"server", "secret", "more"}), usage());
}

TEST(CommandLine, ShowsTheUsageAfterTheParsersOwnDiagnostic) {
    std::string errors;
    EXPECT_EQ(failure_of({"--nope", "server", "secret"}, &errors), usage());
    EXPECT_EQ(errors, "authprobe: unrecognized option '--nope'\n");
    EXPECT_EQ(failure_of({"server", "secret", "--username"}, &errors), usage());
    EXPECT_EQ(errors, "authprobe: option '--username' requires an argument\n");
    EXPECT_EQ(failure_of({"server", "secret", "-d"}, &errors), usage());
    EXPECT_EQ(errors, "authprobe: option requires an argument -- 'd'\n");
    for (const char letter : {'u', 'P', 'p', 'n', 's', 'f', 'c', 'M', 'T', 'r', 'h', '?'}) {
        EXPECT_EQ(failure_of({std::string("-") + letter, "server", "secret"}, &errors), usage());
        EXPECT_EQ(errors, std::string("authprobe: invalid option -- '") + letter + "'\n");
    }
}

TEST(CommandLine, ReadsTimeoutAndRetryLeniently) {
    EXPECT_EQ(read_options({"--timeout", "7s"}).timeout, 7);
    EXPECT_EQ(read_options({"--timeout", "2x"}).timeout, 2);
    EXPECT_EQ(read_options({"--timeout", " +2x"}).timeout, 2);
    EXPECT_EQ(read_options({"--timeout", "2147483647"}).timeout, 2147483647);
    EXPECT_EQ(read_options({"--retry", "7s"}).retry, 7);
    EXPECT_EQ(read_options({"--retry", "2147483647"}).retry, 2147483647);
}

TEST(CommandLine, RefusesATimeoutOrRetryThatIsNotAbove0) {
    for (const std::string argument : {"0", "-3", "abc", "", "2147483648", "-2147483649"}) {
        EXPECT_EQ(failure_of({"--timeout", argument, "server", "secret"}),
                  "authprobe: invalid --timeout \"" + argument + "\" (seconds, must be > 0)\n");
        EXPECT_EQ(failure_of({"--retry", argument, "server", "secret"}),
                  "authprobe: invalid --retry \"" + argument + "\" (must be > 0)\n");
    }
}

TEST(CommandLine, ReportsTheOptionsInTheOrderGiven) {
    const std::string timeout = "authprobe: invalid --timeout \"0\" (seconds, must be > 0)\n";
    const std::string retry = "authprobe: invalid --retry \"0\" (must be > 0)\n";
    EXPECT_EQ(failure_of({"--timeout", "0", "--retry", "0"}), timeout);
    EXPECT_EQ(failure_of({"--retry", "0", "--timeout", "0"}), retry);
    EXPECT_EQ(failure_of({"--timeout", "0", "--timeout", "1", "server", "secret"}), timeout);
    EXPECT_EQ(failure_of({"--timeout", "0", "--nope"}), timeout);
    EXPECT_EQ(failure_of({"server", "--retry", "0"}), retry);
}

}  // namespace
}  // namespace quarn::authprobe
