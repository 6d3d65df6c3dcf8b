#include "quarn_radius/send/send_options.h"

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

/// A command line that was read, as `send` reads it.
struct ReadCommand {
    explicit ReadCommand(std::vector<std::string> arguments) {
        add_send_options(app, options);
        std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants them
        app.parse(std::move(arguments));
    }

    CLI::App app;
    SendOptions options;
};

Profile profile_of(std::vector<ProfileOption> options) {
    return {.file = "lab.yaml", .options = std::move(options), .attributes = {}};
}

std::string problem_of(std::vector<ProfileOption> options) {
    ReadCommand command({});
    return test::thrown_text<std::invalid_argument>(
        [&] { apply_profile(command.app, profile_of(std::move(options)), command.options); });
}

TEST(SendOptions, TellServersFromAttributes) {
    EXPECT_TRUE(is_server_operand("radius.example.net"));
    EXPECT_TRUE(is_server_operand("[::1]:1812"));
    EXPECT_FALSE(is_server_operand("User-Name=bob"));
    EXPECT_FALSE(is_server_operand("=bob"));
}

TEST(SendOptions, AreRead) {
    const ReadCommand command({"a", "User-Name=bob", "--server", "b", "--server", "c", "--timeout", "0.5",
                               "--tries", "2", "-4", "--expect", "accept", "--expect", "Class", "--parallel",
                               "9", "-f", "-"});
    EXPECT_EQ(command.options.operands, (std::vector<std::string>{"a", "User-Name=bob"}));
    EXPECT_EQ(command.options.servers, (std::vector<std::string>{"b", "c"}));
    EXPECT_EQ(command.options.timeout, 0.5);
    EXPECT_EQ(command.options.tries, 2);
    EXPECT_TRUE(command.options.ipv4);
    EXPECT_FALSE(command.options.ipv6);
    EXPECT_EQ(command.options.expectations, (std::vector<std::string>{"accept", "Class"}));
    EXPECT_EQ(command.options.parallel, 9);
    EXPECT_EQ(command.options.request_files, std::vector<std::string>{"-"});
}

TEST(SendOptions, KeepSecretsWhereThoseOfTheCommandLineAre) {
    const ReadCommand command({"--secret", "a", "--password", "b", "--answer", "c", "--answer", "d"});
    ASSERT_TRUE(command.options.taken.secret && command.options.taken.password);
    EXPECT_EQ(*command.options.taken.secret, "a");
    EXPECT_EQ(*command.options.taken.password, "b");
    ASSERT_EQ(command.options.taken.answers.size(), 2U);
    EXPECT_EQ(command.options.taken.answers[1], "d");
}

TEST(ApplyProfile, SetsWhatTheCommandLineDoesNot) {
    ReadCommand command({"--timeout", "9", "--secret-env", "MINE"});
    apply_profile(command.app,
                  profile_of({{"timeout", "1", 2},
                              {"tries", "2", 3},
                              {"bare", "true", 4},
                              {"wait", "false", 5},
                              {"server", "a", 6},
                              {"server", "b", 7},
                              {"secret-file", "lab.secret", 8}}),
                  command.options);
    EXPECT_EQ(command.options.timeout, 9);
    EXPECT_EQ(command.options.tries, 2);
    EXPECT_TRUE(command.options.bare);
    EXPECT_FALSE(command.options.wait);
    EXPECT_EQ(command.options.servers, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(command.options.secret_file, "") << "another way was chosen on the command line";
    EXPECT_EQ(place_prefix(command.options, "timeout", 0), "");
    EXPECT_EQ(place_prefix(command.options, "tries", 0), "lab.yaml:3: ");
    EXPECT_EQ(place_prefix(command.options, "server", 0), "lab.yaml:6: ");
    EXPECT_EQ(place_prefix(command.options, "server", 1), "lab.yaml:7: ");
}

TEST(ApplyProfile, LetsAServerOfTheCommandLineDecide) {
    ReadCommand command({"mine", "User-Name=bob"});
    apply_profile(command.app, profile_of({{"server", "a", 1}}), command.options);
    EXPECT_TRUE(command.options.servers.empty());
}

TEST(ApplyProfile, LetsSecretsThatWereTakenDecide) {
    ReadCommand command({});
    command.options.taken.secret = "mine";
    command.options.taken.password = "mine";
    apply_profile(command.app, profile_of({{"secret-file", "a", 1}, {"password-env", "b", 2}}),
                  command.options);
    EXPECT_EQ(command.options.secret_file, "");
    EXPECT_EQ(command.options.password_variable, "");
}

TEST(ApplyProfile, TellsTheLineOfWhatIsWrong) {
    EXPECT_EQ(problem_of({{"timout", "1", 2}}),
              "lab.yaml:2: unknown option \"timout\", did you mean \"timeout\"?");
    EXPECT_EQ(problem_of({{"help", "true", 2}}), "lab.yaml:2: unknown option \"help\"");
    EXPECT_EQ(problem_of({{"bare", "1", 3}}), "lab.yaml:3: 'bare' has to be true or false");
    EXPECT_EQ(problem_of({{"tries", "0", 4}}), "lab.yaml:4: --tries: Value 0 not in range 1 to 1000");
}

}  // namespace
}  // namespace quarn::quarn_radius
