#include "quarn_radius/send/argument_secrets.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace quarn::quarn_radius {
namespace {

/// A command line that can be overwritten.
class Arguments {
  public:
    explicit Arguments(std::vector<std::string> texts) : texts_(std::move(texts)) {
        for (std::string& text : texts_) {
            pointers_.push_back(text.data());
        }
    }

    ArgumentSecrets take() {
        int count = static_cast<int>(pointers_.size());
        pointers_.push_back(nullptr);
        ArgumentSecrets secrets = take_secrets(count, pointers_.data());
        EXPECT_EQ(pointers_[static_cast<std::size_t>(count)], nullptr);
        pointers_.resize(static_cast<std::size_t>(count));
        return secrets;
    }

    /// The arguments that are left to the program.
    std::vector<std::string> left() const { return {pointers_.begin(), pointers_.end()}; }

    /// The arguments as another process sees them, zero bytes as ".".
    std::string seen() const {
        std::string text;
        for (const std::string& argument : texts_) {
            text += (text.empty() ? "" : " ") + argument;
        }
        for (char& character : text) {
            character = character == '\0' ? '.' : character;
        }
        return text;
    }

  private:
    std::vector<std::string> texts_;
    std::vector<char*> pointers_;
};

TEST(TakeSecrets, OverwritesWhatItTakes) {
    Arguments arguments(
        {"quarn-radius", "send", "--secret", "abc", "--password=de", "--answer", "f", "--answer=g"});
    const ArgumentSecrets secrets = arguments.take();
    EXPECT_EQ(secrets.secret.value(), "abc");
    EXPECT_EQ(secrets.password.value(), "de");
    ASSERT_EQ(secrets.answers.size(), 2U);
    EXPECT_EQ(secrets.answers[0], "f");
    EXPECT_EQ(secrets.answers[1], "g");
    EXPECT_EQ(arguments.seen(), "quarn-radius send --secret ... --password=.. --answer . --answer=.");
    EXPECT_EQ(arguments.left(), (std::vector<std::string>{"quarn-radius", "send"}));
}

TEST(TakeSecrets, LeavesTheArgumentsBesideThem) {
    Arguments arguments(
        {"quarn-radius", "send", "--secret=abc", "host", "--password=", "User-Name=bob", "--", "x"});
    const ArgumentSecrets secrets = arguments.take();
    EXPECT_EQ(secrets.secret.value(), "abc");
    EXPECT_EQ(secrets.password.value(), "");
    EXPECT_EQ(arguments.left(),
              (std::vector<std::string>{"quarn-radius", "send", "host", "User-Name=bob", "--", "x"}));
}

TEST(TakeSecrets, HidesAttributesThatAreSecrets) {
    Arguments arguments({"quarn-radius", "send", "User-Password=abc", "--expect", "tunnel-PASSWORD:1~de",
                         "--", "MS-Secret=f", "User-Name=password"});
    const ArgumentSecrets secrets = arguments.take();
    EXPECT_EQ(arguments.left(),
              (std::vector<std::string>{"quarn-radius", "send", "User-Password=abc", "--expect",
                                        "tunnel-PASSWORD:1~de", "--", "MS-Secret=f", "User-Name=password"}));
    EXPECT_EQ(arguments.seen(),
              "quarn-radius send User-Password=... --expect tunnel-PASSWORD:1~.. -- MS-Secret=. "
              "User-Name=password");
}

TEST(TakeSecrets, LeavesEverythingElse) {
    for (const std::vector<std::string>& line :
         {std::vector<std::string>{"quarn-radius", "dictionary", "--secret", "abc"},
          std::vector<std::string>{"quarn-radius", "send", "--secret-file", "abc", "--passwords=x"},
          std::vector<std::string>{"quarn-radius", "send", "--", "--secret", "abc"},
          std::vector<std::string>{"quarn-radius", "send", "--secret"},
          std::vector<std::string>{"quarn-radius"}}) {
        Arguments arguments(line);
        const std::string before = arguments.seen();
        const ArgumentSecrets secrets = arguments.take();
        EXPECT_FALSE(secrets.secret);
        EXPECT_FALSE(secrets.password);
        EXPECT_TRUE(secrets.answers.empty());
        EXPECT_EQ(arguments.seen(), before);
    }
}

TEST(TakeSecrets, TakesAValueThatLooksLikeAnOption) {
    Arguments arguments({"quarn-radius", "send", "--secret", "--password", "x"});
    EXPECT_EQ(arguments.take().secret.value(), "--password");
    EXPECT_EQ(arguments.seen(), "quarn-radius send --secret .......... x");
}

}  // namespace
}  // namespace quarn::quarn_radius
