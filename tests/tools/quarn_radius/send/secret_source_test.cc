#include "quarn_radius/send/secret_source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "quarn_radius/dictionary/problem.h"
#include "testing/pseudo_terminal.h"
#include "testing/scratch_folder.h"
#include "testing/thrown_text.h"

namespace quarn::quarn_radius {
namespace {

std::string text_of(const SecretSource& source) {
    const auto secret = read_secret(source, "secret");
    return secret ? "\"" + std::string(std::string_view(secret->text)) + "\"" : "none";
}

class SecretFile : public testing::Test {
  protected:
    std::string from(std::string_view content) { return text_of({.file = folder_.write("secret", content)}); }
    std::string problem_of(std::string_view content) {
        const std::string file = folder_.write("secret", content);
        const std::string text =
            test::thrown_text<FileError>([&file] { read_secret({.file = file}, "secret"); });
        return text.starts_with(file) ? text.substr(file.size()) : text;
    }

    test::ScratchFolder folder_;
};

TEST_F(SecretFile, IsOneLineWithoutItsEnd) {
    EXPECT_EQ(from("s3cret\n"), "\"s3cret\"");
    EXPECT_EQ(from("s3cret\r\n"), "\"s3cret\"");
    EXPECT_EQ(from("s3cret"), "\"s3cret\"");
    EXPECT_EQ(from(" s3 cret "), "\" s3 cret \"");
    EXPECT_EQ(from(""), "\"\"");
    EXPECT_EQ(from(std::string(4096, 'x') + "\n"), '"' + std::string(4096, 'x') + '"');
}

TEST_F(SecretFile, ThatOthersCanReadIsWarnedOf) {
    const std::string file = folder_.write("secret", "s3cret\n");
    const auto warning = [&file](mode_t mode) {
        EXPECT_EQ(chmod(file.c_str(), mode), 0);
        return read_secret({.file = file}, "secret")->warning;
    };
    const std::string text =
        "Other users can read " + file + ": take the permission away with \"chmod go= " + file + "\".";
    EXPECT_EQ(warning(0600), "");
    EXPECT_EQ(warning(0640), text);
    EXPECT_EQ(warning(0604), text);
    EXPECT_EQ(read_secret({.file = "/dev/null"}, "secret")->warning, "") << "no regular file";
}

TEST_F(SecretFile, WithMoreIsNone) {
    const std::string problem = ": not a secret: it has more than one line or more than 4096 bytes";
    EXPECT_EQ(problem_of("one\ntwo\n"), problem);
    EXPECT_EQ(problem_of("one\n\n"), problem);
    EXPECT_EQ(problem_of(std::string(4097, 'x')), problem);
    EXPECT_EQ(problem_of(std::string(10000, 'x')), problem);
}

TEST_F(SecretFile, ThatCannotBeReadIsNamed) {
    EXPECT_EQ(test::thrown_text<FileError>([] { read_secret({.file = "/nowhere"}, "secret"); }),
              "/nowhere: cannot read: No such file or directory");
    const std::string folder = folder_.path();
    EXPECT_EQ(test::thrown_text<FileError>([&] { read_secret({.file = folder}, "secret"); }),
              folder + ": cannot read: Is a directory");
}

TEST(Secret, ComesFromTheCommandLineOrTheEnvironment) {
    EXPECT_EQ(text_of({.text = utils::SecretText("s3cret")}), "\"s3cret\"");
    EXPECT_EQ(text_of({}), "none");
    ASSERT_EQ(setenv("QUARN_TEST_SECRET", "from the environment", 1), 0);
    EXPECT_EQ(text_of({.variable = "QUARN_TEST_SECRET"}), "\"from the environment\"");
    ASSERT_EQ(unsetenv("QUARN_TEST_SECRET"), 0);
    EXPECT_EQ(test::thrown_text<std::invalid_argument>(
                  [] { read_secret({.variable = "QUARN_TEST_SECRET"}, "password"); }),
              "--password-env: the environment has no variable QUARN_TEST_SECRET");
}

TEST(Secret, ComesOneWayOnly) {
    EXPECT_EQ(test::thrown_text<std::invalid_argument>(
                  [] { read_secret({.text = utils::SecretText("a"), .file = "b"}, "secret"); }),
              "give one of --secret, --secret-file and --secret-env");
}

/// Runs `ask_secret` in a process whose standard input is the terminal, and which has no controlling one. The
/// exit status is 0 for the expected text.
pid_t ask_in_child(const test::PseudoTerminal& terminal, std::string_view expected) {
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        dup2(terminal.terminal.get(), STDIN_FILENO);
        const auto secret = ask_secret("Secret? ");
        _exit(!secret ? 3 : *secret == expected ? 0 : 1);
    }
    return child;
}

std::string read_until(int descriptor, std::string_view end) {
    std::string text;
    char character = 0;
    pollfd input{descriptor, POLLIN, 0};
    while (!text.ends_with(end) && poll(&input, 1, 30000) == 1 && read(descriptor, &character, 1) == 1) {
        text += character;
    }
    return text;
}

/// A terminal as people have it: with an echo, and with lines that can be ended and edited.
class UsualTerminal : public test::PseudoTerminal {
  public:
    UsualTerminal() {
        termios settings{};
        tcgetattr(terminal.get(), &settings);
        settings.c_lflag |= ECHO | ICANON | ISIG;
        tcsetattr(terminal.get(), TCSANOW, &settings);
    }
};

bool has_echo(int terminal) {
    termios settings{};
    tcgetattr(terminal, &settings);
    return (settings.c_lflag & ECHO) != 0;
}

TEST(AskSecret, ReadsALineWithoutEcho) {
    const UsualTerminal terminal;
    const pid_t child = ask_in_child(terminal, "s3cret");
    EXPECT_EQ(read_until(terminal.control.get(), "Secret? "), "Secret? ");
    EXPECT_FALSE(has_echo(terminal.terminal.get()));
    ASSERT_EQ(write(terminal.control.get(), "s3cret\n", 7), 7);
    EXPECT_EQ(read_until(terminal.control.get(), "\n"), "\n");
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(has_echo(terminal.terminal.get()));
}

TEST(AskSecret, GivesTheTerminalItsEchoBackWhenInterrupted) {
    const UsualTerminal terminal;
    const pid_t child = ask_in_child(terminal, "");
    EXPECT_EQ(read_until(terminal.control.get(), "Secret? "), "Secret? ");
    ASSERT_EQ(kill(child, SIGINT), 0);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    EXPECT_TRUE(has_echo(terminal.terminal.get()));
}

// Requests may come from standard input: the terminal is another way to the same person.
TEST(AskSecret, AsksAtTheTerminalWhateverStandardInputIs) {
    const UsualTerminal terminal;
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        ioctl(terminal.terminal.get(), TIOCSCTTY, 0);
        const int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, STDIN_FILENO);
        const auto secret = ask_secret("Secret? ");
        _exit(secret && *secret == "s3cret" ? 0 : 1);
    }
    EXPECT_EQ(read_until(terminal.control.get(), "Secret? "), "Secret? ");
    ASSERT_EQ(write(terminal.control.get(), "s3cret\n", 7), 7);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(AskSecret, GivesNothingWithoutATerminal) {
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        const int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, STDIN_FILENO);
        _exit(ask_secret("Secret? ") ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(AskSecret, GivesNothingWhenTheInputEnds) {
    const UsualTerminal terminal;
    const pid_t child = ask_in_child(terminal, "");
    EXPECT_EQ(read_until(terminal.control.get(), "Secret? "), "Secret? ");
    ASSERT_EQ(write(terminal.control.get(), "\x04", 1), 1);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

}  // namespace
}  // namespace quarn::quarn_radius
