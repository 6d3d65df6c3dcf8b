#include "quarn_radius/send/argument_secrets.h"

#include <array>
#include <cstring>
#include <string_view>

namespace quarn::quarn_radius {

namespace {

utils::SecretText take(char* text) {
    utils::SecretText secret(text);
    utils::wipe(text, std::strlen(text));
    return secret;
}

void store(ArgumentSecrets& secrets, std::string_view option, utils::SecretText value) {
    if (option == "--secret") {
        secrets.secret = std::move(value);
    } else if (option == "--password") {
        secrets.password = std::move(value);
    } else {
        secrets.answers.push_back(std::move(value));
    }
}

}  // namespace

ArgumentSecrets take_secrets(int argc, char* const* argv) {
    constexpr std::array options = std::to_array<std::string_view>({"--secret", "--password", "--answer"});
    ArgumentSecrets secrets;
    if (argc < 2 || std::string_view(argv[1]) != "send") {
        return secrets;
    }
    for (int i = 2; i < argc && std::string_view(argv[i]) != "--"; ++i) {
        const std::string_view argument = argv[i];
        for (const std::string_view option : options) {
            if (argument == option && i + 1 < argc) {
                store(secrets, option, take(argv[i + 1]));
                ++i;
                break;
            }
            if (argument.starts_with(option) && argument.substr(option.size()).starts_with('=')) {
                store(secrets, option, take(argv[i] + option.size() + 1));
                break;
            }
        }
    }
    return secrets;
}

}  // namespace quarn::quarn_radius
