#include "quarn_radius/dictionary/check_command.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <ostream>
#include <string>

#include "common/default_paths.h"
#include "quarn_radius/dictionary/checker.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

namespace {

constexpr const char* check_help = R"(Check a dictionary and all files that it includes.

authprobe loads a dictionary in silence: it stops at the first fatal problem
and passes over every other. This command lists them all, one a line:

  file:line: error: ...     the loading stops here, or this entry is lost
  file:line: warning: ...   loads, but is probably a mistake

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

struct CheckOptions {
    std::string file = tools::default_dictionary_path;
    bool json = false;
};

tools::ExitStatus check(const CheckOptions& options, Streams streams) {
    const CheckResult result = check_dictionary(options.file);
    print_problems(result.problems, options.json, streams.output);
    const DictionaryCounts& counts = result.counts;
    streams.errors << (result.problems.empty()
                           ? std::string("no problems")
                           : count_text(count_of(result.problems, Severity::Error), "error") + ", " +
                                 count_text(count_of(result.problems, Severity::Warning), "warning"))
                   << " in " << count_text(counts.attributes, "attribute") << " and "
                   << count_text(counts.values, "value") << " of " << count_text(counts.vendors, "vendor")
                   << ", " << count_text(counts.files, "file") << '\n';
    return result.problems.empty() ? tools::ExitStatus::Fine : tools::ExitStatus::ProblemsFound;
}

}  // namespace

Command add_check_command(CLI::App& parent) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App& command = *parent.add_subcommand("check", check_help);
    command.add_option("FILE", options->file, "The dictionary's root file\nDefault: " + options->file);
    command.add_flag("--json", options->json, "Print a problem a line, as a JSON object");
    command.footer(std::string(check_examples) + exit_statuses);
    return {&command, [options](Streams streams) { return check(*options, streams); }};
}

}  // namespace quarn::quarn_radius
