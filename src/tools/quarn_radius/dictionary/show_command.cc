#include "quarn_radius/dictionary/show_command.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "common/default_paths.h"
#include "common/terminal_text.h"
#include "quarn_radius/dictionary/catalogue.h"
#include "quarn_radius/dictionary/full_dictionary.h"

namespace quarn::quarn_radius {

namespace {

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

struct ShowOptions {
    std::string file = tools::default_dictionary_path;
    std::string query;
    bool json = false;
};

/// The first names of a list, for one line.
std::string some_of(const std::vector<std::string>& names) {
    constexpr std::size_t most = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), most); ++i) {
        text += (i == 0 ? "" : ", ") + tools::terminal_text(names[i]);
    }
    return names.size() > most ? text + " and " + std::to_string(names.size() - most) + " more" : text;
}

/// What contains the words that were not found; nothing when nothing does.
std::string nearby_text(const Nearby& nearby, const std::string& indent) {
    std::string text;
    const auto add = [&](const char* what, const std::vector<std::string>& names) {
        if (!names.empty()) {
            text += indent + what + some_of(names) + '\n';
        }
    };
    add("attributes: ", nearby.attributes);
    add("vendors: ", nearby.vendors);
    add("values: ", nearby.values);
    return text;
}

/// What the query may have meant, and where it is to be found.
std::string help_for(const std::string& query, const DictionaryCatalogue& catalogue,
                     const std::string& file) {
    if (const Nearby nearby = catalogue.near(query); !nearby.empty()) {
        return "; these names contain it:\n" + nearby_text(nearby, "  ");
    }
    std::string suggestion = tools::terminal_text(catalogue.suggestion_for(query)) + "\n";
    const auto full = full_dictionary_beside(file);
    if (!full) {
        return suggestion;
    }
    const DictionaryCatalogue all(*full);
    const std::string option = ": add -d " + tools::terminal_text(*full) + "\n";
    if (!all.find(query).records.empty()) {
        return "; full.yaml has it" + option;
    }
    const Nearby nearby = all.near(query);
    return nearby.empty() ? suggestion
                          : "; these names of full.yaml contain it" + option + nearby_text(nearby, "  ");
}

tools::ExitStatus show(const ShowOptions& options, Streams streams) {
    const DictionaryCatalogue catalogue(options.file);
    const Findings findings = catalogue.find(options.query);
    if (findings.records.empty()) {
        streams.errors << "quarn-radius: nothing matches \"" << tools::terminal_text(options.query) << '"'
                       << help_for(options.query, catalogue, options.file);
        return tools::ExitStatus::ProblemsFound;
    }
    (options.json ? print_findings_json : print_findings)(findings, streams.output);
    return tools::ExitStatus::Fine;
}

}  // namespace

Command add_show_command(CLI::App& parent) {
    const auto options = std::make_shared<ShowOptions>();
    CLI::App& command = *parent.add_subcommand("show", show_help);
    command.add_option("WHAT", options->query, "A name, a code, a vendor or a /regex/")->required();
    command.add_option("-d", options->file, "The dictionary's root file\nDefault: " + options->file)
        ->type_name("FILE");
    command.add_flag("--json", options->json, "Print an attribute a line, as a JSON object");
    command.footer(std::string(show_examples) + exit_statuses);
    return {&command, [options](Streams streams) { return show(*options, streams); }};
}

}  // namespace quarn::quarn_radius
