#include "quarn_radius/send/profile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "testing/scratch_folder.h"
#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

using Lines = std::vector<std::string>;

class ProfileTest : public testing::Test {
  protected:
    /// "line name=value" of each option, then of each attribute.
    Lines read(std::string_view text) {
        const std::string file = folder_.write("lab.yaml", text);
        const Profile profile = read_profile(file);
        EXPECT_EQ(profile.file, file);
        Lines lines;
        for (const ProfileOption& option : profile.options) {
            lines.push_back(std::to_string(option.line) + " --" + option.name + "=" + option.value);
        }
        for (const FileAttribute& attribute : profile.attributes) {
            lines.push_back(std::to_string(attribute.line) + " " + attribute.text.name + "=" +
                            std::string(std::string_view(attribute.text.value)));
        }
        return lines;
    }
    std::string problem_of(std::string_view text) {
        const std::string file = folder_.write("lab.yaml", text);
        const std::string problem = test::thrown_text<std::invalid_argument>([&file] { read_profile(file); });
        return problem.starts_with(file) ? problem.substr(file.size()) : problem;
    }

    test::ScratchFolder folder_;
};

TEST_F(ProfileTest, HoldsServerSecretFileOptionsAndAttributes) {
    EXPECT_EQ(read("server: radius.example.net\n"
                   "secret-file: /etc/lab.secret\n"
                   "options:\n"
                   "  timeout: 1\n"
                   "  bare: true\n"
                   "  expect: [accept, Class]\n"
                   "attributes:\n"
                   "  NAS-Identifier: probe\n"
                   "  Cisco-AVPair: [a=1, b=2]\n"),
              (Lines{"1 --server=radius.example.net", "2 --secret-file=/etc/lab.secret", "4 --timeout=1",
                     "5 --bare=true", "6 --expect=accept", "6 --expect=Class", "8 NAS-Identifier=probe",
                     "9 Cisco-AVPair=a=1", "9 Cisco-AVPair=b=2"}));
    EXPECT_EQ(read("server: [a, b]\n"), (Lines{"1 --server=a", "1 --server=b"}));
    EXPECT_EQ(read(""), Lines{});
    EXPECT_EQ(read("# nothing\n"), Lines{});
}

TEST_F(ProfileTest, NamesFilesFromItsOwnFolder) {
    const std::string beside = folder_.path() / "lab.secret";
    EXPECT_EQ(read("secret-file: lab.secret"), Lines{"1 --secret-file=" + beside});
    ASSERT_EQ(setenv("HOME", "/home/somebody", 1), 0);
    EXPECT_EQ(read("password-file: ~/lab.password"), Lines{"1 --password-file=/home/somebody/lab.password"});
}

TEST_F(ProfileTest, TellsTheLineOfWhatItCannotRead) {
    EXPECT_EQ(problem_of("server: a\nsecretfile: b\n"),
              ":2: unknown key \"secretfile\", did you mean \"secret-file\"?");
    EXPECT_EQ(problem_of("- server"),
              ":1: a profile is a map of server, secret-file, password-file, options, attributes");
    EXPECT_EQ(problem_of("server: {a: b}"), ":1: 'server' has to be a text or a number");
    EXPECT_EQ(problem_of("\noptions: [timeout]"), ":2: 'options' has to be a map");
    EXPECT_EQ(problem_of("options: {timeout: {a: b}}"), ":1: 'timeout' has to be a text or a number");
    EXPECT_EQ(problem_of("attributes: [User-Name]"), ":1: 'attributes' has to be a map of names to values");
    EXPECT_EQ(problem_of("attributes: {'': a}"), ":1: an attribute's name is missing");
    EXPECT_EQ(problem_of("attributes: {Class: {a: b}}"), ":1: Class has to be a text or a number");
    EXPECT_EQ(problem_of("a: [b\n"), ":2: not valid YAML: end of sequence flow not found");
    EXPECT_EQ(problem_of("? [a]\n: b\n"), ":1: a key has to be a text or a number");
}

TEST_F(ProfileTest, KeepsSecretsOut) {
    for (const std::string name : {"secret", "password", "answer"}) {
        EXPECT_EQ(
            problem_of("options:\n  " + name + ": s3cret\n"),
            ":2: '" + name + "' does not belong in a profile; name a file with secret-file or password-file");
    }
}

TEST_F(ProfileTest, KeepsAttributesOutThatAreSecrets) {
    const std::string reason = " does not belong in a profile; name a file with secret-file or password-file";
    EXPECT_EQ(problem_of("password: s3cret\n"), ":1: 'password'" + reason);
    EXPECT_EQ(problem_of("attributes:\n  NAS-Port: 1\n  User-Password: s3cret\n"),
              ":3: 'User-Password'" + reason);
    EXPECT_EQ(problem_of("attributes: {chap-password: [a, b]}\n"), ":1: 'chap-password'" + reason);
}

TEST_F(ProfileTest, ThatCannotBeReadIsNamed) {
    EXPECT_EQ(test::thrown_text<FileError>([] { read_profile("/nowhere/lab.yaml"); }),
              "/nowhere/lab.yaml: cannot read: no such file");
}

TEST(ProfilePath, IsInTheUsersConfigurationFolder) {
    ASSERT_EQ(setenv("HOME", "/home/somebody", 1), 0);
    ASSERT_EQ(setenv("XDG_CONFIG_HOME", "/elsewhere", 1), 0);
    EXPECT_EQ(profile_path("lab"), "/elsewhere/quarn-radius/send/lab.yaml");
    ASSERT_EQ(setenv("XDG_CONFIG_HOME", "relative", 1), 0);
    EXPECT_EQ(profile_path("lab"), "/home/somebody/.config/quarn-radius/send/lab.yaml");
    ASSERT_EQ(unsetenv("XDG_CONFIG_HOME"), 0);
    EXPECT_EQ(profile_path("lab"), "/home/somebody/.config/quarn-radius/send/lab.yaml");
    ASSERT_EQ(unsetenv("HOME"), 0);
    EXPECT_EQ(test::thrown_text<std::invalid_argument>([] { profile_path("lab"); }),
              "--profile: neither XDG_CONFIG_HOME nor HOME is set");
    for (const std::string name : {"", "../lab", "a/b", ".hidden"}) {
        EXPECT_EQ(test::thrown_text<std::invalid_argument>([&name] { profile_path(name); }),
                  "--profile: \"" + name + "\" is no name of a profile");
    }
}

}  // namespace
}  // namespace quarn::quarn_radius
