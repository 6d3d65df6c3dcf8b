#include "quarn_radius/dictionary/list_command.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "common/default_paths.h"
#include "common/json_object.h"
#include "common/terminal_text.h"
#include "quarn_radius/dictionary/catalogue.h"
#include "quarn_radius/dictionary/full_dictionary.h"

namespace quarn::quarn_radius {

namespace {

constexpr const char* list_help = R"(List the vendors of a dictionary.

A line has the vendor's number, its name, and how many attributes it has. A
second list has the vendors that full.yaml, beside the dictionary, has beyond
it.)";

constexpr const char* list_examples = R"(Examples:
  quarn-radius dictionary list
  quarn-radius dictionary list --json | jq -r .name

)";

struct ListOptions {
    std::string file = tools::default_dictionary_path;
    bool json = false;
};

/// "  9048  3GPP2  63 attributes", the columns as wide as needed.
std::string vendors_text(const std::vector<VendorCount>& vendors) {
    std::size_t number_width = 0;
    std::size_t name_width = 0;
    for (const VendorCount& count : vendors) {
        number_width = std::max(number_width, std::to_string(count.vendor.id).size());
        name_width = std::max(name_width, tools::terminal_text(count.vendor.name).size());
    }
    std::string text;
    for (const VendorCount& count : vendors) {
        const std::string number = std::to_string(count.vendor.id);
        const std::string name = tools::terminal_text(count.vendor.name);
        text.append(2 + number_width - number.size(), ' ').append(number).append("  ").append(name);
        text.append(name_width - name.size() + 2, ' ')
            .append(count_text(count.attributes, "attribute"))
            .append("\n");
    }
    return text;
}

std::string vendors_json(const std::vector<VendorCount>& vendors, const std::string& file) {
    std::string text;
    for (const VendorCount& count : vendors) {
        tools::JsonObject object;
        object.add("id", count.vendor.id);
        object.add("name", count.vendor.name);
        object.add("format", count.vendor.format);
        object.add("attributes", static_cast<std::uint32_t>(count.attributes));
        object.add("file", file);
        text += object.text() + "\n";
    }
    return text;
}

/// The vendors of the second list that the first one has not.
std::vector<VendorCount> beyond(const std::vector<VendorCount>& all, const std::vector<VendorCount>& known) {
    std::set<std::uint32_t> numbers;
    for (const VendorCount& count : known) {
        numbers.insert(count.vendor.id);
    }
    std::vector<VendorCount> others;
    std::copy_if(all.begin(), all.end(), std::back_inserter(others),
                 [&numbers](const VendorCount& count) { return !numbers.contains(count.vendor.id); });
    return others;
}

tools::ExitStatus list(const ListOptions& options, Streams streams) {
    const DictionaryCatalogue catalogue(options.file);
    const std::vector<VendorCount> vendors = catalogue.vendors();
    if (options.json) {
        streams.output << vendors_json(vendors, options.file);
    } else {
        streams.output << tools::terminal_text(options.file) << ": "
                       << count_text(catalogue.standard_attributes(), "standard attribute") << ", "
                       << count_text(vendors.size(), "vendor") << "\n"
                       << vendors_text(vendors);
    }
    const auto full = full_dictionary_beside(options.file);
    if (!full) {
        return tools::ExitStatus::Fine;
    }
    const std::vector<VendorCount> others = beyond(DictionaryCatalogue(*full).vendors(), vendors);
    if (options.json) {
        streams.output << vendors_json(others, *full);
    } else {
        streams.output << "\n"
                       << tools::terminal_text(*full) << ": " << count_text(others.size(), "vendor")
                       << " more, to be had with -d\n"
                       << vendors_text(others);
    }
    return tools::ExitStatus::Fine;
}

}  // namespace

Command add_list_command(CLI::App& parent) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App& command = *parent.add_subcommand("list", list_help);
    command.add_option("-d", options->file, "The dictionary's root file\nDefault: " + options->file)
        ->type_name("FILE");
    command.add_flag("--json", options->json, "Print a vendor a line, as a JSON object");
    command.footer(std::string(list_examples) + exit_statuses);
    return {&command, [options](Streams streams) { return list(*options, streams); }};
}

}  // namespace quarn::quarn_radius
