#include "quarn_radius/program.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <ostream>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/terminal_text.h"
#include "quarn/utils/nearest_name.h"
#include "quarn_radius/command.h"
#include "quarn_radius/dictionary/check_command.h"
#include "quarn_radius/dictionary/import_command.h"
#include "quarn_radius/dictionary/list_command.h"
#include "quarn_radius/dictionary/problem.h"
#include "quarn_radius/dictionary/show_command.h"
#include "quarn_radius/send/send_command.h"

namespace quarn::quarn_radius {

namespace {

/// Help that is easy on the eye: a blank line before the usage, options with nothing but their argument, and
/// of a command in a list of commands the first line of its description alone.
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App* app, std::string name) const override {
        return "\n" + CLI::Formatter::make_usage(app, std::move(name));
    }
    std::string make_option_opts(const CLI::Option* option) const override {
        const bool has_argument = option->nonpositional() && option->get_type_size() != 0;
        return has_argument ? " " + option->get_type_name() : "";
    }
    std::string make_subcommand(const CLI::App* command) const override {
        std::string text = "  " + command->get_name();
        text.resize(get_column_width(), ' ');
        const std::string description = command->get_description();
        return text + description.substr(0, description.find('\n')) + "\n";
    }
};

/// Whether what was to read the standard output has ended, as `head` does when it has its lines.
bool reader_has_left() {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
}

/// Makes a folder of commands, such as `quarn-radius dictionary`: one of them has to be named.
CLI::App& add_group(CLI::App& program, const std::string& name, const std::string& help) {
    CLI::App& group = *program.add_subcommand(name, help);
    group.require_subcommand(1);
    group.footer(exit_statuses);
    return group;
}

/// What is wrong with the words that name a command: one is missing, or is none. Empty when nothing is.
std::string unknown_command(const CLI::App& program, std::span<const char* const> arguments) {
    const CLI::App* group = &program;
    for (std::size_t i = 1; group->get_require_subcommand_min() > 0; ++i) {
        std::vector<std::string_view> names;
        for (const CLI::App* const command : group->get_subcommands({})) {
            names.push_back(command->get_name());
        }
        const std::string_view word = i < arguments.size() ? arguments[i] : "";
        const auto known = std::find(names.begin(), names.end(), word);
        if (word.starts_with('-')) {
            return "";  // --help, or an option for the parser to refuse
        }
        if (known == names.end()) {
            std::string text = word.empty() ? "a command is missing"
                                            : "there is no command \"" + std::string(word) + "\"" +
                                                  utils::suggestion(std::string(word), names);
            text += word.empty() ? ": " : "; the commands are ";
            for (const std::string_view& name : names) {
                text.append(&name == names.data() ? "" : ", ").append(name);
            }
            return text;
        }
        group = group->get_subcommand(std::string(word));
    }
    return "";
}

/// What is wrong with the command line. Of an unknown option its value is left out, which may be a secret.
std::string problem_of(const CLI::App& program, const CLI::ParseError& error) {
    if (dynamic_cast<const CLI::ExtrasError*>(&error) == nullptr) {
        return error.what();
    }
    std::string text = "not expected:";
    for (const std::string& argument : program.remaining(true)) {
        text += ' ' + (argument.starts_with('-') ? argument.substr(0, argument.find('=')) : argument);
    }
    return text;
}

/// Adds the commands that the first argument may mean. A probe by `send` is over in few milliseconds, of
/// which the options of every other command would be a noticeable part.
std::vector<Command> add_commands(CLI::App& program, std::string_view first_argument,
                                  ArgumentSecrets secrets) {
    std::vector<Command> commands;
    if (first_argument != "send") {
        CLI::App& dictionary =
            add_group(program, "dictionary", "Check, search and import RADIUS dictionaries.");
        commands = {add_check_command(dictionary), add_list_command(dictionary), add_show_command(dictionary),
                    add_import_command(dictionary)};
    }
    if (first_argument != "dictionary") {
        commands.push_back(add_send_command(program, std::move(secrets)));
    }
    return commands;
}

tools::ExitStatus run_command(int argc, const char* const* argv, Streams streams, ArgumentSecrets secrets) {
    CLI::App program("Asks RADIUS servers anything, and looks after RADIUS dictionaries.", "quarn-radius");
    program.set_version_flag("--version", "quarn-radius " QUARN_VERSION);
    program.require_subcommand(1);
    program.footer(exit_statuses);
    program.formatter(std::make_shared<HelpFormatter>());
    program.get_formatter()->column_width(20);

    const std::vector<Command> commands =
        add_commands(program, argc > 1 ? argv[1] : std::string_view(), std::move(secrets));
    if (const std::string problem = unknown_command(program, {argv, static_cast<std::size_t>(argc)});
        !problem.empty()) {
        streams.errors << "quarn-radius: " << tools::terminal_text(problem)
                       << "\nRun with --help for more information.\n";
        return tools::ExitStatus::Usage;
    }
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {  // --help and --version are errors to the parser
            program.exit(error, streams.output, streams.errors);
            return tools::ExitStatus::Fine;
        }
        streams.errors << "quarn-radius: " << tools::terminal_text(problem_of(program, error))
                       << "\nRun with --help for more information.\n";
        return tools::ExitStatus::Usage;
    }
    const auto chosen = std::find_if(commands.begin(), commands.end(),
                                     [](const Command& command) { return command.parser->parsed(); });
    try {
        return chosen->run(streams);
    } catch (const std::invalid_argument& error) {
        streams.errors << "quarn-radius: " << tools::terminal_text(error.what()) << '\n';
        return tools::ExitStatus::Usage;
    } catch (const FileError& error) {
        streams.errors << "quarn-radius: " << tools::terminal_text(error.what()) << '\n';
        return tools::ExitStatus::FileProblem;
    }
}

}  // namespace

std::string count_text(std::size_t count, const std::string& singular) {
    return std::to_string(count) + " " + singular + (count == 1 ? "" : "s");
}

tools::ExitStatus run(int argc, const char* const* argv, std::ostream& output, std::ostream& errors,
                      ArgumentSecrets secrets) {
    tools::ExitStatus status = tools::ExitStatus::FileProblem;
    try {
        status = run_command(argc, argv, {output, errors}, std::move(secrets));
    } catch (const std::exception& error) {  // there is no memory left, say
        errors << "quarn-radius: " << error.what() << '\n';
    }
    // A full disk, say, shows only when what is buffered is written.
    if (!output.flush() && !reader_has_left()) {
        errors << "quarn-radius: standard output: cannot write\n";
        return tools::ExitStatus::FileProblem;
    }
    return status;
}

}  // namespace quarn::quarn_radius
