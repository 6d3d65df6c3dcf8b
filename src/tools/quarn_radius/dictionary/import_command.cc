#include "quarn_radius/dictionary/import_command.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <ostream>
#include <string>

#include "common/default_paths.h"
#include "quarn_radius/dictionary/importer.h"
#include "quarn_radius/dictionary/problem.h"

namespace quarn::quarn_radius {

namespace {

constexpr const char* import_help =
    R"(Turn a dictionary in the widely used text format into dictionary files.

SOURCE has lines such as ATTRIBUTE, VALUE, VENDOR, BEGIN-VENDOR, BEGIN-TLV and
$INCLUDE. Written are one file for each vendor in DIR/vendor, DIR/standard.yaml
for the attributes of no vendor, and DIR/dictionary.yaml, which includes them
all. What had to be changed or left out is listed, one a line:

  file:line: error: ...     a line that cannot be understood, or a name with
                            control characters; it is left out
  file:line: warning: ...   what the files cannot express; it is left out
  file:line: note: ...      something that is expressed differently

Only errors count as problems for the exit status. The files load without a
warning, and the same source always gives the same bytes.

Either all files are written or DIR stays as it was. A file that is there
already is replaced only if it looks, line by line, as import writes it: a file
with a comment, or with a line that no import writes, stops the import, unless
--force is given.)";

constexpr const char* import_examples = R"(Examples:
  quarn-radius dictionary import /etc/raddb/dictionary -o my-dictionary
  quarn-radius dictionary import --vendor Aruba --vendor HP dictionary -o out

)";

struct ImportCommandOptions {
    ImportOptions import;
    bool json = false;
};

tools::ExitStatus import(const ImportCommandOptions& options, Streams streams) {
    Problems problems;
    const ImportSummary summary = import_dictionary(options.import, problems);
    print_problems(problems, options.json, streams.output);
    const std::size_t failures = count_of(problems, Severity::Error);
    streams.errors << "wrote " << count_text(summary.attributes, "attribute") << " and "
                   << count_text(summary.values, "value") << " to "
                   << count_text(summary.files.size(), "file") << "; " << count_text(failures, "error")
                   << ", " << count_text(count_of(problems, Severity::Warning), "warning") << ", "
                   << count_text(count_of(problems, Severity::Note), "note") << '\n';
    return failures == 0 ? tools::ExitStatus::Fine : tools::ExitStatus::ProblemsFound;
}

}  // namespace

Command add_import_command(CLI::App& parent) {
    const auto options = std::make_shared<ImportCommandOptions>();
    ImportOptions& import_options = options->import;
    import_options.schema = tools::default_schema_path;
    CLI::App& command = *parent.add_subcommand("import", import_help);
    command.add_option("SOURCE", import_options.source, "The text dictionary's root file")->required();
    command.add_option("-o", import_options.directory, "The folder to write to, made if need be")
        ->type_name("DIR")
        ->required();
    command
        .add_option("--vendor", import_options.vendors,
                    "Import this vendor alone; give it again for another\nDefault: everything")
        ->type_name("NAME")
        ->allow_extra_args(false);  // one name an option, or it would take SOURCE too
    command
        .add_option("--schema", import_options.schema,
                    "The JSON Schema that the files name, seen from DIR\nDefault: " + import_options.schema)
        ->type_name("FILE");
    command.add_flag("--force", import_options.force, "Replace files that no import wrote, too");
    command.add_flag("--json", options->json, "Print a problem a line, as a JSON object");
    command.footer(std::string(import_examples) + exit_statuses);
    return {&command, [options](Streams streams) { return import(*options, streams); }};
}

}  // namespace quarn::quarn_radius
