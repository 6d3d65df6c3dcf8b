#include "quarn_radius/send/argument_secrets.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "quarn/utils/ascii.h"

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

/// Whether the argument is NAME=VALUE, or another comparison, with a name that tells of a secret.
bool compares_a_secret(std::string_view argument) {
    const std::string_view name = argument.substr(0, argument.find_first_of("=~<>"));
    return name.size() < argument.size() && !name.starts_with('-') && names_a_secret(name);
}

/// Replaces the argument by a copy, and overwrites its value where other processes see it.
void keep_copy(ArgumentSecrets& secrets, char*& argument) {
    char* const value = argument + std::strcspn(argument, "=~<>") + 1;
    secrets.kept.emplace_back(argument, argument + std::strlen(argument) + 1);
    utils::wipe(value, std::strlen(value));
    argument = secrets.kept.back().data();
}

}  // namespace

bool names_a_secret(std::string_view name) {
    const std::string lower = utils::ascii_lower(name);
    return lower.find("password") != lower.npos || lower.find("secret") != lower.npos;
}

ArgumentSecrets take_secrets(int& argc, char** argv) {
    constexpr std::array options = std::to_array<std::string_view>({"--secret", "--password", "--answer"});
    ArgumentSecrets secrets;
    if (argc < 2 || std::string_view(argv[1]) != "send") {
        return secrets;
    }
    int kept = 2;
    bool is_option = true;  // before "--"
    for (int i = 2; i < argc; ++i) {
        const std::string_view argument = argv[i];
        is_option = is_option && argument != "--";
        const std::string_view name = argument.substr(0, argument.find('='));
        if (is_option && std::find(options.begin(), options.end(), name) != options.end()) {
            if (name.size() < argument.size()) {
                store(secrets, name, take(argv[i] + name.size() + 1));
                continue;
            }
            if (i + 1 < argc) {
                store(secrets, name, take(argv[++i]));
                continue;
            }
        } else if (compares_a_secret(argument)) {
            keep_copy(secrets, argv[i]);
        }
        argv[kept++] = argv[i];
    }
    argc = kept;
    argv[argc] = nullptr;
    return secrets;
}

}  // namespace quarn::quarn_radius
