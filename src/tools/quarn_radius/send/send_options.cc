#include "quarn_radius/send/send_options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string_view>

#include "quarn/utils/nearest_name.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

namespace {

constexpr double longest_time = 86400;  // a day, so that no sum of times overflows

void add_text(CLI::App& command, const char* name, std::string& value, const char* type, const char* help) {
    command.add_option(name, value, help)->type_name(type);
}

/// An option with a secret. `take_secrets` has it already, where that was called.
void add_secret(CLI::App& command, const char* name, std::optional<utils::SecretText>& secret,
                const char* help) {
    command
        .add_option_function<std::string>(
            name, [&secret](const std::string& text) { secret = text; }, help)
        ->type_name("TEXT");
}

/// An option that may be given several times, with one value each time.
void add_texts(CLI::App& command, const char* name, std::vector<std::string>& values, const char* type,
               const char* help) {
    command.add_option(name, values, help)->type_name(type)->allow_extra_args(false);
}

/// CLI::Range takes "nan" for a number of every range.
std::string refuse_nan(const std::string& text) {
    double number = 0;
    return CLI::detail::lexical_cast(text, number) && std::isnan(number) ? "\"" + text + "\" is no number"
                                                                         : "";
}

void add_where_to(CLI::App& command, SendOptions& options) {
    add_texts(command, "--server", options.servers, "SERVER",
              "Ask this server; several times: ask each of them");
    command.add_flag("-4,--ipv4", options.ipv4, "Use IPv4 addresses only");
    command.add_flag("-6,--ipv6", options.ipv6, "Use IPv6 addresses only");
    add_text(command, "--source", options.source, "ADDR[:PORT]", "Send from this address of this machine");
    add_text(command, "--interface", options.interface, "NAME", "Send through this network interface");
}

void add_what_to_send(CLI::App& command, SendOptions& options) {
    add_text(command, "--code", options.code, "CODE",
             "access (default), accounting, coa, disconnect,\nstatus, or a number");
    add_texts(command, "-f,--file", options.request_files, "FILE",
              "Read requests from a file, - for standard input");
    add_text(command, "--session-id", options.session_id, "ID", "Take up this accounting session again");
    command.add_flag("--bare", options.bare, "Add nothing that a NAS would add");
    add_text(command, "-d,--dictionary", options.dictionary, "FILE", "The dictionary's root file");
}

void add_credentials(CLI::App& command, SendOptions& options) {
    add_text(command, "--secret-file", options.secret_file, "FILE", "Read the shared secret from a file");
    add_text(command, "--secret-env", options.secret_variable, "NAME", "Take it from the environment");
    add_secret(command, "--secret", options.taken.secret, "The shared secret itself");
    add_text(command, "--username", options.username, "NAME", "User-Name");
    add_text(command, "--password-file", options.password_file, "FILE", "Read the password from a file");
    add_text(command, "--password-env", options.password_variable, "NAME", "Take it from the environment");
    add_secret(command, "--password", options.taken.password, "The password itself");
    add_text(command, "--method", options.method, "METHOD", "pap (default), chap, mschap or mschapv2");
    add_text(command, "--mac", options.mac_address, "ADDRESS",
             "MAC authentication: the address, written as the\nNAS writes it, is user name and password");
    command
        .add_option_function<std::vector<std::string>>(
            "--answer",
            [&options](const std::vector<std::string>& texts) {
                options.taken.answers.assign(texts.begin(), texts.end());
            },
            "Answer the next challenge; several times: one each")
        ->type_name("TEXT")
        ->allow_extra_args(false);
}

void add_how_to_wait(CLI::App& command, SendOptions& options) {
    command.add_option("--timeout", options.timeout, "Seconds that each try waits (3)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, longest_time).description(""))
        ->check(refuse_nan);
    command.add_option("--tries", options.tries, "How often to send over UDP (3)")
        ->type_name("N")
        ->check(CLI::Range(1, 1000).description(""));
    command.add_option("--grace", options.grace, "Wait for a better packet after a bad one (50)")
        ->type_name("MS")
        ->check(CLI::Range(0.0, longest_time * 1000).description(""))
        ->check(refuse_nan);
    command.add_flag("--wait", options.wait,
                     "Discard packets that cannot be accepted, and wait\nfor the whole time, as a NAS does");
    command.add_option("--parallel", options.parallel, "How many requests are under way at once (1)")
        ->type_name("N")
        ->check(CLI::Range(1, 10000).description(""));
    add_text(command, "--require-message-authenticator", options.require_message_authenticator, "WHEN",
             "yes, warn (default) or no: what to do about a\nreply that is signed with MD5 alone");
    command.add_flag("--diagnose", options.diagnose, "After silence, ask further to find the cause");
    add_texts(
        command, "--expect", options.expectations, "WHAT",
        "accept, reject, challenge, ack or nak; NAME=VALUE,\nNAME, no:NAME, NAME~REGEX, NAME>N, NAME<N");
}

void add_what_to_show(CLI::App& command, SendOptions& options) {
    command.add_flag("--dry-run", options.dry_run, "Show the request and send nothing");
    command.add_flag("--json", options.json, "Print an exchange a line, as a JSON object");
    command.add_flag("--quiet", options.quiet, "Print the verdict alone");
    command.add_flag("--verbose", options.verbose, "Show the bytes, too");
    command.add_flag("--show-secrets", options.show_secrets, "Show hidden values in clear");
    add_text(command, "--profile", options.profile, "NAME",
             "Read ~/.config/quarn-radius/send/NAME.yaml first");
}

[[noreturn]] void fail(const Profile& profile, std::uint32_t line, const std::string& reason) {
    throw std::invalid_argument(place_text({profile.file, line}) + ": " + reason);
}

bool is_for_profiles(const std::string& option) {
    return option != "help" && option != "profile";
}

/// The long names of the options that a profile may set, without their dashes.
std::vector<std::string> option_names(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : command.get_options()) {
        const std::vector<std::string>& own = option->get_lnames();
        std::copy_if(own.begin(), own.end(), std::back_inserter(names), is_for_profiles);
    }
    return names;
}

std::string unknown_option(const CLI::App& command, const std::string& name) {
    const std::vector<std::string> names = option_names(command);
    const std::vector<std::string_view> candidates(names.begin(), names.end());
    return "unknown option \"" + name + "\"" + utils::suggestion(name, candidates);
}

/// The ways to give one thing: what the command line says in one way, the profile does not in another.
constexpr std::array secret_ways = std::to_array<std::string_view>({"secret", "secret-file", "secret-env"});
constexpr std::array password_ways =
    std::to_array<std::string_view>({"password", "password-file", "password-env"});

/// Options and operands of the command line that a profile does not change.
class CommandLine {
  public:
    CommandLine(const CLI::App& command, const SendOptions& options) {
        for (const std::string& name : option_names(command)) {
            if (command.get_option_no_throw("--" + name)->count() > 0) {
                given_.insert(name);
            }
        }
        const bool has_server =
            std::any_of(options.operands.begin(), options.operands.end(), is_server_operand);
        if (has_server) {
            given_.insert("server");
        }
        if (options.taken.secret) {
            given_.insert("secret");
        }
        if (options.taken.password) {
            given_.insert("password");
        }
        if (!options.taken.answers.empty()) {
            given_.insert("answer");
        }
        add_other_ways(secret_ways);
        add_other_ways(password_ways);
    }

    bool decides(const std::string& name) const { return given_.contains(name); }

  private:
    void add_other_ways(std::span<const std::string_view> ways) {
        const bool is_given = std::any_of(ways.begin(), ways.end(), [this](std::string_view way) {
            return given_.contains(std::string(way));
        });
        if (is_given) {
            given_.insert(ways.begin(), ways.end());
        }
    }

    std::set<std::string> given_;
};

void set_option(CLI::Option& option, const Profile& profile, const ProfileOption& setting) {
    const bool is_flag = option.get_items_expected_max() == 0;
    if (is_flag && setting.value != "true" && setting.value != "false") {
        fail(profile, setting.line, "'" + setting.name + "' has to be true or false");
    }
    try {
        option.add_result(setting.value);
        option.run_callback();
    } catch (const CLI::ParseError& error) {
        fail(profile, setting.line, error.what());
    }
}

}  // namespace

bool is_server_operand(const std::string& operand) {
    return operand.find('=') == std::string::npos;
}

std::string place_prefix(const SendOptions& options, const std::string& option, std::size_t index) {
    const auto lines = options.profile_lines.find(option);
    if (lines == options.profile_lines.end() || lines->second.empty()) {
        return {};
    }
    const std::size_t last = lines->second.size() - 1;  // of an option that takes one value, the last counts
    return place_text({options.profile_file, lines->second[std::min(index, last)]}) + ": ";
}

void add_send_options(CLI::App& command, SendOptions& options) {
    command
        .add_option("SERVER", options.operands,
                    "The server to ask; NAME=VALUE beside it, in any\norder, is an attribute of the request")
        ->type_name("");
    add_where_to(command, options);
    add_what_to_send(command, options);
    add_credentials(command, options);
    add_how_to_wait(command, options);
    add_what_to_show(command, options);
}

void apply_profile(CLI::App& command, const Profile& profile, SendOptions& options) {
    const CommandLine command_line(command, options);
    for (const ProfileOption& setting : profile.options) {
        CLI::Option* const option = command.get_option_no_throw("--" + setting.name);
        if (option == nullptr || !is_for_profiles(setting.name)) {
            fail(profile, setting.line, unknown_option(command, setting.name));
        }
        if (!command_line.decides(setting.name)) {
            set_option(*option, profile, setting);
            options.profile_lines[setting.name].push_back(setting.line);
        }
    }
    options.profile_file = profile.file;
    options.profile_attributes = profile.attributes;
}

}  // namespace quarn::quarn_radius
