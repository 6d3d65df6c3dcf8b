// The command line of `send`: the options as they were typed, and the profile that fills in the rest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "common/default_paths.h"
#include "quarn_radius/send/argument_secrets.h"
#include "quarn_radius/send/profile.h"

namespace CLI {
class App;
}

namespace quarn::quarn_radius {

/// The options as they were typed. Numbers are checked for their range, nothing else is.
struct SendOptions {
    std::vector<std::string> operands;  ///< SERVER and NAME=VALUE
    std::vector<std::string> servers;
    bool ipv4 = false;
    bool ipv6 = false;
    std::string source;
    std::string interface;

    std::string dictionary = tools::default_dictionary_path;
    std::string code = "access";
    std::vector<std::string> request_files;
    std::string session_id;
    bool bare = false;

    std::string username;
    std::string method = "pap";
    std::string mac_address;
    std::string secret_file;
    std::string secret_variable;
    std::string password_file;
    std::string password_variable;

    double timeout = 3;  ///< seconds
    int tries = 3;
    double grace = 50;  ///< milliseconds
    bool wait = false;
    int parallel = 1;
    std::string require_message_authenticator = "warn";
    bool diagnose = false;
    bool dry_run = false;
    std::vector<std::string> expectations;

    bool quiet = false;
    bool verbose = false;
    bool show_secrets = false;
    bool json = false;
    std::string profile;

    ArgumentSecrets taken;  ///< --secret, --password and --answer
    std::vector<FileAttribute> profile_attributes;
    std::string profile_file;                                         ///< the profile's path; empty: none
    std::map<std::string, std::vector<std::uint32_t>> profile_lines;  ///< by long option, a line a value
};

/// "FILE:LINE: " for a value of an option, counted from 0 on, that the profile set; empty for one of the
/// command line. The option is named without its dashes.
std::string place_prefix(const SendOptions& options, const std::string& option, std::size_t index);

/// Whether an operand is a server, and no attribute.
bool is_server_operand(const std::string& operand);

/// Adds the options to the command.
void add_send_options(CLI::App& command, SendOptions& options);

/// Sets what the profile says and the command line does not. Attributes are added to those of the command
/// line. Throws `std::invalid_argument` "FILE:LINE: REASON" for an option that does not exist or does not
/// take the value.
void apply_profile(CLI::App& command, const Profile& profile, SendOptions& options);

}  // namespace quarn::quarn_radius
