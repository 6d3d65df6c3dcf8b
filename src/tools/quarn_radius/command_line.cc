#include "quarn/tools/quarn_radius/command_line.h"

#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "quarn/tools/client_settings.h"
#include "quarn/tools/quarn_radius/dictionary_check.h"
#include "quarn/tools/quarn_radius/dictionary_import.h"
#include "quarn/tools/quarn_radius/dictionary_show.h"
#include "quarn/tools/quarn_radius/problem.h"

namespace quarn::companion {

namespace {

constexpr const char* default_schema = "/opt/quarn/share/quarn/radius/dictionary.schema.json";

constexpr const char* exit_statuses = R"(Exit status:
  0  fine
  1  problems were found, or nothing matches
  2  the command line is wrong
  3  a file cannot be read or written)";

constexpr const char* check_help = R"(Check a dictionary and all files that it includes.

authprobe loads a dictionary in silence: it stops at the first fatal problem
and passes over every other. This command lists them all, one a line:

  file:line: error: ...     the loading stops here, or this entry is lost
  file:line: warning: ...   this loads, but hardly means what its author meant

It finds files that cannot be read, include cycles, unknown keys and types,
fields that cannot be read, code paths that are invalid or do not fit into a
packet, nested attributes whose parent cannot hold them, names, codes and
values that are defined twice, values out of range or of a type that never
shows them, has_tag, encrypt and concat where they make no sense, vendor
formats, and attributes outside of their vendor's numbers.)";

constexpr const char* check_examples = R"(Examples:
  quarn-radius dictionary check my-dictionary.yaml
  quarn-radius dictionary check --json my-dictionary.yaml | jq -r .text

)";

constexpr const char* show_help = R"(Show attributes of a dictionary.

WHAT is one of
  a name       of an attribute, in any case: its whole record
  a code       such as 26.14122.7: the record of the attribute at this place
  a vendor     by name, by number or as in 26.9: a list of its attributes
               (a number that is an attribute's code shows that attribute)
  /a regex/    a list of the attributes with a matching part in their name, in
               any case (an extended regular expression of POSIX))";

constexpr const char* show_examples = R"(Examples:
  quarn-radius dictionary show service-type
  quarn-radius dictionary show 26.14122.7
  quarn-radius dictionary show Aruba
  quarn-radius dictionary show '/bandwidth-max/'

)";

constexpr const char* import_help =
    R"(Turn a dictionary in the widely used text format into dictionary files.

SOURCE has lines such as ATTRIBUTE, VALUE, VENDOR, BEGIN-VENDOR, BEGIN-TLV and
$INCLUDE. Written are one file for each vendor in DIR/vendor, DIR/standard.yaml
for the attributes of no vendor, and DIR/dictionary.yaml, which includes them
all. What had to be changed or left out is listed, one a line:

  file:line: error: ...     a line that cannot be understood; it is left out
  file:line: warning: ...   what the files cannot express; it is left out
  file:line: note: ...      something that is expressed differently

Only errors count as problems for the exit status. The files load without a
warning, and the same source always gives the same bytes.)";

constexpr const char* import_examples = R"(Examples:
  quarn-radius dictionary import /etc/raddb/dictionary -o my-dictionary
  quarn-radius dictionary import --vendor Aruba --vendor HP dictionary -o out

)";

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

void print_problems(const Problems& problems, bool json, std::ostream& output) {
    for (const Problem& problem : problems) {
        output << (json ? problem_json(problem) : problem_line(problem)) << '\n';
    }
}

std::string count_text(std::size_t count, const std::string& singular) {
    return std::to_string(count) + " " + singular + (count == 1 ? "" : "s");
}

std::size_t count_of(const Problems& problems, Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(problems.begin(), problems.end(),
                      [severity](const Problem& problem) { return problem.severity == severity; }));
}

ExitStatus check(const std::string& file, bool json, std::ostream& output, std::ostream& errors) {
    const CheckResult result = check_dictionary(file);
    print_problems(result.problems, json, output);
    const DictionaryCounts& counts = result.counts;
    errors << (result.problems.empty()
                   ? std::string("no problems")
                   : count_text(count_of(result.problems, Severity::Error), "error") + ", " +
                         count_text(count_of(result.problems, Severity::Warning), "warning"))
           << " in " << count_text(counts.attributes, "attribute") << " and "
           << count_text(counts.values, "value") << " of " << count_text(counts.vendors, "vendor") << ", "
           << count_text(counts.files, "file") << '\n';
    return result.problems.empty() ? ExitStatus::Fine : ExitStatus::ProblemsFound;
}

ExitStatus show(const std::string& file, const std::string& query, bool json, std::ostream& output,
                std::ostream& errors) {
    const DictionaryCatalogue catalogue(file);
    const Findings findings = catalogue.find(query);
    if (findings.records.empty()) {
        errors << "quarn-radius: nothing matches \"" << terminal_text(query) << '"'
               << terminal_text(catalogue.suggestion_for(query)) << '\n';
        return ExitStatus::ProblemsFound;
    }
    output << (json ? findings_json(findings) : findings_text(findings));
    return ExitStatus::Fine;
}

ExitStatus import(const ImportOptions& options, bool json, std::ostream& output, std::ostream& errors) {
    Problems problems;
    const ImportSummary summary = import_dictionary(options, problems);
    print_problems(problems, json, output);
    const std::size_t failures = count_of(problems, Severity::Error);
    errors << "wrote " << count_text(summary.attributes, "attribute") << " and "
           << count_text(summary.values, "value") << " to " << count_text(summary.files.size(), "file")
           << "; " << count_text(failures, "error") << ", "
           << count_text(count_of(problems, Severity::Warning), "warning") << ", "
           << count_text(count_of(problems, Severity::Note), "note") << '\n';
    return failures == 0 ? ExitStatus::Fine : ExitStatus::ProblemsFound;
}

/// Whether what was to read the standard output has ended, as `head` does when it has its lines.
bool reader_has_left() {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return poll(&output, 1, 0) > 0 && (output.revents & POLLERR) != 0;
}

ExitStatus run_command(int argc, const char* const* argv, std::ostream& output, std::ostream& errors) {
    CLI::App program("What goes with authprobe: tools for RADIUS dictionaries.", "quarn-radius");
    program.set_version_flag("--version", "quarn-radius " QUARN_VERSION);
    program.require_subcommand(1);
    program.footer(exit_statuses);
    program.formatter(std::make_shared<HelpFormatter>());
    program.get_formatter()->column_width(20);

    CLI::App& dictionary =
        *program.add_subcommand("dictionary", "Check, search and import RADIUS dictionaries.");
    dictionary.require_subcommand(1);
    dictionary.footer(exit_statuses);

    const std::string default_dictionary = authprobe::default_dictionary_path;
    const std::string root_file_help = "The dictionary's root file\nDefault: " + default_dictionary;
    const std::string schema_help =
        std::string("The JSON Schema that the files name, seen from DIR\nDefault: ") + default_schema;
    const std::string problem_json_help = "Print a problem a line, as a JSON object";

    std::string file = default_dictionary;
    std::string query;
    bool json = false;
    ImportOptions import_options;
    import_options.schema = default_schema;

    CLI::App& check_command = *dictionary.add_subcommand("check", check_help);
    check_command.add_option("FILE", file, root_file_help);
    check_command.add_flag("--json", json, problem_json_help);
    check_command.footer(std::string(check_examples) + exit_statuses);

    CLI::App& show_command = *dictionary.add_subcommand("show", show_help);
    show_command.add_option("WHAT", query, "A name, a code, a vendor or a /regex/")->required();
    show_command.add_option("-d", file, root_file_help)->type_name("FILE");
    show_command.add_flag("--json", json, "Print an attribute a line, as a JSON object");
    show_command.footer(std::string(show_examples) + exit_statuses);

    CLI::App& import_command = *dictionary.add_subcommand("import", import_help);
    import_command.add_option("SOURCE", import_options.source, "The text dictionary's root file")->required();
    import_command.add_option("-o", import_options.directory, "The folder to write to, made if need be")
        ->type_name("DIR")
        ->required();
    import_command
        .add_option("--vendor", import_options.vendors,
                    "Import this vendor alone; give it again for another\nDefault: everything")
        ->type_name("NAME")
        ->allow_extra_args(false);  // one name an option, or it would take SOURCE too
    import_command.add_option("--schema", import_options.schema, schema_help)->type_name("FILE");
    import_command.add_flag("--json", json, problem_json_help);
    import_command.footer(std::string(import_examples) + exit_statuses);

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return program.exit(error, output, errors) == 0 ? ExitStatus::Fine : ExitStatus::Usage;
    }
    try {
        if (check_command.parsed()) {
            return check(file, json, output, errors);
        }
        if (show_command.parsed()) {
            return show(file, query, json, output, errors);
        }
        return import(import_options, json, output, errors);
    } catch (const std::invalid_argument& error) {
        errors << "quarn-radius: " << terminal_text(error.what()) << '\n';
        return ExitStatus::Usage;
    } catch (const FileError& error) {
        errors << "quarn-radius: " << terminal_text(error.what()) << '\n';
        return ExitStatus::FileProblem;
    }
}

}  // namespace

ExitStatus run(int argc, const char* const* argv, std::ostream& output, std::ostream& errors) {
    ExitStatus status = ExitStatus::FileProblem;
    try {
        status = run_command(argc, argv, output, errors);
    } catch (const std::exception& error) {  // there is no memory left, say
        errors << "quarn-radius: " << error.what() << '\n';
    }
    // A full disk, say, shows only when what is buffered is written.
    if (!output.flush() && !reader_has_left()) {
        errors << "quarn-radius: standard output: cannot write\n";
        return ExitStatus::FileProblem;
    }
    return status;
}

}  // namespace quarn::companion
